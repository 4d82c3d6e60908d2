#!/usr/bin/env python3
"""Feeds includes.py small trees, good and bad."""

import pathlib
import tempfile
import unittest

import includes


class Includes(unittest.TestCase):
    def findings(self, tree):
        with tempfile.TemporaryDirectory() as root:
            for name, text in tree.items():
                path = pathlib.Path(root, name)
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text, encoding="utf-8")
            return includes.findings(pathlib.Path(root))

    def assert_finds(self, tree, *expected):
        self.assertEqual(self.findings(tree), list(expected))

    def test_a_tree_that_keeps_the_rules_is_clean(self):
        self.assert_finds(
            {
                "platform/Clock.h": "#pragma once\n#include <chrono>\n",
                "users/User.h": '#include <string>\n\n#include "platform/Clock.h"\n',
                "access/Access.cpp": '#include "access/Access.h"\n',
                "access/Access.h": '#include "users/User.h"\n',
                "platform/linux/Host.h": '#include <systemd/sd-bus.h>\n#include "platform/Clock.h"\n',
                "platform/linux/Host.cpp": '#include "platform/linux/Host.h"\n#include <unistd.h>\n'
                "#include <systemd/sd-event.h>\n",
                "switcher/main.cpp": '#include "platform/linux/Host.h"\n',
            }
        )

    def test_an_empty_tree_is_not_clean(self):
        self.assertEqual(len(self.findings({})), 1)

    def test_the_core_knows_no_host(self):
        self.assert_finds(
            {"platform/world/World.h": "", "users/User.cpp": '#include "platform/world/World.h"\n'},
            'users/User.cpp:1: "platform/world/World.h": users/ may not include platform/world/',
        )

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

    def test_no_host_knows_the_core(self):
        for host in ("platform/world", "platform/linux", "platform/portable", "platform/instrumented"):
            self.assert_finds(
                {"users/User.h": "", f"{host}/Host.cpp": '#include "users/User.h"\n'},
                f'{host}/Host.cpp:1: "users/User.h": {host}/ may not include users/',
            )

    def test_hosts_do_not_know_one_another(self):
        self.assert_finds(
            {
                "platform/world/World.h": "",
                "platform/linux/Host.h": '#include "platform/world/World.h"\n',
            },
            'platform/linux/Host.h:1: "platform/world/World.h": platform/linux/ may not include '
            "platform/world/",
        )

    def test_instruments_know_the_interfaces_alone(self):
        self.assert_finds(
            {
                "platform/portable/Markup.h": "",
                "platform/instrumented/Trace.h": '#include "platform/portable/Markup.h"\n'
                "#include <nlohmann/json.hpp>\n",
            },
            'platform/instrumented/Trace.h:1: "platform/portable/Markup.h": '
            "platform/instrumented/ may not include platform/portable/",
            "platform/instrumented/Trace.h:2: <nlohmann/json.hpp> is of nlohmann-json, which "
            "platform/instrumented/ does not know",
        )

    def test_the_interfaces_know_nothing_below_them(self):
        self.assert_finds(
            {
                "platform/portable/Markup.h": "",
                "platform/Markup.h": '#include "platform/portable/Markup.h"\n',
            },
            'platform/Markup.h:1: "platform/portable/Markup.h": platform/ may not include '
            "platform/portable/",
        )

    def test_only_a_main_file_chooses_the_host(self):
        tree = {"platform/linux/Host.h": ""}
        include = '#include "platform/linux/Host.h"\n'
        self.assert_finds({**tree, "switcher/main.cpp": include})
        self.assert_finds(
            {**tree, "switcher/Switcher.cpp": include},
            'switcher/Switcher.cpp:1: "platform/linux/Host.h": switcher/ may not include '
            "platform/linux/",
        )

    def test_one_file_wraps_a_library(self):
        self.assert_finds(
            {
                "platform/linux/Bus.cpp": "#include <systemd/sd-bus.h>\n",
                "platform/linux/Seat.cpp": "#include <systemd/sd-bus.h>\n",
            },
            "platform/linux/Seat.cpp:1: <systemd/sd-bus.h> is of sd-bus, which "
            "platform/linux/Bus wraps",
        )

    def test_an_unknown_library_is_named(self):
        self.assert_finds(
            {"platform/linux/Host.cpp": "#include <boost/any.hpp>\n"},
            "platform/linux/Host.cpp:1: <boost/any.hpp> is neither a standard header nor one of a "
            "known library",
        )

    def test_an_include_is_written_from_the_top(self):
        self.assert_finds(
            {"users/User.h": "", "users/User.cpp": '#include "User.h"\n'},
            'users/User.cpp:1: "User.h" names no file from the top of the source tree',
        )

    def test_files_form_no_circle(self):
        self.assert_finds(
            {
                "users/A.h": '#include "users/B.h"\n',
                "users/B.h": '#  include "access/C.h"\n',
                "access/C.h": '#include "users/A.h"\n',
            },
            "include circle: access/C.h -> users/A.h -> users/B.h -> access/C.h",
        )

    def test_a_new_folder_needs_a_rule(self):
        self.assert_finds(
            {"sound/Bell.cpp": ""},
            "sound/Bell.cpp: no rule says what sound/ may include"
        )


if __name__ == "__main__":
    unittest.main()
