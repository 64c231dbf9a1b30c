# SPDX-License-Identifier: MIT
"""The program's widgets as assistive technologies see them."""

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

from processes import wait_until  # noqa: E402


class PopupWatch:
    """Notes the popup menus that come up: the tray's menu has no parent and is found in no other way."""

    def __init__(self):
        self.shown = []
        self._listener = Atspi.EventListener.new(self._note)
        self._listener.register("object:state-changed:showing")

    def _note(self, event):
        try:
            if event.detail1 and event.source.get_role_name() == "popup menu":
                self.shown.append(event.source)
        except GLib.Error:
            pass

    def wait(self, seconds=5):
        """The menu that came up last and is still there."""

        def visible():
            _deliver_events()
            return next((menu for menu in reversed(self.shown) if has_state(menu, "showing")), None)

        return wait_until(visible, seconds, "a menu has come up")

    def close(self):
        self._listener.deregister("object:state-changed:showing")


def _deliver_events():
    context = GLib.MainContext.default()
    for _ in range(200):
        if not context.iteration(False):
            return


def _desktop():
    desktop = Atspi.get_desktop(0)
    # Only a running main loop would keep cached values up to date.
    desktop.set_cache_mask(Atspi.Cache.NONE)
    _deliver_events()
    return desktop


def application(pid):
    desktop = _desktop()
    for index in range(desktop.get_child_count()):
        try:
            found = desktop.get_child_at_index(index)
            if found and found.get_process_id() == pid:
                found.set_cache_mask(Atspi.Cache.NONE)
                return found
        except GLib.Error:
            continue
    return None


def name(widget):
    return widget.get_name() or ""


def role(widget):
    return widget.get_role_name()


def has_state(widget, wanted):
    try:
        return widget.get_state_set().contains(getattr(Atspi.StateType, wanted.upper()))
    except GLib.Error:
        return False


def children(widget):
    found = [widget.get_child_at_index(index) for index in range(widget.get_child_count())]
    return [child for child in found if child]


def descendants(widget, depth=12):
    # A table's cells are read through its table interface.
    if depth == 0 or role(widget) == "tree":
        return
    for child in children(widget):
        yield child
        yield from descendants(child, depth - 1)


def find_all(widget, wanted_role, wanted_name=None):
    try:
        return [
            found
            for found in descendants(widget)
            if role(found) == wanted_role and wanted_name in (None, name(found))
        ]
    except GLib.Error:
        return []  # Something was just being destroyed.


def find(widget, wanted_role, wanted_name=None, seconds=5):
    def first():
        return next(iter(find_all(widget, wanted_role, wanted_name)), None)

    return wait_until(first, seconds, f"{wanted_role} {wanted_name!r}")


def text(widget):
    return Atspi.Text.get_text(widget, 0, Atspi.Text.get_character_count(widget))


def extents(widget):
    area = Atspi.Component.get_extents(widget, Atspi.CoordType.SCREEN)
    return (area.x, area.y, area.width, area.height)


def middle(widget):
    x, y, width, height = extents(widget)
    return (x + width // 2, y + height // 2)


def _read_rows(tree):
    columns = Atspi.Table.get_n_columns(tree)
    return [
        tuple(name(Atspi.Table.get_accessible_at(tree, row, column)) for column in range(columns))
        for row in range(Atspi.Table.get_n_rows(tree))
    ]


def rows(tree):
    """The texts of all cells. Cells are made anew on every rebuild, so two equal readings are taken."""
    last = []

    def settled():
        try:
            reading = _read_rows(tree)
        except (GLib.Error, AttributeError):
            last.clear()
            return False
        if last and last[0] == reading:
            return True
        last[:] = [reading]
        return False

    wait_until(settled, 5, "two equal readings of a list")
    return last[0]


def cell_middle(tree, row, column):
    return middle(Atspi.Table.get_accessible_at(tree, row, column))


def focused(window):
    """The widget of an active window with the keyboard focus, or None."""
    if not has_state(window, "active"):
        return None
    widgets = list(descendants(window))
    direct = next((widget for widget in widgets if has_state(widget, "focused")), None)
    # A list reports its current cell as focused even when it does not have the focus: it comes last.
    return direct or next(
        (widget for widget in widgets if role(widget) == "tree" and _has_current(widget)), None
    )


def _has_current(tree):
    return any(
        has_state(Atspi.Table.get_accessible_at(tree, row, column), "focused")
        for row in range(Atspi.Table.get_n_rows(tree))
        for column in range(Atspi.Table.get_n_columns(tree))
    )


def click_spots(menu):
    """The middle of every entry of an open menu on the screen, by name. An entry that is also in a second
    menu reports its place in that menu, so the places are counted from the top of this one."""
    x, y, width, _ = extents(menu)
    spots = {}
    for entry in children(menu):
        height = extents(entry)[3]
        if name(entry):
            spots[name(entry)] = (x + width // 2, y + height // 2)
        y += height
    return spots


def entry_names(menu):
    """The menu's texts from top to bottom, "-" for a separator."""
    return ["-" if role(entry) == "separator" else name(entry) for entry in children(menu)]


def extents_key(widget):
    """For sorting widgets from left to right."""
    return extents(widget)[0]


def progress(bar):
    """What a progress bar shows: its value and its end."""
    return (round(Atspi.Value.get_current_value(bar)), round(Atspi.Value.get_maximum_value(bar)))


def act(widget):
    """The widget's own action, where a modal dialog keeps real clicks away."""
    Atspi.Action.do_action(widget, 0)
