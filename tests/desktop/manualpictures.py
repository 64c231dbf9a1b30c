# SPDX-License-Identifier: MIT
"""Makes the manual's pictures anew: the real program against simulated units.

Usage: manualpictures.py PROGRAM SIMULATOR FOLDER"""

import os
import sys

import widgets
from monitor import MAIN_TITLE, MANAGER_TITLE, device_settings
from processes import wait_until
from screenshots import Gallery

# Where units are from the factory, as far as a loopback device of our own has that port free.
PORT = 5566
NOBODYS_PORT = 5569
DOWNLOADS = "/home/leitstand/Downloads"
MARGIN = 12
TRAY_HEIGHT = 24


class Manual(Gallery):
    installer = "QorMonitor-1.05-mingw32_x64-setup.exe"

    def write(self, name, *what):
        # Few colours make small files.
        super().write(name.replace("-100.png", ".png"), *what, "-strip", "-dither", "None", "-colors", "64")

    def crop(self, name, x, y, width, height):
        self.session.await_idle()
        self.write(f"{name}.png", "-window", "root", "-crop", f"{width}x{height}+{x}+{y}", "+repage")

    def restart(self, units, env, ports=()):
        """With these units, and with some that nobody plays."""
        self.monitor.close()
        groups = device_settings(units)
        for port in ports:
            groups[f"Device{len(groups)}"] = {**groups["Device0"], "ZmqPort": port}
        self.monitor.write_settings({}, groups)
        self.monitor.start(**env)
        self.monitor.wait_connected(len(units))

    def take_first_unit(self):
        self.open_by_menu("Down")
        dialog = self.monitor.window(MANAGER_TITLE)
        fields = sorted(widgets.find_all(dialog, "text"), key=widgets.extents_key)
        self.monitor.click(fields[0])
        self.session.type("127.0.0.1")
        self.picture("unit-entry", MANAGER_TITLE)
        self.monitor.click(widgets.find(dialog, "push button", "Hinzufügen"))
        tree = widgets.find(dialog, "tree")
        wait_until(lambda: widgets.rows(tree), 5, "the unit is in the list")
        self.session.click(*widgets.cell_middle(tree, 0, 0))
        self.picture("unit-selected", MANAGER_TITLE)
        self.monitor.click(widgets.find(dialog, "push button", "Überwachung aktivieren"))
        self.monitor.wait_connected()
        self.picture("unit-connected", MANAGER_TITLE)

    def switch_check_on(self):
        """Only now: at the start the program would ask at once."""
        self.open_by_menu("Right", "Down")
        dialog = self.monitor.window("Anwendung aktualisieren")
        self.monitor.click(widgets.find(dialog, "check box"))
        self.session.keys("Escape")

    def take_menu(self):
        self.session.keys("F10")
        x, y, _, _ = self.desktop.geometry(MAIN_TITLE)
        self.crop("menu", x, y, 310, 145)
        self.session.keys("Escape", "Escape")

    def take_tray_menu(self):
        """Of the icon at the upper edge and of its menu."""
        popups = widgets.PopupWatch()
        icon = wait_until(self.desktop.tray_icon, 10, "the icon is in the tray")
        self.session.await_idle()
        # At its lower edge, so that the menu leaves it to be seen.
        self.session.click(icon[0], TRAY_HEIGHT - 2, 3)
        x, y, width, height = widgets.extents(popups.wait())
        self.crop("tray-menu", x - MARGIN, 0, width + 2 * MARGIN, y + height)
        popups.close()
        self.session.keys("Escape")


def take(manual):
    env = manual.start_server()
    with open(manual.session.path("config/user-dirs.dirs"), "w", encoding="ascii") as folders:
        folders.write(f'XDG_DOWNLOAD_DIR="{DOWNLOADS}"\n')
    first = manual.unit("Halle 1", PORT)
    manual.restart([], env)
    manual.take_first_unit()

    units = [first, manual.unit("Halle 2", PORT + 1), manual.unit("Leitstand", PORT + 2)]
    first.warn("Lüfter 3 im Schaltschrank steht")
    units[2].tell_version("1.200 05. Mar 2024", "1.210 02. Mar 2025")
    manual.restart(units, env)
    manual.monitor.wait_message("Neue SW Version verfügbar V1.210")
    manual.picture("main", MAIN_TITLE)
    manual.take_menu()
    manual.take_tray_menu()
    manual.switch_check_on()
    manual.take_update()

    manual.restart(units, env, [NOBODYS_PORT])
    units[1].silence()
    units[2].send_unknown_command()
    manual.monitor.wait_message("QOR Version inkompatibel")
    manual.monitor.wait_message("Verbindung getrennt")
    manual.session.xdotool("windowsize", manual.desktop.window_id(MAIN_TITLE), 1020, 380)
    manual.picture("faults", MAIN_TITLE)


def main():
    program, simulator, folder = sys.argv[1:]
    os.makedirs(folder, exist_ok=True)
    manual = Manual(program, simulator, folder, 1)
    with manual.stack:
        manual.session.start_tray()
        take(manual)


if __name__ == "__main__":
    main()
