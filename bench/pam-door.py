#!/usr/bin/env python3
"""What one account decision takes through pam_gatehall, pam_sss and pam_access, in turns, on the desktop
of tests/desktop: each call of pam_acct_mgmt(3) in one process, and a fresh process with one call.

Two people are asked about whom all admit. Dora is of the network directory, the same slapd for all, and
not in the denied group: the deny list's for pam_gatehall, which asks the directory each time, simple_deny_groups
for SSSD, which remembers. Bob is of a machine without a directory, and in the one group that may log in:
the service access list for pam_gatehall, a line of access.conf(5) for pam_access.

usage: tests/desktop/container run bench/pam-door.py     or scripts/bench pam-door
"""
import shutil
from pathlib import Path

from desktop import Desktop
from figures import figure, in_turns, process, process_figures
from guarded import Guarded
from policed import DENY_LIST, DIRECTORIES, Policy, place, remove
from programs import run_as
from system import run

CALLS, PROCESSES, COLD = 100, 41, 7
PROGRAM = "/opt/programs/account-calls"
SSSD = """[sssd]
services = pam
domains = example

[domain/example]
id_provider = ldap
auth_provider = none
access_provider = simple
simple_deny_groups = banned
ldap_uri = ldap://127.0.0.1/
ldap_search_base = dc=example,dc=org
ldap_id_use_start_tls = false
"""
DIRECTORY = """[[directory]]
name = "example"
servers = ["ldap://127.0.0.1/"]
base = "dc=example,dc=org"
tls = "off"
"""
STACKS = {
    "pam_gatehall": "services=door-pam_gatehall",
    "pam_sss": "",
    "pam_access": "accessfile=/etc/security/door.conf",
}


def calls(module, user, count):
    """Milliseconds of each call in one process."""
    status, output, _ = run_as([PROGRAM, f"door-{module}", user, str(count)], "root")
    assert status == 0, f"{module}: {output}"
    return [int(line) / 1e6 for line in output.splitlines()]


def compare(name, aim, user, theirs):
    """Ours against theirs, in turns; the first of each reads files from the disk."""
    modules = ("pam_gatehall", theirs)
    ours, their = in_turns(CALLS // 10, *(lambda module=module: calls(module, user, 10) for module in modules))
    figure(f"pam-door-{name}", "ms a call", [call for ten in ours for call in ten],
           [call for ten in their for call in ten], theirs, aim)
    ours, their = in_turns(PROCESSES, *(lambda module=module: process([PROGRAM, f"door-{module}", user, "1"])
                                        for module in modules))
    process_figures(f"pam-door-{name}-fresh", ours, their, theirs, {"": aim})


def start_sssd_without_its_cache():
    run("systemctl", "stop", "sssd.service")
    for file in Path("/var/lib/sss/db").glob("*"):
        file.unlink()
    run("systemctl", "start", "sssd.service")


def main():
    desktop = Desktop()
    desktop.begin()
    for module, arguments in STACKS.items():
        place(Path(f"/etc/pam.d/door-{module}"), f"account required {module}.so {arguments}\n")
    place(Path("/etc/security/door.conf"), "- : ALL EXCEPT (gatehall-access) : ALL\n")
    place(Path("/etc/sssd/sssd.conf"), SSSD, 0o600)
    shutil.chown("/etc/sssd/sssd.conf", "root", "root")
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    place(DIRECTORIES, DIRECTORY)
    cold = []
    for _ in range(COLD):
        start_sssd_without_its_cache()
        cold += calls("pam_sss", "dora", 1)
    figure("pam-door-sssd-cold", "ms a call", cold)
    compare("network", 1.0, "dora", "pam_sss")
    machine.have(Policy("bob", (), (), group="gatehall-access:x:990:bob"))
    remove(DIRECTORIES)
    compare("local", 2.0, "bob", "pam_access")


main()
