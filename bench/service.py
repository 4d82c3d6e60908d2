#!/usr/bin/env python3
"""gatehalld on the desktop of tests/desktop, with 10,000 and 70,000 accounts in /etc/passwd: the first page of
its list against AccountsService's ListCachedUsers with a GetAll for each of at most as many, and against
LightDM's list of 10,000, which its greeters read whole; one CanLogIn against AccountsService's FindUserById;
its memory; and how long it takes from a change of the file until 50 clients are told.

usage: tests/desktop/container run bench/service.py     or scripts/bench service
"""
import os
import pathlib
import statistics
import subprocess
import sys
import time

from gi.repository import Gio, GLib

NAME, PATH = "com.orvane.Gatehall1", "/com/orvane/Gatehall1"
ACCOUNTS, ACCOUNTS_PATH = "org.freedesktop.Accounts", "/org/freedesktop/Accounts"
FIRST_ID, GREETER = 10000, 1000  # whose connections' rights are those of a person
COUNTS = (10000, 70000)
PAGE, RUNS, CLIENTS, CHANGES = 50, 21, 50, 20
SECONDS = 120  # no wait is longer
REBUILD = 1.0  # seconds until a list is built without the service
MOST_MEGABYTES = 60
PASSWD = pathlib.Path("/etc/passwd")
SYSTEM = PASSWD.read_text(encoding="utf-8")
LIGHTDM = """
import ctypes, time
library = ctypes.CDLL("liblightdm-gobject-1.so.0")
library.lightdm_user_list_get_instance.restype = ctypes.c_void_p
library.lightdm_user_list_get_length.argtypes = [ctypes.c_void_p]
start = time.monotonic()
length = library.lightdm_user_list_get_length(library.lightdm_user_list_get_instance())
print((time.monotonic() - start) * 1e3, length)
"""


def write_accounts(count):
    new = pathlib.Path("/etc/passwd.new")
    lines = (f"user{number}:x:{FIRST_ID + number}:100:Person {number}:/home/user{number}:/bin/bash\n"
             for number in range(count))
    new.write_text(SYSTEM + "".join(lines), encoding="utf-8")
    start = time.monotonic()
    new.rename(PASSWD)
    return start


def write_passwords(count):
    shadow = pathlib.Path("/etc/shadow")
    with shadow.open("a", encoding="utf-8") as file:
        file.writelines(f"user{number}:$6$salt$hash:19000:0:99999:7:::\n" for number in range(count))


def connected():
    """A connection of a person's."""
    os.seteuid(GREETER)
    try:
        return Gio.DBusConnection.new_for_address_sync(
            Gio.dbus_address_get_for_bus_sync(Gio.BusType.SYSTEM),
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
    finally:
        os.seteuid(0)


def answer(bus, service, path, interface, method, types="()", *arguments):
    """As it comes: to make Python's values of it takes longer than it does."""
    return bus.call_sync(service, path, interface, method, GLib.Variant(types, arguments), None, 0,
                         SECONDS * 1000, None)


def call(*words):
    return answer(*words).unpack()


def gatehall(bus, method, types="()", *arguments):
    return call(bus, NAME, PATH, NAME, method, types, *arguments)


def accounts(bus, method, types="()", *arguments):
    return call(bus, ACCOUNTS, ACCOUNTS_PATH, ACCOUNTS, method, types, *arguments)


def first_page(bus):
    return answer(bus, NAME, PATH, NAME, "ListUsers", "(uu)", 0, PAGE).get_child_value(2).n_children()


def cached_users(bus):
    paths, = accounts(bus, "ListCachedUsers")
    for path in paths[:PAGE]:
        answer(bus, ACCOUNTS, path, "org.freedesktop.DBus.Properties", "GetAll", "(s)", f"{ACCOUNTS}.User")
    return len(paths)


def lightdm_list():
    """Milliseconds of the first list of a process without AccountsService, so that it reads the same file, and
    how many it lists."""
    environment = {**os.environ, "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nonexistent"}
    printed = subprocess.run([sys.executable, "-c", LIGHTDM], env=environment, stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL, text=True, check=True).stdout
    taken, length = printed.split()
    return float(taken), int(length)


def milliseconds(work, *arguments):
    start = time.monotonic()
    work(*arguments)
    return (time.monotonic() - start) * 1e3


def in_turns(*works):
    """The medians of what each takes, without the first, which warms up."""
    taken = [[milliseconds(*work) for work in works] for _ in range(RUNS + 1)][1:]
    return [statistics.median(column) for column in zip(*taken)]


def until(holds, what):
    end = time.monotonic() + SECONDS
    while not holds():
        assert time.monotonic() < end, f"{what} doesn't come"
        GLib.MainContext.default().iteration(False)
        time.sleep(0.001)


def compare(name, ours, theirs, aim, unit="ms"):
    print(f"service-{name}: ours {ours:.2f} {unit}, theirs {theirs:.2f} {unit}")
    print(f"service-{name} ratio {ours / theirs:.4f} aim {aim}", flush=True)
    return ours / theirs


def megabytes(bus):
    """Resident and proportional."""
    process = call(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                   "GetConnectionUnixProcessID", "(s)", NAME)[0]
    rollup = pathlib.Path(f"/proc/{process}/smaps_rollup").read_text(encoding="utf-8")
    sizes = {line.split(":")[0]: int(line.split()[1]) / 1024 for line in rollup.splitlines()[1:]}
    return sizes["Rss"], sizes["Pss"]


def told_after(clients, count):
    """Seconds from each change of the file until each client is told."""
    heard = {}
    for number, client in enumerate(clients):
        client.signal_subscribe(NAME, NAME, "UsersChanged", PATH, None, 0,
                                lambda *_, number=number: heard.setdefault(number, time.monotonic()))
        gatehall(client, "Watch")
    taken = []
    for turn in range(CHANGES):
        heard.clear()
        start = write_accounts(count + turn + 1)
        until(lambda: len(heard) == len(clients), "the signal")
        taken += [moment - start for moment in heard.values()]
        # The layer confirms a list a second after its cause.
        quiet = time.monotonic() + 2 * REBUILD
        until(lambda: time.monotonic() > quiet, "quiet")
    return taken


def main():
    write_passwords(max(COUNTS) + CHANGES)
    bus = connected()
    ratio = None
    for count in COUNTS:
        write_accounts(count)
        until(lambda: gatehall(bus, "ListUsers", "(uu)", 0, 1)[1] >= count, "the list")
        until(lambda: accounts(bus, "FindUserById", "(x)", FIRST_ID), "AccountsService")
        page, cached = in_turns((first_page, bus), (cached_users, bus))
        print(f"service: {first_page(bus)} of {count} in the first page; "
              f"AccountsService lists {cached_users(bus)}")
        ratio = compare(f"page-{count}", page, cached, 0.02)
        if count == COUNTS[0]:  # its time grows with the square, to minutes
            lists = [lightdm_list() for _ in range(3)]
            print(f"service: LightDM lists {lists[0][1]} of {count}")
            compare("page-against-lightdm", page, statistics.median(taken for taken, _ in lists), 0.02)
    decision, found = in_turns((gatehall, bus, "CanLogIn", "(ss)", "user7", ""),
                               (accounts, bus, "FindUserById", "(x)", FIRST_ID + 7))
    compare("can-log-in", decision, found, 1.0)
    rss, pss = megabytes(bus)
    print(f"service: {rss:.0f} MB resident at {COUNTS[-1]} accounts, {pss:.0f} MB of them its own")
    compare("memory", rss, MOST_MEGABYTES, 1.0, "MB")
    taken = sorted(told_after([connected() for _ in range(CLIENTS)], COUNTS[-1]))
    last = taken[len(taken) * 99 // 100]
    print(f"service: {CLIENTS} clients are told after {statistics.median(taken) * 1e3:.0f} ms "
          f"(median of {len(taken)})")
    compare("change", last * 1e3, REBUILD * 1e3, 0.1)
    print(f"service ratio {ratio:.4f} aim 0.02")


main()
