#!/bin/sh
# The demo of `make demo`: shows the command and the plug-in's registration round trip in a
# throw-away settings folder, so the user's own settings are never touched.
set -eu
build=${1:-build/release}
lumarko="$build/src/cli/lumarko"
work=$(mktemp -d "${TMPDIR:-/tmp}/lumarko-demo.XXXXXX")
trap 'rm -rf "$work"' EXIT INT TERM
export LUMARKO_CONFIG_DIR="$work/config"

echo "== lumarko --version"
"$lumarko" --version
echo
echo "== lumarko register --user"
"$lumarko" register --user
echo
echo "== lumarko plugins"
"$lumarko" plugins
echo
echo "== lumarko unregister --user"
"$lumarko" unregister --user
echo
echo "== lumarko plugins (after unregistering)"
"$lumarko" plugins
