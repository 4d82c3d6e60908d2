#!/usr/bin/env python3
"""Writes the picture of the login screen that the README opens with to standard output, as PNG: on this
desktop, with people of several kinds. Takes a tar file with the pictures of examples/pictures.

usage: tar -C examples/pictures -c . | tests/desktop/container run tests/desktop/greeter-picture.py > docs/greeter.png
"""
import datetime
import struct
import sys
import tarfile
import time
from pathlib import Path

from gi.repository import GLib

import session_limits
from desktop import Desktop
from gatehall_greeter import NOBODY_BY_ITSELF, GatehallGreeter
from guarded import Guarded
from policed import DENY_LIST
from system import run

PICTURES = Path("/var/lib/pictures")
NAMES = {"ann": "Ann Lee", "bob": "Bob Ray", "carol": "Carol Wilhelmina Q. Featherstonehaugh-Cholmondeley",
         "erin": "Erin Walsh", "gus": "Gustav Lindqvist"}
OTHERS = {"mina": "मीना शर्मा", "olga": "Ольга Иванова", "tariq": "طارق حداد"}
ICONS = {"ann": "sunflower", "gus": "sailing-boat", "mina": "mountain"}
WIDTH, HEIGHT = 1280, 800
AFTERNOON = 14
HOURS = {"carol": (0, 20 * 3600), "tariq": (16 * 3600, 18 * 3600)}


def be_in_the_afternoon():
    """Whenever the picture is made, by a time zone of its own, see tzfile(5)."""
    offset = (AFTERNOON - datetime.datetime.now(datetime.timezone.utc).hour) * 3600
    zone = struct.pack(">4s16x6l", b"TZif", 0, 0, 0, 0, 1, 4) + struct.pack(">lbb", offset, 0, 0) + b"PIC\0"
    file, link = Path("/usr/share/zoneinfo/Picture"), Path("/etc/localtime")
    file.parent.mkdir(parents=True, exist_ok=True)
    file.write_bytes(zone)
    run("umount", str(link), check=False)  # the container has the machine's
    link.unlink(missing_ok=True)
    link.symlink_to(file)
    time.tzset()


def have_people(desktop):
    for name, full_name in NAMES.items():
        run("usermod", "--comment", full_name, name)
    run("passwd", "--quiet", "--delete", "gus")  # or gus can't log in
    for name, full_name in OTHERS.items():
        run("useradd", "--create-home", "--shell", "/bin/bash", "--password", "", "--comment", full_name,
            name)
    with tarfile.open(fileobj=sys.stdin.buffer, mode="r|") as pictures:
        pictures.extractall(PICTURES)
    accounts = "org.freedesktop.Accounts"
    for name, picture in ICONS.items():
        path, = desktop.bus.call(accounts, f"/{accounts.replace('.', '/')}", accounts, "FindUserByName",
                                 GLib.Variant("(s)", (name,)))
        desktop.bus.call(accounts, path, f"{accounts}.User", "SetIconFile",
                         GLib.Variant("(s)", (f"{PICTURES}/{picture}.png",)))
    for name, (start, end) in HOURS.items():
        session_limits.limit(desktop, int(run("id", "--user", name)), start, end)


def main():
    be_in_the_afternoon()
    run("hostname", "room-12")
    desktop = Desktop()
    desktop.begin()
    Guarded(desktop).have(DENY_LIST)  # which refuses erin
    have_people(desktop)
    run("systemctl", "stop", "gatehalld.service")  # it reads at its start where directories are
    greeter = GatehallGreeter(
        desktop, (NOBODY_BY_ITSELF, f"xserver-command=/usr/local/bin/headless-x -screen {WIDTH}x{HEIGHT}"),
        geometry=f"{WIDTH}x{HEIGHT}+0+0", larger=2, shows=("Ann Lee",))
    desktop.start_session_of("bob")
    greeter.come()
    greeter.until_shows("Bob Ray", "20:00", "16:00", "may not")
    sys.stdout.buffer.write(greeter.picture())
    sys.stdout.flush()
    desktop.clear()


main()
