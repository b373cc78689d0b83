#!/bin/sh
# Usage: check_exports.sh OBJECT LIST POINTER_SIZE NM
# Fails, showing the difference, unless the object exports exactly the symbols of the list.
set -eu
export LC_ALL=C
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
grep -v '^#' "$2" | grep . | sed "s/@PTR@/$3/g" | sort >"$work/listed"
"$4" -D --defined-only "$1" | awk '{print $NF}' | sort >"$work/exported"
[ -s "$work/exported" ] || { echo "no symbols read from $1"; exit 1; }
diff -u "$work/listed" "$work/exported"
