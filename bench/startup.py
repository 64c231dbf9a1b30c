#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Start to mapped window, and memory, of two programs by turns. Usage: startup.py MONITOR EMPTY-WINDOW"""
import os
import select
import statistics
import subprocess
import sys
import tempfile
import time

from Xlib import X, display

ROUNDS = 9
DEADLINE_S = 20
SETTLE_S = 2.5


def proportional_kib(pid):
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as rollup:
        return next(int(line.split()[1]) for line in rollup if line.startswith("Pss:"))


def resident_kib(pid):
    with open(f"/proc/{pid}/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmRSS:"))


def measure(program, folder):
    """Seconds to the first mapped window of a real size; KiB resident, and KiB proportional, once settled."""
    screen = display.Display()
    screen.screen().root.change_attributes(event_mask=X.SubstructureNotifyMask)
    screen.sync()
    environment = dict(os.environ, XDG_CONFIG_HOME=folder, TMPDIR=folder, HOME=folder)
    begin = time.monotonic()
    process = subprocess.Popen([program], env=environment, stderr=subprocess.DEVNULL)
    try:
        seconds = None
        while seconds is None and time.monotonic() - begin < DEADLINE_S:
            select.select([screen.fileno()], [], [], 0.5)
            while screen.pending_events():
                event = screen.next_event()
                if event.type == X.MapNotify and event.window.get_geometry().width > 500:
                    seconds = time.monotonic() - begin
        if seconds is None:
            sys.exit(f"startup: {program} showed no window")
        time.sleep(SETTLE_S)
        return seconds, resident_kib(process.pid), proportional_kib(process.pid)
    finally:
        process.terminate()
        process.wait(10)
        screen.close()


def main():
    monitor, empty = sys.argv[1:3]
    with tempfile.TemporaryDirectory() as folder:
        os.makedirs(os.path.join(folder, "Varko"))
        with open(os.path.join(folder, "Varko", "QorMonitor.conf"), "w", encoding="ascii") as settings:
            settings.write("[General]\nAutoCheckUpdates=false\n")
        results = {program: [] for program in (monitor, empty)}
        for _ in range(ROUNDS):
            for program, values in results.items():
                values.append(measure(program, folder))
    ours, theirs = (list(map(statistics.median, zip(*values))) for values in results.values())
    figures = (
        ("start to mapped window", "ms", 1e3),
        ("resident memory", "MiB", 1 / 1024),
        ("proportional memory", "MiB", 1 / 1024),
    )
    for (name, unit, scale), our, their in zip(figures, ours, theirs):
        pair = f"{our * scale:.0f} {unit}, empty window {their * scale:.0f} {unit}"
        print(f"{name}: {pair}, ratio {our / their:.2f}")


if __name__ == "__main__":
    main()
