#!/bin/sh
# Web copies made with attach-to-email are handed to the mail program once, at the end of the
# job: the exact subject and note for one and three pictures; no call when nothing was attached;
# silence when the system has no mail program.
# Usage: export_mail_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"

# The mail program's stand-in records its arguments, one per line in brackets.
mkdir -p "$WORK/bin"
cat >"$WORK/bin/xdg-email" <<EOF
#!/bin/sh
for word in "\$@"; do printf '[%s]\n' "\$word"; done >"$WORK/mail.tmp"
mv "$WORK/mail.tmp" "$WORK/mail"
EOF
chmod +x "$WORK/bin/xdg-email"

# send NAME ATTACH PICTURES...: one rule makes web copies of PICTURES (samples) with
# attach-to-email ATTACH; the recorded call, if any, is in $WORK/mail.
send() {
  name=$1 attach=$2
  shift 2
  rm -rf "$WORK/pictures" "$WORK/out" "$WORK/mail"
  pictures "$@"
  printf 'rules:\n  - name: %s\n    conditions: []\n    actions:\n      - Action.SaveForWeb: { destination: "%s/out", attach-to-email: %s }\n' \
    "$name" "$WORK" "$attach" >"$WORK/rules.yaml"
  PATH=$MAIL_PATH "$LUMARKO" apply "$WORK/rules.yaml" "$WORK/pictures" >"$WORK/out.log" 2>"$WORK/err" ||
    { fail "$name: exit status $?"; sed 's/^/  /' "$WORK/out.log" "$WORK/err"; }
}

MAIL_PATH=$WORK/bin:$PATH
send one true harbour_2023.jpg
same one mail "[--utf8]
[--subject]
[Emailing: 1 photo(s)]
[--body]
[
Your message is ready to be sent with the following 1 attachment(s):

harbour_2023.jpg]
[--attach]
[$WORK/out/harbour_2023.jpg]"

send three true harbour_2023.jpg night_2024.jpg street_2023.jpg
has three mail '^\[Emailing: 3 photo\(s\)\]$'
has three mail '^Your message is ready to be sent with the following 3 attachment\(s\):$'
# The names come in the list's order, which is not the order of the pictures.
for picture in harbour_2023.jpg night_2024.jpg street_2023.jpg; do
  has three mail "^\[$WORK/out/$picture\]\$"
done
has three mail '^[a-z_0-9]+\.jpg, [a-z_0-9]+\.jpg, [a-z_0-9]+\.jpg\]$'

send "not attached" false harbour_2023.jpg
[ ! -e "$WORK/mail" ] || fail "not attached: the mail program was called"

MAIL_PATH=$WORK/nothing
send "no mail program" true harbour_2023.jpg
lacks "no mail program" err .
finish
