# SPDX-License-Identifier: MIT
"""Treats the real program badly for a while, and prints what it took and how long. Fails where it breaks.

Usage: soak.py PROGRAM SIMULATOR [SCENARIO...]   all scenarios by default, in a network of their own
"""

import os
import pathlib
import random
import re
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests/desktop"))

from processes import LogReader, ProcessGroup, wait_until  # noqa: E402
from session import isolate_network  # noqa: E402

HEARD = 'Device::setQorName() "127.0.0.1" "{name}"'
# What libzmq says first: version 3.1, no security.
GREETING = bytes.fromhex("ff00000000000000017f0300") + b"NULL".ljust(20, b"\0") + bytes(32)


def command(name, body):
    body = bytes([len(name)]) + name + body
    return struct.pack(">BB", 0x04, len(body)) + body


READY = command(b"READY", b"\x0bSocket-Type" + struct.pack(">I", 3) + b"PUB")


def frame(body, more=False):
    return struct.pack(">BQ", 2 | more, len(body)) + body


def report(name, *warnings):
    rows = ",".join(f'{{"date":"2025-03-02","time":"08:00:00","displaytext":"{text}"}}' for text in warnings)
    return f'{{"host":"{name}","cmd":"StatusReport","value":{{"warnings":[{rows}]}}}}'.encode()


class Peer:
    """A port of ours that speaks ZeroMQ's protocol by hand, each connection in a thread of its own."""

    def __init__(self, talk):
        self._talk = talk
        self._server = socket.create_server(("127.0.0.1", 0))
        self.port = self._server.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            try:
                link = self._server.accept()[0]
            except OSError:
                return
            threading.Thread(target=self._serve, args=(link,), daemon=True).start()

    def _serve(self, link):
        try:
            self._talk(link)
        except OSError:
            pass

    def close(self):
        self._server.close()


def greet(link):
    link.sendall(GREETING + READY)
    # Its greeting, its READY and its subscription; what it says is not looked at.
    time.sleep(0.2)
    link.recv(4096)


class Soak:
    def __init__(self, program, simulator):
        self.program = program
        self.simulator = simulator
        self.processes = ProcessGroup()
        self.folder = tempfile.TemporaryDirectory(prefix="qormonitor-soak-")
        self.peers = []

    def close(self):
        for peer in self.peers:
            peer.close()
        self.processes.close()
        self.folder.cleanup()

    def peer(self, talk):
        self.peers.append(Peer(talk))
        return self.peers[-1].port

    def unit(self, name, port=0):
        return self.units([name], port)[0]

    def units(self, names, port=0):
        """A simulator with these units, and their ports behind it."""
        fields = [f"key=unit{i},name={name},port={port}" for i, name in enumerate(names)]
        words = [word for unit in fields for word in ("--unit", unit)]
        # One file for each connection of each unit.
        process = self.processes.start(
            ["prlimit", "--nofile=16384", self.simulator, "--stay", *words],
            os.environ,
            stdout=subprocess.PIPE,
            text=True,
        )
        ports = []
        while len(ports) < len(names):
            ports.append(int(re.search(r" zmq=\S+:(\d+) ", process.stdout.readline())[1]))
        return process, *ports

    def start(self, ports):
        directory = pathlib.Path(tempfile.mkdtemp(dir=self.folder.name))
        (directory / "Varko").mkdir()
        groups = "".join(
            f"[Device{i}]\nHost=127.0.0.1\nZmqPort={port}\nMonitored=true\n" for i, port in enumerate(ports)
        )
        settings = "[General]\nAutoCheckUpdates=false\nUseAudio=false\n" + groups
        (directory / "Varko/QorMonitor.conf").write_text(settings, encoding="ascii")
        env = {
            "PATH": "/usr/bin:/bin",
            "LANG": "C.UTF-8",
            "HOME": str(directory),
            "TMPDIR": str(directory),
            "XDG_CONFIG_HOME": str(directory),
            "QT_QPA_PLATFORM": "offscreen",
            "QT_FORCE_STDERR_LOGGING": "1",
            "QT_PLUGIN_PATH": str(pathlib.Path(self.program).parent / "tests/support/plugins"),
        }
        self.began = time.monotonic()
        self.monitor = self.processes.start(
            ["prlimit", "--nofile=1024:", self.program, "-plugin", "monitordriver"],
            env,
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            encoding="utf-8",
            errors="replace",
        )
        self.log = LogReader(self.monitor.stderr)

    def order(self, text):
        self.monitor.stdin.write(text + "\n")
        self.monitor.stdin.flush()
        return self.monitor.stdout.readline()

    def exit(self):
        """Ends the monitor, and returns how long that took."""
        begin = time.monotonic()
        self.monitor.stdin.write("exit\n")
        self.monitor.stdin.flush()
        code = self.monitor.wait(60)
        took = time.monotonic() - begin
        for stream in (self.monitor.stdin, self.monitor.stdout):
            stream.close()
        self.log.close()
        assert code == 0, f"exit code {code}"
        return took

    def heard(self, name, seconds=10, start=0):
        return self.log.wait(HEARD.format(name=name), seconds, start)

    def wait_connected(self, count, seconds):
        wait_until(
            lambda: self.log.count("QorInterface::Connected") >= count, seconds, f"{count} units green"
        )

    def counts(self):
        """Resident kB, threads and open files."""
        status = pathlib.Path(f"/proc/{self.monitor.pid}/status").read_text(encoding="ascii")
        resident, threads = (int(re.search(rf"{key}:\s+(\d+)", status)[1]) for key in ("VmRSS", "Threads"))
        return resident, threads, len(os.listdir(f"/proc/{self.monitor.pid}/fd"))

    # The scenarios. Each returns what it has measured.

    def restarts(self, times=100):
        process, port = self.units(["Lauf 0"])
        self.start([port])
        self.heard("Lauf 0")
        time.sleep(1)
        before = self.counts()
        slowest = 0
        for number in range(1, times + 1):
            time.sleep(random.uniform(0, 0.6))
            process.kill()
            self.processes.end(process)
            process.stdout.close()
            process, _ = self.units([f"Lauf {number}"], port)
            begin = time.monotonic()
            slowest = max(slowest, self.heard(f"Lauf {number}", 45) - begin)
        time.sleep(1)
        after = self.counts()
        self.exit()
        assert after[1] <= before[1] and after[2] <= before[2], (before, after)
        counts = f"kB, threads, files {before} -> {after}"
        return f"{times} returns heard, the slowest after {slowest:.1f} s; {counts}"

    def hostile_texts(self, count=10000):
        chance = random.Random(1)
        pieces = [
            "{",
            "}",
            "[",
            "]",
            ",",
            ":",
            '"host"',
            '"cmd"',
            '"value"',
            '"warnings"',
            '"StatusReport"',
            "1e999",
        ]
        pieces += [
            "null",
            "true",
            "-0",
            '"\\ud800"',
            '"\\u0000"',
            "<b>fett</b>",
            "\u202e",
            "\n" * 300,
            "\0",
            "9" * 400,
        ]
        raw = [b"\xff\xfe", b"\xc3", b"\xed\xa0\x80", b"[" * 2000, b'{"a":' * 900]

        def text():
            kind = chance.random()
            if kind < 0.3:
                return report("Halle", "".join(chance.choices(pieces, k=5)).replace('"', "'"))
            if kind < 0.5:
                return b'{"a":[' + b"[1]," * chance.randrange(1, 1200) + b'[1]],"a":1}'
            if kind < 0.6:
                return b"x" * chance.randrange(4990, 5010)
            words = [piece.encode() for piece in chance.choices(pieces, k=chance.randrange(1, 40))]
            return b"".join(words + chance.choices(raw, k=chance.randrange(2)))[:4999]

        done = threading.Event()

        def talk(link):
            greet(link)
            link.sendall(frame(report("vorher")))
            for _ in range(count):
                link.sendall(frame(text()))
                time.sleep(0.0015)
            link.sendall(frame(report("nachher")))
            done.set()
            time.sleep(60)

        self.start([self.peer(talk)])
        self.heard("vorher")
        before = self.counts()
        begin = time.monotonic()
        assert done.wait(300)
        self.heard("nachher", 30)
        after = self.counts()
        took = time.monotonic() - begin
        self.exit()
        return f"{count} texts in {took:.0f} s, the next report shown; kB, threads, files {before} -> {after}"

    def rude_peers(self):
        process, good = self.units(["Halle"])

        def mute(link):
            time.sleep(120)

        def mid_frame(link):
            greet(link)
            link.sendall(struct.pack(">BQ", 2, 4000) + b"half")
            link.close()

        def huge_frame(link):
            greet(link)
            link.sendall(struct.pack(">BQ", 2, 2 << 30) + b"x" * 100000)
            time.sleep(120)

        def endless(link):
            greet(link)
            for _ in range(32):
                link.sendall(frame(b"x" * (1 << 20), more=True))
            time.sleep(2)
            link.close()

        def garbage(link):
            link.sendall(os.urandom(4096))
            link.close()

        ports = [good, *map(self.peer, (mute, mid_frame, huge_frame, endless, garbage))]
        self.start(ports)
        self.heard("Halle")
        time.sleep(2)
        first = self.counts()
        peak = first[0]
        for _ in range(75):
            time.sleep(1)
            peak = max(peak, self.counts()[0])
        last = self.counts()
        for _ in range(200):
            socket.create_connection(("127.0.0.1", good)).close()
        begin = len(self.log.lines)
        self.processes.end(process)
        process.stdout.close()
        self.units(["Danach"], good)
        self.heard("Danach", 45, begin)
        self.exit()
        counts = f"kB, threads, files {first} -> {last} after 75 s, at most {peak} kB"
        return f"{counts}; the good unit heard all along"

    def flood(self, others=48):
        def talk(link):
            greet(link)
            for number in range(10**9):
                link.sendall(frame(report("Flut", f"Nummer {number}")))

        said = []

        def tick(link):
            greet(link)
            for number in range(10**9):
                said.append(time.monotonic())
                link.sendall(frame(report(f"Uhr {number}")))
                time.sleep(0.3)

        _, *ports = self.units([f"Halle {i}" for i in range(others)])
        self.start([self.peer(talk), self.peer(tick), *ports])
        self.wait_connected(others + 2, 20)
        green = time.monotonic() - self.began
        clicks, rows = [], []
        for _ in range(50):
            begin = time.monotonic()
            self.order("state")
            clicks.append(time.monotonic() - begin)
            number = len(said)
            rows.append(self.heard(f"Uhr {number}") - said[number])
        self.exit()
        clicks.sort()
        rows.sort()
        assert clicks[-1] < 0.2 and rows[-1] < 1, (clicks[-1], rows[-1])
        answers = f"after {clicks[25] * 1e3:.0f} ms, at most {clicks[-1] * 1e3:.0f} ms"
        news = f"after {rows[25] * 1e3:.0f} ms, at most {rows[-1] * 1e3:.0f} ms"
        return f"all green after {green:.1f} s; an order answered {answers}; another unit's news shown {news}"

    def starts(self, times=200):
        chance = random.Random(2)
        _, port = self.units(["Halle"])
        silent = self.peer(lambda link: time.sleep(60))
        with socket.create_server(("127.0.0.1", 0)) as nobody:
            closed = nobody.getsockname()[1]
        longest = 0
        for _ in range(times):
            self.start([port, silent, closed])
            assert self.order("state")
            time.sleep(chance.uniform(0, 0.4))
            longest = max(longest, self.exit())
        return f"{times} starts and ends with code 0, the longest end {longest:.2f} s"

    def many(self):
        results = []
        for count in (50, 200, 500):
            process, *ports = self.units([f"Halle {i}" for i in range(count)])
            self.start(ports)
            self.wait_connected(count, 60)
            green = time.monotonic() - self.began
            resident, threads, files = self.counts()
            took = self.exit()
            self.processes.end(process)
            process.stdout.close()
            results.append(
                f"{count} units: green after {green:.1f} s, {resident // 1024} MB, {threads} threads, "
                f"{files} files, ended after {took:.2f} s"
            )
        return "; ".join(results)


SCENARIOS = ("many", "restarts", "hostile_texts", "rude_peers", "flood", "starts")


def main():
    program, simulator, *names = sys.argv[1:]
    isolate_network()
    for name in names or SCENARIOS:
        soak = Soak(program, simulator)
        try:
            print(f"{name}: {getattr(soak, name)()}", flush=True)
        finally:
            soak.close()


if __name__ == "__main__":
    main()
