#!/bin/sh
# Usage: check_install.sh BUILD README
# Installs BUILD, moves the installed tree, and builds and runs the programs of tests/consumers and of
# examples against it where it is now. The environment is that of consumers/run.sh.
set -eu
consumers=$(cd "$(dirname "$0")/consumers" && pwd)
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
cmake --install "$1" --prefix "$place/first" >/dev/null
mv "$place/first" "$place/moved"
"$consumers/run.sh" "$2" "$place/moved"
"$consumers/examples.sh" "$consumers/../../examples" "$place/moved"
