#!/bin/sh
# Usage: check_umbrellas.sh INCLUDE OPT_IN_LIST
# Fails unless each public header is included by verrick.h, or by flat.h if it stands in flat/. The
# headers that the list names are included by neither.
set -eu
cd "$1"
status=0
for header in $(find verrick -name '*.h' ! -path verrick/verrick.h ! -path verrick/flat.h \
    ! -path 'verrick/detail/*'); do
    case $header in
    verrick/flat/*) umbrella=verrick/flat.h ;;
    *) umbrella=verrick/verrick.h ;;
    esac
    included=no opt_in=no
    if grep -qF "#include <$header>" "$umbrella"; then included=yes; fi
    if grep -q "^${header#verrick/} ." "$2"; then opt_in=yes; fi
    if [ $included = $opt_in ]; then
        echo "$header: included by $umbrella: $included; named in $2: $opt_in. One of them must be yes."
        status=1
    fi
done
exit $status
