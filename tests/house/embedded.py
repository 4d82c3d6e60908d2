#!/usr/bin/env python3
"""Builds examples/embed and the program of docs/embedding.md against an installed build, as somebody who
embeds the library would, and runs them on a machine of their own.

usage: embedded.py CMAKE COMPILER BUILD-DIRECTORY SOURCE-DIRECTORY
"""

import os
import pathlib
import re
import select
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from commands import run

CMAKE, COMPILER, BUILD = sys.argv[1:4]
EXAMPLE = pathlib.Path(sys.argv[4], "examples/embed/main.cpp")
PAGE = pathlib.Path(sys.argv[4], "docs/embedding.md")
SECONDS = 60  # until a line has to be there; it mostly takes one or two


class Machine:
    """A folder with account files."""

    def __init__(self, root):
        self.root = root
        (root / "etc").mkdir(parents=True)
        self.write("machine-id", "0123456789abcdef0123456789abcdef\n")
        self.write("shells", "/bin/sh\n/bin/bash\n")
        self.write("group", "root:x:0:\n")
        self.accounts("ann:Ann Lee", "bob:Bob Ray")

    def accounts(self, *accounts):
        passwd, shadow = "", ""
        for number, account in enumerate(accounts, 1000):
            name, full_name = account.split(":")
            passwd += f"{name}:x:{number}:100:{full_name},,,:/home/{name}:/bin/bash\n"
            shadow += f"{name}::19000:0:99999:7:::\n"
        self.write("shadow", shadow)
        self.write("passwd", passwd)

    def write(self, name, text):
        """As the tools do it: a new file in the old one's place."""
        new = self.root / "etc" / f"{name}.new"
        new.write_text(text, encoding="utf-8")
        new.rename(self.root / "etc" / name)


class Embedded(unittest.TestCase):
    """A program that is built once, by build_in, and runs on a machine of its own in each test."""

    @classmethod
    def setUpClass(cls):
        place = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        prefix = place / "prefix"
        run(CMAKE, "--install", BUILD, "--prefix", prefix)
        cls.libraries = next(prefix.glob("**/pkgconfig")).parent
        cls.environment = {**os.environ, "PKG_CONFIG_PATH": str(cls.libraries / "pkgconfig")}
        cls.program = cls.build_in(place)

    def setUp(self):
        root = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.machine = Machine(root)
        self.host = subprocess.Popen(
            [self.program, root], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            env={
                **os.environ,
                "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nonexistent",
                "LD_LIBRARY_PATH": str(self.libraries),
            },
        )
        self.addCleanup(self.host.stderr.close)
        self.addCleanup(self.host.stdout.close)
        self.addCleanup(self.host.wait)
        self.addCleanup(self.host.kill)
        self.text = ""

    def await_text(self, wanted):
        limit = time.monotonic() + SECONDS
        while wanted not in self.text:
            ready, _, _ = select.select([self.host.stdout], [], [], limit - time.monotonic())
            part = os.read(self.host.stdout.fileno(), 65536).decode() if ready else ""
            if not part:
                self.fail(f"{wanted!r} does not come after {self.text!r}")
            self.text += part

    def end(self, number):
        self.host.send_signal(number)
        self.assertEqual(self.host.wait(SECONDS), 0, self.host.stderr.read())


class Example(Embedded):
    @classmethod
    def build_in(cls, place):
        flags = run(
            "pkg-config", "--cflags", "--libs", "gatehall", "glib-2.0", env=cls.environment
        ).split()
        program = place / "embed"
        run(COMPILER, "-std=c++20", "-Wall", "-Wextra", "-Werror", EXAMPLE, "-o", program, *flags)
        return program

    def test_it_shows_the_list_and_every_change_of_it(self):
        self.await_text("2 users\n  Ann Lee\n  Bob Ray\n")
        self.machine.accounts("ann:Ann Lee", "bob:Bob Ray", "carol:Carol Diaz")
        self.await_text("3 users\n  Ann Lee\n  Bob Ray\n  Carol Diaz\n")
        self.machine.accounts("bob:Bob Ray", "carol:Carol Diaz")
        self.await_text("2 users\n  Bob Ray\n  Carol Diaz\n")
        self.end(signal.SIGTERM)

    def test_it_ends_in_the_middle_of_anything(self):
        self.await_text("2 users\n")
        self.machine.accounts("ann:Ann Lee")
        self.end(signal.SIGINT)


class Page(Embedded):
    @classmethod
    def build_in(cls, place):
        """The program as it stands on the page, by the line that stands there."""
        blocks = re.findall(r"^```(\w+)\n(.*?)^```$", PAGE.read_text(), re.DOTALL | re.MULTILINE)
        assert [language for language, _ in blocks] == ["cpp", "sh"], blocks
        (place / "screen.cpp").write_text(blocks[0][1], encoding="utf-8")
        run("sh", "-c", blocks[1][1], cwd=place, env=cls.environment)
        return place / "screen"

    def test_it_shows_the_list_with_reasons_and_every_change_of_it(self):
        ann, bob = "Ann Lee: yes (local login enabled)\n", "Bob Ray: yes (local login enabled)\n"
        self.await_text(f"{ann}{bob}--\n")
        self.machine.accounts("bob:Bob Ray")
        self.await_text(f"--\n{bob}--\n")
        self.end(signal.SIGTERM)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
