#!/bin/sh
# Usage: check_static.sh SOURCE
# The library's own configuration refuses to make a static library, and says why.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
if cmake -S "$1" -B "$work" -DVERRICK_BUILD_TESTS=OFF -DBUILD_SHARED_LIBS=OFF >"$work/log" 2>&1; then
    echo "the configuration doesn't fail"
    exit 1
fi
cat "$work/log"
# CMake breaks its messages into lines.
tr -s ' \n' ' ' <"$work/log" | grep -q 'as a shared library only.* once in a process'
