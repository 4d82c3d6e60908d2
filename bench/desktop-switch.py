#!/usr/bin/env python3
"""gatehall-switch against LightDM's own dm-tool: both switch from ann's session to bob, who has no
password and no session yet, in turns, on the desktop of tests/desktop.

usage: tests/desktop/container run bench/desktop-switch.py     or scripts/bench desktop-switch
"""
import statistics
import time

from desktop import Desktop
from programs import SWITCH, run_as

RUNS = 15
PROGRAMS = {"gatehall-switch": [SWITCH, "-switchToUserID", "1001"],
            "dm-tool": ["/usr/bin/dm-tool", "switch-to-user", "bob"]}


def has_bob_in_front(desktop):
    session = desktop.in_front()
    return session is not None and (session.user, session.kind) == ("bob", "user")


def switch(desktop, command):
    """Milliseconds by the clock and of processor time, kilobytes, and milliseconds until bob's session
    is active."""
    start = time.monotonic()
    status, output, _ = run_as(["/opt/programs/measure", *command], "ann", desktop.session_of("ann"))
    assert status == 0, output
    desktop.until(lambda: has_bob_in_front(desktop), "bob's session in front")
    until_active = time.monotonic() - start
    wall, processor, peak = (int(number) for number in output.split())
    desktop.until_in_front("bob")
    desktop.clear()
    return wall / 1e6, processor / 1e6, peak, until_active * 1e3


def main():
    desktop = Desktop()
    desktop.begin()
    taken = {name: [] for name in PROGRAMS}
    for turn in range(RUNS + 1):
        for name, command in PROGRAMS.items():
            figures = switch(desktop, command)
            if turn > 0:  # the first one reads files from the disk
                taken[name].append(figures)
    ours, theirs = ([statistics.median(column) for column in zip(*rows)] for rows in taken.values())
    for name, (wall, processor, peak, active) in zip(PROGRAMS, (ours, theirs)):
        print(f"{name}: {wall:.1f} ms, {processor:.1f} ms of processor time, {peak:.0f} KB; bob's session "
              f"active after {active:.0f} ms (medians of {RUNS})")
    for what, index, aim in (("-session", 3, "1.0"), ("-memory", 2, "0.6"), ("-processor", 1, "0.6"),
                             ("", 0, "0.6")):
        print(f"desktop-switch{what} ratio {ours[index] / theirs[index]:.2f} aim {aim}")


main()
