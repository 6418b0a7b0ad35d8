#!/bin/sh
# The demo of `make demo`: the command, the plug-in's registration round trip, then a run of the
# bundled rule set over a copy of the bundled pictures and the run's events. Everything happens
# in a throw-away folder (settings, log, pictures), so the user's own files are never touched.
set -eu
build=${1:-build/release}
here=$(cd "$(dirname "$0")" && pwd)
lumarko="$build/bin/lumarko"
work=$(mktemp -d "${TMPDIR:-/tmp}/lumarko-demo.XXXXXX")
trap 'rm -rf "$work"' EXIT INT TERM
export LUMARKO_CONFIG_DIR="$work/config"
export XDG_DATA_HOME="$work/data"

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
echo
echo "== lumarko rules check demo/rules.yaml"
"$lumarko" rules check "$here/rules.yaml"
echo
cp -R "$here/pictures" "$work/pictures"
echo "== lumarko vars set DemoOutput <output folder>"
"$lumarko" vars set DemoOutput "$work/sorted"
echo
echo "== lumarko apply demo/rules.yaml <copy of demo/pictures> --mode all"
# A warning is expected: one of the pictures is cut short on purpose.
status=0
"$lumarko" apply "$here/rules.yaml" "$work/pictures" --mode all || status=$?
echo "(exit status $status)"
echo
echo "== lumarko events"
"$lumarko" events
echo
echo "== lumarko events --filter warnings"
"$lumarko" events --filter warnings
echo
echo "== the sorted output"
(cd "$work/sorted" && find . -type f | sort)
echo
echo "== left in the picture folder (copied, not moved)"
(cd "$work/pictures" && find . -type f | sort)
[ "$status" -le 3 ]
