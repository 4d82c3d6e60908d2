#!/usr/bin/env python3
"""Every catalogue translates everything that is marked for people in the source, in polkit's actions and
in what desktops show of programs, and nothing else; and what people read of the programs with windows is
marked.

usage: translations.py SOURCE-DIRECTORY
"""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

from commands import run
from untranslated import untranslated

SOURCE = pathlib.Path(sys.argv[1])
PO = SOURCE / "po"


def messages(catalogue):
    """What a catalogue's entries say, original to translation, but for its head."""
    text = run("msgcat", "--no-wrap", catalogue)
    return dict(re.findall(r'^msgid "(.+)"\nmsgstr "(.*)"$', text, re.MULTILINE))


def of_actions():
    """What polkit's actions say, which polkit looks up in the catalogues that they name."""
    for file in (SOURCE / "packaging/polkit").glob("*.policy"):
        for element in xml.etree.ElementTree.parse(file).iter():
            if element.get("gettext-domain") == "gatehall":
                yield element.text


# What a desktop shows of a program, in templates that the build makes files of.
DESKTOP_FILES = sorted((SOURCE / "packaging").glob("*/*.desktop.in"))
METAINFO = sorted((SOURCE / "packaging").glob("*/*.metainfo.xml.in"))


def of_desktop_files():
    for file in DESKTOP_FILES:
        yield from re.findall(r"^(?:Name|GenericName|Comment|Keywords)=(.+)", file.read_text(), re.MULTILINE)
    for file in METAINFO:
        for element in xml.etree.ElementTree.parse(file).iter():
            if element.tag in ("name", "summary", "p", "li"):
                yield element.text


# The rooms whose texts stand on a screen.
SHOWN = ("people", "greeter", "menu")
# What reads like a text in them and is none: names that others know, and what is for the system log or a
# terminal.
NOT_SHOWN = {
    "greeter/accounts/AccountsService.cpp": {"Language", "Session"},
    "greeter/lightdm/LightDM.cpp": {"it refuses the connection", "it ended the connection",
                                    "it didn't start this program", "it doesn't answer"},
    "greeter/main.cpp": {"gatehall-greeter: what is typed may get into a core file"},
    "greeter/machine/Keyboard.cpp": {"Caps Lock"},
    "greeter/machine/LoggedIn.cpp": {"Class", "State", "User"},
    "greeter/machine/Power.cpp": {"Suspend", "Hibernate", "Reboot", "Can", "Unable to have logind do "},
    "greeter/settings/GreeterSettings.cpp": {
        "neither true nor false",
        'neither the path of a picture nor a colour as \\"#2c3e50\\"',
        "not the path of a picture",
        "not the path of a style sheet",
        "not a whole number from 1 to 4",
        "not a format of strftime(3)",
    },
    "menu/main.cpp": {"usage: gatehall-menu [--toggle]\\n"},
    "people/Admissions.cpp": {"directory away"},
    "people/look/Look.cpp": {"Contrast", "Default", "Cantarell, Sans 11"},
}

# Words that are the same in both.
SAME = {"de.po": {"Standard"}, "fr.po": {"Session"}}
SAME_EVERYWHERE = {", ", "%A, %-e %B", "%-e %B %Y, "}


class Translations(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        place = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        template = place / "gatehall.pot"
        files = sorted((SOURCE / "src").rglob("*.cpp"))
        run("xgettext", "--keyword=translated", "--language=C++", "--from-code=UTF-8",
            f"--output={template}", *files)
        cls.marked = set(messages(template)) | set(of_actions()) | set(of_desktop_files())

    def test_all_that_polkits_actions_say_is_translated(self):
        said = [element.text for file in (SOURCE / "packaging/polkit").glob("*.policy")
                for element in xml.etree.ElementTree.parse(file).iter()
                if element.tag in ("description", "message")]
        self.assertEqual(said, list(of_actions()))
        self.assertEqual(len(said), 4)

    def test_what_people_read_on_a_screen_is_marked(self):
        files = sorted(file for room in SHOWN for file in (SOURCE / "src" / room).rglob("*")
                       if file.suffix in (".cpp", ".h"))
        self.assertTrue(files)
        for file in files:
            name = file.relative_to(SOURCE / "src").as_posix()
            found = [f"{line}: {text}" for line, text in untranslated(file.read_text())
                     if text not in NOT_SHOWN.get(name, ())]
            with self.subTest(name):
                self.assertEqual(found, [])

    def test_what_is_not_marked_is_found(self):
        source = '''#include "a room/of Some.h"
// "A comment, too"
label.set_text("until"); button.set_label(words.translated("Log in"));
Gtk::Label title("Users"); log.error("Nobody is there"); call("org.freedesktop.login1", "CanReboot");
fail("Nobody " "answers"); auto text = isThere ? "yes" : "not there at all"; const char* path = "/a/b";
row.append(name + ": it is so"); view.set_tooltip_text(f(words, \'"\', "ok")); key("selected-item");
gtk_accessible_update_property(a, GTK_ACCESSIBLE_PROPERTY_LABEL, "clock", -1); add_css_class("is on top");
const auto css = R"(label.Title { color: red; } a b)"; throw PlatformException("It is gone");
'''
        self.assertEqual([text for _, text in untranslated(source)],
                         ["until", "Users", "Nobody ", "not there at all", ": it is so", "clock"])

    def test_there_is_something_to_translate(self):
        self.assertGreater(len(self.marked), 10)

    def test_the_languages_are_those_of_the_catalogues(self):
        languages = (PO / "LINGUAS").read_text().split()
        self.assertEqual(languages, sorted(file.stem for file in PO.glob("*.po")))

    def test_each_catalogue_has_what_is_marked_and_nothing_else(self):
        for catalogue in PO.glob("*.po"):
            with self.subTest(catalogue.name):
                self.assertEqual(set(messages(catalogue)), self.marked)

    def test_nothing_is_left_in_english_or_unsaid(self):
        for catalogue in PO.glob("*.po"):
            for original, translation in messages(catalogue).items():
                if original in SAME_EVERYWHERE | SAME.get(catalogue.name, set()):
                    continue
                with self.subTest(f"{catalogue.name}: {original}"):
                    self.assertNotIn(translation, {"", original})

    def test_nothing_is_marked_as_uncertain(self):
        for catalogue in PO.glob("*.po"):
            self.assertNotIn("fuzzy", catalogue.read_text(), catalogue.name)

    def test_what_is_filled_in_is_filled_in_everywhere(self):
        for catalogue in PO.glob("*.po"):
            for original, translation in messages(catalogue).items():
                with self.subTest(f"{catalogue.name}: {original}"):
                    self.assertEqual(translation.count("%s"), original.count("%s"))

    def test_the_catalogues_are_well_formed(self):
        for catalogue in PO.glob("*.po"):
            done = subprocess.run(["msgfmt", "--check-format", "--check-domain", "-o", "/dev/null",
                                   catalogue], capture_output=True, text=True, check=False)
            self.assertEqual(done.returncode, 0, done.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
