# SPDX-License-Identifier: MIT
"""A computer for the monitor and one for the units, with a cable between them; as root only.

The process that makes a Network is on the monitor's side from then on: with a network, a hosts file and a
name server's address of its own.
"""

import ctypes
import os
import subprocess
import tempfile

from processes import wait_until

MONITOR_ADDRESS = "10.77.0.1"
UNIT_ADDRESSES = [f"10.77.0.{number}" for number in range(2, 10)]

_CLONE_NEWNS = 0x00020000
_CLONE_NEWNET = 0x40000000


def _run(*command):
    subprocess.run(command, check=True, timeout=10)


class Network:
    def __init__(self, processes, directory):
        self._processes = processes
        self._host = None
        libc = ctypes.CDLL(None, use_errno=True)
        if libc.unshare(_CLONE_NEWNET | _CLONE_NEWNS) != 0:
            raise OSError(ctypes.get_errno(), "no namespaces of our own")
        _run("mount", "--make-rprivate", "/")
        self._hosts = self._cover("/etc/hosts", directory, "127.0.0.1 localhost\n")
        # Only the hosts file, then the name server.
        self._cover("/etc/nsswitch.conf", directory, "hosts: files dns\n")
        self._cover("/etc/resolv.conf", directory, f"nameserver {UNIT_ADDRESSES[-1]}\n")
        _run("ip", "link", "set", "lo", "up")
        self.plug_in()

    @staticmethod
    def _cover(file, directory, text):
        handle, cover = tempfile.mkstemp(dir=directory)
        with os.fdopen(handle, "w", encoding="ascii") as output:
            output.write(text)
        os.chmod(cover, 0o644)
        _run("mount", "--bind", cover, file)
        return cover

    def plug_in(self):
        """Puts a computer with the units' addresses at the other end of a cable."""
        self._host = self._processes.start(["unshare", "--net", "sleep", "600"], os.environ)
        own = os.readlink("/proc/self/ns/net")
        wait_until(lambda: os.readlink(f"/proc/{self._host.pid}/ns/net") != own, 5, "the other host")
        _run(
            "ip",
            "link",
            "add",
            "monitor",
            "type",
            "veth",
            "peer",
            "name",
            "unit",
            "netns",
            str(self._host.pid),
        )
        _run("ip", "address", "add", f"{MONITOR_ADDRESS}/24", "dev", "monitor")
        _run("ip", "link", "set", "monitor", "up")
        for address in UNIT_ADDRESSES:
            _run(*self.there("ip", "address", "add", f"{address}/24", "dev", "unit"))
        _run(*self.there("ip", "link", "set", "lo", "up"))
        _run(*self.there("ip", "link", "set", "unit", "up"))

    def pull_out(self, programs):
        """Takes the other computer away, and its programs with it; nothing says good-bye."""
        _run(*self.there("ip", "link", "set", "unit", "down"))
        for program in programs:
            self._processes.end(program)
        self._processes.end(self._host)
        _run("ip", "link", "delete", "monitor")

    def there(self, *command):
        """A command for the other computer."""
        return ["nsenter", "--net", "--target", str(self._host.pid), "--", *command]

    def name(self, names):
        """Says which names have which address."""
        with open(self._hosts, "w", encoding="ascii") as hosts:
            hosts.write("127.0.0.1 localhost\n")
            hosts.writelines(f"{address} {name}\n" for name, address in names.items())
