#!/usr/bin/env python3
"""Draws example worlds and compares what stands where with drawings that are kept.

usage: pictures.py GATEHALLCTL EXAMPLES
       pictures.py GATEHALLCTL EXAMPLES --update      writes the kept drawings anew, to be judged

Colours, texts (by their numbers of glyphs), shapes and places count, places to within two points;
how Cairo writes them down does not. Only DejaVu fonts are used, whatever else is installed.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

GATEHALLCTL, EXAMPLES = sys.argv[1], pathlib.Path(sys.argv[2])
KEPT = pathlib.Path(__file__).with_name("pictures")
FONTS = """<?xml version="1.0"?>
<fontconfig><dir>/usr/share/fonts/truetype/dejavu</dir><cachedir>{cache}</cachedir>
<alias><family>Sans</family><prefer><family>DejaVu Sans</family></prefer></alias></fontconfig>
"""
SVG = "{http://www.w3.org/2000/svg}"
LINK = "{http://www.w3.org/1999/xlink}href"
NAMES = ["community", "kiosk", "school"]


def drawn(name, width, folder):
    return drawn_with_notes(name, width, folder)[0]


def drawn_with_notes(name, width, folder):
    fonts = folder / "fonts.conf"
    fonts.write_text(FONTS.format(cache=folder), encoding="utf-8")
    picture = folder / f"{name}.svg"
    done = subprocess.run(
        [GATEHALLCTL, "--world", EXAMPLES / f"{name}.world.json", "users", "--picture", picture,
         "--width", str(width)],
        env={**os.environ, "FONTCONFIG_FILE": str(fonts)}, check=True, capture_output=True,
        text=True, encoding="utf-8",
    )
    return picture.read_text(encoding="utf-8"), done.stderr


def numbers(text):
    return [float(number) for number in re.findall(r"-?\d+(?:\.\d+)?", text)]


def box(coordinates):
    xs, ys = coordinates[0::2], coordinates[1::2]
    return min(xs), min(ys), max(xs), max(ys)


def fill(element):
    match = re.search(r"fill:rgb\(([^)]*)\)", element.get("style", ""))
    return tuple(round(number * 2.55) for number in numbers(match[1])) if match else None


def structure(svg):
    """What is drawn, in order: what it is, its colour, where it stands."""
    root = ElementTree.fromstring(svg)
    found = [("picture", None, tuple(numbers(root.get("viewBox"))))]

    def walk(element):
        for child in element:
            tag = child.tag.removeprefix(SVG)
            glyphs = [each for each in child.findall(SVG + "use") if "glyph" in each.get(LINK)]
            if glyphs:
                first, last = glyphs[0], glyphs[-1]
                place = [float(each.get(axis)) for each in (first, last) for axis in ("x", "y")]
                found.append((f"{len(glyphs)} glyphs", fill(child), tuple(place)))
            elif tag == "path":
                found.append(("shape", fill(child), box(numbers(child.get("d")))))
            elif tag == "rect":
                place = tuple(float(child.get(name)) for name in ("x", "y", "width", "height"))
                found.append(("rectangle", fill(child), place))
            elif tag == "use":
                found.append(("image", None, tuple(numbers(child.get("transform")))))
            elif tag != "defs":
                walk(child)

    walk(root)
    return found


def close(one, other):
    return len(one) == len(other) and all(abs(a - b) <= 2 for a, b in zip(one, other))


class Pictures(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def assert_kept(self, name, width, kept):
        now = structure(drawn(name, width, self.folder))
        before = structure((KEPT / kept).read_text(encoding="utf-8"))
        self.assertEqual([entry[:2] for entry in now], [entry[:2] for entry in before])
        for new, old in zip(now, before):
            self.assertTrue(close(new[2], old[2]), f"{new} stood at {old[2]}")

    def test_worlds_are_drawn_as_they_were(self):
        for name in NAMES:
            with self.subTest(name):
                self.assert_kept(name, 440, f"{name}.svg")

    def test_a_script_without_a_font_is_told_of(self):
        notes = drawn_with_notes("community", 440, self.folder)[1].splitlines()
        self.assertEqual(notes, [
            "gatehallctl: no font has Devanagari letters, which a name needs: install fonts-noto-core",
            "gatehallctl: no font has Han letters, which a name needs: install fonts-noto-cjk"])
        self.assertEqual(drawn_with_notes("kiosk", 440, self.folder)[1], "")

    def test_a_narrow_list_is_cut_to_fit(self):
        self.assert_kept("community", 320, "community-narrow.svg")
        texts = [entry for entry in structure(drawn("community", 320, self.folder))
                 if "glyphs" in entry[0]]
        self.assertLess(max(max(place[0], place[2]) for _, _, place in texts), 320 - 32)


def update():
    KEPT.mkdir(exist_ok=True)
    with tempfile.TemporaryDirectory() as folder:
        for name, width, kept in [*((name, 440, name) for name in NAMES),
                                  ("community", 320, "community-narrow")]:
            svg = drawn(name, width, pathlib.Path(folder))
            (KEPT / f"{kept}.svg").write_text(svg, encoding="utf-8")


if __name__ == "__main__":
    if sys.argv[3:] == ["--update"]:
        update()
    else:
        unittest.main(argv=sys.argv[:1])
