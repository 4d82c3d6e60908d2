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
        self.assertEqual(packages, ["gatehall", f"libgatehall{major}", "libgatehall-dev"])

    def test_the_packages_depend_on_every_library_that_is_mapped_on_first_use(self):
        # OpenLDAP's sonames hold its release, which linkers are not told.
        name = r'"lib([^"]+?)(?:-2\.5)?\.so\.\d+"|SONAME\("lib([^"]+)"'
        used = {one or other for file in (SOURCE / "src").rglob("*.*")
                for one, other in re.findall(name, file.read_text())}
        rules = (DEBIAN / "rules").read_text()
        mapped = " ".join(re.findall(r"^mapped(?:-to-draw)? = (.*)", rules, re.MULTILINE))
        self.assertEqual(sorted(used), sorted(mapped.split()))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
