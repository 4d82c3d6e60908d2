#!/usr/bin/env python3
"""Reads off built programs and libraries what hardens them.

usage: hardened.py COMPILE-COMMANDS BINARY…      the last of the binaries is the shared library
"""

import json
import pathlib
import platform
import re
import shlex
import sys
import unittest

from commands import run

COMMANDS, *BINARIES = (pathlib.Path(word) for word in sys.argv[1:])
LIBRARY = BINARIES[-1]

# Where an indirect branch may land.
LANDING = {"x86_64": "endbr64", "aarch64": "bti|paciasp"}.get(platform.machine())
BRANCHES = {
    "x86_64": "-fcf-protection=full", "aarch64": "-mbranch-protection=standard"
}.get(platform.machine())


def readelf(binary, *what):
    return run("readelf", "--wide", *what, binary)


class Hardened(unittest.TestCase):
    def test_it_is_loaded_at_an_address_of_chance(self):
        for binary in BINARIES:
            with self.subTest(binary.name):
                self.assertRegex(readelf(binary, "--file-header"), r"Type:\s+DYN")
                if ".so" not in binary.name:
                    self.assertRegex(readelf(binary, "--dynamic"), r"\(FLAGS_1\).*\bPIE\b")

    def test_addresses_of_functions_are_filled_in_at_the_start_and_then_read_only(self):
        for binary in BINARIES:
            with self.subTest(binary.name):
                self.assertIn("GNU_RELRO", readelf(binary, "--program-headers"))
                self.assertRegex(readelf(binary, "--dynamic"), r"\(FLAGS\).*\bBIND_NOW\b")

    def test_nothing_can_be_written_and_executed(self):
        for binary in BINARIES:
            with self.subTest(binary.name):
                headers = readelf(binary, "--program-headers")
                self.assertRegex(headers, r"GNU_STACK\s+(\S+\s+){5}RW\s")
                loaded = re.findall(r"LOAD\s+(?:\S+\s+){5}([RWE ]{3})", headers)
                self.assertIn("R E", loaded)
                self.assertNotIn("RWE", loaded)

    def test_code_stands_in_pages_of_its_own(self):
        for binary in BINARIES:
            with self.subTest(binary.name):
                headers = readelf(binary, "--program-headers")
                loaded = re.findall(r"LOAD\s+(?:\S+\s+){5}([RWE ]{3})", headers)
                # Without separate pages the tables before the code are executable as well.
                self.assertEqual(loaded[0], "R  ")

    def test_the_stack_is_looked_at_before_a_function_returns(self):
        for binary in BINARIES:
            with self.subTest(binary.name):
                self.assertIn("__stack_chk_fail", self.imported(binary))

    def test_the_c_library_looks_at_lengths(self):
        for binary in BINARIES:
            with self.subTest(binary.name):
                # A program may have nothing to look at but open(2), whose form has another name.
                self.assertTrue([name for name in self.imported(binary)
                                 if name.endswith("_chk") or name == "__open_2"])

    def test_the_cxx_library_looks_at_indexes(self):
        for binary in BINARIES:
            # The PAM module has none.
            if binary.name == "pam_gatehall.so":
                continue
            with self.subTest(binary.name):
                self.assertIn("std::__glibcxx_assert_fail", run("nm", "--demangle", binary))

    @unittest.skipUnless(LANDING, "not known for this machine")
    def test_indirect_branches_land_where_they_may(self):
        # The note by which a loader would turn the check on is lost where the C library's own start
        # files lack it, as Debian 12's crt1.o and crti.o do; so the code itself is looked at.
        code = run("objdump", "--disassemble", "--no-show-raw-insn", LIBRARY)
        words = dict(re.findall(r"^ +([0-9a-f]+):\t(\S+)", code, re.MULTILINE))
        exported = run("nm", "--dynamic", "--defined-only", LIBRARY)
        functions = re.findall(r"^0*(\w+) [TW] (\S+)@@", exported, re.MULTILINE)
        self.assertGreater(len(functions), 100)
        self.assertEqual(
            [name for address, name in functions if not re.fullmatch(LANDING, words[address])], [])

    def test_the_compiler_was_given_what_leaves_no_trace_of_its_own(self):
        # The compiler notes its words with the debugging information, but for definitions.
        words = {"-fstack-clash-protection", "-fstack-protector-strong", BRANCHES} - {None}
        for binary in BINARIES:
            with self.subTest(binary.name):
                units = re.findall(r"DW_AT_producer\s*:.*(GNU C\+\+.*)",
                                   readelf(binary, "--debug-dump=info", "--dwarf-depth=1"))
                self.assertTrue(units, "built without debugging information")
                for unit in units:
                    self.assertLessEqual(words, set(unit.split()))

    def test_every_file_is_compiled_with_the_highest_level_of_checked_lengths(self):
        levels = {}
        for entry in json.loads(COMMANDS.read_text()):
            if "/src/" in entry["file"]:
                levels[entry["file"]] = [
                    word for word in shlex.split(entry["command"]) if "_FORTIFY_SOURCE" in word
                ][-1:]
        self.assertTrue(levels)
        self.assertEqual(
            {file: last for file, last in levels.items() if last != ["-D_FORTIFY_SOURCE=3"]}, {})

    @staticmethod
    def imported(binary):
        names = run("nm", "--dynamic", "--undefined-only", binary)
        return re.findall(r" U (\w+)", names)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
