#!/bin/sh
# Usage: check_version.sh ROOT CMAKE_VERSION
# Fails unless version.h, CMake, README, the changelog and Debian's changelog name one version, and the
# two changelogs one date. Programs of tests/consumers compare the header with GetDLLVersion, and
# scripts/package takes the packages' version from CMake.
set -eu
cd "$1"
status=0

# expect WHAT HAS WANTED
expect() {
    [ "$2" = "$3" ] && return
    echo "$1 says \"$2\" instead of \"$3\""
    status=1
}

header=include/verrick/version.h
major=$(sed -n 's/^#define VERRICK_VERSION_MAJOR \([0-9]*\) .*/\1/p' $header)
minor=$(sed -n 's/^#define VERRICK_VERSION_MINOR \([0-9]*\) .*/\1/p' $header)
text=$(sed -n 's/^#define VERRICK_VERSION "\(.*\)"$/\1/p' $header)
expect "VERRICK_VERSION" "$text" "$2"
expect "VERRICK_VERSION_MAJOR with _MINOR" "$(printf '%d.%02d' "$major" "$minor")" "$2"
expect "README.md" "$(sed -n 's/^| state | version \([0-9.]*\),.*/\1/p' README.md)" "$2"

# The first release of each changelog. What isn't released yet stands above it.
released=$(sed -n '/^## \[[0-9]/{s/^## \[\([0-9.]*\)\] - \(.*\)$/\1 \2/p;q}' CHANGELOG.md)
expect "CHANGELOG.md" "${released% *}" "$2"
packaged=$(sed -n '1s/^[^(]*(\([^-]*\)-.*/\1/p' packaging/changelog)
expect "packaging/changelog" "$packaged" "$2"
day=$(sed -n '/^ -- /{s/.*>  //p;q}' packaging/changelog)
expect "packaging/changelog" "$(date -u -d "$day" +%F)" "${released#* }"
exit $status
