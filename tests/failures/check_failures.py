#!/usr/bin/env python3
"""Makes the library's calls fail as table.txt says, and checks what a caller sees.

Usage: check_failures.py FAMILY PROGRAM [EMULATOR...]

Each row of the table names a scenario, how a call fails, which calls do, and what may be seen then.
In a scenario that makes several of the calls each of them fails once. Each of the calls must have
failed, and each outcome must have been seen. Prints how many failures there were, and how many
different outcomes.

Under an emulator no signals are sent. It catches them all, so nobody sees whether the program does.
"""
import ctypes
import errno
import os
import random
import re
import signal
import subprocess
import sys
import tempfile
import threading
import time

KINDS = ["once", "for ever", "short", "late", "renamed", "signals"]


def rows(family):
    """The rows of a family, each as scenario, number of the kind, error, calls and outcomes."""
    current = None
    with open(os.path.join(os.path.dirname(__file__), "table.txt"), encoding="utf-8") as table:
        for line in table:
            if re.match(r"\[\w+\]$", line):
                current = line.strip()[1:-1]
            elif current == family and line.strip() and not line.startswith("#"):
                scenario, how, calls, outcomes = (field.strip() for field in line.split("|", 3))
                name, _, kind = how.partition(" ")
                error = getattr(errno, name, 0)
                kind = KINDS.index(kind or "once" if error else how)
                yield scenario, kind, error, calls.split(), [o.strip() for o in outcomes.split("|")]


def send_signals(process):
    """Sends signals to all threads of a process at random moments, as long as it runs."""
    tgkill = ctypes.CDLL(None).tgkill
    while process.poll() is None:
        time.sleep(random.random() * 0.004)
        try:
            with open(f"/proc/{process.pid}/status", encoding="ascii") as status:
                caught = int(re.search(r"SigCgt:\s*(\w+)", status.read()).group(1), 16)
            if caught & 1 << signal.SIGUSR1 - 1:
                for thread in os.listdir(f"/proc/{process.pid}/task"):
                    tgkill(process.pid, int(thread), signal.SIGUSR1)
        except (OSError, AttributeError):
            pass  # it has just ended


def runs(scenario, kind, error, calls, command, folder):
    """The runs of a scenario, each as variant, n, failed call and what was printed."""
    signals = kind == KINDS.index("signals")
    arguments = [scenario, str(0 if signals else kind), str(error), f" {' '.join(calls)} "]
    with subprocess.Popen(command + arguments, cwd=folder, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE) as process:
        if signals:
            threading.Thread(target=send_signals, args=[process]).start()
        printed, errors = process.communicate(timeout=280)
    *lines, rest = re.split(r"\n= (\d+) (\d+) (.*)\n", printed)
    found = []
    for text, variant, n, call in zip(*[iter(lines)] * 4):
        text = " ".join(text.replace(command[-1], "PROGRAM").split())
        found.append((int(variant), int(n), call.strip(), text))
    if process.returncode != 0 or rest.strip():
        variant, n = found[-1][:2] if found else (0, 0)
        found.append((variant, n + 1, "?", f"exit {process.returncode}: {rest} {errors}"))
    return found


def main():
    family, program, *emulator = sys.argv[1:]
    failures, seen, faults = 0, set(), []
    with tempfile.TemporaryDirectory() as folder:
        for scenario, kind, error, calls, outcomes in rows(family):
            signals = kind == KINDS.index("signals")
            if signals and emulator:
                continue
            works, untried, missing = {}, set(calls), set(outcomes)
            for variant, n, call, outcome in runs(scenario, kind, error, calls,
                                                  emulator + [program], folder):
                works.setdefault(variant, "" if call == "?" else outcome)
                call = "signals" if signals else call
                name = "works" if outcome == works[variant] and "works" in outcomes else outcome
                if name not in outcomes if call else outcome != works[variant]:
                    faults.append(f"{scenario}, variant {variant}, {KINDS[kind]} "
                                  f"{errno.errorcode.get(error, '')}, n = {n}, {call or 'no call'}: "
                                  f"{outcome}\n    instead of {' or '.join(outcomes)}")
                if call:
                    failures += 1
                    seen.add((scenario, outcome))
                    untried.discard(call)
                    missing.discard(name)
            if untried or missing:
                faults.append(f"{scenario}: no {' and no '.join(sorted(untried | missing))}")
    print("\n".join(faults))
    print(f"{family}: {failures} failures, {len(seen)} outcomes")
    return 1 if faults or failures == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
