#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Holds the manual to the program: quoted texts, log lines, pictures and links.

In the manual, German quotation marks hold nothing but what is on the screen."""

import pathlib
import re
import unittest
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
MANUAL = ROOT / "docs/handbuch/handbuch.md"
# What Qt's own catalogue and Windows show.
FOREIGN_TEXTS = ["Ja", "Nein", "OK", "Weitere Informationen", "Trotzdem ausführen"]

STRING = r'"(?:[^"\\\n]|\\.)*"'
CODE = re.compile(rf"//[^\n]*|/\*.*?\*/|'(?:[^'\\]|\\.)+'|({STRING}(?:\s*{STRING})*)", re.DOTALL)
LOG_CALL = re.compile(rf"\bq(?:Debug|Info|Warning|Critical)\(\)(?:\.noquote\(\))?\s*<<\s*({STRING})")
SETUP_STRING = re.compile(r'"((?:[^"$\n]|\$\\.|\$)*)"')
# A text with fewer letters than this beside its "%1" would fit nearly everything.
LEAST_LETTERS = 10


def unescaped(strings):
    """The value of C++ string literals that stand side by side."""
    joined = "".join(string[1:-1] for string in re.findall(STRING, strings))
    return joined.replace(r"\n", "\n").replace(r"\"", '"').replace(r"\\", "\\")


def one_line(text):
    return " ".join(text.replace("&", "").split())


class Program:
    def __init__(self):
        code = [
            path.read_text("utf-8")
            for path in sorted((ROOT / "src").rglob("*"))
            if path.suffix in (".cpp", ".h")
        ]
        self.code = "\n".join(code)
        self.literals = [unescaped(match[1]) for match in CODE.finditer(self.code) if match[1]]
        self.log_starts = [unescaped(match[1]).strip() for match in LOG_CALL.finditer(self.code)]
        self.texts = [*self.literals, *self._forms(), *self._setup(), *FOREIGN_TEXTS]

    @staticmethod
    def _forms():
        for form in (ROOT / "src").rglob("*.ui"):
            for string in xml.etree.ElementTree.parse(form).iter("string"):
                yield string.text or ""

    @staticmethod
    def _setup():
        setup = (ROOT / "packaging/windows/setup.nsi").read_text("utf-8")
        for match in SETUP_STRING.finditer(setup):
            yield match[1].replace(r"$\r$\n", "\n").replace(r"$\"", '"')

    def shows(self, quoted):
        # A quotation may also be one line of a longer text.
        parts = {one_line(part) for text in self.texts for part in (text, *text.split("\n"))}
        return quoted in parts or any(self._fits(quoted, part) for part in parts)

    @staticmethod
    def _fits(quoted, text):
        fixed = re.split(r"%\d", text)
        return sum(map(len, fixed)) >= LEAST_LETTERS and re.fullmatch(
            ".+".join(map(re.escape, fixed)), quoted
        )

    def logs(self, line):
        if line in map(str.strip, self.literals):
            return True
        rests = [line.removeprefix(start + " ") for start in self.log_starts if line.startswith(start + " ")]
        return any(rest in self.literals or self._is_enumerator(rest) for rest in rests)

    def _is_enumerator(self, name):
        return re.search(rf"\b{re.escape(name.split('::')[-1])} = \d", self.code)


class ManualTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.text = MANUAL.read_text("utf-8")
        cls.program = Program()
        table = cls.text.split("{#protokollzeilen}")[1].split("\n# ")[0]
        # The code of the first cell of each row.
        cells = re.findall(r"^\| (`.*?) \|", table, re.MULTILINE)
        cls.log_rows = [[part.strip() for part in re.findall(r"`([^`]+)`", cell)] for cell in cells]

    def test_quoted_texts_are_the_programs(self):
        self.assertEqual(self.text.count("„"), self.text.count("“"), "quotation marks come in pairs")
        quoted = {one_line(text) for text in re.findall("„([^„“]*)“", self.text)}
        self.assertGreater(len(quoted), 50)
        self.assertEqual(sorted(text for text in quoted if not self.program.shows(text)), [])

    def test_log_lines_are_the_programs(self):
        self.assertGreater(len(self.log_rows), 30)
        parts = [part for row in self.log_rows for part in row]
        self.assertEqual([part for part in parts if not self.program.logs(part)], [])

    def test_every_log_line_is_explained(self):
        explained = [row[0] for row in self.log_rows]
        self.assertGreater(len(self.program.log_starts), 25)
        self.assertEqual(
            [
                start
                for start in self.program.log_starts
                if not any(line.startswith(start) for line in explained)
            ],
            [],
        )

    def test_pictures_are_there_and_used(self):
        named = set(re.findall(r"!\[[^\]]*\]\(([^)]+)\)", self.text))
        folder = MANUAL.parent
        there = {str(path.relative_to(folder)) for path in folder.glob("bilder/*")}
        self.assertEqual(sorted(named ^ there), [])

    def test_links_lead_somewhere(self):
        places = set(re.findall(r"\{#([\w-]+)\}", self.text))
        self.assertEqual(sorted(set(re.findall(r"\]\(#([\w-]+)\)", self.text)) - places), [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
