#!/usr/bin/env python3
"""gatehall-greeter against lightdm-gtk-greeter, in turns, on the desktop of tests/desktop, with 100, 1,000 and
10,000 accounts in /etc/passwd: how long it is from LightDM's start of the greeter until its first frame with the
list, and until a key that is typed at that moment is in the field on the screen; and what memory each takes.
Neither service behind the lists runs before. LightDM's list is measured with AccountsService, which names no more
than some of the users, and without, where it reads the file.

usage: tests/desktop/container run bench/greeter.py     or scripts/bench greeter
"""
import ctypes
import mmap
import os
import pathlib
import shutil
import time
import zlib

from figures import figure
from system import run

COUNTS, AIMS = (100, 1000, 10000), (1.0, 0.5, 0.05)
MEMORY_AIM = 1.0
RUNS = 5
SECONDS = 300  # no wait is longer
QUIET = 3.0    # seconds without a frame that wasn't seen before
IDLE = 0.2     # of a processor at most, of a greeter that waits: one that reads users may show nothing new
SAME = 0.997   # of the pixels: a clock and a cursor may be others
LOOK_AGAIN = 0.005
TYPE_AGAIN = 0.25  # seconds after which a key that a greeter didn't take is typed once more
LETTERS = 16   # colours, which a screen without any hasn't
BAR = 60       # rows on top that have the clock
GAP = 8        # rows between a field and what else there is
WIDTH, HEIGHT = 800, 600

PASSWD, SHADOW = pathlib.Path("/etc/passwd"), pathlib.Path("/etc/shadow")
SYSTEM = {file: file.read_text(encoding="utf-8") for file in (PASSWD, SHADOW)}
HASH = f"$6$salt${'x' * 86}"  # nobody is listed who can't log in
LIGHTDM = pathlib.Path("/etc/lightdm/lightdm.conf.d/70-bench.conf")
SCREEN, STARTED = pathlib.Path("/run/bench-screen"), pathlib.Path("/run/bench-started")
GREETERS = {"ours": "gatehall-greeter", "theirs": "lightdm-gtk-greeter"}


def set_up():
    """X servers keep their screens in files, and greeters note when LightDM starts them."""
    server = pathlib.Path("/usr/local/bin/headless-x")
    text = server.read_text(encoding="utf-8")
    assert text.count("exec Xvfb ") == 1
    pathlib.Path("/run/bench-x").write_text(text.replace("exec Xvfb ", f"exec Xvfb -fbdir {SCREEN} "),
                                            encoding="utf-8")
    pathlib.Path("/run/bench-x").chmod(0o755)
    STARTED.mkdir()
    STARTED.chmod(0o777)
    for name, greeter in GREETERS.items():
        program = pathlib.Path(f"/run/bench-{name}")
        program.write_text(f"#!/bin/sh\nread up rest < /proc/uptime\necho $up $$ > {STARTED}/now\n"
                           f"exec {shutil.which(greeter)}\n", encoding="utf-8")
        program.chmod(0o755)
        pathlib.Path(f"/usr/share/xgreeters/bench-{name}.desktop").write_text(
            f"[Desktop Entry]\nName=Bench\nExec={program}\nType=Application\n", encoding="utf-8")


def write_accounts(count):
    numbers = range(count)
    lines = {PASSWD: [f"user{number}:x:{10000 + number}:100:Person {number}:/home/user{number}:/bin/bash\n"
                      for number in numbers],
             SHADOW: [f"user{number}:{HASH}:20000:0:99999:7:::\n" for number in numbers]}
    for file, more in lines.items():
        new = file.with_suffix(".new")
        new.write_text(SYSTEM[file] + "".join(more), encoding="utf-8")
        new.chmod(file.stat().st_mode & 0o777)
        os.chown(new, file.stat().st_uid, file.stat().st_gid)
        new.rename(file)


class Screen:
    """What an X server shows, as its file has it."""

    def __init__(self):
        file = SCREEN / "Xvfb_screen0"
        until(lambda: file.exists() and file.stat().st_size > WIDTH * HEIGHT * 4, "the screen")
        with file.open("rb") as opened:
            self._map = mmap.mmap(opened.fileno(), 0, prot=mmap.PROT_READ)
        self._start = len(self._map) - WIDTH * HEIGHT * 4

    def frame(self):
        return self._map[self._start:]


def is_same(one, other):
    if one == other:
        return True
    pixels = zip(memoryview(one).cast("I"), memoryview(other).cast("I"))
    return sum(a == b for a, b in pixels) >= SAME * WIDTH * HEIGHT


def until(holds, what):
    end = time.monotonic() + SECONDS
    while not (value := holds()):
        assert time.monotonic() < end, f"{what} doesn't come"
        time.sleep(LOOK_AGAIN)
    return value


def screen_of(process):
    """The environment that names its screen; none while it becomes another program."""
    environment = pathlib.Path(f"/proc/{process}/environ").read_bytes().split(b"\0")
    there = dict(entry.decode().split("=", 1) for entry in environment if entry)
    names = ("DISPLAY", "XAUTHORITY")
    return all(name in there for name in names) and {name: there[name] for name in names}


class Keys:
    """Types at a greeter's screen, without a process for each key."""

    def __init__(self, greeter):
        os.environ.update(until(lambda: screen_of(greeter), "the greeter's environment"))
        self._x, self._test = ctypes.CDLL("libX11.so.6"), ctypes.CDLL("libXtst.so.6")
        self._x.XOpenDisplay.restype = ctypes.c_void_p
        self._display = ctypes.c_void_p(self._x.XOpenDisplay(None))
        assert self._display.value, "the X server can't be reached"
        self._code = self._x.XKeysymToKeycode(self._display, ctypes.c_ulong(ord("p")))

    def press(self):
        for is_down in (1, 0):
            self._test.XTestFakeKeyEvent(self._display, self._code, is_down, ctypes.c_ulong(0))
        self._x.XFlush(self._display)

    def close(self):
        self._x.XCloseDisplay(self._display)


def is_stopped(unit):
    """Stops it; a greeter that still runs may have it started again, and a stop can fail for that."""
    run("systemctl", "stop", unit, check=False)
    return run("systemctl", "is-active", unit, check=False).strip() in ("inactive", "failed")


def start(name, has_accounts_service):
    """LightDM with that greeter, and services that haven't run; the moment of the start and the process."""
    for unit in ("lightdm.service", "gatehalld.service", "accounts-daemon.service"):
        until(lambda: is_stopped(unit), f"the end of {unit}")
    for left in (*SCREEN.glob("*"), *STARTED.glob("*")):
        left.unlink()
    SCREEN.mkdir(exist_ok=True)
    run("systemctl", "unmask" if has_accounts_service else "mask", "--runtime", "--quiet",
        "accounts-daemon.service")
    LIGHTDM.write_text(f"[Seat:*]\nautologin-user=\ngreeter-hide-users=false\n"
                       f"greeter-session=bench-{name}\nxserver-command=/run/bench-x\n", encoding="utf-8")
    run("systemctl", "start", "--no-block", "lightdm.service")
    moment, process = until(lambda: (STARTED / "now").exists() and (STARTED / "now").read_text().split(),
                            "the greeter")
    # What /proc/uptime counts from is what the boot clock does.
    return float(moment) - time.clock_gettime(time.CLOCK_BOOTTIME) + time.monotonic(), int(process)


def processor_seconds(process):
    words = pathlib.Path(f"/proc/{process}/stat").read_text(encoding="utf-8").rpartition(")")[2].split()
    return (int(words[11]) + int(words[12])) / os.sysconf("SC_CLK_TCK")


def settled(screen, process):
    """The screen once nothing new comes, and nothing is worked at."""
    seen, since, spent = set(), time.monotonic(), processor_seconds(process)
    end = since + SECONDS
    while True:
        frame, now = screen.frame(), time.monotonic()
        assert now < end, "the screen doesn't come to rest"
        is_new = (mark := zlib.crc32(frame)) not in seen
        seen.add(mark)
        if is_new or now - since >= QUIET:
            before, spent = spent, processor_seconds(process)
            if not is_new and spent - before <= IDLE * (now - since):
                return frame
            since = now
        time.sleep(LOOK_AGAIN)


class Look:
    """What a greeter looks like with its list, and where the field is in which a key appears."""

    def __init__(self, screen, greeter):
        until(lambda: len(set(memoryview(screen.frame()).cast("I")[BAR * WIDTH:])) > LETTERS, "the list")
        row = WIDTH * 4
        others, end = [], time.monotonic() + SECONDS
        keys = Keys(greeter)
        while not others:  # before the list is there, a key is nobody's
            assert time.monotonic() < end, "the key isn't on the screen"
            self.listed = settled(screen, greeter)
            keys.press()
            typed = settled(screen, greeter)
            others = [y for y in range(BAR, HEIGHT)
                      if self.listed[y * row:(y + 1) * row] != typed[y * row:(y + 1) * row]]
        keys.close()
        last = next((y for y, below in zip(others, others[1:]) if below - y > GAP), others[-1])
        before, after = memoryview(self.listed).cast("I"), memoryview(typed).cast("I")
        self._field = {place: after[place] for place in range(others[0] * WIDTH, (last + 1) * WIDTH)
                       if before[place] != after[place]}

    def has_key(self, frame):
        """Whether most of what a key changes in the field has changed so."""
        pixels = memoryview(frame).cast("I")
        same = sum(pixels[place] == colour for place, colour in self._field.items())
        return 2 * same > len(self._field)


def milliseconds_until(screen, look, begun, greeter):
    """Milliseconds until the screen has the list, and until a key that is typed then is on it."""
    others = set()

    def has_list():
        frame = screen.frame()
        moment, mark = time.monotonic(), zlib.crc32(frame)
        if mark in others:
            return None
        others.add(mark)
        return moment if is_same(frame, look.listed) else None

    keys = Keys(greeter)
    listed = until(has_list, "the list")
    keys.press()
    pressed = time.monotonic()

    def has_key():
        nonlocal pressed
        frame, moment = screen.frame(), time.monotonic()
        if look.has_key(frame):
            return moment
        if moment - pressed > TYPE_AGAIN:
            keys.press()
            pressed = moment
        return None

    shown = until(has_key, "the key")
    keys.close()
    return (listed - begun) * 1e3, (shown - begun) * 1e3


def megabytes(process):
    """What the greeter and its children have for themselves, shared pages divided."""
    children = pathlib.Path(f"/proc/{process}/task/{process}/children").read_text(encoding="utf-8").split()
    (line,) = (line for line in pathlib.Path(f"/proc/{process}/smaps_rollup").read_text(
        encoding="utf-8").splitlines() if line.startswith("Pss:"))
    return int(line.split()[1]) / 1024 + sum(megabytes(int(child)) for child in children)


def measured(has_accounts_service):
    """What each greeter takes in each turn: until the list, until the key, and the memory."""
    looks, taken = {}, {name: [] for name in GREETERS}
    for turn in range(RUNS + 1):
        for name in GREETERS:
            begun, process = start(name, has_accounts_service)
            screen = Screen()
            if turn == 0:  # which also reads files from the disk
                looks[name] = Look(screen, process)
            else:
                times = milliseconds_until(screen, looks[name], begun, process)
                settled(screen, process)  # with all that it prepares
                taken[name].append((*times, megabytes(process)))
    return taken.values()


def main():
    set_up()
    for has_accounts_service, against in ((True, "-with-accountsservice"), (False, "")):
        for count, aim in zip(COUNTS, AIMS):
            write_accounts(count)
            kinds = (("list", "ms", aim), ("key", "ms", aim), ("memory", "MB", MEMORY_AIM))
            columns = (zip(*rows) for rows in measured(has_accounts_service))
            for (what, unit, most), ours, theirs in zip(kinds, *columns):
                if what != "memory" or count == COUNTS[-1]:
                    figure(f"greeter-{what}-{count}{against}", unit, ours, theirs, "lightdm-gtk-greeter", most)


main()
