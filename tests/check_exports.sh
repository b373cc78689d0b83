#!/bin/sh
# Usage: check_exports.sh OBJECT LIST INCLUDE NM
# Compares what the object exports with cmake/exports.list and with the public headers. Fails if a
# line of the list exports nothing, or if a header declares a function that isn't exported.
# An application may have functions of its own under the library's names. The object goes on calling
# its own. So the check also fails if the loader has to look up a function that the object defines.
# CXX and READELF are taken from the environment.
set -eu
export LC_ALL=C
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$READELF" -dW "$1" | grep -q NODELETE || { echo "$1 could be unloaded"; exit 1; }
"$4" -D --defined-only "$1" >"$work/defined"
awk '{print "symbol", $NF}' "$work/defined" >"$work/symbols"
awk '$2 == "T" {print "own", $3}' "$work/defined" >"$work/own"
"$READELF" -rW "$1" | awk 'NF >= 5 {sub(/@.*/, "", $5); print "looked-up", $5}' >"$work/lookups"
sed '/^#/d; /^$/d; s/^/listed /' "$2" >"$work/listed"
"$(dirname "$0")/abi/declarations.sh" "$3" >"$work/headers"
sed 's/^/declared /' "$work/headers" >"$work/declared"
for facts in symbols own lookups listed declared; do
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
    $1 == "own" { own[$2] }
    $1 == "looked-up" && ($2 in own) {
        complain("An application with a " $2 " of its own would replace the library\047s.")
    }
    $1 == "listed" && !is_there($2, $3) {
        complain("cmake/exports.list names " $3 ", which the object does not export.")
    }
    $1 == "declared" && $2 != "pure" && !($3 in known) && !is_there($2, $3) {
        complain($4 " declares " $3 ", which the object does not export. Is it in cmake/exports.list?")
    }
    END { exit failed }' "$work/symbols" "$work/own" "$work/lookups" "$work/listed" \
    "$work/declared"
