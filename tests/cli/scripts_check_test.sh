#!/bin/sh
# lumarko scripts: the engines of this build, and the syntax check with the engine's line and
# column, a missing function and a missing file.
# Usage: scripts_check_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"
SOURCES=$(cd "$(dirname "$0")/../.." && pwd)/samples/scripts

run engines 0 scripts engines
same engines out "ENGINE        PROGID
JavaScript    JScript
Python        Python"

for sample in "$SOURCES"/action/*.* "$SOURCES"/condition/*.*; do
  run "sample $(basename "$sample")" 0 scripts check "$sample"
  has "sample $(basename "$sample")" out '^The script appears to be OK!$'
done

printf 'function Evaluate(c) {\n  return (;\n}\n' >"$WORK/bad.js"
run "js syntax" 1 scripts check "$WORK/bad.js"
has "js syntax" err 'An error occurred while running the script!'
has "js syntax" err '^See line 2, column 0\.$'

printf 'def Evaluate(c):\n    return (]\n' >"$WORK/bad.py"
run "py syntax" 1 scripts check "$WORK/bad.py"
has "py syntax" err '^See line 2, column 13\.$'

run "wrong function" 1 scripts check "$SOURCES/action/catalogue_line.py" --function Evaluate
has "wrong function" err 'no global function named "Evaluate"'

run "missing file" 1 scripts check "$WORK/none.js"
has "missing file" err "none.js': there is no such file"

run "unknown engine" 1 scripts check "$WORK/bad.js" --engine VBScript
has "unknown engine" err 'no script engine named "VBScript"'

finish
