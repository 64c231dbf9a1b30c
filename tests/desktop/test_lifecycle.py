# SPDX-License-Identifier: MIT
"""How a run ends and what the next one finds."""

import desktoptest
from monitor import MAIN_TITLE
from processes import wait_until

EXIT_SECOND_INSTANCE = 254


class LifecycleTest(desktoptest.DesktopTest):
    def setUp(self):
        super().setUp()
        self.monitor = self.make_monitor()
        self.monitor.write_settings()
        self.monitor.start()

    def geometry(self):
        return wait_until(lambda: self.desktop.geometry(MAIN_TITLE), 5, "the window has a place")

    def resize(self):
        self.session.xdotool("windowsize", self.desktop.window_id(MAIN_TITLE), 900, 620)
        wait_until(lambda: self.geometry()[2:] == (900, 620), 5, "the window has its new size")

    def restart(self):
        self.monitor.log.close()
        self.monitor.start()

    def test_exit_saves_the_geometry_for_the_next_start(self):
        self.resize()
        self.session.xdotool("windowmove", self.desktop.window_id(MAIN_TITLE), 150, 120)
        wait_until(lambda: abs(self.geometry()[0] - 150) < 20, 5, "the window has moved")
        moved = self.geometry()
        self.monitor.click_menu("Einstellungen", "Beenden")
        self.assertEqual(self.monitor.wait_exit(), 0)
        self.assertIn("geometry", self.monitor.read_settings()["General"])
        self.restart()
        wait_until(lambda: self.geometry() == moved, 5, f"the geometry is {moved} again")

    def test_killed_run_leaves_the_next_one_guarded(self):
        self.monitor.kill()
        self.restart()
        second = self.make_second()
        self.assertEqual(second.wait_exit(5), EXIT_SECOND_INSTANCE)
        second.log.close()
        self.assertTrue(self.monitor.is_running())

    def test_killed_run_keeps_the_geometry_stored_before(self):
        self.resize()
        self.monitor.kill()
        self.restart()
        self.assertEqual(self.geometry()[2:], (1020, 509))

    def test_no_opengl_driver_is_loaded(self):
        with open(f"/proc/{self.monitor.pid}/maps", encoding="utf-8") as maps:
            self.assertNotIn("xcbglintegrations", maps.read())

    def make_second(self):
        from monitor import Monitor

        return Monitor(self.session, desktoptest.program()).start(wait_window=False)


if __name__ == "__main__":
    desktoptest.main()
