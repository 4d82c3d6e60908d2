"""sshd under a policy: what those read who come in from elsewhere, and who may."""
from guarded import SENTENCES, Guarded
from policed import ACCESS_GROUP, ALLOW_LIST, DENY_LIST, LOCAL_LOGIN_OFF, Policy
from secure_shell import SecureShell
from system import run

# By policy and person, the rule that decides. Administrators are not at the machine.
CAROL = {"carol": "administrator"}
TABLE = (
    (DENY_LIST, {**CAROL, "ann": "local login enabled", "bob": "local login enabled",
                 "dana": "denied by GUID", "dora": "no allow list", "erin": "denied by GUID"}),
    (ALLOW_LIST, {**CAROL, "dana": "not in the allow list", "dora": "allowed by GUID",
                  "erin": "not in the allow list"}),
    (ACCESS_GROUP, {**CAROL, **dict.fromkeys(("ann", "bob", "dana", "erin"), "no service access"),
                    "dora": "no allow list"}),
    (Policy("an access group of others", (), (), group="gatehall-access:x:990:bob"),
     {"bob": "local login enabled", "carol": "no service access", "root": "no service access"}),
    (LOCAL_LOGIN_OFF, {**CAROL, "ann": "local login disabled", "bob": "local login disabled",
                       "dana": "no allow list", "erin": "no allow list"}),
    (Policy("everyone denied", (), (), managed={"DenyList": ["*"]}),
     {**CAROL, "bob": "local login enabled", "dana": "everyone denied", "erin": "everyone denied"}),
    (Policy("everyone allowed", (), (), managed={"AllowList": ["*"]}),
     {**CAROL, "dana": "everyone allowed", "erin": "everyone allowed"}),
)


def _attempt(shell, user):
    """What somebody is told who is not let in."""
    terminal = shell.log_in(user, "echo $USER is in")
    said = terminal.until_ended()
    if terminal.status != 0:
        return said
    assert f"{user} is in" in said, said
    return None


def every_rule_admits_and_refuses(desktop):
    machine, shell = Guarded(desktop), SecureShell(desktop)
    for policy, rules in TABLE:
        machine.have(policy)
        for user, rule in rules.items():
            said = _attempt(shell, user)
            (machine.refuses if rule in SENTENCES else machine.admits)(said, "sshd", user, rule)


def a_directory_that_is_stopped_leaves_it_undecidable(desktop):
    machine, shell = Guarded(desktop), SecureShell(desktop)
    machine.have(DENY_LIST)
    run("systemctl", "stop", "directory.service")
    desktop.after(run, "systemctl", "start", "directory.service")
    machine.refuses(_attempt(shell, "erin"), "sshd", "erin", None)
    machine.admits(_attempt(shell, "bob"), "sshd", "bob", "local login enabled")
    machine.admits(_attempt(shell, "carol"), "sshd", "carol", "administrator")


def an_expired_password_is_changed_by_who_is_admitted(desktop):
    machine, shell = Guarded(desktop), SecureShell(desktop)
    machine.set_password("bob", "bobs")
    run("chage", "--lastday", "0", "bob")
    machine.have(DENY_LIST)
    terminal = shell.log_in("bob")
    terminal.answer("Current password: $", "bobs")
    terminal.answer("New password: $", "Quince-Jelly-74")
    terminal.answer("Retype new password: $", "Quince-Jelly-74")
    terminal.until_ended()
    machine.has_decided("sshd", "bob", "admitted", "local login enabled")
    machine.admits(_attempt(shell, "bob"), "sshd", "bob", "local login enabled")


def who_is_refused_is_not_asked_for_another_password(desktop):
    machine, shell = Guarded(desktop), SecureShell(desktop)
    machine.set_password("bob", "bobs")
    run("chage", "--lastday", "0", "bob")
    machine.have(ACCESS_GROUP)
    said = _attempt(shell, "bob")
    machine.refuses(said, "sshd", "bob", "no service access")
    assert "password" not in said, said


def a_session_that_runs_is_left_alone_by_a_policy_that_comes_later(desktop):
    machine, shell = Guarded(desktop), SecureShell(desktop)
    machine.have(DENY_LIST)
    terminal = shell.log_in("bob")
    terminal.until_shows(r"\$ $")
    machine.has_decided("sshd", "bob", "admitted", "local login enabled")
    machine.have(ACCESS_GROUP)
    machine.refuses(_attempt(shell, "bob"), "sshd", "bob", "no service access")
    terminal.answer(r"\$ $", "echo still $USER; exit")
    assert "still bob" in terminal.until_ended()
