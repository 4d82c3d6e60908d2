"""gatehall-greeter with many people, on other screens and in other languages."""
import gettext

from gatehall_greeter import NOBODY_BY_ITSELF, PEOPLE, GatehallGreeter
from policed import PASSWD, SHADOW, keep

ANNS = ("Password", "anns")
FIRST, COUNT = 10000, 10000
SEVERAL = 7421


def _logs_ann_in(desktop, greeter):
    assert greeter.log_in("ann", ANNS) == "Success"
    desktop.until_in_front("ann")


def ten_thousand_people_are_listed_and_found(desktop):
    for path in (PASSWD, SHADOW):
        keep(desktop, path)
    PASSWD.write_text(PASSWD.read_text() + "".join(
        f"user{number}:x:{FIRST + number}:100:Person {number}:/tmp:/bin/bash\n"
        for number in range(COUNT)))
    SHADOW.write_text(SHADOW.read_text() + "".join(
        f"user{number}::20000:0:99999:7:::\n" for number in range(COUNT)))
    greeter = GatehallGreeter(desktop, shows=("Ann", "Bob"))
    greeter.type(f"son {SEVERAL}")
    greeter.until_shows(f"Person {SEVERAL}", without=("Ann", "Bob"))
    assert greeter.log_in(f"user{SEVERAL}", typed=f"rson {SEVERAL}") == "Success"
    desktop.until_in_front(f"user{SEVERAL}")


def a_small_screen_has_everything_on_it(desktop):
    greeter = GatehallGreeter(desktop, (NOBODY_BY_ITSELF, "greeter-show-manual-login=true"),
                              shows=(*PEOPLE, "Another user", "Guest", "desktop"))
    greeter.choose("ann")
    greeter.until_shows("Ann", "Password", "Stay")


def a_large_screen_has_letters_twice_as_large(desktop):
    greeter = GatehallGreeter(
        desktop, (NOBODY_BY_ITSELF, "xserver-command=/usr/local/bin/headless-x -screen 3840x2160"),
        geometry="1600x1600+1120+280", larger=1)
    _, bob = greeter.place("Bob")
    _, carol = greeter.place("Carol")
    assert 130 < carol - bob < 160, (bob, carol)
    _logs_ann_in(desktop, greeter)


def _speak(desktop, language):
    """Its words, which the machine uses for the time of the case."""
    desktop.write("/etc/default/locale", f"LANG={language}.UTF-8\n")
    return gettext.translation("gatehall", "/usr/share/locale", [language]).gettext


def it_speaks_german(desktop):
    words = _speak(desktop, "de_DE")
    greeter = GatehallGreeter(desktop, (NOBODY_BY_ITSELF, "greeter-show-manual-login=true"),
                              languages="deu")
    another = words("Another user…").removesuffix("…")
    assert another != "Another user"
    greeter.until_shows(another)
    assert greeter.log_in("ann", ("Pass", "carols")) == "Authentication failure"
    greeter.until_shows(words("That is wrong. Please try again."))
    greeter.answer("anns", "Pass")
    assert greeter.result("ann") == "Success"
    desktop.until_in_front("ann")


def it_speaks_arabic_from_right_to_left(desktop):
    words = _speak(desktop, "ar_EG")
    greeter = GatehallGreeter(desktop, (NOBODY_BY_ITSELF, "greeter-show-manual-login=true"),
                              languages="ara+eng")
    another = words("Another user…").removesuffix("…")
    assert another != "Another user"
    greeter.until_shows(another)
    assert greeter.place("Bob")[0] > 400, greeter.place("Bob")
    _logs_ann_in(desktop, greeter)
