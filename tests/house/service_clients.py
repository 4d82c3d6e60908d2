#!/usr/bin/env python3
"""gatehalld on a bus of the test's own, started by it, as its clients see it: its introspection data are those
that are installed, examples/service do what they say, and gatehallctl follows its list.

usage: service_clients.py GATEHALLD GATEHALLCTL SOURCE-DIRECTORY COMPILER

Needs root, for a mount namespace in which the account files and the bus are the test's.
"""

import os
import pathlib
import queue
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

from introspection import described

GATEHALLD, GATEHALLCTL, SOURCE = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
COMPILER = sys.argv[4]
EXAMPLES = SOURCE / "examples" / "service"
NAME, OBJECT = "com.orvane.Gatehall1", "/com/orvane/Gatehall1"
PYTHON = "/usr/bin/python3"  # the one that has Debian's modules
PEOPLE = {"ann": (1000, "Ann Lee"), "bob": (1001, "Bob Ray"), "carol": (1002, "Carol Diaz"), "zoe": (1003, "Zoe Park")}
SECONDS = 60  # until a line has to be there; it mostly takes one or two
BUS = f"""<busconfig>
  <type>session</type>
  <listen>unix:path=/run/dbus/system_bus_socket</listen>
  <auth>EXTERNAL</auth>
  <servicedir>/run/dbus/services</servicedir>
  <policy context="default">
    <allow user="*"/><allow own="*"/><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>
  </policy>
</busconfig>
"""


def make_machine(place):
    """In a mount namespace of its own: /etc with the test's accounts, and /run without anything."""
    host = place / "host"
    host.mkdir()
    mount("--bind", "/etc", host)
    mount("-t", "tmpfs", "-o", "mode=0755", "tmpfs", "/etc")
    write("machine-id", "0123456789abcdef0123456789abcdef\n")
    write("shells", "/bin/sh\n/bin/bash\n")
    write("group", "root:x:0:\n")
    for file in host.iterdir():
        target = pathlib.Path("/etc", file.name)
        if file.name not in ("passwd", "shadow", "gatehall", "userdb") and not target.exists():
            target.symlink_to(file)
    accounts("ann", "bob")
    mount("-t", "tmpfs", "-o", "mode=0755", "tmpfs", "/run")
    for folder in ("dbus/services", "systemd/seats", "systemd/sessions", "systemd/users"):
        pathlib.Path("/run", folder).mkdir(parents=True)
    pathlib.Path("/run/dbus/bus.conf").write_text(BUS, encoding="utf-8")
    pathlib.Path(f"/run/dbus/services/{NAME}.service").write_text(
        f"[D-BUS Service]\nName={NAME}\nExec={GATEHALLD}\n", encoding="utf-8")


def mount(*words):
    subprocess.run(["mount", *map(str, words)], check=True)


def write(name, text):
    """As the tools do it: a new file in the old one's place."""
    new = pathlib.Path("/etc", f"{name}.new")
    new.write_text(text, encoding="utf-8")
    new.chmod(0o640 if name == "shadow" else 0o644)
    new.rename(f"/etc/{name}")


def accounts(*names):
    passwd, shadow = "", ""
    for name in names:
        uid, full_name = PEOPLE[name]
        passwd += f"{name}:x:{uid}:100:{full_name},,,:/home/{name}:/bin/bash\n"
        shadow += f"{name}:$6$salt$hash:19000:0:99999:7:::\n"
    write("shadow", shadow)
    write("passwd", passwd)


def call(method, *words):
    return subprocess.run(["busctl", "--system", "call", NAME, OBJECT, NAME, method, *words],
                          capture_output=True, text=True, check=True).stdout


class Program:
    """A program that goes on printing."""

    def __init__(self, *words):
        self.process = subprocess.Popen([*map(str, words)], stdout=subprocess.PIPE, text=True)
        self.lines = queue.Queue()
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        for line in self.process.stdout:
            self.lines.put(line.rstrip())
        self.lines.put(None)

    def until(self, wanted):
        """The lines up to the one in which that is found."""
        seen = []
        end = time.monotonic() + SECONDS
        while True:
            try:
                line = self.lines.get(timeout=max(end - time.monotonic(), 0.001))
            except queue.Empty:
                line = None
            if line is None:
                raise AssertionError(f"{wanted!r} doesn't come after {seen}")
            seen.append(line)
            if re.search(wanted, line):
                return seen

    def end(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait()
        self.reader.join()
        self.process.stdout.close()


class ServiceClients(unittest.TestCase):
    def setUp(self):
        accounts("ann", "bob")
        self.bus = subprocess.Popen(["dbus-daemon", "--nofork", "--nopidfile", "--config-file=/run/dbus/bus.conf",
                                     "--print-address=1"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.bus.stdout.readline()
        self.addCleanup(self.end_bus)

    def end_bus(self):
        """The service ends without its bus."""
        self.bus.terminate()
        self.bus.wait()
        self.bus.stdout.close()
        pathlib.Path("/run/dbus/system_bus_socket").unlink(missing_ok=True)

    def start(self, *words):
        program = Program(*words)
        self.addCleanup(program.end)
        return program

    @staticmethod
    def service_process():
        owner = subprocess.run(["busctl", "--system", "call", "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                "org.freedesktop.DBus", "GetConnectionUnixProcessID", "s", NAME],
                               capture_output=True, text=True, check=True).stdout
        return int(owner.split()[1])

    def kill_service(self):
        """As a crash does."""
        os.kill(self.service_process(), signal.SIGKILL)

    def test_it_ends_in_good_order_when_it_is_told_to(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            service = subprocess.Popen([GATEHALLD])
            end = time.monotonic() + SECONDS
            while NAME not in subprocess.run(["busctl", "--system", "--acquired", "--list"], capture_output=True,
                                             text=True, check=True).stdout:
                self.assertLess(time.monotonic(), end)
            call("CanLogIn", "ss", "ann", "")
            self.assertEqual(self.service_process(), service.pid)
            service.send_signal(number)
            self.assertEqual(service.wait(SECONDS), 0)

    def test_its_introspection_data_are_those_that_are_installed(self):
        told = subprocess.run(["busctl", "--system", "--xml-interface", "introspect", NAME, OBJECT],
                              capture_output=True, text=True, check=True).stdout
        installed = (SOURCE / "packaging" / "dbus" / f"{NAME}.xml").read_text(encoding="utf-8")
        self.maxDiff = None
        self.assertEqual(described(told), described(installed))

    def follow(self, *words):
        """An example that prints the whole list, "--" behind it."""
        program = self.start(*words, "ann", "zoe")
        self.assertEqual(program.until("^ann:"), ["ann: yes, local login enabled."])
        self.assertEqual(program.until("^zoe:"), [
            "zoe: no, no such account. You may not log in on this computer: it doesn't know your account."])
        self.assertEqual(program.until("^--"), ["Ann Lee", "Bob Ray", "--"])
        accounts("ann", "bob", "carol")
        self.assertEqual(program.until("Carol")[-1], "Carol Diaz")
        program.until("^--")
        self.kill_service()
        accounts("bob")
        program.until("^Bob Ray")
        return program

    def test_the_example_in_python_follows_the_list(self):
        self.follow(PYTHON, "-B", EXAMPLES / "users.py")

    def test_the_example_in_cpp_follows_the_list(self):
        program = pathlib.Path("/run", "users")
        flags = subprocess.run(["pkg-config", "--cflags", "--libs", "libsystemd"], capture_output=True, text=True,
                               check=True).stdout.split()
        subprocess.run([COMPILER, "-std=c++20", "-Wall", "-Wextra", "-Werror", "-o", program,
                        EXAMPLES / "users.cpp", *flags], check=True)
        self.follow(program)

    def test_the_example_in_shell_follows_the_list(self):
        program = self.start("sh", EXAMPLES / "users.sh", "ann")
        self.assertEqual(program.until("^ann:")[0], "ann: yes, local login enabled.")
        self.assertEqual(program.until("bob"), ["users:", "  ann  Ann Lee", "  bob  Bob Ray"])
        accounts("ann", "bob", "carol")
        self.assertEqual(program.until("carol"), ["added: carol, 3"])
        self.kill_service()
        self.assertEqual(program.until("carol"), ["users:", "  ann  Ann Lee", "  bob  Bob Ray", "  carol  Carol Diaz"])

    def test_gatehallctl_follows_the_list_over_restarts(self):
        program = self.start(GATEHALLCTL, "--no-legend", "watch", "--service")
        self.assertRegex(program.until("bob")[0], "ann +Ann Lee")
        accounts("bob")
        program.until(r"- ann")
        self.kill_service()
        program.until("! gatehalld is gone")
        program.until("gatehalld is back, read anew$")
        accounts("bob", "zoe")
        accounts("bob", "carol")
        program.until(r"\+ carol")

    def test_pages_and_changes_fit_together(self):
        first = call("ListUsers", "uu", "0", "1").split()
        self.assertEqual(first[2], "2")
        accounts("ann")
        end = time.monotonic() + SECONDS
        while (changes := call("ListChanges", "t", first[1]).split())[3] == "0":
            self.assertLess(time.monotonic(), end)
        self.assertEqual(changes[2:6], ["true", "1", '"removed"', "2"])


def run_inside():
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["mount", "--make-rprivate", "/"], check=True)
        make_machine(pathlib.Path(folder))
        try:
            unittest.main(argv=[sys.argv[0], *sys.argv[6:]])
        finally:
            subprocess.run(["umount", "--lazy", "/run", "/etc", pathlib.Path(folder, "host")], check=False)


if __name__ == "__main__":
    if os.geteuid() != 0 or not shutil.which("unshare"):
        print("skipped: it takes root's mount namespaces")
    elif "--inside" in sys.argv:
        sys.argv.remove("--inside")
        sys.argv.insert(5, "")
        run_inside()
    else:
        sys.exit(subprocess.run(["unshare", "--mount", sys.executable, "-B", *sys.argv, "--inside"],
                                check=False).returncode)
