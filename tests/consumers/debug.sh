#!/bin/sh
# Usage: debug.sh
# GDB, with nothing set, shows the state of an event of a library that is installed in the system.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cat >stopped.cpp <<'END'
#include <verrick/event.h>
#include <csignal>

int main() {
    DEvent const event(true, true);
    return std::raise(SIGTRAP);
}
END
c++ -g stopped.cpp -o stopped $(pkg-config --cflags --libs verrick)
# GDB's Python leaves no compiled files behind.
export PYTHONDONTWRITEBYTECODE=1
gdb -nx -batch -ex run -ex 'frame function main' -ex 'print event' ./stopped >out 2>&1
grep -F '$1 = event: signalled, auto-reset, 0 waiting' out || { cat out; exit 1; }
