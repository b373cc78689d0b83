#!/bin/sh
# Usage: check_status.sh PROBE_WITH_LIBRARY PROBE_WITHOUT [EMULATOR...]
# Fails, showing the difference, unless both probes get the same answers, byte for byte.
set -eu
with=$1 without=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir dir
echo text >file
ln -s nowhere dangling
ln -s dir link
truncate -s 3G large
long=$(printf '%0300d' 0)
set -- "$@" PROBE WHICH file dir link dangling large missing file/below "" "$long" /dev/null
probe() { # BINARY with|without: the arguments above with both put in
    binary=$1 which=$2
    shift 2
    for word; do
        shift
        case $word in PROBE) word=$binary ;; WHICH) word=$which ;; esac
        set -- "$@" "$word"
    done
    "$@"
}
probe "$without" without "$@" >expected.txt
probe "$with" with "$@" >actual.txt
[ "$(grep -ac ' errno ' expected.txt)" -eq 23 ]
od -An -c -w16 expected.txt >expected_bytes.txt
od -An -c -w16 actual.txt >actual_bytes.txt
diff -u expected_bytes.txt actual_bytes.txt
