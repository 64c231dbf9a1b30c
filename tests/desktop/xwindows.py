# SPDX-License-Identifier: MIT
"""The display as the window manager sees it: stacking, focus, tray icons."""

import time

from Xlib import X, Xatom, Xutil, error
from Xlib.display import Display

from processes import wait_until


class Desktop:
    def __init__(self, name):
        self._display = Display(name)
        self._root = self._display.screen().root
        self._covers = []

    def close(self):
        self.uncover()
        self._display.close()

    def _property(self, window, name):
        try:
            value = window.get_full_property(self._display.intern_atom(name), X.AnyPropertyType)
        except (error.BadWindow, error.BadDrawable):
            return []
        return value.value if value else []

    def window_manager_runs(self):
        return bool(len(self._property(self._root, "_NET_SUPPORTING_WM_CHECK")))

    def _title(self, window):
        value = self._property(window, "_NET_WM_NAME") or self._property(window, "WM_NAME")
        return bytes(value).decode(errors="replace") if isinstance(value, (bytes, bytearray)) else str(value)

    def _managed(self):
        return [
            self._display.create_resource_object("window", number)
            for number in self._property(self._root, "_NET_CLIENT_LIST_STACKING")
        ]

    def stacking(self):
        """Titles of the shown windows of the task bar, the topmost last."""
        titles = []
        for window in self._managed():
            try:
                viewable = window.get_attributes().map_state == X.IsViewable
            except error.BadWindow:
                continue
            if viewable and not self._is_dock(window):
                titles.append(self._title(window))
        return titles

    def _is_dock(self, window):
        dock = self._display.intern_atom("_NET_WM_WINDOW_TYPE_DOCK")
        return dock in self._property(window, "_NET_WM_WINDOW_TYPE")

    def is_shown(self, title):
        return title in self.stacking()

    def top(self):
        return (self.stacking() or [""])[-1]

    def active(self):
        """Title of the window that has the focus."""
        number = self._property(self._root, "_NET_ACTIVE_WINDOW")
        if not len(number) or not number[0]:
            return ""
        return self._title(self._display.create_resource_object("window", number[0]))

    def _window(self, title):
        return next((window for window in reversed(self._managed()) if self._title(window) == title), None)

    def geometry(self, title):
        """x, y, width, height of the window's inside on the screen, or None."""
        window = self._window(title)
        if not window:
            return None
        inside = window.get_geometry()
        corner = self._root.translate_coords(window, 0, 0)
        return (corner.x, corner.y, inside.width, inside.height)

    def window_id(self, title):
        window = self._window(title)
        return window.id if window else None

    def tray_runs(self):
        selection = self._display.intern_atom("_NET_SYSTEM_TRAY_S0")
        return self._display.get_selection_owner(selection) != X.NONE

    def tray_icon(self, owner="QorMonitor"):
        """Screen coordinates of the middle of the owner's icon that the tray has embedded, or None."""
        for tray in self._find(self._root, lambda window: self._has_class(window, "trayer")):
            for icon in self._find(tray, lambda window: self._has_class(window, owner)):
                inside = icon.get_geometry()
                if icon.get_attributes().map_state == X.IsViewable and inside.width > 4:
                    corner = self._root.translate_coords(icon, 0, 0)
                    return (corner.x + inside.width // 2, corner.y + inside.height // 2)
        return None

    def _find(self, window, wanted):
        try:
            children = window.query_tree().children
        except error.BadWindow:
            return
        for child in children:
            try:
                if wanted(child):
                    yield child
            except error.BadWindow:
                continue
            yield from self._find(child, wanted)

    @staticmethod
    def _has_class(window, name):
        return name in (window.get_wm_class() or ())

    def cover(self, title="Cover"):
        """Puts a window of the user's other work over everything and gives it the focus."""
        screen = self._display.screen()
        window = self._root.create_window(
            0,
            40,
            screen.width_in_pixels,
            screen.height_in_pixels - 40,
            0,
            screen.root_depth,
            background_pixel=screen.white_pixel,
        )
        window.set_wm_name(title)
        window.set_wm_normal_hints(flags=Xutil.USPosition | Xutil.USSize)
        window.change_property(
            self._display.intern_atom("_NET_WM_USER_TIME"),
            Xatom.CARDINAL,
            32,
            [int(time.monotonic() * 1000) & 0xFFFFFFFF],
        )
        window.map()
        self._display.sync()
        self._covers.append(window)
        wait_until(lambda: self.top() == title, 5, "the covering window is on top")

    def uncover(self):
        for window in self._covers:
            window.destroy()
        self._covers.clear()
        self._display.sync()
