#!/bin/bash
# What doxygen reads in place of a file:
# - A page has a name of its own; otherwise its path would be its name.
# - Friends are left out, and what is deleted has its word, which would only be in the way in the
#   headers.
# - A percent sign in code stays one: doxygen takes the first as its own.
#
#   docs/filter.sh FILE
case $1 in
*/guide/*.md) sed "1s/\$/ {#guide_$(basename "$1" .md)}/" "$1" ;;
*.md) sed "1s/\$/ {#$(basename "$1" .md)}/" "$1" ;;
*) sed -e 's|.*= delete;|/** Deleted: there are no copies. */ &|' -e 's|^ *friend .*||' "$1" ;;
esac | sed -E 's/`(%?)%([a-z])/`\1%%\2/g'
