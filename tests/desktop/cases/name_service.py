"""Users whom the machine's name service knows: SSSD, with a slapd in the container behind it, in a
directory of kind "nss"."""
import contextlib
import json
import os
import shutil
import signal
import uuid
from pathlib import Path

from gi.repository import GLib

from clients import UNIT, ask
from policed import keep, place
from programs import finish, run_as, start_as
from system import run

DIRECTORIES = "/etc/gatehall/directory.toml"
MANAGED = "/etc/gatehall/managed/com.orvane.gatehall.plist"
PEOPLE = Path("/etc/directory/people.ldif")
PROGRAM = "/usr/libexec/gatehall/gatehall-names"
CACHES = [Path("/var/lib/sss/db"), Path("/var/lib/sss/mc")]
NAMESPACE = uuid.UUID("3c7e0a94-5b1d-4e62-a8f3-91d6b07c2e45")

DANA, DORA = "5000", "5001"
MORE_PEOPLE = """
dn: uid=dora,dc=example,dc=org
objectClass: inetOrgPerson
objectClass: posixAccount
uid: dora
cn: Dora
sn: Dora
uidNumber: 5001
gidNumber: 7001
homeDirectory: /home/dora
loginShell: /bin/bash

dn: cn=pupils,dc=example,dc=org
objectClass: posixGroup
gidNumber: 7001

dn: cn=banned,dc=example,dc=org
objectClass: posixGroup
gidNumber: 7002
memberUid: dana
"""
SSSD = """[sssd]
services = nss, ifp
domains = example

[domain/example]
id_provider = ldap
auth_provider = none
ldap_uri = ldap://127.0.0.1/
ldap_search_base = dc=example,dc=org
ldap_id_use_start_tls = false
"""


def _guid(kind, name):
    return str(uuid.uuid5(NAMESPACE, f"nss/site/{kind}/{name}")).upper()


def _answer(*words):
    return json.loads(run("gatehallctl", "--json", *words, check=False))


def _decide(*names):
    return {user["name"] or name: user
            for name, user in zip(names, _answer("can-log-in", *names)["users"])}


def _rules(*names):
    return {name: user["rule"] for name, user in _decide(*names).items()}


def _site():
    """What is said of the directory."""
    (site,) = (each for each in _answer("directories")["directories"] if each["name"] == "nss/site")
    return site


def _join(desktop, limit=60):
    """The machine is SSSD's, whose cache is empty; dana, of the two, was here."""
    desktop.write("/etc/nsswitch.conf", "passwd: files sss\ngroup: files sss\nshadow: files\n")
    desktop.write("/etc/sssd/sssd.conf", SSSD, mode=0o600)
    keep(desktop, PEOPLE)
    place(PEOPLE, PEOPLE.read_text() + MORE_PEOPLE)
    for cache in CACHES:
        for file in cache.glob("*"):
            file.unlink()
    home = Path("/home/dana")
    home.mkdir()
    desktop.after(shutil.rmtree, home)
    os.chown(home, int(DANA), 100)
    _configure(desktop, limit)
    desktop.start("directory.service", "sssd.service")


def _configure(desktop, limit):
    desktop.write(DIRECTORIES, '[[directory]]\nname = "site"\nkind = "nss"\n'
                  f'names = ["banned", "pupils"]\ntime-limit = {limit}\n')


def _set_list(desktop, key, *guids):
    entries = "".join(f"<string>{guid}</string>" for guid in guids)
    desktop.write(MANAGED, '<?xml version="1.0" encoding="UTF-8"?>\n<plist version="1.0"><dict>'
                  f"<key>{key}</key><array>{entries}</array></dict></plist>\n")


def _freeze_backend(desktop):
    """What SSSD asks its servers with answers nobody for the time of the case: so does SSSD about whoever
    is not in its cache."""
    (backend,) = (int(comm.parent.name) for comm in Path("/proc").glob("[0-9]*/comm")
                  if comm.read_text() == "sssd_be\n")
    os.kill(backend, signal.SIGSTOP)
    desktop.after(os.kill, backend, signal.SIGCONT)


def _asking_processes():
    """Those that have no rights any more."""
    found = []
    for folder in Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):  # it has ended
            if os.readlink(folder / "exe") == PROGRAM:
                if "\nUid:\t65534\t65534\t65534\t65534\n" in (folder / "status").read_text():
                    found.append(int(folder.name))
    return found


@contextlib.contextmanager
def _question(desktop):
    """A question about dana whose answer doesn't come, and the process that asks it."""
    _join(desktop, limit=600)
    _freeze_backend(desktop)
    question = start_as(["gatehallctl", "can-log-in", "dana"], "root")
    timer = GLib.timeout_add(20, lambda: True)  # of its start nothing is told
    try:
        (process,) = desktop.until(_asking_processes, "the process that asks")
        yield question, process
        desktop.until(lambda: not _asking_processes(), "its end")
    finally:
        GLib.source_remove(timer)
        question.kill()
        question.wait()


def _refuses_dana_undecided(why):
    status, output, _ = run_as(["gatehallctl", "can-log-in", "dana"], "root")
    assert status == 3 and "undecidable" in output and why in " ".join(output.split()), output


def its_people_are_decided_about_by_lists_of_its_groups(desktop):
    _join(desktop)
    assert _rules("dana", "dora") == dict.fromkeys(("dana", "dora"), "no allow list")
    _set_list(desktop, "DenyList", _guid("group", "banned"))
    assert _rules("dana", "dora") == {"dana": "denied by GUID", "dora": "no allow list"}
    _set_list(desktop, "AllowList", _guid("group", "pupils"))
    # Dora is in the group as her primary one.
    assert _rules("dana", "dora") == {"dana": "not in the allow list", "dora": "allowed by GUID"}


def who_is_refused_is_not_switched_to(desktop):
    _join(desktop)
    _set_list(desktop, "DenyList", _guid("user", "dana"))
    desktop.switch("-switchToUserID", DANA)
    assert desktop.asked() == []
    # Whose password the display manager asks for.
    result = desktop.switch("-switchToUserID", DORA)
    assert "admitted" in result.decisions[0], result
    desktop.until_greeter()


def the_service_decides_about_its_people_with_the_few_rights_it_has(desktop):
    _join(desktop)
    _set_list(desktop, "DenyList", _guid("group", "banned"))
    run("systemctl", "stop", UNIT)
    desktop.after(run, "systemctl", "stop", UNIT)
    assert ask("CanLogIn", "ss", "dora", "")["allowed"]
    assert not ask("CanLogIn", "ss", "dana", "")["allowed"]


def its_guids_are_made_of_names(desktop):
    _join(desktop)
    for kind, name in (("user", "dana"), ("user", "dora"), ("group", "banned"), ("group", "pupils")):
        (entry,) = _answer("guid", name)["entries"]
        assert (entry["kind"], entry["guid"], entry["node"]) == (kind, _guid(kind, name), "nss/site"), entry


def who_was_here_is_among_its_users(desktop):
    _join(desktop)
    _set_list(desktop, "AllowList", "*")
    assert [user["shortName"] for user in _answer("network-users")["users"]] == ["dana"]


def it_is_named_by_its_services(desktop):
    _join(desktop)
    site = _site()
    assert (site["reachable"], site["server"], site["error"]) == (True, "sss", None), site


def its_cache_answers_while_the_network_is_away(desktop):
    _join(desktop)
    _set_list(desktop, "DenyList", _guid("group", "banned"))
    rules = {"dana": "denied by GUID", "dora": "no allow list"}
    assert _rules("dana", "dora") == rules
    assert _site()["fromCache"] is False, _site()
    run("systemctl", "stop", "directory.service")
    run("sss_cache", "--everything")  # so that it looks for its server first
    assert _rules("dana", "dora") == rules
    site = _site()
    assert site["reachable"] and site["error"] is None and site["fromCache"] is True, site
    # And nobody is made up whom the cache doesn't have.
    assert not _decide("nobody-has-it")["nobody-has-it"]["found"]


def without_its_daemon_it_is_away(desktop):
    _join(desktop)
    _set_list(desktop, "DenyList", _guid("user", "dora"))
    run("systemctl", "stop", "sssd.service")
    _refuses_dana_undecided("sss has nobody who answers")
    assert _rules("bob") == {"bob": "local login enabled"}
    desktop.switch("-switchToUserID", DANA)
    assert desktop.asked() == []


def a_daemon_that_hangs_is_waited_for_no_longer_than_the_limit(desktop):
    _join(desktop)
    _configure(desktop, 1)
    _freeze_backend(desktop)
    _refuses_dana_undecided("the name service does not answer in time")
    assert _asking_processes() == []
    assert _rules("bob") == {"bob": "local login enabled"}


def the_death_of_the_process_that_asks_is_a_directory_that_is_away(desktop):
    with _question(desktop) as (question, process):
        os.kill(process, signal.SIGKILL)
        (output,) = finish(question)
    assert question.returncode == 3, output
    assert "ended without an answer" in " ".join(output.split()), output


def the_process_that_asks_ends_with_the_one_that_wants_to_know(desktop):
    with _question(desktop) as (question, _):
        question.kill()


def the_program_that_asks_is_read_by_root_alone(desktop):
    status, output, _ = run_as(["cat", PROGRAM], "ann")
    assert status != 0 and "Permission denied" in output, output
