"""What cases ask of the desktop that they run in: its sessions, its console, its journal, its people.

Runs inside the container, as root. Nothing here sleeps: until() looks again whenever logind, the bus,
the console or the display manager's log says that something happened.
"""
import contextlib
import os
import re
import shutil
import signal
from pathlib import Path

from gi.repository import Gio, GLib

import journal
from programs import SWITCH, Run, run_as, session_processes
from session import Session
from system import SystemBus, run, strings

LOGIN1 = "org.freedesktop.login1"
SEAT = "/org/freedesktop/login1/seat/seat0"
LIGHTDM_LOG = Path("/var/log/lightdm/lightdm.log")
ACTIVE_TERMINAL = "/sys/class/tty/tty0/active"

# The longest that a step of the desktop may take, in seconds, however busy the machine is.
PATIENCE = 60


def _resume(process):
    with contextlib.suppress(ProcessLookupError):
        os.kill(process, signal.SIGCONT)


class Desktop:
    def __init__(self):
        self.bus = SystemBus()
        self._log_start = 0
        self._context = GLib.MainContext.default()
        self._undo = contextlib.ExitStack()
        self._terminal = open(ACTIVE_TERMINAL, "rb", buffering=0)
        GLib.io_add_watch(self._terminal.fileno(), GLib.PRIORITY_DEFAULT,
                          GLib.IOCondition.PRI | GLib.IOCondition.ERR, self._read_terminal)
        self._display_manager_log = Gio.File.new_for_path(str(LIGHTDM_LOG)).monitor_file(
            Gio.FileMonitorFlags.NONE)
        self._display_manager_log.set_rate_limit(0)
        self._display_manager_log.connect("changed", lambda *_: None)

    def _read_terminal(self, *_):
        os.pread(self._terminal.fileno(), 64, 0)
        return True

    def login1(self, method, *names):
        return self.bus.call(LOGIN1, "/org/freedesktop/login1", LOGIN1 + ".Manager", method,
                             strings(*names))

    # What is there.

    def sessions(self):
        """The seat's sessions; one that goes away while it is read is left out."""
        found = []
        for name, _, _, seat, path in self.login1("ListSessions")[0]:
            if seat != "seat0":
                continue
            with contextlib.suppress(GLib.Error):
                found.append(Session(name, path,
                                     self.bus.properties(LOGIN1, path, LOGIN1 + ".Session")))
        return found

    def session_of(self, user):
        """The user's graphical session, if there is one, once its desktop is up."""
        return next((s for s in self.sessions() if s.user == user and s.kind == "user"
                     and s.type == "x11" and s.state != "closing" and s.is_listening), None)

    def in_front(self):
        """The session that owns the console, if logind and the virtual terminal agree on it."""
        active = self.bus.properties(LOGIN1, SEAT, LOGIN1 + ".Seat")["ActiveSession"][0]
        session = next((s for s in self.sessions() if s.name == active), None)
        return session if session and session.terminal == self.terminal() else None

    def terminal(self):
        return os.pread(self._terminal.fileno(), 64, 0).decode().strip()

    def has_in_front(self, user, kind="user"):
        session = self.in_front()
        return (session is not None and (session.user, session.kind) == (user, kind)
                and (session.is_listening or kind != "user"))

    def has_greeter_in_front(self):
        return self.has_in_front("lightdm", "greeter")

    def selected_in_greeter(self):
        """The user whom the latest greeter asks for a password, None before it asked."""
        for line in reversed(LIGHTDM_LOG.read_text().splitlines()):
            if "Greeter connected" in line:
                return None
            _, found, user = line.partition("Greeter start authentication for ")
            if found:
                return user
        return None

    def asked(self):
        """What LightDM was asked to bring since the case began: "greeter", "user bob". It notes that
        before it answers, so that whoever asked and has ended is in here."""
        return [(m[1] or "greeter") for m in re.finditer(
            r"Seat seat0: (?:Switching to (user .*)|Creating greeter session)", self._log())]

    def guest_accounts_opened(self):
        """For how many guests LightDM asked for an account since the case began."""
        return self._log().count("Opening guest account with command")

    def _log(self):
        return LIGHTDM_LOG.read_text()[self._log_start:]

    # Waiting.

    def until(self, condition, what=None, seconds=PATIENCE):
        """Waits until the condition holds and gives its value."""
        expired = []
        timer = GLib.timeout_add(int(seconds * 1000), lambda: expired.append(True))
        try:
            while True:
                value = condition()
                if value:
                    return value
                if expired:
                    raise AssertionError(f"after {seconds} s still not: {what or condition.__name__}; "
                                         f"there is {self.describe()}")
                self._context.iteration(True)
                while self._context.pending():
                    self._context.iteration(False)
        finally:
            if not expired:
                GLib.source_remove(timer)

    def until_in_front(self, user, kind="user"):
        self.until(lambda: self.has_in_front(user, kind), f"{user}'s {kind} session in front")
        return self.in_front()

    def until_greeter(self, selected=None):
        self.until(self.has_greeter_in_front, "the greeter in front")
        if selected:
            self.until(lambda: self.selected_in_greeter() == selected, f"{selected} selected")

    def until_locked(self, user):
        self.until(lambda: (s := self.session_of(user)) and s.is_locked, f"{user}'s session locked")

    def describe(self):
        try:
            return f"{self.sessions()}, the console on {self.terminal()}"
        except GLib.Error as error:
            return f"no answer about sessions ({error.message}), the console on {self.terminal()}"

    # Doing.

    def ask_display_manager(self, method, *names):
        self.bus.call("org.freedesktop.DisplayManager", "/org/freedesktop/DisplayManager/Seat0",
                      "org.freedesktop.DisplayManager.Seat", method, strings(*names))

    def start_session_of(self, user):
        """A graphical session of a user without a password, in front."""
        self.ask_display_manager("SwitchToUser", user, "")
        return self.until_in_front(user)

    def bring_to_front(self, user, session=None):
        """The user's graphical session, or another one. A display manager that has just started its
        greeter may bring that to the front once more, so it is asked for again."""
        name = (session or self.session_of(user)).name
        timer = GLib.timeout_add_seconds(2, lambda: self.login1("ActivateSession", name) or True)
        try:
            self.login1("ActivateSession", name)
            return self.until(lambda: (s := self.in_front()) and s.name == name and s,
                              f"{user}'s session {name} in front")
        finally:
            GLib.source_remove(timer)

    def unlock(self, user):
        self.login1("UnlockSession", self.session_of(user).name)
        self.until(lambda: not self.session_of(user).is_locked, f"{user}'s session unlocked")

    @contextlib.contextmanager
    def without_password(self, user):
        """In this block the user needs no password."""
        (line,) = (line for line in Path("/etc/shadow").read_text().splitlines()
                   if line.startswith(user + ":"))
        run("passwd", "--quiet", "--delete", user)
        try:
            yield
        finally:
            run("usermod", "--password", line.split(":")[1], user)

    def start_plain_session_of(self, user, number, type="x11"):
        """A session on that terminal that no display manager knows of; not in front."""
        run("/usr/local/bin/plain-session", user, str(number), "user", type)
        self.after(run, "systemctl", "stop", f"plain-session-{user}-{number}.service", check=False)
        return self.until(lambda: next((s for s in self.sessions() if s.user == user
                                        and s.terminal == f"tty{number}" and s.type == type
                                        and (s.is_listening or type == "tty")), None),
                          f"{user}'s session on tty{number}")

    def play_display_manager(self, who, *how):
        """Instead of LightDM: "sddm" or "gdm", played by a stand-in, or None; with a session of
        ann's in front. "mute": it answers nobody."""
        self.stop_display_manager()
        self.until(lambda: not self.sessions(), "no session left")
        if who:
            name = {"sddm": "org.freedesktop.DisplayManager", "gdm": "org.gnome.DisplayManager"}[who]
            # Not Type=dbus: systemd has one unit for a bus name, and that is LightDM.
            run("systemd-run", "--quiet", "--collect", f"--unit={who}-stand-in",
                "/usr/local/bin/display-manager-stand-in", who, *how)
            self.after(run, "systemctl", "stop", f"{who}-stand-in", "plain-session-lightdm-11",
                       "plain-session-lightdm-12", check=False)
            self.until(lambda: self.bus.has(name), f"{name} on the bus")
        self.start_plain_session_of("ann", 7)
        self.bring_to_front("ann")

    def stop_locker(self, user):
        """For the time of the case nobody listens when the user's session is to be locked."""
        desktop = session_processes(self.session_of(user))[-1]
        os.kill(desktop, signal.SIGSTOP)
        self.after(_resume, desktop)

    def freeze(self, unit):
        """Has a service answer nobody for the time of the case."""
        run("systemctl", "kill", "--kill-whom=main", "--signal=STOP", unit)
        self.after(run, "systemctl", "kill", "--kill-whom=main", "--signal=CONT", unit)

    def write(self, path, text, mode=0o644, owner="root"):
        """Writes a file for the time of the case, and the folders that it needs."""
        path = Path(path)
        missing = [folder for folder in path.parents if not folder.exists()]
        old = path.read_bytes() if path.exists() else None
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        path.chmod(mode)
        for entry in (path, *missing):
            shutil.chown(entry, owner)

        def undo():
            if old is not None:
                path.write_bytes(old)
                return
            path.unlink()
            for folder in missing:
                folder.rmdir()

        self.after(undo)

    def add_group(self, name, *members):
        """A group for the time of the case."""
        run("groupadd", name)
        self.after(run, "groupdel", name)
        for member in members:
            run("gpasswd", "--add", member, name)

    def join_group(self, name, member):
        run("gpasswd", "--add", member, name)
        self.after(run, "gpasswd", "--delete", member, name)

    def start(self, *units):
        """Starts services for the time of the case."""
        for unit in units:
            run("systemctl", "start", unit)
            self.after(run, "systemctl", "stop", unit)

    def stop(self, *units):
        """Stops services for the time of the case, and keeps others from starting them."""
        self.after(run, "systemctl", "start", *units)
        for unit in units:
            run("systemctl", "mask", "--runtime", "--quiet", unit)
            self.after(run, "systemctl", "unmask", "--runtime", "--quiet", unit)
        run("systemctl", "stop", *units)

    def stop_display_manager(self):
        """Ends its sessions, too. It is there again after the case."""
        run("systemctl", "stop", "lightdm.service")

    def after(self, step, *arguments, **options):
        """Has something done when the case is over."""
        self._undo.callback(step, *arguments, **options)

    # Our programs.

    def switch(self, *words, by="ann", **options):
        """Runs gatehall-switch inside the user's graphical session, or as root outside of any."""
        session = self.session_of(by) if by != "root" else None
        return self.run_tool([SWITCH, *words], by, session, **options)

    def run_tool(self, command, user, session=None, status=0, **options):
        """Runs a program that has the tool's manners: waits for its end, and checks that it printed
        nothing and ended with that status."""
        cursor = journal.cursor()
        ended, output, seconds = run_as(command, user, session, **options)
        said = journal.records(cursor, "gatehall-switch")
        log = [entry["MESSAGE"] for entry in said if not journal.is_decision(entry)]
        decisions = [entry["MESSAGE"] for entry in said if journal.is_decision(entry)]
        result = Run(ended, output, seconds, log, decisions)
        assert result.status == status and result.output == "", result
        return result

    # Between cases.

    def begin(self):
        """Waits for what the boot brings."""
        self.until(self._is_fresh, "ann's session, alone and in front")
        self.clear()

    def clear(self, is_certain=True):
        """Undoes what the case did, then brings back ann's session alone, in front and unlocked.
        Without certainty about what may still be on its way it does so from the ground up."""
        self._undo.close()
        if not (is_certain and self._is_fresh()):
            self.stop_display_manager()
            self.until(self._has_ended_sessions, "no session left")
            run("systemctl", "start", "lightdm.service")
            self.until(self._is_fresh, "ann's session alone")
        self._log_start = len(LIGHTDM_LOG.read_text())

    def _has_ended_sessions(self):
        """One may still come when the display manager that began it is gone."""
        sessions = self.sessions()
        for session in sessions:
            with contextlib.suppress(GLib.Error):  # gone meanwhile
                self.login1("TerminateSession", session.name)
        return not sessions

    def _is_fresh(self):
        try:
            sessions = self.sessions()
        except GLib.Error:
            return False
        return (len(sessions) == 1 and self.has_in_front("ann") and not sessions[0].is_locked
                and sessions[0].type == "x11" and self.is_running("lightdm.service"))

    def is_running(self, unit):
        return run("systemctl", "is-active", unit, check=False).strip() == "active"


