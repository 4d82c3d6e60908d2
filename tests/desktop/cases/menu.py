"""gatehall-menu in a session: what people click on it, and where it takes them."""
import os
import signal

from guarded import Guarded
from policed import DENY_LIST
from programs import start_as
from screen import Screen
from system import run

PEOPLE = ("Bob", "Carol", "Erin")

# White on blue is read where nothing else is looked at.
BUTTON = "400x48+0+0"


def _open(desktop):
    """In ann's session; what is on its screen."""
    ann = desktop.session_of("ann")
    process = start_as(["/usr/bin/gatehall-menu"], "ann", ann)
    desktop.after(_end, process)
    screen = Screen(desktop)
    screen.look_at(ann)
    screen.until_shows(*PEOPLE)
    return screen


def _end(process):
    if process.poll() is None:
        os.kill(process.pid, signal.SIGTERM)
    process.communicate()


def somebody_who_is_chosen_comes_to_the_front(desktop):
    _open(desktop).click("Bob")
    desktop.until_in_front("bob")
    desktop.until_locked("ann")


def the_login_screen_is_on_top(desktop):
    _open(desktop)
    button = Screen(desktop, BUTTON)
    button.look_at(desktop.session_of("ann"))
    button.until_shows("Login screen")
    button.click("Login")
    desktop.until_greeter()
    desktop.until_locked("ann")


def who_may_not_log_in_is_told_why_and_nothing_is_tried(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    run("systemctl", "stop", "gatehalld.service")  # it reads at its start where directories are
    screen = _open(desktop)
    screen.until_shows("may not log in")
    screen.click("Erin")
    screen.until_shows("your account is excluded")
    assert desktop.asked() == []
    assert desktop.has_in_front("ann"), desktop.describe()
