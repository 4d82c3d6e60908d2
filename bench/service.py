#!/usr/bin/env python3
"""gatehalld on the desktop of tests/desktop, with 10,000 and 70,000 accounts in /etc/passwd: the first page of
its list against AccountsService's ListCachedUsers with a GetAll for each of at most as many, and against
LightDM's list of 10,000, which its greeters read whole; one CanLogIn against AccountsService's FindUserById;
its memory; and how long it takes from a change of the file until the last of 50 clients is told.

usage: tests/desktop/container run bench/service.py     or scripts/bench service
"""
import os
import pathlib
import subprocess
import sys
import time

from gi.repository import Gio, GLib

from figures import figure, in_turns

NAME, PATH = "com.orvane.Gatehall1", "/com/orvane/Gatehall1"
ACCOUNTS, ACCOUNTS_PATH = "org.freedesktop.Accounts", "/org/freedesktop/Accounts"
FIRST_ID, GREETER = 10000, 1000  # whose connections' rights are those of a person
COUNTS = (10000, 70000)
PAGE, RUNS, CLIENTS, CHANGES = 50, 21, 50, 20
SECONDS = 120  # no wait is longer
REBUILD = 1.0  # seconds until a list is built without the service
LIGHTDM_RUNS = 5
MOST_MEGABYTES, MOST_MILLISECONDS = 60, 100
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
    """Milliseconds of the first list of a process without AccountsService, so that it reads the same file."""
    environment = {**os.environ, "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nonexistent"}
    printed = subprocess.run([sys.executable, "-c", LIGHTDM], env=environment, stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL, text=True, check=True).stdout
    taken, length = printed.split()
    assert int(length) >= COUNTS[0], printed
    return float(taken)


def milliseconds(work, *arguments):
    start = time.monotonic()
    work(*arguments)
    return (time.monotonic() - start) * 1e3


def until(holds, what):
    end = time.monotonic() + SECONDS
    while not holds():
        assert time.monotonic() < end, f"{what} doesn't come"
        GLib.MainContext.default().iteration(False)
        time.sleep(0.001)


def compare(name, work, their_work, peer, aim):
    """The time of one call against another, in turns."""
    ours, theirs = in_turns(RUNS, lambda: milliseconds(*work), lambda: milliseconds(*their_work))
    figure(f"service-{name}", "ms", ours, theirs, peer, aim)


def megabytes(bus):
    """Resident and proportional."""
    process = call(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                   "GetConnectionUnixProcessID", "(s)", NAME)[0]
    rollup = pathlib.Path(f"/proc/{process}/smaps_rollup").read_text(encoding="utf-8")
    sizes = {line.split(":")[0]: int(line.split()[1]) / 1024 for line in rollup.splitlines()[1:]}
    return sizes["Rss"], sizes["Pss"]


def last_told_after(clients, count):
    """Milliseconds from each change of the file until the last client is told."""
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
        taken.append((max(heard.values()) - start) * 1e3)
        # The layer confirms a list a second after its cause.
        quiet = time.monotonic() + 2 * REBUILD
        until(lambda: time.monotonic() > quiet, "quiet")
    return taken


def main():
    write_passwords(max(COUNTS) + CHANGES)
    bus = connected()
    for count in COUNTS:
        write_accounts(count)
        until(lambda: gatehall(bus, "ListUsers", "(uu)", 0, 1)[1] >= count, "the list")
        until(lambda: accounts(bus, "FindUserById", "(x)", FIRST_ID), "AccountsService")
        print(f"service: {first_page(bus)} of {count} in the first page; "
              f"AccountsService lists {cached_users(bus)}")
        compare(f"page-{count}", (first_page, bus), (cached_users, bus), "AccountsService", 0.02)
        if count == COUNTS[0]:  # LightDM's time grows with the square, to minutes
            ours, theirs = in_turns(LIGHTDM_RUNS, lambda: milliseconds(first_page, bus), lightdm_list)
            figure("service-page-against-lightdm", "ms", ours, theirs, "LightDM's list", 0.02)
    compare("can-log-in", (gatehall, bus, "CanLogIn", "(ss)", "user7", ""),
            (accounts, bus, "FindUserById", "(x)", FIRST_ID + 7), "AccountsService", 1.0)
    rss, pss = megabytes(bus)
    figure("service-memory", "MB", [rss], aim=MOST_MEGABYTES)
    figure("service-memory-its-own", "MB", [pss])
    taken = last_told_after([connected() for _ in range(CLIENTS)], COUNTS[-1])
    figure("service-change", "ms", taken, aim=MOST_MILLISECONDS)


main()
