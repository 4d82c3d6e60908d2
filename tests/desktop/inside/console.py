"""A text console: login(1) on a virtual terminal. Its keys are typed, its screen is read."""
import contextlib
import fcntl
import os
import re
import stat
import struct
import subprocess
import termios
from pathlib import Path

from gi.repository import GLib

from programs import LONGEST_RUN_SECONDS
from system import run

SHELL = r"[$#]$"
SCREENS = 7  # the major number of /dev/vcs* and /dev/vcsa*; a minor one is the terminal's


def _screen_device(name, minor):
    device = Path("/dev") / name
    if not device.exists():
        os.mknod(device, 0o600 | stat.S_IFCHR, os.makedev(SCREENS, minor))
    return os.open(device, os.O_RDONLY)


class Console:
    """Asks for a name on a virtual terminal, in front, until that login ended or failed."""

    def __init__(self, desktop, number=12):
        self.terminal = f"tty{number}"
        self._desktop = desktop
        self._shown_before = ""
        with self._opened() as terminal:
            os.write(terminal, b"\033c")  # whatever others left there
        # The screen's text; and that with its size before it, in rows and columns.
        self._text = _screen_device(f"vcs{number}", number)
        self._sized = _screen_device(f"vcsa{number}", 128 + number)
        # As getty@.service has it; the unit is over when the login is.
        self._unit = f"console-{number}.service"
        self._process = subprocess.Popen(
            ["systemd-run", "--quiet", "--collect", "--wait", f"--unit={self._unit}",
             f"--property=TTYPath=/dev/{self.terminal}", "--property=StandardInput=tty-force",
             "--property=TTYReset=yes", "--property=TTYVHangup=yes",
             f"--property=UtmpIdentifier={self.terminal}", "--property=SendSIGHUP=yes",
             "--property=IgnoreSIGPIPE=no", "--property=KillMode=process",
             "/sbin/agetty", "--noclear", "--noissue", "-", "linux"],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self._end = os.pidfd_open(self._process.pid)
        self._sources = [
            GLib.io_add_watch(self._text, GLib.PRIORITY_DEFAULT,
                              GLib.IOCondition.PRI | GLib.IOCondition.ERR, self._look),
            GLib.io_add_watch(self._end, GLib.PRIORITY_DEFAULT, GLib.IOCondition.IN, self._has_ended)]
        self._is_over = False
        desktop.after(self._stop)
        run("chvt", str(number))

    def log_in(self, name, password=None):
        """Types a name, and a password that is not None when it is asked for."""
        self.answer("login:$", name)
        if password is not None:
            self.answer("Password:$", password)

    def answer(self, prompt, text):
        """Types a line when it is asked for."""
        self.until_shows(prompt)
        self._shown_before = self.shown()
        with self._opened() as terminal:
            for key in (text + "\n").encode():
                fcntl.ioctl(terminal, termios.TIOCSTI, struct.pack("B", key))

    def until_shows(self, pattern):
        """Waits until that is on the screen, after what was there when a line was typed last."""
        def shows():
            return re.search(pattern, self.shown().removeprefix(self._shown_before))

        try:
            self._desktop.until(lambda: shows() or self._is_over, f"“{pattern}” on {self.terminal}")
        except AssertionError as error:
            raise AssertionError(f"{error}; on its screen is: {self.shown()}") from None
        assert shows(), f"no “{pattern}” on {self.terminal}, but: {self.shown()}"

    def outcome(self):
        """What somebody is told who has just logged in and is not let in; None for who is, and whose
        login then ends."""
        try:
            self.until_shows(SHELL)
        except AssertionError:
            if self._is_over:
                return self.shown()
            raise
        self.answer(SHELL, "exit")
        self.until_ended()
        return None

    def until_ended(self):
        """Waits until the login is over."""
        self._desktop.until(lambda: self._is_over, f"the end of the login on {self.terminal}")

    def shown(self):
        """What is on the screen, line by line, without what is empty below."""
        _rows, columns = os.pread(self._sized, 2, 0)
        text = os.pread(self._text, 1 << 16, 0).decode("latin-1")
        rows = (text[start:start + columns] for start in range(0, len(text), columns))
        # A full row goes on in the next one.
        return "".join(row if row[-1] != " " else row.rstrip() + "\n" for row in rows).rstrip("\n")

    @contextlib.contextmanager
    def _opened(self):
        """Not for longer than something is typed: agetty hangs up whoever had it open before."""
        terminal = os.open(f"/dev/{self.terminal}", os.O_RDWR | os.O_NOCTTY)
        try:
            yield terminal
        finally:
            os.close(terminal)

    def _look(self, *_):
        os.pread(self._text, 1, 0)  # or the change that woke us would do so again
        return True

    def _has_ended(self, *_):
        self._is_over = True
        self._sources.pop()
        return False

    def _stop(self):
        run("systemctl", "stop", self._unit, check=False)
        self._process.communicate(timeout=LONGEST_RUN_SECONDS)
        for source in self._sources:
            GLib.source_remove(source)
        for descriptor in (self._text, self._sized, self._end):
            os.close(descriptor)
