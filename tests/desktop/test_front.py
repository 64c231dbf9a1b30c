# SPDX-License-Identifier: MIT
"""When the window comes to the front, and what the keyboard does to it at that moment."""

import desktoptest
import widgets
from monitor import MAIN_TITLE, MANAGER_TITLE
from processes import stays, wait_until

UPDATE_TITLE = "Anwendung aktualisieren"
COVER_TITLE = "Other work"


class FrontTest(desktoptest.DesktopTest):
    def setUp(self):
        super().setUp()
        self.unit = self.make_unit()
        self.monitor = self.start_with([self.unit])

    def raise_alert(self):
        self.session.await_idle()
        seen = len(self.monitor.log.lines)
        self.unit.send_unknown_command()
        self.monitor.log.wait("receive incompatible cmd", 5, seen)

    def recover(self):
        seen = len(self.monitor.log.lines)
        self.unit.speak()
        self.monitor.wait_message("Verbindung hergestellt")
        wait_until(
            lambda: not any(row[2] == "QOR Version inkompatibel" for row in self.monitor.messages()),
            5,
            "the unit is compatible again",
        )
        return seen

    def hide_window(self):
        self.monitor.click_tool("Fenster minimieren")
        wait_until(lambda: not self.desktop.is_shown(MAIN_TITLE), 5, "the window is hidden")

    def wait_top(self, title):
        wait_until(lambda: self.desktop.top() == title, 5, f"{title!r} is on top")

    def test_alert_shows_a_hidden_window(self):
        self.hide_window()
        self.raise_alert()
        self.wait_top(MAIN_TITLE)

    def test_alert_raises_a_covered_window(self):
        self.desktop.cover(COVER_TITLE)
        self.raise_alert()
        self.wait_top(MAIN_TITLE)

    def test_alert_leaves_the_device_manager_in_use_alone(self):
        self.monitor.open_manager()
        self.check_left_alone(MANAGER_TITLE)
        self.session.click(*self.tray_icon())
        wait_until(lambda: self.desktop.is_shown(MAIN_TITLE), 5, "a tray click shows the window")

    def test_alert_leaves_the_update_dialog_in_use_alone(self):
        self.monitor.click_menu("Hilfe", "QorMonitor aktualisieren ...")
        self.check_left_alone(UPDATE_TITLE)
        # Before, the modal dialog keeps all clicks from the icon.
        self.session.keys("Escape")
        wait_until(lambda: not self.desktop.is_shown(UPDATE_TITLE), 5, "the dialog is closed")
        self.session.click(*self.tray_icon())
        wait_until(lambda: self.desktop.is_shown(MAIN_TITLE), 5, "a tray click shows the window")

    def check_left_alone(self, dialog):
        """With the main window hidden behind the dialog, an alert must not bring it up."""
        wait_until(lambda: self.desktop.active() == dialog, 5, f"{dialog!r} is in use")
        window = self.monitor.window(MAIN_TITLE)
        widgets.act(widgets.find(window, "menu item", "Fenster minimieren"))
        wait_until(lambda: not self.desktop.is_shown(MAIN_TITLE), 5, "the window is hidden")
        wait_until(lambda: self.desktop.active() == dialog, 5, f"{dialog!r} is in use still")
        self.raise_alert()
        stays(
            lambda: self.desktop.active() == dialog and not self.desktop.is_shown(MAIN_TITLE),
            1.0,
            f"{dialog!r} stays in use",
        )

    def test_key_typed_as_the_window_comes_up_changes_nothing(self):
        sound = self.record()
        for key in ("space", "Return"):
            with self.subTest(key=key):
                sound.wait_silent()
                # The keys go to the list, on whose selected row Return would open the unit's page.
                self.session.click(*widgets.cell_middle(self.monitor.message_list(), 0, 1))
                self.desktop.cover(COVER_TITLE)
                self.raise_alert()
                wait_until(lambda: self.desktop.active() == MAIN_TITLE, 5, "the window has the focus")
                self.session.keys(key)
                start = self.session.keys(key)
                gaps, windows = sound.quiet_gaps(start, 2.0)
                self.assertGreater(windows, 15)
                self.assertEqual(gaps, 0, "the key silenced the alarm")
                self.assertEqual(self.session.opened(), [], "the key opened a web page")
                self.assertEqual(
                    [
                        widgets.name(window)
                        for window in widgets.children(self.monitor.application())
                        if widgets.has_state(window, "showing")
                    ],
                    [MAIN_TITLE],
                )
                self.desktop.uncover()
                self.recover()

    def test_double_click_on_a_row_opens_the_unit(self):
        self.monitor.wait_message("Verbindung hergestellt")
        self.session.double_click(*widgets.cell_middle(self.monitor.message_list(), 0, 1))
        wait_until(self.session.opened, 5, "the browser was asked")
        self.assertEqual(self.session.opened(), ["http://127.0.0.1:80/"])


if __name__ == "__main__":
    desktoptest.main()
