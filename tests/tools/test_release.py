#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Which trees scripts/release refuses, tried with small repositories of its own."""
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
METAINFO = "packaging/debian/example.varko.qormonitor.metainfo.xml"
FILES = {
    "CMakeLists.txt": 'set(QORMONITOR_VERSION "1.05")\nset(QORMONITOR_BUILD_DATE "07. Mar 2026")\n',
    "CHANGELOG.md": "# Changelog\n\n## [1.05] - 2026-03-07\n\n- New.\n\n## [1.045] - 2025-03-02\n\n- Old.\n",
    METAINFO: '<releases>\n  <release version="1.05" date="2026-03-07"/>\n'
    '  <release version="1.045" date="2025-03-02"/>\n</releases>\n',
}


class Refusals(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = pathlib.Path(folder.name)
        for name, text in FILES.items():
            self.write(name, text)
        self.write(".gitignore", "build/\n")
        (self.tree / "scripts").mkdir()
        shutil.copy(ROOT / "scripts/release", self.tree / "scripts")
        self.git("init", "--quiet")
        self.commit()

    def write(self, name, text):
        (self.tree / name).parent.mkdir(parents=True, exist_ok=True)
        (self.tree / name).write_text(text)

    def change(self, name, old, new):
        self.assertIn(old, FILES[name])
        self.write(name, FILES[name].replace(old, new))

    def git(self, *arguments):
        who = ("-c", "user.name=Test", "-c", "user.email=test@varko.example")
        subprocess.run(["git", *who, *arguments], cwd=self.tree, env=self.environment(), check=True)

    # Nothing of the user's own configuration, nor of a repository whose hook runs the tests.
    def environment(self):
        own = {name: value for name, value in os.environ.items() if not name.startswith(("GIT_", "XDG_"))}
        return {**own, "HOME": str(self.tree), "GIT_CONFIG_NOSYSTEM": "1"}

    def commit(self):
        self.git("add", "--all")
        self.git("commit", "--quiet", "--message", "All of it")

    def release(self):
        command = [self.tree / "scripts/release", "--check"]
        return subprocess.run(command, env=self.environment(), capture_output=True, text=True, timeout=60)

    def assert_refused(self, *words):
        result = self.release()
        self.assertEqual(result.returncode, 2, result)
        for word in words:
            self.assertIn(word, result.stderr)
        self.assertFalse((self.tree / "build").exists())

    def test_a_tidy_tree_is_taken(self):
        result = self.release()
        self.assertEqual(result.returncode, 0, result)
        self.assertIn("Version 1.05 of 2026-03-07", result.stdout)

    def test_what_git_ignores_is_no_untidiness(self):
        self.write("build/log", "")
        self.assertEqual(self.release().returncode, 0)

    def test_a_changed_file(self):
        self.write("CHANGELOG.md", FILES["CHANGELOG.md"] + "- Later.\n")
        self.assert_refused("untidy", "CHANGELOG.md")

    def test_a_file_that_is_only_staged(self):
        self.write("CHANGELOG.md", FILES["CHANGELOG.md"] + "- Later.\n")
        self.git("add", "CHANGELOG.md")
        self.assert_refused("untidy", "CHANGELOG.md")

    def test_a_file_that_git_does_not_know(self):
        self.write("note.txt", "")
        self.assert_refused("untidy", "note.txt")

    def test_versions_that_disagree(self):
        for name, old in {
            "CMakeLists.txt": '"1.05"',
            "CHANGELOG.md": "[1.05]",
            METAINFO: '"1.05"',
        }.items():
            with self.subTest(name):
                self.change(name, old, old.replace("5", "6"))
                self.commit()
                self.assert_refused(
                    "CHANGELOG.md" if name == "CMakeLists.txt" else name,
                    "1.06",
                )
                self.write(name, FILES[name])

    def test_dates_that_disagree(self):
        for name, old, new in (
            ("CMakeLists.txt", "07. Mar", "08. Mar"),
            ("CHANGELOG.md", "2026-03-07", "2026-03-08"),
            (METAINFO, "2026-03-07", "2026-03-08"),
        ):
            with self.subTest(name):
                self.change(name, old, new)
                self.commit()
                self.assert_refused("2026-03-08")
                self.write(name, FILES[name])

    def test_changes_that_no_version_names(self):
        self.change("CHANGELOG.md", "## [1.05]", "## [Unreleased]\n\n- Later.\n\n## [1.05]")
        self.commit()
        self.assert_refused("[Unreleased]")

    def test_a_date_that_is_none(self):
        self.change("CMakeLists.txt", "07. Mar", "07. Foo")
        self.commit()
        self.assert_refused("QORMONITOR_BUILD_DATE", "07. Foo")


if __name__ == "__main__":
    unittest.main()
