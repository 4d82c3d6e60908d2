"""Other display managers than LightDM, played by a stand-in on their bus names: which calls they get,
and what logind's sessions and the console make of it."""
from programs import SWITCH


def _brings_the_greeter(desktop, *words):
    result = desktop.switch(*words)
    assert result.log == [], result
    desktop.until_greeter()
    desktop.until_locked("ann")


def _goes_straight_to_the_running_session(desktop):
    bob = desktop.start_plain_session_of("bob", 8)
    result = desktop.switch("-switchToUserID", "1001")
    assert result.log == [], result
    assert desktop.until_in_front("bob").name == bob.name
    desktop.until_locked("ann")
    assert not any(s.kind == "greeter" for s in desktop.sessions()), desktop.describe()


def _greeters(desktop):
    return [s.name for s in desktop.sessions() if s.kind == "greeter"]


def _uses_its_greeter_again(desktop):
    _brings_the_greeter(desktop, "-suspend")
    greeters = _greeters(desktop)
    desktop.bring_to_front("ann")
    desktop.unlock("ann")
    _brings_the_greeter(desktop, "-switchToUserID", "1002")
    assert _greeters(desktop) == greeters and len(greeters) == 1, desktop.describe()


def sddm_suspend_brings_its_greeter(desktop):
    desktop.play_display_manager("sddm")
    _brings_the_greeter(desktop, "-suspend")


def sddm_a_user_with_a_password_gets_its_greeter(desktop):
    desktop.play_display_manager("sddm")
    _brings_the_greeter(desktop, "-switchToUserID", "1002")


def sddm_a_user_without_a_session_gets_its_greeter(desktop):
    desktop.play_display_manager("sddm")
    _brings_the_greeter(desktop, "-switchToUserID", "1001")


def sddm_a_running_session_of_a_user_without_a_password_comes_to_the_front(desktop):
    desktop.play_display_manager("sddm")
    _goes_straight_to_the_running_session(desktop)


def sddm_a_greeter_that_runs_is_used_again(desktop):
    desktop.play_display_manager("sddm")
    _uses_its_greeter_again(desktop)


def sddm_another_greeter_comes_where_the_caller_may_not_activate_the_one_that_runs(desktop):
    desktop.play_display_manager("sddm")
    _brings_the_greeter(desktop, "-suspend")
    desktop.bring_to_front("ann")
    desktop.unlock("ann")
    result = desktop.run_tool([SWITCH, "-suspend"], "ann")
    assert len(result.log) == 1 and "ActivateSessionOnSeat" in result.log[0], result
    desktop.until_greeter()
    assert len(_greeters(desktop)) == 2, desktop.describe()


def sddm_its_greeter_counts_and_not_its_answer(desktop):
    desktop.play_display_manager("sddm", "mute")
    _brings_the_greeter(desktop, "-suspend")


def gdm_its_greeter_counts_and_not_its_answer(desktop):
    desktop.play_display_manager("gdm", "mute")
    _brings_the_greeter(desktop, "-suspend")


def gdm_a_greeter_that_runs_is_used_again(desktop):
    desktop.play_display_manager("gdm")
    _uses_its_greeter_again(desktop)


def gdm_suspend_brings_its_greeter(desktop):
    desktop.play_display_manager("gdm")
    _brings_the_greeter(desktop, "-suspend")


def gdm_a_user_with_a_password_gets_its_greeter(desktop):
    desktop.play_display_manager("gdm")
    _brings_the_greeter(desktop, "-switchToUserID", "1002")


def gdm_a_user_without_a_session_gets_its_greeter(desktop):
    desktop.play_display_manager("gdm")
    _brings_the_greeter(desktop, "-switchToUserID", "1001")


def gdm_a_running_session_of_a_user_without_a_password_comes_to_the_front(desktop):
    desktop.play_display_manager("gdm")
    _goes_straight_to_the_running_session(desktop)


def none_at_all_leaves_the_session_in_front_and_says_so(desktop):
    desktop.play_display_manager(None)
    for words in (["-suspend"], ["-switchToUserID", "1001"], ["-switchToUserID", "1002"]):
        result = desktop.switch(*words)
        assert len(result.log) == 1 and "no display manager" in result.log[0], result
    assert desktop.has_in_front("ann"), desktop.describe()


def none_at_all_a_running_session_of_a_user_without_a_password_comes_to_the_front(desktop):
    desktop.play_display_manager(None)
    _goes_straight_to_the_running_session(desktop)


def none_at_all_a_caller_outside_of_the_session_is_refused_and_the_session_stays_unlocked(desktop):
    desktop.play_display_manager(None)
    desktop.start_plain_session_of("bob", 8)
    result = desktop.run_tool([SWITCH, "-switchToUserID", "1001"], "ann")
    assert len(result.log) == 2 and "ActivateSessionOnSeat" in result.log[0], result
    assert "no display manager" in result.log[1], result
    assert desktop.has_in_front("ann"), desktop.describe()
    desktop.until(lambda: not desktop.session_of("ann").is_locked, "ann's session unlocked")
