"""gatehallctl as a client of gatehalld: what it asks where a user's own rights don't suffice, and the list that it
follows."""
import json

from programs import run_as
from system import run
from terminal import Terminal

UNIT = "gatehalld.service"
SHADOW = "/etc/shadow can't be read"


def _told_of(name, asker):
    _, output, _ = run_as(["gatehallctl", "--json", "can-log-in", name], asker)
    (user,) = json.loads(output)["users"]
    return user


def _at_terminal(desktop, user, *command):
    """One of its own, as who logs in in text has it."""
    return Terminal(desktop, "setsid", "--ctty", "--wait", *command, user=user, group=user)


def who_asks_about_themselves_is_told_all(desktop):
    ann = _told_of("ann", "ann")
    assert ann["askedService"] and ann["allowed"] and not ann["unknown"], ann


def a_locked_account_is_known_to_who_is_in_it(desktop):
    run("usermod", "--lock", "carol")
    desktop.after(run, "usermod", "--unlock", "carol")
    carol = _told_of("carol", "carol")
    assert (carol["allowed"], carol["rule"], carol["file"]) == (False, "locked", "/etc/shadow"), carol


def about_others_everybody_gets_the_verdict_and_no_more(desktop):
    run("usermod", "--lock", "carol")
    desktop.after(run, "usermod", "--unlock", "carol")
    status, output, _ = run_as(["gatehallctl", "--json", "can-log-in", "bob", "carol"], "ann")
    bob, carol = json.loads(output)["users"]
    assert (bob["askedService"], bob["allowed"]) == (True, True), bob
    assert (carol["askedService"], carol["allowed"], carol["rule"]) == (True, False, "locked"), carol
    assert carol["file"] is None and SHADOW in " ".join(carol["unknown"]), carol
    assert status == 1, status


def root_asks_nobody(desktop):
    run("systemctl", "stop", UNIT)
    bob = _told_of("bob", "root")
    assert "askedService" not in bob and not bob["unknown"], bob
    assert not desktop.is_running(UNIT)


def without_the_service_what_is_unknown_stays_so(desktop):
    run("systemctl", "mask", "--runtime", "--now", UNIT)
    desktop.after(run, "systemctl", "unmask", "--runtime", UNIT)
    ann = _told_of("ann", "ann")
    assert "askedService" not in ann and SHADOW in " ".join(ann["unknown"]), ann


def who_may_read_nothing_follows_the_list(desktop):
    terminal = _at_terminal(desktop, "ann", "gatehallctl", "watch", "--service")
    terminal.until_shows("bob")
    desktop.after(run, "userdel", "zoe", check=False)
    run("useradd", "--shell", "/bin/bash", "--password", "", "zoe")
    terminal.until_shows(r"\+ zoe")
    run("systemctl", "restart", UNIT)
    terminal.until_shows("! gatehalld is gone")
    terminal.until_shows(r"\* gatehalld is back, read anew")
    run("userdel", "zoe")
    terminal.until_shows("- zoe")
