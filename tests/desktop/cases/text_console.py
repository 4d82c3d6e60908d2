"""login(1) on a virtual terminal of this machine, under a policy: what people type and read there."""
import session_limits
from console import Console
from guarded import NEVER_SHUT_OUT, SENTENCES, Guarded
from policed import (ACCESS_GROUP, ALLOW_LIST, BOB, DENY_LIST, LOCAL_LOGIN_OFF, MANAGED_BY_OTHERS,
                     Policy, remove)
from system import run

EVERYBODY_OUT = Policy("everybody is out", (), (), managed={"LocalUserLoginEnabled": False},
                       group="gatehall-access:x:990:")
PASSWORDS = {"ann": "anns", "carol": "carols"}
NEW_PASSWORD = "Quince-Jelly-74"

# By policy and person, the rule that decides.
CAROL = {"carol": NEVER_SHUT_OUT}
TABLE = (
    (DENY_LIST, {**CAROL, "ann": "local login enabled", "bob": "local login enabled",
                 "dana": "denied by GUID", "dora": "no allow list", "erin": "denied by GUID"}),
    (ALLOW_LIST, {**CAROL, "dana": "not in the allow list", "dora": "allowed by GUID",
                  "erin": "not in the allow list"}),
    (ACCESS_GROUP, {**CAROL, **dict.fromkeys(("ann", "bob", "dana", "erin"), "no service access"),
                    "dora": "no allow list"}),
    (LOCAL_LOGIN_OFF, {**CAROL, "ann": "local login disabled", "bob": "local login disabled",
                       "dana": "no allow list", "erin": "no allow list"}),
    (Policy("everyone denied", (), (), managed={"DenyList": ["*"]}),
     {**CAROL, "bob": "local login enabled", "dana": "everyone denied", "erin": "everyone denied"}),
    (Policy("everyone allowed", (), (), managed={"AllowList": ["*"]}),
     {**CAROL, "dana": "everyone allowed", "erin": "everyone allowed"}),
)


def _attempt(desktop, user, password=None):
    console = Console(desktop)
    console.log_in(user, password or PASSWORDS.get(user))
    return console.outcome()


def every_rule_admits_and_refuses(desktop):
    machine = Guarded(desktop)
    for policy, rules in TABLE:
        machine.have(policy)
        for user, rule in rules.items():
            said = _attempt(desktop, user)
            (machine.refuses if rule in SENTENCES else machine.admits)(said, "login", user, rule)


def who_is_admitted_has_a_session_in_front(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    console = Console(desktop)
    console.log_in("bob")
    console.until_shows(r"\$$")
    session = desktop.in_front()
    assert (session.user, session.type, session.terminal) == ("bob", "tty", console.terminal), session


def who_is_refused_gets_no_session(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    console = Console(desktop)
    console.log_in("erin")
    assert console.outcome()
    assert [s.user for s in desktop.sessions()] == ["ann"], desktop.describe()


def a_directory_that_is_stopped_leaves_it_undecidable(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    run("systemctl", "stop", "directory.service")
    desktop.after(run, "systemctl", "start", "directory.service")
    machine.refuses(_attempt(desktop, "erin"), "login", "erin", None)
    machine.admits(_attempt(desktop, "bob"), "login", "bob", "local login enabled")
    machine.admits(_attempt(desktop, "carol"), "login", "carol", NEVER_SHUT_OUT)


def a_directory_that_answers_the_machine_and_not_the_policy_leaves_it_undecidable(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    machine.configure(port=1)
    for user in ("dana", "dora"):
        machine.refuses(_attempt(desktop, user), "login", user, None)


def a_directory_that_is_stopped_lets_in_where_the_module_is_told_so(desktop):
    machine = Guarded(desktop)
    machine.guard("on-undecidable=admit")
    machine.have(DENY_LIST)
    run("systemctl", "stop", "directory.service")
    desktop.after(run, "systemctl", "start", "directory.service")
    assert _attempt(desktop, "erin") is None
    machine.has_decided("login", "erin", "undecidable", None)


def root_gets_in_when_everybody_is_out_and_mends_the_policy(desktop):
    machine = Guarded(desktop)
    machine.set_password("root", "roots")
    machine.have(EVERYBODY_OUT)
    for user, rule in (("ann", "no service access"), ("bob", "no service access")):
        machine.refuses(_attempt(desktop, user), "login", user, rule)
    console = Console(desktop)
    console.log_in("root", "roots")
    console.answer("#$", f"groupdel gatehall-access; rm '{MANAGED_BY_OTHERS}'")
    console.answer("#$", "exit")
    console.until_ended()
    machine.has_decided("login", "root", "admitted", NEVER_SHUT_OUT)
    machine.admits(_attempt(desktop, "bob"), "login", "bob", "local login enabled")


def root_gets_in_when_everybody_is_out_and_turns_the_module_off(desktop):
    machine = Guarded(desktop)
    machine.set_password("root", "roots")
    machine.have(EVERYBODY_OUT)
    console = Console(desktop)
    console.log_in("root", "roots")
    desktop.after(run, "pam-auth-update", "--enable", "gatehall")
    console.answer("#$", "pam-auth-update --disable gatehall")
    console.answer("#$", "exit")
    console.until_ended()
    machine.has_decided("login", "root", "admitted", NEVER_SHUT_OUT)
    assert _attempt(desktop, "bob") is None
    assert machine.decisions() == []


def an_expired_password_is_changed_by_who_is_admitted(desktop):
    machine = Guarded(desktop)
    machine.set_password("bob", "bobs")
    run("chage", "--lastday", "0", "bob")
    machine.have(DENY_LIST)
    console = Console(desktop)
    console.log_in("bob", "bobs")
    console.answer("Current password:$", "bobs")
    console.answer("New password:$", NEW_PASSWORD)
    console.answer("Retype new password:$", NEW_PASSWORD)
    machine.admits(console.outcome(), "login", "bob", "local login enabled")
    machine.admits(_attempt(desktop, "bob", NEW_PASSWORD), "login", "bob", "local login enabled")


def who_is_refused_is_not_asked_for_another_password(desktop):
    machine = Guarded(desktop)
    machine.set_password("bob", "bobs")
    run("chage", "--lastday", "0", "bob")
    machine.have(ACCESS_GROUP)
    said = _attempt(desktop, "bob", "bobs")
    machine.refuses(said, "login", "bob", "no service access")
    assert "assword" not in said.partition("Password:")[2], said


def an_expired_account_stays_shut_whatever_the_policy_says(desktop):
    machine = Guarded(desktop)
    run("chage", "--expiredate", "1", "bob")
    machine.have(DENY_LIST)
    assert "account has expired" in _attempt(desktop, "bob")
    machine.has_decided("login", "bob", "admitted", "local login enabled")


def login_hours_count_where_the_module_is_told_so(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    begin = session_limits.limit_to_come(desktop, BOB)
    machine.admits(_attempt(desktop, "bob"), "login", "bob", "local login enabled")
    machine.guard("hours=yes")
    said = _attempt(desktop, "bob")
    assert f"You may not log in on this computer: not before {begin}." in said, said
    machine.has_decided("login", "bob", "refused", "outside of login hours")
    session_limits.limit(desktop, BOB, 0, session_limits.DAY)
    machine.admits(_attempt(desktop, "bob"), "login", "bob", "local login enabled")
    session_limits.lift(desktop, BOB)
    machine.admits(_attempt(desktop, "bob"), "login", "bob", "local login enabled")


def without_the_policys_file_the_next_attempt_is_admitted(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    machine.refuses(_attempt(desktop, "erin"), "login", "erin", "denied by GUID")
    remove(MANAGED_BY_OTHERS)
    machine.admits(_attempt(desktop, "erin"), "login", "erin", "no allow list")
