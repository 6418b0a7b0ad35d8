#!/bin/sh
# `lumarko labels` lists a convention's labels as the label dialog offers them.
# Usage: labels_test.sh <path of lumarko>
set -u
. "$(dirname "$0")/cli_case.sh"

run "five labels" 0 labels
same "five labels" out "  0  Not set
  1  1 - Red
  2  2 - Yellow
  3  3 - Green
  4  4 - Blue
  5  5 - Purple
 -2  +1 (relative to current value)
 -3  -1 (relative to current value)"
run "nine labels" 0 labels --convention 1
has "nine labels: the ninth" out "^  9  9 - White$"
run "no convention number" 2 labels --convention red
finish
