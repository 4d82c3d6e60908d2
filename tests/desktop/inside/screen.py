"""What somebody sees who sits in front of a graphical session, and types there: letters are read off the
screen."""
import csv
import os
import subprocess

from gi.repository import GLib

from programs import session_environment
from system import run

# Nobody says that a screen has changed: it is looked at again this often, in milliseconds.
LOOK_AGAIN = 100


def _out_of_ground(size):
    """Letters become black on white, whatever they are and stand on: what differs from the middle
    brightness of so many pixels around."""
    return ("(", "+clone", "-filter", "box", "-resize", "25%", "-statistic", "Median", f"{size}x{size}",
            "-filter", "triangle", "-resize", "400%", ")", "-compose", "difference", "-composite",
            "-negate", "-level", "40%,95%")


# What one way overlooks is read in another.
READINGS = ((), _out_of_ground(5), _out_of_ground(9))


def _display(session):
    """What leads to its display; empty while its program starts."""
    try:
        there = session_environment(session)
    except (IndexError, OSError):  # none is there yet, or that one is gone
        return {}
    found = {name: there.get(name.encode(), b"").decode() for name in ("DISPLAY", "XAUTHORITY")}
    return found if all(found.values()) else {}


class Screen:
    """The part of a session's X display that is looked at, as ImageMagick's geometry has it. Letters are
    recognised when they are large: "larger" is how much larger the picture of it is made."""

    def __init__(self, desktop, geometry="800x600+0+0", larger=3, languages="eng"):
        self._desktop = desktop
        self._environment = None
        self._geometry = geometry
        self._corner = tuple(int(number) for number in geometry.split("+")[1:])
        self._larger = larger
        self._languages = languages

    def look_at(self, session):
        """At this session's from now on."""
        self._environment = {**os.environ, **self._desktop.until(lambda: _display(session),
                                                                 f"a display of {session}")}

    def type(self, text):
        run("xdotool", "type", "--delay", "1", text, env=self._environment)

    def press(self, *keys):
        run("xdotool", "key", *keys, env=self._environment)

    def click(self, word):
        x, y = self.place(word)
        run("xdotool", "mousemove", str(x), str(y), "click", "1", env=self._environment)

    def until_shows(self, *texts, without=()):
        """Waits until these are on the screen, and those not, and gives all that is, as one line."""
        def shows():
            shows.seen = self.seen()
            return all(text in shows.seen for text in texts) and not any(
                text in shows.seen for text in without)

        timer = GLib.timeout_add(LOOK_AGAIN, lambda: True)
        what = " and ".join(f"“{text}”" for text in texts)
        what += "".join(f" without “{text}”" for text in without)
        try:
            self._desktop.until(shows, f"{what} on the screen")
        except AssertionError as error:
            raise AssertionError(f"{error}; on it is: {shows.seen}") from None
        finally:
            GLib.source_remove(timer)
        return shows.seen

    def seen(self):
        """All that is read now, as one line, once for each way of reading."""
        words = [word for way in READINGS for word in self._read(way).split()]
        return " ".join(words).replace("’", "'")

    def place(self, word):
        """The middle of a word on the screen."""
        found = []
        for way in READINGS:
            rows = csv.DictReader(self._read(way, "tsv").splitlines(), delimiter="\t",
                                  quoting=csv.QUOTE_NONE)
            found = found or [row for row in rows if row["text"] == word]
        assert len(found) == 1, f"“{word}” is {len(found)} times on the screen"
        left, top, width, height = (int(found[0][key]) for key in ("left", "top", "width", "height"))
        return (self._corner[0] + (left + width // 2) // self._larger,
                self._corner[1] + (top + height // 2) // self._larger)

    def picture(self):
        """What it looks like, as PNG."""
        return self._convert("-depth", "8")

    def _convert(self, *operations):
        return subprocess.run(
            ["convert", "x:root", "-crop", self._geometry, "+repage", *operations, "png:-"],
            env=self._environment, stdout=subprocess.PIPE, check=True, timeout=60).stdout

    def _read(self, way, *formats):
        """What a recogniser of letters reads on the screen, line by line."""
        picture = self._convert("-colorspace", "gray", *way, "-resize", f"{self._larger * 100}%")
        # As one block of lines: such a screen has few.
        return subprocess.run(
            ["tesseract", "-", "-", "-l", self._languages, "--psm", "6", *formats], input=picture,
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True, timeout=120).stdout.decode()
