#!/usr/bin/env python3
"""Compares what the shared library exports with what the public headers declare and with the list
that the Debian package is held to.

usage: exported.py LIBRARY SOURCE-DIRECTORY [--update]     --update writes the list anew
"""

import json
import pathlib
import re
import subprocess
import sys
import unittest

from commands import run

LIBRARY, SOURCE = (pathlib.Path(word) for word in sys.argv[1:3])
INCLUDE = SOURCE / "include"
LIST = SOURCE / "packaging" / "debian" / "libgatehall1.symbols"
VERSION = re.search(r"project\(gatehall VERSION (\S+)", (SOURCE / "CMakeLists.txt").read_text())[1]

OF_A_CLASS = re.compile(r"(?:vtable|typeinfo|typeinfo name) for gatehall::(\S+)")
THUNK = re.compile(r"(?:non-virtual|virtual) thunk to ")

FUNCTIONS = {
    "FunctionDecl", "CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl", "CXXConversionDecl"
}
WITHOUT_CODE = ("inline", "pure", "constexpr", "isImplicit", "explicitlyDefaulted",
                "explicitlyDeleted")


def demangled(names):
    return run("c++filt", input="\n".join(names)).splitlines()


def exported():
    """Name and version of each symbol; one of a kind where several are of one name."""
    lines = run("nm", "--dynamic", "--defined-only", "--with-symbol-versions", LIBRARY).splitlines()
    symbols = [(kind, *name.partition("@@")[::2])
               for _, kind, name in (line.split() for line in lines)]
    symbols = [(name, version) for kind, name, version in symbols if kind != "A"]
    return set(zip(demangled(name for name, _ in symbols), (version for _, version in symbols)))


def declarations():
    """The syntax trees of the namespaces in the public headers, as clang reads them."""
    headers = sorted(path.relative_to(INCLUDE) for path in INCLUDE.glob("gatehall/**/*.h"))
    text = run(
        "clang++-19", "-std=c++20", "-fsyntax-only", f"-I{INCLUDE}", "-xc++", "-",
        "-Xclang", "-ast-dump=json", "-Xclang", "-ast-dump-filter=gatehall",
        input="".join(f"#include <{header}>\n" for header in headers))
    decoder, at = json.JSONDecoder(), 0
    while at < len(text):
        tree, at = decoder.raw_decode(text, at)
        at += len(text[at:]) - len(text[at:].lstrip())
        if tree["kind"] == "NamespaceDecl":
            yield tree


class Declared:
    """What the headers declare: the functions that have no body there, and the classes."""

    def __init__(self):
        mangled, self.classes, self.unmarked = set(), set(), []
        for tree in declarations():
            self.read(tree, "", mangled)
        self.functions = set(demangled(sorted(mangled)))

    def read(self, tree, scope, mangled):
        for node in tree.get("inner", ()):
            kind, inner = node["kind"], node.get("inner", ())
            if kind == "NamespaceDecl":
                name = node["name"]
                self.read(node, scope if name == "gatehall" else f"{scope}{name}::", mangled)
            elif kind == "CXXRecordDecl" and node.get("completeDefinition"):
                name = scope + node.get("name", "")
                self.classes.add(name)
                # A class within one is as visible as that.
                if tree["kind"] == "NamespaceDecl" and not is_marked(node):
                    self.unmarked.append(name)
                self.read(node, f"{name}::", mangled)
            elif kind == "ClassTemplateDecl":
                pattern = next(part for part in inner if part["kind"] == "CXXRecordDecl")
                if not is_marked(pattern):
                    self.unmarked.append(scope + node["name"])
            elif kind in FUNCTIONS and not any(map(node.get, WITHOUT_CODE)):
                if not any(part["kind"] == "CompoundStmt" for part in inner):
                    mangled.add(node["mangledName"])


def is_marked(node):
    return any(part["kind"] == "VisibilityAttr" for part in node.get("inner", ()))


def listed():
    """Name and version of the list's symbols, with the release since which they are there."""
    lines = LIST.read_text().splitlines() if LIST.exists() else []
    found = (re.fullmatch(r' \(c\+\+\)"(.+)@(\S+)" (\S+)', line) for line in lines)
    return {(match[1], match[2]): match[3] for match in found if match}


def written_anew():
    since = listed()
    lines = [f' (c++)"{name}@{version}" {since.get((name, version), VERSION)}'
             for name, version in sorted(exported())]
    versions = sorted({version for _, version in exported()})
    return "\n".join([
        f"libgatehall.so.{VERSION.partition('.')[0]} libgatehall1 #MINVER#",
        *(f" {version}@{version} {version.partition('_')[2]}.0" for version in versions),
        *lines,
    ]) + "\n"


class Exported(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.symbols = exported()
        cls.names = {name for name, _ in cls.symbols}
        cls.declared = Declared()

    def test_every_class_of_the_headers_is_marked(self):
        self.assertGreater(len(self.declared.classes), 30)
        self.assertEqual(self.declared.unmarked, [])

    def test_every_function_of_the_headers_is_there_and_no_other(self):
        functions = {name for name in self.names
                     if not OF_A_CLASS.match(name) and not THUNK.match(name)}
        self.assertGreater(len(functions), 100)
        self.assertEqual(sorted(self.declared.functions - functions), [], "not exported")
        self.assertEqual(sorted(functions - self.declared.functions), [], "not declared")

    def test_of_types_only_the_headers_classes_are_there(self):
        types = {match[1] for match in map(OF_A_CLASS.match, self.names) if match}
        self.assertLessEqual({"PlatformException", "LinuxPlatform", "WorldError"}, types)
        self.assertEqual(sorted(types - self.declared.classes), [])

    def test_every_symbol_carries_a_version(self):
        self.assertEqual([name for name, version in self.symbols if not version], [])

    def test_the_packages_list_is_the_librarys(self):
        self.assertEqual(sorted(self.symbols - listed().keys()), [], "not listed")
        self.assertEqual(sorted(listed().keys() - self.symbols), [], "not exported")


if __name__ == "__main__":
    if sys.argv[3:] == ["--update"]:
        LIST.write_text(written_anew())
    else:
        unittest.main(argv=sys.argv[:1])
