#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the schema of a unit's texts against the examples, as tst_unitexamples does with the program."""

import json
import pathlib
import unittest

import jsonschema

DOCS = pathlib.Path(__file__).resolve().parents[2] / "docs"
EXAMPLES = DOCS / "unit-protocol/examples"
SCHEMA = json.loads((DOCS / "unit-protocol.schema.json").read_text(encoding="utf-8"))


def refuse_constant(name):
    raise ValueError(f"{name} is no JSON")


def complaint(text):
    """What is wrong with the text; none for a good one."""
    # No schema can say these two.
    if len(text) > 4999:
        return f"{len(text)} bytes"
    try:
        value = json.loads(text.decode("utf-8"), parse_constant=refuse_constant)
    except ValueError as error:
        return str(error)
    error = jsonschema.exceptions.best_match(jsonschema.Draft202012Validator(SCHEMA).iter_errors(value))
    return error and error.message


class UnitSchema(unittest.TestCase):
    def test_is_a_schema(self):
        jsonschema.Draft202012Validator.check_schema(SCHEMA)

    def test_agrees_with_the_examples(self):
        for folder in ("accepted", "tolerated", "refused"):
            files = sorted((EXAMPLES / folder).iterdir())
            self.assertTrue(files)
            for file in files:
                with self.subTest(example=f"{folder}/{file.name}"):
                    error = complaint(file.read_bytes())
                    self.assertEqual(error is None, folder == "accepted", error)

    def test_the_page_quotes_the_examples(self):
        page = (DOCS / "unit-protocol.md").read_text(encoding="utf-8")
        for name in ("status-report", "version-info"):
            lines = (EXAMPLES / f"accepted/{name}.json").read_text(encoding="utf-8").splitlines(True)
            self.assertIn("\n\n" + "".join("    " + line for line in lines) + "\n", page)


unittest.main(verbosity=2)
