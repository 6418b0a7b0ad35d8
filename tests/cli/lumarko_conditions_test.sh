#!/bin/sh
# Runs `lumarko apply` over a copy of the sample pictures once per case, each with a rule set of
# one rule, and compares the pictures of the "matches the selection condition(s)" events with the
# case's list (the values tests/data/make_samples.sh writes with exiftool). Case lines, in
# tests/data/cases/cli_conditions.txt:
# NAME @ PICTURES @ CONDITIONS @ EXCEPTIONS, rule elements separated by ';'; a picture without
# extension is .jpg, "all -x" is every picture but x. Only exit statuses 0 and 3 (warnings: the
# truncated sample) pass: errors mean a condition failed to evaluate on some picture.
# Usage: lumarko_conditions_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"
cp -R "$SAMPLES" "$WORK/pictures"
# Pictures without a value read it as 0 (truncated reads nothing at all); sidecar_2025.xmp is no
# picture.
ALL="below_sea_2024 graphic.png harbour_2023 mountain_2024 night_2024 plain_nometa portrait_2025
  rejected_2025 sensitivity_2025 sidecar_2025 street_2023 truncated xmp_gps_2024"
cases=0

names() {  # names WORDS...: the file names, sorted, one a line
  # The names to leave out are known before the list is filtered ("/" is no file name).
  drop=$(for w in "$@"; do case $w in -*) echo "${w#-}" ;; esac; done)
  for w in "$@"; do
    case $w in
      all) printf '%s\n' $ALL ;;
      -*) ;;
      *) echo "$w" ;;
    esac
  done | grep -vxF -e "${drop:-/}" | sed '/\./!s/$/.jpg/' | LC_ALL=C sort -u
}
elements() {  # elements KEY LIST: a rule entry's list of elements
  [ -n "$2" ] || return 0
  echo "    $1:"
  printf '%s\n' "$2" | tr ';' '\n' | sed 's/^ *//; s/ *$//; s/^/      - /'
}

while IFS=@ read -r name expected conditions exceptions; do
  case $name in '' | '#'*) continue ;; esac
  name=$(echo $name) cases=$((cases + 1))
  { printf 'rules:\n  - name: Case\n'; elements conditions "$conditions"
    elements exceptions "${exceptions:-}"; } >"$WORK/rules.yaml"
  "$LUMARKO" apply "$WORK/rules.yaml" "$WORK/pictures" --mode all >"$WORK/out" 2>"$WORK/err" </dev/null
  status=$?
  "$LUMARKO" events >"$WORK/events" 2>>"$WORK/err" </dev/null
  sed -n 's|.*/\([^/"]*\)" matches the selection condition(s)\.$|\1|p' "$WORK/events" |
    LC_ALL=C sort -u >"$WORK/got"
  # shellcheck disable=SC2086  # the expected list is split on purpose
  names $expected >"$WORK/want"
  if [ "$status" -ne 0 ] && [ "$status" -ne 3 ]; then
    fail "$name: exit status $status"
    sed 's/^/  rules: /' "$WORK/rules.yaml"; sed 's/^/  err: /' "$WORK/err"
    grep '^Error' "$WORK/events" | sed 's/^/  event: /'
  elif ! cmp -s "$WORK/want" "$WORK/got"; then
    fail "$name"
    LC_ALL=C comm -23 "$WORK/want" "$WORK/got" | sed 's/^/  missing:    /'
    LC_ALL=C comm -13 "$WORK/want" "$WORK/got" | sed 's/^/  unexpected: /'
  fi
done <"$(dirname "$0")/../data/cases/cli_conditions.txt"
echo "$cases cases run"
finish
