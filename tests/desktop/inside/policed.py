"""A machine with a policy, of which one thing at a time goes wrong: its people, its network directory,
and the files that say who may log in."""
import contextlib
import functools
import os
import plistlib
import re
import shutil
from dataclasses import dataclass
from pathlib import Path

from admission import Admission
from directory_proxy import SERVER, DirectoryProxy
from system import run

DIRECTORIES = Path("/etc/gatehall/directory.toml")
GROUPS, PASSWD, SHADOW = Path("/etc/group"), Path("/etc/passwd"), Path("/etc/shadow")
HOSTS = Path("/etc/hosts")
ERINS_RECORD = Path("/etc/userdb/erin.user")
PEOPLE = Path("/etc/directory/people.ldif")
MANAGED = Path("/etc/gatehall/managed/com.orvane.gatehall.plist")
MANAGED_BY_OTHERS = Path("/Library/Managed Preferences/com.orvane.gatehall.plist")

# Local accounts: carol is an administrator, erin's is mobile. And two of the directory.
ANN, BOB, CAROL, ERIN = 1000, 1001, 1002, 1003
DANA, DORA = 5000, 5001
# Local accounts that nobody can log in with.
LOCKED, EXPIRED, SHELLLESS, HASHLESS = 1010, 1011, 1012, 1013
# Groups of the directory.
BANNED, PUPILS, STAFF, ACCESS = (f"6B000000-0000-4000-8000-00000000000{n}" for n in range(1, 5))
STAFFS_ID = 7003

# The longest that a server may take for an answer, in seconds.
TIME_LIMIT = 1


@dataclass(frozen=True)
class Policy:
    """Whom it refuses, and some whom it admits."""
    name: str
    refused: tuple
    admitted: tuple
    managed: dict = None        # the managed file's contents
    group: str = ""             # a line of the group file
    groups: str = "groups"      # the branch of the directory where its groups are

    @property
    def key(self):
        """Of the managed file."""
        return next(iter(self.managed or ["no key"]))


DENY_LIST = Policy("deny list", (DANA, ERIN), (DORA, BOB, CAROL), managed={"DenyList": [BANNED]})
ALLOW_LIST = Policy("allow list", (DANA, ERIN), (DORA, BOB, CAROL), managed={"AllowList": [PUPILS]})
ACCESS_GROUP = Policy("access group", (DANA, ERIN, BOB), (DORA, CAROL),
                      group="gatehall-access:x:990:carol,dora")
ACCESS_GROUP_ELSEWHERE = Policy("access group of the directory", (DANA,), (DORA,), groups="access")
LOCAL_LOGIN_OFF = Policy("local login off", (BOB,), (DANA, ERIN, CAROL),
                         managed={"LocalUserLoginEnabled": False})
POLICIES = (DENY_LIST, ALLOW_LIST, ACCESS_GROUP, ACCESS_GROUP_ELSEWHERE, LOCAL_LOGIN_OFF)


@dataclass(frozen=True)
class Person:
    """An entry of the directory, without a password."""
    name: str
    number: int
    group: int = 100
    second_name: str = None


GOOD_PEOPLE = (Person("dana", DANA), Person("dora", DORA))


def _entry(name, *lines):
    return "\n".join([f"dn: {name},dc=example,dc=org", *lines, "", ""])


def _unit(name):
    return _entry(f"ou={name}", "objectClass: organizationalUnit")


def _person(branch, person):
    return _entry(f"uid={person.name},ou={branch}", "objectClass: inetOrgPerson",
                  "objectClass: posixAccount", "objectClass: shadowAccount", f"uid: {person.name}",
                  *([f"uid: {person.second_name}"] if person.second_name else []),
                  f"cn: {person.name}", f"sn: {person.name}", f"uidNumber: {person.number}",
                  f"gidNumber: {person.group}", f"homeDirectory: /home/{person.name}",
                  "loginShell: /bin/bash", "userPassword: {CRYPT}",
                  f"entryUUID: 5f000000-0000-4000-8000-{person.number:012}")


def _group(branch, name, number, guid, *members):
    return _entry(f"cn={name},ou={branch}", "objectClass: posixGroup", f"gidNumber: {number}",
                  f"entryUUID: {guid.lower()}", *(f"memberUid: {member}" for member in members))


def _directory(branches):
    """Everything in it, with the people of each branch."""
    return "".join([
        "dn: dc=example,dc=org\nobjectClass: dcObject\nobjectClass: organization\ndc: example\n"
        "o: Example\n\n",
        *map(_unit, ("groups", "access", "annex", *branches.values())),
        _group("groups", "banned", 7001, BANNED, "dana", "erin"),
        _group("groups", "pupils", 7002, PUPILS, "dora"),
        _group("groups", "staff", STAFFS_ID, STAFF),
        _group("access", "gatehall-access", 7004, ACCESS, "dora"),
        _person("annex", Person("eve", 5002)),
        *(_person(branch, person) for people, branch in branches.items() for person in people)])


UNUSABLE = (("lars", LOCKED, "/bin/bash", f"!$6$salt${'x' * 86}:20000:0:99999:7:::"),
            ("elsa", EXPIRED, "/bin/bash", ":20000:0:99999:7::1:"),
            ("nils", SHELLLESS, "/usr/sbin/nologin", ":20000:0:99999:7:::"),
            ("udo", HASHLESS, "/bin/bash", "*:20000:0:99999:7:::"))


def place(path, content, mode=0o644):
    """Puts a plain file of root's there, whatever is there now, and the folders that it needs. One
    that is so already is left alone: services look at some files anew whenever they are written."""
    content = content if isinstance(content, bytes) else content.encode()
    if _is_so(path, content, mode):
        return
    remove(path)
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)
    path.chmod(mode)


def _is_so(path, content, mode):
    if path.is_symlink() or not path.is_file():
        return False
    status = path.stat()
    return ((status.st_mode & 0o7777, status.st_uid) == (mode, 0) and path.read_bytes() == content)


def remove(path):
    if path.is_dir() and not path.is_symlink():
        shutil.rmtree(path)
    else:
        path.unlink(missing_ok=True)


def keep(desktop, path):
    """Has a file be as it is now when the case is over; or not be."""
    if not path.exists():
        desktop.after(remove, path)
        return
    content, status = path.read_bytes(), path.stat()

    def restore():
        place(path, content, status.st_mode & 0o7777)
        os.chown(path, status.st_uid, status.st_gid)

    desktop.after(restore)


def _close_folders():
    """Those of the managed files are as an administrator makes them."""
    for managed in (MANAGED, MANAGED_BY_OTHERS):
        for folder in managed.parents[:-1]:
            if folder.exists():
                folder.chmod(0o755)


class Machine:
    """For the time of a case. What went wrong is good again at the next have()."""

    def __init__(self, desktop, other_people=()):
        """Any of the other people may be those of the directory, see configure()."""
        for path in (DIRECTORIES, GROUPS, PASSWD, SHADOW, HOSTS, ERINS_RECORD, PEOPLE, MANAGED,
                     MANAGED_BY_OTHERS):
            keep(desktop, path)
        self._groups = re.sub(r"(?m)^sudo:.*", "sudo:x:27:carol,phantom", GROUPS.read_text())
        self._erins = ERINS_RECORD.read_text()
        for name, number, shell, secret in UNUSABLE:
            PASSWD.write_text(f"{PASSWD.read_text()}{name}:x:{number}:100::/home/{name}:{shell}\n")
            SHADOW.write_text(f"{SHADOW.read_text()}{name}:{secret}\n")
        self._branches = {people: f"people-{number}"
                          for number, people in enumerate((GOOD_PEOPLE, *other_people))}
        PEOPLE.write_text(_directory(self._branches))
        desktop.start("directory.service")
        place(HOSTS, "127.0.0.1 localhost\n")
        self.desktop = desktop
        self.proxy = DirectoryProxy()
        desktop.after(self.proxy.stop)
        desktop.after(_close_folders)
        self.undo = contextlib.ExitStack()
        desktop.after(self.undo.close)
        self.policy, self.file = None, None
        self._good = {}

    @functools.cached_property
    def admission(self):
        """Those who ask have the desktop for themselves, from the first question on."""
        return Admission(self.desktop)

    def have(self, policy, file=MANAGED_BY_OTHERS):
        """Everything is as on a good day under that policy."""
        self.undo.close()
        self.policy, self.file = policy, file
        self.proxy.go_wrong()
        _close_folders()
        for managed in (MANAGED, MANAGED_BY_OTHERS):
            if not policy.managed or managed != file:
                remove(managed)
        if policy.managed:
            place(file, plistlib.dumps(policy.managed))
        self.put_group(policy.group)
        place(ERINS_RECORD, self._erins)
        self.configure()

    def put_group(self, line, first=False):
        """The group file has that line besides."""
        lines = [line + "\n"] if line else []
        place(GROUPS, "".join([*lines, self._groups] if first else [self._groups, *lines]))

    def configure(self, people=GOOD_PEOPLE, host="127.0.0.1", port=None, mode=0o644, more=""):
        """There is the directory, and a second one, which answers whatever becomes of the first."""
        place(DIRECTORIES, f"""[[directory]]
name = "annex"
servers = ["ldap://{host}:{SERVER[1]}/"]
base = "ou=annex,dc=example,dc=org"
tls = "off"
time-limit = {TIME_LIMIT}

[[directory]]
name = "example"
servers = ["ldap://{host}:{port or self.proxy.port}/"]
base = "dc=example,dc=org"
users-base = "ou={self._branches[people]},dc=example,dc=org"
groups-base = "ou={self.policy.groups},dc=example,dc=org"
tls = "off"
time-limit = {TIME_LIMIT}
{more}
""", mode)

    def edit(self, old, new):
        """Changes the managed file's text."""
        text, count = re.subn(old, new, self.file.read_text())
        assert count, f"{old} is not in {text}"
        self.file.write_text(text)

    def good(self, accounts):
        """The answers on a good day, which it is now, under the present policy."""
        key = self.policy.name, self.file, accounts
        if key not in self._good:
            self._good[key] = self.admission.ask(accounts)
        return self._good[key]
