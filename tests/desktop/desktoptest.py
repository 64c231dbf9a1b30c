# SPDX-License-Identifier: MIT
"""What the tests share: one session for a test program, a program and units for each test."""

import argparse
import signal
import sys
import unittest

SETTLED_READINGS = 15
_arguments = None


def main():
    """Runs the calling module's tests. Usage: test_NAME.py PROGRAM SIMULATOR [unittest's arguments]"""
    global _arguments
    parser = argparse.ArgumentParser()
    parser.add_argument("program", help="the monitor's executable")
    parser.add_argument("simulator", help="the unit simulator's executable")
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    _arguments, rest = parser.parse_known_args()
    unittest.main(module="__main__", argv=[sys.argv[0], *rest], verbosity=2)


def program():
    return _arguments.program


def simulator():
    return _arguments.simulator


class DesktopTest(unittest.TestCase):
    longMessage = True
    tray = True

    @classmethod
    def setUpClass(cls):
        from session import Session

        cls.session = Session()
        cls.addClassCleanup(cls.session.close)
        # Only now: these read the session's addresses from the environment.
        from widgets import PopupWatch

        cls.desktop = cls.session.desktop
        cls.popups = PopupWatch()
        cls.addClassCleanup(cls.popups.close)
        if cls.tray:
            cls.session.start_tray()

    def setUp(self):
        self.session.park_pointer()
        self.session.forget_opened()
        self.addCleanup(self.desktop.uncover)

    def make_unit(self, name="QOR-1"):
        from unit import Unit

        unit = Unit(self.session, _arguments.simulator, name)
        self.addCleanup(unit.close)
        return unit

    def make_monitor(self):
        from monitor import Monitor

        monitor = Monitor(self.session, program())
        self.addCleanup(monitor.close)
        return monitor

    def start_with(self, units, general=None):
        """The program with these units, once all of them are connected."""
        from monitor import device_settings

        monitor = self.make_monitor()
        monitor.write_settings(general, device_settings(units))
        monitor.start()
        monitor.wait_connected(len(units))
        return monitor

    def record(self):
        from sound import Recording

        recording = Recording(self.session)
        self.addCleanup(recording.close)
        return recording

    def open_tray_menu(self):
        """Its entries' places by name, after a real right click on the icon."""
        from widgets import click_spots

        self.popups.shown.clear()
        # Too soon after the last click it would be a double click.
        self.session.await_idle()
        self.session.click(*self.tray_icon(), 3)
        self.tray_menu = self.popups.wait()
        return click_spots(self.tray_menu)

    def click_tray_menu(self, entry):
        return self.session.click(*self.open_tray_menu()[entry])

    def tray_icon(self):
        """Where the icon is, once the tray has come to rest: it grows and moves for every icon."""
        from processes import wait_until

        readings = []

        def settled():
            readings.append(self.desktop.tray_icon())
            return len(readings) >= SETTLED_READINGS and len(set(readings[-SETTLED_READINGS:])) == 1

        wait_until(lambda: settled() and readings[-1], 10, "the icon is in the tray")
        return readings[-1]
