#!/usr/bin/env python3
"""docs/json.md says of every verb what it answers in JSON: the examples' answers have the keys that stand
there, of the kinds that stand there, and no others.

usage: json_page.py SOURCE-DIRECTORY GATEHALLCTL
"""

import json
import pathlib
import re
import subprocess
import sys
import unittest

SOURCE, GATEHALLCTL = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
PAGE = (SOURCE / "docs" / "json.md").read_text(encoding="utf-8")
BEHIND = "Behind every answer"
KINDS = {"text": str, "flag": bool, "number": int | float, "list": list, "object": dict, "null": type(None)}


def tables(page):
    """{heading: {key's path: its kinds}}"""
    found = {}
    for section in re.split(r"^## ", page, flags=re.MULTILINE)[1:]:
        rows = re.findall(r"^\| `([^`]+)` \| ([^|]+) \|", section, re.MULTILINE)
        found[section.partition("\n")[0]] = {
            path: re.split(r", | or ", kinds.strip()) for path, kinds in rows}
    return found


TABLES = tables(PAGE)


def names_of(kinds):
    """Those of the kinds that are a table of their own: "a user"."""
    by_name = {heading.lower(): heading for heading in TABLES}
    return [by_name[kind] for kind in kinds if kind in by_name]


def faults(value, table, path=""):
    """Where the value isn't what the table says, a line each."""
    if isinstance(value, list):
        for each in value:
            if f"{path}[]" in table:
                yield from checked(each, table, f"{path}[]")
            else:
                yield from faults(each, table, f"{path}[]")
        return
    if not isinstance(value, dict):
        return
    prefix = f"{path}." if path else ""
    known = {key.removeprefix(prefix): kinds for key, kinds in table.items()
             if key.startswith(prefix) and re.fullmatch(r"[\w-]+", key.removeprefix(prefix))}
    if not known:
        return
    for key in value.keys() - known.keys():
        yield f"{prefix}{key} isn't told of"
    for key, kinds in known.items():
        if key in value:
            yield from checked(value[key], table, prefix + key)
        elif "absent" not in kinds:
            yield f"{prefix}{key} is missing"


def checked(value, table, path):
    kinds = table[path]
    of_kind = any(isinstance(value, KINDS[kind]) for kind in kinds if kind in KINDS)
    if of_kind and not (isinstance(value, bool) and "flag" not in kinds):
        yield from faults(value, table, path)
    elif names_of(kinds) and isinstance(value, dict):
        yield from (f"{path}: {fault}" for name in names_of(kinds) for fault in faults(value, TABLES[name]))
    else:
        yield f"{path} is {json.dumps(value)[:60]}, not {' or '.join(kinds)}"


def faults_of(verb, text):
    answers = text.splitlines() if verb == "watch" else [text]
    for answer in map(json.loads, answers):
        is_there = any(key not in TABLES[BEHIND] for key in answer)
        yield from faults(answer, {**TABLES[BEHIND], **(TABLES[verb] if is_there else {})})


def runs():
    """The examples' runs that answer in JSON: verb, file."""
    for runs_file in sorted((SOURCE / "examples").glob("*.runs")):
        for line in runs_file.read_text(encoding="utf-8").splitlines():
            words = line.split()
            if line.startswith("#") or "--json" not in words[:4]:
                continue
            verb = next(word for word in words[2:] if not word.startswith("-"))
            verb += " --at" if "--at" in words else " show" if "show" in words else ""
            yield verb, SOURCE / "examples" / f"{runs_file.stem}.expected" / words[0]


class Page(unittest.TestCase):
    def test_it_has_every_verb(self):
        text = subprocess.run([GATEHALLCTL, "--help"], capture_output=True, text=True, check=True).stdout
        listed = re.findall(r"^  ([a-z][\w-]*) ", text.partition("\nVerbs:\n")[2], re.MULTILINE)
        self.assertEqual([verb for verb in listed if verb not in TABLES], [])

    def test_every_kind_is_known(self):
        for heading, table in TABLES.items():
            for path, kinds in table.items():
                with self.subTest(f"{heading}: {path}"):
                    strange = [kind for kind in kinds if kind not in KINDS and kind != "absent"
                               and not names_of([kind])]
                    self.assertEqual(strange, [])

    def test_the_examples_answer_as_it_says(self):
        tried = set()
        for verb, file in runs():
            with self.subTest(file.relative_to(SOURCE).as_posix()):
                self.assertEqual(list(faults_of(verb, file.read_text(encoding="utf-8"))), [])
            tried.add(verb)
        self.assertLessEqual({"can-log-in", "can-log-in --at", "prefs", "switch", "users", "watch"}, tried)

    def test_failures_and_traces_are_as_it_says(self):
        world = SOURCE / "examples" / "family.world.json"
        for verb, *words in (["user", "99"], ["prefs", "--trace"], ["prefs", "--frob"], ["check"], ["network"], ["export"],
                            ["compare", "--with-group", "gatehall-access=ann"], ["policy show"],
                            ["policy", "deny", "bob", "--dry-run"]):
            with self.subTest(verb):
                text = subprocess.run([GATEHALLCTL, "--json", "--world", world, *verb.split(), *words],
                                      capture_output=True, text=True, check=False).stdout
                self.assertEqual(list(faults_of(verb, text)), [])

    def test_what_is_wrong_is_found(self):
        table = {"one": ["text"], "list": ["list"], "list[].flag": ["flag"], "else": ["number", "absent"]}
        self.assertEqual(list(faults({"one": "x", "list": [{"flag": True}]}, table)), [])
        self.assertEqual(
            list(faults({"list": [{"flag": 1}, {"flag": None, "more": 1}], "else": True, "two": 2}, table)),
            ["two isn't told of", "one is missing", "list[].flag is 1, not flag", "list[].more isn't told of",
             "list[].flag is null, not flag", "else is true, not number or absent"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
