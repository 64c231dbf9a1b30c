# SPDX-License-Identifier: MIT
"""A real publisher on loopback that reports once a second, as a unit does."""

import json
import threading

import zmq

_PERIOD_SECONDS = 1.0


def status_report(name, warnings=()):
    return {"host": name, "cmd": "StatusReport", "value": {"warnings": list(warnings)}}


def warning(text, time="12:00:00"):
    return {"date": "2025-03-02", "time": time, "displaytext": text, "class": "warning"}


class Unit:
    """Its port is chosen by the system. Sends what was said last until it is told to be silent."""

    def __init__(self, name="QOR-1"):
        self.name = name
        self._context = zmq.Context()
        self._message = status_report(name)
        self._silent = False
        self._changed = threading.Event()
        self._ending = False
        socket = self._context.socket(zmq.PUB)
        socket.setsockopt(zmq.LINGER, 0)
        socket.bind("tcp://127.0.0.1:*")
        self.port = int(socket.getsockopt(zmq.LAST_ENDPOINT).rstrip(b"\0").rsplit(b":", 1)[1])
        self._thread = threading.Thread(target=self._report, args=(socket,), daemon=True)
        self._thread.start()

    def _report(self, socket):
        while not self._ending:
            if not self._silent:
                socket.send(json.dumps(self._message).encode())
            self._changed.wait(_PERIOD_SECONDS)
            self._changed.clear()
        socket.close()

    def _say(self, message):
        self._message = message
        self._changed.set()

    def report(self, *warnings):
        self._say(status_report(self.name, warnings))

    def send_unknown_command(self):
        self._say({"host": self.name, "cmd": "Unknown"})

    def fall_silent(self):
        self._silent = True

    def speak(self):
        self._silent = False
        self._changed.set()

    def close(self):
        self._ending = True
        self._changed.set()
        self._thread.join(5)
        self._context.term()
