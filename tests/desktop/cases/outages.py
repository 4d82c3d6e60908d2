"""What the tool needs is down: it ends in time, says why, and ends with 0."""
from programs import SWITCH, run_as

# One operation takes five seconds at most. Without that limit of its own it waits 25 seconds for the
# first answer that does not come, or forever; what is between is for a busy machine.
LIMIT_SECONDS = 20


def _ann_on_a_terminal(desktop):
    """Ann owns the console without a display manager."""
    return desktop.bring_to_front("ann", desktop.start_plain_session_of("ann", 3, type="tty"))


def _says_why(result):
    assert result.seconds < LIMIT_SECONDS, result
    assert result.log and len(result.log) <= 3, result


WORDS = (["-suspend"], ["-switchToUserID", "1001"], ["-switchToUserID", "1002"])


def the_display_manager_is_stopped(desktop):
    text = _ann_on_a_terminal(desktop)
    desktop.stop_display_manager()
    for words in WORDS:
        result = desktop.run_tool([SWITCH, *words], "ann", text)
        _says_why(result)
        assert "no display manager" in result.log[-1], result
    assert desktop.in_front().name == text.name, desktop.describe()


def the_display_manager_does_not_answer(desktop):
    desktop.freeze("lightdm.service")
    for words in WORDS:
        _says_why(desktop.switch(*words))
    assert desktop.has_in_front("ann"), desktop.describe()


def the_display_manager_does_not_answer_but_a_session_runs(desktop):
    desktop.start_session_of("bob")
    desktop.bring_to_front("ann")
    desktop.freeze("lightdm.service")
    result = desktop.switch("-switchToUserID", "1001")
    assert result.log == [], result
    desktop.until_in_front("bob")


def the_journal_is_stopped(desktop):
    """There is nobody to tell; the switch happens all the same."""
    ann = desktop.session_of("ann")
    desktop.stop("systemd-journald.socket", "systemd-journald-dev-log.socket",
                 "systemd-journald-audit.socket", "systemd-journald.service")
    status, output, seconds = run_as([SWITCH, "-switchToUserID", "1001"], "ann", ann)
    assert (status, output) == (0, "") and seconds < LIMIT_SECONDS, (status, output, seconds)
    desktop.until_in_front("bob")


def logind_does_not_answer(desktop):
    ann = desktop.session_of("ann")
    desktop.freeze("systemd-logind.service")
    for words in WORDS[:2]:
        _says_why(desktop.run_tool([SWITCH, *words], "ann", ann))


def the_system_bus_does_not_answer(desktop):
    ann = desktop.session_of("ann")
    desktop.freeze("dbus.service")
    for words in WORDS:
        _says_why(desktop.run_tool([SWITCH, *words], "ann", ann))


def logind_is_stopped(desktop):
    ann = desktop.session_of("ann")
    desktop.stop("systemd-logind.service")
    for words in WORDS[:2]:
        _says_why(desktop.run_tool([SWITCH, *words], "ann", ann))


def the_system_bus_is_stopped(desktop):
    """Which takes LightDM and its sessions along: ann owns the console by a text login."""
    text = _ann_on_a_terminal(desktop)
    desktop.stop("dbus.socket", "dbus.service")
    for words in WORDS:
        _says_why(desktop.run_tool([SWITCH, *words], "ann", text))
