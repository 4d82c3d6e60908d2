"""A machine with a policy whose doors are guarded by pam_gatehall: who may come in, what the others are
told, and what the log says of each."""
import os
import re
import subprocess
from dataclasses import dataclass, field
from pathlib import Path

import journal
from policed import DANA, DORA, Machine, keep
from programs import finish
from system import run

IDENTITY = "pam_gatehall"
ACCOUNTS = Path("/etc/pam.d/common-account")

# What who is refused reads, by the rule that the log names.
SENTENCES = {rule: f"You may not log in on this computer: {why}" for rule, why in {
    "no service access": "only some people may, and you are not among them.",
    "local login disabled": "its own accounts are closed to all but administrators.",
    "everyone denied": "it is closed to everybody from the network.",
    "denied by GUID": "your account is excluded.",
    "not in the allow list": "your account is not among those that may.",
    "in no directory of the policy": "it doesn't know your account.",
}.items()}
UNDECIDABLE = ("It can't be told now whether you may log in on this computer. "
               "Try again later, or ask whoever looks after it.")

NEVER_SHUT_OUT = "never shut out"


@dataclass(frozen=True)
class Decision:
    """A line of the log."""
    service: str
    user: str
    answer: str
    rule: str
    text: str = field(default="", compare=False)


class Guarded(Machine):
    """The people of its directory are the machine's, too, and have homes."""

    def __init__(self, desktop):
        super().__init__(desktop)
        keep(desktop, ACCOUNTS)
        for name, number in (("dana", DANA), ("dora", DORA)):
            home = Path("/home") / name
            home.mkdir()
            desktop.after(subprocess.run, ["rm", "-r", home], check=True)
            os.chown(home, number, 100)
        desktop.start("nslcd.service")
        self._cursor = journal.cursor()

    def guard(self, *arguments):
        """With other arguments of the module's."""
        text, count = re.subn(r"(?m)^(account\s+\w+\s+pam_gatehall\.so).*$",
                              " ".join([r"\1", *arguments]), ACCOUNTS.read_text())
        assert count == 1, text
        ACCOUNTS.write_text(text)

    def set_password(self, user, password):
        """Until the end of the case."""
        run("chpasswd", input=f"{user}:{password}")

    def decisions(self):
        """What was decided since the last time."""
        found = [Decision(entry["GATEHALL_SERVICE"], entry["GATEHALL_USER"], entry["GATEHALL_ANSWER"],
                          entry.get("GATEHALL_RULE"), entry["MESSAGE"])
                 for entry in journal.records(self._cursor, IDENTITY)
                 if journal.is_decision(entry)]
        self._cursor = journal.cursor()
        return found

    def admits(self, said, service, user, rule):
        """Checks what came of an attempt, see said_of(): one line is in the log, and no more."""
        assert said is None, f"{user} at {service}: {said}"
        self.has_decided(service, user, "admitted", rule)

    def refuses(self, said, service, user, rule):
        """The same; what was said is the rule's sentence, among other programs' words."""
        answer, sentence = ("refused", SENTENCES[rule]) if rule else ("undecidable", UNDECIDABLE)
        assert said is not None, f"{user} is in by {service}"
        assert sentence in " ".join(said.split()), f"{user} at {service}: {said}"
        self.has_decided(service, user, answer, rule)

    def has_decided(self, service, user, answer, rule):
        """Checks that the log has that one line, and gives it."""
        found = self.decisions()
        assert found == [Decision(service, user, answer, rule)], found
        return found[0].text


def ask(service, user, flags="", host=None):
    """What a service of PAM's says to an account's coming in; None when it may."""
    words = ["-I", f"rhost={host}"] if host else []
    asked = f"acct_mgmt({flags})" if flags else "acct_mgmt"
    process = subprocess.Popen(["pamtester", *words, service, user, asked], stdin=subprocess.DEVNULL,
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    (said,) = finish(process)
    return None if process.returncode == 0 else said
