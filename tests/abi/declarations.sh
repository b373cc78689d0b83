#!/bin/sh
# Usage: declarations.sh INCLUDE
# Prints the functions that the public headers declare in C++ and don't define: KIND NAME HEADER.
#
#   function NAME         outside of classes
#   member CLASS::NAME    a constructor or destructor too
#   private CLASS::NAME   the same, out of an application's reach
#   pure CLASS::NAME      a pure virtual operation
#
# An overloaded name comes once for each declaration. Deleted and defaulted functions, operators and
# templates are left out. CXX is taken from the environment.
set -eu
export LC_ALL=C
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$1"
# The umbrellas come first. So the macros of an opt-in header don't change what they declare.
{
    printf '#include <verrick/%s.h>\n' verrick flat
    find verrick -name '*.h' ! -path 'verrick/detail/*' | sed 's/.*/#include <&>/'
} >"$work/all.h"
# Attributes look like calls.
$CXX -std=c++11 -E -x c++ -I. '-D__attribute__(x)=' '-D__asm__(x)=' "$work/all.h" >"$work/text"

# First awk: puts each statement of these headers on a line of its own, up to its semicolon or brace.
# The header's name follows.
awk '
    /^# [0-9]+ "/ {
        header = $3
        gsub(/"|^"[.][/]/, "", header)
        next
    }
    header ~ /^verrick[/]/ {
        gsub(/[ \t]+/, " ")
        gsub(/[;{}]/, "& " header "\n")
        printf "%s ", $0
    }' "$work/text" | awk '
    {
        header = $NF
        sub(/ [^ ]*$/, "")
        sub(/^ +/, "")
    }
    match($0, /^(public|protected|private):/) {
        access[depth] = substr($0, 1, RLENGTH - 1)
        sub(/^[a-z]+: */, "")
    }
    /[{]$/ {
        # "-" is a scope that declares nothing: a function body, an enumeration, a template.
        scope[++depth] = "-"
        if (/^extern "C" [{]$/)
            scope[depth] = ""
        else if (/^(typedef )?(class|struct|union|namespace) / && !/[(]/) {
            sub(/( final)?( : .*)? *[{]$/, "")
            scope[depth] = $NF "::"
            access[depth] = $1 == "class" ? "private" : "public"
        }
    }
    /[}]$/ && depth > 0 { --depth }
    !/;$/ || /^(typedef|friend|using|template|static_assert)/ || /operator/ { next }
    # An initializer or an array size, which may call something; a deleted or defaulted function.
    /^[^(]*[=[]/ || /= *(delete|default) *;$/ { next }
    match($0, /[A-Za-z_~][A-Za-z_0-9]*[(]/) {
        name = substr($0, RSTART, RLENGTH - 1)
        for (i = depth; i > 0; --i)
            name = scope[i] name
        if (name ~ /-/) next
        if (/= *0 *;$/) kind = "pure"
        else if (name !~ /::/) kind = "function"
        else kind = access[depth] == "private" ? "private" : "member"
        print kind, name, header
    }' | sort
