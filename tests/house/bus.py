#!/usr/bin/env python3
"""docs/bus.md tells the interface that its introspection data describe, and the keys that gatehallctl has in
JSON.

usage: bus.py SOURCE-DIRECTORY
"""

import pathlib
import re
import sys
import unittest

from introspection import described

SOURCE = pathlib.Path(sys.argv[1]).resolve()
PAGE = (SOURCE / "docs" / "bus.md").read_text(encoding="utf-8")
JSON_PAGE = (SOURCE / "docs" / "json.md").read_text(encoding="utf-8")
DATA = (SOURCE / "packaging" / "dbus" / "com.orvane.Gatehall1.xml").read_text(encoding="utf-8")


def sections(page):
    """{heading: text}"""
    parts = re.split(r"^##+ (.*)\n", page, flags=re.MULTILINE)
    return dict(zip(parts[1::2], parts[2::2], strict=True))


def rows(text):
    """The cells of each row of a section's table."""
    return [[cell.strip() for cell in line.strip("|").split("|")]
            for line in text.splitlines() if line.startswith("| `")]


def keys(text):
    """{key: type} of a section's table."""
    return {cells[0].strip("`"): cells[1] for cells in rows(text)}


def arguments(text):
    return [(name, kind) for kind, name in re.findall(r"([\w({})]+) (\w+)", text)]


def told():
    """What the page says: {method: (in, out)}, {signal: arguments}, {property: (type, says it)}."""
    methods, signals = {}, {}
    for heading in sections(PAGE):
        method = re.fullmatch(r"(\w+)\((.*?)\)(?: → \((.*)\))?", heading)
        if not method:
            continue
        name, given, answered = method.groups()
        if re.search(rf"^## Signals\n.*^### {name}\(.*^## Properties", PAGE, re.MULTILINE | re.DOTALL):
            signals[name] = arguments(given)
        else:
            methods[name] = (arguments(given), arguments(answered or ""))
    properties = {name: tuple(cells) for name, *cells in
                  ((cells[0].strip("`"), cells[1], cells[2]) for cells in rows(sections(PAGE)["Properties"]))}
    return methods, signals, properties


def commented(data):
    """{member: the arguments that its comment has}"""
    return {name: re.findall(r"^ *@(\w+):", text, re.MULTILINE)
            for name, text in re.findall(r"<!--\s+(\w+):\n(.*?)-->", data, re.DOTALL)}


class Bus(unittest.TestCase):
    def test_the_page_tells_what_the_data_describe(self):
        for of_page, of_data in zip(told(), described(DATA), strict=True):
            self.assertEqual(of_page, of_data)
            self.assertNotEqual(of_page, {})

    def test_every_member_and_argument_has_a_comment(self):
        methods, signals, properties = described(DATA)
        wanted = {name: [one for one, _ in [*given, *answered]] for name, (given, answered) in methods.items()}
        wanted |= {name: [one for one, _ in given] for name, given in signals.items()}
        wanted |= {name: [] for name in properties}
        self.assertEqual(commented(DATA), wanted)

    def test_a_user_has_the_keys_of_json(self):
        self.assertEqual([*keys(sections(PAGE)["A user"])], [*keys(sections(JSON_PAGE)["A watched user"])])

    def test_an_explanation_has_the_keys_of_json(self):
        of_page = keys(sections(PAGE)["An answer"]) | keys(sections(PAGE)["An explanation"])
        of_json = [key.removeprefix("users[].") for key in keys(sections(JSON_PAGE)["can-log-in"])]
        of_json = {key for key in of_json if re.fullmatch(r"\w+", key)} - {"users", "askedService"}
        self.assertEqual(of_page.keys() - {"ruleText", "sentence"}, of_json)

    def test_what_is_different_is_found(self):
        changed = DATA.replace('name="since" type="t" direction="in"', 'name="since" type="u" direction="in"')
        self.assertNotEqual(described(changed), described(DATA))
        self.assertNotEqual(described(DATA.replace('value="const"', 'value="false"')), described(DATA))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
