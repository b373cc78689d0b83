#!/bin/bash
# What doxygen reads in place of a file.
#
# Of a page:
# - It has a name of its own, which links to it use. Otherwise its path would be its name.
# - The name of a flat call links to the call, also in tables.
# - The folder of examples is a page of the site.
# - A percent sign in code stays one, because doxygen takes the first as its own.
#
# Of a header:
# - It ends its description with the line that includes it.
# - Friends are left out, and each "= delete" is documented.
# - Each class goes into a group of docs/site/groups.dox.
#
#   docs/site/filter.sh FILE

# A pattern that fits the names of all flat calls.
flat_calls() {
    sed -nE 's/^VERRICK_API[A-Z_]* [^(]*[ *]([A-Za-z_0-9]+)\(.*/\1/p' \
        include/verrick/*.h include/verrick/flat/*.h |
        sort -u | paste -sd'|'
}

# page NAME PREFIX FILE: a page with that name. PREFIX is what the names of the pages beside it begin
# with.
page() {
    sed -E -e "1s/\$/ {#$1}/" \
        -e 's|\(\.\./examples\)|(examples.html)|' \
        -e 's|\]\(\.\./(\w+)\.md\)|](@ref \1)|g' -e 's|\]\(guide/(\w+)\.md\)|](@ref guide_\1)|g' \
        -e "s|\]\((\w+)\.md\)|](@ref $2\1)|g" \
        -e 's/`(%?)%([a-zA-Z])/`\1%%\2/g' \
        -e "/^#/!s/\`($(flat_calls))\`/<code>#\1<\/code>/g" "$3"
}

# group CLASS: prints the group of a class.
group() {
    case $1 in
    *Impl | CSemaphore* | XEvent | XSemaphore | DTimerDispatch) echo behind ;;
    ITimerListener | IWorkerCallbackObj) echo classes ;;
    I[A-Z]*) echo interfaces ;;
    AtomicInt | DFileInfo | MsgQueue | RingBuffer | xDirStruct | CRITICAL_SECTION | FindData)
        echo records
        ;;
    *) echo classes ;;
    esac
}

header() {
    local kind class scope=
    local include="@code{.cpp}\n#include <verrick/${1##*include/verrick/}>\n * @endcode"
    sed -e "0,/^ \*\/\$/s|^ \*/\$| *\n * $include\n */|" -e 's|^ *friend .*||' \
        -e 's|.*= delete;|/** Deleted: there are no copies. */ &|' "$1"
    [[ $1 != */cpp/* ]] || scope=verrick::
    sed -nE 's/^(typedef )?(class|struct) ([A-Z_]+ )*([A-Za-z]\w*)( :.*)? \{$/\2 \4/p' "$1" |
        while read -r kind class; do
            printf '/**\n * @%s %s\n * @ingroup %s\n */\n' \
                "$kind" "$scope$class" "$(group "$class")"
        done
}

case $1 in
*/guide/*.md) page "guide_$(basename "$1" .md)" guide_ "$1" ;;
*.md) page "$(basename "$1" .md)" "" "$1" ;;
*.h) header "$1" ;;
*) cat "$1" ;;
esac
