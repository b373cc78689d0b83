#!/bin/sh
# Usage: dump.sh LIBRARY INCLUDE
# Prints the binary interface of a built library, one fact a line, sorted:
#
#   soname NAME
#   symbol NAME                       what the library exports
#   constant NAME VALUE               a constant of the headers
#   size CLASS BYTES align BYTES
#   field CLASS.NAME OFFSET BYTES     of a record whose fields are public
#   flat NAME TYPE                    a call that the flat headers declare
#   call NAME TYPE                    another function that an application can call, if not overloaded
#   slot VTABLE INDEX SYMBOL          a word of a virtual table: operations, in order, and type
#                                     information
#
# records.txt beside this script says which constants, classes and fields. The virtual tables are
# those that the library exports and those of the interfaces that applications implement.
#
# A C program must see the same flat calls, constants and records: the script fails if not.
#
# The environment holds CXX, CC, READELF and EMULATOR, a command that runs the target's programs.
set -eu
export LC_ALL=C
library=$1 include=$2
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sed '/^#/d; /^$/d' "$here/records.txt" >"$work/records"

# No exported class is forgotten.
grep -rh '^class VERRICK_API' "$include" | sed 's/VERRICK_[A-Z_]* *//g' | awk '{print $2}' |
    sort >"$work/classes"
awk '{sub(/^flat /, "")} $1 != "constant" {print $2}' "$work/records" | sort >"$work/listed"
comm -23 "$work/classes" "$work/listed" | sed 's/$/ is missing in records.txt/' >"$work/missing"
[ ! -s "$work/missing" ] || { cat "$work/missing" >&2; exit 1; }

# The functions that the headers declare, as "flat NAME" or "call NAME". An overloaded one has no
# single type; a constructor or destructor has none at all.
find "$include/verrick/flat" -name '*.h' -exec "$here/declarations.sh" {} + >"$work/flat"
find "$include" -name '*.h' -exec "$here/declarations.sh" {} + >"$work/declared"
awk '
    NR == FNR { flat[$2]; next }
    $1 == "private" { hidden[$2] }
    {
        last = split($2, part, "::")
        if (last == 1 || part[last] != part[last - 1] && part[last] !~ /^~/) ++count[$2]
    }
    END {
        for (name in count)
            if (count[name] == 1 && !(name in hidden)) print name in flat ? "flat" : "call", name
    }' "$work/flat" "$work/declared" >"$work/calls"

# A C++ program that prints the facts of the headers.
awk '
    BEGIN {
        print "#include <verrick/verrick.h>"
        print "#include <cstddef>"
        print "#include <cstdio>"
        print "#include <cxxabi.h>"
        print "#include <typeinfo>"
        # The type information of Type<T> needs none of the library.
        print "template <class T> struct Type {};"
        print "template <class T> void PrintCall(char const* name)"
        print "{ std::printf(\"%s %s\\n\", name, abi::__cxa_demangle(typeid(Type<T>).name(), 0, 0, 0)); }"
    }
    $1 == "flat" && NF == 2 || $1 == "call" {
        body = body "PrintCall<decltype(&" $2 ")>(\"" $0 "\");\n"
        next
    }
    $1 == "flat" { sub(/^flat /, "") }
    $1 == "constant" {
        for (i = 2; i <= NF; ++i)
            body = body "std::printf(\"constant " $i " %lld\\n\", static_cast<long long>(" $i "));\n"
        next
    }
    $1 == "interface" { print "void Emit(" $2 "* x) { x->" $2 "::~" $2 "(); }" }
    {
        body = body "std::printf(\"size " $2 " %zu align %zu\\n\", sizeof(" $2 "), alignof(" $2 "));\n"
        for (i = 3; i <= NF; ++i)
            body = body "std::printf(\"field " $2 "." $i " %zu %zu\\n\", offsetof(" $2 ", " $i \
                   "), sizeof(" $2 "::" $i "));\n"
    }
    END { print "int main() {\n" body "}" }' "$work/records" "$work/calls" >"$work/facts.cpp"
# Types of protected members are facts too.
$CXX -std=c++11 -O0 -fPIC -fno-access-control -Wno-invalid-offsetof -I"$include" \
    -c "$work/facts.cpp" -o "$work/facts.o"
$CXX "$work/facts.o" -o "$work/facts"
# An unoptimised object has the tables of the interfaces in it.
$CXX -shared "$work/facts.o" -o "$work/facts.so"
# A word list of its own, because the emulator may carry arguments.
$EMULATOR "$work/facts" | sed 's/ Type<\(.*\)>$/ \1/' >"$work/facts.txt"

# The same facts, asserted in C.
awk '
    function check(condition, what) { print "_Static_assert(" condition ", \"" what "\");" }
    BEGIN {
        print "#include <verrick/flat.h>"
        print "#include <stddef.h>"
        # C++ names a record without its keyword.
        print "#define _IO_FILE struct _IO_FILE"
    }
    NR == FNR && $1 == "flat" { for (i = 3; i <= NF; ++i) in_c[$i] }
    NR == FNR { next }
    $1 == "constant" && $2 in in_c { check("(" $2 ") == " $3 "LL", $2) }
    $1 == "size" && $2 in in_c { check("sizeof(" $2 ") == " $3 " && _Alignof(" $2 ") == " $5, $2) }
    $1 == "field" && split($2, part, ".") && part[1] in in_c {
        check("offsetof(" part[1] ", " part[2] ") == " $3, $2)
        check("sizeof(((" part[1] "*)0)->" part[2] ") == " $4, $2)
    }
    $1 == "flat" {
        name = $2
        sub(/^flat [^ ]* /, "")
        check("__builtin_types_compatible_p(__typeof__(&" name "), " $0 ")", name)
    }' "$work/records" "$work/facts.txt" >"$work/facts.c"
$CC -std=c11 -fsyntax-only -I"$include" "$work/facts.c"

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
    "$READELF" -W --dyn-syms "$library" | awk '$7 ~ /^[0-9]+$/ && $5 != "LOCAL" {print "symbol", $8}' |
        tee "$work/symbols"
    cat "$work/facts.txt"
    awk '$2 ~ /^_ZTV/ {print $2}' "$work/symbols" >"$work/exported"
    awk '$1 == "interface" {print "_ZTV" length($2) $2}' "$work/records" >>"$work/exported"
    { slots "$work/facts.so" && slots "$library"; } |
        awk 'NR == FNR {wanted[$1]; next} $2 in wanted' "$work/exported" -
} >"$work/dump"
sort -u -k1,1 -k2,2 -k3,3n "$work/dump"
