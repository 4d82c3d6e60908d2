"""gatehall-greeter, as LightDM's login screen."""
from lightdm import LoginScreen

NOBODY_BY_ITSELF = "autologin-user="
PEOPLE = ("Ann", "Bob", "Carol")


class GatehallGreeter(LoginScreen):
    """For the time of a case it is LightDM's greeter. With the settings as they are here nobody is
    logged in, it is in front and has these people on it."""

    def __init__(self, desktop, settings=(NOBODY_BY_ITSELF,), shows=PEOPLE, **looks):
        super().__init__(desktop, ("greeter-session=gatehall-greeter", *settings), **looks)
        if NOBODY_BY_ITSELF in settings:
            self._has_come()
            self.until_shows(*shows)
        else:
            desktop.until_in_front("ann")

    def come(self, step=None):
        """Comes to the front by a step of a case's, while sessions run."""
        if step is None:
            return super().come()
        self._hear_from_now()
        step()
        return self._has_come()

    def log_in(self, name, *answers, typed=None):
        """Chooses somebody of the list, and answers what they are asked for, each ("Password",
        "secret"). LightDM's result: "Success", "Permission denied", …"""
        self.choose(name, typed)
        for prompt, secret in answers:
            self.answer(secret, prompt)
        return self.result(name)

    def choose(self, name, typed=None):
        """Types what finds somebody in the list, or their name, and takes them: their login begins."""
        self.take(typed or name)
        self.until_begun(name)

    def take(self, typed):
        """Types that, and takes whom it finds."""
        self._hear_from_now()
        self.press("Escape")  # of what was searched before nothing is left
        self.type(typed)
        self.press("Return")

    def until_begun(self, name):
        """Waits until LightDM began somebody's login."""
        self._hear(rf"Greeter start authentication for {name}\n")

    def has_begun_nothing(self):
        """Whether LightDM was asked for nobody's login since somebody was taken."""
        return "Greeter start authentication" not in self._heard()
