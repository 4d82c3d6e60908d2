"""What programs said in the system's journal."""
import json

from system import run


def cursor():
    """The end of the journal: everything that was sent to it so far is before it."""
    run("journalctl", "--sync")
    *_, last = run("journalctl", "--lines=0", "--show-cursor", "--quiet").splitlines()
    return last.removeprefix("-- cursor: ")


def records(since, *programs):
    """What these programs said since the cursor, with all fields."""
    run("journalctl", "--sync", check=False)
    # A cursor together with a filter by program skips an entry too many.
    lines = run("journalctl", "--quiet", "--output=json", f"--after-cursor={since}",
                check=False).splitlines()
    found = (json.loads(line) for line in lines)
    return [entry for entry in found if entry.get("SYSLOG_IDENTIFIER") in programs]


def is_decision(entry):
    """Whether it is a record of who may log in: those are of facility authpriv."""
    return entry.get("SYSLOG_FACILITY") == "10"


def entries(since, *programs):
    """What these programs said since the cursor, as (program, process id, text)."""
    return [(entry["SYSLOG_IDENTIFIER"], entry.get("_PID"), entry["MESSAGE"])
            for entry in records(since, *programs)]


def story(since):
    """What those who take part in a switch said since the cursor, for a person to read."""
    return "\n".join(f"    {program}[{pid}]: {text}" for program, pid, text in entries(
        since, "gatehall-switch", "lightdm", "polkitd", "systemd-logind", "dbus-daemon", "su",
        "display-manager-stand-in", "sddm", "gdm3"))
