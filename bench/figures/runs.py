"""Runs a benchmark, and again what differs too much from run to run."""
import datetime
import os
import pathlib
import platform
import subprocess
import sys
from statistics import median

from results import BadFigure, Results, figure_of, share, shown, write

MOST_TIMES = 3
SKIPPED = 77


def machine():
    """The processor, how many of them, the memory and the system."""
    def value(file, key):
        lines = pathlib.Path(file).read_text(encoding="utf-8").splitlines()
        return next((line[len(key):].strip(' :="\t') for line in lines if line.startswith(key)), "?")

    memory = int(value("/proc/meminfo", "MemTotal").split()[0]) / 2**20
    return (f"{value('/proc/cpuinfo', 'model name')}, {os.cpu_count()} processors, {memory:.0f} GB, "
            f"{value('/etc/os-release', 'PRETTY_NAME')}, Linux {platform.release()}")


def commit():
    """As git describes it, with a mark if files were changed since."""
    done = subprocess.run(["git", "describe", "--always", "--dirty"], capture_output=True, text=True, check=False)
    return done.stdout.strip()


def told(figure):
    """What is printed of a figure: what was measured, and what it comes to."""
    sides = f"ours {shown(median(figure.ours), figure.unit)}"
    if figure.theirs:
        sides += f", {figure.peer} {shown(median(figure.theirs), figure.unit)}"
    runs = f"{len(figure.ours)} runs, which differ by {share(figure.difference)}"
    lines = [f"{figure.figure}: {sides}; {runs if len(figure.ours) > 1 else 'measured once'}"]
    if not figure.is_steady:
        lines.append(f"{figure.figure} unsteady: its runs differ by more than a fifth")
    elif figure.aim is not None:
        value = f"ratio {shown(figure.value)}" if figure.theirs else shown(figure.value, figure.unit)
        lines.append(f"{figure.figure} {value} aim {figure.aim:g}" + (", MISSED" if figure.misses else ""))
    return "\n".join(lines)


def run_once(command):
    """The exit status and the figures; what else is printed passes through."""
    figures = {}
    with subprocess.Popen(command, stdout=subprocess.PIPE, encoding="utf-8", errors="replace") as process:
        for line in process.stdout:
            if not line.startswith("{"):
                print(line, end="", flush=True)
                continue
            figure = figure_of(line)
            if figure.figure in figures:
                raise BadFigure(f"{figure.figure} is told twice")
            figures[figure.figure] = figure
            print(told(figure), flush=True)
    return process.returncode, figures


def steadier(old, new):
    return new if old is None or (not old.is_steady and new.difference < old.difference) else old


def run(folder, name, command):
    """Runs it until every figure was steady once, three times at most, and keeps the results in the folder;
    the exit status: 0 it ran, 77 this machine can't run it, 1 it failed."""
    kept, outcome = {}, "ran"
    for time in range(1, MOST_TIMES + 1):
        try:
            status, figures = run_once(command)
            if status == SKIPPED:
                outcome = "skipped: this machine can't run it"
            elif status != 0:
                outcome = f"failed: it ended with {status}"
            elif not figures:
                outcome = "failed: it told no figure"
        except (BadFigure, OSError) as wrong:
            outcome, figures = f"failed: {wrong}", {}
        for each, figure in figures.items():
            kept[each] = steadier(kept.get(each), figure)
        write(folder, Results(name, machine(), datetime.date.today().isoformat(), commit(), outcome,
                              list(kept.values())))
        unsteady = [each for each, figure in kept.items() if not figure.is_steady]
        if outcome != "ran" or not unsteady:
            break
        print(f"{name}: unsteady: {', '.join(unsteady)}"
              + ("; it runs again" if time < MOST_TIMES else f" in all {MOST_TIMES} times"), flush=True)
    if outcome != "ran":
        print(f"{name}: {outcome}", file=sys.stderr)
    return 0 if outcome == "ran" else SKIPPED if outcome.startswith("skipped") else 1
