#!/bin/bash
# Each page of the guide, and the page on porting, shows the program of its name, word for word. Says
# which page doesn't.
#
#   docs/guide/show_programs.sh [--renew]      --renew: puts the programs into the pages instead
set -euo pipefail
cd "$(dirname "$0")"

# shown PAGE PROGRAM: the page with the program in its code block.
shown() {
    awk -v program="$2" '
        inside && $0 == "```" { inside = 0 }
        !inside { print }
        $0 == "```cpp" {
            inside = 1
            while ((getline line < program) > 0) print line
        }' "$1"
}

status=0
for program in programs/*.cpp; do
    page=$(basename "$program" .cpp).md
    [[ -e $page ]] || page=../$page
    renewed=$(mktemp)
    shown "$page" "$program" >"$renewed"
    if [[ ${1:-} == --renew ]]; then
        cat "$renewed" >"$page"
    elif ! grep -qx '```cpp' "$page" || ! diff -u "$page" "$renewed"; then
        echo "$page doesn't show $program; $0 --renew does that" >&2
        status=1
    fi
    rm -f "$renewed"
done
exit $status
