#!/bin/sh
# Usage: check_exports.sh OBJECT LIST INCLUDE NM
# Compares what the object exports with cmake/exports.list and with the public headers. Fails if a
# line of the list exports nothing, or if a header declares a function that isn't exported. CXX is
# taken from the environment.
set -eu
export LC_ALL=C
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$4" -D --defined-only "$1" | awk '{print "symbol", $NF}' >"$work/symbols"
sed '/^#/d; /^$/d; s/^/listed /' "$2" >"$work/listed"
"$(dirname "$0")/abi/declarations.sh" "$3" >"$work/headers"
sed 's/^/declared /' "$work/headers" >"$work/declared"
for facts in symbols listed declared; do
    [ -s "$work/$facts" ] || { echo "no $facts were read"; exit 1; }
done

awk '
    # How the symbol of Class::Name begins. The qualifier of a const member is K.
    function decorated(name, qualifier,    part, last, i, text) {
        last = split(name, part, "::")
        if (last == 1) return "_Z" length(name) name
        text = "_ZN" qualifier
        for (i = 1; i < last; ++i) text = text length(part[i]) part[i]
        if (part[last] == part[last - 1]) return text "C"
        if (part[last] ~ /^~/) return text "D"
        return text length(part[last]) part[last]
    }
    function is_known(prefix,    symbol) {
        for (symbol in known)
            if (index(symbol, prefix) == 1) return 1
        return 0
    }
    function is_there(kind, name) {
        if (kind == "class" || kind == "abstract") return is_known("_ZN" length(name) name)
        if (kind == "flat") return name in known
        return is_known(decorated(name)) || is_known(decorated(name, "K"))
    }
    function complain(text) { print text; failed = 1 }

    $1 == "symbol" { known[$2] }
    $1 == "listed" && !is_there($2, $3) {
        complain("cmake/exports.list names " $3 ", which the object does not export.")
    }
    $1 == "declared" && $2 != "pure" && !($3 in known) && !is_there($2, $3) {
        complain($4 " declares " $3 ", which the object does not export. Is it in cmake/exports.list?")
    }
    END { exit failed }' "$work/symbols" "$work/listed" "$work/declared"
