#!/bin/sh
# Usage: facts.sh INCLUDE OBJECT
# Prints the facts that the public headers hold: constants, sizes, fields and the types of calls. Also
# makes OBJECT, a shared object with the virtual tables of the interfaces that applications implement.
#
# A C program must see the same flat calls, constants and records: the script fails if not.
set -eu
export LC_ALL=C
include=$1
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sed '/^#/d; /^$/d' "$here/records.txt" >"$work/records"

# No exported class is forgotten.
grep -rhE '^(class|struct) VERRICK_API' "$include" | sed 's/VERRICK_[A-Z_]* *//g' | awk '{print $2}' |
    sort >"$work/classes"
awk '{sub(/^flat /, "")} $1 != "constant" {print $2}' "$work/records" | sort >"$work/listed"
comm -23 "$work/classes" "$work/listed" | sed 's/$/ is missing in records.txt/' >"$work/missing"
[ ! -s "$work/missing" ] || { cat "$work/missing" >&2; exit 1; }

# The functions that the headers declare, as "flat NAME" or "call NAME". Left out are overloaded ones,
# because one name then has several types, and constructors and destructors, which have none.
"$here/declarations.sh" "$include" >"$work/declared"
awk '
    $1 == "private" { hidden[$2] }
    $3 ~ /[/]flat[/]/ { flat[$2] }
    {
        last = split($2, part, "::")
        if (last == 1 || part[last] != part[last - 1] && part[last] !~ /^~/) ++count[$2]
    }
    END {
        for (name in count)
            if (count[name] == 1 && !(name in hidden)) print name in flat ? "flat" : "call", name
    }' "$work/declared" >"$work/calls"

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
    # This constructor makes the compiler emit the table of the interface.
    $1 == "interface" { print "struct Own" $2 " : " $2 " { Own" $2 "(); }; Own" $2 "::Own" $2 "() {}" }
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
$CXX -shared "$work/facts.o" -o "$2"
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
cat "$work/facts.txt"
