"""gatehallctl watch on this desktop: the list of users as it says it is, line by line."""
import json
import os
import subprocess
import time

from gi.repository import GLib

from desktop import PATIENCE
from system import run

# A list is built anew this long after its cause, in seconds; a little less by another clock.
REBUILD_DELAY = 0.99


class Watch:
    """Runs from now on to the end of the case, as root. What happened before has been told."""

    def __init__(self, desktop):
        self.events = []
        self.users = None
        self._desktop = desktop
        self._rest = b""
        self._process = subprocess.Popen(
            ["/usr/bin/gatehallctl", "--json", "watch"], cwd="/", stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, env={"PATH": os.environ["PATH"]})
        self._source = GLib.io_add_watch(self._process.stdout.fileno(), GLib.PRIORITY_DEFAULT,
                                         GLib.IOCondition.IN | GLib.IOCondition.HUP, self._read)
        desktop.after(self._stop)
        desktop.until(lambda: self.users is not None, "a list of users")
        self.settle()

    def _read(self, *_):
        data = os.read(self._process.stdout.fileno(), 65536)
        *lines, self._rest = (self._rest + data).split(b"\n")
        for line in lines:
            event = json.loads(line)
            event["at"] = time.monotonic()
            self.events.append(event)
            self._follow(event)
        if not data:
            self._source = None
        return bool(data)

    def _follow(self, event):
        """Keeps the list by what is told of it."""
        kind = event["event"]
        if kind == "list":
            self.users = event["users"]
        elif kind == "removed":
            self.users = [user for user in self.users if user["guid"] != event["user"]["guid"]]
        elif kind in ("added", "changed"):
            self.users = [user for user in self.users if user["guid"] != event["user"]["guid"]]
            self.users.insert(event["position"] - 1, event["user"])

    def _stop(self):
        self._process.terminate()
        status = self._process.wait(PATIENCE)
        if self._source:
            GLib.source_remove(self._source)
        self._process.stdout.close()
        assert status == 0, f"watch ended with {status}"

    def names(self):
        return [user["shortName"] for user in self.users]

    def user(self, name):
        return next(user for user in self.users if user["shortName"] == name)

    def has_logged(self, text):
        return any(event["event"] == "logged" and text in event["text"] for event in self.events)

    def differences(self, before):
        """What is different from that list: by name "added", "removed", or the new values."""
        old, new = ({user["shortName"]: user for user in users} for users in (before, self.users))
        found = {name: "added" for name in new.keys() - old.keys()}
        found |= {name: "removed" for name in old.keys() - new.keys()}
        for name in old.keys() & new.keys():
            values = {key: value for key, value in new[name].items() if value != old[name][key]}
            if values:
                found[name] = values
        return found

    def shows(self, step, expected):
        """Does a step; the list comes to differ by just what is expected, and goes on so."""
        before = self.users
        count = len(self.events)
        step()
        try:
            self._desktop.until(lambda: self.differences(before) == expected, f"{expected} shown")
        except AssertionError as error:
            raise AssertionError(f"{error}; told was {self._told(before, count)}") from None
        self.settle()
        assert self.differences(before) == expected, self._told(before, count)

    def settle(self):
        """Has the list built anew, and waits until what was on its way has been told as well."""
        run("busctl", "emit", "/", "com.orvane.Notifications1", "Posted", "ssa{sv}",
            "com.orvane.UserWasAddedNotification", "", "0")
        start = time.monotonic()
        self._desktop.until(lambda: self._was_built_since(start + REBUILD_DELAY),
                            "the list built anew")

    def _was_built_since(self, moment):
        return any(event["at"] >= moment and event["event"] != "logged" for event in self.events)

    def _told(self, before, first):
        return f"{self.events[first:]}; different is {self.differences(before)}"
