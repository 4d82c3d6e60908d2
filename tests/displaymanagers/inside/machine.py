"""What cases ask of the machine that they run in: as of the desktop, of one real display manager."""
import contextlib
import fcntl
import os
import signal
from pathlib import Path

from gi.repository import Gio, GLib

from desktop import LOGIN1, Desktop
from programs import session_processes
from system import run

# The longest that a step may take in emulation, in seconds: a greeter alone is drawn in twenty.
PATIENCE = 300

# Its service, the program that Debian names where one of them is chosen, and the file that says whom it
# logs in when it starts.
DISPLAY_MANAGERS = {
    "lightdm": ("lightdm.service", "/usr/sbin/lightdm", "/etc/lightdm/lightdm.conf.d/50-machine.conf"),
    "sddm": ("sddm.service", "/usr/bin/sddm", "/etc/sddm.conf.d/machine.conf"),
    "gdm": ("gdm.service", "/usr/sbin/gdm3", "/etc/gdm3/daemon.conf"),
}
# Where a desktop that is up, and hears what logind tells it, says so.
UP = Path("/run/desk")
NO_LOCKER = Path("/run/no-locker")
# Of linux/kd.h.
KDSETMODE, KD_TEXT = 0x4B3A, 0


def programs_of(session):
    """The names of the session's programs, as the kernel shortens them."""
    names = set()
    with contextlib.suppress(OSError):  # one is gone meanwhile
        for process in session_processes(session):
            names.add(Path(f"/proc/{process}/comm").read_text().strip())
    return names


class Machine(Desktop):
    def __init__(self, display_manager):
        """One of the display managers, or "none"."""
        super().__init__()
        self._unit, self._program, self._settings = DISPLAY_MANAGERS.get(display_manager, [None] * 3)
        self._said = []
        self._up = Gio.File.new_for_path(str(UP)).monitor_directory(Gio.FileMonitorFlags.NONE)
        self._up.set_rate_limit(0)
        self._up.connect("changed", lambda *_: None)
        # A program's start tells nobody.
        GLib.timeout_add_seconds(1, lambda: True)

    # What is there.

    def sessions(self):
        found = super().sessions()
        for session in found:
            session.is_listening = (UP / session.name).exists()
        return found

    def greeters(self):
        return [session for session in self.sessions() if session.kind == "greeter"]

    def has_greeter_in_front(self):
        """One that is up: while it starts, it comes to the front once more when it is left."""
        session = self.in_front()
        return (session is not None and (session.kind, session.state) == ("greeter", "active")
                and (self._unit != "gdm.service" or "gnome-session-b" in programs_of(session)))

    def outcome(self):
        """What became of the seat, and what the tool said, for a person to read."""
        front = self.in_front()
        what = "nothing in front" if front is None else (
            "greeter" if front.kind == "greeter" else f"{front.user}'s session")
        greeters = len(self.greeters())
        parts = [what] + ([f"{greeters} greeters"] if greeters > 1 else [])
        parts += [f"{s.user}'s {'locked' if s.is_locked else 'not locked'}" for s in self.sessions()
                  if s.kind == "user" and s.state != "closing" and s.name != (front and front.name)]
        parts += [f"log: {line}" for line in self._said]
        return "; ".join(parts)

    # Waiting.

    def until(self, condition, what=None, seconds=PATIENCE):
        return super().until(condition, what, seconds)

    # Doing.

    def run_tool(self, *arguments, **options):
        result = super().run_tool(*arguments, **options)
        self._said += result.log
        return result

    def start_plain_session_of(self, user, number):
        """A graphical session on that terminal, with an X server of its own, that no display manager
        knows of; in front once it is up."""
        run("/usr/local/bin/plain-session", user, str(number))
        self.after(self._stop_plain_session, user, number)
        return self.until(lambda: (s := self.session_of(user)) and s.terminal == f"tty{number}" and s,
                          f"{user}'s session on tty{number}")

    def _stop_plain_session(self, user, number):
        run("systemctl", "stop", f"plain-session-{user}-{number}.service", check=False)

    def stop_display_manager(self):
        if self._unit:
            run("systemctl", "stop", self._unit)

    # Between cases.

    def begin(self):
        if self._program:
            Path("/etc/X11/default-display-manager").write_text(self._program + "\n")
        self.clear()

    def clear(self, is_certain=True):
        """Undoes what the case did, then brings back ann's session alone, in front and unlocked."""
        self._undo.close()
        NO_LOCKER.unlink(missing_ok=True)
        self._said = []
        if not (is_certain and self._is_fresh()):
            self._start_again()

    def _start_again(self, user="ann"):
        self.stop_display_manager()
        self.until(self._has_ended_sessions, "no session left")
        self._free_terminal()
        for name in UP.iterdir():
            name.unlink()
        if self._unit:
            run("systemctl", "start", self._unit)
        else:
            run("/usr/local/bin/plain-session", "ann", "7")
        self.until(lambda: self._is_fresh(user), f"{user}'s session alone")

    def start_with(self, user):
        """The display manager starts anew, and logs that user in instead of ann."""
        self.write(self._settings, Path(self._settings).read_text().replace("ann", user))
        self._start_again(user)

    def take_away_lockers(self):
        """Ann's session is there anew, and for the time of the case nobody locks one."""
        NO_LOCKER.touch()
        self._start_again()

    def _free_terminal(self):
        """A display manager that is stopped while a greeter starts may leave its terminal in graphics
        mode, from which the kernel switches to no other one."""
        terminal = os.open(f"/dev/{self.terminal()}", os.O_RDWR | os.O_NOCTTY)
        fcntl.ioctl(terminal, KDSETMODE, KD_TEXT)
        os.close(terminal)

    def _has_ended_sessions(self):
        """Once its leader is gone, logind leaves alone what else is in a session."""
        for session in self.sessions():
            if session.state == "closing":
                with contextlib.suppress(GLib.Error):  # gone meanwhile
                    self.bus.call(LOGIN1, "/org/freedesktop/login1", LOGIN1 + ".Manager", "KillSession",
                                  GLib.Variant("(ssi)", (session.name, "all", signal.SIGTERM)))
        return super()._has_ended_sessions()

    def _is_fresh(self, user="ann"):
        try:
            sessions = self.sessions()
        except GLib.Error:
            return False
        return (len(sessions) == 1 and self.has_in_front(user) and not sessions[0].is_locked
                and (not self._unit or self.is_running(self._unit)))
