#!/bin/sh
# Usage: check_headers.sh CXX CC INCLUDE
# Compiles each public header alone, free of warnings: as C++11, 14, 17 and 20, and those for C as
# C99 and C11 too. CXX and CC may carry arguments.
set -eu
cd "$3"
status=0
# The compilers and their options are lists of words.
check() {
    for header in $headers; do
        printf '#include <%s>\ntypedef int unit;\n' "$header" | $compiler "-std=$standard" -x "$language" -I. \
            -fsyntax-only -Wall -Wextra -Wpedantic -Werror - || {
            echo "$header as $standard with $compiler"
            status=1
        }
    done
}
compiler=$1 language=c++
headers=$(find verrick -name '*.h')
[ -n "$headers" ]
for standard in c++11 c++14 c++17 c++20; do check; done
compiler=$2 language=c
headers=$(find verrick/flat verrick/flat.h verrick/version.h verrick/win32.h verrick/detail -name '*.h')
for standard in c99 c11; do check; done

# win32.h maps names, so it also stands in front of all other headers, and after them.
compile_beside_win32() {
    for sections in PLAIN RECURSIVE; do
        for order in "$headers verrick/win32.h" "verrick/win32.h $headers"; do
            printf '#include <%s>\n' $order | $compiler "-std=$standard" -DVERRICK_${sections}_SECTIONS \
                -x "$language" -I. -fsyntax-only -Wall -Wextra -Wpedantic -Werror - || {
                echo "$order as $standard with $compiler, $sections sections"
                status=1
            }
        done
    done
}
headers=verrick/flat.h standard=c99
compile_beside_win32
compiler=$1 language=c++ standard=c++11
headers=$(find verrick -name '*.h' ! -path 'verrick/detail/*' ! -name win32.h)
compile_beside_win32
exit $status
