"""What the packages install on this machine."""
import grp
import json
import pwd
import re
import subprocess
import sys
from pathlib import Path

from guarded import ACCOUNTS, ask
from programs import SWITCH
from system import run

PACKAGES = ("gatehall", "gatehall-common", "gatehall-greeter", "gatehall-menu", "gatehall-names",
            "gatehalld", "libgatehall1", "libpam-gatehall")
EXAMPLES = Path("/usr/share/doc/gatehall/examples")


def _ownership(path):
    status = Path(path).stat()
    return (f"{status.st_mode & 0o7777:o}", pwd.getpwuid(status.st_uid).pw_name,
            grp.getgrgid(status.st_gid).gr_name)


def the_tool_belongs_to_root_and_is_set_group_id_shadow(desktop):
    assert _ownership(SWITCH) == ("2755", "root", "shadow"), _ownership(SWITCH)


def nothing_else_has_rights_of_its_own(desktop):
    files = run("dpkg", "--listfiles", *PACKAGES).splitlines()
    special = [f for f in files if Path(f).is_file() and Path(f).stat().st_mode & 0o7000]
    assert special == [SWITCH], special
    assert _ownership("/usr/bin/gatehallctl") == ("755", "root", "root")
    assert _ownership("/etc/gatehall") == ("755", "root", "root")


def every_file_is_as_it_was_packed(desktop):
    """But the documents that this machine's dpkg leaves out."""
    changed = [line for line in run("dpkg", "--verify", *PACKAGES).splitlines()
               if not line.startswith("missing     /usr/share/doc/libgatehall1/")]
    assert changed == [], changed


def _install(*packages):
    files = [str(file) for package in packages for file in Path("/opt/packages").glob(f"{package}_*.deb")]
    assert len(files) == len(packages), files
    run("dpkg", "--force-unsafe-io", "--path-include=/usr/share/*gatehall*", "--install", *files)


def what_an_administrator_set_survives_an_installation(desktop):
    """As dpkg has it for every file with rights of its own."""
    run("dpkg-statoverride", "--update", "--add", "root", "root", "0755", SWITCH)
    desktop.after(_install, "gatehall")
    desktop.after(run, "dpkg-statoverride", "--remove", SWITCH)
    _install("gatehall")
    assert _ownership(SWITCH) == ("755", "root", "root"), _ownership(SWITCH)


def _account_modules():
    """In the order in which they are asked about every account."""
    return re.findall(r"(?m)^account\s.*\s(pam_\S+\.so.*?)\s*$", ACCOUNTS.read_text())


def the_module_is_the_first_to_be_asked_about_accounts(desktop):
    assert _account_modules() == ["pam_gatehall.so", "pam_unix.so", "pam_deny.so", "pam_permit.so"]


def the_modules_arguments_survive_an_installation(desktop):
    desktop.write(ACCOUNTS, ACCOUNTS.read_text().replace("pam_gatehall.so", "pam_gatehall.so hours=yes"))
    _install("libpam-gatehall")
    assert _account_modules()[0] == "pam_gatehall.so hours=yes"


def without_its_package_the_module_is_asked_no_more(desktop):
    desktop.after(_install, "libpam-gatehall")
    run("dpkg", "--remove", "libpam-gatehall")
    assert _account_modules() == ["pam_unix.so", "pam_deny.so", "pam_permit.so"]
    assert ask("login", "bob") is None


def the_service_ends_with_its_package(desktop):
    packages = ("gatehalld", "gatehall-greeter", "gatehall-menu")  # the others need it
    desktop.after(_install, *packages)
    run("systemctl", "start", "gatehalld.service")
    run("dpkg", "--remove", *packages)
    assert not desktop.is_running("gatehalld.service")
    assert not desktop.bus.has("com.orvane.Gatehall1")


def the_library_is_found_by_its_soname(desktop):
    run(sys.executable, "-c", "import ctypes; ctypes.CDLL('libgatehall.so.1')")


def the_example_configuration_is_understood(desktop):
    for name in ("directory.toml", "com.orvane.gatehall.plist"):
        desktop.write(f"/etc/gatehall/{name}", (EXAMPLES / name).read_text())
    done = subprocess.run(["gatehallctl", "--json", "prefs"], stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True, check=False)
    assert (done.returncode, done.stderr) == (0, ""), done
    preferences = json.loads(done.stdout)
    assert preferences["hiddenUsersList"] == {"value": ["backup"], "source": "preferences"}, preferences
    assert preferences["showAdminUsers"] == {"value": False, "source": "preferences"}, preferences
    desktop.join_group("staff", "bob")
    (admin,) = json.loads(run("gatehallctl", "--json", "admins"))["users"]
    assert admin["shortName"] == "bob", admin


def the_example_worlds_can_be_asked(desktop):
    worlds = sorted(EXAMPLES.glob("*.world.json"))
    assert len(worlds) > 3
    for world in worlds:
        run("gatehallctl", "--world", str(world), "users")
