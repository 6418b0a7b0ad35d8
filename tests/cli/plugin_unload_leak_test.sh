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

run apply 0 apply "$WORK/rules.yaml" "$WORK/pics" --mode all
lacks "apply leaks" err LeakSanitizer
ls "$WORK/pics" | grep -q "^2023-" || fail "the picture was not renamed"
finish
