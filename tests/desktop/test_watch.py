# SPDX-License-Identifier: MIT
"""Units on another computer: pulled out and replaced, moved, named late. The monitor hears each one again."""

import os
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

import desktoptest
from processes import LogReader, ProcessGroup, stays, wait_until
from twohosts import UNIT_ADDRESSES, Network

RETURN_SECONDS = 45
NAME_SERVER_PORT = 53
# The unit's own name, which the monitor logs as soon as it hears it.
HEARD = 'Device::setQorName() "{host}" "{name}"'
# Says that it is a ZeroMQ peer with a security that the monitor does not speak, to everyone who connects.
RUDE_PEER = """
import socket, sys
server = socket.create_server((sys.argv[1], int(sys.argv[2])))
greeting = bytes.fromhex("ff00000000000000017f0300") + b"CURVE".ljust(20, b"\\0") + bytes(32)
peers = []
while True:
    peers.append(server.accept()[0])
    peers[-1].sendall(greeting)
"""
# Takes every question of a resolver and answers none.
DROPPING_NAME_SERVER = """
import socket, sys
server = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
server.bind((sys.argv[1], int(sys.argv[2])))
print("ready", flush=True)
while True:
    server.recv(4096)
"""


@unittest.skipIf(os.geteuid() != 0, "only root can make networks")
class WatchTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.processes = ProcessGroup()
        cls.addClassCleanup(cls.processes.close)
        folder = tempfile.TemporaryDirectory(prefix="qormonitor-watch-")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = folder.name
        cls.network = Network(cls.processes, cls.folder)

    def start_monitor(self, hosts):
        directory = tempfile.mkdtemp(dir=self.folder)
        os.makedirs(f"{directory}/Varko")
        with open(f"{directory}/Varko/QorMonitor.conf", "w", encoding="ascii") as settings:
            settings.write("[General]\nAutoCheckUpdates=false\nUseAudio=false\n")
            for index, (host, port) in enumerate(hosts):
                settings.write(f"[Device{index}]\nHost={host}\nZmqPort={port}\nMonitored=true\n")
        env = {
            "PATH": "/usr/bin:/bin",
            "LANG": "C.UTF-8",
            "HOME": directory,
            "TMPDIR": directory,
            "XDG_CONFIG_HOME": directory,
            "QT_QPA_PLATFORM": "offscreen",
            "QT_FORCE_STDERR_LOGGING": "1",
            "QT_PLUGIN_PATH": os.path.join(os.path.dirname(desktoptest.program()), "tests/support/plugins"),
        }
        self.monitor = self.processes.start(
            [desktoptest.program(), "-plugin", "monitordriver"],
            env,
            stdin=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            encoding="utf-8",
        )
        self.log = LogReader(self.monitor.stderr)
        self.addCleanup(self.close_monitor)

    def close_monitor(self):
        self.processes.end(self.monitor)
        self.monitor.stdin.close()
        self.log.close()

    def start_there(self, *command, **options):
        program = self.processes.start(self.network.there(*command), os.environ, **options)
        self.addCleanup(self.processes.end, program)
        return program

    def start_unit(self, name, address, port):
        fields = f"key=unit,name={name},address={address},port={port}"
        return self.start_there(desktoptest.simulator(), "--stay", "--unit", fields)

    def start_rude_peer(self, address, port):
        return self.start_there(sys.executable, "-c", RUDE_PEER, address, str(port))

    def wait_heard(self, host, name, seconds):
        self.log.wait(HEARD.format(host=host, name=name), seconds)

    def test_units_are_heard_again(self):
        first, second, third, fourth = UNIT_ADDRESSES[:4]
        self.network.name({"moving.example": second})
        self.start_monitor([(first, 5501), ("moving.example", 5502), ("late.example", 5503), (fourth, 5504)])
        programs = [
            self.start_unit("Halle 1", first, 5501),
            self.start_unit("Halle 2", second, 5502),
            self.start_rude_peer(fourth, 5504),
        ]
        self.wait_heard(first, "Halle 1", 15)
        self.wait_heard("moving.example", "Halle 2", 15)

        with self.subTest("replaced, moved, named, and left by a rude peer"):
            self.network.pull_out(programs)
            self.network.plug_in()
            self.network.name({"moving.example": third, "late.example": third})
            programs = [
                self.start_unit("Halle 1 neu", first, 5501),
                self.start_unit("Halle 2 neu", third, 5502),
                self.start_unit("Halle 3", third, 5503),
                self.start_unit("Halle 4", fourth, 5504),
            ]
            end = time.monotonic() + RETURN_SECONDS
            for host, name in [
                (first, "Halle 1 neu"),
                ("moving.example", "Halle 2 neu"),
                ("late.example", "Halle 3"),
                (fourth, "Halle 4"),
            ]:
                self.wait_heard(host, name, end - time.monotonic())

        with self.subTest("replaced while the monitor slept"):
            self.monitor.send_signal(signal.SIGSTOP)
            self.network.pull_out(programs)
            self.network.plug_in()
            self.start_unit("Halle 1 danach", first, 5501)
            self.monitor.send_signal(signal.SIGCONT)
            self.wait_heard(first, "Halle 1 danach", RETURN_SECONDS)
        self.assertIsNone(self.monitor.poll())

    def test_a_dead_name_server_costs_one_time_out(self):
        server = self.start_there(
            sys.executable,
            "-c",
            DROPPING_NAME_SERVER,
            UNIT_ADDRESSES[-1],
            str(NAME_SERVER_PORT),
            stdout=subprocess.PIPE,
            text=True,
        )
        self.addCleanup(server.stdout.close)
        self.assertEqual(server.stdout.readline(), "ready\n")
        self.network.name({})
        begin = time.monotonic()
        with self.assertRaises(socket.gaierror):
            socket.getaddrinfo("one.example", 80)
        time_out = time.monotonic() - begin
        self.assertGreater(time_out, 2)

        begin = time.monotonic()
        self.start_monitor([(f"hall{number}.example", 5510) for number in range(5)])
        # The links log the names that they are given, and have looked them up once the next one comes.
        wait_until(lambda: self.log.count('setHost "" "hall') == 5, 5 * time_out + 5, "all units are loaded")
        self.assertLess(time.monotonic() - begin, 1.5 * time_out + 1)

        # In the middle of the next lookups; the end does not wait for them.
        stays(lambda: self.monitor.poll() is None, 33, "the monitor runs")
        self.monitor.stdin.write("exit\n")
        self.monitor.stdin.flush()
        wait_until(lambda: self.monitor.poll() is not None, 2, "the monitor has ended")
        self.assertEqual(self.monitor.returncode, 0)


if __name__ == "__main__":
    desktoptest.main()
