"""Users of a network directory: a slapd in the container, whose users are the machine's by nslcd."""
import shutil
from pathlib import Path

from system import run

DIRECTORIES = "/etc/gatehall/directory.toml"
SYSTEM = "/etc/gatehall/com.orvane.gatehall.plist"
DANA, DANAS = "5000", "5F000000-0000-4000-8000-000000005000"
CAROLS = "C0FFEE00-0000-4000-8000-000000001002"


def _configure(desktop):
    desktop.write(DIRECTORIES, '[[directory]]\nname = "example"\nservers = ["ldap://127.0.0.1/"]\n'
                  'base = "dc=example,dc=org"\ntls = "off"\n')


def _bring_dana(desktop):
    """The directory answers, and dana is one of the machine's users."""
    _configure(desktop)
    desktop.start("directory.service", "nslcd.service")
    home = Path("/home/dana")
    shutil.copytree("/etc/skel", home)
    desktop.after(shutil.rmtree, home)
    for entry in (home, *home.rglob("*")):
        shutil.chown(entry, int(DANA), 100)


def _deny(desktop, guid):
    desktop.write(SYSTEM, '<?xml version="1.0" encoding="UTF-8"?>\n<plist version="1.0"><dict>'
                  f"<key>DenyList</key><array><string>{guid}</string></array></dict></plist>\n")


def _is_admitted(desktop, user, uid):
    result = desktop.switch("-switchToUserID", uid)
    desktop.until_in_front(user)
    assert not any(s.kind == "greeter" for s in desktop.sessions()), desktop.describe()
    desktop.until_locked("ann")
    return result


def _is_refused(desktop, uid):
    result = desktop.switch("-switchToUserID", uid)
    assert desktop.asked() == []
    assert [s.user for s in desktop.sessions()] == ["ann"], desktop.describe()
    assert not desktop.session_of("ann").is_locked
    return result


def _says_that_the_directory_is_away(result):
    assert len(result.log) == 1 and "ldap/example can't be reached" in result.log[0], result


def a_network_user_without_a_password_gets_a_session_and_is_asked_nothing(desktop):
    _bring_dana(desktop)
    result = _is_admitted(desktop, "dana", DANA)
    assert result.log == [], result
    assert desktop.asked() == ["user dana"]


def a_network_users_running_session_comes_straight_to_the_front(desktop):
    _bring_dana(desktop)
    dana = desktop.start_session_of("dana")
    desktop.bring_to_front("ann")
    desktop.switch("-switchToUserID", DANA)
    assert desktop.until_in_front("dana").name == dana.name, desktop.describe()
    desktop.until_locked("ann")


def a_network_user_on_the_deny_list_is_refused(desktop):
    _bring_dana(desktop)
    _deny(desktop, DANAS)
    assert _is_refused(desktop, DANA).log == []


def a_network_user_is_admitted_where_the_deny_list_names_someone_else(desktop):
    _bring_dana(desktop)
    _deny(desktop, CAROLS)
    assert _is_admitted(desktop, "dana", DANA).log == []


def a_network_user_is_refused_while_the_directory_is_away(desktop):
    """The machine still knows dana, who is logged in; the directory's word is missing."""
    _bring_dana(desktop)
    dana = desktop.start_session_of("dana")
    desktop.bring_to_front("ann")
    run("systemctl", "stop", "directory.service")
    _deny(desktop, CAROLS)
    result = desktop.switch("-switchToUserID", DANA)
    assert any("ldap/example can't be reached" in line for line in result.log), result
    (decision,) = result.decisions
    assert "undecidable: ldap/example: can't be asked" in decision, result
    assert desktop.asked() == ["user dana"]  # to begin with
    assert desktop.has_in_front("ann"), desktop.describe()
    assert not desktop.session_of("dana").is_active and desktop.session_of("dana").name == dana.name


def a_mobile_user_is_admitted_while_the_directory_is_away(desktop):
    _configure(desktop)
    _says_that_the_directory_is_away(_is_admitted(desktop, "erin", "1003"))


def a_mobile_user_is_admitted_by_a_deny_list_of_others_while_the_directory_is_away(desktop):
    _configure(desktop)
    _deny(desktop, CAROLS)
    _says_that_the_directory_is_away(_is_admitted(desktop, "erin", "1003"))


def a_local_user_waits_for_a_silent_directory_no_longer_than_its_limit(desktop):
    """It takes connections and says nothing."""
    _configure(desktop)
    desktop.start("directory.service")
    desktop.freeze("directory.service")
    result = _is_admitted(desktop, "bob", "1001")
    _says_that_the_directory_is_away(result)
