# SPDX-License-Identifier: MIT
"""The device manager, worked with as its user does: real clicks and real keys."""

import desktoptest
import widgets
from monitor import MAIN_TITLE, MANAGER_TITLE, device_settings
from processes import stays, wait_until

DUPLICATE_TEXT = "Dieser Host/Port existiert bereits in der Liste!"
DEFAULTS = ["", "5566", "80", "http"]
BUTTONS = ["Überwachung aktivieren", "Überwachung deaktivieren", "Gerät entfernen", "Status aktualisieren"]
# Column of the tree, and what an unmonitored unit shows there.
STATUS, UNMONITORED = 6, "Nicht überwacht"


class ManagerTest(desktoptest.DesktopTest):
    def open_with(self, *units, by_keys=False):
        self.monitor = self.make_monitor()
        self.monitor.write_settings({"UseAudio": "false"}, device_settings(units))
        self.monitor.start()
        self.monitor.wait_connected(len(units))
        if by_keys:
            self.session.keys("F10", "Down", "Return")
            self.dialog = self.monitor.window(MANAGER_TITLE)
        else:
            self.dialog = self.monitor.open_manager()
        wait_until(lambda: self.desktop.active() == MANAGER_TITLE, 5, "the manager is active")

    def tree(self):
        return widgets.find(self.dialog, "tree")

    def rows(self):
        return widgets.rows(self.tree())

    def fields(self):
        """Host, QOR port, web port, web scheme, from left to right."""
        return sorted(widgets.find_all(self.dialog, "text"), key=widgets.extents_key)

    def entries(self):
        return [widgets.text(field) for field in self.fields()]

    def button(self, text):
        return widgets.find(self.dialog, "push button", text)

    def press(self, text):
        wait_until(lambda: widgets.has_state(self.button(text), "enabled"), 5, f"{text!r} is enabled")
        self.monitor.click(self.button(text))

    def fill(self, *texts):
        for field, text in zip(self.fields(), texts):
            self.monitor.click(field)
            self.session.keys("ctrl+a", "Delete")
            if text:
                self.session.type(text)
        wait_until(lambda: self.entries()[: len(texts)] == list(texts), 5, f"the fields hold {texts}")

    def select(self, row):
        """A click on the row, which loads the unit into the fields."""
        host = self.rows()[row][0]
        self.session.await_idle()
        self.session.click(*widgets.cell_middle(self.tree(), row, 0))
        wait_until(lambda: self.entries()[0] == host, 5, "the unit is in the fields")

    def wait_stored(self, *expected):
        """Waits until the settings file holds exactly these units: (host, QOR port, web port, scheme)."""

        def stored():
            return [
                (group["Host"], int(group["ZmqPort"]), int(group["WebPort"]), group["WebScheme"])
                for group in self.monitor.devices()
            ]

        try:
            wait_until(lambda: stored() == list(expected), 5, "the units are stored")
        except AssertionError:
            self.assertEqual(stored(), list(expected))

    def wait_monitored(self, *expected):
        wait_until(
            lambda: [group["Monitored"] == "true" for group in self.monitor.devices()] == list(expected),
            5,
            f"stored as monitored: {expected}",
        )

    def test_open_manager_comes_to_the_front_again(self):
        self.open_with()
        self.session.xdotool("windowactivate", self.desktop.window_id(MAIN_TITLE))
        wait_until(lambda: self.desktop.active() == MAIN_TITLE, 5, "the main window is active")
        self.session.keys("F10", "Down", "Return")
        wait_until(lambda: self.desktop.active() == MANAGER_TITLE, 5, "the manager is active again")
        self.assertEqual(self.desktop.top(), MANAGER_TITLE)

    def test_added_unit_is_stored_and_the_fields_are_reset(self):
        self.open_with()
        self.fill("  127.0.0.1 ", "6001", "8080", "https")
        self.press("Hinzufügen")
        self.wait_stored(("127.0.0.1", 6001, 8080, "https"))
        self.assertEqual([row[0] for row in self.rows()], ["127.0.0.1"])
        self.assertEqual(self.entries(), DEFAULTS)

    def test_letters_as_web_port_give_zero(self):
        self.open_with()
        self.fill("127.0.0.1", "6001", "abc")
        self.press("Hinzufügen")
        self.wait_stored(("127.0.0.1", 6001, 0, "http"))

    def test_empty_host_is_not_added(self):
        self.open_with()
        self.fill("   ", "6001")
        self.press("Hinzufügen")
        stays(lambda: self.monitor.devices() == [] and self.rows() == [], 0.5, "nothing is added")

    def test_duplicate_is_refused_in_words(self):
        unit = self.make_unit()
        self.open_with(unit)
        self.fill("127.0.0.1", str(unit.port))
        self.press("Hinzufügen")
        box = widgets.find(self.monitor.application(), "label", DUPLICATE_TEXT)
        self.assertTrue(widgets.has_state(box, "showing"))
        self.session.keys("Return")
        wait_until(
            lambda: not widgets.find_all(self.monitor.application(), "label", DUPLICATE_TEXT),
            5,
            "the box is closed",
        )
        self.assertEqual(self.entries()[:2], ["127.0.0.1", str(unit.port)])
        self.assertEqual(len(self.monitor.devices()), 1)

    def test_changed_unit_is_stored(self):
        unit = self.make_unit()
        self.open_with(unit)
        self.select(0)
        self.fill("127.0.0.1", str(unit.port), "8443", "https")
        self.press("Ändern")
        self.wait_stored(("127.0.0.1", unit.port, 8443, "https"))
        self.assertEqual(self.entries(), DEFAULTS)
        self.assertFalse(widgets.has_state(self.button("Ändern"), "enabled"))

    def test_removed_unit_leaves_list_and_store(self):
        first, second = self.make_unit("QOR-1"), self.make_unit("QOR-2")
        self.open_with(first, second)
        self.select(0)
        self.press("Gerät entfernen")
        self.wait_stored(("127.0.0.1", second.port, 80, "http"))
        self.assertEqual([row[2] for row in self.rows()], [str(second.port)])

    def test_monitoring_is_switched_by_the_buttons(self):
        unit = self.make_unit()
        self.open_with(unit)
        self.select(0)
        self.press("Überwachung deaktivieren")
        self.wait_monitored(False)
        self.assertEqual(self.rows()[0][STATUS], UNMONITORED)
        self.press("Überwachung aktivieren")
        self.wait_monitored(True)
        self.monitor.wait_connected(2)

    def test_double_click_switches_monitoring(self):
        unit = self.make_unit()
        self.open_with(unit)
        self.double_click_row()
        self.wait_monitored(False)
        self.double_click_row()
        self.wait_monitored(True)

    def double_click_row(self):
        self.session.await_idle()
        self.session.double_click(*widgets.cell_middle(self.tree(), 0, 0))

    def test_return_in_the_entry_fields_fires_nothing(self):
        unit = self.make_unit()
        self.open_with(unit)
        self.select(0)
        before = self.monitor.devices()
        # With another port both adding and changing would be seen in the store.
        self.fill("127.0.0.1", "6001")
        for field in self.fields():
            self.monitor.click(field)
            self.session.keys("Return", "KP_Enter")
        stays(
            lambda: self.desktop.stacking().count(MANAGER_TITLE) == 1 and self.monitor.devices() == before,
            0.7,
            "nothing happens",
        )
        self.assertEqual(self.entries(), ["127.0.0.1", "6001", "80", "http"])

    def test_row_is_loaded_by_the_keyboard(self):
        first, second = self.make_unit("QOR-1"), self.make_unit("QOR-2")
        self.open_with(first, second)
        self.focus_tree()
        self.session.keys("Down", "Return")
        wait_until(lambda: self.entries()[1] == str(second.port), 5, "the second unit is in the fields")
        self.session.keys("Up", "Return")
        wait_until(lambda: self.entries()[1] == str(first.port), 5, "the first unit is in the fields")
        self.assertTrue(widgets.has_state(self.button("Gerät entfernen"), "enabled"))

    def focus_tree(self):
        # Without a current row the list does not tell of its focus; it is what the dialog opens with.
        self.session.keys("Home")
        wait_until(lambda: self.focus_name() == "tree", 3, "the list has the focus")

    def focus_name(self):
        """The focused widget: a button's text, "tree", or "field" and its number; empty if none tells."""
        widget = widgets.focused(self.dialog)
        if not widget:
            return ""
        if widgets.role(widget) == "text":
            places = [widgets.extents(field) for field in self.fields()]
            return f"field {places.index(widgets.extents(widget))}"
        return "tree" if widgets.role(widget) == "tree" else widgets.name(widget)

    def test_tab_order_is_the_reading_order(self):
        unit = self.make_unit()
        self.open_with(unit)
        self.select(0)
        order = [
            "tree",
            *BUTTONS,
            *(f"field {number}" for number in range(4)),
            "Ändern",
            "Hinzufügen",
            "Schließen",
        ]
        for expected in [*order[1:], order[0]]:
            self.session.keys("Tab")
            wait_until(lambda: self.focus_name() == expected, 3, f"Tab leads to {expected!r}")
        for expected in reversed(order):
            self.session.keys("shift+Tab")
            wait_until(lambda: self.focus_name() == expected, 3, f"Shift+Tab leads to {expected!r}")

    def test_whole_work_without_a_mouse(self):
        unit = self.make_unit()
        self.open_with(by_keys=True)
        self.tab_to("field 0")
        self.session.type("127.0.0.1")
        self.session.keys("Tab")
        self.session.type(str(unit.port))
        self.tab_to("Hinzufügen")
        self.session.keys("space")
        self.wait_stored(("127.0.0.1", unit.port, 80, "http"))
        self.tab_to("tree")
        self.session.keys("Home", "Return")
        wait_until(lambda: self.entries()[0] == "127.0.0.1", 5, "the unit is in the fields")
        for text, expected in (("Überwachung deaktivieren", False), ("Überwachung aktivieren", True)):
            self.tab_to(text)
            self.session.keys("space")
            self.wait_monitored(expected)
        self.tab_to("Gerät entfernen")
        self.session.keys("space")
        self.wait_stored()
        self.tab_to("Schließen")
        self.session.keys("space")
        wait_until(lambda: not self.monitor.find_window(MANAGER_TITLE), 5, "the manager is closed")

    def tab_to(self, wanted):
        for _ in range(20):
            if self.focus_name() == wanted:
                return
            before = self.focus_name()
            self.session.keys("Tab")
            wait_until(lambda: self.focus_name() != before, 3, f"Tab leaves {before!r}")
        self.fail(f"Tab does not reach {wanted!r}")


if __name__ == "__main__":
    desktoptest.main()
