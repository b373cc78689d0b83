"""The work of scripts/soak: runs tests/soak/soak.cpp and watches it from outside.

Usage: soak.py PROGRAM SECONDS OWN_THREADS GROWTH_MIB

OWN_THREADS: how many threads the program has without the library's. GROWTH_MIB: what the resident size
may gain after the warm-up.
"""

import os
import select
import subprocess
import sys
import tempfile
import time
from pathlib import Path

THREADS = 8
OWN_DESCRIPTORS = 3  # the standard ones
STALL_SECONDS = 10
MARK_MINUTES = (1, 10, 30)
WARM_UP_SECONDS = 60  # or a third of a shorter run


class Watched:
    """The program, while it runs in a folder of its own."""

    def __init__(self, program, seconds, folder):
        self._process = subprocess.Popen(
            [program, str(seconds)], cwd=folder, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
            stderr=subprocess.PIPE)
        self._errors = self._process.stderr.fileno()
        self._rest = b''
        # When each thread began, or last ended an operation.
        self._last = {str(thread): time.monotonic() for thread in range(THREADS)}
        self._proc = Path('/proc') / str(self._process.pid)
        self.operations = 0
        self.messages = []

    def read(self, seconds):
        """Reads what the threads say in this time. Returns whether the program still runs."""
        end = time.monotonic() + seconds
        while (left := end - time.monotonic()) > 0:
            if not select.select([self._errors], [], [], left)[0]:
                continue
            data = os.read(self._errors, 1 << 16)
            if not data:
                return False
            *lines, self._rest = (self._rest + data).split(b'\n')
            for line in lines:
                self._take(line.decode(errors='replace'))
        return True

    def _take(self, line):
        if line.isdigit():
            self._last[line] = time.monotonic()
            self.operations += 1
        else:
            self.messages.append(line)

    def stalled(self):
        """The threads that have ended no operation for too long."""
        limit = time.monotonic() - STALL_SECONDS
        return [thread for thread, last in self._last.items() if last < limit]

    def resident(self):
        pages = int((self._proc / 'statm').read_text().split()[1])
        return pages * os.sysconf('SC_PAGESIZE')

    def count(self, folder):
        return len(list((self._proc / folder).iterdir()))

    def backtraces(self):
        command = ['gdb', '--batch', '-p', str(self._process.pid), '-ex', 'thread apply all backtrace']
        return subprocess.run(command, capture_output=True, text=True).stdout

    def end(self):
        """Returns the program's status."""
        self._process.stdin.close()
        while self.read(1):
            pass
        return self._process.wait()

    def fail(self, reason, *details):
        self._process.kill()
        self._process.wait()
        print(*details, *self.messages[-60:], sep='\n')
        sys.exit(f'soak: {reason}')


def show(seconds, watched):
    print(f'{seconds // 60}:{seconds % 60:02} minutes: {watched.operations} operations, resident'
          f' {watched.resident() / (1 << 20):.1f} MiB', flush=True)


def run(watched, seconds):
    """Watches the load. Returns the resident size after the warm-up and at the end."""
    warm_up = min(WARM_UP_SECONDS, seconds // 3)
    warm = 0
    for second in range(1, seconds + 1):
        if not watched.read(1):
            watched.fail('the program ended')
        if watched.stalled():
            watched.fail(f'threads {watched.stalled()} stall', watched.backtraces())
        if second == warm_up:
            warm = watched.resident()
        if second in [60 * minutes for minutes in MARK_MINUTES] or second == seconds:
            show(second, watched)
    return warm, watched.resident()


def await_threads(watched, own_threads):
    """Waits until the load has ended. Detached threads may need a moment after it."""
    for _ in range(2 * STALL_SECONDS):
        if not watched.read(1):
            watched.fail('the program ended')
        if watched.count('task') <= own_threads:
            return
    watched.fail('threads are left', watched.backtraces())


def main():
    program = sys.argv[1]
    seconds, own_threads, growth_mib = map(int, sys.argv[2:])
    with tempfile.TemporaryDirectory() as folder:
        watched = Watched(program, seconds, folder)
        warm, last = run(watched, seconds)
        await_threads(watched, own_threads)
        print(f'At the end {watched.count("task")} of {own_threads} threads and {watched.count("fd")}'
              f' of {OWN_DESCRIPTORS} descriptors are left')
        if watched.count('fd') > OWN_DESCRIPTORS:
            watched.fail('descriptors are left')
        if last - warm > growth_mib << 20:
            watched.fail(f'the resident size grew from {warm} to {last} bytes')
        status = watched.end()
        if status != 0:
            watched.fail(f'the program ended with {status}')


main()
