"""LightDM's own login screen."""
from lightdm import LoginScreen

ASKS = r"Greeter start authentication\n(?s:.*)Prompt greeter"


class Greeter(LoginScreen):
    """For the time of a case LightDM logs nobody in by itself, and its greeter asks for names, as
    Debian's does. It is in front, and nobody is logged in."""

    def __init__(self, desktop):
        # What is read is all of the screen but the clock's line.
        super().__init__(desktop, ("greeter-hide-users=true", "autologin-user="),
                         geometry="800x450+0+75")
        self._has_come()

    def _has_come(self):
        super()._has_come()
        self._hear(ASKS)
        self.until_shows("Log In")

    def log_in(self, name, *answers):
        """Types a name, and what it is expected to ask for then: a password, and others with what it
        says to them, ("New password", "secret"). LightDM's result: "Success", "Permission denied", …"""
        self.name(name)
        for answer in answers:
            self.answer(*((answer,) if isinstance(answer, str) else reversed(answer)))
        return self.result(name)

    def name(self, name):
        """Types a name, and sees it on the screen."""
        self.type(name)
        self.until_shows(name)
        self._hear_from_now()
        self.press("Return")
        self._hear(rf"Greeter start authentication for {name}\n")

    def answer(self, secret, prompt="Log In"):
        super().answer(secret, prompt)

    def enter(self):
        """Goes on to the desktop, where no password was asked for."""
        self.click("Log")

    def cancel(self):
        """It asks for a name again."""
        self._hear_from_now()
        self.click("Cancel")
        self._hear(ASKS)
