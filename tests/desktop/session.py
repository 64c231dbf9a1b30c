# SPDX-License-Identifier: MIT
"""A private desktop: display, window manager, session bus, accessibility, tray and sound server."""

import atexit
import ctypes
import fcntl
import os
import shutil
import socket
import struct
import subprocess
import tempfile
import time

from processes import ProcessGroup, wait_until
from xwindows import Desktop

_CLONE_NEWNET = 0x40000000
_SIOCGIFFLAGS = 0x8913
_SIOCSIFFLAGS = 0x8914
_IFF_UP = 0x1
_SCREEN = (1400, 900)
# The window manager lets no window come to the front while the user is typing or clicking elsewhere.
_IDLE_SECONDS = 0.6

_PULSE_SCRIPT = """\
load-module module-null-sink sink_name=test norewinds=1
load-module module-native-protocol-unix socket={directory}/pulse.sock auth-anonymous=1
"""
# Stands in for the user's browser and notes what it is asked to open.
_BROWSER = """\
#!/bin/sh
echo "$*" >>"{directory}/opened"
"""


def isolate_network():
    """Leaves this process and its children alone with a loopback device of their own, if it may."""
    libc = ctypes.CDLL(None, use_errno=True)
    if os.geteuid() != 0 or libc.unshare(_CLONE_NEWNET) != 0:
        return False
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as device:
        request = fcntl.ioctl(device, _SIOCGIFFLAGS, struct.pack("16sh14x", b"lo", 0))
        flags = struct.unpack("16sh14x", request)[1]
        fcntl.ioctl(device, _SIOCSIFFLAGS, struct.pack("16sh14x", b"lo", flags | _IFF_UP))
    return True


class Session:
    """One for each test program: the accessibility library binds the process to one bus."""

    def __init__(self, screen=_SCREEN):
        self._screen = screen
        self.directory = tempfile.mkdtemp(prefix="qormonitor-desktop-")
        self.processes = ProcessGroup()
        self.tray = None
        self.desktop = None
        self.env = self._environment()
        self.last_input = 0.0
        # An interrupted test program does not get to its own cleanups.
        atexit.register(self.close)
        try:
            self._start()
        except BaseException:
            self.close()
            raise

    def _environment(self):
        env = {
            "PATH": f"{self.path('bin')}:/usr/bin:/bin",
            "LANG": "C.UTF-8",
            "HOME": self.path("home"),
            "XDG_CONFIG_HOME": self.path("config"),
            "XDG_RUNTIME_DIR": self.path("runtime"),
            "TMPDIR": self.path("tmp"),
            "PULSE_SERVER": f"unix:{self.path('pulse.sock')}",
            "QT_QPA_PLATFORM": "xcb",
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
            "QT_ACCESSIBILITY": "1",
            "QT_FORCE_STDERR_LOGGING": "1",
            "NO_AT_BRIDGE": "0",
        }
        # For a program with sanitizers.
        env.update({name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")})
        for name in ("bin", "home/Downloads", "config", "runtime", "tmp"):
            os.makedirs(self.path(name), mode=0o700)
        browser = self.path("bin/xdg-open")
        with open(browser, "w", encoding="ascii") as script:
            script.write(_BROWSER.format(directory=self.directory))
        os.chmod(browser, 0o755)
        return env

    def path(self, name):
        return os.path.join(self.directory, name)

    def _start(self):
        # The display first: its number is free only where all other displays of the machine are seen.
        self._start_display()
        isolate_network()
        bus = f"unix:path={self.path('bus')}"
        self.env["DBUS_SESSION_BUS_ADDRESS"] = bus
        self.run("dbus-daemon", "--session", "--nofork", "--nopidfile", "--nosyslog", f"--address={bus}")
        wait_until(lambda: os.path.exists(self.path("bus")), 5, "session bus")
        # Read by the accessibility library in this very process.
        os.environ.update(self.env)
        self.run("/usr/libexec/at-spi-bus-launcher", "--launch-immediately", "--a11y=1")
        self.run("openbox", "--sm-disable")
        with open(self.path("pulse.pa"), "w", encoding="ascii") as script:
            script.write(_PULSE_SCRIPT.format(directory=self.directory))
        self.run(
            "pulseaudio",
            "-n",
            "-F",
            self.path("pulse.pa"),
            "--daemonize=no",
            "--exit-idle-time=-1",
            "--use-pid-file=no",
            "--disable-shm=yes",
        )
        wait_until(lambda: os.path.exists(self.path("pulse.sock")), 10, "sound server")
        self.desktop = Desktop(self.env["DISPLAY"])
        wait_until(self.desktop.window_manager_runs, 10, "window manager")
        # With a keyboard's first key the window manager lets go of its own keys and takes them anew, and
        # could miss one that comes at that moment.
        self.xdotool("key", "Shift_L")

    def _start_display(self):
        read_end, write_end = os.pipe()
        self.run(
            "Xvfb",
            "-displayfd",
            str(write_end),
            "-screen",
            "0",
            f"{self._screen[0]}x{self._screen[1]}x24",
            "-dpi",
            "96",
            "-nolisten",
            "tcp",
            "-noreset",
            pass_fds=(write_end,),
        )
        os.close(write_end)
        with os.fdopen(read_end, encoding="ascii") as pipe:
            number = pipe.readline().strip()
        if not number:
            raise AssertionError("the virtual display did not start")
        self.env["DISPLAY"] = f":{number}"

    def run(self, *command, **options):
        return self.processes.start(command, self.env, **options)

    def start_tray(self):
        self.tray = self.run(
            "trayer",
            "--edge",
            "top",
            "--align",
            "right",
            "--widthtype",
            "request",
            "--height",
            "24",
            "--SetDockType",
            "true",
            "--expand",
            "false",
        )

    def stop_tray(self):
        if self.tray:
            self.processes.end(self.tray)
            self.tray = None

    def opened(self):
        """The addresses that the browser was asked to open."""
        try:
            with open(self.path("opened"), encoding="utf-8") as lines:
                return lines.read().splitlines()
        except FileNotFoundError:
            return []

    def forget_opened(self):
        if os.path.exists(self.path("opened")):
            os.remove(self.path("opened"))

    def xdotool(self, *words):
        """Sends real input. Returns the time just before it; last_input holds the time just after it."""
        before = time.monotonic()
        subprocess.run(
            ["xdotool", *map(str, words)], env=self.env, check=True, timeout=10, stdout=subprocess.DEVNULL
        )
        self.last_input = time.monotonic()
        return before

    def click(self, x, y, button=1):
        return self.xdotool("mousemove", x, y, "click", button)

    def double_click(self, x, y):
        return self.xdotool("mousemove", x, y, "click", "--repeat", 2, "--delay", 60, 1)

    def keys(self, *names):
        return self.xdotool("key", "--delay", 40, *names)

    def type(self, text):
        return self.xdotool("type", "--delay", 25, text)

    def park_pointer(self):
        self.xdotool("mousemove", self._screen[0] - 2, self._screen[1] - 2)

    def await_idle(self):
        wait_until(lambda: time.monotonic() - self.last_input > _IDLE_SECONDS, 2, "no more input")

    def close(self):
        atexit.unregister(self.close)
        if self.desktop:
            self.desktop.close()
            self.desktop = None
        self.processes.close()
        shutil.rmtree(self.directory, ignore_errors=True)
