"""sshd on the loopback interface, and those who come in by it, with a key that is everybody's."""
import tempfile
from pathlib import Path

from system import run
from terminal import Terminal

ADDRESS = "127.0.0.1"
KEYS = "/etc/ssh/authorized_keys"  # as the container's sshd is set up


class SecureShell:
    """For the time of a case."""

    def __init__(self, desktop):
        self._desktop = desktop
        folder = tempfile.TemporaryDirectory()
        desktop.after(folder.cleanup)
        self._key = Path(folder.name) / "key"
        run("ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", str(self._key))
        desktop.write(KEYS, self._key.with_suffix(".pub").read_text())
        desktop.start("ssh.service")

    def log_in(self, user, *command):
        """The client, at a terminal, with a command to be run or a shell; see Terminal."""
        return Terminal(self._desktop, "ssh", "-tt", "-i", str(self._key), "-F", "none",
                        "-o", "UserKnownHostsFile=/dev/null", "-o", "StrictHostKeyChecking=no",
                        f"{user}@{ADDRESS}", *command)
