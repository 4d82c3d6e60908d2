"""Who may switch: whoever owns the console, and root."""
from programs import SWITCH

NOT_THE_OWNER = "Unable to Fast User Switch: User must be the current console user or root."


def _is_refused_and_changes_nothing(desktop, result, asked=()):
    assert result.log == [NOT_THE_OWNER], result
    assert desktop.asked() == list(asked)
    assert desktop.has_in_front("ann"), desktop.describe()
    assert not desktop.session_of("ann").is_locked
    assert [s for s in desktop.sessions() if s.kind == "greeter"] == []


def bob_by_su_in_anns_session_is_refused(desktop):
    result = desktop.run_tool(["su", "bob", "--command", f"{SWITCH} -suspend"], "ann",
                              desktop.session_of("ann"))
    _is_refused_and_changes_nothing(desktop, result)


def bob_in_a_text_login_that_is_not_in_front_is_refused(desktop):
    text = desktop.start_plain_session_of("bob", 3, type="tty")
    result = desktop.run_tool([SWITCH, "-switchToUserID", "1001"], "bob", text)
    _is_refused_and_changes_nothing(desktop, result)


def bob_in_a_graphical_session_behind_anns_is_refused(desktop):
    desktop.start_session_of("bob")
    desktop.bring_to_front("ann")
    desktop.unlock("ann")
    result = desktop.switch("-suspend", by="bob")
    _is_refused_and_changes_nothing(desktop, result, asked=["user bob"])


def bob_outside_of_any_session_is_refused(desktop):
    result = desktop.run_tool([SWITCH, "-switchToUserID", "1000"], "bob")
    _is_refused_and_changes_nothing(desktop, result)


def ann_while_a_greeter_is_in_front_is_refused(desktop):
    desktop.ask_display_manager("SwitchToGreeter")
    desktop.until_greeter()
    result = desktop.switch("-switchToUserID", "1001")
    assert result.log == [NOT_THE_OWNER], result
    assert desktop.asked() == ["greeter"]
    assert desktop.has_greeter_in_front(), desktop.describe()


def bob_in_a_text_login_in_front_may_switch(desktop):
    text = desktop.start_plain_session_of("bob", 3, type="tty")
    desktop.bring_to_front("bob", text)
    result = desktop.run_tool([SWITCH, "-switchToUserID", "1002"], "bob", text)
    assert result.log == [], result
    desktop.until_greeter(selected="carol")


def root_may_switch_to_a_user_without_a_password(desktop):
    result = desktop.switch("-switchToUserID", "1001", by="root")
    assert result.log == ["User is root user."], result
    desktop.until_in_front("bob")
    desktop.until_locked("ann")


def root_may_switch_to_a_running_session(desktop):
    bob = desktop.start_session_of("bob")
    desktop.bring_to_front("ann")
    result = desktop.switch("-switchToUserID", "1001", by="root")
    assert result.log == ["User is root user."], result
    assert desktop.until_in_front("bob").name == bob.name


def root_may_suspend(desktop):
    result = desktop.switch("-suspend", by="root")
    assert result.log == ["User is root user."], result
    desktop.until_greeter()
    desktop.until_locked("ann")
