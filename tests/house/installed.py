#!/usr/bin/env python3
"""Installs a build into a fresh prefix and builds a program against it, as a packager would.

usage: installed.py CMAKE COMPILER BUILD-DIRECTORY
"""

import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

from commands import run

CMAKE, COMPILER, BUILD = sys.argv[1:4]
CONSUMER = pathlib.Path(__file__).with_name("consumer.cpp")
SOURCE = pathlib.Path(__file__).resolve().parents[2]
WORLD = SOURCE / "examples" / "classroom.world.json"
PROJECT = """
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(gatehall 1.1 REQUIRED)
add_executable(consumer consumer.cpp)
target_link_libraries(consumer PRIVATE gatehall::gatehall)
"""


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.place = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        run(CMAKE, "--install", BUILD, "--prefix", cls.place / "first")
        # Nothing installed may remember where it was installed to.
        cls.prefix = cls.place / "moved"
        (cls.place / "first").rename(cls.prefix)
        cls.libraries = next(cls.prefix.glob("**/pkgconfig")).parent

    def test_the_programs_stand_in_bin(self):
        names = sorted(path.name for path in (self.prefix / "bin").iterdir())
        self.assertEqual(names, ["gatehall-menu", "gatehall-switch", "gatehallctl"])

    def test_the_library_carries_its_version(self):
        links = [
            path.name for path in self.libraries.glob("libgatehall.so*") if path.is_symlink()
        ]
        self.assertEqual(sorted(links), ["libgatehall.so", "libgatehall.so.1"])

    def compiled(self, header, *options):
        """What the compiler says of a program that includes nothing but the header."""
        done = subprocess.run(
            [COMPILER, *options, "-fsyntax-only", f"-I{self.prefix / 'include'}", "-xc++", "-"],
            input=f"#include <{header}>\n", capture_output=True, text=True, check=False,
        )
        return done.stderr

    def headers(self):
        include = self.prefix / "include"
        return sorted(str(path.relative_to(include)) for path in include.glob("**/*.h"))

    def test_only_the_public_headers_stand_in_include(self):
        public = SOURCE / "include"
        self.assertEqual(
            self.headers(), sorted(str(path.relative_to(public)) for path in public.glob("**/*.h"))
        )
        self.assertIn("gatehall/users/CachedUser.h", self.headers())

    def test_every_header_compiles_by_itself(self):
        # With GNU's words "linux" and "unix" are macros; without them every extension is told of.
        dialects = ["-std=gnu++20", "-std=c++2b"]
        runs = [(header, dialect) for header in self.headers() for dialect in dialects]
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            said = list(pool.map(
                lambda one: self.compiled(*one, "-Wall", "-Wextra", "-Wpedantic", "-Werror"), runs
            ))
        self.assertEqual({one: text for one, text in zip(runs, said) if text}, {})

    def test_an_earlier_standard_is_told_what_is_needed_and_no_more(self):
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            said = list(
                pool.map(lambda header: self.compiled(header, "-std=c++17"), self.headers())
            )
        for header, text in zip(self.headers(), said):
            errors = re.findall(r"error: (.*)", text)
            self.assertIn("Gatehall's headers need C++20", (errors or [text])[0], header)
            # The second ends the compiler's work.
            self.assertLessEqual(len(errors), 2, header)

    def test_pkg_config_serves_a_program(self):
        flags = run(
            "pkg-config", "--cflags", "--libs", "gatehall",
            env={**os.environ, "PKG_CONFIG_PATH": str(self.libraries / "pkgconfig")},
        ).split()
        program = self.place / "by-pkg-config"
        run(COMPILER, "-std=c++20", CONSUMER, "-o", program, *flags, f"-Wl,-rpath,{self.libraries}")
        self.shows_the_users_of_a_world(program)

    def test_find_package_serves_a_program(self):
        source = self.place / "consumer"
        source.mkdir()
        (source / "CMakeLists.txt").write_text(PROJECT, encoding="utf-8")
        shutil.copy(CONSUMER, source)
        build = source / "build"
        run(
            CMAKE, "-S", source, "-B", build,
            f"-DCMAKE_PREFIX_PATH={self.prefix}", f"-DCMAKE_CXX_COMPILER={COMPILER}",
        )
        run(CMAKE, "--build", build)
        self.shows_the_users_of_a_world(build / "consumer")

    def shows_the_users_of_a_world(self, program):
        self.assertEqual(run(program, WORLD), "ann\nasa\nbob\ncarol\nzoe\n")
        done = subprocess.run([program, "missing"], capture_output=True, text=True, check=False)
        self.assertEqual((done.returncode, done.stderr), (1, ""))
        self.assertRegex(done.stdout, "^missing: ")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
