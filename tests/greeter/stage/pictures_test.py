"""What counts as the same picture."""
import pathlib
import subprocess
import tempfile
import unittest

import pictures

FONT = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"
FACES = ("#3465a4", "#4e9a06", "#75507b", "#c17d11")


def draw(file, *more, card="#ffffff", faces=FACES, letters=()):
    """A card with rows, each with a face and a name."""
    rows = []
    for number, face in enumerate(faces):
        y = 140 + 72 * number
        rows += ["-fill", face, "-draw", f"circle 340,{y} 340,{y - 23}", "-fill", "#2e3436",
                 "-draw", f"text 380,{y + 5} 'Somebody of row {number}'"]
    subprocess.run(["convert", "-size", "1024x768", "xc:#eef0f3", "-fill", card, "-draw",
                    "roundrectangle 292,90 732,640 18,18", "-font", FONT, "-pointsize", "16", *letters,
                    *rows, *more, file], check=True)


class Pictures(unittest.TestCase):
    def setUp(self):
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        pictures.KEPT, self.shot = folder, folder / "shot.png"
        draw(folder / "kept.png")

    def difference(self):
        return pictures.difference("kept", self.shot)

    def test_letters_drawn_otherwise_are_the_same(self):
        for letters in ((), ("+antialias",), ("-pointsize", "16.3")):
            draw(self.shot, letters=letters)
            self.assertEqual(self.difference(), "", letters)

    def test_all_of_it_a_dot_lower_is_the_same_but_for_edges(self):
        draw(self.shot, "-roll", "+0+1")
        self.assertEqual(self.difference(), "")

    def test_a_missing_card_is_another_picture(self):
        draw(self.shot, card="#eef0f3")
        self.assertIn("in the mean", self.difference())

    def test_a_missing_row_is_another_picture(self):
        draw(self.shot, faces=FACES[:3])
        self.assertIn("around", self.difference())

    def test_another_colour_is_another_picture(self):
        draw(self.shot, faces=(FACES[0], FACES[1], FACES[2], "#cc0000"))
        self.assertIn("around", self.difference())

    def test_another_size_is_another_picture(self):
        draw(self.shot, "-resize", "50%")
        self.assertIn("its size", self.difference())

    def test_a_picture_that_is_not_kept_is_told(self):
        draw(self.shot)
        self.assertIn("is kept", pictures.difference("other", self.shot))

    def test_the_dots_of_a_colour_are_counted(self):
        subprocess.run(["convert", "-size", "30x20", "xc:#0fa3b1", "-fill", "#000000", "-draw",
                        "rectangle 0,0 9,4", self.shot], check=True)
        counts = [pictures.dots(self.shot, colour) for colour in ("#0fa3b1", "#000000", "#ffffff")]
        self.assertEqual(counts, [550, 50, 0])
        self.assertEqual(pictures.dots(self.shot, "#0fa3b1", "#000000"), 600)


if __name__ == "__main__":
    unittest.main()
