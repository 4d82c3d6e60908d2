"""LightDM's login screen under a policy: what people type, and what they read on it."""
import session_limits
from greeter import Greeter
from guarded import NEVER_SHUT_OUT, SENTENCES, UNDECIDABLE, Decision, Guarded
from policed import (ACCESS_GROUP, ALLOW_LIST, BOB, DENY_LIST, LOCAL_LOGIN_OFF, MANAGED_BY_OTHERS,
                     Policy, remove)
from programs import run_as
from system import run

EVERYONE_DENIED = Policy("everyone denied", (), (), managed={"DenyList": ["*"]})
EVERYONE_ALLOWED = Policy("everyone allowed", (), (), managed={"AllowList": ["*"]})
EVERYBODY_OUT = Policy("everybody is out", (), (), managed={"LocalUserLoginEnabled": False},
                       group="gatehall-access:x:990:")
PASSWORDS = {"ann": "anns", "carol": "carols"}
NEW_PASSWORD = "Quince-Jelly-74"
DENIED = "Permission denied"


def _secrets(user):
    return [PASSWORDS[user]] if user in PASSWORDS else []


def _is_admitted(machine, greeter, user, rule, *secrets):
    assert greeter.log_in(user, *(secrets or _secrets(user))) == "Success"
    if not secrets and user not in PASSWORDS:
        greeter.enter()
    machine.desktop.until_in_front(user)
    machine.has_decided("lightdm", user, "admitted", rule)


def _is_refused(machine, greeter, user, rule, *secrets):
    result = greeter.log_in(user, *(secrets or _secrets(user)))
    assert result == DENIED, result
    said = greeter.until_shows(SENTENCES[rule] if rule else UNDECIDABLE)
    machine.refuses(said, "lightdm", user, rule)
    assert [s.kind for s in machine.desktop.sessions()] == ["greeter"], machine.desktop.describe()


def every_rule_refuses_and_says_so_on_the_screen(desktop):
    """While the greeter is open the policy changes: the next attempt obeys it."""
    machine = Guarded(desktop)
    machine.have(ACCESS_GROUP)
    greeter = Greeter(desktop)
    for policy, user, rule in (
            (ACCESS_GROUP, "ann", "no service access"), (ACCESS_GROUP, "bob", "no service access"),
            (ACCESS_GROUP, "dana", "no service access"), (LOCAL_LOGIN_OFF, "ann", "local login disabled"),
            (LOCAL_LOGIN_OFF, "bob", "local login disabled"), (DENY_LIST, "dana", "denied by GUID"),
            (DENY_LIST, "erin", "denied by GUID"), (ALLOW_LIST, "dana", "not in the allow list"),
            (ALLOW_LIST, "erin", "not in the allow list"), (EVERYONE_DENIED, "dana", "everyone denied"),
            (EVERYONE_DENIED, "erin", "everyone denied")):
        machine.have(policy)
        _is_refused(machine, greeter, user, rule)
        greeter.cancel()
    remove(MANAGED_BY_OTHERS)
    _is_admitted(machine, greeter, "erin", "no allow list")


def every_rule_admits(desktop):
    machine = Guarded(desktop)
    greeter = Greeter(desktop)
    for policy, user, rule in (
            (DENY_LIST, "ann", "local login enabled"), (DENY_LIST, "bob", "local login enabled"),
            (ACCESS_GROUP, "carol", NEVER_SHUT_OUT), (LOCAL_LOGIN_OFF, "dana", "no allow list"),
            (ALLOW_LIST, "dora", "allowed by GUID"), (EVERYONE_ALLOWED, "erin", "everyone allowed")):
        machine.have(policy)
        _is_admitted(machine, greeter, user, rule)
        greeter.come()


def a_policy_that_comes_while_the_greeter_is_open_is_obeyed(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    greeter = Greeter(desktop)
    greeter.name("carol")
    # She is asked already, and no administrator any more by what follows.
    machine.have(Policy("carol is out", (), (), managed={"LocalUserLoginEnabled": False}))
    run("gpasswd", "--delete", "carol", "sudo")
    greeter.answer("carols")
    said = greeter.until_shows(SENTENCES["local login disabled"])
    machine.refuses(said, "lightdm", "carol", "local login disabled")


def a_directory_that_is_stopped_leaves_it_undecidable(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    greeter = Greeter(desktop)
    run("systemctl", "stop", "directory.service")
    desktop.after(run, "systemctl", "start", "directory.service")
    _is_refused(machine, greeter, "erin", None)
    greeter.cancel()
    _is_admitted(machine, greeter, "carol", NEVER_SHUT_OUT)


def a_directory_that_is_stopped_lets_in_where_the_module_is_told_so(desktop):
    machine = Guarded(desktop)
    machine.guard("on-undecidable=admit")
    machine.have(DENY_LIST)
    greeter = Greeter(desktop)
    run("systemctl", "stop", "directory.service")
    desktop.after(run, "systemctl", "start", "directory.service")
    assert greeter.log_in("erin") == "Success"
    greeter.enter()
    desktop.until_in_front("erin")
    machine.has_decided("lightdm", "erin", "undecidable", None)


def an_expired_password_is_changed_by_who_is_admitted(desktop):
    machine = Guarded(desktop)
    machine.set_password("bob", "bobs")
    run("chage", "--lastday", "0", "bob")
    machine.have(DENY_LIST)
    greeter = Greeter(desktop)
    _is_admitted(machine, greeter, "bob", "local login enabled", "bobs",
                 ("Changing password for bob", "bobs"), ("New password", NEW_PASSWORD),
                 ("Retype new password", NEW_PASSWORD))


def who_is_refused_with_an_expired_password_reads_why_and_is_not_asked_for_another(desktop):
    machine = Guarded(desktop)
    machine.set_password("bob", "bobs")
    run("chage", "--lastday", "0", "bob")
    machine.have(ACCESS_GROUP)
    _is_refused(machine, Greeter(desktop), "bob", "no service access", "bobs")


def login_hours_count_where_the_module_is_told_so(desktop):
    machine = Guarded(desktop)
    machine.guard("hours=yes")
    machine.have(DENY_LIST)
    greeter = Greeter(desktop)
    begin = session_limits.limit_to_come(desktop, BOB)
    assert greeter.log_in("bob") == DENIED
    greeter.until_shows(f"You may not log in on this computer: not before {begin}.")
    machine.has_decided("lightdm", "bob", "refused", "outside of login hours")
    greeter.cancel()
    session_limits.lift(desktop, BOB)
    _is_admitted(machine, greeter, "bob", "local login enabled")


def a_policy_that_admits_nobody_leaves_the_login_screen_itself_alone(desktop):
    """Ann, whom LightDM would log in without asking, is refused, and it shows its greeter."""
    machine = Guarded(desktop)
    machine.have(EVERYBODY_OUT)
    run("systemctl", "restart", "lightdm.service")
    desktop.until_greeter()
    assert [s.kind for s in desktop.sessions()] == ["greeter"], desktop.describe()
    machine.has_decided("lightdm-autologin", "ann", "refused", "no service access")


def _is_refused_by_lightdms_switch(desktop, user):
    """Anybody may ask LightDM on the bus, which asks accounts without passwords nothing. It shows its
    greeter in the end, which tries once more."""
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    status, said, _ = run_as(
        ["busctl", "call", "org.freedesktop.DisplayManager", "/org/freedesktop/DisplayManager/Seat0",
         "org.freedesktop.DisplayManager.Seat", "SwitchToUser", "ss", user, ""], "bob")
    assert status == 0, said
    desktop.until_greeter()
    assert {s.user for s in desktop.sessions()} == {"ann", "lightdm"}, desktop.describe()
    assert set(machine.decisions()) == {Decision("lightdm", user, "refused", "denied by GUID")}


def a_mobile_user_who_is_refused_does_not_come_in_by_lightdms_switch(desktop):
    _is_refused_by_lightdms_switch(desktop, "erin")


def a_network_user_who_is_refused_does_not_come_in_by_lightdms_switch(desktop):
    _is_refused_by_lightdms_switch(desktop, "dana")
