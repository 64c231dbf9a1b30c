#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The real program for Windows under Wine, against simulated units: what its user sees, hears and keeps.

Usage: tests/windows/test_monitor.py [UNITTEST ARGUMENT...]

It needs what scripts/build-windows has made, and the simulator of the release build.
"""

import itertools
import signal
import subprocess
import sys
import time
import unittest

# First, since it leads to the modules of the desktop tests.
from winedesktop import BUILD, SETTINGS, SIMULATOR, START_SECONDS, WineDesktop
from monitor import MAIN_TITLE, MANAGER_TITLE
from processes import LogReader, stays, wait_until
from sound import Recording
from unit import Unit

PROGRAM = BUILD / "files/QorMonitor.exe"
SECOND_INSTANCE = 254
# What no unit listens on.
CLOSED_PORT = 9
COLOURS = {(255, 0, 0): "red", (255, 255, 0): "yellow", (0, 255, 0): "green"}
THREE_LOOPS_SECONDS = 3 * 2.4
# The menu "Einstellungen" from the top.
MANAGER, USE_AUDIO, ACKNOWLEDGE, MINIMIZE, EXIT = range(1, 6)
# A report of more than 5000 bytes is not read.
MANY_UNITS, MANY_WARNINGS = 25, 40
LONG_LIST_SECONDS = 5
# Windows asks its user after five.
UNITS_AT_THE_END, SESSION_END_SECONDS = 50, 5


class MonitorTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.session = WineDesktop()
        cls.addClassCleanup(cls.session.close)
        cls.desktop = cls.session.desktop

    def setUp(self):
        # After a while of windows that come and go, Wine no longer knows which one has the focus.
        self.session.end_wine()
        self.session.write_registry({SETTINGS: None})
        self.session.park_pointer()

    def make_unit(self, name="QOR-1"):
        unit = Unit(self.session, SIMULATOR, name)
        self.addCleanup(unit.close)
        return unit

    def write_settings(self, *ports, **general):
        """One unit at each of the ports."""
        keys = {SETTINGS: {"AutoCheckUpdates": "false", **general}}
        for index, port in enumerate(ports):
            keys[rf"{SETTINGS}\Device{index}"] = {
                "Host": "127.0.0.1",
                "ZmqPort": port,
                "WebPort": 80,
                "WebScheme": "http",
                "Monitored": "true",
            }
        self.session.write_registry(keys)

    def start(self, *ports, **general):
        self.write_settings(*ports, **general)
        return self.start_again()

    def start_again(self, **environment):
        self.monitor = self.session.processes.start(
            ["wine", PROGRAM],
            {**self.session.env, **environment},
            stderr=subprocess.PIPE,
            text=True,
            errors="replace",
        )
        self.log = LogReader(self.monitor.stderr)
        self.addCleanup(self.end, self.monitor, self.log)
        self.wait_shown(MAIN_TITLE)
        self.session.wait_active(MAIN_TITLE)
        return self.monitor

    def end(self, monitor, log):
        self.session.processes.end(monitor, signal.SIGKILL)
        log.close()

    def wait_connected(self, count=1, seconds=10):
        wait_until(lambda: self.log.count("QorInterface::Connected") >= count, seconds, "all are connected")

    def wait_shown(self, title, seconds=START_SECONDS):
        wait_until(lambda: self.desktop.is_shown(title), seconds, f"{title!r} is shown")

    def wait_hidden(self, title):
        wait_until(lambda: not self.desktop.is_shown(title), 5, f"{title!r} is hidden")

    def choose(self, entry):
        """An entry of the menu "Einstellungen"."""
        self.session.keys("F10", *["Down"] * entry)
        return self.session.keys("Return")

    def leave(self):
        self.choose(EXIT)
        return self.monitor.wait(10)

    def settings(self):
        return self.session.registry()[SETTINGS]

    def rows(self):
        """The colours of the rows of the message list, as (colour, height) for rows of one colour."""
        _, _, width, _ = self.desktop.geometry(MAIN_TITLE)
        picture = subprocess.run(
            ["import", "-window", str(self.desktop.window_id(MAIN_TITLE)), "-depth", "8", "rgb:-"],
            env=self.session.env,
            check=True,
            timeout=30,
            stdout=subprocess.PIPE,
        ).stdout
        # Red, green and blue of a column right of all texts.
        line = 3 * width
        channels = (picture[slice(line - 3 * 60 + channel, None, line)] for channel in range(3))
        colours = (COLOURS.get(pixel) for pixel in zip(*channels))
        return [(colour, len(list(run))) for colour, run in itertools.groupby(colours) if colour]

    def wait_rows(self, *colours, seconds=10):
        def seen():
            return [colour for colour, _ in self.rows()]

        try:
            wait_until(lambda: seen() == list(colours), seconds, "the rows")
        except AssertionError:
            self.assertEqual(seen(), list(colours))

    def test_rows_have_the_colours_of_their_messages(self):
        unit = self.make_unit()
        unit.warn("Füllstand niedrig")
        unit.warn("Pumpe steht")
        self.start(unit.port, CLOSED_PORT)
        self.wait_rows("green", "red", "yellow", seconds=4)
        (_, green), (_, red), (_, yellow) = self.rows()
        self.assertEqual((red, yellow), (2 * green, green), "heights of one row, two and one")

    def test_an_end_leaves_settings_for_the_next_start(self):
        unit = self.make_unit()
        self.start(unit.port)
        self.wait_connected()
        self.choose(USE_AUDIO)
        self.session.xdotool("windowsize", self.desktop.window_id(MAIN_TITLE), 900, 620)
        wait_until(lambda: self.desktop.geometry(MAIN_TITLE)[2:] == (900, 620), 5, "the new size")
        self.assertEqual(self.leave(), 0)
        self.assertEqual(self.log.lines[-1][1], "main: exit 0")
        stored = self.settings()
        self.assertEqual(stored["UseAudio"], '"false"')
        self.assertIn("geometry", stored)

        self.start_again()
        self.wait_connected()
        wait_until(lambda: self.desktop.geometry(MAIN_TITLE)[2:] == (900, 620), 5, "the size of before")

    def test_the_device_manager_writes_a_unit_into_the_registry(self):
        unit = self.make_unit()
        self.start()
        self.choose(MANAGER)
        self.session.wait_active(MANAGER_TITLE)
        # From the list, past "Status aktualisieren", the only button that is enabled.
        self.session.keys("Tab", "Tab")
        self.session.type("127.0.0.1")
        self.session.keys("Tab")
        self.session.type(str(unit.port))
        self.session.keys("Tab", "Tab", "Tab", "space")
        # By way of "Schließen" back to the list, and on to "Überwachung aktivieren".
        self.session.keys("Tab", "Tab", "Home", "Return", "Tab", "space")
        self.wait_connected()
        written = {"Host": '"127.0.0.1"', "ZmqPort": f"dword:{unit.port:08x}", "Monitored": '"true"'}
        device = self.session.registry()[rf"{SETTINGS}\Device0"]
        self.assertEqual({name: device[name] for name in written}, written)
        self.session.keys("Escape")
        self.wait_hidden(MANAGER_TITLE)
        self.wait_rows("green")

    def test_a_second_start_raises_the_first(self):
        self.start()
        self.session.keys("alt+F4")
        self.wait_hidden(MAIN_TITLE)
        second = self.session.complete(["wine", PROGRAM])
        self.assertEqual(second.returncode, SECOND_INSTANCE)
        self.wait_shown(MAIN_TITLE, 5)
        self.assertEqual(self.session.running("QorMonitor.exe"), [self.monitor.pid])

    def test_the_tray_icon_shows_the_window_and_its_menu_ends_the_program(self):
        self.start()
        icon = wait_until(self.session.tray_icon, 10, "the icon is in the tray")
        self.session.keys("alt+F4")
        self.wait_hidden(MAIN_TITLE)
        stays(lambda: self.monitor.poll() is None, 0.5, "the program runs on")
        self.session.click(*icon)
        self.wait_shown(MAIN_TITLE, 5)
        self.session.await_idle()
        self.session.click(*icon, 3)
        self.session.await_idle()
        self.session.keys("Up", "Return")
        self.assertEqual(self.monitor.wait(10), 0)

    def test_the_alarm_rings_without_a_gap_until_it_is_acknowledged(self):
        unit = self.make_unit()
        self.start(unit.port)
        self.wait_connected()
        sound = Recording(self.session)
        self.addCleanup(sound.close)
        sound.wait_silent()
        unit.send_unknown_command()
        first = sound.wait_loud(self.log.wait("receive incompatible cmd"))
        gaps, windows = sound.quiet_gaps(first, THREE_LOOPS_SECONDS)
        self.assertGreater(windows, 65, "the recording is not whole")
        self.assertEqual(gaps, 0, "the alarm paused")
        self.wait_rows("green", "red")
        self.choose(ACKNOWLEDGE)
        sound.wait_silent()
        self.assertTrue(sound.stays_silent(1))

    def test_a_missing_sound_device_is_no_error(self):
        unit = self.make_unit()
        self.write_settings(unit.port)
        self.start_again(PULSE_SERVER="unix:/nonexistent")
        self.wait_connected()
        self.session.keys("alt+F4")
        self.wait_hidden(MAIN_TITLE)
        self.session.await_idle()
        unit.send_unknown_command()
        self.wait_shown(MAIN_TITLE, 5)
        self.wait_rows("green", "red")
        self.session.wait_active(MAIN_TITLE)
        self.assertEqual(self.leave(), 0)

    def test_a_long_list_leaves_the_window_at_work(self):
        units = [self.make_unit(f"QOR-{number}") for number in range(MANY_UNITS)]
        for unit, number in itertools.product(units, range(MANY_WARNINGS)):
            unit.warn(f"Warnung {number}")
        self.start(*(unit.port for unit in units))
        self.wait_connected(MANY_UNITS)
        self.wait_rows("green", "red")
        self.assertGreater(self.rows()[1][1], 200, "the height of the warnings")
        # Every second each unit has the whole list made anew.
        stays(lambda: self.monitor.poll() is None, 3, "the program runs on")
        before = self.session.keys("F10")
        self.session.keys("Up")
        self.session.keys("Return")
        self.assertEqual(self.monitor.wait(10), 0)
        self.assertLess(time.monotonic() - before, LONG_LIST_SECONDS)

    def test_the_end_of_a_session_ends_the_program_at_once(self):
        units = [self.make_unit(f"QOR-{number}") for number in range(UNITS_AT_THE_END)]
        self.start(*(unit.port for unit in units))
        self.wait_connected(UNITS_AT_THE_END, 30)
        seen = len(self.log.lines)
        self.session.run("wineboot", "--end-session")
        # It has agreed and ends its links; the session does not wait for all of them.
        self.log.wait("QorInterface::disconnectQor()", SESSION_END_SECONDS, seen)
        self.monitor.wait(SESSION_END_SECONDS)


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    unittest.main()
