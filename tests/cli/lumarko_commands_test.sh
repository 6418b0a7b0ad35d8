#!/bin/sh
# Runs the built lumarko command through a registration round trip in a private settings folder
# and checks each step's exit code, stdout and stderr.
# Usage: lumarko_commands_test.sh <path of lumarko>
set -u
. "$(dirname "$0")/cli_case.sh"

CLSID='\{1F65641A-9167-4B60-9415-BE7A6ED79062\}'

check version          0 'lumarko [0-9]+\.[0-9]+\.[0-9]+' '' -- --version
check help-exit-codes  0 '.*#  2  the command line is wrong#.*' '' -- --help
check nothing-listed   0 'No plug-ins are registered\.' '' -- plugins
check register-user    0 'Registered .*Lumarko\.Plugin\.FileUtilities\.[a-z]+ for the current user\.' '' -- register --user
check listed-for-user  0 ".*#$CLSID +user +Lumarko\.Plugin\.FileUtilities\.1 +/.*" '' -- plugins
check unregister-user  0 'Unregistered .* for the current user\.' '' -- unregister --user
check gone-again       0 'No plug-ins are registered\.' '' -- plugins
check did-you-mean     2 '' "lumarko: error: unknown command 'regster': did you mean 'register'\?" -- regster
check no-subcommand    2 '' 'lumarko: error: invalid command line: .*' --
check missing-plugin   1 '' "lumarko: error: cannot load $WORK/none\.so: no such file" -- register --user --plugin "$WORK/none.so"
echo 'not a library' >"$WORK/fake.so"
check not-a-library    1 '' "lumarko: error: cannot load $WORK/fake\.so: .*" -- register --user --plugin "$WORK/fake.so"

finish
