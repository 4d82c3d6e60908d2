#!/usr/bin/env python3
"""gatehall-switch against LightDM's own dm-tool, in turns, on the desktop of tests/desktop. Bob has no
password and a running session: what each program takes when that is in front already, so that nothing
moves; and how long it is until the session is in front when ann asks for it.

usage: tests/desktop/container run bench/desktop-switch.py     or scripts/bench desktop-switch
"""
import statistics
import time

from desktop import Desktop
from programs import SWITCH, run_as

RUNS = 21
PROGRAMS = {"gatehall-switch": [SWITCH, "-switchToUserID", "1001"],
            "dm-tool": ["/usr/bin/dm-tool", "switch-to-user", "bob"]}


def measured(desktop, command, user):
    """Milliseconds by the clock and of processor time, and kilobytes."""
    status, output, _ = run_as(["/opt/programs/measure", *command], user, desktop.session_of(user))
    assert status == 0, output
    wall, processor, peak = (int(number) for number in output.split())
    return wall / 1e6, processor / 1e6, peak


def has_bob_in_front(desktop):
    session = desktop.in_front()
    return session is not None and (session.user, session.kind) == ("bob", "user")


def until_bob_is_in_front(desktop, command):
    """Milliseconds from ann's request until bob's running session is in front, as logind and the
    virtual terminal say."""
    desktop.bring_to_front("ann")
    for user in ("ann", "bob"):
        desktop.unlock(user)
    start = time.monotonic()
    measured(desktop, command, "ann")
    desktop.until(lambda: has_bob_in_front(desktop), "bob's session in front")
    return (time.monotonic() - start) * 1e3


def in_turns(take):
    """What each program takes in each run, without the first, which reads files from the disk."""
    taken = {name: [] for name in PROGRAMS}
    for turn in range(RUNS + 1):
        for name, command in PROGRAMS.items():
            figures = take(command)
            if turn > 0:
                taken[name].append(figures)
    return taken.values()


def main():
    desktop = Desktop()
    desktop.begin()
    bob = desktop.start_session_of("bob")
    ours, theirs = ([statistics.median(column) for column in zip(*rows)]
                    for rows in in_turns(lambda command: measured(desktop, command, "bob")))
    assert desktop.in_front().name == bob.name, desktop.describe()
    active, their_active = (statistics.median(times) for times in in_turns(
        lambda command: until_bob_is_in_front(desktop, command)))
    assert desktop.in_front().name == bob.name, desktop.describe()
    for name, (wall, processor, peak), moved in zip(PROGRAMS, (ours, theirs), (active, their_active)):
        print(f"{name}: {wall:.1f} ms, {processor:.1f} ms of processor time, {peak:.0f} KB; bob's session "
              f"in front after {moved:.0f} ms (medians of {RUNS})")
    print(f"desktop-switch-session ratio {active / their_active:.2f} aim 1.0")
    for what, index in (("-memory", 2), ("-processor", 1), ("", 0)):
        print(f"desktop-switch{what} ratio {ours[index] / theirs[index]:.2f} aim 0.6")


main()
