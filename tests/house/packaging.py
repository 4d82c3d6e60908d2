#!/usr/bin/env python3
"""What the packages state twice agrees with the tree.

usage: packaging.py SOURCE-DIRECTORY
"""

import pathlib
import re
import sys
import unittest

SOURCE = pathlib.Path(sys.argv[1])
DEBIAN = SOURCE / "packaging" / "debian"


def project_version():
    return re.search(r"project\(gatehall VERSION (\S+)", (SOURCE / "CMakeLists.txt").read_text())[1]


class Packaging(unittest.TestCase):
    def test_the_version_is_the_projects(self):
        package = re.search(r"gatehall \((.+)\)", (DEBIAN / "changelog").read_text())
        self.assertEqual(package[1], project_version())

    def test_the_librarys_package_is_named_for_its_soname(self):
        major = project_version().partition(".")[0]
        packages = re.findall(r"^Package: (.+)", (DEBIAN / "control").read_text(), re.MULTILINE)
        self.assertEqual(packages, ["gatehall", "libpam-gatehall", f"libgatehall{major}", "libgatehall-dev"])

    def test_the_packages_depend_on_every_library_that_is_mapped_on_first_use(self):
        # OpenLDAP's sonames hold its release, which linkers are not told.
        name = r'"lib([^"]+?)(?:-2\.5)?\.so\.\d+"|SONAME\("lib([^"]+)"'
        used = {one or other for file in (SOURCE / "src").rglob("*.*")
                for one, other in re.findall(name, file.read_text())}
        rules = (DEBIAN / "rules").read_text()
        mapped = " ".join(re.findall(r"^mapped(?:-to-draw)? = (.*)", rules, re.MULTILINE))
        self.assertEqual(sorted(used), sorted(mapped.split()))

    def test_the_packages_name_every_library_that_is_compiled_into_their_binaries(self):
        packages = {"nlohmann": "nlohmann-json3-dev", "toml++": "libtomlplusplus-dev",
                    "CLI": "libcli11-dev"}
        included = {}
        for file in (SOURCE / "src").rglob("*.*"):
            for folder in re.findall(r"#include <([\w+]+)/", file.read_text()):
                if folder in packages:
                    of_a_program = file.relative_to(SOURCE / "src").parts[0] == "ctl"
                    included.setdefault(packages[folder], set()).add(of_a_program)
        self.assertEqual(included.keys(), set(packages.values()))
        in_library = {package for package, users in included.items() if False in users}
        archives = set(re.findall(r"\blib(\w+)\.a\b", (SOURCE / "src/CMakeLists.txt").read_text()))
        self.assertEqual(archives - {"m"}, {"uuid"})  # libm.a: of the C library, nothing is left
        rules = (DEBIAN / "rules").read_text()

        def static_in(package):
            line = re.search(rf"^static-in-{package} = (.*)", rules, re.MULTILINE)[1]
            return set(line.split()) - {"$(static-in-libgatehall1)",
                                            "$(static-in-libpam-gatehall)", "$(of-the-compiler)"}

        self.assertEqual(static_in("libgatehall1"), in_library)
        self.assertEqual(static_in("libpam-gatehall"), {"uuid-dev"})
        self.assertEqual(static_in("gatehall"), set(included) - in_library)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
