"""Who is admitted to this machine, asked in three ways: by root and by ann with gatehallctl, and by
ann with gatehall-switch, which has rights of its own."""
import json
import subprocess

import journal
from display_manager import NotingDisplayManager
from programs import SWITCH, finish, session_environment, start_as

BY_ROOT, BY_ANN, BY_TOOL = "root asks", "ann asks", "the tool"
WAYS = (BY_ROOT, BY_ANN, BY_TOOL)
PROGRAMS = ("gatehallctl", "gatehall-switch")


class Answer:
    """What one way said of one account: admitted or not, by which rule ("not found" and "undecidable"
    stand for none), in which words, and the exit status. What it said in the journal is in here only
    after Admission.listen()."""

    def __init__(self, admitted, rule, said, status):
        self.admitted = admitted
        self.rule = rule
        self.said = said
        self.status = status

    def __repr__(self):
        said = " | ".join(filter(None, self.said.splitlines())) or "not a word"
        return (f"{'ADMITTED' if self.admitted else 'refused'} by {self.rule}, status {self.status}: "
                f"{said}")


class Admission:
    """For the time of a case ann has a session in front, and there is a display manager that notes
    what it is asked for and does nothing."""

    def __init__(self, desktop):
        desktop.stop_display_manager()
        desktop.until(lambda: not desktop.sessions(), "no session left")
        self._desktop = desktop
        self._display_manager = NotingDisplayManager()
        desktop.after(self._display_manager.stop)
        self._session = desktop.start_plain_session_of("ann", 7)
        desktop.bring_to_front("ann", self._session)
        self._environment = session_environment(self._session)
        self._cursor = journal.cursor()
        self._answers = {}  # those of which the journal was not read yet, by process

    def ask(self, accounts, ways=WAYS, limits=(), before_each=None, also=()):
        """The answers by way and account; gatehallctl is asked about others, too. The limits are those
        of ann's programs, as she sets them. The programs run side by side, or one after the other when
        there is something to be done before each; what that gives is told the process, if it gives
        something."""
        runs = []
        for way in ways:
            for asked in [(account,) for account in accounts] if way == BY_TOOL else [accounts + also]:
                started = before_each() if before_each else None
                runs.append(_Run(way, asked, self._start(way, asked, limits)))
                if started:
                    started(runs[-1].process.pid)
                if before_each:
                    runs[-1].finish()
        for run in runs:
            run.finish()
        calls = self._display_manager.take() + self._wandered()
        ours = {run.process.pid for run in runs}
        answers = {}
        for run in runs:
            # What nobody here asked for may be any tool's child's.
            asked_for = [call for pid, call in calls if pid == run.process.pid or pid not in ours]
            given = run.answers(asked_for if run.way == BY_TOOL else [])
            self._answers.setdefault(run.process.pid, []).extend(given.values())
            answers |= given
        return answers

    def listen(self):
        """Puts what programs said in the journal into the answers so far."""
        for entry in journal.records(self._cursor, *PROGRAMS):
            fields = {key.removeprefix("GATEHALL_"): value for key, value in entry.items()
                      if key.startswith("GATEHALL_")}
            said = [str(entry["MESSAGE"]), *(f"{key}={value}" for key, value in fields.items())]
            for answer in self._answers.get(int(entry.get("_PID", 0)), []):
                answer.said += "\n" + " ".join(said)
                answer.rule = answer.rule or fields.get("RULE") or fields.get("ANSWER")
        self._cursor = journal.cursor()
        self._answers = {}

    def _start(self, way, asked, limits):
        """The program, its output and its errors apart."""
        if way == BY_TOOL:
            return start_as([SWITCH, "-switchToUserID", str(asked[0])], "ann", self._session,
                            self._environment, limits, stderr=subprocess.PIPE)
        command = ["/usr/bin/gatehallctl", "--json", "can-log-in", *map(str, asked)]
        if way == BY_ROOT:
            return start_as(command, "root", stderr=subprocess.PIPE)
        return start_as(command, "ann", self._session, self._environment, limits,
                        stderr=subprocess.PIPE)

    def _wandered(self):
        """Says so when somebody else is in front, as a call of nobody's, and brings ann back."""
        session = self._desktop.in_front()
        if session is not None and session.name == self._session.name:
            return []
        self._desktop.bring_to_front("ann", self._session)
        return [(None, f"{session} came to the front")]


class _Run:
    """A program that was started to ask about some accounts."""

    def __init__(self, way, asked, process):
        self.way = way
        self.process = process
        self._asked = asked
        self._printed = None

    def finish(self):
        if self._printed is None:
            self._printed = finish(self.process)

    def answers(self, calls):
        """By way and account. A program that gave no answer admitted nobody."""
        output, errors = self._printed
        status = self.process.returncode
        if self.way == BY_TOOL:
            said = "\n".join([output, errors, *calls])
            return {(BY_TOOL, self._asked[0]): Answer(bool(calls), None, said, status)}
        try:
            given = {answer["uid"]: answer for answer in json.loads(output)["users"]}
        except (KeyError, ValueError):
            given, errors = {}, f"{output}\n{errors}"
        answers = {}
        for account in self._asked:
            answer = given.get(account, {})
            rule = answer.get("rule")
            is_decided = answer.get("found", False) or rule == "undecidable"
            answers[self.way, account] = Answer(
                answer.get("allowed", False), rule if is_decided else "not found",
                "\n".join([answer.get("reason") or "", errors]), status)
        return answers
