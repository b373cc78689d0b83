#!/bin/sh
# Usage: run.sh README [PREFIX]
# Builds and runs programs against an installed library: the README's first program through
# find_package, and the fragments of Win32 programs, as C99, through pkg-config. Without PREFIX the
# library is where the system finds it by itself.
#
# CC, CXX, CFLAGS, CXXFLAGS and EMULATOR (a command that runs the target's programs) may be set.
set -eu
: "${CC:=cc}" "${CXX:=c++}" "${CFLAGS:=}" "${CXXFLAGS:=}" "${EMULATOR:=}"
export CC CXX CFLAGS CXXFLAGS
warnings="-Wall -Wextra -Wpedantic -Werror"
source=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sed -n '/^```cpp/,/^```/{/^```/!p}' "$1" >"$work/first.cpp"
sed -n '/^```cmake/,/^```/{/^```/!p}' "$1" >"$work/CMakeLists.txt"
cd "$work"

rpath=
if [ -n "${2:-}" ]; then
    config=$(find "$2" -name verrick.pc)
    export PKG_CONFIG_LIBDIR="${config%/*}" CMAKE_PREFIX_PATH="$2"
    rpath=-Wl,-rpath,$(pkg-config --variable=libdir verrick)
fi

cmake -S . -B build >log 2>&1 && cmake --build build >>log 2>&1 || { cat log; exit 1; }
# Not even root can create a file in /proc, so the program can't create its INI file there.
for folder in "$work" /proc; do
    (cd "$folder" && $EMULATOR "$work/build/first") >out
    [ "$(grep -c '^timer 1 expired$' out)" -ge 5 ] || {
        echo "in $folder the README's program printed:"
        cat out
        exit 1
    }
done
echo "the README's program works through find_package"

# The options are lists of words.
flags=$(pkg-config --cflags verrick)
libs=$(pkg-config --libs verrick)
cat >main.c <<'END'
#include <stdio.h>
extern int (*const g_fragmentsInC99[])(void);
int main(void) {
    for (int i = 0; g_fragmentsInC99[i] != NULL; ++i) {
        int const line = g_fragmentsInC99[i]();
        if (line != 0) {
            return printf("line %d of fragments.c failed\n", line);
        }
    }
    return 0;
}
END
$CC -std=c99 $warnings $CFLAGS $flags -DVERRICK_RECURSIVE_SECTIONS \
    "$source/../win32/fragments.c" main.c -o flat $libs $rpath
mkdir fragments fragments/inner
cd fragments
printf bytes >data
: >fixed.ini
: >.hidden
chmod 400 fixed.ini
ln -s none broken
$EMULATOR ../flat
echo "flat calls work from C"
