# SPDX-License-Identifier: MIT
"""Child processes that are always ended and reaped, and waits that always end."""

import ctypes
import os
import signal
import subprocess
import threading
import time

_PR_SET_CHILD_SUBREAPER = 36
_END_SECONDS = 3.0
POLL_SECONDS = 0.02


class WaitTimeout(AssertionError):
    """What was waited for did not happen in time."""


def wait_until(condition, seconds, what):
    """Returns the first true value of condition(); fails after the given seconds."""
    deadline = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise WaitTimeout(f"not within {seconds} s: {what}")
        time.sleep(POLL_SECONDS)


def stays(condition, seconds, what):
    """Fails as soon as condition() is false; returns after the given seconds."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        if not condition():
            raise AssertionError(f"did not stay for {seconds} s: {what}")
        time.sleep(POLL_SECONDS)


class LogReader:
    """Reads the lines of a pipe and notes when each one came."""

    def __init__(self, pipe):
        self._pipe = pipe
        self.lines = []
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()

    def _read(self):
        for line in self._pipe:
            self.lines.append((time.monotonic(), line.rstrip("\n")))

    def find(self, text, start=0):
        """Time of the first line from index start on that holds the text, or None."""
        return next((when for when, line in self.lines[start:] if text in line), None)

    def wait(self, text, seconds=10, start=0):
        return wait_until(lambda: self.find(text, start), seconds, f"log line with {text!r}")

    def count(self, text):
        return sum(text in line for _, line in self.lines)

    def close(self):
        self._thread.join(_END_SECONDS)
        self._pipe.close()


class ProcessGroup:
    """Everything that a session has started, including what those have started and left behind."""

    def __init__(self):
        self._started = []
        # Orphans come to this process instead of to init, so that close() finds them.
        ctypes.CDLL(None, use_errno=True).prctl(_PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)

    def start(self, command, env, **options):
        options.setdefault("stdin", subprocess.DEVNULL)
        options.setdefault("stdout", subprocess.DEVNULL)
        options.setdefault("stderr", subprocess.DEVNULL)
        # It does not outlive this process either, should that be killed.
        process = subprocess.Popen(["setpriv", "--pdeathsig", "TERM", *command], env=env, **options)
        self._started.append(process)
        return process

    def end(self, process, number=signal.SIGTERM):
        """Ends one process; the harder way when it does not listen."""
        if process in self._started:
            self._started.remove(process)
        if process.poll() is None:
            process.send_signal(number)
            try:
                process.wait(_END_SECONDS)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait(_END_SECONDS)
        return process.returncode

    def close(self):
        while self._started:
            self.end(self._started[-1])
        deadline = time.monotonic() + _END_SECONDS
        while _children() and time.monotonic() < deadline:
            _reap()
            time.sleep(POLL_SECONDS)
        for pid in _children():
            os.kill(pid, signal.SIGKILL)
            os.waitpid(pid, 0)


def _children():
    children = set()
    for task in os.listdir("/proc/self/task"):
        with open(f"/proc/self/task/{task}/children", encoding="ascii") as listing:
            children.update(int(pid) for pid in listing.read().split())
    return children


def _reap():
    try:
        while os.waitpid(-1, os.WNOHANG)[0]:
            pass
    except ChildProcessError:
        pass
