"""Our programs: where they are, and running one as someone, in a session."""
import os
import pwd
import resource
import subprocess
import time
from pathlib import Path

SWITCH = "/usr/bin/gatehall-switch"

# The longest that a program of ours may run, however busy the machine is: each of its own limits is
# a few seconds.
LONGEST_RUN_SECONDS = 60


class Run:
    """What came of one run of a program of ours; what it decided stands beside its log."""

    def __init__(self, status, output, seconds, log, decisions):
        self.status = status
        self.output = output
        self.seconds = seconds
        self.log = log
        self.decisions = decisions

    def __repr__(self):
        return (f"<status {self.status}, {self.seconds:.2f} s, output {self.output!r}, "
                f"log {self.log}, decisions {self.decisions}>")


def start_as(command, user, session=None, environment=None, limits=(), **options):
    """Starts a program inside a session, or outside of any, as its user would with these limits."""
    account = pwd.getpwnam(user)
    groups = session_groups(session)
    member_of = os.getgrouplist(account.pw_name, account.pw_gid)
    if environment is None:
        environment = session_environment(session) if session else {"PATH": os.environ["PATH"]}

    def prepare():
        for group in groups:
            Path(group).write_text(str(os.getpid()))
        os.setgroups(member_of)
        os.setgid(account.pw_gid)
        os.setuid(account.pw_uid)
        # Lowered any earlier, the limit on processes forbids the program itself.
        for limit, value in limits:
            resource.setrlimit(limit, (value, value))

    options = {"stdin": subprocess.DEVNULL, "stderr": subprocess.STDOUT, **options}
    return subprocess.Popen(command, env=environment, cwd="/",
                            stdout=subprocess.PIPE, preexec_fn=prepare, **options)


def finish(process):
    """Waits for the end of a program; what it printed, of each of the streams that are kept apart."""
    try:
        return [output.decode() for output in process.communicate(timeout=LONGEST_RUN_SECONDS)
                if output is not None]
    except subprocess.TimeoutExpired:
        process.kill()
        process.communicate()
        raise AssertionError(f"{process.args} did not end within {LONGEST_RUN_SECONDS} s") from None


def run_as(command, user, session=None, **options):
    """Runs a program inside a session, or outside of any; its status, output and seconds."""
    start = time.monotonic()
    process = start_as(command, user, session, **options)
    (output,) = finish(process)
    return process.returncode, output, time.monotonic() - start


def session_groups(session):
    """The control groups that make a process one of the session's, for each hierarchy."""
    if session is None:
        return []
    files = []
    for line in Path(f"/proc/{session.leader}/cgroup").read_text().splitlines():
        _, controllers, path = line.split(":", 2)
        if controllers == "name=systemd":
            files.append(f"/sys/fs/cgroup/systemd{path}/cgroup.procs")
        elif controllers == "":
            for top in ("/sys/fs/cgroup/unified", "/sys/fs/cgroup"):
                if Path(f"{top}{path}/cgroup.procs").exists():
                    files.append(f"{top}{path}/cgroup.procs")
                    break
    return files


def session_processes(session):
    """The session's processes; the last is the desktop itself, until others are started."""
    return [int(pid) for pid in Path(session_groups(session)[0]).read_text().split()]


def session_environment(session):
    """The environment of the session's last program, which is the desktop itself."""
    block = Path(f"/proc/{session_processes(session)[-1]}/environ").read_bytes()
    return dict(entry.split(b"=", 1) for entry in block.split(b"\0") if b"=" in entry)
