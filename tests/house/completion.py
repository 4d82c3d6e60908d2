#!/usr/bin/env python3
"""What bash offers when somebody presses the tabulator key after gatehallctl.

usage: completion.py COMPLETION-FILE GATEHALLCTL
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

COMPLETION, GATEHALLCTL = (pathlib.Path(word).resolve() for word in sys.argv[1:3])

# Sets what readline sets, and prints what it would be given.
SCRIPT = """
. /usr/share/bash-completion/bash_completion
. "$1"
shift
COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_LINE="$*" COMP_POINT=${#COMP_LINE}
COMP_TYPE=9 COMP_KEY=9
_gatehallctl gatehallctl "${!#}" "${@: -2:1}"
((${#COMPREPLY[@]} == 0)) || printf '%s\\n' "${COMPREPLY[@]}"
"""


class Completion(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def offered(self, *words):
        """What is offered for the last of the words."""
        done = subprocess.run(
            ["bash", "--norc", "-c", SCRIPT, "bash", COMPLETION, "gatehallctl", *words],
            env={**os.environ, "PATH": f"{GATEHALLCTL.parent}:{os.environ['PATH']}"},
            cwd=self.folder, capture_output=True, text=True, check=True)
        self.assertEqual(done.stderr, "")
        return sorted(done.stdout.split())

    def test_offers_the_verbs(self):
        verbs = self.offered("")
        self.assertLessEqual({"can-log-in", "prefs", "switch", "user", "users"}, set(verbs))
        self.assertEqual(self.offered("--json", "user"), ["user", "users"])

    def test_offers_every_verb_that_the_help_lists(self):
        text = subprocess.run([GATEHALLCTL, "--help"], capture_output=True, text=True, check=True)
        listed = text.stdout.partition("\nVerbs:\n")[2].partition("\n\n")[0].splitlines()
        self.assertEqual(self.offered(""), sorted(line.split()[0] for line in listed))

    def test_offers_the_options_before_and_after_a_verb(self):
        options = ["--help", "--json", "--no-legend", "--trace", "--world"]
        self.assertLessEqual(set(options), set(self.offered("-")))
        self.assertLessEqual(set(options), set(self.offered("users", "-")))
        self.assertEqual(self.offered("--no"), ["--no-legend"])

    def test_offers_the_options_that_a_verb_has_of_its_own(self):
        self.assertEqual(self.offered("watch", "--s"), ["--script"])
        self.assertEqual(self.offered("users", "--s"), [])

    def test_offers_world_files_and_folders_after_world(self):
        for name in ("lab.world.json", "notes.txt"):
            (self.folder / name).touch()
        (self.folder / "more").mkdir()
        self.assertEqual(self.offered("--world", ""), ["lab.world.json", "more"])
        self.assertEqual(self.offered("users", "--world", "l"), ["lab.world.json"])

    def test_offers_scripts_of_events_after_script(self):
        (self.folder / "a.events.json").touch()
        self.assertEqual(self.offered("watch", "--script", ""), ["a.events.json"])

    def test_offers_the_services_of_pam_after_at(self):
        offered = set(self.offered("can-log-in", "--at", ""))
        self.assertIn("login", offered)
        self.assertNotIn("common-account", offered)

    def test_offers_verbs_after_the_world(self):
        self.assertEqual(self.offered("--world", "users", "adm"), ["admins"])

    def test_offers_this_machines_user_ids(self):
        self.assertIn("0", self.offered("can-log-in", ""))
        self.assertIn("0", self.offered("user", ""))
        self.assertIn("0", self.offered("switch", "-switchToUserID", ""))

    def test_offers_no_user_ids_of_this_machine_for_a_world(self):
        self.assertEqual(self.offered("--world", "a.world.json", "user", ""), [])

    def test_offers_the_tools_words_after_switch(self):
        self.assertEqual(self.offered("switch", "-"), ["-suspend", "-switchToUserID"])

    def test_offers_nothing_after_a_verb_without_operands(self):
        self.assertEqual(self.offered("prefs", ""), [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
