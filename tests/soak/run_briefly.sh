#!/bin/bash
# Usage: run_briefly.sh COMMAND...
# Runs soak for two seconds in a folder of its own, without input. Shows what it says only if it fails.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
"$@" 2 </dev/null >/dev/null 2>said || {
    grep -vE '^[0-9]+$' said
    exit 1
}
