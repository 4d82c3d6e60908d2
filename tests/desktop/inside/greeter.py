"""LightDM's login screen, as somebody sits in front of it: keys are typed, and what stands on it is
read off the screen."""
import csv
import os
import re
import subprocess

from gi.repository import GLib

from desktop import LIGHTDM_LOG
from system import run

SETTINGS = "/etc/lightdm/lightdm.conf.d/60-greeter.conf"

# What is read: all of the screen but the clock's line. Letters are recognised when they are large.
WIDTH, HEIGHT, TOP = 800, 450, 75
LARGER = 3

# Nobody says that a screen has changed: it is looked at again this often, in milliseconds.
LOOK_AGAIN = 100

ASKS = r"Greeter start authentication\n(?s:.*)Prompt greeter"


class Greeter:
    """For the time of a case LightDM logs nobody in by itself, and its greeter asks for names, as
    Debian's does. It is in front, and nobody is logged in."""

    def __init__(self, desktop):
        self._desktop = desktop
        # The next LightDM reads the settings that there were before.
        desktop.after(desktop.stop_display_manager)
        desktop.write(SETTINGS, "[Seat:*]\ngreeter-hide-users=true\nautologin-user=\n")
        desktop.stop_display_manager()
        desktop.until(lambda: not desktop.sessions(), "no session left")
        self._log_start = 0  # of what LightDM says; each begins a log of its own
        run("systemctl", "start", "lightdm.service")
        self._have_come()

    def come(self):
        """Comes to the front once more, while sessions run."""
        self._log_start = len(LIGHTDM_LOG.read_text())
        self._desktop.ask_display_manager("SwitchToGreeter")
        self._have_come()

    def _have_come(self):
        self._desktop.until_greeter()
        self._until_log(ASKS)
        authority, display = self._until_log(r"Writing X server authority to (\S*/(:\d+))\n").groups()
        self._environment = {**os.environ, "DISPLAY": display, "XAUTHORITY": authority}
        self.until_shows("Log In")

    def log_in(self, name, *answers):
        """Types a name, and what it is expected to ask for then: a password, and others with what it
        says to them, ("New password", "secret"). LightDM's result: "Success", "Permission denied", …"""
        self.name(name)
        for answer in answers:
            self.answer(*((answer,) if isinstance(answer, str) else reversed(answer)))
        return self._until_log(rf"Authenticate result for user {name}: (.*)\n")[1]

    def name(self, name):
        """Types a name, and sees it on the screen."""
        self._type(name)
        self.until_shows(name)
        self._log_start = len(LIGHTDM_LOG.read_text())
        self._press("Return")
        self._log_start += self._until_log(rf"Greeter start authentication for {name}\n").end()

    def answer(self, secret, prompt="Log In"):
        """Types something when it is asked for, and that is on the screen."""
        self._log_start += self._until_log(r"Prompt greeter with \d+ message").end()
        self.until_shows(prompt)
        # The greeter takes one key at a time, and what LightDM told it before the next.
        self._press("Shift_L")
        self._type(secret)
        self._press("Return")

    def enter(self):
        """Goes on to the desktop, where no password was asked for."""
        self._click("Log")

    def cancel(self):
        """It asks for a name again."""
        self._log_start = len(LIGHTDM_LOG.read_text())
        self._click("Cancel")
        self._until_log(ASKS)

    def until_shows(self, text):
        """Waits until that is on the screen, and gives all that is, as one line."""
        def shows():
            shows.seen = " ".join(self._read().split()).replace("’", "'")
            return text in shows.seen

        timer = GLib.timeout_add(LOOK_AGAIN, lambda: True)
        try:
            self._desktop.until(shows, f"“{text}” on the screen")
        except AssertionError as error:
            raise AssertionError(f"{error}; on it is: {shows.seen}") from None
        finally:
            GLib.source_remove(timer)
        return shows.seen

    def _click(self, word):
        x, y = self._place(word)
        run("xdotool", "mousemove", str(x), str(y), "click", "1", env=self._environment)

    def _type(self, text):
        run("xdotool", "type", "--delay", "1", text, env=self._environment)

    def _press(self, key):
        run("xdotool", "key", key, env=self._environment)

    def _read(self, *formats):
        """What a recogniser of letters reads on the screen, line by line."""
        picture = subprocess.run(
            ["import", "-window", "root", "-crop", f"{WIDTH}x{HEIGHT}+0+{TOP}", "+repage",
             "-colorspace", "gray", "-resize", f"{LARGER * 100}%", "png:-"],
            env=self._environment, stdout=subprocess.PIPE, check=True, timeout=60).stdout
        # As one block of lines: a greeter has few.
        return subprocess.run(["tesseract", "-", "-", "--psm", "6", *formats], input=picture,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True,
                              timeout=60).stdout.decode()

    def _place(self, word):
        """The middle of a word on the screen."""
        rows = csv.DictReader(self._read("tsv").splitlines(), delimiter="\t", quoting=csv.QUOTE_NONE)
        (row,) = (row for row in rows if row["text"] == word)
        left, top, width, height = (int(row[key]) for key in ("left", "top", "width", "height"))
        return (left + width // 2) // LARGER, TOP + (top + height // 2) // LARGER

    def _until_log(self, pattern):
        return self._desktop.until(
            lambda: re.search(pattern, LIGHTDM_LOG.read_text()[self._log_start:]),
            f"“{pattern}” in LightDM's log")
