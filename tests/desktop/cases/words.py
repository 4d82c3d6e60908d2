"""The words on the command line, and what they do to the console."""


def _changes_nothing(desktop, *words):
    result = desktop.switch(*words)
    assert result.log == [], result
    assert desktop.asked() == []
    assert [s.user for s in desktop.sessions()] == ["ann"], desktop.describe()
    assert desktop.has_in_front("ann") and not desktop.session_of("ann").is_locked


def none_change_nothing(desktop):
    _changes_nothing(desktop)


def unknown_ones_change_nothing(desktop):
    _changes_nothing(desktop, "suspend", "-suspen", "--help", "1001", "-switchToUserI", "1001")


def an_id_that_nobody_has_changes_nothing(desktop):
    _changes_nothing(desktop, "-switchToUserID", "4242")


def a_missing_id_changes_nothing(desktop):
    _changes_nothing(desktop, "-switchToUserID")


def a_system_account_is_refused(desktop):
    _changes_nothing(desktop, "-switchToUserID", "1")


def an_id_that_nobody_has_does_not_stop_the_next(desktop):
    result = desktop.switch("-switchToUserID", "4242", "-switchToUserID", "1001")
    assert result.log == [], result
    desktop.until_in_front("bob")


def several_running_sessions_come_to_the_front_in_turn(desktop):
    """Root may go on from a session that is not its own."""
    desktop.start_session_of("bob")
    with desktop.without_password("carol"):
        desktop.start_session_of("carol")
        desktop.bring_to_front("ann")
        result = desktop.switch("-switchToUserID", "1001", "-switchToUserID", "1002", by="root")
        assert result.log == ["User is root user."], result
        desktop.until_in_front("carol")
    desktop.until_locked("ann")
    desktop.until_locked("bob")


def suspend_after_a_switch_ends_at_the_greeter(desktop):
    desktop.start_session_of("bob")
    desktop.bring_to_front("ann")
    desktop.switch("-switchToUserID", "1001", "-suspend")
    desktop.until_greeter()
    desktop.until_locked("ann")


def suspend_ends_them(desktop):
    desktop.switch("-suspended", "-switchToUserID", "1001")
    desktop.until_greeter()
    desktop.until_locked("ann")
    assert desktop.session_of("bob") is None, desktop.describe()


def several_ids_by_ann_are_asked_for_in_turn(desktop):
    """Ann owned the console when she began. LightDM takes its time with each."""
    result = desktop.switch("-switchToUserID", "1002", "-switchToUserID", "1001")
    assert result.log == [], result
    users = [each for each in desktop.asked() if each != "greeter"]
    assert users == ["user carol", "user bob"], desktop.asked()
    desktop.until_in_front("bob")
    desktop.until_locked("ann")


def several_running_sessions_end_at_the_greeter_for_ann(desktop):
    """Once ann's session is not in front any more, she may not have bob's locked, and it is left for
    no desktop."""
    desktop.start_session_of("bob")
    desktop.start_session_of("erin")
    desktop.bring_to_front("ann")
    for user in ("ann", "bob"):
        desktop.unlock(user)
    result = desktop.switch("-switchToUserID", "1001", "-switchToUserID", "1003")
    assert len(result.log) == 1 and "LockSession" in result.log[0], result
    assert desktop.asked()[-1] == "greeter", desktop.asked()
    desktop.until_greeter()
    desktop.until_locked("ann")


def an_id_that_is_refused_does_not_stop_the_next(desktop):
    desktop.add_group("gatehall-access", "bob")
    result = desktop.switch("-switchToUserID", "1002", "-switchToUserID", "1001")
    assert result.log == [], result
    assert desktop.asked() == ["user bob"], desktop.asked()
    desktop.until_in_front("bob")
