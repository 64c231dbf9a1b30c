#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Tries the setup under Wine, on a virtual display and in a Wine prefix of its own.

Usage: tests/windows/test_setup.py [--build FOLDER] [UNITTEST ARGUMENT...]
  --build FOLDER  what scripts/build-windows has made; build/windows by default

With QORMONITOR_SCREENSHOTS=FOLDER it leaves a picture there of every page that it clicks through.
"""
import argparse
import contextlib
import pathlib
import re
import shutil
import subprocess
import sys
import time
import unittest
from xml.etree import ElementTree

# First, since it leads to the modules of the desktop tests.
from winedesktop import BUILD, COMMAND_SECONDS, ROOT, SETTINGS, START_SECONDS, WineDesktop
from processes import wait_until
from updateserver import UpdateServer

UNINSTALL = r"HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Uninstall\QorMonitor"
RUN = r"HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Run"
RUN_APPROVED = r"HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Explorer\StartupApproved\Run"
MANIFEST_TYPE = "24"
START_MENU = "AppData/Roaming/Microsoft/Windows/Start Menu/Programs"
TRACE = re.compile("qormonitor|varko", re.IGNORECASE)
NEWER_VERSION = "2.5"
MONITOR = "^QorMonitor$"
WIZARD = "^QorMonitor [0-9]"
UNINSTALLER = "Deinstallation"

# As setup.nsi has them.
CANCELLED, FAILED, IN_USE, OTHER_SETUP = 1, 2, 3, 5
GRACE_SECONDS = 15
# Between a key and the next page.
PAGE_SECONDS = 1.5


def files_below(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_file()}


def output(*command, text=True):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, timeout=30, text=text).stdout


class SetupTest(unittest.TestCase):
    """Every test leaves the machine as it found it: tearDown uninstalls, and compares."""

    def setUp(self):
        # After a while of windows that come and go, Wine no longer knows which one has the focus.
        desktop.end_wine()
        self.files_before = desktop.files()
        self.folder = desktop.user / "AppData/Local/Programs/QorMonitor"
        self.program = f"{desktop.program_folder}\\QorMonitor.exe"

    def tearDown(self):
        if (self.folder / "Uninstall.exe").exists():
            self.end_monitor()
            self.assertEqual(self.uninstall("/REMOVESETTINGS"), 0)
        self.assert_left([], [])

    def assert_left(self, files, registry):
        """What files the user has more, or less, than before the test, and what the registry tells."""
        self.assertEqual(sorted(set(desktop.files()) ^ set(self.files_before)), files)
        self.assertEqual(sorted(self.traces()), registry)

    def traces(self):
        """What the registry says of the program; the rest of it changes as Windows likes."""
        return {
            (key, name): value
            for key, values in desktop.registry().items()
            for name, value in {"": "", **values}.items()
            if TRACE.search(f"{key} {name} {value}")
        }

    def state(self):
        return desktop.files(), self.traces()

    def assert_holds(self, folder):
        self.assertEqual(
            files_below(self.folder), files_below(folder) | {"Uninstall.exe", "installed-files.txt"}
        )
        for name in files_below(folder):
            self.assertEqual((self.folder / name).read_bytes(), (folder / name).read_bytes(), name)

    def install(self, setup, *options):
        return self.run_setup(f"Z:{setup}", *options)

    def run_setup(self, program, *options):
        # Through the shell of Wine, since NSIS wants a folder with spaces without quotes.
        return desktop.wine(["cmd", "/c", " ".join([program.replace("/", "\\"), "/S", *options])]).returncode

    def uninstall(self, *options):
        # The uninstaller starts a copy of itself and ends. One that has been copied can be waited for.
        copy = desktop.folder / "uninstall.exe"
        shutil.copy(self.folder / "Uninstall.exe", copy)
        code = self.run_setup(f"Z:{copy}", *options, f"_?={desktop.program_folder}")
        copy.unlink()
        return code

    def start_monitor(self):
        return desktop.open(MONITOR, self.program)[0]

    def end_monitor(self):
        """Ends it from outside, which for the setup is no different from one that ends by itself."""
        ended = desktop.wine([desktop.helper, "end", self.program]).returncode == 0
        wait_until(lambda: not desktop.windows(MONITOR), START_SECONDS, "the monitor's end")
        return ended

    @contextlib.contextmanager
    def held(self, name):
        """Something else than the monitor keeps an installed file open."""
        file = f"{desktop.program_folder}\\{name}"
        shell = desktop.run("wine", "cmd", "/c", f"cmd /k 2>>{file}", stdin=subprocess.PIPE)
        try:
            wait_until(
                lambda: desktop.wine([desktop.helper, "wait", file, "0"]).returncode == IN_USE,
                START_SECONDS,
                f"{name} to be held",
            )
            yield
        finally:
            shell.stdin.close()
            shell.wait(START_SECONDS)

    def add_unit(self):
        desktop.wine(["reg", "add", f"{SETTINGS}\\Device0", "/v", "Host", "/d", "unit.example", "/f"])

    def test_the_program_file_tells_what_it_is(self):
        program = desktop.files_folder / "QorMonitor.exe"
        self.assertIn("(Windows GUI)", output("x86_64-w64-mingw32-objdump", "-p", program))
        icon = desktop.folder / "icon.ico"
        icon.write_bytes(output("wrestool", "-x", "-t", "group_icon", program, text=False))
        sizes = re.findall(r"--width=(\d+) --height=\1 --bit-depth=32", output("icotool", "-l", icon))
        self.assertEqual(sizes, ["16", "20", "24", "32", "40", "48", "64", "128", "256"])
        version = output("wrestool", "-x", "--raw", "-t", "version", program, text=False).decode(
            "utf-16-le", "replace"
        )
        for text in ("Varko Anlagentechnik GmbH", "QorMonitor.exe", "© 2025"):
            self.assertIn(text, version)
        self.assertRegex(version, f"ProductVersion\0+{re.escape(desktop.version)}\0")
        manifest = output("wrestool", "-x", "--raw", "-t", MANIFEST_TYPE, program)
        settings = {
            element.tag.rpartition("}")[2]: element for element in ElementTree.fromstring(manifest).iter()
        }
        self.assertEqual(settings["requestedExecutionLevel"].get("level"), "asInvoker")
        self.assertEqual(settings["dpiAwareness"].text, "PerMonitorV2, PerMonitor")
        self.assertEqual(settings["longPathAware"].text, "true")
        self.assertIn("Microsoft.Windows.Common-Controls", manifest)
        self.assertNotIn("activeCodePage", settings)

    def test_the_log_can_be_had_in_a_file(self):
        self.install(desktop.setup)
        log = desktop.folder / "monitor.log"
        desktop.run("wine", "cmd", "/c", f"{self.program} 2> monitor.log")
        desktop.wait_for_window(MONITOR)
        self.end_monitor()
        self.assertIn("QorMonitor - monitor for QORweb II units, by Varko\n", log.read_text())

    def test_a_silent_install_is_complete(self):
        self.assertEqual(self.install(desktop.setup), 0)

        self.assert_holds(desktop.files_folder)
        registry = desktop.registry()
        self.assertEqual(registry[SETTINGS], {"VersionNo": f'"{desktop.version}"'})
        self.assertEqual(registry[RUN]["QorMonitor"], f'""{self.program}""')
        entry = registry[UNINSTALL]
        size = sum(path.stat().st_size for path in self.folder.rglob("*") if path.is_file())
        self.assertAlmostEqual(
            int(entry.pop("EstimatedSize").removeprefix("dword:"), 16), size / 1024, delta=1000
        )
        uninstaller = f'"{desktop.program_folder}\\Uninstall.exe"'
        self.assertEqual(
            entry,
            {
                "DisplayName": '"QorMonitor"',
                "DisplayVersion": f'"{desktop.version}"',
                "Publisher": '"Varko Anlagentechnik GmbH"',
                "DisplayIcon": f'"{self.program},0"',
                "InstallLocation": f'"{desktop.program_folder}"',
                "UninstallString": f'"{uninstaller}"',
                "QuietUninstallString": f'"{uninstaller} /S"',
                "NoModify": "dword:00000001",
                "NoRepair": "dword:00000001",
            },
        )
        self.assertTrue((desktop.user / START_MENU / "QorMonitor.lnk").exists())

    def test_a_silent_upgrade_ends_the_monitor_after_a_grace_and_starts_the_new_one(self):
        self.install(desktop.setup)
        self.add_unit()
        self.start_monitor()

        begin = time.monotonic()
        self.assertEqual(self.install(desktop.newer_setup), 0)

        self.assertGreater(time.monotonic() - begin, GRACE_SECONDS)
        self.assert_holds(desktop.newer_files)
        registry = desktop.registry()
        self.assertEqual(registry[SETTINGS]["VersionNo"], f'"{NEWER_VERSION}"')
        self.assertEqual(registry[UNINSTALL]["DisplayVersion"], f'"{NEWER_VERSION}"')
        self.assertEqual(registry[f"{SETTINGS}\\Device0"], {"Host": '"unit.example"'})
        desktop.wait_for_window(MONITOR)

    def test_a_monitor_that_ends_in_time_is_waited_for(self):
        self.install(desktop.setup)
        self.start_monitor()
        begin = time.monotonic()
        setup = desktop.run("wine", desktop.newer_setup, "/S")
        time.sleep(4)
        self.assertTrue(self.end_monitor())

        self.assertEqual(setup.wait(COMMAND_SECONDS), 0)
        self.assertLess(time.monotonic() - begin, GRACE_SECONDS)
        self.assert_holds(desktop.newer_files)
        self.assertFalse(self.end_monitor(), "a monitor was started")

    def test_the_autostart_that_was_left_out_stays_so(self):
        self.assertEqual(self.install(desktop.setup, "/NOAUTOSTART"), 0)
        self.assertNotIn("QorMonitor", desktop.registry()[RUN])
        self.install(desktop.newer_setup)
        self.assertNotIn("QorMonitor", desktop.registry()[RUN])

    def test_the_autostart_survives_an_upgrade(self):
        self.install(desktop.setup)
        self.install(desktop.newer_setup)
        self.assertIn("QorMonitor", desktop.registry()[RUN])

    def test_a_file_in_use_stops_an_upgrade(self):
        self.install(desktop.setup)
        before = self.state()
        # The last one in the order of names: all others could have been replaced before.
        with self.held("styles\\qwindowsvistastyle.dll"):
            self.assertEqual(self.install(desktop.newer_setup), IN_USE)
        self.assertEqual(self.state(), before)

    def test_a_file_in_use_stops_a_removal(self):
        self.install(desktop.setup)
        before = self.state()
        with self.held("styles\\qwindowsvistastyle.dll"):
            self.assertEqual(self.uninstall("/REMOVESETTINGS"), IN_USE)
        self.assertEqual(self.state(), before)

    def test_a_monitor_that_was_ended_for_nothing_is_started_again(self):
        self.install(desktop.setup)
        self.start_monitor()
        with self.held("installed-files.txt"):
            self.assertEqual(self.install(desktop.newer_setup), IN_USE)
        self.assertTrue(self.end_monitor())
        self.assert_holds(desktop.files_folder)

    def test_an_upgrade_that_fails_half_way_is_undone(self):
        self.install(desktop.setup)
        # Where the newer version has a folder; others of its files are in place by then.
        (self.folder / "neu").write_text("mine")
        before = self.state()
        self.assertEqual(self.install(desktop.newer_setup), FAILED)
        self.assertEqual(self.state(), before)
        (self.folder / "neu").unlink()

    def test_a_change_that_was_interrupted_is_undone(self):
        self.install(desktop.setup)
        before = self.state()
        # As if the machine had gone down: some old files are away, and some new ones are there.
        for name in ("QorMonitor.exe", "platforms/qwindows.dll"):
            aside = self.folder / ".setup/old" / name
            aside.parent.mkdir(parents=True, exist_ok=True)
            (self.folder / name).rename(aside)
        (self.folder / "QorMonitor.exe").write_bytes(b"half")

        with self.held("libzmq.dll"):
            self.assertEqual(self.install(desktop.newer_setup), IN_USE)
        self.assertEqual(self.state(), before)

    def test_what_an_upgrade_could_not_delete_is_no_unfinished_change(self):
        self.install(desktop.setup)
        waste = self.folder / ".setup/old/gone.dll"
        waste.parent.mkdir(parents=True)
        waste.write_bytes(b"old")
        (self.folder / ".setup/done").touch()

        self.assertEqual(self.install(desktop.newer_setup), 0)
        self.assert_holds(desktop.newer_files)

    def test_a_second_setup_leaves_the_first_alone(self):
        first, _ = desktop.open(WIZARD, desktop.setup)
        self.assertEqual(self.install(desktop.newer_setup), OTHER_SETUP)
        desktop.press(desktop.wait_for_window(WIZARD), "Escape")
        self.assertEqual(first.wait(START_SECONDS), CANCELLED)

    def test_what_the_user_put_into_the_folder_stays(self):
        self.install(desktop.setup)
        (self.folder / "notes.txt").write_text("mine")
        self.install(desktop.newer_setup)
        self.assertEqual(self.uninstall(), 0)
        self.assertEqual(files_below(self.folder), {"notes.txt"})
        shutil.rmtree(self.folder)

    def test_a_folder_of_any_name_will_do(self):
        desktop.program_folder, standard = "C:\\Grüße aus\\Köln (2)", desktop.program_folder
        self.addCleanup(setattr, desktop, "program_folder", standard)
        self.folder = desktop.prefix / "drive_c/Grüße aus/Köln (2)"
        self.program = f"{desktop.program_folder}\\QorMonitor.exe"
        # For NSIS it is the last option, and goes without quotes.
        self.assertEqual(self.install(desktop.setup, f"/D={desktop.program_folder}"), 0)
        self.assert_holds(desktop.files_folder)
        self.start_monitor()
        self.assertEqual(self.install(desktop.newer_setup), 0)
        self.assert_holds(desktop.newer_files)
        self.assertTrue(self.end_monitor())
        self.assertEqual(self.uninstall("/REMOVESETTINGS"), 0)
        self.assertFalse(self.folder.exists())

    def test_a_silent_uninstall_keeps_the_settings(self):
        self.install(desktop.setup)
        self.add_unit()
        # The task manager's note that the user has switched the autostart off.
        desktop.wine(["reg", "add", RUN_APPROVED, "/v", "QorMonitor", "/t", "REG_BINARY", "/d", "03", "/f"])
        program = f"{desktop.program_folder}\\Uninstall.exe"
        self.assertEqual(desktop.wine([program, "/S"]).returncode, 0)
        wait_until(lambda: UNINSTALL not in desktop.registry(), COMMAND_SECONDS, "the end of the removal")
        self.assertFalse(self.folder.exists())
        self.assertEqual(desktop.registry()[RUN_APPROVED], {})
        desktop.wine(["reg", "delete", RUN_APPROVED, "/f"])
        # The copy of itself that the uninstaller works from.
        wait_until(lambda: not list((desktop.user / "Temp").glob("~nsu*")), START_SECONDS, "the copy to go")
        unit = f"{SETTINGS}\\Device0"
        self.assert_left([], [(SETTINGS.rpartition("\\")[0], ""), (SETTINGS, ""), (unit, ""), (unit, "Host")])
        desktop.wine(["reg", "delete", r"HKCU\Software\Varko", "/f"])

    def test_the_pages_lead_from_a_running_monitor_to_the_new_one(self):
        self.install(desktop.setup)
        self.start_monitor()
        setup, wizard = desktop.open(WIZARD, desktop.newer_setup)
        desktop.screenshot("1-welcome")
        desktop.press(wizard, "Return")
        time.sleep(PAGE_SECONDS)
        desktop.screenshot("2-components")
        desktop.press(wizard, "Return")
        question = self.wait_for_question()
        desktop.screenshot("3-question")
        desktop.press(question, "Return")
        self.wait_for_version(NEWER_VERSION)
        desktop.screenshot("4-finish")
        desktop.press(wizard, "Return")

        self.assertEqual(setup.wait(START_SECONDS), 0)
        desktop.wait_for_window(MONITOR)
        self.assert_holds(desktop.newer_files)

    def serve_newer_version(self):
        """The update server of the shipped program, with the newer version."""
        server = UpdateServer(desktop)
        self.addCleanup(server.close)
        desktop.use_proxy(server.address)
        self.addCleanup(desktop.use_proxy, "")
        description = desktop.folder / "QorMonitorUpdate.info"
        desktop.complete(
            [ROOT / "scripts/write-update-info", "--version", NEWER_VERSION, desktop.newer_setup]
        )
        server.publish(description.name, description.read_bytes())
        server.publish(desktop.newer_setup.name, desktop.newer_setup.read_bytes())

    def test_an_update_leads_from_the_offer_to_the_new_version(self):
        self.install(desktop.setup)
        self.add_unit()
        self.serve_newer_version()
        # The user has moved the folder.
        downloads = desktop.prefix / "drive_c/moved"
        downloads.mkdir()
        desktop.move_downloads("C:/moved")
        self.addCleanup(desktop.move_downloads, None)
        downloaded = downloads / desktop.newer_setup.name

        monitor, window = desktop.open(MONITOR, self.program)
        others = wait_until(
            lambda: [found for found in desktop.windows(MONITOR) if found != window],
            START_SECONDS,
            "the offer",
        )
        # The window manager may leave it without the focus, since the last keys went elsewhere.
        desktop.xdotool("windowactivate", others[0])
        desktop.wait_active("QorMonitor")
        desktop.screenshot("9-offer")
        desktop.keys("alt+j")
        desktop.wait_active("Anwendung aktualisieren")
        desktop.screenshot("10-downloaded")
        self.assertEqual(downloaded.read_bytes(), desktop.newer_setup.read_bytes())
        desktop.keys("Return")
        self.assertEqual(monitor.wait(START_SECONDS), 0)
        wizard = desktop.wait_for_window(WIZARD)
        for _ in ("welcome", "components"):
            desktop.press(wizard, "Return")
            time.sleep(PAGE_SECONDS)
        self.wait_for_version(NEWER_VERSION)
        desktop.press(wizard, "Return")

        desktop.wait_for_window(MONITOR)
        self.assert_holds(desktop.newer_files)
        self.assertEqual(desktop.registry()[f"{SETTINGS}\\Device0"], {"Host": '"unit.example"'})
        wait_until(lambda: not desktop.windows(WIZARD), START_SECONDS, "the setup's end")
        self.assertEqual(len(desktop.running("QorMonitor.exe")), 1)

    def wait_for_version(self, version):
        """Until the last page of a setup, which has installed this version."""
        wait_until(
            lambda: desktop.registry()[SETTINGS]["VersionNo"] == f'"{version}"', START_SECONDS, "the end"
        )
        time.sleep(PAGE_SECONDS)

    def test_a_cancelled_wait_changes_nothing(self):
        self.install(desktop.setup)
        before = self.state()
        self.start_monitor()
        setup, wizard = desktop.open(WIZARD, desktop.newer_setup)
        desktop.press(wizard, "Return")
        time.sleep(PAGE_SECONDS)
        desktop.press(wizard, "Return")
        desktop.press(self.wait_for_question(), "Escape")
        wait_until(lambda: len(desktop.windows(WIZARD)) == 1, START_SECONDS, "the question to go")
        wait_until(lambda: not (self.folder / ".setup").exists(), START_SECONDS, "the setup to tidy up")
        time.sleep(PAGE_SECONDS)
        desktop.screenshot("5-cancelled")
        desktop.press(wizard, "Escape")

        self.assertEqual(setup.wait(START_SECONDS), CANCELLED)
        self.assertTrue(self.end_monitor(), "the monitor was ended")
        self.assertEqual(self.state(), before)

    def remove_by_hand(self, answer):
        # With the folder given, the uninstaller is one that can be waited for.
        copy = desktop.folder / "uninstall.exe"
        shutil.copy(self.folder / "Uninstall.exe", copy)
        uninstaller, wizard = desktop.open(UNINSTALLER, copy, f"_?={desktop.program_folder}")
        desktop.screenshot("6-uninstall")
        desktop.press(wizard, "Return")
        question = self.wait_for_question(UNINSTALLER)
        desktop.screenshot("7-settings")
        for key in answer:
            desktop.press(question, key)
        wait_until(lambda: not self.folder.exists(), START_SECONDS, "the end of the removal")
        time.sleep(PAGE_SECONDS)
        desktop.screenshot("8-removed")
        desktop.press(wizard, "Return")
        self.assertEqual(uninstaller.wait(START_SECONDS), 0)
        copy.unlink()

    def test_the_uninstaller_keeps_the_settings_unless_told_otherwise(self):
        self.install(desktop.setup)
        self.add_unit()
        self.remove_by_hand(["Return"])
        self.assertEqual(desktop.registry()[f"{SETTINGS}\\Device0"], {"Host": '"unit.example"'})
        desktop.wine(["reg", "delete", r"HKCU\Software\Varko", "/f"])

    def test_the_uninstaller_removes_the_settings_on_request(self):
        self.install(desktop.setup)
        self.add_unit()
        self.remove_by_hand(["Left", "Return"])

    def wait_for_question(self, title=WIZARD):
        """The box that comes up over the window of this title, which it shares."""
        wait_until(lambda: len(desktop.windows(title)) == 2, START_SECONDS, "the question")
        time.sleep(PAGE_SECONDS)
        return desktop.windows(title)[-1]


def make_newer_setup():
    """A setup of a later version, which has lost a file and won one."""
    files = desktop.folder / "newer"
    shutil.copytree(desktop.files_folder, files)
    (files / "imageformats/qico.dll").unlink()
    (files / "imageformats").rmdir()
    (files / "neu").mkdir()
    (files / "neu/Liesmich.txt").write_text("Neu in dieser Version.\n", encoding="utf-8")
    setup = desktop.folder / "newer-setup.exe"
    subprocess.run(
        [
            ROOT / "packaging/windows/make-installer",
            files,
            desktop.build / "setuphelper.exe",
            NEWER_VERSION,
            setup,
            "-DQUICK",
        ],
        check=True,
        timeout=COMMAND_SECONDS,
    )
    return setup, files


def main():
    global desktop
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("--build", type=pathlib.Path, default=BUILD)
    arguments, unittest_arguments = parser.parse_known_args()
    desktop = WineDesktop()
    try:
        desktop.build = arguments.build.resolve()
        desktop.helper = desktop.build / "setuphelper.exe"
        desktop.files_folder = desktop.build / "files"
        desktop.setup = next((desktop.build / "dist").glob("*-setup.exe"))
        desktop.version = re.search("QorMonitor-([0-9.]+)-", desktop.setup.name)[1]
        desktop.newer_setup, desktop.newer_files = make_newer_setup()
        desktop.program_folder = rf"C:\users\{desktop.user.name}\AppData\Local\Programs\QorMonitor"
        tests = unittest.main(argv=[sys.argv[0], *unittest_arguments], exit=False)
    finally:
        desktop.close()
    return 0 if tests.result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
