"""gatehalld as people ask it, each from where they are."""
import json
import os
import subprocess
from pathlib import Path

from gi.repository import GLib

from programs import finish, run_as, start_as
from system import run

UNIT = "gatehalld.service"
NAME, PATH = "com.orvane.Gatehall1", "/com/orvane/Gatehall1"
FOLLOWERS = Path(__file__).with_name("followers.py")


def command(method, *arguments):
    return ["busctl", "--json=short", "--timeout=120", "call", NAME, PATH, NAME, method, *arguments]


def plain(value):
    """busctl's JSON without the types of variants."""
    if isinstance(value, list):
        return [plain(each) for each in value]
    if isinstance(value, dict):
        return {key: plain(each["data"]) for key, each in value.items()}
    return value


def _told(output):
    """One value, or a list of several."""
    values = plain(json.loads(output)["data"])
    return values[0] if len(values) == 1 else values


def ask(method, *arguments, by="root", session=None):
    """What the service answers somebody, in a session or outside of any; its error as text."""
    status, output, _ = run_as(command(method, *arguments), by, session)
    return _told(output) if status == 0 else output.strip()


def begin_to_ask(method, *arguments, by="root", session=None):
    """The same in a process of its own, for answer()."""
    return start_as(command(method, *arguments), by, session)


def answer(process):
    (output,) = finish(process)
    return _told(output) if process.returncode == 0 else output.strip()


def users(by="root", session=None):
    """The list of users that somebody is told who asks only now."""
    _, total, page = ask("ListUsers", "uu", "0", "0", by=by, session=session)
    assert len(page) == total, total
    return page


def process_id():
    """Of the service; 0: it doesn't run."""
    return int(run("systemctl", "show", "--property=MainPID", "--value", UNIT))


class Followers:
    """So many clients of one user that follow the list, to the end of the case."""

    def __init__(self, desktop, count, user):
        self._desktop, self._count, self._user = desktop, count, user
        self._state = {"following": 0, "lists": []}
        self._rest = b""
        # Its input is what it lives by.
        end, hold = os.pipe()
        self._process = start_as(["/usr/bin/python3", "-B", str(FOLLOWERS), str(count)], user,
                                 stdin=end, stderr=None)
        os.close(end)
        self._source = GLib.io_add_watch(self._process.stdout.fileno(), GLib.PRIORITY_DEFAULT,
                                         GLib.IOCondition.IN | GLib.IOCondition.HUP, self._read)
        desktop.after(self._stop, hold)

    def _read(self, *_):
        data = os.read(self._process.stdout.fileno(), 1 << 20)
        *lines, self._rest = (self._rest + data).split(b"\n")
        if lines:
            self._state = json.loads(lines[-1])
        if not data:
            self._source = None
        return bool(data)

    def _stop(self, hold):
        os.close(hold)
        try:
            self._process.wait(60)
        except subprocess.TimeoutExpired:
            self._process.kill()
            raise
        if self._source:
            GLib.source_remove(self._source)
        self._process.stdout.close()

    def until_all_have(self, what, holds):
        """Waits until all of them have one list of users, of which that holds."""
        self._desktop.until(
            lambda: (self._state["following"] == self._count and len(self._state["lists"]) == 1
                     and holds(self._state["lists"][0])),
            f"{what}, of all that follow ({self._state})", seconds=180)

    def until_all_have_the_same_as_a_fresh_one(self, what="the list of somebody who asks only now"):
        def is_told(found):
            told = ask("ListUsers", "uu", "0", "0", by=self._user)
            # A service that is just ending has an error for whoever asks.
            return isinstance(told, list) and found == told[-1]
        self.until_all_have(what, is_told)
