#!/usr/bin/env python3
"""Installs a build into a fresh prefix and builds a program against it, as a packager would.

usage: installed.py CMAKE COMPILER BUILD-DIRECTORY
"""

import os
import pathlib
import shutil
import sys
import tempfile
import unittest

from commands import run

CMAKE, COMPILER, BUILD = sys.argv[1:4]
CONSUMER = pathlib.Path(__file__).with_name("consumer.cpp")
PROJECT = """
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(gatehall 1.0 REQUIRED)
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
        self.assertEqual(names, ["gatehall-switch", "gatehallctl"])

    def test_the_library_carries_its_version(self):
        links = [
            path.name for path in self.libraries.glob("libgatehall.so*") if path.is_symlink()
        ]
        self.assertEqual(sorted(links), ["libgatehall.so", "libgatehall.so.1"])

    def test_every_header_compiles_by_itself(self):
        include = self.prefix / "include" / "gatehall"
        headers = sorted(include.glob("**/*.h"))
        self.assertTrue(headers)
        text = "".join(f'#include "{path.relative_to(include)}"\n' for path in headers)
        run(COMPILER, "-std=c++20", "-fsyntax-only", f"-I{include}", "-xc++", "-", input=text)

    def test_pkg_config_serves_a_program(self):
        flags = run(
            "pkg-config", "--cflags", "--libs", "gatehall",
            env={**os.environ, "PKG_CONFIG_PATH": str(self.libraries / "pkgconfig")},
        ).split()
        program = self.place / "by-pkg-config"
        run(COMPILER, "-std=c++20", CONSUMER, "-o", program, *flags, f"-Wl,-rpath,{self.libraries}")
        self.assertEqual(run(program), "(ann, bob)\n")

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
        self.assertEqual(run(build / "consumer"), "(ann, bob)\n")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
