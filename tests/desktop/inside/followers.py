#!/usr/bin/env python3
"""Clients of the service that follow the list of users as docs/bus.md says, each over its own connection.

usage: followers.py COUNT     until the end of the standard input

Prints a line of JSON whenever something is different: how many have a list that they know to be the
service's ("following"), and the different lists that they have, each a list of users ("lists").
"""
import json
import sys

from gi.repository import Gio, GLib

NAME, PATH = "com.orvane.Gatehall1", "/com/orvane/Gatehall1"
BUS = "org.freedesktop.DBus"
LONGEST_CALL = 120_000  # milliseconds
AGAIN = 200
LONGEST_AGAIN = 2000


def apply(users, changes):
    """docs/bus.md has this."""
    removed = [position for kind, position, _, _ in changes if kind == "removed"]
    moved = [was["position"] for kind, _, _, was in changes if "position" in was]
    for position in sorted(removed + moved, reverse=True):
        del users[position - 1]
    for kind, position, user, was in changes:
        if kind == "added" or "position" in was:
            users.insert(position - 1, user)
        elif kind != "removed":
            users[position - 1] = user


class Follower:
    def __init__(self, tell):
        self.users, self.serial = [], None
        self._tell = tell
        self._round = 0  # what is left of another one is stale
        self._pause = AGAIN
        self._early = []
        self._connection = None
        self._connect()

    def _connect(self):
        self._round += 1
        self.serial = None
        try:
            self._connection = Gio.DBusConnection.new_for_address_sync(
                Gio.dbus_address_get_for_bus_sync(Gio.BusType.SYSTEM),
                Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
                | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
        except GLib.Error:
            GLib.timeout_add(AGAIN, self._connect)
            return False
        self._connection.set_exit_on_close(False)
        self._connection.connect("closed", lambda *_: self._connect())
        self._connection.signal_subscribe(NAME, NAME, "UsersChanged", PATH, None, 0, self._on_changes)
        self._connection.signal_subscribe(BUS, BUS, "NameOwnerChanged", None, NAME, 0, self._on_owner)
        self._begin()
        return False

    def _call(self, method, arguments, then):
        this = self._round

        def done(connection, result):
            if this != self._round:
                return
            try:
                answer = connection.call_finish(result).unpack()
            except GLib.Error:
                self._lose()
            else:
                then(*answer)

        self._connection.call(NAME, PATH, NAME, method, arguments, None, 0, LONGEST_CALL, None, done)

    def _lose(self):
        """Begins anew, after a pause that grows."""
        self._round += 1
        self.serial = None
        this = self._round
        GLib.timeout_add(self._pause, lambda: this == self._round and self._begin() and False)
        self._pause = min(2 * self._pause, LONGEST_AGAIN)
        self._tell()

    def _begin(self):
        self._round += 1
        self.serial = None
        self._early = []
        self._call("Watch", None, lambda serial: self._read([], None))

    def _read(self, users, serial):
        def page(now, total, more):
            if serial is not None and now != serial:
                self._read([], None)
                return
            users.extend(more)
            if more and len(users) < total:
                self._read(users, now)
                return
            self.users, self.serial = users, now
            self._pause = AGAIN
            early, self._early = self._early, []
            for signal in early:
                self._take(*signal)
            self._tell()

        self._call("ListUsers", GLib.Variant("(uu)", (len(users), 0)), page)

    def _on_changes(self, _connection, _sender, _path, _interface, _member, arguments):
        signal = arguments.unpack()
        if self.serial is None:
            self._early.append(signal)
        else:
            self._take(*signal)
        self._tell()

    def _on_owner(self, _connection, _sender, _path, _interface, _member, arguments):
        _, before, _ = arguments.unpack()
        if before:
            self._begin()

    def _take(self, since, serial, complete, changes):
        if self.serial is None or serial <= self.serial:
            return
        if since == self.serial and complete:
            apply(self.users, changes)
            self.serial = serial
            return
        known, self.serial = self.serial, None

        def caught_up(now, is_complete, missed):
            if not is_complete:
                self._begin()
                return
            apply(self.users, missed)
            self.serial = now
            early, self._early = self._early, []
            for signal in early:
                self._take(*signal)
            self._tell()

        self._call("ListChanges", GLib.Variant("(t)", (known,)), caught_up)


def main(count):
    loop = GLib.MainLoop()
    followers = []
    last, is_due = [None], [False]

    def print_state():
        is_due[0] = False
        following = [f for f in followers if f.serial is not None]
        lists = sorted({json.dumps(f.users, sort_keys=True) for f in following})
        state = f'{{"following": {len(following)}, "lists": [{", ".join(lists)}]}}'
        if state != last[0]:
            last[0] = state
            print(state, flush=True)
        return False

    def tell():
        if not is_due[0]:
            is_due[0] = True
            GLib.idle_add(print_state)

    followers.extend(Follower(tell) for _ in range(count))
    GLib.io_add_watch(sys.stdin.fileno(), GLib.PRIORITY_DEFAULT, GLib.IOCondition.IN | GLib.IOCondition.HUP,
                      lambda *_: loop.quit())
    loop.run()


if __name__ == "__main__":
    main(int(sys.argv[1]))
