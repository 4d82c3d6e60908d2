#!/usr/bin/env python3
"""Prints whom gatehalld has a login screen show, says whether somebody may log in, and prints the list again
whenever it changes. With GDBus, from Debian's python3-gi.

usage: users.py [NAME]
"""

import sys

from gi.repository import Gio, GLib

NAME = "com.orvane.Gatehall1"
PATH = "/com/orvane/Gatehall1"


class Users:
    """A copy of the list, kept up as docs/bus.md says."""

    def __init__(self, bus, changed):
        self.bus, self.changed = bus, changed
        self.serial, self.users = None, []
        bus.signal_subscribe(NAME, NAME, "UsersChanged", PATH, None, Gio.DBusSignalFlags.NONE, self.on_change)
        # Now, and whenever the service comes or goes: to be watched starts it.
        Gio.bus_watch_name_on_connection(bus, NAME, Gio.BusNameWatcherFlags.NONE, self.begin, self.begin)

    def call(self, method, arguments=None):
        return self.bus.call_sync(NAME, PATH, NAME, method, arguments, None, Gio.DBusCallFlags.NONE, 60_000,
                                  None).unpack()

    def begin(self, *_):
        try:
            self.call("Watch")
            self.catch_up()
        except GLib.Error as failure:
            print(failure.message, file=sys.stderr)
            GLib.timeout_add_seconds(5, self.begin)
        return GLib.SOURCE_REMOVE

    def on_change(self, _bus, _sender, _path, _interface, _signal, values):
        since, serial, complete, changes = values.unpack()
        if not complete:
            # It may be the last one that is sent.
            self.serial = None
            self.begin()
        elif self.serial is not None and serial > self.serial:
            if since != self.serial or not self.apply(serial, changes):
                self.begin()

    def catch_up(self):
        if self.serial is not None:
            serial, complete, changes = self.call("ListChanges", GLib.Variant("(t)", (self.serial,)))
            if complete and self.apply(serial, changes):
                return
        self.read()

    def read(self):
        """The whole list, page by page; again when it changes meanwhile."""
        state, users = None, []
        while True:
            serial, total, page = self.call("ListUsers", GLib.Variant("(uu)", (len(users), 0)))
            if state not in (None, serial):
                state, users = None, []
                continue
            state = serial
            users += page
            if not page or len(users) >= total:
                break
        self.serial, self.users = state, users
        self.changed(users)

    def apply(self, serial, changes):
        """Whether they are for this copy, which stays as it is if not."""
        users = list(self.users)
        leaving = [(was.get("position", position), user) for kind, position, user, was in changes
                   if kind == "removed" or "position" in was]
        for position, user in sorted(leaving, key=lambda each: each[0], reverse=True):
            if not (0 < position <= len(users) and is_same(users[position - 1], user)):
                return False
            del users[position - 1]
        for kind, position, user, was in changes:
            if kind == "added" or "position" in was:
                if not 0 < position <= len(users) + 1:
                    return False
                users.insert(position - 1, user)
            elif kind != "removed":
                if not (0 < position <= len(users) and is_same(users[position - 1], user)):
                    return False
                users[position - 1] = user
        self.serial, self.users = serial, users
        if changes:
            self.changed(users)
        return True


def is_same(one, other):
    """Whether both are the same user, who may be called otherwise by now."""
    key = "guid" if "guid" in one or "guid" in other else "uid"
    return one.get(key) == other.get(key)


def show(users):
    for user in users:
        mark = " (logged in)" if user["suspended"] else ""
        print(f"{user.get('longName') or user.get('shortName')}{mark}")
    print("--", flush=True)


def main():
    bus = Gio.bus_get_sync(Gio.BusType.SYSTEM, None)
    users = Users(bus, show)
    for name in sys.argv[1:]:
        answer, = users.call("CanLogIn", GLib.Variant("(ss)", (name, "")))
        print(f"{name}: {'yes' if answer['allowed'] else 'no'}, {answer['ruleText']}. {answer['sentence']}".strip())
    GLib.MainLoop().run()


main()
