"""The console goes from one person to another."""
import os

from programs import SWITCH
from system import run

NOBODY_LOCKS = ("Nobody locks session {}: no screen locker listens, or none that says so (LockedHint); "
                "the session in front {}")
NOT_LEFT = "is not left for the desktop of bob, which asks for no password."


def to_a_user_without_a_password_starts_the_session_and_asks_nothing(desktop):
    result = desktop.switch("-switchToUserID", "1001")
    desktop.until_in_front("bob")
    assert result.log == [], result
    assert not any(s.kind == "greeter" for s in desktop.sessions()), desktop.describe()
    desktop.until_locked("ann")


def to_a_running_session_of_a_user_without_a_password_goes_straight_there(desktop):
    bob = desktop.start_session_of("bob")
    desktop.bring_to_front("ann")
    desktop.switch("-switchToUserID", "1001")
    front = desktop.until_in_front("bob")
    assert front.name == bob.name, desktop.describe()
    desktop.until_locked("ann")


def there_and_back_between_users_without_passwords_keeps_both_sessions_and_unlocks_them(desktop):
    ann = desktop.session_of("ann")
    with desktop.without_password("ann"):
        desktop.switch("-switchToUserID", "1001")
        bob = desktop.until_in_front("bob")
        desktop.switch("-switchToUserID", "1000", by="bob")
        assert desktop.until_in_front("ann").name == ann.name
        desktop.until_locked("bob")
        desktop.switch("-switchToUserID", "1001")
        assert desktop.until_in_front("bob").name == bob.name
        desktop.until(lambda: not desktop.session_of("bob").is_locked, "bob's session unlocked")
        desktop.until_locked("ann")
    assert sorted(s.user for s in desktop.sessions()) == ["ann", "bob"], desktop.describe()


def to_a_user_with_a_password_brings_a_greeter_with_the_user_selected(desktop):
    result = desktop.switch("-switchToUserID", "1002")
    desktop.until_greeter(selected="carol")
    assert result.log == [], result
    assert desktop.session_of("carol") is None, desktop.describe()
    desktop.until_locked("ann")


def to_a_running_session_of_a_user_with_a_password_still_brings_a_greeter(desktop):
    with desktop.without_password("carol"):
        carol = desktop.start_session_of("carol")
        desktop.bring_to_front("ann")
    desktop.switch("-switchToUserID", "1002")
    desktop.until_greeter(selected="carol")
    assert desktop.session_of("carol").name == carol.name
    assert not desktop.session_of("carol").is_active, desktop.describe()
    desktop.until_locked("ann")


def suspend_brings_the_greeter_and_locks_the_session(desktop):
    result = desktop.switch("-suspend")
    desktop.until_greeter()
    assert result.log == [], result
    desktop.until_locked("ann")


def a_greeter_that_runs_is_used_again_by_lightdm(desktop):
    desktop.switch("-suspend")
    desktop.until_greeter()
    greeter = desktop.in_front()
    desktop.bring_to_front("ann")
    desktop.switch("-suspend")
    desktop.until_greeter()
    assert desktop.in_front().name == greeter.name, desktop.describe()
    desktop.bring_to_front("ann")
    desktop.switch("-switchToUserID", "1002")
    desktop.until_greeter()
    assert [s.name for s in desktop.sessions() if s.kind == "greeter"] == [greeter.name], (
        desktop.describe())


def to_a_guest_starts_the_display_managers_guest_session(desktop):
    desktop.write("/etc/gatehall/directory.toml", '[local]\nguests = ["gus"]\n')
    with desktop.without_password("gus"):
        result = desktop.switch("-switchToUserID", "1004")
        desktop.until_in_front("gus")
    assert result.log == [], result
    assert desktop.guest_accounts_opened() == 1
    desktop.until_locked("ann")


def without_a_network_loginctl_shows_who_has_the_seat(desktop):
    assert os.listdir("/sys/class/net") == ["lo"]
    ann = desktop.session_of("ann")
    desktop.switch("-switchToUserID", "1001")
    bob = desktop.until_in_front("bob")
    desktop.until_locked("ann")

    def shown(session, *properties):
        text = run("loginctl", "show-session", session.name,
                   *(f"--property={name}" for name in properties))
        return dict(line.split("=", 1) for line in text.splitlines())

    assert shown(bob, "Name", "Seat", "Active", "State", "Class", "LockedHint") == {
        "Name": "bob", "Seat": "seat0", "Active": "yes", "State": "active", "Class": "user",
        "LockedHint": "no"}
    assert shown(ann, "Name", "Seat", "Active", "State", "LockedHint") == {
        "Name": "ann", "Seat": "seat0", "Active": "no", "State": "online", "LockedHint": "yes"}
    assert run("loginctl", "show-seat", "seat0", "--property=ActiveSession", "--value") == (
        f"{bob.name}\n")


def _stays_out_of_bobs_desktop(desktop):
    ann = desktop.session_of("ann")
    desktop.stop_locker("ann")
    result = desktop.switch("-switchToUserID", "1001")
    desktop.until_greeter()
    assert result.log == [NOBODY_LOCKS.format(ann.name, NOT_LEFT)], result
    assert not desktop.session_of("ann").is_locked
    assert "user bob" not in desktop.asked()[1:], desktop.asked()


def a_session_that_nobody_locks_is_left_for_the_greeter_instead_of_a_new_desktop(desktop):
    _stays_out_of_bobs_desktop(desktop)
    assert desktop.asked() == ["greeter"]
    assert desktop.session_of("bob") is None, desktop.describe()


def a_session_that_nobody_locks_is_left_for_the_greeter_instead_of_a_running_desktop(desktop):
    desktop.start_session_of("bob")
    desktop.bring_to_front("ann")
    desktop.unlock("ann")
    _stays_out_of_bobs_desktop(desktop)
    assert not desktop.session_of("bob").is_active, desktop.describe()


def a_session_that_nobody_locks_is_left_for_a_user_who_is_asked_for_the_password(desktop):
    desktop.stop_locker("ann")
    result = desktop.switch("-switchToUserID", "1002")
    desktop.until_greeter(selected="carol")
    assert result.log == [], result


def a_session_that_nobody_locks_is_left_for_a_desktop_where_the_configuration_says_so(desktop):
    ann = desktop.session_of("ann")
    desktop.write("/etc/gatehall/switch.toml", 'lock = "try"\n')
    desktop.stop_locker("ann")
    result = desktop.switch("-switchToUserID", "1001")
    desktop.until_in_front("bob")
    assert result.log == [NOBODY_LOCKS.format(
        ann.name, "is left unlocked, as /etc/gatehall/switch.toml says.")], result


def a_damaged_configuration_requires_the_lock_and_is_reported(desktop):
    desktop.write("/etc/gatehall/switch.toml", 'lock = "tyr"\n')
    desktop.stop_locker("ann")
    result = desktop.switch("-switchToUserID", "1001")
    desktop.until_greeter()
    assert result.log[0] == (
        '/etc/gatehall/switch.toml:1: lock is neither "require" nor "try"'), result
    assert len(result.log) == 2 and result.log[1].endswith(NOT_LEFT), result
    assert desktop.asked() == ["greeter"]


def a_caller_outside_of_the_session_is_left_to_the_display_manager(desktop):
    """Who may bring sessions to the front is up to polkit, which asks where the caller sits."""
    bob = desktop.start_session_of("bob")
    desktop.bring_to_front("ann")
    desktop.unlock("ann")
    result = desktop.run_tool([SWITCH, "-switchToUserID", "1001"], "ann")
    assert len(result.log) == 1 and "ActivateSessionOnSeat" in result.log[0], result
    assert desktop.until_in_front("bob").name == bob.name
    desktop.until_locked("ann")
