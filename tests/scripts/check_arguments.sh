#!/bin/bash
# Usage: check_arguments.sh SCRIPTS
# Each command of SCRIPTS prints its help for --help, and one line on standard error and status 2 for
# an unknown argument. It does nothing else: it runs in a copy that must stay as it is, and it finds
# no tool but those that print the help.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/tree" "$work/tools"
cp -r "$1" "$work/tree/scripts"
for tool in dirname sed; do
    ln -s "$(command -v $tool)" "$work/tools"
done
find "$work/tree" | sort >"$work/before"

status=0
# run SCRIPT ARGUMENT STATUS: keeps what it prints in out and err.
run() {
    local result=0
    PATH=$work/tools "$1" "$2" >"$work/out" 2>"$work/err" </dev/null || result=$?
    [[ $result -eq $3 ]] || fail "$1" "$2" "ends with $result instead of $3"
}
fail() {
    echo "${1##*/} $2 $3; it printed:"
    cat "$work/out" "$work/err"
    status=1
}

commands=0
for script in "$work"/tree/scripts/*; do
    [[ -x $script ]] || continue
    commands=$((commands + 1))
    run "$script" --help 0
    grep -q "scripts/${script##*/}" "$work/out" || fail "$script" --help "doesn't show how it is called"
    [[ ! -s $work/err ]] || fail "$script" --help "complains"
    run "$script" --no-such-argument 2
    [[ $(wc -l <"$work/err") -eq 1 ]] || fail "$script" --no-such-argument "doesn't say so in one line"
    grep -q -e --no-such-argument "$work/err" || fail "$script" --no-such-argument "doesn't name it"
    [[ ! -s $work/out ]] || fail "$script" --no-such-argument "goes on"
done
[[ $commands -gt 0 ]]
find "$work/tree" | sort | diff "$work/before" -
exit $status
