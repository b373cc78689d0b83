#!/bin/sh
# Usage: declarations.sh HEADER...
# Prints the functions that the headers declare and don't define, one a line, as KIND NAME:
#
#   function NAME         outside of classes
#   member CLASS::NAME    a constructor or destructor too
#   private CLASS::NAME   the same, out of an application's reach
#   pure CLASS::NAME      a pure virtual operation
#
# An overloaded name comes once for each declaration. The headers are read as text, so both sides of
# each #if count. Deleted and defaulted functions, operators and templates are left out.
set -eu
export LC_ALL=C
# First awk: drops comments, directives and markers, and puts each statement on a line of its own.
# Such a line ends with its semicolon or brace.
cat "$@" | tr '\n' '\001' | awk '
    {
        while (match($0, /[/][*]([^*]|[*]+[^*/])*[*]+[/]/))
            $0 = substr($0, 1, RSTART - 1) substr($0, RSTART + RLENGTH)
        gsub(/\\ *\001/, " ")
        gsub(/([/][/]|#)[^\001]*/, "")
        gsub(/VERRICK_[A-Z_]+([(][^()]*[)])?/, "")
        gsub(/[ \t\001]+/, " ")
        gsub(/[;{}]/, "&\n")
        print
    }' | awk '
    { sub(/^ +/, "") }
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
    # An initializer, which may call something; a deleted or defaulted function.
    /^[^(]*=/ || /= *(delete|default) *;$/ { next }
    match($0, /[A-Za-z_~][A-Za-z_0-9]*[(]/) {
        name = substr($0, RSTART, RLENGTH - 1)
        for (i = depth; i > 0; --i)
            name = scope[i] name
        if (name ~ /-/) next
        if (/= *0 *;$/) print "pure", name
        else if (name !~ /::/) print "function", name
        else print access[depth] == "private" ? "private" : "member", name
    }' | sort
