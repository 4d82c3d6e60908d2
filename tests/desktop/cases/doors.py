"""Doors that stay shut: whoever the policy refuses on a good day is refused while something is wrong,
and the answer or the log says why.

Each row of a table is one thing that is wrong. It is tried under every policy that it may touch, for
every account that the policy refuses, asked about by root, by ann, and by the tool with its rights:
each of these is a cell. A new row is a line in one of the tables.
"""
import itertools
import os
import queue
import re
import resource
import signal
import time
from dataclasses import dataclass
from typing import Callable

import directory_proxy as proxy
from admission import BY_ANN, BY_ROOT, BY_TOOL, WAYS
from policed import (ACCESS_GROUP, ALLOW_LIST, ANN, BOB, CAROL, DANA, DENY_LIST, DIRECTORIES, DORA,
                     ERIN, ERINS_RECORD, EXPIRED, GROUPS, HASHLESS, LOCAL_LOGIN_OFF, LOCKED, MANAGED,
                     MANAGED_BY_OTHERS, POLICIES, SHELLLESS, STAFF, STAFFS_ID, TIME_LIMIT, Machine,
                     Person, Policy, place, remove)
from system import run

LISTS = (DENY_LIST, ALLOW_LIST)
DIRECTORY_POLICIES = tuple(policy for policy in POLICIES if DANA in policy.refused)
MANAGED_POLICIES = tuple(policy for policy in POLICIES if policy.managed)


@dataclass(frozen=True)
class Wrong:
    """One thing that is wrong."""
    name: str
    why: str                            # what is said of it: {file} and {key} are the policy's
    make: Callable = lambda machine: None
    policies: tuple = POLICIES
    accounts: tuple = ()                # in place of all whom the policy refuses
    ways: tuple = WAYS
    hides: bool = False                 # who is "not found" may be so because of it
    has_administrators: bool = True     # they can still be told from others
    limits: tuple = ()                  # of ann's programs
    before_each: Callable = None        # done to the machine before each program
    people: tuple = None                # those of the directory


# The network directory.

AWAY = "ldap/example"


def _stop_the_directory(machine):
    run("systemctl", "stop", "directory.service")
    machine.undo.callback(run, "systemctl", "start", "directory.service")
    machine.configure(port=proxy.SERVER[1])


def _freeze_the_directory(machine):
    whom = ("--kill-whom=main", "directory.service")
    run("systemctl", "kill", "--signal=STOP", *whom)
    machine.undo.callback(run, "systemctl", "kill", "--signal=CONT", *whom)
    machine.configure(port=proxy.SERVER[1])


def _from_search(first, way, policies=DIRECTORY_POLICIES, accounts=()):
    """The directory goes wrong from the first, second, … search of each program on."""
    name = f"answers {way}" if isinstance(way, int) else way
    return Wrong(f"the directory {name} from search {first} on", AWAY, policies=policies,
                 accounts=accounts, before_each=lambda machine: machine.proxy.go_wrong(way, first))


DIRECTORY_AWAY = (
    Wrong("the directory is stopped", AWAY, _stop_the_directory),
    Wrong("the directory is frozen", AWAY, _freeze_the_directory),
    _from_search(2, proxy.MUTE, LISTS, (DANA,)),
    _from_search(3, proxy.MUTE, LISTS, (DANA,)),
    _from_search(1, proxy.GARBAGE, LISTS),
    _from_search(2, proxy.GARBAGE, LISTS),
    *(_from_search(first, way) for first in (1, 3) for way in (
        proxy.CLOSE, proxy.CUT, proxy.TIME_LIMIT, proxy.SIZE_LIMIT, proxy.ADMIN_LIMIT, proxy.ACCESS,
        proxy.UNAVAILABLE)),
)


def _settings(name, make):
    return Wrong(f"directory.toml {name}", re.escape(str(DIRECTORIES)), make, has_administrators=False)


DIRECTORY_SETTINGS = (
    _settings("is readable by root alone", lambda machine: machine.configure(mode=0o600)),
    _settings("is writable by its group", lambda machine: machine.configure(mode=0o664)),
    _settings("is ann's", lambda machine: os.chown(DIRECTORIES, ANN, ANN)),
    _settings("is damaged at its end", lambda machine: machine.configure(more="servers = [")),
    _settings("is damaged at its beginning", lambda machine: place(DIRECTORIES, "[")),
    _settings("has a directory set up wrongly",
              lambda machine: machine.configure(more='profile = "none"')),
)


def _strange(name, people, accounts, policies=POLICIES, hides=True):
    return Wrong(f"the directory has {name}", AWAY, lambda machine: machine.configure(people), policies,
                 accounts, hides=hides, people=people)


def _run_a_session_of_nils(machine):
    """Where ann's is in front again."""
    machine.configure((Person("mallory", SHELLLESS),))
    if machine.desktop.session_of("nils") is None:
        machine.desktop.start_plain_session_of("nils", 9)


DIRECTORY_ENTRIES = (
    # Of an id that a local account has, no directory is asked.
    _strange("the id of a locked local account", (Person("mallory", LOCKED),), (LOCKED,),
             hides=False),
    _strange("the id of an expired local account", (Person("mallory", EXPIRED),), (EXPIRED,),
             hides=False),
    _strange("the id of a local account without a shell", (Person("mallory", SHELLLESS),),
             (SHELLLESS,), hides=False),
    Wrong("the directory has the id of a local account without a shell whose session runs", AWAY,
          _run_a_session_of_nils, (DENY_LIST, LOCAL_LOGIN_OFF), (SHELLLESS,), (BY_TOOL,)),
    _strange("the id of a local account without a hash", (Person("mallory", HASHLESS),), (HASHLESS,),
             hides=False),
    _strange("the name of a locked local account", (Person("lars", 5010),), (5010,)),
    _strange("user id 0", (Person("mallory", 0),), (0,), hides=False),
    _strange("a user id of the system's", (Person("mallory", 500),), (500,)),
    _strange("the administrators' group as a primary one",
             (Person("dana", DANA, 27), Person("dora", DORA)), (DANA,), LISTS),
    _strange("a second name that is an administrator's",
             (Person("dana", DANA, second_name="phantom"), Person("dora", DORA)), (DANA,), LISTS),
)


# The managed file.

def _file(name, make, why="{file}"):
    return Wrong(f"the managed file {name}", why, make, MANAGED_POLICIES)


def _pipe(machine):
    machine.file.unlink()
    os.mkfifo(machine.file, 0o644)


def _folder(machine):
    machine.file.unlink()
    machine.file.mkdir()


def _link(machine):
    elsewhere = machine.file.with_suffix(".elsewhere")
    machine.undo.callback(remove, elsewhere)
    machine.file.rename(elsewhere)
    machine.file.symlink_to(elsewhere)


def _link_to_nowhere(machine):
    machine.file.unlink()
    machine.file.symlink_to("nowhere")


MANAGED_FILES = (
    _file("is readable by root alone", lambda machine: machine.file.chmod(0o600)),
    _file("is writable by its group", lambda machine: machine.file.chmod(0o664)),
    _file("is writable by all", lambda machine: machine.file.chmod(0o646)),
    _file("is ann's", lambda machine: os.chown(machine.file, ANN, ANN)),
    _file("is empty", lambda machine: machine.file.write_text("")),
    _file("is cut short", lambda machine: machine.file.write_bytes(machine.file.read_bytes()[:-20])),
    _file("is no property list", lambda machine: machine.file.write_text("DenyList = *\n")),
    _file("is too large", lambda machine: os.truncate(machine.file, 9 << 20)),
    _file("is a pipe", _pipe),
    _file("is a folder", _folder),
    _file("is a link", _link),
    _file("is a link to nowhere", _link_to_nowhere),
    _file("is in a folder that its group can write",
          lambda machine: machine.file.parent.chmod(0o775), why="{folder}"),
    _file("is in a folder that only root can enter",
          lambda machine: machine.file.parent.chmod(0o700), why="{folder}"),
)

GUID = r"<string>([-0-9A-F]{36})</string>"
LIST = rf"<array>\s*{GUID}\s*</array>"
KEY = r"<key>(\w+)</key>"


def _says(name, old, new, policies=LISTS):
    """It can be read, and says what it can't mean."""
    return Wrong(f"the managed file has {name}", "{file}.*{key}",
                 lambda machine: machine.edit(old, new), policies)


MANAGED_CONTENTS = (
    _says("a text for a list", LIST, r"<string>\1</string>"),
    _says("a dictionary for a list", LIST, r"<dict><key>\1</key><true/></dict>"),
    _says("white space around a GUID", GUID, r"<string> \1 </string>"),
    _says("a tab behind a GUID", GUID, "<string>\\1\t</string>"),
    _says("braces around a GUID", GUID, r"<string>{\1}</string>"),
    _says("a GUID without hyphens", r"(?<=[0-9A-F]{4})-(?=[0-9A-F]{4})", ""),
    _says("a login name for a GUID", GUID, "<string>dana</string>"),
    _says("a number for a GUID", GUID, "<integer>5000</integer>"),
    _says("an empty text for a GUID", GUID, "<string></string>"),
    _says("a list in a list", GUID, r"<array><string>\1</string></array>"),
    _says("its key before with nothing", KEY, r"<key>\1</key><array/>\g<0>", MANAGED_POLICIES),
    _says("its key once more with nothing", rf"{KEY}\s*({LIST}|<false/>)",
          r"\g<0><key>\1</key><array/>", MANAGED_POLICIES),
    _says("a text for a boolean", "<false/>", "<string>no</string>", (LOCAL_LOGIN_OFF,)),
    _says("a number for a boolean", "<false/>", "<integer>2</integer>", (LOCAL_LOGIN_OFF,)),
    _says("a list for a boolean", "<false/>", "<array><false/></array>", (LOCAL_LOGIN_OFF,)),
)


# The local copy of a network account.

def _record(name, make):
    return Wrong(f"erin's record {name}", re.escape(str(ERINS_RECORD)), make, LISTS, (ERIN,))


def _rewrite_record(change):
    return lambda machine: ERINS_RECORD.write_text(change(ERINS_RECORD.read_text()))


def _record_is_a_folder(_machine):
    ERINS_RECORD.unlink()
    ERINS_RECORD.mkdir()


def _record_is_a_link_to_nowhere(_machine):
    ERINS_RECORD.unlink()
    ERINS_RECORD.symlink_to("nowhere")


USER_RECORDS = (
    _record("is readable by root alone", lambda machine: ERINS_RECORD.chmod(0o600)),
    _record("is writable by all", lambda machine: ERINS_RECORD.chmod(0o646)),
    _record("is ann's", lambda machine: os.chown(ERINS_RECORD, ANN, ANN)),
    _record("has a stray comma", _rewrite_record(lambda text: text.replace("}", ",}", 1))),
    _record("is cut short", _rewrite_record(lambda text: text[:-10])),
    _record("is empty", _rewrite_record(lambda text: "")),
    _record("is a folder", _record_is_a_folder),
    _record("is a link to nowhere", _record_is_a_link_to_nowhere),
)


# The group file.

def _line(name, change, first=False, hides=True):
    """The access group's line is not as it should be."""
    return Wrong(f"the access group's line {name}", re.escape(str(GROUPS)),
                 lambda machine: machine.put_group(change(machine.policy.group), first),
                 (ACCESS_GROUP,), hides=hides, has_administrators=False)


GROUP_FILE = (
    _line("is behind a space", lambda line: " " + line),
    _line("is behind a tab", lambda line: "\t" + line),
    _line("is behind a byte order mark", lambda line: "\ufeff" + line, first=True),
    _line("is behind a carriage return", lambda line: "\r" + line),
    _line("is behind a control character", lambda line: "\x01" + line),
    _line("is behind a null character", lambda line: "\0" + line),
    _line("is behind a space that does not break", lambda line: "\u00a0" + line),
    _line("has a space behind its name", lambda line: line.replace(":", " :", 1)),
    _line("has a field too few", lambda line: line.replace(":990", "")),
    _line("has no number", lambda line: line.replace("990", "many")),
    # The name stands, so this is the group, and its last member is nobody.
    _line("has a carriage return at its end", lambda line: line + "\r", hides=False),
    Wrong("the group file is readable by root alone", re.escape(str(GROUPS)),
          lambda machine: GROUPS.chmod(0o600), hides=True, has_administrators=False),
)


# What ann does to her own programs.

def _limit(name, limit, value):
    return Wrong(f"ann's limit on {name} is {value}", r"\w",
                 # To look up a name takes a thread.
                 lambda machine: machine.configure(host="localhost"), (*LISTS, LOCAL_LOGIN_OFF),
                 ways=(BY_ANN, BY_TOOL), limits=((limit, value),), has_administrators=False)


def _stop_at_search(number):
    """She stops the tool while it asks the directory, for longer than it would wait."""
    def before_each(machine):
        processes = queue.SimpleQueue()

        def stop_a_while():
            process = processes.get()
            os.kill(process, signal.SIGSTOP)
            time.sleep(TIME_LIMIT + 0.3)
            os.kill(process, signal.SIGCONT)

        machine.proxy.go_wrong(stop_a_while, number)
        return processes.put

    return Wrong(f"ann stops the tool for a while at search {number}", AWAY, policies=LISTS,
                 ways=(BY_TOOL,), before_each=before_each)


CALLER = (
    _limit("processes", resource.RLIMIT_NPROC, 1),
    *(_limit("descriptors", resource.RLIMIT_NOFILE, count) for count in range(4, 13)),
    *(_limit("memory", resource.RLIMIT_AS, size << 20) for size in (16, 32, 64)),
    _limit("the size of files", resource.RLIMIT_FSIZE, 0),
    *map(_stop_at_search, (1, 2, 3)),
)


# Trying the cells.

class Cells:
    """Those that were tried; they are judged when the journal has been read."""

    def __init__(self, machine):
        self._machine = machine
        self._tried = []

    def add(self, wrong):
        """Tries a row on the machine, of which nothing else is wrong."""
        machine, policy = self._machine, self._machine.policy
        accounts = wrong.accounts or policy.refused
        good = machine.good(accounts)
        wrong.make(machine)
        administrators = (CAROL,) if wrong.has_administrators and CAROL in policy.admitted else ()
        before_each = (lambda: wrong.before_each(machine)) if wrong.before_each else None
        bad = machine.admission.ask(accounts, wrong.ways, wrong.limits, before_each, administrators)
        why = wrong.why.format(file=re.escape(str(machine.file)), key=policy.key,
                               folder=re.escape(str(machine.file.parent)))
        for way, account in bad:
            # Policies have nothing against some accounts of the rows' own.
            if account not in wrong.accounts or not good[way, account].admitted:
                self._tried.append((wrong, policy, account, way, why, bad, good))

    def check(self):
        self._machine.admission.listen()
        found = {}
        for wrong, policy, account, way, why, bad, good in self._tried:
            fault = _fault(wrong, account, way, why, bad, good)
            if fault:
                found.setdefault(fault, []).append(
                    f"  {wrong.name} × {policy.name} × {account} × {way}: {bad[way, account]}")
        assert not found, "\n".join(
            f"{fault}, {len(cells)} of {len(self._tried)} cells:\n" + "\n".join(cells)
            for fault, cells in found.items())


def _fault(wrong, account, way, why, bad, good):
    """What is wrong with a cell, if anything is."""
    answer = bad[way, account]
    if (way, account) not in good:
        return None if answer.admitted else "AN ADMINISTRATOR SHUT OUT"
    if answer.admitted:
        return "OPEN"
    if answer.rule == "undecidable" and way != BY_TOOL and answer.status != 3:
        return "UNDECIDABLE, AND THE EXIT STATUS IS NOT 3"
    if re.search(why, answer.said):
        return None
    # A rule of the policy says why by its name.
    if _has_changed(way, account, bad, good) or (wrong.hides and answer.rule in (None, "not found")):
        return "REFUSED WITHOUT THE REASON"
    if way == BY_ROOT and _has_changed(BY_ANN, account, bad, good):
        return "ROOT IS NOT TOLD WHAT OTHERS SEE"
    return None


def _has_changed(way, account, bad, good):
    return (way, account) in bad and bad[way, account].rule != good[way, account].rule


def _try(desktop, table, files=(MANAGED_BY_OTHERS,)):
    machine = Machine(desktop, {wrong.people for wrong in table if wrong.people})
    cells = Cells(machine)
    for file, policy in itertools.product(files, POLICIES):
        for wrong in table:
            if policy in wrong.policies:
                machine.have(policy, file)
                cells.add(wrong)
    cells.check()


def _decides(machine, policy):
    for (way, account), answer in machine.admission.ask(policy.refused + policy.admitted).items():
        assert answer.admitted == (account in policy.admitted), (policy.name, way, account, answer)


# The good day.

def on_a_good_day_each_policy_decides(desktop):
    machine = Machine(desktop)
    for policy in POLICIES:
        machine.have(policy)
        _decides(machine, policy)


def on_a_good_day_it_is_all_the_same_how_the_directorys_server_is_named(desktop):
    machine = Machine(desktop)
    for policy in POLICIES:
        machine.have(policy)
        machine.configure(host="localhost")
        _decides(machine, policy)


def on_a_good_day_the_other_managed_file_decides_as_well(desktop):
    machine = Machine(desktop)
    for policy in MANAGED_POLICIES:
        machine.have(policy, MANAGED)
        _decides(machine, policy)


def on_a_good_day_a_denied_group_denies_those_whose_primary_group_it_is(desktop):
    people = (Person("dana", DANA, STAFFS_ID), Person("dora", DORA))
    machine = Machine(desktop, [people])
    policy = Policy("denied primary group", (DANA,), (DORA, BOB), managed={"DenyList": [STAFF]})
    machine.have(policy)
    machine.configure(people)
    _decides(machine, policy)


def on_a_good_day_the_log_says_by_which_rule_the_tool_refuses(desktop):
    machine = Machine(desktop)
    for policy in POLICIES:
        machine.have(policy)
        answers = machine.admission.ask(policy.refused, [BY_TOOL])
        machine.admission.listen()
        assert all(answer.rule for answer in answers.values()), (policy.name, answers)


# The bad days.

def doors_stay_shut_while_the_directory_is_away(desktop):
    _try(desktop, DIRECTORY_AWAY)


def doors_stay_shut_whichever_search_the_directory_breaks_off(desktop):
    machine = Machine(desktop)
    cells = Cells(machine)
    for policy, way in itertools.product(POLICIES, (proxy.RESET, proxy.BUSY)):
        for first in itertools.count(1):
            machine.have(policy)
            cells.add(_from_search(first, way))
            if not machine.proxy.went_wrong:
                break
    cells.check()


def doors_stay_shut_whatever_is_wrong_with_the_directorys_settings(desktop):
    _try(desktop, DIRECTORY_SETTINGS)


def doors_stay_shut_whatever_entries_the_directory_has(desktop):
    _try(desktop, DIRECTORY_ENTRIES)


def doors_stay_shut_whatever_is_wrong_with_the_managed_file(desktop):
    _try(desktop, MANAGED_FILES, (MANAGED_BY_OTHERS, MANAGED))


def doors_stay_shut_whatever_the_managed_file_says(desktop):
    _try(desktop, MANAGED_CONTENTS)


def doors_stay_shut_whatever_is_wrong_with_a_user_record(desktop):
    _try(desktop, USER_RECORDS)


def doors_stay_shut_whatever_is_wrong_with_the_group_file(desktop):
    _try(desktop, GROUP_FILE)


def doors_stay_shut_whatever_ann_does_to_her_programs(desktop):
    _try(desktop, CALLER)
