#!/usr/bin/env python3
"""The manual pages as they are read: rendered on a terminal of 80 columns, without complaints, with every
verb and option that the programs have.

usage: manual.py SOURCE-DIRECTORY GATEHALLCTL
"""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

SOURCE, GATEHALLCTL = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
PAGES = sorted((SOURCE / "man").iterdir())


def rendered(page):
    """The page as a terminal shows it, without its faces, and what groff says against it."""
    done = subprocess.run(
        ["groff", "-t", "-man", "-Tutf8", "-ww", "-rLL=80n", "-P-c", "-P-b", "-P-u", page],
        capture_output=True, text=True, encoding="utf-8", check=True)
    return done.stdout, done.stderr


def sections(text):
    """The lines under each heading."""
    found = {}
    for line in text.splitlines():
        if re.match(r"\S", line):
            found[line] = lines = []
        elif found:
            lines.append(line)
    return found


def tags(lines):
    """What the items of a section are about: a name and what belongs to it, at the margin of the text."""
    return [line[7:] for line in lines if re.match(r" {7}\S", line)]


def faults(text):
    """What no reader should see, a line each."""
    for line in text.splitlines():
        if len(line) > 80:
            yield f"{len(line)} columns: {line}"
        if re.search(r"\\[-f&(|]|^\s*[.'](?:[A-Z]{1,2}|so|sp|br|nf|fi)(?:\s|$)", line):
            yield f"not obeyed: {line}"
        # The words behind a macro's name are put together.
        for word in re.findall(r"[A-Za-z.,;:]{41,}", line):
            yield f"one word: {word}"
    for title, lines in sections(text).items():
        for tag in tags(lines) if title in ("VERBS", "OPTIONS") else []:
            if tag.count("[") != tag.count("]"):
                yield f"broken off: {tag}"


def listed(title, *words):
    """The names in that list of the program's help."""
    text = subprocess.run([GATEHALLCTL, *words, "--help"], capture_output=True, text=True, check=True).stdout
    lines = text.partition(f"\n{title}:\n")[2].partition("\n\n")[0].splitlines()
    return [name for line in lines if not line.startswith("   ")
            for name in re.match(r"  ((?:-\w, )?[\w-]+)", line)[1].split(", ")]


class Manual(unittest.TestCase):
    def test_there_are_pages(self):
        self.assertLessEqual({"gatehallctl.1", "gatehall-switch.1", "pam_gatehall.8"},
                             {page.name for page in PAGES})

    def test_pages_are_rendered_without_faults(self):
        for page in PAGES:
            with self.subTest(page.name):
                text, complaints = rendered(page)
                self.assertEqual(complaints, "")
                self.assertEqual(list(faults(text)), [])
                self.assertIn("NAME", sections(text))

    def test_another_renderer_has_nothing_against_them(self):
        for page in PAGES:
            with self.subTest(page.name):
                done = subprocess.run(["mandoc", "-Tlint", "-W", "warning", page], capture_output=True,
                                      text=True, check=False)
                # They bear no date: a release has one.
                complaints = [line for line in done.stdout.splitlines() if "missing date" not in line]
                self.assertEqual(complaints, [])

    def test_every_verb_has_its_item(self):
        items = [tag.split()[0] for tag in tags(sections(rendered(SOURCE / "man/gatehallctl.1")[0])["VERBS"])]
        self.assertEqual([verb for verb in listed("Verbs") if verb not in items], [])

    def test_every_option_of_the_program_has_its_item(self):
        items = " ".join(tags(sections(rendered(SOURCE / "man/gatehallctl.1")[0])["OPTIONS"]))
        self.assertEqual(set(listed("Options")) - set(re.findall(r"--?[\w-]+", items)), set())

    def test_every_option_of_a_verb_is_told_of(self):
        verbs = " ".join(sections(rendered(SOURCE / "man/gatehallctl.1")[0])["VERBS"])
        told = set(re.findall(r"--[\w-]+", verbs))
        for verb in listed("Verbs"):
            with self.subTest(verb):
                self.assertEqual(set(listed("Options", verb)) - told, set())

    def test_what_is_wrong_is_found(self):
        page = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())) / "page.1"
        page.write_text('.TH PAGE 1 "" "" ""\n.SH VERBS\n.TP\n.BR watch\\  [ \\-\\-script\n.IR EVENTS ]\nThat.\n'
                        ".PP\nnot\n .BR obeyed\n.nf\n" + "x/" * 45 + "\n.fi\n.BR one . and many others, which are put together as one word\n", encoding="utf-8")
        found = [line.partition(":")[0] for line in faults(rendered(page)[0])]
        self.assertEqual(sorted(found), ["97 columns", "broken off", "not obeyed", "one word"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
