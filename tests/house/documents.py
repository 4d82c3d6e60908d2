#!/usr/bin/env python3
"""What the documents (*.md) name exists: the targets of their links, the files of the tree that they name
in passing, the units that a room's page lists, and the version.

usage: documents.py SOURCE-DIRECTORY
"""

import pathlib
import re
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(sys.argv[1]).resolve()
DOCUMENTS = [
    path
    for path in sorted(SOURCE.rglob("*.md"))
    if not {"build", ".git"} & set(path.relative_to(SOURCE).parts)
]

LINK = re.compile(r"!?\[[^\]]*\]\(<?([^)>\s]+)>?\)|<img src=\"([^\"]+)\"")
FENCED = re.compile(r"^```.*?^```$", re.DOTALL | re.MULTILINE)
# A path from the top of the tree, of src/ or of include/, as it stands between backticks.
TOPS = (SOURCE, SOURCE / "src", SOURCE / "include")
PATH = re.compile(r"`((?:[\w.-]+/)+[\w.-]*)`")


def links(text):
    return [one or other for one, other in LINK.findall(FENCED.sub("", text))]


def anchor(heading):
    """As forges make it."""
    kept = re.sub(r"[^\w\- ]", "", heading.strip().lower().replace("`", ""))
    return kept.replace(" ", "-")


def anchors(path):
    text = FENCED.sub("", path.read_text(encoding="utf-8"))
    return {anchor(heading) for heading in re.findall(r"^#+ (.*)$", text, re.MULTILINE)}


def broken_links(document):
    for link in links(document.read_text(encoding="utf-8")):
        if re.match(r"[a-z]+:", link):
            continue
        name, _, place = link.partition("#")
        target = document.parent / name if name else document
        if not target.exists() or (place and place not in anchors(target)):
            yield link


def missing_files(document):
    """Paths that begin as one of the tree does and name nothing in it. What a build makes, and what stands
    for a name (in capitals), is not looked for."""
    for path in PATH.findall(FENCED.sub("", document.read_text(encoding="utf-8"))):
        first = path.partition("/")[0]
        tops = [top for top in (document.parent, *TOPS) if (top / first).exists()]
        if first == "build" or re.search(r"[A-Z]{4}", path) or not tops:
            continue
        if not any((top / path).exists() for top in tops):
            yield path


def missing_units(page):
    """Those of a room's page, in cells of tables that begin a line and hold nothing else, that stand neither
    in the room nor in one below it."""
    there = {path.stem for path in page.parent.rglob("*.h")}
    for cell in re.findall(r"^\| (`\w+`(?:, `\w+`)*) \|", page.read_text(encoding="utf-8"), re.MULTILINE):
        yield from (name for name in re.findall(r"\w+", cell) if name not in there)


class Documents(unittest.TestCase):
    def test_there_are_documents(self):
        names = {path.relative_to(SOURCE).as_posix() for path in DOCUMENTS}
        wanted = {"README.md", "HACKING.md", "ARCHITECTURE.md", "docs/linux.md"}
        self.assertEqual(wanted - names, set())

    def test_links_lead_somewhere(self):
        for document in DOCUMENTS:
            with self.subTest(document.relative_to(SOURCE).as_posix()):
                self.assertEqual(list(broken_links(document)), [])

    def test_files_that_are_named_exist(self):
        for document in DOCUMENTS:
            with self.subTest(document.relative_to(SOURCE).as_posix()):
                self.assertEqual(list(missing_files(document)), [])

    def test_units_that_a_rooms_page_lists_exist(self):
        pages = [page for page in DOCUMENTS if page.is_relative_to(SOURCE / "src")]
        self.assertTrue(pages)
        for page in pages:
            with self.subTest(page.relative_to(SOURCE).as_posix()):
                self.assertEqual(list(missing_units(page)), [])

    def test_the_changelog_tells_of_the_projects_version(self):
        cmake = (SOURCE / "CMakeLists.txt").read_text(encoding="utf-8")
        version = re.search(r"project\(gatehall VERSION (\S+)", cmake)[1]
        changes = (SOURCE / "CHANGELOG.md").read_text(encoding="utf-8")
        self.assertIn(version, re.findall(r"^## \[(.+?)\] - ", changes, re.MULTILINE))

    def test_what_is_wrong_is_found(self):
        page = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())) / "page.md"
        page.write_text(
            "# A `page`, new\n[a](#a-page-new) [b](page.md#a-page-new) [c](https://nowhere.example)\n"
            "[d](other.md) [e](#another-page) `users/CachedUser.cpp` `/etc/passwd` `users/Nobody.h`\n"
            "`users/NAME.h` `build/release`\n```\n[f](in-a-program.md) `users/Nobody.h`\n```\n",
            encoding="utf-8",
        )
        self.assertEqual(list(broken_links(page)), ["other.md", "#another-page"])
        self.assertEqual(list(missing_files(page)), ["users/Nobody.h"])

    def test_a_unit_that_is_not_there_is_found(self):
        room = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        (room / "client").mkdir()
        (room / "client" / "Connection.h").touch()
        (room / "README.md").write_text(
            "| `Connection`, `Nobody` | of `Another` |\n| what `Somebody` says | |\n", encoding="utf-8"
        )
        self.assertEqual(list(missing_units(room / "README.md")), ["Nobody"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
