#!/bin/sh
# Usage: slots.sh OBJECT
# Prints the virtual tables of an object, as "slot VTABLE INDEX SYMBOL".
#
# The loader fills in most words of a table, so the relocations tell what stands there. A relocation
# names a symbol, or an address where the library binds to its own. Without an addend in the
# relocation (32-bit x86), the address stands in the word itself.
set -eu
export LC_ALL=C
"$READELF" -W -h -s -r -x .data.rel.ro "$1" | awk '
    function hex(text,    i, value) {
        value = 0
        for (i = 1; i <= length(text); ++i)
            value = value * 16 + index("0123456789abcdef", substr(text, i, 1)) - 1
        return value
    }
    function swapped(text) {
        return substr(text, 7, 2) substr(text, 5, 2) substr(text, 3, 2) substr(text, 1, 2)
    }
    $1 == "Class:" { word = $2 == "ELF64" ? 8 : 4 }
    /^Relocation section|^Symbol table|^Hex dump/ { block = $1; next }
    block == "Relocation" && $3 ~ /_RELATIVE$/ { local_at[hex($1)] = NF > 3 ? hex($4) : "word" }
    block == "Relocation" && $3 ~ /^R_/ && NF > 4 {
        sub(/@.*/, "", $5)
        symbol_at[hex($1)] = $5
    }
    block == "Symbol" && $4 == "FUNC" || $4 == "OBJECT" {
        at = hex($2)
        # Local aliases (with a dot) and base destructors are no entries of a table.
        if ($7 != "UND" && $8 ~ /^_Z/ && $8 !~ /[CD]2E|[.]/ && !((at, $8) in seen)) {
            seen[at, $8]
            if (at in names) names[at] = names[at] "=" $8
            else names[at] = $8
        }
        if ($7 != "UND" && $8 ~ /^_ZTV/) {
            start[$8] = at
            size[$8] = $3
        }
    }
    block == "Hex" && $1 ~ /^0x/ {
        for (i = 0; i < 4; ++i)
            content[hex(substr($1, 3)) + 4 * i] = swapped($(i + 2))
    }
    # Equal functions can share an address. The class of the table has the right name then.
    function name_at(address, table,    name, i, count) {
        count = split(names[address], name, "=")
        for (i = 1; i <= count; ++i)
            if (index(name[i], substr(table, 5))) return name[i]
        return count ? names[address] : "hidden"
    }
    END {
        for (table in start)
            for (i = 0; i * word < size[table]; ++i) {
                at = start[table] + i * word
                to = at in local_at ? local_at[at] : ""
                if (to == "word") to = hex(content[at])
                if (at in symbol_at) slot[table, i] = symbol_at[at]
                else if (to != "") slot[table, i] = name_at(to, table)
                if (slot[table, i] == "__cxa_pure_virtual") abstract[table]
            }
        # GCC leaves the destructors out of an abstract table, Clang puts them in.
        for (table in start)
            for (i = 0; i * word < size[table]; ++i)
                if (slot[table, i] != "" && !(table in abstract && slot[table, i] ~ /D[012]Ev$/))
                    print "slot", table, i, slot[table, i]
    }'
