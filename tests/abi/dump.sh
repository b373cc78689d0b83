#!/bin/sh
# Usage: dump.sh LIBRARY INCLUDE
# Prints the binary interface of a built library, one fact a line, sorted:
#
#   soname NAME
#   constant NAME VALUE               a constant of the headers
#   size CLASS BYTES align BYTES
#   field CLASS.NAME OFFSET BYTES     of a record whose fields are public
#   slot VTABLE INDEX SYMBOL          a word of a virtual table: operations, in order, and type
#                                     information
#
# records.txt beside this script says which constants, classes and fields; the virtual tables are
# those that the library exports and those of the interfaces that applications implement. CXX,
# READELF and EMULATOR (a command that runs the target's programs) are taken from the environment.
set -eu
export LC_ALL=C
library=$1 include=$2
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# No exported class is forgotten.
grep -rhoE '^class VERRICK_API (VERRICK_[A-Z_]+ )?[A-Za-z]+' "$include" | awk '{print $NF}' | sort >"$work/classes"
awk '/^(class|record|interface)/ {print $2}' "$here/records.txt" | sort >"$work/listed"
comm -23 "$work/classes" "$work/listed" | sed 's/$/ is missing in records.txt/' >"$work/missing"
[ ! -s "$work/missing" ] || { cat "$work/missing" >&2; exit 1; }

sed '/^#/d; /^$/d' "$here/records.txt" | awk '
    BEGIN {
        print "#include <verrick/verrick.h>"
        print "#include <cstddef>"
        print "#include <cstdio>"
    }
    $1 == "interface" { print "void Emit(" $2 "* x) { x->" $2 "::~" $2 "(); }" }
    $1 == "constant" {
        for (i = 2; i <= NF; ++i)
            body = body "std::printf(\"constant " $i " %ld\\n\", static_cast<long>(" $i "));\n"
        next
    }
    {
        body = body "std::printf(\"size " $2 " %zu align %zu\\n\", sizeof(" $2 "), alignof(" $2 "));\n"
        for (i = 3; i <= NF; ++i)
            body = body "std::printf(\"field " $2 "." $i " %zu %zu\\n\", offsetof(" $2 ", " $i \
                   "), sizeof(" $2 "::" $i "));\n"
    }
    END { print "int main() {\n" body "}" }' >"$work/records.cpp"
$CXX -std=c++17 -O0 -fPIC -Wno-invalid-offsetof -I"$include" -c "$work/records.cpp" -o "$work/records.o"
$CXX "$work/records.o" -o "$work/records"
# An unoptimised object has the tables of the interfaces in it.
$CXX -shared "$work/records.o" -o "$work/records.so"

# slots OBJECT: the words of its virtual tables that the loader fills in. Its relocations name a
# symbol or, where the library binds to its own, an address; without an addend in the relocation
# (32-bit x86) the address stands in the word itself.
slots() {
    "$READELF" -W -h -s -r -x .data.rel.ro "$1" | awk '
        function hex(text,    i, value) {
            value = 0
            for (i = 1; i <= length(text); ++i)
                value = value * 16 + index("0123456789abcdef", substr(text, i, 1)) - 1
            return value
        }
        function swapped(text) {
            return substr(text, 7, 2) substr(text, 5, 2) substr(text, 3, 2) substr(text, 1, 2)
        }
        $1 == "Class:" { word = $2 == "ELF64" ? 8 : 4 }
        /^Relocation section|^Symbol table|^Hex dump/ { block = $1; next }
        block == "Relocation" && $3 ~ /_RELATIVE$/ { local_at[hex($1)] = NF > 3 ? hex($4) : "word" }
        block == "Relocation" && $3 ~ /^R_/ && NF > 4 {
            sub(/@.*/, "", $5)
            symbol_at[hex($1)] = $5
        }
        block == "Symbol" && $4 == "FUNC" || $4 == "OBJECT" {
            at = hex($2)
            # Local aliases (with a dot) and base destructors are no entries of a table.
            if ($7 != "UND" && $8 ~ /^_Z/ && $8 !~ /[CD]2E|[.]/ && !((at, $8) in seen)) {
                seen[at, $8]
                if (at in names) names[at] = names[at] "=" $8
                else names[at] = $8
            }
            if ($7 != "UND" && $8 ~ /^_ZTV/) {
                start[$8] = at
                size[$8] = $3
            }
        }
        block == "Hex" && $1 ~ /^0x/ {
            for (i = 0; i < 4; ++i)
                content[hex(substr($1, 3)) + 4 * i] = swapped($(i + 2))
        }
        END {
            for (table in start)
                for (i = 0; i * word < size[table]; ++i) {
                    at = start[table] + i * word
                    to = at in local_at ? local_at[at] : ""
                    if (to == "word") to = hex(content[at])
                    if (at in symbol_at) print "slot", table, i, symbol_at[at]
                    else if (to != "") print "slot", table, i, to in names ? names[to] : "hidden"
                }
        }'
}

{
    echo "soname $("$READELF" -d "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')"
    # A word list of its own, for the emulator may carry arguments.
    $EMULATOR "$work/records"
    "$READELF" -W --dyn-syms "$library" | awk '$7 != "UND" && $8 ~ /^_ZTV/ {print $8}' >"$work/exported"
    awk '$1 == "interface" {print "_ZTV" length($2) $2}' "$here/records.txt" >>"$work/exported"
    { slots "$work/records.so" && slots "$library"; } | awk 'NR == FNR {wanted[$1]; next} $2 in wanted' "$work/exported" -
} >"$work/dump"
sort -u -k1,1 -k2,2 -k3,3n "$work/dump"
