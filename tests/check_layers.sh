#!/bin/sh
# Usage: check_layers.sh ROOT
# Fails if a source includes something of a folder that doesn't stand below its own. A folder's own
# headers are its sources' headers and the public headers that it carries out.
set -eu
cd "$1"
{
    # folder, level, and the public headers of the folder beside flat/FOLDER.h
    echo strings 0 strings printing debug
    echo frame 1 frame version critical_section event list interlocked semaphore
    echo threads 2 time_primitives thread worker_thread timers tasks
    echo ini 2 ini conversion
    echo handles 2 handles flat_critical_section
    echo queues 3 rings queues
    echo files 3 file search listing paths libraries
    for folder in strings frame threads ini handles queues files; do
        grep -HoE '^#include ["<](verrick/[a-z_/0-9]+|[a-z]+/[a-z_0-9]+)\.h' "$folder"/*
    done
} | awk '
    $1 != "" && $2 ~ /^[0-9]$/ {
        level[$1] = $2
        of["verrick/flat/" $1] = $1
        for (i = 3; i <= NF; ++i) of["verrick/" $i] = $1
        next
    }
    {
        folder = $0; sub(/\/.*/, "", folder)
        header = $0; sub(/.*#include ["<]/, "", header); sub(/\.h$/, "", header)
        ++count
        if (header ~ /^(verrick\/detail|sys)\//) next
        target = header ~ /^verrick\// ? of[header] : header
        sub(/\/.*/, "", target)
        if (!(target in level)) { print $0 ": add this header to check_layers.sh"; bad = 1 }
        else if (target != folder && level[target] >= level[folder]) {
            print $0 ": " folder " must not use " target; bad = 1
        }
    }
    END { if (count < 20) { print "only " count + 0 " includes read"; bad = 1 }; exit bad }'
