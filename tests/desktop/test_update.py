# SPDX-License-Identifier: MIT
"""An update from the offer to the running installer."""

import os
import pathlib
import time

import desktoptest
import widgets
from processes import wait_until
from updateserver import UpdateServer

QUESTION = "Eine neue Version 1.05 von QorMonitor ist verfügbar.\nMöchten Sie diese Version herunterladen?"
INSTALLER = "QorMonitor-1.05.sh"
DESCRIPTION = f'VersionNo="1.05"\nVersionDate="01. Apr 2025"\nmingw32_x64FileName="{INSTALLER}"\n'
# Leaves a mark, outlives the monitor, leaves another mark. Filled up, so that it is transferred in parts.
SCRIPT = """\
#!/bin/sh
echo $$ >"{directory}/begun"
tries=0
while [ ! -e "{directory}/monitor-ended" ] && [ $tries -lt 200 ]; do sleep 0.05; tries=$((tries + 1)); done
cat "{directory}/monitor-ended" >"{directory}/finished"
exit 0
"""
PADDING = b"# \xc3\xa4\x00\xff\n" * 60000


class UpdateTest(desktoptest.DesktopTest):
    def setUp(self):
        super().setUp()
        self.server = UpdateServer(self.session)
        self.addCleanup(self.server.close)
        self.installer = SCRIPT.format(directory=self.session.directory).encode() + PADDING
        self.server.publish("QorMonitorUpdate.info", DESCRIPTION.encode())
        self.server.publish(INSTALLER, self.installer)
        self.target = self.session.path(f"home/Downloads/{INSTALLER}")
        self.addCleanup(pathlib.Path(self.target).unlink, missing_ok=True)

    def start(self, general):
        self.monitor = self.make_monitor()
        self.monitor.write_settings({"VersionNo": "1.045", **general})
        self.monitor.start(**self.server.environment)

    def wait_text(self, text, seconds=10):
        return widgets.find(self.monitor.application(), "label", text, seconds)

    def texts(self):
        return [widgets.name(label) for label in widgets.find_all(self.monitor.application(), "label")]

    def answer(self, button):
        """Clicks the button of the box that is open."""
        boxes = [
            window
            for window in widgets.children(self.monitor.application())
            if widgets.role(window) in ("dialog", "alert") and widgets.has_state(window, "active")
        ]
        self.assertTrue(boxes, "no box is open")
        self.monitor.click(widgets.find(boxes[0], "push button", button))

    def test_offered_update_is_loaded_and_installed(self):
        self.server.flow.clear()
        self.start({"AutoCheckUpdates": "true"})
        self.server.wait_request("QorMonitorUpdate.info")
        self.wait_text(QUESTION)
        self.answer("Ja")
        self.server.wait_request(INSTALLER)
        progress = self.monitor.window("Download Monitor")
        shown = [widgets.text(field) for field in widgets.find_all(progress, "text")]
        self.assertEqual(sorted(shown), sorted([INSTALLER, os.path.dirname(self.target)]))
        self.wait_progress(progress)
        self.server.flow.set()
        self.wait_text("Download erfolgreich abgeschlossen!")
        with open(self.target, "rb") as file:
            self.assertEqual(file.read(), self.installer)
        self.assertFalse(self.monitor.find_window("Download Monitor"))
        self.answer("OK")
        self.assertEqual(self.monitor.wait_exit(), 0)
        self.check_installer_outlives_the_monitor()

    def wait_progress(self, window):
        bar = widgets.find(window, "progress bar")

        def received():
            value, end = widgets.progress(bar)
            return value if end == len(self.installer) and 0 < value < end else 0

        first = wait_until(received, 5, "the progress is shown")
        wait_until(lambda: received() > first, 5, "the progress goes on")

    def check_installer_outlives_the_monitor(self):
        wait_until(lambda: os.path.exists(self.session.path("begun")), 5, "the installer has begun")
        self.assertFalse(os.path.exists(self.session.path("finished")))
        mark = str(time.time())
        with open(self.session.path("mark"), "w", encoding="ascii") as file:
            file.write(mark)
        os.rename(self.session.path("mark"), self.session.path("monitor-ended"))

        def finished():
            try:
                with open(self.session.path("finished"), encoding="ascii") as file:
                    return file.read() == mark
            except FileNotFoundError:
                return False

        wait_until(finished, 5, "the installer went on after the monitor's end")

    def test_declined_update_loads_nothing(self):
        self.start({"AutoCheckUpdates": "true"})
        self.wait_text(QUESTION)
        self.answer("Nein")
        wait_until(lambda: QUESTION not in self.texts(), 5, "the question is closed")
        self.assertEqual(self.server.requests, ["/QorMonitorUpdate/QorMonitorUpdate.info"])
        self.assertFalse(os.path.exists(self.target))
        self.assertTrue(self.monitor.is_running())

    def test_check_on_request_reports_that_nothing_is_new(self):
        self.start({"VersionNo": "1.05"})
        self.monitor.click_menu("Hilfe", "QorMonitor aktualisieren ...")
        dialog = self.monitor.window("Anwendung aktualisieren")
        self.assertEqual(self.server.requests, [], "checked although it is switched off")
        self.monitor.click(widgets.find(dialog, "push button", "Prüfe jetzt auf Updates"))
        self.wait_text("Keine neue Version von QorMonitor verfügbar!")
        self.answer("OK")

    def test_cancelled_download_is_reported(self):
        self.server.flow.clear()
        self.start({"AutoCheckUpdates": "true"})
        self.wait_text(QUESTION)
        self.answer("Ja")
        progress = self.monitor.window("Download Monitor")
        self.monitor.click(widgets.find(progress, "push button", "Abbrechen"))
        self.wait_text(f"Fehler beim Download der Update Datei\n{INSTALLER}!")
        self.assertFalse(self.monitor.find_window("Download Monitor"))
        self.answer("OK")
        self.assertFalse(os.path.exists(self.target))
        self.assertTrue(self.monitor.is_running())


if __name__ == "__main__":
    desktoptest.main()
