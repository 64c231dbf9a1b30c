# SPDX-License-Identifier: MIT
"""The real program in a session: its settings, log, windows and end."""

import configparser
import os
import shutil
import signal
import subprocess

import widgets
from processes import LogReader, wait_until

MAIN_TITLE = "QorMonitor"
MANAGER_TITLE = "QorMonitor - Geräteverwaltung"


def device_settings(units):
    """One group for each unit, as the device manager writes them."""
    return {
        f"Device{index}": {
            "Host": "127.0.0.1",
            "ZmqPort": unit.port,
            "WebPort": 80,
            "WebScheme": "http",
            "Monitored": "true",
        }
        for index, unit in enumerate(units)
    }


class Monitor:
    def __init__(self, session, program):
        self.session = session
        self._program = program
        self._process = None
        self.log = None

    @property
    def settings_file(self):
        return os.path.join(self.session.env["XDG_CONFIG_HOME"], "Varko", "QorMonitor.conf")

    def write_settings(self, general=None, groups=None):
        os.makedirs(os.path.dirname(self.settings_file), exist_ok=True)
        store = configparser.RawConfigParser()
        store.optionxform = str
        store["General"] = {"AutoCheckUpdates": "false", **(general or {})}
        store.read_dict(groups or {})
        with open(self.settings_file, "w", encoding="utf-8") as file:
            store.write(file, space_around_delimiters=False)

    def read_settings(self):
        store = configparser.RawConfigParser()
        store.optionxform = str
        store.read(self.settings_file, encoding="utf-8")
        return {group: dict(store[group]) for group in store.sections()}

    def devices(self):
        """The settings groups of the units in their order."""
        stored = self.read_settings()
        return [stored[group] for group in sorted(stored) if group.startswith("Device")]

    def start(self, wait_window=True, **env):
        self._process = self.session.processes.start(
            [self._program],
            {**self.session.env, **env},
            stderr=subprocess.PIPE,
            text=True,
            encoding="utf-8",
            errors="replace",
        )
        self.log = LogReader(self._process.stderr)
        if wait_window:
            self.window(MAIN_TITLE, seconds=15)
            # Keys typed earlier would go nowhere.
            wait_until(lambda: self.session.desktop.active() == MAIN_TITLE, 5, "the window has the focus")
        return self

    @property
    def pid(self):
        return self._process.pid

    def is_running(self):
        return self._process.poll() is None

    def wait_exit(self, seconds=10):
        wait_until(lambda: not self.is_running(), seconds, "the program has ended")
        return self._process.returncode

    def kill(self):
        return self.session.processes.end(self._process, signal.SIGKILL)

    def close(self):
        if self._process:
            self.session.processes.end(self._process)
            self.log.close()
            self._process = None
        shutil.rmtree(os.path.dirname(self.settings_file), ignore_errors=True)

    def application(self):
        return wait_until(lambda: widgets.application(self.pid), 10, "the program is accessible")

    def find_window(self, title):
        for window in widgets.children(self.application()):
            if widgets.name(window) == title and widgets.has_state(window, "showing"):
                return window
        return None

    def window(self, title, seconds=5):
        return wait_until(lambda: self.find_window(title), seconds, f"window {title!r}")

    def click(self, widget, button=1):
        return self.session.click(*widgets.middle(widget), button)

    def click_menu(self, menu, entry):
        """A real click on an entry of the menu bar."""
        bar_entry = widgets.find(self.window(MAIN_TITLE), "menu item", menu)
        self.click(bar_entry)
        item = widgets.find(bar_entry, "menu item", entry)
        wait_until(lambda: widgets.has_state(item, "showing"), 5, f"entry {entry!r} is open")
        return self.click(item)

    def click_tool(self, text):
        return self.click(widgets.find(self.window(MAIN_TITLE), "push button", text))

    def messages(self):
        """The rows of the message list: time, unit, text."""
        return widgets.rows(self.message_list())

    def message_list(self):
        return widgets.find(self.window(MAIN_TITLE), "tree")

    def wait_message(self, text, seconds=10):
        return wait_until(
            lambda: [row for row in self.messages() if row[2] == text], seconds, f"message {text!r}"
        )

    def wait_connected(self, count=1):
        wait_until(lambda: self.log.count("QorInterface::Connected") >= count, 10, "all units are connected")

    def open_manager(self):
        self.click_tool("Geräteverwaltung")
        return self.window(MANAGER_TITLE)
