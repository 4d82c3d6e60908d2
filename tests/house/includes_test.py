#!/usr/bin/env python3
"""Feeds includes.py small trees, good and bad, and holds the table of rooms to its rules."""

import pathlib
import tempfile
import unittest

import includes
import rooms


class Includes(unittest.TestCase):
    def look(self, tree):
        with tempfile.TemporaryDirectory() as top:
            for name, text in tree.items():
                folder = "include" if name.startswith("gatehall/") else "src"
                path = pathlib.Path(top, folder, name)
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text, encoding="utf-8")
            return includes.findings(pathlib.Path(top))

    def findings(self, tree):
        return self.look(tree)[0]

    def assert_finds(self, tree, *expected):
        self.assertEqual(self.findings(tree), list(expected))

    def test_a_tree_that_keeps_the_rules_is_clean(self):
        self.assert_finds(
            {
                "gatehall/platform/Clock.h": "#pragma once\n#include <chrono>\n",
                "gatehall/users/User.h": '#include <string>\n\n#include "gatehall/platform/Clock.h"\n',
                "access/Access.cpp": '#include "access/Access.h"\n',
                "access/Access.h": '#include "gatehall/users/User.h"\n',
                "linux/bus/Bus.h": '#include <systemd/sd-bus.h>\n#include "gatehall/platform/Clock.h"\n',
                "linux/bus/Bus.cpp": '#include "linux/bus/Bus.h"\n#include <unistd.h>\n'
                "#include <systemd/sd-event.h>\n",
                "linux/Host.h": "",
                "switcher/main.cpp": '#include "linux/Host.h"\n',
            }
        )

    def test_an_empty_tree_is_not_clean(self):
        self.assertEqual(len(self.findings({})), 1)

    def test_every_arrow_that_the_table_lacks_is_found(self):
        for room in rooms.ROOMS:
            others = [other for other in rooms.ROOMS if other != room]
            tree = {f"{other}/B.h": "" for other in others}
            tree[f"{room}/A.cpp"] = "".join(f'#include "{other}/B.h"\n' for other in others)
            expected = [
                f'{room}/A.cpp:{line}: "{other}/B.h": {room}/ may not include {other}/'
                for line, other in enumerate(others, 1)
                if other not in rooms.included_by(room)
            ]
            with self.subTest(room=room):
                self.assertEqual(self.findings(tree), expected)

    def test_every_arrow_that_a_public_header_may_not_make_is_found(self):
        for room in rooms.ROOMS:
            others = [other for other in rooms.ROOMS if other != room]
            tree = {f"gatehall/{other}/B.h": "" for other in others}
            tree[f"gatehall/{room}/A.h"] = "".join(
                f'#include "gatehall/{other}/B.h"\n' for other in others
            )
            found = [text.split(":")[1] for text in self.findings(tree)]
            expected = [
                str(line)
                for line, other in enumerate(others, 1)
                if other not in rooms.included_by(room)
            ]
            with self.subTest(room=room):
                self.assertEqual(found, expected)

    def test_an_arrow_that_nothing_makes_is_found(self):
        graph = {
            f"{name}.cpp" if name in rooms.MAINS else f"{name}/A.cpp": [
                f"{room}/B.h" for room in below.split()
            ]
            for name, below in (
                *((room, rooms.ROOMS[room].includes) for room in rooms.ROOMS),
                *rooms.MAINS.items(),
            )
        }
        self.assertEqual(list(includes.unused_arrows(graph)), [])
        graph["access/A.cpp"].remove("users/B.h")
        graph["switcher/main.cpp"].remove("linux/process/B.h")
        self.assertEqual(
            list(includes.unused_arrows(graph)),
            [
                "rooms.py: nothing of access includes users/",
                "rooms.py: nothing of switcher/main includes linux/process/",
            ],
        )

    def test_no_rooms_include_each_other(self):
        floor = {room: n for n, floor in enumerate(rooms.floors()) for room in floor}
        for room in rooms.ROOMS:
            for below in rooms.included_by(room):
                self.assertLess(floor[below], floor[room], f"{room} -> {below}")

    def test_a_circle_of_rooms_is_refused(self):
        before = rooms.ROOMS["base"]
        self.addCleanup(rooms.ROOMS.__setitem__, "base", before)
        rooms.ROOMS["base"] = rooms.Room(before.about, "platform")
        with self.assertRaises(ValueError):
            rooms.floors()

    def test_the_core_knows_no_host(self):
        for room in rooms.CORE:
            hosts = [
                below
                for below in rooms.included_by(room)
                if below.partition("/")[0] in {"linux", "world", "portable", "instrumented"}
            ]
            self.assertEqual(hosts, [], room)

    def test_no_host_knows_the_core(self):
        for room in rooms.ROOMS:
            if room.partition("/")[0] in {"linux", "world", "portable", "instrumented"}:
                self.assertEqual(rooms.included_by(room) & rooms.CORE, set(), room)

    def test_the_core_knows_no_library(self):
        self.assert_finds(
            {"text/Text.cpp": "\n#include <unicode/brkiter.h>\n"},
            "text/Text.cpp:2: <unicode/brkiter.h> is of ICU, which text/ does not know",
        )

    def test_the_core_does_not_touch_the_machine(self):
        self.assert_finds(
            {"switcher/Switcher.cpp": "#include <unistd.h>\n"},
            "switcher/Switcher.cpp:1: <unistd.h> is the machine's, which switcher/ does not touch",
        )

    def test_a_public_header_shows_neither_a_library_nor_the_machine_nor_our_own_inside(self):
        self.assert_finds(
            {
                "linux/Inside.h": "",
                "gatehall/linux/Host.h": "#include <systemd/sd-bus.h>\n#include <unistd.h>\n"
                '#include "linux/Inside.h"\n',
            },
            "gatehall/linux/Host.h:1: <systemd/sd-bus.h> is of sd-bus, which no public header shows",
            "gatehall/linux/Host.h:2: <unistd.h> is the machine's, which no public header shows",
            'gatehall/linux/Host.h:3: "linux/Inside.h" is not public',
        )

    def test_only_a_main_file_chooses_the_host(self):
        tree = {"linux/Host.h": ""}
        include = '#include "linux/Host.h"\n'
        self.assert_finds({**tree, "switcher/main.cpp": include})
        self.assert_finds(
            {**tree, "switcher/Switcher.cpp": include},
            'switcher/Switcher.cpp:1: "linux/Host.h": switcher/ may not include linux/',
        )

    def test_one_file_wraps_a_library(self):
        self.assert_finds(
            {
                "linux/bus/Bus.cpp": "#include <systemd/sd-bus.h>\n",
                "linux/sessions/Seat.cpp": "#include <systemd/sd-bus.h>\n",
            },
            "linux/sessions/Seat.cpp:1: <systemd/sd-bus.h> is of sd-bus, which linux/bus/Bus wraps",
        )

    def test_an_unknown_library_is_named(self):
        self.assert_finds(
            {"linux/Host.cpp": "#include <boost/any.hpp>\n"},
            "linux/Host.cpp:1: <boost/any.hpp> is neither a standard header nor one of a known "
            "library",
        )

    def test_an_include_is_written_from_the_top(self):
        self.assert_finds(
            {"users/User.h": "", "users/User.cpp": '#include "User.h"\n'},
            'users/User.cpp:1: "User.h" names no file from the top of src/ or include/',
        )

    def test_files_form_no_circle(self):
        self.assert_finds(
            {
                "access/A.h": '#include "access/B.h"\n',
                "access/B.h": '#  include "access/C.h"\n',
                "access/C.h": '#include "access/A.h"\n',
            },
            "include circle: access/A.h -> access/B.h -> access/C.h -> access/A.h",
        )

    def test_a_new_folder_needs_a_rule(self):
        self.assert_finds({"sound/Bell.cpp": ""}, "sound/Bell.cpp: sound/ is no room of rooms.py")

    def test_a_room_of_two_subjects_is_found_by_its_units(self):
        tree = {f"text/T{number}.cpp": "" for number in range(rooms.MOST_UNITS)}
        self.assert_finds({**tree, "gatehall/text/T0.h": ""})
        self.assert_finds(
            {**tree, "gatehall/text/U.h": ""},
            f"text/ has {rooms.MOST_UNITS + 1} units: more than {rooms.MOST_UNITS} are of more than "
            "one subject",
        )


if __name__ == "__main__":
    unittest.main()
