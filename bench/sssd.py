#!/usr/bin/env python3
"""What a process takes that decides about dora, against SSSD with the same slapd of 20,000 users, on the
desktop of tests/desktop: by LDAP, under a deny list of a small group, against id(1) and, as pam_gatehall, a
call of pam_acct_mgmt(3), both out of a warm cache; under one of a group with all users, listed by name or
nested by DN, against getent(1) while SSSD knows nothing yet, and by name also when it was started anew and
has its database; and with a directory of kind "nss" against getent out of a warm cache.

The servers' processor time and memory are in none of the figures, nor are those of SSSD's own processes.

usage: tests/desktop/container run bench/sssd.py     or scripts/bench sssd
"""
import plistlib
import shutil
import uuid
from pathlib import Path

from desktop import Desktop
from figures import figure, in_turns, process, process_figures
from policed import place
from programs import run_as
from system import run

USERS, RUNS, COLD_RUNS = 20000, 21, 5
NAMESPACE = uuid.UUID("3c7e0a94-5b1d-4e62-a8f3-91d6b07c2e45")
SUFFIX = "dc=example,dc=org"
BANNED, LISTED, NESTED = (f"6B000000-0000-4000-8000-00000000000{number}" for number in (1, 2, 3))
NAMED = str(uuid.uuid5(NAMESPACE, "nss/site/group/listed")).upper()

OURS = ["/usr/bin/gatehallctl", "can-log-in", "dora"]
GETENT = ["/usr/bin/getent", "group"]

SSSD = f"""[sssd]
services = nss, pam
domains = example

[domain/example]
id_provider = ldap
auth_provider = none
access_provider = simple
simple_deny_groups = banned
ldap_schema = %s
ldap_uri = ldap://127.0.0.1/
ldap_search_base = {SUFFIX}
ldap_id_use_start_tls = false
ldap_search_timeout = 60
ldap_enumeration_search_timeout = 60
"""
LDAP = f"""[[directory]]
name = "site"
servers = ["ldap://127.0.0.1/"]
base = "{SUFFIX}"
profile = "%s"
tls = "off"
time-limit = 60
"""
NAME_SERVICE = """[[directory]]
name = "site"
kind = "nss"
names = ["listed"]
time-limit = 60
"""
SLAPD = f"""include /etc/ldap/schema/core.schema
include /etc/ldap/schema/cosine.schema
include /etc/ldap/schema/inetorgperson.schema
include /etc/directory/nis.schema
modulepath /usr/lib/ldap
moduleload back_mdb
sizelimit unlimited
database mdb
maxsize 1073741824
suffix "{SUFFIX}"
directory /run/directory
index objectClass,uid,cn,uidNumber,gidNumber,memberUid,member,entryUUID eq
"""


def schema():
    """As RFC 2307bis has it: a group of DNs may have a group id besides."""
    before, group = Path("/etc/ldap/schema/nis.schema").read_text().split("NAME 'posixGroup'")
    return f"{before}NAME 'posixGroup'{group.replace('STRUCTURAL', 'AUXILIARY', 1)}"


def entry(name, *lines):
    return "\n".join((f"dn: {name},{SUFFIX}", *lines, "", ""))


def group(name, number, kind, members, guid=None):
    return entry(f"cn={name}", f"objectClass: {kind}", "objectClass: posixGroup", f"cn: {name}",
                 f"gidNumber: {number}", *members, *([f"entryUUID: {guid.lower()}"] if guid else []))


def people():
    """Dora, who is in no group, and the many: all are listed in one, and in the two halves of another."""
    names = [f"user{number}" for number in range(USERS)]
    halves = names[:USERS // 2], names[USERS // 2:]
    return "".join([
        f"dn: {SUFFIX}\nobjectClass: dcObject\nobjectClass: organization\ndc: example\no: Example\n\n",
        *(entry(f"uid={name}", "objectClass: inetOrgPerson", "objectClass: posixAccount", f"uid: {name}",
                f"cn: {name}", f"sn: {name}", f"uidNumber: {10000 + number}", "gidNumber: 100",
                f"homeDirectory: /home/{name}", "loginShell: /bin/bash")
          for number, name in enumerate([*names, "dora"])),
        group("banned", 7001, "organizationalRole", ["memberUid: user0"], BANNED),
        group("listed", 7002, "organizationalRole", [f"memberUid: {name}" for name in names], LISTED),
        group("nested", 7003, "groupOfNames", [f"member: cn=half{half},{SUFFIX}" for half in (0, 1)], NESTED),
        *(group(f"half{half}", 7004 + half, "groupOfNames", [f"member: uid={name},{SUFFIX}" for name in some])
          for half, some in enumerate(halves))])


def set_up(desktop):
    place(Path("/etc/nsswitch.conf"), "passwd: files sss\ngroup: files sss\nshadow: files\n")
    place(Path("/etc/directory/nis.schema"), schema())
    place(Path("/etc/directory/slapd.conf"), SLAPD)
    place(Path("/etc/directory/people.ldif"), people())
    for module, words in (("pam_gatehall", "services=door-pam_gatehall"), ("pam_sss", "")):
        place(Path(f"/etc/pam.d/door-{module}"), f"account required {module}.so {words}\n")
    desktop.start("directory.service")


def deny(guid, directory):
    place(Path("/etc/gatehall/directory.toml"), directory)
    place(Path("/etc/gatehall/managed/com.orvane.gatehall.plist"), plistlib.dumps({"DenyList": [guid]}))
    assert '"denied by GUID"' in run("gatehallctl", "--json", "can-log-in", "user0", check=False)


def configure_sssd(profile):
    place(Path("/etc/sssd/sssd.conf"), SSSD % profile, 0o600)
    shutil.chown("/etc/sssd/sssd.conf", "root", "root")
    restart_sssd(keeps_database=False)


def restart_sssd(keeps_database):
    run("systemctl", "stop", "sssd.service")
    if not keeps_database:
        for file in Path("/var/lib/sss/db").glob("*"):
            file.unlink()
    run("systemctl", "reset-failed", "sssd.service", check=False)  # so often in a few seconds is too often
    run("systemctl", "start", "sssd.service")
    run("getent", "passwd", "dora")  # it has connected to the server


def check_members(name):
    assert run(*GETENT, name).count(",") == USERS - 1


def after_restart(name, keeps_database):
    """getent for a group with all users, the first that is asked for."""
    restart_sssd(keeps_database)
    taken = process([*GETENT, name])
    check_members(name)
    return taken


def account_call(module):
    """Milliseconds of the first call in a process. What decides is no child of it, here as there."""
    status, output, _ = run_as(["/opt/programs/account-calls", f"door-{module}", "dora", "1"], "root")
    assert status == 0, f"{module}: {output}"
    return int(output) / 1e6


def main():
    desktop = Desktop()
    desktop.begin()
    set_up(desktop)

    configure_sssd("rfc2307")
    deny(BANNED, LDAP % "rfc2307")
    status, output, _ = run_as(["/opt/programs/account-calls", "door-pam_sss", "user0", "1"], "root")
    assert status != 0, f"SSSD admits user0: {output}"
    figure("sssd-account", "ms",
           *in_turns(RUNS, lambda: account_call("pam_gatehall"), lambda: account_call("pam_sss")),
           "pam_sss account management, warm", 0.7)
    process_figures("sssd-lookup", *in_turns(RUNS, lambda: process(OURS),
                                             lambda: process(["/usr/bin/id", "dora"])),
                    "id, warm", {"": 1.5})

    check_members("listed")
    deny(NAMED, NAME_SERVICE)
    process_figures("sssd-name-service", *in_turns(RUNS, lambda: process(OURS),
                                                   lambda: process([*GETENT, "listed"])),
                    "getent group, warm", {"": 3.0})

    deny(LISTED, LDAP % "rfc2307")
    process_figures("sssd-listed-restarted", *in_turns(RUNS, lambda: process(OURS),
                                                       lambda: after_restart("listed", True)),
                    "getent group, from SSSD's database", {"": 2.0})
    process_figures("sssd-listed", *in_turns(COLD_RUNS, lambda: process(OURS),
                                             lambda: after_restart("listed", False)),
                    "getent group, cold", {"": 2.0})

    configure_sssd("rfc2307bis")
    deny(NESTED, LDAP % "rfc2307bis")
    process_figures("sssd-nested", *in_turns(COLD_RUNS, lambda: process(OURS),
                                             lambda: after_restart("nested", False)),
                    "getent group, cold", {"": 0.15})


main()
