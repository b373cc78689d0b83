#!/bin/sh
# Usage: check.sh COMMITTED LIBRARY INCLUDE
# Compares the interface of the built library, as dump.sh prints it, with the committed one. Fails on
# a difference, unless the soname moved.
#
# RENEW_ABI=additions renews COMMITTED instead. It fails if a fact changed or went while the soname
# stayed. RENEW_ABI=anew takes that too.
set -eu
export LC_ALL=C
committed=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$(dirname "$0")/dump.sh" "$@" >"$work/built"
for kind in symbol flat call slot; do
    grep -q "^$kind " "$work/built" || { echo "no $kind was found"; exit 1; }
done

moved=false
grep -qxF "$(grep '^soname' "$work/built")" "$committed" || moved=true
if [ -n "${RENEW_ABI:-}" ]; then
    sort "$committed" >"$work/old"
    sort "$work/built" | comm -23 "$work/old" - >"$work/broken"
    if $moved || [ "$RENEW_ABI" = anew ] || [ ! -s "$work/broken" ]; then
        cat "$work/built" >"$committed"
        exit 0
    fi
    echo "These changed or went, which needs another soname:"
    cat "$work/broken"
    exit 1
fi
if $moved; then
    echo "The soname moved; scripts/abi renews the committed interface."
    exit 0
fi
diff -u "$committed" "$work/built" && exit
echo "The interface changed. A changed or missing line breaks programs, so it needs another soname."
echo "After mere additions, scripts/abi renews the committed interface."
exit 1
