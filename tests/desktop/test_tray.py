# SPDX-License-Identifier: MIT
"""The tray icon, its menu, and the window that hides behind it."""

import desktoptest
import widgets
from processes import WaitTimeout, stays, wait_until

MENU = [
    "Monitor öffnen",
    "-",
    "Warnton bei neuen Meldungen",
    "Meldungen bestätigen",
    "-",
    "Geräteverwaltung ...",
    "Über QorMonitor ...",
    "-",
    "Fenster minimieren",
    "Beenden",
]
EXIT_SECOND_INSTANCE = 254


class TrayTest(desktoptest.DesktopTest):
    def setUp(self):
        super().setUp()
        self.unit = self.make_unit()
        self.monitor = self.start_with([self.unit])
        if not self.session.tray:
            self.session.start_tray()
        self.tray_icon()

    def wait_shown(self):
        wait_until(lambda: self.desktop.is_shown("QorMonitor"), 5, "the window is shown")

    def wait_hidden(self):
        try:
            wait_until(lambda: not self.desktop.is_shown("QorMonitor"), 5, "the window is hidden")
        except WaitTimeout:
            self.fail(f"shown: {self.desktop.stacking()}, with the focus: {self.desktop.active()!r}")

    def close_window(self):
        self.session.keys("alt+F4")
        self.wait_hidden()

    def test_menu_has_its_entries_in_order(self):
        self.open_tray_menu()
        self.assertEqual(widgets.entry_names(self.tray_menu), MENU)
        self.session.keys("Escape")

    def test_close_hides_and_left_click_shows(self):
        self.close_window()
        stays(self.monitor.is_running, 0.5, "the program runs on")
        self.session.click(*self.tray_icon())
        self.wait_shown()
        wait_until(lambda: self.desktop.active() == "QorMonitor", 5, "the window is active")

    def test_open_entry_shows_the_window(self):
        self.close_window()
        self.click_tray_menu("Monitor öffnen")
        self.wait_shown()

    def test_right_click_shows_no_window(self):
        self.close_window()
        self.open_tray_menu()
        stays(lambda: not self.desktop.is_shown("QorMonitor"), 0.7, "the window is hidden")
        self.session.keys("Escape")
        stays(lambda: not self.desktop.is_shown("QorMonitor"), 0.3, "the window is hidden")

    def test_minimise_entry_hides(self):
        self.click_tray_menu("Fenster minimieren")
        self.wait_hidden()
        self.assertTrue(self.monitor.is_running())

    def test_sound_entry_toggles_and_shows_its_state(self):
        def stored():
            return self.monitor.read_settings()["General"].get("UseAudio")

        self.assertTrue(self.sound_entry_is_checked())
        self.click_tray_menu("Warnton bei neuen Meldungen")
        wait_until(lambda: stored() == "false", 5, "the setting is stored")
        self.assertFalse(self.sound_entry_is_checked())
        self.click_tray_menu("Warnton bei neuen Meldungen")
        wait_until(lambda: stored() == "true", 5, "the setting is stored")

    def sound_entry_is_checked(self):
        self.open_tray_menu()
        entry = next(
            child
            for child in widgets.children(self.tray_menu)
            if widgets.name(child) == "Warnton bei neuen Meldungen"
        )
        checked = widgets.has_state(entry, "checked")
        self.session.keys("Escape")
        wait_until(lambda: not widgets.has_state(self.tray_menu, "showing"), 5, "the menu is closed")
        return checked

    def test_manager_and_about_entries_open_their_windows(self):
        self.click_tray_menu("Geräteverwaltung ...")
        self.monitor.window("QorMonitor - Geräteverwaltung")
        self.session.keys("Escape")
        wait_until(lambda: not self.monitor.find_window("QorMonitor - Geräteverwaltung"), 5, "dialog closed")
        self.click_tray_menu("Über QorMonitor ...")
        about = self.monitor.window("Über QorMonitor ...")
        self.monitor.click(widgets.find(about, "push button", "Schließen"))
        wait_until(lambda: not self.monitor.find_window("Über QorMonitor ..."), 5, "dialog closed")

    def test_exit_entry_ends_the_program(self):
        self.click_tray_menu("Beenden")
        self.assertEqual(self.monitor.wait_exit(), 0)

    def test_icon_comes_to_a_tray_that_starts_later(self):
        self.start_without_tray()
        self.close_window()
        self.session.start_tray()
        self.session.click(*self.tray_icon())
        self.wait_shown()

    def test_second_start_brings_the_window_back_without_a_tray(self):
        self.start_without_tray()
        self.close_window()
        self.assertEqual(self.second_start(), EXIT_SECOND_INSTANCE)
        self.wait_shown()
        self.assertEqual(self.desktop.top(), "QorMonitor")

    def start_without_tray(self):
        self.monitor.close()
        self.session.stop_tray()
        self.monitor = self.start_with([self.unit])
        self.assertIsNone(self.desktop.tray_icon())

    def second_start(self):
        from monitor import Monitor

        second = Monitor(self.session, desktoptest.program())
        second.start(wait_window=False)
        code = second.wait_exit(5)
        second.log.close()
        return code


if __name__ == "__main__":
    desktoptest.main()
