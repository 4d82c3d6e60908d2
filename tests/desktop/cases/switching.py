"""The console goes from one person to another."""
import os

from system import run


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
