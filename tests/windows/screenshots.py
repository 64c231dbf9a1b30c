#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Writes pictures of every window under Wine, at 100, 125, 150 and 200 %. A look at the layout, not a test.

Usage: tests/windows/screenshots.py FOLDER [PERCENT...]"""

import contextlib
import os
import subprocess
import sys
import time

# First, since it leads to the modules of the desktop tests.
from winedesktop import BUILD, SETTINGS, SIMULATOR, WineDesktop
from monitor import MAIN_TITLE, MANAGER_TITLE
from processes import wait_until
from unit import Unit
from updateserver import UpdateServer

SCREEN = (2400, 1500)
ALL_PERCENT = ("100", "125", "150", "200")
STANDARD_DPI = 96
LONG_NAME = "QOR Wasserwerk Nord, Pumpenhaus 3, Schaltschrank 12"
LONG_TEXT = (
    "Füllstand im Vorratsbehälter der Dosieranlage 2 liegt seit mehr als 30 Minuten unter dem Grenzwert"
)
INSTALLER = "QorMonitor-1.05-mingw32_x64-setup.exe"
DESCRIPTION = f'VersionNo="1.05"\nVersionDate="01. Apr 2025"\nmingw32_x64FileName="{INSTALLER}"\n'
DESKTOP_KEY = r"HKEY_CURRENT_USER\Control Panel\Desktop"


class Gallery:
    def __init__(self, session, folder, percent):
        self.session = session
        self.folder = folder
        self.percent = percent

    def picture(self, name, title):
        """Of one window with what lies above it: menus are windows of their own."""
        self.session.wait_active(title)
        x, y, width, height = self.session.desktop.geometry(title)
        path = os.path.join(self.folder, f"{name}-{self.percent}.png")
        area = f"{width}x{height}+{x}+{y}"
        command = ["import", "-window", "root", "-crop", area, "+repage", path]
        subprocess.run(command, env=self.session.env, check=True, timeout=30)
        print(path, flush=True)

    def open(self, *keys):
        self.session.await_idle()
        self.session.keys("F10", *keys, "Return")

    def take_all(self, server):
        keys = self.session.keys
        self.picture("main", MAIN_TITLE)
        keys("F10")
        self.picture("menu", MAIN_TITLE)
        keys("Escape", "Escape")
        self.open("Down")
        self.session.wait_active(MANAGER_TITLE)
        keys("Home", "Return")
        self.picture("manager", MANAGER_TITLE)
        # From the list back to "Hinzufügen", with the unit still in the fields.
        keys("shift+Tab", "shift+Tab", "space")
        stacking = self.session.desktop.stacking
        wait_until(lambda: stacking().count(MANAGER_TITLE) == 2, 5, "the duplicate is refused")
        self.picture("duplicate", MANAGER_TITLE)
        keys("Return")
        wait_until(lambda: stacking().count(MANAGER_TITLE) == 1, 5, "the box is closed")
        self.session.wait_active(MANAGER_TITLE)
        keys("Escape")
        self.session.wait_active(MAIN_TITLE)
        self.open("Right")
        self.picture("about", "Über QorMonitor ...")
        keys("Escape")
        self.session.wait_active(MAIN_TITLE)
        self.open("Right", "Down")
        self.picture("update", "Anwendung aktualisieren")
        keys("alt+u")
        wait_until(lambda: stacking().count(MAIN_TITLE) == 2, 20, "an update is offered")
        self.picture("offer", MAIN_TITLE)
        server.flow.clear()
        keys("alt+j")
        self.picture("download", "Download Monitor")


def take(folder, percent):
    with contextlib.ExitStack() as stack:
        session = WineDesktop(SCREEN)
        stack.callback(session.close)
        unit = Unit(session, SIMULATOR, LONG_NAME)
        stack.callback(unit.close)
        unit.warn(LONG_TEXT)
        server = UpdateServer(session)
        stack.callback(server.close)
        server.publish("QorMonitorUpdate.info", DESCRIPTION.encode())
        server.publish(INSTALLER, bytes(1 << 20))
        session.use_proxy(server.address)
        device = {"Host": "127.0.0.1", "WebPort": 65535, "WebScheme": "https", "Monitored": "true"}
        session.write_registry(
            {
                DESKTOP_KEY: {"LogPixels": STANDARD_DPI * percent // 100},
                SETTINGS: {"AutoCheckUpdates": "false", "UseAudio": "false"},
                rf"{SETTINGS}\Device0": {**device, "ZmqPort": unit.port},
                rf"{SETTINGS}\Device1": {**device, "ZmqPort": 9},
            }
        )
        # A prefix reads its scale when it starts.
        session.complete(["wineserver", "-k"])
        session.complete(["wineserver", "-w"])
        session.run("wine", BUILD / "files/QorMonitor.exe")
        time.sleep(4)
        Gallery(session, folder, percent).take_all(server)


def main():
    folder, *percents = sys.argv[1:]
    os.makedirs(folder, exist_ok=True)
    if len(percents) == 1:
        take(folder, int(percents[0]))
        return
    # One process for each scale, since each leaves the network and the environment of this one.
    for percent in percents or ALL_PERCENT:
        subprocess.run([sys.executable, "-B", __file__, folder, percent], check=True, timeout=120)


if __name__ == "__main__":
    main()
