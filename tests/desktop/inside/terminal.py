"""A program at a terminal: what is typed to it, and what it shows."""
import os
import pty
import re
import signal
import subprocess

from gi.repository import GLib

from programs import LONGEST_RUN_SECONDS


class Terminal:
    """A program at a pseudoterminal of its own. It ends with the case at the latest."""

    def __init__(self, desktop, *command, **options):
        self.status = None
        self._desktop = desktop
        self._shown = b""
        self._control, terminal = pty.openpty()
        self._process = subprocess.Popen(command, stdin=terminal, stdout=terminal, stderr=terminal,
                                         start_new_session=True, cwd="/", **options)
        os.close(terminal)
        self._source = GLib.io_add_watch(self._control, GLib.PRIORITY_DEFAULT,
                                         GLib.IOCondition.IN | GLib.IOCondition.HUP, self._read)
        desktop.after(self._stop)

    def answer(self, prompt, text):
        """Types a line when it is asked for."""
        self.until_shows(prompt)
        self._shown = b""
        os.write(self._control, text.encode() + b"\n")

    def until_shows(self, pattern):
        self._desktop.until(lambda: re.search(pattern, self.shown()) or self._source is None,
                            f"“{pattern}” at the terminal")
        assert re.search(pattern, self.shown()), f"no “{pattern}”, but: {self.shown()}"

    def until_ended(self):
        """Waits for the program's end; what it showed since the last line that was typed."""
        self._desktop.until(lambda: self._source is None, "the program's end")
        self.status = self._process.wait(LONGEST_RUN_SECONDS)
        return self.shown()

    def shown(self):
        return self._shown.decode(errors="replace").replace("\r\n", "\n")

    def _read(self, *_):
        try:
            data = os.read(self._control, 65536)
        except OSError:  # nobody has the terminal open any more
            data = b""
        self._shown += data
        if not data:
            self._source = None
        return bool(data)

    def _stop(self):
        if self._source:
            GLib.source_remove(self._source)
        if self._process.poll() is None:
            os.killpg(self._process.pid, signal.SIGKILL)
            self._process.wait()
        os.close(self._control)
