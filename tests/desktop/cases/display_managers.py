"""Other display managers than LightDM, played by a stand-in on their bus names: which calls they get,
and what logind's sessions and the console make of it."""


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
