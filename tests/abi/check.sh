#!/bin/sh
# Usage: check.sh COMMITTED LIBRARY INCLUDE
# Compares the interface of the built library, as dump.sh prints it, with the committed one, and
# fails on a difference unless the soname moved.
#
# With RENEW_ABI set it renews COMMITTED instead, and fails if a fact that was there changed or went
# while the soname stayed; RENEW_ABI=anew takes that too.
set -eu
export LC_ALL=C
committed=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$(dirname "$0")/dump.sh" "$@" >"$work/built"
grep -q '^slot' "$work/built" || { echo "no virtual table was found"; exit 1; }

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
echo "The binary interface changed. A changed or missing line breaks programs that were built before"
echo "and needs another soname; after mere additions scripts/abi renews the committed interface."
exit 1
