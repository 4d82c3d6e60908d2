#!/usr/bin/env python3
"""A directory of kind "nss" against getent(1), in turns, on the desktop of tests/desktop, with the same
SSSD and a slapd of 20,000 users behind it: what a process takes that decides about dora under a deny
list of a group with all of them, and one that prints that group, out of a warm cache.

usage: tests/desktop/container run bench/sssd.py     or scripts/bench sssd
"""
import plistlib
import shutil
import statistics
import uuid
from pathlib import Path

from desktop import Desktop
from policed import place
from programs import run_as
from system import run

USERS, RUNS = 20000, 21
AIM = 3.0
NAMESPACE = uuid.UUID("3c7e0a94-5b1d-4e62-a8f3-91d6b07c2e45")
SUFFIX = "dc=example,dc=org"
SSSD = f"""[sssd]
services = nss
domains = example

[domain/example]
id_provider = ldap
auth_provider = none
ldap_uri = ldap://127.0.0.1/
ldap_search_base = {SUFFIX}
ldap_id_use_start_tls = false
ldap_search_timeout = 60
"""
DIRECTORY = """[[directory]]
name = "site"
kind = "nss"
names = ["all"]
time-limit = 60
"""
SLAPD = f"""include /etc/ldap/schema/core.schema
include /etc/ldap/schema/cosine.schema
include /etc/ldap/schema/inetorgperson.schema
include /etc/ldap/schema/nis.schema
modulepath /usr/lib/ldap
moduleload back_mdb
sizelimit unlimited
database mdb
maxsize 1073741824
suffix "{SUFFIX}"
directory /run/directory
index objectClass,uid,cn,uidNumber,gidNumber,memberUid eq
"""


def people():
    """Dora, who is in no group, and the many, who all are in one."""
    entries = [f"dn: {SUFFIX}\nobjectClass: dcObject\nobjectClass: organization\ndc: example\no: Example\n"]
    for number in range(USERS + 1):
        name = "dora" if number == USERS else f"user{number}"
        entries.append(f"dn: uid={name},{SUFFIX}\nobjectClass: inetOrgPerson\nobjectClass: posixAccount\n"
                       f"uid: {name}\ncn: {name}\nsn: {name}\nuidNumber: {10000 + number}\n"
                       f"gidNumber: 100\nhomeDirectory: /home/{name}\nloginShell: /bin/bash\n")
    members = "".join(f"memberUid: user{number}\n" for number in range(USERS))
    entries.append(f"dn: cn=all,{SUFFIX}\nobjectClass: posixGroup\ngidNumber: 7001\n{members}")
    return "\n".join(entries)


def set_up(desktop):
    place(Path("/etc/nsswitch.conf"), "passwd: files sss\ngroup: files sss\nshadow: files\n")
    place(Path("/etc/directory/slapd.conf"), SLAPD)
    place(Path("/etc/directory/people.ldif"), people())
    place(Path("/etc/sssd/sssd.conf"), SSSD, 0o600)
    shutil.chown("/etc/sssd/sssd.conf", "root", "root")
    place(Path("/etc/gatehall/directory.toml"), DIRECTORY)
    guid = str(uuid.uuid5(NAMESPACE, "nss/site/group/all")).upper()
    place(Path("/etc/gatehall/managed/com.orvane.gatehall.plist"), plistlib.dumps({"DenyList": [guid]}))
    desktop.start("directory.service", "sssd.service")
    group = run("getent", "group", "all")
    assert group.count(",") == USERS - 1, group[:200]
    assert '"denied by GUID"' in run("gatehallctl", "--json", "can-log-in", "user7", check=False)


PROGRAMS = {"gatehallctl": ["/usr/bin/gatehallctl", "can-log-in", "dora"],
            "getent": ["/usr/bin/getent", "group", "all"]}


def measured(command):
    """Milliseconds by the clock and of processor time, and kilobytes."""
    status, output, _ = run_as(["/opt/programs/measure", *command], "root")
    assert status == 0, output
    wall, processor, peak = (int(number) for number in output.splitlines()[-1].split())
    return wall / 1e6, processor / 1e6, peak


def main():
    desktop = Desktop()
    desktop.begin()
    set_up(desktop)
    taken = {name: [] for name in PROGRAMS}
    for turn in range(RUNS + 1):
        for name, command in PROGRAMS.items():
            figures = measured(command)
            if turn > 0:  # the first reads files from the disk
                taken[name].append(figures)
    middle = {}
    for name, rows in taken.items():
        middle[name] = wall, processor, peak = [statistics.median(column) for column in zip(*rows)]
        print(f"{name}: {wall:.1f} ms, {processor:.1f} ms of the processor's time, {peak / 1e3:.1f} MB")
    print(f"sssd-name-service ratio {middle['gatehallctl'][0] / middle['getent'][0]:.2f} aim {AIM}")


main()
