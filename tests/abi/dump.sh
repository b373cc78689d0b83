#!/bin/sh
# Usage: dump.sh LIBRARY INCLUDE
# Prints the binary interface of a built library, one fact a line, sorted:
#
#   soname NAME
#   symbol NAME                       what the library exports
#   constant NAME VALUE               a constant of the headers
#   size CLASS BYTES align BYTES
#   field CLASS.NAME OFFSET BYTES     of a record whose fields are public
#   flat NAME TYPE                    a call that the flat headers declare
#   call NAME TYPE                    another function that an application can call, if not overloaded
#   slot VTABLE INDEX SYMBOL          a word of a virtual table: operations, in order, and type
#                                     information
#
# records.txt beside this script says which constants, classes and fields. The virtual tables are
# those that the library exports and those of the interfaces that applications implement.
#
# The environment holds CXX, CC, READELF and EMULATOR, a command that runs the target's programs.
set -eu
export LC_ALL=C
library=$1 include=$2
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$READELF" -d "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/soname \1/p' >"$work/soname"
"$READELF" -W --dyn-syms "$library" | awk '$7 ~ /^[0-9]+$/ && $5 != "LOCAL" {print "symbol", $8}' >"$work/symbols"
"$here/facts.sh" "$include" "$work/interfaces.so" >"$work/facts"

awk '$2 ~ /^_ZTV/ {print $2}' "$work/symbols" >"$work/tables"
awk '$1 == "interface" {print "_ZTV" length($2) $2}' "$here/records.txt" >>"$work/tables"
"$here/slots.sh" "$library" >"$work/slots"
"$here/slots.sh" "$work/interfaces.so" >>"$work/slots"
awk 'NR == FNR {wanted[$1]; next} $2 in wanted' "$work/tables" "$work/slots" >"$work/wanted"

sort -u -k1,1 -k2,2 -k3,3n "$work/soname" "$work/symbols" "$work/facts" "$work/wanted"
