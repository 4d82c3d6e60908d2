"""LightDM with a login screen of a case's choice, as somebody sits in front of it."""
import re

from desktop import LIGHTDM_LOG
from screen import Screen
from system import run

SETTINGS = "/etc/lightdm/lightdm.conf.d/60-greeter.conf"


class LoginScreen(Screen):
    """For the time of a case LightDM has these settings. What is typed and read is at its greeter,
    once that has come."""

    def __init__(self, desktop, settings, **looks):
        super().__init__(desktop, **looks)
        # The next LightDM reads the settings that there were before.
        desktop.after(desktop.stop_display_manager)
        desktop.write(SETTINGS, "\n".join(["[Seat:*]", *settings, ""]))
        desktop.stop_display_manager()
        desktop.until(lambda: not desktop.sessions(), "no session left")
        self._log_start = 0  # of what LightDM says; each begins a log of its own
        run("systemctl", "start", "lightdm.service")

    def come(self):
        """Comes to the front once more, while sessions run."""
        self._hear_from_now()
        self._desktop.ask_display_manager("SwitchToGreeter")
        self._has_come()

    def _has_come(self):
        """It is in front, and can be looked at."""
        self._desktop.until_greeter()
        self.look_at(self._desktop.in_front())

    def answer(self, secret, prompt):
        """Types something when it is asked for, and that is on the screen."""
        self._hear(r"Prompt greeter with \d+ message")
        self.until_shows(prompt)
        # It takes one key at a time, and what LightDM told it before the next.
        self.press("Shift_L")
        self.type(secret)
        self.press("Return")

    def result(self, name):
        """What became of somebody's login, as LightDM says: "Success", "Permission denied", …"""
        return self._hear(rf"Authenticate result for user {name}: (.*)\n")[1]

    def _hear_from_now(self):
        self._log_start = len(LIGHTDM_LOG.read_text())

    def _hear(self, pattern):
        """Waits until LightDM said that, and listens on from there."""
        found = self._desktop.until(
            lambda: re.search(pattern, self._heard()),
            f"“{pattern}” in LightDM's log")
        self._log_start += found.end()
        return found

    def _heard(self):
        """What LightDM said since then."""
        return LIGHTDM_LOG.read_text()[self._log_start:]
