#!/bin/sh
# Usage: check_parent.sh PARENT SOURCE
# Configures, builds, runs and installs the project of the folder PARENT with the library's SOURCE in
# it. The project itself checks what its configuration is about.
set -eu
parents=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cmake -S "$parents/$1" -B build -DVERRICK_SOURCE="$2" >log 2>&1 || { cat log; exit 1; }
cmake --build build -j 2 >log 2>&1 || { cat log; exit 1; }
build/program | tee version
grep -qx "the library's version is 2.00" version

cmake --install build --prefix "$work/installed" >log
(cd installed && find . -iname '*verrick*' ! -type d | sort) >installed.list
cat installed.list
case $1 in
add_subdirectory) [ ! -s installed.list ] ;;
fetch_content)
    for file in include/verrick/verrick.h libVerrick.so.1 VerrickConfig.cmake verrick.pc; do
        grep -q "/$file\$" installed.list
    done
    ;;
esac
