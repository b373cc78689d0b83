#!/bin/sh
# Usage: check_version.sh ROOT CMAKE_VERSION
# Fails unless the macros of version.h, CMake, the changelog and Debian's changelog name one version.
set -eu
cd "$1"
header=$(sed -n 's/^#define VERRICK_VERSION "\(.*\)"$/\1/p' include/verrick/version.h)
major=$(sed -n 's/^#define VERRICK_VERSION_MAJOR //p' include/verrick/version.h)
minor=$(sed -n 's/^#define VERRICK_VERSION_MINOR //p' include/verrick/version.h)
changelog=$(sed -n '/^## /{s/^## \([^ ]*\).*/\1/p;q}' CHANGELOG.md)
debian=$(sed -n '1s/^[^(]*(\([^-]*\)-.*/\1/p' cmake/debian/changelog)
status=0
for other in "numbers $(printf '%d.%02d' "$major" "$minor")" "CMake $2" "CHANGELOG.md $changelog" \
    "cmake/debian/changelog $debian"; do
    [ "${other#* }" = "$header" ] && continue
    echo "version.h says \"$header\", but ${other% *} says \"${other#* }\""
    status=1
done
exit $status
