"""The stage on which the whole login screen is tried: a screen in memory, buses, the real service over a
world, and stand-ins for LightDM, logind, AccountsService and polkit.

Nothing here sleeps: until() looks again whenever the screen's contents, LightDM or a bus say that
something is different. GTK doesn't say when something has got its place: so it looks again now and
then as well.
"""
import dataclasses
import json
import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path

from gi.repository import GLib

import conversations
import pictures
from buses import Bus
from lightdm import LightDM
from machine import Machine
from processes import PATIENCE, Processes
from readable import Readable
from screen import Screen
from world import World

TESTS = Path(__file__).resolve().parents[2]
EXAMPLES = TESTS.parent / "examples"

ENTRY = "entry|text|password text"

# In milliseconds.
LOOK_AGAIN = 200

# The machine's own are nothing to a test: only what scripts/install-dependencies brings.
FONTS = """<?xml version="1.0"?>
<fontconfig>
<dir>/usr/share/fonts/truetype/dejavu</dir>
<dir>/usr/share/fonts/truetype/lohit-devanagari</dir>
<dir>/usr/share/fonts/truetype/droid</dir>
<selectfont><rejectfont><glob>*Condensed*</glob><glob>*ExtraLight*</glob></rejectfont></selectfont>
<cachedir>{cache}</cachedir>
<match><edit name="family" mode="append_last"><string>DejaVu Sans</string></edit></match>
<match target="font"><edit name="hintstyle"><const>hintslight</const></edit></match>
</fontconfig>
"""

SESSIONS = {"plain": "Plain", "wide": "Wide"}
SESSION = "[Desktop Entry]\nType=Application\nName={}\nExec=true\n"

STILL = "[Settings]\ngtk-enable-animations=false\ngtk-cursor-blink=false\n"

# For the program alone some folders of the machine have more files in them, and the machine a name.
MOUNTS = """set -e
hostname room-12
mount -t tmpfs tmpfs "$1/mounts"
for name in etc prefix locale; do
  mkdir "$1/mounts/$name" "$1/mounts/work-$name"
  cp -rL "$1/$name/." "$1/mounts/$name"
done
for name in etc prefix locale; do
  case $name in etc) over=/etc ;; prefix) over=$2 ;; locale) over=/usr/lib/locale ;; esac
  mount -t overlay overlay \\
    -o "lowerdir=$over,upperdir=$1/mounts/$name,workdir=$1/mounts/work-$name" "$over"
done
shift 2
exec "$@"
"""


@dataclasses.dataclass
class Programs:
    """Those that were built, and where they think that they are installed."""
    folder: Path
    prefix: Path

    @property
    def greeter(self):
        return self.folder / "gatehall-greeter"

    @property
    def menu(self):
        return self.folder / "menu-under-test"

    @property
    def world_service(self):
        return self.folder / "world-service"

    @property
    def preloaded(self):
        """What the login screen runs with."""
        return [self.folder / f"lib{name}.so"
                for name in ("standing-clock", "steady-environment", "written-log")]

    @property
    def catalogues(self):
        return self.folder.parent / "locale"


def own_mounts():
    """The words before those of a program that has mounts and a host name of its own."""
    words = ["unshare", "--uts", "--mount", "--propagation", "private"]
    return words if os.geteuid() == 0 else [*words, "--user", "--map-current-user", "--keep-caps"]


class Stage:
    def __init__(self, programs):
        self.programs = programs
        self.folder = Path(tempfile.mkdtemp(prefix="gatehall-stage-"))
        self.processes = Processes()
        self._context = GLib.MainContext.default()
        self._is_different = True
        self.screen = self.world = self.lightdm = self.readable = self.greeter = None

    def end(self):
        if self.lightdm:
            self.lightdm.go()
        self.processes.end_all()
        shutil.rmtree(self.folder)

    def begin(self, world="community", size=(1024, 768), language="C", hints=None, people=None,
              accounts=None, power=None, settings="", has_service=True, program="greeter", toolkit="",
              languages=(), layouts="us", layout_keys="", screen=Screen):
        """Starts everything, at last the login screen, or another program of that name, "menu".

        world: an example's name, or a world (world.py); people: conversations by login name
        (conversations.py), who else comes is asked for a password that nobody knows; accounts, power:
        what AccountsService and logind answer (machine.py); settings: the text of greeter.toml;
        has_service: whether the service is there from the beginning; toolkit: how GTK is set up, lines
        of its settings.ini; languages: locales that are installed, ("de_DE",); layouts, layout_keys: the
        keyboard's layouts, "us,de", and which keys lead from one to the next (xkeyboard-config(7));
        screen: an X server, or a Compositor.
        """
        for name in ("run", "config/gtk-4.0", "etc/gatehall", "etc/lightdm", "prefix/share",
                     "sessions", "mounts", "locale"):
            (self.folder / name).mkdir(parents=True, mode=0o700)
        self._write_files(settings, toolkit)
        for each in languages:
            self._make_locale(each, self.folder / "locale")
        self.screen = screen(self.processes, self.folder, *size)
        self.screen.set_layouts(layouts, layout_keys)
        self.environment = {
            "PATH": "/usr/bin:/bin", "HOME": str(self.folder), "TZ": "UTC0",
            "XDG_RUNTIME_DIR": str(self.folder / "run"),
            "XDG_CONFIG_HOME": str(self.folder / "config"),
            "FONTCONFIG_FILE": str(self.folder / "fonts.conf"),
            **self.screen.environment, **self._language(language)}
        self.system_bus = Bus(self.processes, self.folder, "system", self.environment)
        self.session_bus = Bus(self.processes, self.folder, "session", self.environment,
                               starts_services=True)
        self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = self.system_bus.address
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self.session_bus.address
        self.readable = Readable(self.session_bus, self._changed)
        file = EXAMPLES / f"{world}.world.json" if isinstance(world, str) else world
        text = json.dumps(world) if isinstance(world, dict) else file.read_text(encoding="utf-8")
        sessions = [int(uid) for uid in re.findall(r'"userID": (\d+)', text)]
        self.machine = Machine(self.system_bus, power, accounts, sessions)
        self.world = World(self, file)
        if not has_service:
            self.world.leave()
        self.lightdm = LightDM({"default-session": "plain", **(hints or {})},
                               {"": conversations.password(None), **(people or {})})
        if program == "menu":
            self.start_menu()
        else:
            self.start_greeter()

    def start_menu(self, *words):
        """What is in a session beside it would give it the keys, which a window manager does."""
        self.log = open(self.folder / "greeter.log", "w+", encoding="utf-8")
        self.greeter = self._run_menu(*words)
        self.until(self.windows, "the menu")
        self.screen.give_keys_to_window()

    def start_menu_beside(self, *words):
        """While one runs, which is told what this one is to do."""
        assert self._run_menu(*words).wait(PATIENCE) == 0, self.describe()

    def _run_menu(self, *words):
        return self.processes.start(self.programs.menu, *words, env=self.environment,
                                    stdout=self.log, stderr=self.log)

    def start_greeter(self):
        self.log = open(self.folder / "greeter.log", "w+", encoding="utf-8")
        self.greeter = self.processes.start(
            *own_mounts(), "sh", "-c", MOUNTS, "sh", self.folder, self.programs.prefix, "env",
            "LD_PRELOAD=" + ":".join(map(str, self.programs.preloaded)),
            f"STANDING_CLOCK={self.world.now}",
            self.programs.greeter, env={**self.environment, **self.lightdm.environment},
            pass_fds=self.lightdm.greeters_ends, stdout=self.log, stderr=self.log)
        self.lightdm.greeter_has_begun()

    def _language(self, language):
        """What makes it the program's, whether or not the machine has the locale."""
        if language == "C":
            return {"LANG": "C.UTF-8"}
        locales = self.folder / "locales"
        locales.mkdir()
        self._make_locale(language, locales)
        return {"LANG": f"{language}.UTF-8", "LOCPATH": str(locales)}

    def _make_locale(self, name, folder):
        subprocess.run(["localedef", "--no-archive", "-i", name, "-f", "UTF-8",
                        folder / f"{name}.UTF-8"], check=True)

    def _write_files(self, settings, toolkit):
        (self.folder / "fonts.conf").write_text(FONTS.format(cache=self.folder / "fonts"))
        (self.folder / "config/gtk-4.0/settings.ini").write_text(STILL + toolkit)
        if settings:
            (self.folder / "etc/gatehall/greeter.toml").write_text(settings, encoding="utf-8")
        (self.folder / "prefix/share/locale").symlink_to(self.programs.catalogues)
        sessions = self.folder / "sessions"
        (self.folder / "etc/lightdm/lightdm.conf").write_text(
            f"[LightDM]\nsessions-directory={sessions}\nremote-sessions-directory={sessions}\n")
        for key, name in SESSIONS.items():
            (sessions / f"{key}.desktop").write_text(SESSION.format(name))

    # Waiting.

    def until(self, condition, what):
        """Waits for something that is true, and gives it."""
        is_over = []
        limit = GLib.timeout_add_seconds(PATIENCE, lambda: is_over.append(True) or True)
        again = GLib.timeout_add(LOOK_AGAIN, lambda: self._changed() or True)
        try:
            while not (found := condition()):
                if self.greeter.poll() is not None:
                    raise AssertionError(f"waiting for {what}, and the login screen has ended with "
                                         f"{self.greeter.returncode}; {self.describe()}")
                self._is_different = False
                while not self._is_different and not is_over:
                    self._context.iteration(True)
                if is_over:
                    raise AssertionError(f"waited for {what}; {self.describe()}")
            return found
        finally:
            GLib.source_remove(limit)
            GLib.source_remove(again)

    def _changed(self):
        self._is_different = True

    # What is on the screen.

    def windows(self):
        try:
            return self.readable.windows()
        except GLib.Error:
            return []  # a program begins, or has ended

    def things(self):
        """Everything that is not hidden, in the order in which it is read."""
        return [thing for window in self.windows() for thing in window]

    def is_on_screen(self, thing):
        try:
            left, top, width, height = self.readable.place(thing)
        except GLib.Error:
            return False  # it is no more
        return (width > 0 and height > 0 and left < self.screen.width and top < self.screen.height
                and left + width > 0 and top + height > 0)

    def find(self, text, role=None):
        """What is on the screen and has the text in its name; of several the first. role: a regular
        expression for all of its role."""
        return next((thing for thing in self.things()
                     if text in thing.name and (role is None or re.fullmatch(role, thing.role))
                     and self.is_on_screen(thing)), None)

    def until_shows(self, *texts, role=None):
        """Waits until all of them are on the screen; the thing with the last one."""
        for text in texts:
            thing = self.until(lambda text=text: self.find(text, role), f"“{text}” on the screen")
        return thing

    def until_gone(self, *texts):
        for text in texts:
            self.until(lambda text=text: not self.find(text), f"the screen without “{text}”")

    def focused(self):
        return next((thing for thing in self.things() if "focused" in thing.states), None)

    def until_focused(self, text="", role=".*"):
        """Waits until the keys go to something with that name and role."""
        def is_focused():
            thing = self.focused()
            return thing if thing and text in thing.name and re.fullmatch(role, thing.role) else None

        return self.until(is_focused, f"the keys to go to “{text}”, {role}")

    def typed(self):
        """What is in the entry to which the keys go."""
        entry = self.focused()
        return self.readable.text(entry) if entry and "Text" in entry.interfaces else None

    def until_typed(self, text):
        """Waits until that is in the entry; of a secret as many dots will do."""
        self.until(lambda: self.typed() in (text, "●" * len(text), "•" * len(text)),
                   f"“{text}” in the entry")

    def click(self, text, role=None):
        left, top, width, height = self.readable.place(self.until_shows(text, role=role))
        self.screen.click(left + width // 2, top + height // 2)

    # What people do.

    def until_selected(self, text):
        """Waits until the row of the list that is selected has the text."""
        def selected():
            return next((thing for thing in self.things() if thing.role == "list item"
                         and "selected" in thing.states and text in thing.name
                         and self.is_on_screen(thing)), None)

        return self.until(selected, f"the row of “{text}” to be selected")

    def search(self, text):
        focused = self.until_focused(role=f"list item|{ENTRY}")
        if text.isascii():
            self.screen.type(text)
        else:
            self.readable.set_text(focused, text)
        self.until_typed(text)

    def choose(self, text, shown=None):
        """Has somebody log in: types a part of the name, and chooses the first that has it, as whom
        "shown" stands there."""
        self.search(text)
        self.until_selected(shown or text)
        self.screen.press("Return")

    def answer(self, text, prompt="Password"):
        """Types an answer to the prompt, once it is asked."""
        self.until_focused(prompt, ENTRY)
        self.screen.type(text)
        self.until_typed(text)
        self.screen.press("Return")

    def rows(self):
        """What the rows of the list say that are on the screen, from the top."""
        rows = [thing for thing in self.things()
                if thing.role == "list item" and self.is_on_screen(thing)]
        try:
            return [row.name for row in sorted(rows, key=lambda row: self.readable.place(row)[1])]
        except GLib.Error:
            return []  # one is no more

    def until_rows(self, *texts):
        """Waits until the list has just these rows, each with its text."""
        def are_there():
            rows = self.rows()
            return len(rows) == len(texts) and all(text in row for text, row in zip(texts, rows))

        self.until(are_there, f"the rows {texts}")

    def until_heard(self, *words):
        """Waits until the greeter has said that to LightDM."""
        self.until(lambda: self.lightdm.has_heard(*words), f"LightDM to be told {words}")

    def until_as_kept(self, name):
        """Waits until the screen looks like the kept picture of that name."""
        shot = self.folder / f"{name}.png"

        def difference():
            self.screen.picture(shot)
            return pictures.difference(name, shot)

        if pictures.UPDATE:
            stillness = pictures.Stillness()
            self.until(lambda: self.screen.picture(shot) or stillness.is_reached(shot), "a still picture")
            pictures.keep(name, shot)
            return
        try:
            self.until(lambda: not difference(), f"the picture {name}")
        except AssertionError:
            raise AssertionError(f"the screen doesn't look like {name}: {difference()}; it is kept as "
                                 f"{pictures.keep_for_judgement(shot)}") from None

    def until_dots(self, colour, least, most=None):
        """Waits until so many dots of the screen have the colour, "#rrggbb"."""
        def are_there():
            return least <= self.dots(colour) <= (most or self.screen.width * self.screen.height)

        self.until(are_there, f"{least} dots of {colour}")

    def dots(self, *colours):
        """How many dots of the screen have one of the colours, "#rrggbb"."""
        shot = self.folder / "shot.png"
        self.screen.picture(shot)
        return pictures.dots(shot, *colours)

    def printed(self):
        """What the login screen printed, and said to the system log."""
        return (self.folder / "greeter.log").read_text(encoding="utf-8")

    def until_printed(self, text):
        self.until(lambda: text in self.printed(), f"“{text}” to be printed")

    def describe(self):
        shown = [str(thing) for thing in self.things() if thing.name and self.is_on_screen(thing)]
        return (f"on the screen is: {'; '.join(shown)}\nLightDM heard: {self.lightdm.said}\n"
                f"the greeter printed: {self.printed()}")
