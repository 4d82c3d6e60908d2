"""The processes of a stage. Each is ended by its id, and so is whatever they leave behind."""
import contextlib
import ctypes
import os
import signal
import subprocess
from pathlib import Path

PR_SET_CHILD_SUBREAPER = 36  # prctl(2)

# The longest that a step of a stage may take, in seconds, however busy the machine is.
PATIENCE = 60


class Processes:
    def __init__(self):
        # What a process of the stage leaves behind becomes a child of this one.
        ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
        self._started = []

    def start(self, *words, **more):
        process = subprocess.Popen(list(map(str, words)), **more)
        self._started.append(process)
        return process

    def end(self, process):
        """Ends it, if it hasn't ended; what it returned."""
        if process in self._started:
            self._started.remove(process)
        process.terminate()
        with contextlib.suppress(ProcessLookupError):
            process.send_signal(signal.SIGCONT)
        try:
            return process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
            raise

    def end_all(self):
        """The last started first; then what they left."""
        while self._started:
            self.end(self._started[-1])
        while left := _children():
            for process in left:
                with contextlib.suppress(ProcessLookupError):
                    os.kill(process, signal.SIGKILL)
                os.waitpid(process, 0)


def _children():
    lists = Path("/proc/self/task").glob("*/children")
    return [int(process) for children in lists for process in children.read_text().split()]
