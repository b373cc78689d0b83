#!/bin/sh
# Usage: examples.sh EXAMPLES [PREFIX]
# Builds each program of EXAMPLES against an installed library, through find_package and through
# pkg-config, and runs it. Without PREFIX the library is where the system finds it by itself.
#
# CXX, CXXFLAGS and EMULATOR (a command that runs the target's programs) may be set.
set -eu
: "${CXX:=c++}" "${CXXFLAGS:=}" "${EMULATOR:=}"
export CXX CXXFLAGS
examples=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$examples" "$work/examples"
cd "$work/examples"
rpath=
if [ -n "${2:-}" ]; then
    config=$(find "$2" -name verrick.pc)
    export PKG_CONFIG_LIBDIR="${config%/*}" CMAKE_PREFIX_PATH="$2"
    rpath=-Wl,-rpath,$(pkg-config --variable=libdir verrick)
fi

# The options are lists of words.
flags=$(pkg-config --cflags verrick)
libs=$(pkg-config --libs verrick)
for folder in */; do
    name=${folder%/}
    cmake -S "$name" -B "$work/$name" >log 2>&1 && cmake --build "$work/$name" >>log 2>&1 || { cat log; exit 1; }
    $CXX -std=c++17 $CXXFLAGS $flags "$name/$name.cpp" -o "$work/$name/by-pkg-config" $libs $rpath
    case $name in
    catalog) input=scheduler ;;
    scheduler) input=scheduler/scheduler.ini ;;
    *) input=$name/$name.cpp ;;
    esac
    for program in "$name" by-pkg-config; do
        $EMULATOR "$work/$name/$program" "$input" >log || { cat log; exit 1; }
        [ -s log ]
    done
    echo "the example $name builds alone and runs"
done
