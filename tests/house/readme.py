#!/usr/bin/env python3
"""What README.md shows of gatehallctl is what it prints: the commands of its console blocks are run at the
top of the tree.

usage: readme.py SOURCE-DIRECTORY GATEHALLCTL
"""

import os
import pathlib
import re
import subprocess
import sys
import unittest

SOURCE, GATEHALLCTL = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
SHOWN = re.findall(
    r"^\$ ([^\n]*)\n((?:(?!\$ )[^\n]*\n)*?)(?=\$ |```)",
    "\n".join(re.findall(r"^```console\n(.*?^```)$", (SOURCE / "README.md").read_text(encoding="utf-8"),
                       re.MULTILINE | re.DOTALL)),
    re.MULTILINE,
)


class Readme(unittest.TestCase):
    def test_it_shows_commands(self):
        self.assertGreaterEqual(len(SHOWN), 2)

    def test_they_print_what_it_shows(self):
        environment = {"PATH": f"{GATEHALLCTL.parent}:{os.defpath}", "LC_ALL": "C.UTF-8"}
        for command, text in SHOWN:
            with self.subTest(command):
                done = subprocess.run(["bash", "-c", command], cwd=SOURCE, env=environment,
                                      stdout=subprocess.PIPE, text=True, check=False)
                self.assertEqual(done.stdout, text)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
