# SPDX-License-Identifier: MIT
"""The alarm as the user hears it."""

import desktoptest
from processes import stays, wait_until
from sound import WINDOW_SECONDS

ONSET_SECONDS = 0.5
END_SECONDS = 0.3
THREE_LOOPS_SECONDS = 3 * 2.4
SILENCE_INTERVAL_SECONDS = 5.0


class AlarmTest(desktoptest.DesktopTest):
    def start_ringing(self, general=None):
        """The program with one unit, whose unknown command has just made it ring."""
        self.unit = self.make_unit()
        self.monitor = self.start_with([self.unit], general)
        self.sound = self.record()
        self.sound.wait_silent()
        return self.ring_again()

    def ring_again(self):
        seen = len(self.monitor.log.lines)
        self.unit.send_unknown_command()
        alert = self.monitor.log.wait("receive incompatible cmd", 5, seen)
        self.sound.wait_loud(alert)
        return alert

    def recover(self):
        self.unit.speak()
        wait_until(
            lambda: all(row[2] != "QOR Version inkompatibel" for row in self.monitor.messages()),
            5,
            "the unit is compatible again",
        )

    def assert_ends_after(self, moment):
        """The input that silences lies between the moment and the session's last input."""
        done = self.session.last_input
        last = self.sound.wait_silent()
        self.assertGreater(last, moment - 2 * WINDOW_SECONDS, "the alarm had ended before")
        self.assertLessEqual(last - done, END_SECONDS, "the alarm went on")

    def test_silent_while_all_units_are_well(self):
        first, second = self.make_unit("QOR-1"), self.make_unit("QOR-2")
        self.start_with([first, second])
        sound = self.record()
        sound.wait_silent()
        self.assertTrue(sound.stays_silent(SILENCE_INTERVAL_SECONDS + 1), "rang without an alert")

    def test_unknown_command_rings_at_once_and_without_a_gap(self):
        alert = self.start_ringing()
        first = self.sound.loud_since(alert)
        self.assertLessEqual(first - alert, ONSET_SECONDS, "the alarm came late")
        gaps, windows = self.sound.quiet_gaps(first, THREE_LOOPS_SECONDS)
        self.assertGreater(windows, 65, "the recording is not whole")
        self.assertEqual(gaps, 0, "the alarm paused")
        self.monitor.wait_message("QOR Version inkompatibel")

    def test_silent_unit_rings(self):
        unit = self.make_unit()
        monitor = self.start_with([unit])
        sound = self.record()
        sound.wait_silent()
        seen = len(monitor.log.lines)
        unit.silence()
        alert = monitor.log.wait("QorInterface::Disconnected", SILENCE_INTERVAL_SECONDS + 3, seen)
        self.assertLessEqual(sound.wait_loud(alert) - alert, ONSET_SECONDS)
        monitor.wait_message("Verbindung getrennt")
        unit.speak()
        monitor.wait_message("Verbindung hergestellt")
        sound.wait_silent()

    def test_acknowledged_by_tool_bar(self):
        self.start_ringing()
        self.assert_ends_after(self.monitor.click_tool("Meldungen bestätigen"))
        # Acknowledging is no switch: the next alert rings again.
        self.recover()
        self.ring_again()

    def test_acknowledged_by_menu(self):
        self.start_ringing()
        self.assert_ends_after(self.monitor.click_menu("Einstellungen", "Meldungen bestätigen"))

    def test_acknowledged_by_tray_menu(self):
        self.start_ringing()
        self.assert_ends_after(self.click_tray_menu("Meldungen bestätigen"))

    def test_acknowledged_by_double_click_on_the_window(self):
        self.start_ringing()
        x, y, _, _ = self.desktop.geometry("QorMonitor")
        # Left of the logo, where no widget takes the click.
        self.assert_ends_after(self.session.double_click(x + 100, y + 110))

    def test_switching_sound_off_silences_and_is_stored(self):
        self.start_ringing()
        self.assert_ends_after(self.monitor.click_menu("Einstellungen", "Warnton bei neuen Meldungen"))
        wait_until(
            lambda: self.monitor.read_settings()["General"].get("UseAudio") == "false",
            5,
            "the setting is stored",
        )
        self.monitor.click_menu("Einstellungen", "Warnton bei neuen Meldungen")
        wait_until(
            lambda: self.monitor.read_settings()["General"].get("UseAudio") == "true",
            5,
            "the setting is stored",
        )
        self.assertTrue(self.sound.stays_silent(2), "a pending alarm started")
        self.recover()
        self.ring_again()

    def test_no_sound_when_switched_off_in_the_settings(self):
        unit = self.make_unit()
        monitor = self.start_with([unit], {"UseAudio": "false"})
        sound = self.record()
        monitor.click_tool("Fenster minimieren")
        wait_until(lambda: not self.desktop.is_shown("QorMonitor"), 5, "the window is hidden")
        self.session.await_idle()
        unit.send_unknown_command()
        # The alert is seen, but not heard.
        wait_until(lambda: self.desktop.is_shown("QorMonitor"), 5, "the window is shown")
        self.assertTrue(sound.stays_silent(2), "rang although sound is off")

    def test_new_warning_of_a_connected_unit_does_not_ring(self):
        unit = self.make_unit()
        monitor = self.start_with([unit])
        sound = self.record()
        sound.wait_silent()
        monitor.click_tool("Fenster minimieren")
        wait_until(lambda: not self.desktop.is_shown("QorMonitor"), 5, "the window is hidden")
        self.session.await_idle()
        unit.warn("Füllstand niedrig")
        self.assertTrue(sound.stays_silent(3), "a warning alone rang")
        stays(lambda: not self.desktop.is_shown("QorMonitor"), 0.2, "the window is hidden")
        self.session.click(*self.tray_icon())
        monitor.wait_message("Füllstand niedrig")


if __name__ == "__main__":
    desktoptest.main()
