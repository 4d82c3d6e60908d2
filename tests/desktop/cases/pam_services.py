"""The services of PAM: every rule at every one of them that opens sessions for people, and nothing at
the others."""
from guarded import NEVER_SHUT_OUT, SENTENCES, UNDECIDABLE, Guarded, ask
from policed import (ACCESS_GROUP, ACCESS_GROUP_ELSEWHERE, ALLOW_LIST, DENY_LIST, DIRECTORIES,
                     LOCAL_LOGIN_OFF, Policy, remove)
from programs import run_as
from system import run

LOCAL = ("login", "lightdm", "lightdm-autologin", "gdm-password", "gdm-fingerprint", "gdm-smartcard",
         "gdm-autologin", "sddm", "sddm-autologin")
REMOTE = ("remote", "sshd", "xrdp-sesman")
OTHERS = ("su", "su-l", "sudo", "cron", "systemd-user", "lightdm-greeter", "sddm-greeter",
          "gdm-launch-environment", "polkit-1", "passwd", "chsh", "other")

NONE = Policy("none", (), ())
NOBODY = Policy("nobody at all", (), (), managed={"LocalUserLoginEnabled": False},
                group="gatehall-access:x:990:")

# By policy and person, the rule that decides.
LOCALS = {"ann": "local login enabled", "bob": "local login enabled", "carol": "administrator"}
TABLE = (
    (NONE,
     {**LOCALS, "dana": "no allow list", "dora": "no allow list", "erin": "no allow list"}),
    (DENY_LIST,
     {**LOCALS, "dana": "denied by GUID", "dora": "no allow list", "erin": "denied by GUID"}),
    (Policy("everyone denied", (), (), managed={"DenyList": ["*"]}),
     {**LOCALS, **dict.fromkeys(("dana", "dora", "erin"), "everyone denied")}),
    (ALLOW_LIST,
     {**LOCALS, "dana": "not in the allow list", "dora": "allowed by GUID",
      "erin": "not in the allow list"}),
    (Policy("everyone allowed", (), (), managed={"AllowList": ["*"]}),
     {**LOCALS, **dict.fromkeys(("dana", "dora", "erin"), "everyone allowed")}),
    (ACCESS_GROUP,
     {**dict.fromkeys(("ann", "bob", "dana", "erin"), "no service access"), "carol": "administrator",
      "dora": "no allow list"}),
    (ACCESS_GROUP_ELSEWHERE,
     {**dict.fromkeys(("ann", "bob", "carol", "dana", "erin"), "no service access"),
      "dora": "no allow list"}),
    (LOCAL_LOGIN_OFF,
     {"ann": "local login disabled", "bob": "local login disabled", "carol": "administrator",
      **dict.fromkeys(("dana", "dora", "erin"), "no allow list")}),
)


def _is_decided(machine, service, user, rule, host=None):
    """By that rule, unless nobody may shut the person out."""
    if user == "carol" and service in LOCAL and not host:
        rule = NEVER_SHUT_OUT
    said = ask(service, user, host=host)
    (machine.refuses if rule in SENTENCES else machine.admits)(said, service, user, rule)


def every_rule_decides_at_every_door(desktop):
    machine = Guarded(desktop)
    for policy, rules in TABLE:
        machine.have(policy)
        for service in LOCAL + REMOTE:
            for user, rule in rules.items():
                _is_decided(machine, service, user, rule)


def whoever_logs_in_from_elsewhere_is_not_at_the_machine(desktop):
    machine = Guarded(desktop)
    machine.have(ACCESS_GROUP_ELSEWHERE)
    _is_decided(machine, "login", "carol", "no service access", host="elsewhere")


def other_services_ask_nobody(desktop):
    machine = Guarded(desktop)
    machine.have(NOBODY)
    for service in OTHERS:
        for user in ("ann", "dana", "erin", "lightdm"):
            assert ask(service, user) is None, (service, user)
    assert machine.decisions() == []


def what_users_have_running_is_not_stopped(desktop):
    """Their systemd, and what runs for them by the clock or by root's hand."""
    machine = Guarded(desktop)
    machine.have(NOBODY)
    run("systemctl", "start", "user@1003.service")
    desktop.after(run, "systemctl", "stop", "user@1003.service")
    for service in ("cron", "systemd-user"):
        assert run("systemd-run", "--quiet", "--collect", "--wait", "--pipe",
                   f"--property=PAMName={service}", "--property=User=erin", "whoami") == "erin\n"
    assert run("su", "-l", "erin", "-c", "whoami") == "erin\n"
    assert machine.decisions() == []


def su_is_guarded_where_the_module_is_told_so(desktop):
    machine = Guarded(desktop)
    machine.guard("services=login,su-l")
    machine.have(DENY_LIST)
    status, said, _ = run_as(["su", "-l", "erin", "-c", "whoami"], "ann")
    machine.refuses(said if status else None, "su-l", "erin", "denied by GUID")
    status, said, _ = run_as(["su", "-l", "bob", "-c", "whoami"], "ann")
    assert said == "bob\n", said
    machine.admits(said if status else None, "su-l", "bob", "local login enabled")
    # What is left out of the list is not guarded any more; su without a login never was in it.
    assert ask("sshd", "erin") is None and ask("su", "erin") is None
    assert machine.decisions() == []


def nobody_is_told_anything_who_must_not_be(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    said = ask("sshd", "erin", flags="PAM_SILENT")
    assert said == "pamtester: Permission denied\n", said
    machine.has_decided("sshd", "erin", "refused", "denied by GUID")


def an_account_that_no_directory_of_the_policy_has_is_refused_where_there_is_one(desktop):
    """Dana is the machine's by its name service alone."""
    machine = Guarded(desktop)
    for policy in (DENY_LIST, ALLOW_LIST, ACCESS_GROUP):
        machine.have(policy)
        remove(DIRECTORIES)
        machine.refuses(ask("sshd", "dana"), "sshd", "dana", "in no directory of the policy")
    machine.have(NONE)
    remove(DIRECTORIES)
    machine.admits(ask("sshd", "dana"), "sshd", "dana", "in no directory of the policy")


def an_account_that_nobody_has_is_unknown(desktop):
    machine = Guarded(desktop)
    machine.have(NONE)
    said = ask("sshd", "nobody-here")
    assert "User not known" in said, said
    machine.has_decided("sshd", "nobody-here", "not found", None)


def people_read_the_machines_language(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    desktop.write("/etc/default/locale", "LANG=de_AT.UTF-8\n")
    said = ask("sshd", "erin")
    assert "Sie dürfen sich an diesem Computer nicht anmelden: Ihr Konto ist ausgeschlossen." in said, said


def what_cannot_be_decided_is_refused_with_another_sentence(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    run("systemctl", "stop", "directory.service")
    desktop.after(run, "systemctl", "start", "directory.service")
    for service in LOCAL + REMOTE:
        machine.refuses(ask(service, "erin"), service, "erin", None)
        machine.admits(ask(service, "bob"), service, "bob", "local login enabled")
        for user in ("root", "carol"):
            if service in LOCAL:
                machine.admits(ask(service, user), service, user, NEVER_SHUT_OUT)


def what_cannot_be_decided_is_admitted_where_the_module_is_told_so(desktop):
    machine = Guarded(desktop)
    machine.guard("on-undecidable=admit")
    machine.have(DENY_LIST)
    run("systemctl", "stop", "directory.service")
    desktop.after(run, "systemctl", "start", "directory.service")
    for service in ("login", "sshd"):
        assert ask(service, "erin") is None
        said = machine.has_decided(service, "erin", "undecidable", None)
        assert "let in all the same: ldap/" in said, said


def an_argument_that_cannot_be_meant_leaves_everybody_undecidable(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    for arguments in (("servces=login",), ("hours=perhaps",), ("on-undecidable=admit", "debug")):
        machine.guard(*arguments)
        machine.refuses(ask("login", "bob"), "login", "bob", None)
        machine.admits(ask("login", "carol"), "login", "carol", NEVER_SHUT_OUT)
        assert UNDECIDABLE in ask("sshd", "carol")
        machine.has_decided("sshd", "carol", "undecidable", None)
