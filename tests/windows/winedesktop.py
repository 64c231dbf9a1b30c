# SPDX-License-Identifier: MIT
"""The private desktop of the desktop tests, and on it Wine with a prefix of its own."""

import os
import pathlib
import re
import struct
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tests/desktop"))

from processes import WaitTimeout, wait_until  # noqa: E402
from session import Session  # noqa: E402

BUILD = ROOT / "build/windows"
SIMULATOR = ROOT / "build/release/unit-simulator"
SETTINGS = r"HKEY_CURRENT_USER\Software\Varko\QorMonitor"
ENVIRONMENT = r"HKEY_CURRENT_USER\Environment"
_FONTS = r"HKEY_LOCAL_MACHINE\Software\Microsoft\Windows NT\CurrentVersion\FontSubstitutes"
_CONNECTIONS = r"HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Internet Settings\Connections"
_FOLDERS = r"HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders"
_DOWNLOADS = "{374DE290-123F-4565-9164-39C4925E467B}"
# Of WinINet.
_DIRECT, _PROXY = 1, 2
_FOCUS_SECONDS = 0.7
_PREFIX_SECONDS = 120
COMMAND_SECONDS = 90
START_SECONDS = 60


def _written(value):
    """As a registry file has it; a text has neither quotes nor backslashes."""
    if value is None:
        return "-"
    if isinstance(value, bytes):
        return f"hex:{value.hex(',')}"
    return f"dword:{value:08x}" if isinstance(value, int) else f'"{value}"'


class WineDesktop(Session):
    """It knows nothing of the machine's user."""

    def __init__(self, *arguments):
        super().__init__(*arguments)
        self.folder = pathlib.Path(self.directory)
        self.prefix = self.folder / "prefix"
        self.env.update(
            {
                "WINEPREFIX": str(self.prefix),
                "WINEARCH": "win64",
                "WINEDEBUG": "-all",
                # No browser and no .NET, for which it would ask, and no entries in this machine's menus.
                "WINEDLLOVERRIDES": "mshtml=d;mscoree=d;winemenubuilder.exe=d",
            }
        )
        try:
            self._make_prefix()
            self._start_tray()
        except BaseException:
            self.close()
            raise

    def _make_prefix(self):
        self.complete(["wineboot", "-i"], _PREFIX_SECONDS)
        users = self.prefix / "drive_c/users"
        self.user = next(path for path in users.iterdir() if path.name != "Public")
        faces = ("MS Shell Dlg", "MS Shell Dlg 2", "Tahoma", "Segoe UI")
        # Wine hides variables that begin with "QT_", unless it finds them here.
        self.write_registry(
            {_FONTS: dict.fromkeys(faces, "DejaVu Sans"), ENVIRONMENT: {"QT_FORCE_STDERR_LOGGING": "1"}}
        )

    def _start_tray(self):
        # Without one, or before it is there, Wine shows icons in a window that takes the focus.
        self.start_tray()
        wait_until(self.desktop.tray_runs, 10, "the tray runs")

    def end_wine(self):
        """Ends all programs of this prefix, and no others."""
        for option in ("-k", "-w"):
            subprocess.run(["wineserver", option], env=self.env, timeout=30, check=False)

    def close(self):
        if self.processes:
            self.end_wine()
        super().close()

    def run(self, *command, **options):
        return super().run(*command, cwd=self.directory, **options)

    def complete(self, command, seconds=COMMAND_SECONDS):
        return subprocess.run(
            command,
            env=self.env,
            timeout=seconds,
            check=False,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            cwd=self.directory,
        )

    def wine(self, command, seconds=COMMAND_SECONDS):
        return self.complete(["wine", *map(str, command)], seconds)

    def registry(self):
        """The values of the current user, as texts by key and name."""
        export = self.folder / "export.reg"
        self.wine(["regedit", "/E", f"Z:{export}", "HKEY_CURRENT_USER"])
        # A long value goes on in the next line.
        text = export.read_text("utf-16").replace("\\\n  ", "")
        values = {}
        for key, lines in re.findall(r"^\[(.+)\]\n((?:[^\n]+\n)*)", text, re.MULTILINE):
            found = re.findall(r'^(?:@|"((?:[^"\\]|\\.)*)")=(.*)', lines, re.MULTILINE)
            values[key] = {name: re.sub(r"\\(.)", r"\1", value) for name, value in found}
        return values

    def write_registry(self, keys):
        """Writes these values of these keys. A key or value of None is removed."""
        lines = ["Windows Registry Editor Version 5.00", ""]
        for key, values in keys.items():
            lines.append(f"[-{key}]" if values is None else f"[{key}]")
            lines.extend(f'"{name}"={_written(value)}' for name, value in (values or {}).items())
        file = self.folder / "import.reg"
        file.write_text("\n".join([*lines, ""]), "utf-16")
        self.wine(["regedit", "/S", f"Z:{file}"])

    def files(self):
        """The files of the user, with size and time."""
        # The lock of a monitor that is ended by force while it starts; the next one takes it over.
        return {
            str(path.relative_to(self.user)): (path.stat().st_size, path.stat().st_mtime_ns)
            for path in self.user.rglob("*")
            if path.is_file() and path.name != "qor-monitor.lock"
        }

    def running(self, program):
        """The numbers of this prefix's processes that run the program of this name."""
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                name = (process / "cmdline").read_bytes().partition(b"\0")[0]
                if (
                    name.endswith(program.encode())
                    and self.directory.encode() in (process / "environ").read_bytes()
                ):
                    found.append(int(process.name))
            except OSError:
                pass  # It has ended, or is not ours.
        return found

    def use_proxy(self, address):
        """What a user chooses in the system's settings; without an address a direct connection."""
        texts = (address.encode(), b"", b"")
        blob = struct.pack("<III", 0x46, 1, _DIRECT | (_PROXY if address else 0))
        blob += b"".join(struct.pack("<I", len(text)) + text for text in texts) + bytes(32)
        self.write_registry({_CONNECTIONS: {"DefaultConnectionSettings": blob}})

    def move_downloads(self, folder):
        """What a user chooses in the properties of the folder; without a folder the usual place."""
        self.write_registry({_FOLDERS: {_DOWNLOADS: folder}})

    def windows(self, title):
        found = subprocess.run(
            ["xdotool", "search", "--onlyvisible", "--name", title],
            env=self.env,
            timeout=30,
            check=False,
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            text=True,
        )
        return found.stdout.split()

    def wait_for_window(self, title, seconds=START_SECONDS):
        return wait_until(lambda: self.windows(title), seconds, f"the window {title}")[-1]

    def open(self, title, *command):
        """Starts a program, and returns it with the window of this title.

        Now and then Wine itself fails before the program starts. Then it is the start that is tried again.
        """
        for _ in range(3):
            process = self.run("wine", *command)
            try:
                wait_until(
                    lambda: self.windows(title) or process.poll() is not None, START_SECONDS / 3, "a window"
                )
                return process, self.wait_for_window(title, 1)
            except WaitTimeout:
                self.processes.end(process)
        raise WaitTimeout(f"{command} does not show the window {title}")

    def wait_active(self, title, seconds=START_SECONDS):
        """Until keys go to the window of this title."""
        wait_until(lambda: self.desktop.active() == title, seconds, f"{title!r} has the focus")
        # Nothing tells when Wine has handed the focus on, and painted the window.
        time.sleep(_FOCUS_SECONDS)

    def press(self, window, key):
        """A key for a window that has just come up, or is covered."""
        self.complete(["xdotool", "windowactivate", "--sync", window], 30)
        # Nothing tells when Wine has handed the focus on.
        time.sleep(_FOCUS_SECONDS)
        self.keys(key)

    def tray_icon(self):
        """Where the icon is, once it has its size."""
        return self.desktop.tray_icon("explorer.exe")

    def screenshot(self, name):
        if "QORMONITOR_SCREENSHOTS" in os.environ:
            # What has just been asked for needs a moment to be drawn.
            time.sleep(1)
            picture = pathlib.Path(os.environ["QORMONITOR_SCREENSHOTS"]) / f"{name}.png"
            subprocess.run(["import", "-window", "root", str(picture)], env=self.env, timeout=30, check=True)
