# SPDX-License-Identifier: MIT
"""Writes pictures of every window, with long texts, at 100 % and at 200 %.

Usage: screenshots.py PROGRAM SIMULATOR FOLDER"""

import contextlib
import os
import subprocess
import sys

from monitor import MAIN_TITLE, MANAGER_TITLE, Monitor, device_settings
from processes import wait_until
from session import Session
from unit import Unit
from updateserver import UpdateServer

SCREEN = (1400, 900)
LONG_NAME = "QOR Wasserwerk Nord, Pumpenhaus 3, Schaltschrank 12"
LONG_TEXT = (
    "Füllstand im Vorratsbehälter der Dosieranlage 2 liegt seit mehr als 30 Minuten unter dem "
    "eingestellten Grenzwert von 15 %; bitte umgehend nachfüllen und quittieren"
)
DESCRIPTION = 'VersionNo="1.05"\nVersionDate="01. Apr 2025"\nmingw32_x64FileName="{}"\n'


class Gallery:
    installer = "QorMonitor-1.05-Installationsprogramm-mit-allen-Bibliotheken-x64.sh"

    def __init__(self, program, simulator, folder, scale):
        self.scale = scale
        self.folder = folder
        self.simulator = simulator
        self.stack = contextlib.ExitStack()
        self.session = Session(tuple(length * scale for length in SCREEN))
        self.stack.callback(self.session.close)
        self.desktop = self.session.desktop
        self.monitor = Monitor(self.session, program)
        self.stack.callback(self.monitor.close)

    def unit(self, name, port=0):
        unit = Unit(self.session, self.simulator, name, port)
        self.stack.callback(unit.close)
        return unit

    def start(self, units, env):
        groups = device_settings(units)
        groups[f"Device{len(units)}"] = {
            "Host": "127.0.0.1",
            "ZmqPort": 9,
            "WebPort": 65535,
            "WebScheme": "https",
            "Monitored": "true",
        }
        self.monitor.write_settings({"UseAudio": "false"}, groups)
        self.monitor.start(QT_SCALE_FACTOR=str(self.scale), **env)
        self.monitor.wait_connected(len(units))

    def picture(self, name, title=None):
        """Of one window, or of the whole screen where menus are open."""
        if title:
            wait_until(lambda: self.desktop.active() == title, 10, f"{title!r} is active")
        self.session.park_pointer()
        # Nothing tells when a window is painted to its end.
        self.session.await_idle()
        window = str(self.desktop.window_id(title)) if title else "root"
        self.write(f"{name}-{100 * self.scale}.png", "-window", window)

    def write(self, name, *what):
        path = os.path.join(self.folder, name)
        subprocess.run(["import", *what, path], env=self.session.env, check=True, timeout=30)
        print(path, flush=True)

    def take_main_window(self):
        self.picture("main", MAIN_TITLE)
        for name, key in (("menu-settings", "F10"), ("menu-help", "Right")):
            self.session.keys(key)
            self.picture(name)
        self.session.keys("Escape", "Escape")

    def open_by_menu(self, *keys):
        """The menu bar by its keys: the places of widgets are not told in pixels at 200 %."""
        self.session.await_idle()
        self.session.keys("F10", *keys, "Return")

    def take_manager(self):
        self.open_by_menu("Down")
        self.picture("manager", MANAGER_TITLE)
        self.session.keys("Home", "Return")
        self.picture("manager-selected", MANAGER_TITLE)
        # From the list back to "Hinzufügen", with the unit still in the fields.
        self.session.keys("shift+Tab", "shift+Tab", "space")
        wait_until(lambda: self.desktop.stacking().count(MANAGER_TITLE) == 2, 5, "the duplicate is refused")
        self.picture("duplicate", MANAGER_TITLE)
        self.session.keys("Return")
        wait_until(lambda: self.desktop.stacking().count(MANAGER_TITLE) == 1, 5, "the box is closed")
        self.session.keys("Escape")

    def take_about(self):
        self.open_by_menu("Right")
        self.picture("about", "Über QorMonitor ...")
        self.session.keys("Escape")

    def take_update(self):
        """With a server that has something new."""
        self.open_by_menu("Right", "Down")
        self.picture("update", "Anwendung aktualisieren")
        self.session.keys("Tab")
        self.session.keys("alt+u")
        wait_until(lambda: self.desktop.stacking().count(MAIN_TITLE) == 2, 10, "an update is offered")
        self.picture("offer", MAIN_TITLE)
        self.server.flow.clear()
        self.session.keys("alt+j")
        self.server.wait_request(self.installer)
        wait_until(lambda: self.desktop.is_shown("Download Monitor"), 5, "the progress is shown")
        self.picture("download", "Download Monitor")
        self.session.keys("Escape")

    def start_server(self):
        self.server = UpdateServer(self.session)
        self.stack.callback(self.server.close)
        self.server.publish("QorMonitorUpdate.info", DESCRIPTION.format(self.installer).encode())
        self.server.publish(self.installer, bytes(1 << 20))
        return self.server.environment


def take(program, simulator, folder, scale):
    gallery = Gallery(program, simulator, folder, scale)
    with gallery.stack:
        gallery.session.start_tray()
        unit = gallery.unit(LONG_NAME)
        other = gallery.unit("QOR-2")
        unit.warn(LONG_TEXT)
        unit.warn("Füllstand niedrig")
        other.send_unknown_command()
        gallery.start([unit, other], gallery.start_server())
        gallery.monitor.log.wait("QOR Wasserwerk")
        gallery.take_main_window()
        gallery.take_manager()
        gallery.take_about()
        gallery.take_update()


def main():
    program, simulator, folder, *scales = sys.argv[1:]
    if not scales:
        os.makedirs(folder, exist_ok=True)
        # The accessibility library stays with its first session: one process for each scale.
        for scale in ("1", "2"):
            subprocess.run(
                [sys.executable, "-B", __file__, program, simulator, folder, scale], check=True, timeout=120
            )
        return
    take(program, simulator, folder, int(scales[0]))


if __name__ == "__main__":
    main()
