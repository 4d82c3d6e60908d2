#!/usr/bin/env python3
"""What scripts/hooks/pre-commit does to a commit, in repositories of its own.

usage: hook.py SOURCE-DIRECTORY
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(sys.argv[1]).resolve()
OUT_OF_FORM, IN_FORM = "int  a( );\n", "int a();\n"


class Hook(unittest.TestCase):
    def setUp(self):
        self.place = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.git("init", "--quiet")
        self.git("config", "core.hooksPath", SOURCE / "scripts" / "hooks")
        shutil.copy(SOURCE / ".clang-format", self.place)

    def git(self, *words, ends=0):
        """Nothing of the machine's own settings, nor of a commit that this runs in."""
        kept = {name: value for name, value in os.environ.items() if not name.startswith("GIT_")}
        who = {f"GIT_{role}_{what}": "ann@localhost"
               for role in ("AUTHOR", "COMMITTER") for what in ("NAME", "EMAIL")}
        nowhere = {"GIT_CONFIG_GLOBAL": "/dev/null", "GIT_CONFIG_SYSTEM": "/dev/null"}
        done = subprocess.run(["git", *words], cwd=self.place, env={**kept, **who, **nowhere},
                              capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, ends, done.stderr)
        return done.stdout

    def write(self, name, text):
        (self.place / name).write_text(text, encoding="utf-8")

    def text_of(self, name):
        return (self.place / name).read_text(encoding="utf-8")

    def commit(self, *words, ends=0):
        self.git("commit", "--quiet", "--message=Change", *words, ends=ends)

    def test_formats_what_is_committed(self):
        self.write("a b.cpp", OUT_OF_FORM)
        self.write("a.txt", OUT_OF_FORM)
        self.git("add", ".")
        self.commit()
        self.assertEqual(self.git("show", "HEAD:a b.cpp"), IN_FORM)
        self.assertEqual(self.text_of("a b.cpp"), IN_FORM)
        self.assertEqual(self.text_of("a.txt"), OUT_OF_FORM)

    def test_leaves_alone_what_is_not_committed(self):
        self.write("a.h", IN_FORM)
        self.write("b.h", OUT_OF_FORM)
        self.git("add", "a.h")
        self.commit()
        self.assertEqual(self.text_of("b.h"), OUT_OF_FORM)

    def test_refuses_a_file_out_of_form_that_is_partly_staged(self):
        self.write("a.h", OUT_OF_FORM)
        self.git("add", "a.h")
        self.write("a.h", OUT_OF_FORM * 2)
        self.commit(ends=1)
        self.assertEqual(self.git("show", ":a.h"), OUT_OF_FORM)
        self.assertEqual(self.text_of("a.h"), OUT_OF_FORM * 2)

    def test_takes_a_file_in_form_that_is_partly_staged(self):
        self.write("a.h", IN_FORM)
        self.git("add", "a.h")
        self.write("a.h", OUT_OF_FORM)
        self.commit()
        self.assertEqual(self.git("show", "HEAD:a.h"), IN_FORM)
        self.assertEqual(self.text_of("a.h"), OUT_OF_FORM)

    def test_formats_files_that_are_committed_by_name_for_the_next_try(self):
        self.write("a.h", IN_FORM)
        self.git("add", "a.h")
        self.commit()
        self.write("a.h", OUT_OF_FORM * 2)
        self.commit("a.h", ends=1)
        self.assertEqual(self.text_of("a.h"), IN_FORM * 2)
        self.commit("a.h")
        self.assertEqual(self.git("show", "HEAD:a.h"), IN_FORM * 2)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
