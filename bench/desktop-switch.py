#!/usr/bin/env python3
"""gatehall-switch against LightDM's own dm-tool, in turns, on the desktop of tests/desktop. Bob has no
password and a running session: what each program takes when that is in front already, so that nothing
moves; and how long it is until the session is in front when ann asks for it.

usage: tests/desktop/container run bench/desktop-switch.py     or scripts/bench desktop-switch
"""
import time

from desktop import Desktop
from figures import figure, in_turns, process, process_figures
from programs import SWITCH

RUNS = 21
OURS = [SWITCH, "-switchToUserID", "1001"]
THEIRS = ["/usr/bin/dm-tool", "switch-to-user", "bob"]


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
    process(command, "ann", desktop.session_of("ann"))
    desktop.until(lambda: has_bob_in_front(desktop), "bob's session in front")
    return (time.monotonic() - start) * 1e3


def main():
    desktop = Desktop()
    desktop.begin()
    bob = desktop.start_session_of("bob")
    ours, theirs = in_turns(RUNS, *(lambda command=command: process(command, "bob", desktop.session_of("bob"))
                                    for command in (OURS, THEIRS)))
    assert desktop.in_front().name == bob.name, desktop.describe()
    process_figures("desktop-switch", ours, theirs, "dm-tool", {"": 0.6, "-processor": 0.6, "-memory": 0.65})
    ours, theirs = in_turns(RUNS, *(lambda command=command: until_bob_is_in_front(desktop, command)
                                    for command in (OURS, THEIRS)))
    assert desktop.in_front().name == bob.name, desktop.describe()
    figure("desktop-switch-session", "ms", ours, theirs, "dm-tool", 1.0)


main()
