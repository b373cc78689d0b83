#!/bin/sh
# Usage: check_printers.sh PRINTERS PROGRAM
# Runs PROGRAM (stopped.cpp) in GDB until it stops, and compares what the printers tell of its objects.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
gdb -nx -batch -ex run -ex "source $1" -ex 'frame function main' \
    -ex 'print running' -ex 'print parked' -ex 'print event' -ex 'print *(XEvent*)event' \
    -ex 'print g_taken' -ex 'print own' -ex 'print (HANDLE)0' -ex 'print (HANDLE)8' -ex 'print named' \
    -ex 'print *empty' -ex 'print *full' -ex 'print *ring' -ex 'print *timers' "$2" >"$work/all" 2>&1
sed -n -E 's/0x[0-9a-f]{4,}/ADDRESS/g; s/due in 3[56][0-9]{5} ms/due in an hour/; s/^\$[0-9]+ = //p' \
    "$work/all" >"$work/printed"
diff - "$work/printed" <<'END' || { cat "$work/all"; exit 1; }
{<DThread> = thread "running": in Run, event = event: unsignalled, manual-reset, 1 waiting}
{<DThread> = thread "parked": parked, event = event: unsignalled, manual-reset, 0 waiting}
handle of event: signalled, auto-reset, 0 waiting
event: signalled, auto-reset, 0 waiting
handle of semaphore: count 0 of at most 5, 1 waiting
handle of (anonymous namespace)::OwnKind, type 0x77
null handle
unreadable object at 0x8
semaphore L"name": count 2 of at most 7, 0 waiting
queue: 0 of 4 messages, 0 sending, 1 receiving
queue: 1 of 1 messages, 2 sending, 0 receiving
ring: 3 of 8 bytes
timers: 1 armed, 1 not armed = {m_activeList[0] = id 7 for listener ADDRESS, due in an hour, every 3600000 ms, m_inactiveList[0] = id 8 for listener ADDRESS, not armed}
END
