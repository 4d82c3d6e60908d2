#!/usr/bin/env python3
"""The format of world files, as it is told three times: by what gatehallctl reads, by the schema, and by the
manual page.

usage: worlds.py SOURCE-DIRECTORY GATEHALLCTL
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import jsonschema

SOURCE, GATEHALLCTL = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
SCHEMA = json.loads((SOURCE / "docs/world.schema.json").read_text())
PAGE = (SOURCE / "man/gatehall-world.5").read_text()
NODE = "/directory/nodes/0"
RECORD = NODE + "/records/0"

# Where each object of the schema stands in a world, and what else has to stand there.
PLACES = {
    "": {},
    "/process": {},
    "/directory": {},
    "/directory/searchNode": {"name": "search"},
    NODE: {"name": "local"},
    RECORD: {"type": "Users"},
    RECORD + "/policy": {},
    "/sessions": {},
    "/sessions/list/0": {},
    "/membership/gatehall": {},
    "/parentalControls/1000": {},
    "/preferences/com.orvane.gatehall": {},
    "/faults/0": {"operation": "queryResults", "raise": "platform"},
    "/faults/0/where": {},
}

# What somebody may write in place of a value.
PROBES = [None, True, False, 0, 1, -1, 2**32 - 1, 2**32, 2**31 - 1, 2**31, -2**31, -2**31 - 1, 2**63 - 1, -2**63,
          2**64, 1.5, "", "x", "12", "local", "users",
          "Users", "platform", "ignore", "localNode", "queryResults", "2026-11-21T09:00:00Z", "2026-11-21",
          "00000000-0000-4000-8000-00000000DEAD", [], ["x"], [1], [None], [[]], [{}], {}, {"x": 1},
          {"x": None}, {"$date": "2026-11-21T09:00:00Z"}, {"$date": 1}, {"$data": "aGk="}, {"$data": "a"},
          {"$data": "aGk=", "x": 1}, [True], [-1], [{"type": "Users"}], [{"name": "x"}], {"12": {}}, {"012": {}},
          {"name": "x"}, {"id": 1}, [{"id": 1}], [{"operation": "queryResults", "absent": True}], {"x": {}}]

# What the schema can't say: names that only the host knows, what has to be somewhere else in the world, and
# how a number is spelled.
BEYOND_SCHEMA = ("unknown operation", "no session of the list", "there is another node", "needs no \"node\"",
                 "would be passed over", "a whole number beyond 64 bits")


def without_comments(text):
    return re.sub(r'("(?:[^"\\]|\\.)*")|//[^\n]*|/\*.*?\*/', lambda found: found[1] or "", text, flags=re.DOTALL)


def resolved(schema):
    while "$ref" in schema:
        schema = SCHEMA["$defs"][schema["$ref"].rpartition("/")[2]]
    return schema


def objects_at(schema):
    """The schemas of objects that the schema allows at a place."""
    schema = resolved(schema)
    choices = [schema, *schema.get("oneOf", [])]
    return [choice for choice in map(resolved, choices) if "properties" in choice or "additionalProperties" in choice]


def schema_at(path):
    """The schema of the object at that place of a world."""
    schema = SCHEMA
    for key in path.split("/")[1:]:
        if key.isdigit() and "items" in resolved(schema):
            schema = resolved(schema)["items"]
            schema = next(iter(objects_at(schema)), schema)
            continue
        holder = objects_at(schema)[0]
        schema = holder.get("properties", {}).get(key) or holder["additionalProperties"]
    return objects_at(schema)[0]


def world_with(path, value):
    """A world in which that value stands at that place, and no more than has to around it."""
    steps = path.split("/")[1:]
    for index in range(len(steps), 0, -1):
        holder = "/" + "/".join(steps[:index - 1]) if index > 1 else ""
        value = [value] if steps[index - 1].isdigit() and holder not in ("/parentalControls",) else {
            **PLACES.get(holder, {}), steps[index - 1]: value}
    return value


def keys_of(schema, name=""):
    """Every key that the schema has, as "OBJECT.KEY"."""
    found = set()
    for key, inner in schema.get("properties", {}).items():
        found.add(key)
        found |= keys_of(inner)
    for inner in schema.get("$defs", {}).values():
        found |= keys_of(inner)
    return found


def is_valid(world):
    return jsonschema.Draft202012Validator(SCHEMA).is_valid(world)


def found_in(worlds):
    """What gatehallctl finds in each of the worlds."""
    with tempfile.TemporaryDirectory() as folder:
        files = [pathlib.Path(folder, f"{number}.json") for number in range(len(worlds))]
        for file, world in zip(files, worlds):
            file.write_text(world if isinstance(world, str) else json.dumps(world))
        done = subprocess.run([GATEHALLCTL, "--json", "check", *files], capture_output=True, text=True)
        found = {str(file): [] for file in files}
        for finding in json.loads(done.stdout)["findings"]:
            found[finding["file"]].append(finding)
        return list(found.values())


def refusals(findings):
    """Those for which no command reads the world."""
    return [f"{each['path']}: {each['text']}" for each in findings
            if each["severity"] == "error" and ("gatehall-world(5)" in each["remedy"] or "no key" in each["text"])]


def known_keys(path):
    """The keys that gatehallctl says it knows at that place."""
    with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
        json.dump(world_with(path, {**PLACES[path], "no such key": 1}) if path else {"no such key": 1}, file)
        file.flush()
        done = subprocess.run([GATEHALLCTL, "--world", file.name, "prefs"], capture_output=True, text=True)
    return set(re.search(r"no such key: unknown key; known are (.*)", done.stderr)[1].split(", "))


def examples_of_page():
    text = re.findall(r"^\.EX\n(.*?)^\.EE$", PAGE, re.MULTILINE | re.DOTALL)
    return [json.loads(each.replace(r"\(dq", '"').replace(r"\-", "-").replace(r"\&", "")) for each in text]


class Worlds(unittest.TestCase):
    def test_the_schema_is_one(self):
        jsonschema.Draft202012Validator.check_schema(SCHEMA)

    def test_the_schema_has_the_keys_that_are_read(self):
        for path in PLACES:
            with self.subTest(path or "/"):
                self.assertEqual(known_keys(path), set(schema_at(path)["properties"]))

    def test_every_object_of_the_schema_with_keys_of_its_own_has_a_place_here(self):
        closed = [name for name, each in SCHEMA["$defs"].items()
                  if each.get("additionalProperties") is False and name not in ("date", "data")]
        self.assertEqual(len(closed) + 2, len(PLACES), closed)  # the world itself and faults.where

    def test_the_schema_has_the_kinds_of_attributes_that_are_asked_for(self):
        header = (SOURCE / "include/gatehall/platform/AttributeKinds.h").read_text()
        kinds = set(re.findall(r'string_view (?!AllRecords|Users|Groups|prefix)\w+ = "([^"]+)"', header))
        self.assertEqual(set(SCHEMA["$defs"]["attributes"]["properties"]), kinds)
        found, = found_in([world_with(RECORD + "/attributes", dict.fromkeys(kinds - {"GUID"}, "1"))])
        self.assertEqual([each["text"] for each in found if "no kind" in each["text"]], [])

    def test_every_key_of_the_schema_is_described(self):
        def look(schema):
            for key, inner in schema.get("properties", {}).items():
                self.assertTrue("description" in inner or "description" in resolved(inner), key)
            for inner in [*schema.get("properties", {}).values(), *schema.get("$defs", {}).values()]:
                look(inner)

        look(SCHEMA)

    def test_the_page_has_the_keys_of_the_schema(self):
        tags = {tag.replace("\\-", "-") for tag in re.findall(r'^\.TP\n\.BR (\S+) " \(', PAGE, re.MULTILINE)}
        self.assertEqual(tags, keys_of(SCHEMA))

    def test_the_page_has_an_example_of_each_key(self):
        def keys_in(value):
            if isinstance(value, dict):
                return set(value).union(*map(keys_in, value.values()))
            return set().union(*map(keys_in, value)) if isinstance(value, list) else set()

        written = keys_in(examples_of_page())
        self.assertEqual(keys_of(SCHEMA) - written, {"$date"})
        self.assertIn("$date", PAGE)

    def test_the_examples_of_the_page_are_worlds(self):
        for world, found in zip(examples_of_page(), found_in(examples_of_page())):
            self.assertTrue(is_valid(world), world)
            wrong = [f"{each['path']} {each['text']}" for each in found
                     if each["severity"] == "error" or "no kind" in each["text"]]
            self.assertEqual(wrong, [], world)

    def test_the_example_worlds_are_valid(self):
        for file in (SOURCE / "examples").glob("*.world.json"):
            with self.subTest(file.name):
                jsonschema.validate(json.loads(without_comments(file.read_text())), SCHEMA)

    def test_the_schema_refuses_what_is_refused_and_nothing_else(self):
        worlds = []
        for path in PLACES:
            for key in schema_at(path)["properties"]:
                for probe in PROBES:
                    worlds.append(world_with(path, {**PLACES[path], key: probe}))
        for kind in ("RecordName", "UniqueID", "PrimaryGroupID", "anything"):
            worlds += [world_with(RECORD + "/attributes", {kind: probe}) for probe in PROBES]
        for settings in ("/managed/com.orvane.gatehall", "/preferences/com.orvane.gatehall/user"):
            worlds += [world_with(settings, {"Key": probe}) for probe in PROBES]
        self.assertGreater(len(worlds), 2000)
        differing = []
        for world, findings in zip(worlds, found_in(worlds)):
            wrong = refusals(findings)
            if wrong and all(any(text in each for text in BEYOND_SCHEMA) for each in wrong):
                continue
            if is_valid(world) == bool(wrong):
                differing.append(f"{json.dumps(world)}: {wrong}")
        self.assertEqual(differing, [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
