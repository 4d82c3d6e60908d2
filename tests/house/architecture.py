#!/usr/bin/env python3
"""Compares the pictures and the table of ARCHITECTURE.md with what the table of rooms (rooms.py) draws.

usage: architecture.py SOURCE-DIRECTORY [--update]      --update: writes them anew
"""

import pathlib
import re
import sys
import unittest

import rooms

DOCUMENT = pathlib.Path(sys.argv[1]) / "ARCHITECTURE.md"

DRAWN = {
    "house": f"```mermaid\n{rooms.mermaid(rooms.house())}```\n",
    "linux": f"```mermaid\n{rooms.mermaid(rooms.inside('linux'))}```\n",
    "rooms": rooms.table(),
}


def place_of(name):
    """What stands between the comments of that name."""
    return re.compile(f"(?<=<!-- {name} -->\n).*?(?=<!-- end of {name} -->\n)", re.DOTALL)


def update():
    text = DOCUMENT.read_text(encoding="utf-8")
    for name, drawn in DRAWN.items():
        text = place_of(name).sub(lambda _, drawn=drawn: drawn, text)
    DOCUMENT.write_text(text, encoding="utf-8")


class Architecture(unittest.TestCase):
    def test_the_document_shows_what_the_table_of_rooms_draws(self):
        text = DOCUMENT.read_text(encoding="utf-8")
        for name, drawn in DRAWN.items():
            with self.subTest(name):
                self.assertEqual(place_of(name).findall(text), [drawn], "see --update")

    def test_every_room_stands_in_the_picture_of_the_house(self):
        picture = rooms.mermaid(rooms.house())
        for room in rooms.ROOMS:
            self.assertIn(f"<b>{rooms.top_of(room)}</b>", picture)

    def test_a_picture_leaves_out_only_the_arrows_that_follow_from_others(self):
        graph = {"attic": {"hall", "cellar"}, "hall": {"cellar"}, "cellar": set()}
        self.assertEqual(rooms.drawn_arrows(graph), [("attic", "hall"), ("hall", "cellar")])
        graph["hall"] = set()
        self.assertEqual(rooms.drawn_arrows(graph), [("attic", "cellar"), ("attic", "hall")])


if __name__ == "__main__":
    if sys.argv[2:] == ["--update"]:
        update()
    else:
        unittest.main(argv=sys.argv[:1])
