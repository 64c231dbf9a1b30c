# SPDX-License-Identifier: MIT
"""A unit played by the simulator."""

import re
import subprocess


class Unit:
    """On a loopback port, which the system chooses unless one is given. Reports once a second, and at once
    after every command."""

    def __init__(self, session, simulator, name, port=0):
        self._processes = session.processes
        self._process = session.run(
            simulator,
            "--unit",
            f"key=unit,name={name},port={port}",
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
            encoding="utf-8",
        )
        self.port = int(re.search(r" zmq=\S+:(\d+) ", self._process.stdout.readline())[1])

    def _command(self, *words):
        self._process.stdin.write(" ".join(words) + "\n")
        self._process.stdin.flush()
        answer = self._process.stdout.readline()
        if answer != "ok\n":
            raise AssertionError(f"the simulator answered {answer!r} to {words}")

    def warn(self, text):
        self._command("warn", "unit", text)

    def tell_version(self, local, remote):
        """Each a number and a date, such as "1.210 02. Mar 2025"."""
        self._command("version", "unit", "local", local, "remote", remote)

    def send_unknown_command(self):
        """Until it is told to speak."""
        self._command("garbage", "unit", "unknown-command")

    def silence(self):
        self._command("silence", "unit")

    def speak(self):
        self._command("speak", "unit")

    def close(self):
        self._processes.end(self._process)
        self._process.stdin.close()
        self._process.stdout.close()
