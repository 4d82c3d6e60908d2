"""How a benchmark tells what it measured: a line of JSON a figure, which scripts/bench reads."""
import json

from programs import run_as


def figure(name, unit, ours, theirs=None, peer=None, aim=None):
    """One figure of the table. `ours` is a list of what was measured in each run, at least five; `theirs`
    what the peer took in the same runs, in the same order, where the ratio is the figure. The aim is the
    highest ratio, or without a peer the highest value; a figure may have none."""
    described = {"figure": name, "unit": unit, "ours": ours, "theirs": theirs, "peer": peer, "aim": aim}
    print(json.dumps({key: value for key, value in described.items() if value is not None}), flush=True)


def in_turns(runs, *works):
    """What each work returns in each run, a list for each; they take turns, and the first turn, which reads
    files from the disk, is left out."""
    rounds = [[work() for work in works] for _ in range(runs + 1)]
    return [list(column) for column in zip(*rounds[1:])]


def process(command, user="root", session=None):
    """The whole of one process: milliseconds by the clock, milliseconds of processor time, and MB."""
    status, output, _ = run_as(["/opt/programs/measure", *command], user, session)
    assert status == 0, output
    wall, processor, peak = (int(number) for number in output.splitlines()[-1].split())
    return wall / 1e6, processor / 1e6, peak / 1024


def process_figures(name, ours, theirs, peer, aims):
    """Three figures of what process() returned in runs of ours and the peer's: NAME, NAME-processor and
    NAME-memory. `aims` has those that there are, by what follows the name: {"": 0.6, "-memory": 0.65}."""
    units = (("", "ms"), ("-processor", "ms"), ("-memory", "MB"))
    for (what, unit), our, their in zip(units, zip(*ours), zip(*theirs)):
        figure(name + what, unit, our, their, peer, aims.get(what))
