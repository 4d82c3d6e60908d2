#!/usr/bin/env python3
"""What the packages state twice agrees with the tree.

usage: packaging.py SOURCE-DIRECTORY
"""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(sys.argv[1])
DEBIAN = SOURCE / "packaging" / "debian"


def project_version():
    return re.search(r"project\(gatehall VERSION (\S+)", (SOURCE / "CMakeLists.txt").read_text())[1]


class Packaging(unittest.TestCase):
    def test_the_version_is_the_projects(self):
        package = re.search(r"gatehall \((.+)\)", (DEBIAN / "changelog").read_text())
        self.assertEqual(package[1], project_version())

    def test_the_librarys_package_is_named_for_its_soname(self):
        major = project_version().partition(".")[0]
        packages = re.findall(r"^Package: (.+)", (DEBIAN / "control").read_text(), re.MULTILINE)
        self.assertEqual(packages, ["gatehall", "gatehalld", "gatehall-greeter", "gatehall-menu",
                                    "gatehall-common", "gatehall-names", "libpam-gatehall",
                                    f"libgatehall{major}", "libgatehall-dev"])

    def test_what_starts_the_service_and_what_admits_it_name_the_same_user(self):
        packaging = SOURCE / "packaging"
        (user,) = re.findall(r"^u (\S+)", (packaging / "sysusers/gatehalld.conf").read_text(), re.MULTILINE)
        said = {file: re.findall(pattern, (packaging / file).read_text()) for file, pattern in (
            ("systemd/gatehalld.service.in", r"\nUser=(.+)"),
            ("dbus/com.orvane.Gatehall1.service", r"\nUser=(.+)"),
            ("dbus/com.orvane.Gatehall1.conf", r'<policy user="(.+)">'),
            ("polkit/com.orvane.gatehall.policy", r"policykit.owner\">unix-user:(.+)</annotate>"),
            ("polkit/com.orvane.gatehall.rules", r'subject.user == "(.+)"'))}
        self.assertEqual({name for names in said.values() for name in names}, {user}, said)
        self.assertEqual(len(said["polkit/com.orvane.gatehall.policy"]), 2, "actions")

    def test_the_changes_name_every_package(self):
        packages = re.findall(r"^Package: (.+)", (DEBIAN / "control").read_text(), re.MULTILINE)
        changes = re.findall(r"[\w-]+", (DEBIAN / "changelog").read_text())
        self.assertLessEqual(set(packages), {*changes, "libgatehall-dev"})

    def test_a_manual_page_points_to_documents_of_its_own_package(self):
        pages = {page: re.findall(r"/usr/share/doc/([\w-]+)/(\w+\.md)", page.read_text().replace("\\-", "-"))
                 for page in (SOURCE / "man").iterdir()}
        self.assertTrue(any(pages.values()))
        for page, documents in pages.items():
            for package, document in documents:
                installed = (DEBIAN / f"{package}.install").read_text().split()
                place = pathlib.Path("usr/share/man", "man" + page.suffix[1:], page.name)
                self.assertTrue({str(place), str(place.parent)} & set(installed), page.name)
                self.assertIn(f"docs/{document}", (DEBIAN / f"{package}.docs").read_text().split())

    def test_the_service_is_little_exposed(self):
        text = (SOURCE / "packaging/systemd/gatehalld.service.in").read_text()
        with tempfile.TemporaryDirectory() as folder:
            unit = pathlib.Path(folder) / "gatehalld.service"
            unit.write_text(re.sub("^ExecStart=.*", "ExecStart=/bin/true", text, flags=re.MULTILINE))
            done = subprocess.run(["systemd-analyze", "security", "--offline=true", "--no-pager",
                                   "--threshold=15", unit], capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_the_packages_depend_on_every_library_that_is_mapped_on_first_use(self):
        # OpenLDAP's sonames hold its release, which linkers are not told.
        name = r'"lib([^"]+?)(?:-2\.5)?\.so\.\d+"|SONAME\("lib([^"]+)"'
        used = {one or other for file in (SOURCE / "src").rglob("*.*")
                for one, other in re.findall(name, file.read_text())}
        rules = (DEBIAN / "rules").read_text()
        mapped = " ".join(re.findall(r"^mapped(?:-to-draw)? = (.*)", rules, re.MULTILINE))
        self.assertEqual(sorted(used), sorted(mapped.split()))

    def test_a_library_that_is_missing_names_the_package_that_has_it(self):
        named = {}
        for file in (SOURCE / "src").rglob("*.*"):
            named.update(re.findall(r'LazyLibrary \w+[({]"([^"]+)", "([^"]+)"', file.read_text()))
        self.assertIn("libldap-2.5.so.0", named)
        for soname, package in named.items():
            owner = subprocess.run(["dpkg-query", "--search", f"*/{soname}"], check=True,
                                   capture_output=True, text=True).stdout
            self.assertEqual(owner.partition(":")[0], package)

    def test_the_packages_name_every_library_that_is_compiled_into_their_binaries(self):
        packages = {"nlohmann": "nlohmann-json3-dev", "toml++": "libtomlplusplus-dev"}
        included = {}
        for file in (SOURCE / "src").rglob("*.*"):
            for folder in re.findall(r"#include <([\w+]+)/", file.read_text()):
                if folder in packages:
                    of_a_program = file.relative_to(SOURCE / "src").parts[0] == "ctl"
                    included.setdefault(packages[folder], set()).add(of_a_program)
        self.assertEqual(included.keys(), set(packages.values()))
        in_library = {package for package, users in included.items() if False in users}
        archives = set(re.findall(r"\blib(\w+)\.a\b", (SOURCE / "src/CMakeLists.txt").read_text()))
        self.assertEqual(archives - {"m"}, {"uuid"})  # libm.a: of the C library, nothing is left
        rules = (DEBIAN / "rules").read_text()

        def static_in(package):
            line = re.search(rf"^static-in-{package} = (.*)", rules, re.MULTILINE)[1]
            return set(line.split()) - {"$(static-in-libgatehall1)",
                                            "$(static-in-libpam-gatehall)", "$(of-the-compiler)"}

        self.assertEqual(static_in("libgatehall1"), in_library)
        self.assertEqual(static_in("libpam-gatehall"), {"uuid-dev"})
        self.assertEqual(static_in("gatehalld"), set())
        self.assertEqual(static_in("gatehall"), set(included) - in_library)
        line = re.search(r"^static-in-gatehall-greeter = (.*)", rules, re.MULTILINE)[1]
        self.assertEqual(line.replace("$(static-in-libgatehall1)", " ".join(sorted(in_library))).split(),
                         [*sorted(in_library), "uuid-dev"])

    def test_what_programs_with_windows_map_is_what_any_program_may(self):
        rules = (DEBIAN / "rules").read_text()
        of = {name: set(line.split()) for name, line in
              re.findall(r"^(mapped[\w-]*) = (.*)", rules, re.MULTILINE)}
        self.assertTrue(of["mapped-in-session"])
        self.assertLessEqual(of["mapped-in-session"], of["mapped"] | of["mapped-to-draw"])

    def test_the_login_screen_is_registered_and_taken_back_as_the_file_that_is_installed(self):
        said = {script: re.findall(r"lightdm-greeter\b[\s\\]+(/\S+)", (DEBIAN / script).read_text())
                for script in ("gatehall-greeter.postinst", "gatehall-greeter.prerm")}
        file = "/usr/share/xgreeters/gatehall-greeter.desktop"
        self.assertEqual(said, {script: [file] for script in said})
        self.assertIn("usr/share/xgreeters", (DEBIAN / "gatehall-greeter.install").read_text().split())
        self.assertTrue((SOURCE / "packaging/greeter/gatehall-greeter.desktop.in").exists())

    def test_what_is_set_of_lightdm_comes_and_goes_with_the_choice_of_the_login_screen(self):
        script = (DEBIAN / "gatehall-greeter.postinst").read_text()
        registered = re.search(r"update-alternatives (--install .*?[^\\])\n", script, re.DOTALL)[1]
        other = "/usr/share/xgreeters/other.desktop"
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for file in ("etc/alternatives", "var/lib/dpkg/alternatives", "usr/share/lightdm/lightdm.conf.d",
                         "usr/share/gatehall-greeter", "usr/share/xgreeters"):
                (root / file).mkdir(parents=True)
            for file in (other, "/usr/share/xgreeters/gatehall-greeter.desktop",
                         "/usr/share/gatehall-greeter/lightdm.conf"):
                (root / file[1:]).touch()
            settings = root / "usr/share/lightdm/lightdm.conf.d/gatehall-greeter.conf"

            def alternatives(*words):
                subprocess.run(["update-alternatives", "--quiet", "--root", root, "--log", "/dev/null",
                                *words], check=True)
                return settings.is_symlink()

            link = "/usr/share/xgreeters/lightdm-greeter.desktop"
            self.assertFalse(alternatives("--install", link, "lightdm-greeter", other, "60"))
            self.assertTrue(alternatives(*registered.replace("\\\n", "").split()))
            self.assertFalse(alternatives("--set", "lightdm-greeter", other))
            self.assertTrue(alternatives("--auto", "lightdm-greeter"))
        shipped = (DEBIAN / "gatehall-greeter.install").read_text().split()
        self.assertIn("usr/share/gatehall-greeter", shipped)
        self.assertTrue((SOURCE / "packaging/greeter/lightdm.conf").exists())

    def test_the_settings_of_the_login_screen_are_in_its_file_and_on_its_page(self):
        source = (SOURCE / "src/greeter/settings/GreeterSettings.cpp").read_text()
        known = set(re.findall(r'^    \{"([a-z-]+)", take', source, re.MULTILINE))
        self.assertIn("refused-users", known)
        text = (SOURCE / "packaging/greeter/greeter.toml").read_text()
        self.assertEqual([line for line in text.splitlines() if line and line[0] != "#"], [])
        self.assertEqual(set(re.findall(r"^#([a-z-]+) = ", text, re.MULTILINE)), known)
        page = (SOURCE / "man/gatehall-greeter.toml.5").read_text().replace("\\-", "-")
        self.assertEqual(set(re.findall(r"^\.TP\n\.B ([a-z-]+)$", page, re.MULTILINE)), known)

    def test_each_setting_of_the_login_screen_has_a_case_on_the_stage(self):
        source = (SOURCE / "src/greeter/settings/GreeterSettings.cpp").read_text()
        cases = re.findall(r"^def (\w+)", (SOURCE / "tests/greeter/cases/settings.py").read_text(), re.MULTILINE)
        for setting in re.findall(r'^    \{"([a-z-]+)", take', source, re.MULTILINE):
            self.assertTrue([case for case in cases if case.startswith(setting.replace("-", "_"))], setting)

    def test_what_a_style_of_ones_own_can_name_is_on_the_page_of_the_settings(self):
        page = (SOURCE / "man/gatehall-greeter.toml.5").read_text().replace("\\-", "-")
        colours, classes = page.partition(".SS Colours")[2].partition(".SH ")[0].split(".SS Classes")
        palettes = sorted((SOURCE / "src/people/look").glob("*.css"))
        self.assertEqual(len(palettes), 3)
        for palette in palettes:
            self.assertEqual(set(re.findall(r"@define-color (\w+)", palette.read_text())),
                             set(re.findall(r"\bgh_\w+", colours)), palette.name)
        sheets = [SOURCE / "src/greeter/window/theme.css", SOURCE / "src/people/widgets/people.css"]
        rules = "".join(re.sub(r"\{.*?\}|/\*.*?\*/", "", sheet.read_text(), flags=re.DOTALL)
                        for sheet in sheets)
        of_pages = {name for line in re.findall(r"^\.[BR]+ (.*)", classes, re.MULTILINE)
                    for name in re.findall(r"\.([a-z]+(?:-[a-z]+)*)", line)}
        # A picture is drawn over it; the colour of the settings is all that there is for it.
        self.assertEqual(set(re.findall(r"\.([a-z]+(?:-[a-z]+)*)", rules)) | {"backdrop"}, of_pages)

    def test_what_desktops_read_of_the_menu_is_well_formed(self):
        with tempfile.TemporaryDirectory() as folder:
            for kind, template in (("desktop", "menu/com.orvane.Gatehall.Menu.desktop.in"),
                                   ("desktop", "greeter/gatehall-greeter.desktop.in"),
                                   ("xml", "menu/com.orvane.Gatehall.Menu.metainfo.xml.in")):
                file = pathlib.Path(folder, pathlib.Path(template).name.removesuffix(".in"))
                subprocess.run(["msgfmt", f"--{kind}", f"--template={SOURCE / 'packaging' / template}",
                                "-d", SOURCE / "po", "-o", file], check=True)
                check = (["desktop-file-validate"] if kind == "desktop"
                         else ["appstreamcli", "validate", "--no-net"])
                done = subprocess.run([*check, file], capture_output=True, text=True, check=False)
                self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
                self.assertTrue(kind == "xml" or not done.stdout, done.stdout)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
