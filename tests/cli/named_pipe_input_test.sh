#!/bin/sh
# Regression: `lumarko apply r.yaml p.jpg` where p.jpg is a named pipe waited for ever. Anything
# named that is no regular file (pipe, socket, device) is reported once and left out; the
# pictures named beside it are processed.
# Usage: named_pipe_input_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"

mkfifo "$WORK/p.jpg"
cp "$SAMPLES/harbour_2023.jpg" "$WORK/a.jpg"
printf 'rules:\n  - name: Everything\n' >"$WORK/r.yaml"
warning="lumarko: warning: $WORK/p.jpg: not a regular file, left out"

check "pipe beside a picture, named twice" 0 ".*ran successfully.*" "$warning" -- \
  apply r.yaml p.jpg a.jpg p.jpg --mode all
check "pipe alone" 1 '*' "$warning#lumarko: error: There are no images to process!#.*" -- apply r.yaml p.jpg --mode all
# A device that reads without end; shared with the whole machine, so only when it is one.
if [ -c /dev/zero ]; then
  check "device" 1 '*' "lumarko: warning: /dev/zero: not a regular file, left out#lumarko: error: There are no images to process!#.*" \
    -- apply r.yaml /dev/zero --mode all
fi
check "template on a pipe" 0 '*' "$warning" -- template '{FileName}' p.jpg
check "record of a pipe" 1 '*' "$warning#lumarko: error: p.jpg: not a file .*" -- record p.jpg

finish
