"""gatehalld: who is told what, with which rights it runs, and that all who follow it see the same list."""
import grp
import json
import pwd
import re
from pathlib import Path

from gi.repository import GLib

from clients import (NAME, UNIT, Followers, answer, ask, begin_to_ask, command, plain, process_id,
                     users)
from greeter import Greeter
from secure_shell import SecureShell
from session_limits import DAY, find, lift, limit, second_of_day
from system import run

BOB = 1001
DIRECTORIES = "/etc/gatehall/directory.toml"
HOURS = {"kinwatchAllowsLogin", "kinwatchNextCurfewTime"}
MOST_EXPOSED = 1.5


def _start(desktop):
    """For the time of the case, as each begins without it."""
    run("systemctl", "stop", UNIT)
    desktop.after(run, "systemctl", "stop", UNIT)
    return users()


def _other_hours():
    """A schedule that is far from the present moment."""
    return (0, 60) if second_of_day() > DAY // 2 else (DAY - 120, DAY)


def _keep_bob_out(desktop):
    limit(desktop, BOB, *_other_hours())
    desktop.until(lambda: _bob()["kinwatchAllowsLogin"] is False, "bob kept out")


def _status(process):
    """Of the kernel, of a process."""
    return dict(line.split(":\t", 1) for line in Path(f"/proc/{process}/status").read_text().splitlines()
                if ":\t" in line)


# Its rights.


def a_call_starts_it(desktop):
    run("systemctl", "stop", UNIT)
    assert not desktop.bus.has(NAME)
    assert "bob" in [user["shortName"] for user in _start(desktop)]
    assert desktop.bus.has(NAME) and desktop.is_running(UNIT)


def it_ends_when_nobody_asks(desktop):
    _start(desktop)
    desktop.until(lambda: not desktop.is_running(UNIT), "the service's end", seconds=240)
    assert "Result=success" in run("systemctl", "show", "--property=Result", UNIT)


def it_stays_while_somebody_watches(desktop):
    followers = Followers(desktop, 1, "carol")
    followers.until_all_have_the_same_as_a_fresh_one()
    process = process_id()
    # Longer than it stays for who doesn't.
    timer = GLib.timeout_add_seconds(1, lambda: True)
    desktop.after(GLib.source_remove, timer)
    desktop.until(lambda: int(run("ps", "-o", "etimes=", "-p", str(process))) > 90,
                  "the service at that age", seconds=240)
    assert process_id() == process


def it_is_little_exposed(desktop):
    _start(desktop)
    said = run("systemd-analyze", "security", "--no-pager", UNIT)
    exposure = float(re.search(r"Overall exposure level for \S+: ([\d.]+)", said)[1])
    assert exposure <= MOST_EXPOSED, said


def it_has_the_rights_of_its_user_and_of_the_group_shadow(desktop):
    _start(desktop)
    user = pwd.getpwnam("gatehall")
    status = _status(process_id())
    assert status["Uid"].split() == [str(user.pw_uid)] * 4, status
    assert status["Gid"].split() == [str(user.pw_gid)] * 4, status
    assert set(status["Groups"].split()) == {str(user.pw_gid), str(grp.getgrnam("shadow").gr_gid)}, status
    for kind in ("Inh", "Prm", "Eff", "Bnd", "Amb"):
        assert int(status[f"Cap{kind}"], 16) == 0, status
    assert (status["NoNewPrivs"].strip(), status["Seccomp"].strip()) == ("1", "2"), status
    assert user.pw_shell.endswith("/nologin"), user
    assert "gatehall" not in grp.getgrnam("shadow").gr_mem


def nobody_else_can_have_its_name(desktop):
    run("systemctl", "stop", UNIT)
    for user in ("carol", "lightdm"):
        request = ["dbus-send", "--system", "--print-reply", "--dest=org.freedesktop.DBus", "/",
                   "org.freedesktop.DBus.RequestName", f"string:{NAME}", "uint32:0"]
        said = run("runuser", "-u", user, "--", *request, check=False)
        assert said == "", said


# Who is told what.


def the_list_is_everybodys(desktop):
    _start(desktop)
    expected = ["ann", "bob", "carol", "erin"]
    for who in ("root", "carol", "lightdm", "nobody"):
        assert [user["shortName"] for user in users(by=who)] == expected, who


def _bob(by="root", session=None):
    return next(user for user in users(by=by, session=session) if user["shortName"] == "bob")


def _knows_the_hours_of_bob(by, session=None):
    told = [HOURS & user.keys() for user in
            (_bob(by, session), ask("UserByName", "s", "bob", by=by, session=session))]
    assert told[0] == told[1], told
    return bool(told[0])


def _bob_knows_his_hours():
    """The list is the same for all who may not know others'."""
    assert not HOURS & _bob("bob").keys()
    return bool(HOURS & ask("UserByName", "s", "bob", by="bob").keys())


def nothing_that_is_told_says_whether_a_password_is_empty(desktop):
    """bob's is, carol's isn't."""
    _start(desktop)
    for method, more in (("UserByName", ["s"]), ("CanLogIn", ["ss"]), ("Explain", ["ss"])):
        bob, carol = (ask(method, *more, name, *[""] * (len(more[0]) - 1)) for name in ("bob", "carol"))
        different = {key for key in bob.keys() | carol.keys() if bob.get(key) != carol.get(key)}
        assert different <= {"shortName", "longName", "name", "uid", "guid"}, (method, bob, carol)


def others_hours_are_told_who_is_in_front_of_the_machine_and_root(desktop):
    _start(desktop)
    _keep_bob_out(desktop)
    ann = desktop.session_of("ann")
    assert _knows_the_hours_of_bob("root")
    assert _bob_knows_his_hours()
    assert _knows_the_hours_of_bob("ann", ann)
    assert not _knows_the_hours_of_bob("carol"), "in no session"
    # Another session in front: ann's is inactive.
    desktop.start_plain_session_of("erin", 9)
    desktop.bring_to_front("erin", desktop.until(
        lambda: next((s for s in desktop.sessions() if s.user == "erin"), None)))
    assert not _knows_the_hours_of_bob("ann", ann)
    desktop.bring_to_front("ann")
    desktop.until(lambda: _knows_the_hours_of_bob("ann", ann), "ann told again")


def others_hours_are_told_the_login_screen(desktop):
    _start(desktop)
    _keep_bob_out(desktop)
    Greeter(desktop)
    greeter = desktop.until(lambda: next((s for s in desktop.sessions() if s.kind == "greeter"), None))
    desktop.until(lambda: _knows_the_hours_of_bob("lightdm", greeter), "the greeter told")
    assert not _knows_the_hours_of_bob("lightdm"), "outside of its session"


def others_hours_are_not_told_over_ssh(desktop):
    _start(desktop)
    _keep_bob_out(desktop)
    said = SecureShell(desktop).log_in("carol", *command("ListUsers", "uu", "0", "0")).until_ended()
    (line,) = (line for line in said.splitlines() if line.startswith("{"))
    told = {user["shortName"]: HOURS & user.keys() for user in plain(json.loads(line)["data"])[2]}
    assert told == {"ann": set(), "bob": set(), "carol": set(), "erin": set()}, told


def the_moment_of_a_refusal_is_told_who_may_know_it(desktop):
    _start(desktop)
    _keep_bob_out(desktop)

    def told(by, session=None):
        found = ask("CanLogIn", "ss", "bob", "", by=by, session=session)
        return "hours" in found, bool(re.search(r"\d\d:\d\d", found["sentence"]))

    for who, session in (("root", None), ("ann", desktop.session_of("ann")), ("bob", None)):
        assert told(who, session) == (True, True), who
    assert told("carol") == (False, False)


def others_answers_are_explained_to_root_and_to_who_has_a_password_for_it(desktop):
    _start(desktop)
    for who in ("root", "bob"):
        assert ask("Explain", "ss", "bob", "", by=who)["chain"] == [], who
    for who, session in (("ann", desktop.session_of("ann")), ("carol", None), ("lightdm", None)):
        said = ask("Explain", "ss", "bob", "", by=who, session=session)
        assert said.startswith("Call failed: "), said
        assert "authenticat" in said, said


def without_polkit_others_are_told_what_is_everybodys(desktop):
    _start(desktop)
    _keep_bob_out(desktop)
    desktop.stop("polkit.service")
    run("systemctl", "restart", UNIT)
    ann = desktop.session_of("ann")
    assert not _knows_the_hours_of_bob("ann", ann)
    assert _bob_knows_his_hours() and _knows_the_hours_of_bob("root")
    assert ask("CanLogIn", "ss", "bob", "", by="ann", session=ann)["allowed"]
    assert ask("Explain", "ss", "ann", "", by="ann", session=ann)["allowed"]
    said = ask("Explain", "ss", "bob", "", by="ann", session=ann)
    assert said == "Call failed: Access denied", said


# All who follow see the same.


def _fifty(desktop):
    """Clients that follow a list in which bob is, whose hours the service knows."""
    find(desktop, BOB)
    lift(desktop, BOB)
    followers = Followers(desktop, 50, "carol")
    followers.until_all_have_the_same_as_a_fresh_one()
    return followers


def _named(name):
    return lambda found: any(user["longName"] == name for user in found)


def _go_on(desktop, followers, name):
    """What changes afterwards reaches them all."""
    followers.until_all_have_the_same_as_a_fresh_one()
    desktop.after(run, "usermod", "--comment", "Bob", "bob")
    run("usermod", "--comment", name, "bob")
    followers.until_all_have(f"bob as {name}", _named(name))
    followers.until_all_have_the_same_as_a_fresh_one()


def fifty_who_follow_see_what_happens(desktop):
    _go_on(desktop, _fifty(desktop), "Bobby")


def fifty_who_follow_see_the_same_after_a_restart_of_the_service(desktop):
    followers = _fifty(desktop)
    before = process_id()
    run("systemctl", "restart", UNIT)
    assert process_id() != before
    _go_on(desktop, followers, "Bobby")


def fifty_who_follow_see_the_same_after_a_crash_of_the_service(desktop):
    followers = _fifty(desktop)
    run("systemctl", "kill", "--kill-whom=main", "--signal=KILL", UNIT)
    _go_on(desktop, followers, "Bobby")


def fifty_who_follow_see_the_same_after_a_restart_of_logind(desktop):
    followers = _fifty(desktop)
    run("systemctl", "restart", "systemd-logind.service")
    _go_on(desktop, followers, "Bobby")
    desktop.start_plain_session_of("bob", 9)
    followers.until_all_have("bob logged in", lambda found: any(
        user["shortName"] == "bob" and user["suspended"] for user in found))


def fifty_who_follow_see_the_same_after_a_restart_of_the_accounts_service(desktop):
    followers = _fifty(desktop)
    run("systemctl", "restart", "accounts-daemon.service")
    _go_on(desktop, followers, "Bobby")


def _configure(desktop, more=""):
    desktop.write(DIRECTORIES, '[[directory]]\nname = "example"\nservers = ["ldap://127.0.0.1/"]\n'
                  f'base = "dc=example,dc=org"\ntls = "off"\n{more}')
    run("systemctl", "stop", UNIT)


def fifty_who_follow_see_the_same_after_a_restart_of_the_directory(desktop):
    _configure(desktop)
    desktop.start("directory.service")
    followers = _fifty(desktop)
    assert ask("CanLogIn", "ss", "dana", "")["allowed"]
    run("systemctl", "restart", "directory.service")
    desktop.until(lambda: ask("CanLogIn", "ss", "dana", "")["allowed"], "dana admitted")
    _go_on(desktop, followers, "Bobby")


def fifty_who_follow_see_the_same_after_a_restart_of_the_bus(desktop):
    """Which takes LightDM and its sessions along."""
    followers = _fifty(desktop)
    run("systemctl", "restart", "dbus.service")
    desktop.until(desktop.in_front, "somebody in front")
    _go_on(desktop, followers, "Bobby")


def a_mute_directory_delays_nobody_who_does_not_need_it(desktop):
    """Where there is a local access group, no directory is asked for one."""
    desktop.add_group("gatehall-access", "ann", "bob", "carol", "erin")
    _configure(desktop, "time-limit = 15\ntotal-time-limit = 15\n")
    desktop.start("directory.service")
    assert ask("UserByName", "s", "dana")["shortName"] == "dana"
    run("systemctl", "stop", UNIT)  # with what it remembers of dana
    before = [user["shortName"] for user in _start(desktop)]
    desktop.freeze("directory.service")
    waiting = begin_to_ask("UserByName", "s", "dana", by="carol")
    assert [user["shortName"] for user in users(by="lightdm")] == before
    assert ask("UserByName", "s", "bob", by="carol")["uid"] == BOB
    assert ask("CanLogIn", "ss", "bob", "", by="carol")["allowed"]
    assert waiting.poll() is None, answer(waiting)
    run("systemctl", "kill", "--kill-whom=main", "--signal=CONT", "directory.service")
    assert answer(waiting)["shortName"] == "dana"
