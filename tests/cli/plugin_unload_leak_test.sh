#!/bin/sh
# Regression: every `lumarko apply` whose template formats a date leaked the plug-in's locale
# formats when the host unloaded the plug-in. Under the sanitizer build the leak checker runs at
# exit (ASAN_OPTIONS=detect_leaks=1, set here so the case holds however it is started) and turns
# a leak into a failing exit status with a "LeakSanitizer" report on stderr.
# Usage: plugin_unload_leak_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"
ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=1
export ASAN_OPTIONS

mkdir "$WORK/pics"
cp "$SAMPLES/harbour_2023.jpg" "$WORK/pics/"
cat >"$WORK/rules.yaml" <<'YAML'
rules:
  - name: Dated
    actions:
      - Action.Rename: { template: "{DateTaken:Year}-{DateTaken:1}-{DateTaken:15} {FileName}" }
YAML

"$LUMARKO" apply "$WORK/rules.yaml" "$WORK/pics" --mode all >"$WORK/out" 2>"$WORK/err"
status=$?
[ "$status" -eq 0 ] || { echo "FAIL: apply: exit status $status, expected 0"; failures=1; }
if grep -q "LeakSanitizer" "$WORK/err"; then
  echo "FAIL: apply leaks:"; grep -E "SUMMARY|leak of" "$WORK/err"; failures=1
fi
ls "$WORK/pics" | grep -q "^2023-" || { echo "FAIL: the picture was not renamed"; failures=1; }
[ $failures -eq 0 ] || exit 1
echo "apply with a date template ends without leaks"
