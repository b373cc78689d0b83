#!/bin/bash
# Usage: check_tarball.sh SCRIPTS
# In a tree without git, scripts/format hands every source to clang-format, and nothing that was built.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/tree" "$work/tools" "$work/tree/frame" "$work/tree/build"
cp -r "$1" "$work/tree/scripts"
touch "$work/tree/frame/source.cpp" "$work/tree/build/built.cpp"
for tool in dirname find xargs; do
    ln -s "$(command -v $tool)" "$work/tools"
done
printf '#!/bin/sh\necho "$@"\n' >"$work/tools/clang-format"
chmod +x "$work/tools/clang-format"
PATH=$work/tools "$work/tree/scripts/format" --check | diff <(echo --dry-run --Werror frame/source.cpp) -
