"""What gatehall-greeter needs is down, or doesn't answer: people can log in, and see what there is."""
from pathlib import Path

from gatehall_greeter import PEOPLE, GatehallGreeter
from system import run

SERVICE = "gatehalld.service"
ANNS = ("Password", "anns")
LIGHTDMS = Path("/etc/pam.d/lightdm")


def _logs_ann_in(desktop, greeter):
    assert greeter.log_in("ann", ANNS) == "Success"
    desktop.until_in_front("ann")


def a_service_that_is_killed_leaves_the_list_and_goes_on_with_it(desktop):
    greeter = GatehallGreeter(desktop)
    run("systemctl", "kill", "--kill-whom=main", "--signal=KILL", SERVICE)
    run("useradd", "--no-create-home", "--comment", "Hanna", "--password", "", "hanna")
    desktop.after(run, "userdel", "hanna")
    greeter.until_shows(*PEOPLE, "Hanna")
    _logs_ann_in(desktop, greeter)


def without_the_service_names_are_typed(desktop):
    desktop.stop(SERVICE)
    greeter = GatehallGreeter(desktop, shows=("User name", "can't be shown"))
    _logs_ann_in(desktop, greeter)


def a_service_that_comes_later_brings_the_list(desktop):
    run("systemctl", "mask", "--runtime", "--quiet", SERVICE)
    desktop.after(run, "systemctl", "unmask", "--runtime", "--quiet", SERVICE)
    run("systemctl", "stop", SERVICE)
    greeter = GatehallGreeter(desktop, shows=("User name", "can't be shown"))
    run("systemctl", "unmask", "--runtime", "--quiet", SERVICE)
    greeter.until_shows(*PEOPLE, without=("User name",))
    _logs_ann_in(desktop, greeter)


def a_service_that_does_not_answer_has_names_typed(desktop):
    desktop.start(SERVICE)
    desktop.freeze(SERVICE)
    greeter = GatehallGreeter(desktop, shows=("User name", "can't be shown"))
    _logs_ann_in(desktop, greeter)


def a_directory_that_falls_mute_leaves_the_list_of_the_machines_own(desktop):
    desktop.write("/etc/gatehall/directory.toml", '[[directory]]\nname = "example"\n'
                  'servers = ["ldap://127.0.0.1/"]\nbase = "dc=example,dc=org"\ntls = "off"\n')
    desktop.start("directory.service")
    desktop.freeze("directory.service")
    greeter = GatehallGreeter(desktop)
    _logs_ann_in(desktop, greeter)


def a_login_that_never_answers_is_left_by_escape(desktop):
    text = LIGHTDMS.read_text()
    desktop.write(LIGHTDMS, f"auth required pam_exec.so /bin/sleep infinity\n{text}")
    greeter = GatehallGreeter(desktop)
    greeter.choose("ann")
    greeter.until_shows("This takes longer than usual. Press Esc to go back.")
    greeter.press("Escape")
    greeter.until_shows("Ann", "Guest", without=("longer",))
    LIGHTDMS.write_text(text)
    _logs_ann_in(desktop, greeter)
