#!/usr/bin/env python3
"""What bash, zsh and fish offer when somebody presses the tabulator key after gatehallctl and
gatehall-switch.

usage: completion.py PACKAGING-DIRECTORY GATEHALLCTL
"""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

PACKAGING, GATEHALLCTL = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
EXAMPLES = PACKAGING.parent / "examples"

# Sets what readline sets, and prints what it would be given.
BASH = """
. /usr/share/bash-completion/bash_completion
. "$1"
shift
COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_LINE="$*" COMP_POINT=${#COMP_LINE}
COMP_TYPE=9 COMP_KEY=9
"_${1//-/_}" "$1" "${!#}" "${@: -2:1}"
((${#COMPREPLY[@]} == 0)) || printf '%s\\n' "${COMPREPLY[@]}"
"""

# Stands in for the line editor: what it is given, and which files it would look for.
ZSH = """
compadd() { shift; print -rl -- ${(M)@:#$PREFIX*} }
_files() { print -r -- files $* }
file=$1
shift
words=("$@") CURRENT=$# PREFIX=${@[-1]}
. $file
"""

FISH = """
source $argv[1]
complete -C (string join ' ' -- $argv[2..-1])
"""


def run(folder, *command):
    done = subprocess.run(
        [*command], env={**os.environ, "PATH": f"{GATEHALLCTL.parent}:{os.environ['PATH']}",
                         "HOME": str(folder)},
        cwd=folder, capture_output=True, text=True, check=True)
    if done.stderr:
        raise AssertionError(done.stderr)
    return sorted(line.split("\t")[0] for line in done.stdout.splitlines() if line)


class Offers:
    """What holds in every shell."""

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def offered(self, *words):
        """What is offered for the last of the words."""
        return self.asked("gatehallctl", *words)

    def test_offers_the_verbs(self):
        self.assertLessEqual({"can-log-in", "prefs", "switch", "user", "users"}, set(self.offered("")))
        self.assertEqual(self.offered("--json", "user"), ["user", "users"])

    def test_offers_every_verb_that_the_help_lists(self):
        text = subprocess.run([GATEHALLCTL, "--help"], capture_output=True, text=True, check=True)
        listed = text.stdout.partition("\nVerbs:\n")[2].partition("\n\n")[0].splitlines()
        self.assertEqual(self.offered(""), sorted(line.split()[0] for line in listed if line[2] != " "))

    def test_offers_the_options_before_and_after_a_verb(self):
        options = {"--help", "--json", "--no-legend", "--root", "--trace", "--wide", "--world"}
        self.assertLessEqual(options, set(self.offered("-")))
        self.assertLessEqual(options, set(self.offered("users", "-")))
        self.assertEqual(self.offered("--no"), ["--no-legend"])

    def test_offers_the_options_that_a_verb_has_of_its_own(self):
        self.assertEqual(self.offered("watch", "--s"), ["--script", "--service"])
        self.assertEqual(self.offered("users", "--script"), [])
        self.assertIn("--picture", self.offered("users", "--"))

    def test_offers_the_services_of_pam_after_at(self):
        offered = set(self.offered("can-log-in", "--at", ""))
        self.assertIn("login", offered)
        self.assertNotIn("common-account", offered)

    def test_offers_verbs_after_the_world(self):
        self.assertEqual(self.offered("--world", "users", "adm"), ["admins"])

    def test_offers_this_machines_users(self):
        for verb in ("can-log-in", "user"):
            self.assertIn("root", self.offered(verb, "r"))
            self.assertIn("0", self.offered(verb, "0"))

    def test_offers_the_users_of_a_world(self):
        world = str(EXAMPLES / "family.world.json")
        self.assertEqual(self.offered("--world", world, "user", ""), ["ann", "bob", "carol", "root"])
        self.assertEqual(self.offered("--world", world, "user", "1001"), ["1001"])
        self.assertEqual(self.offered("--world", "none.json", "user", ""), [])

    def test_runs_nothing_that_a_name_says(self):
        names = ["ann", "$(touch${IFS}ran)", "`touch${IFS}ran`", "$(<ann)", "*"]
        records = [{"type": "Users", "attributes": {"RecordName": [name], "UniqueID": [str(1000 + index)]}}
                   for index, name in enumerate(names)]
        world = self.folder / "names.world.json"
        world.write_text(json.dumps({"directory": {
            "localNode": "local", "searchNode": {"name": "search", "covers": ["local"]},
            "nodes": [{"name": "local", "records": records}]}}))
        for words in (("can-log-in",), ("user",), ("expand",)):
            with self.subTest(words):
                self.assertEqual(len(self.offered("--world", str(world), *words, "")), len(names))
                self.assertEqual(self.offered("--world", str(world), *words, "a"), ["ann"])
        self.assertEqual([file.name for file in self.folder.iterdir() if file.name == "ran"], [])

    def test_takes_a_path_before_the_word_for_no_option(self):
        for words in (("--world", "/x/ev.json"), ("--world=/x/ev.json",), ("check", "/x/[a.json")):
            with self.subTest(words):
                self.offered(*words, "")

    def test_offers_users_and_groups_where_either_is_meant(self):
        for words in (("expand",), ("guid",), ("policy", "allow"), ("policy", "deny"), ("policy", "remove")):
            with self.subTest(words):
                self.assertIn("shadow", self.offered(*words, "sh"))
                self.assertIn("root", self.offered(*words, "ro"))

    def test_offers_what_policy_does(self):
        self.assertEqual(self.offered("policy", ""), ["allow", "deny", "remove", "reset", "set", "show"])
        self.assertEqual(self.offered("policy", "--json", "sh"), ["show"])

    def test_offers_the_tools_words_after_switch(self):
        self.assertEqual(self.offered("switch", "-s"), ["-suspend", "-switchToUserID"])
        self.assertEqual(self.offered("switch", "--"), ["--help"])
        self.assertIn("0", self.offered("switch", "-switchToUserID", "0"))

    def test_offers_nothing_after_a_verb_without_operands(self):
        self.assertEqual(self.offered("prefs", ""), [])

    def test_offers_the_switch_tools_words(self):
        self.assertEqual(self.asked("gatehall-switch", "-s"), ["-suspend", "-switchToUserID"])
        self.assertIn("0", self.asked("gatehall-switch", "-switchToUserID", "0"))

    def test_offers_files_that_an_option_or_a_verb_takes(self):
        for name in ("lab.world.json", "a.events.json", "list.png", "list.svg", "new.plist", "more/x"):
            path = self.folder / name
            path.parent.mkdir(exist_ok=True)
            path.touch()
        for words, files in self.FILES.items():
            with self.subTest(words):
                self.assertEqual(self.offered(*words, ""), files)


WORLDS = ["a.events.json", "lab.world.json", "more"]


class Bash(Offers, unittest.TestCase):
    FILES = {
        ("--world",): WORLDS,
        ("users", "--world"): WORLDS,
        ("watch", "--script"): WORLDS,
        ("users", "--picture"): ["list.png", "list.svg", "more"],
        ("--root",): ["more"],
        ("check",): WORLDS,
        ("compare",): WORLDS,
    }

    def asked(self, program, *words):
        file = PACKAGING / "bash-completion" / program
        return run(self.folder, "bash", "--norc", "-c", BASH, "bash", file, program, *words)


class Zsh(Offers, unittest.TestCase):
    FILES = {
        ("--world",): ["files -g *.json"],
        ("watch", "--script"): ["files -g *.json"],
        ("users", "--picture"): ["files -g *.(png|svg)"],
        ("--root",): ["files -/"],
        ("check",): ["files -g *.json"],
        ("compare",): ["files -g *.json"],
    }

    def asked(self, program, *words):
        file = PACKAGING / "zsh" / "_gatehallctl"
        return run(self.folder, "zsh", "-f", "-c", ZSH, "zsh", file, program, *words)


class Fish(Offers, unittest.TestCase):
    # Every file may be wanted: those that fit come first.
    FILES = {("--root",): ["more/"]}

    def asked(self, program, *words):
        file = PACKAGING / "fish" / f"{program}.fish"
        return run(self.folder, "fish", "--no-config", "-c", FISH, file, program, *(word or "''" for word in words))

    def test_offers_files_by_their_names(self):
        for name in ("lab.world.json", "list.png", "new.plist"):
            (self.folder / name).touch()
        self.assertEqual(self.offered("--world", "la"), ["lab.world.json"])
        self.assertEqual(self.offered("users", "--picture", "li"), ["list.png"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
