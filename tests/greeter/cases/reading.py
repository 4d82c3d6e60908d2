"""For those who don't see the screen, and for those who have no pointer: every control has a name, and
the keys reach all of them."""
from conversations import ERROR, INFORMATION, nothing, password

ALL_HINTS = {"has-guest-account": "true", "show-manual-login": "true"}
CAROL = {"carol": password("paper Crane 3")}


def _has_names(stage):
    nameless = [f"{thing} {thing.path}" for thing in stage.things()
                if thing.is_control and stage.is_on_screen(thing)
                and (not thing.name.strip() or thing.name.startswith("Gtk"))]
    assert not nameless, f"without a name: {nameless}; {stage.describe()}"


def _reach(stage, key):
    """What the keys go to on the way once around, by that key."""
    reached = [stage.until(stage.focused, "the keys to go somewhere")]
    while True:
        before = reached[-1].path
        stage.screen.press(key)
        now = stage.until(lambda: (thing := stage.focused()) and thing.path != before and thing,
                          f"{key} to lead on from {reached[-1]}")
        if now.path in [thing.path for thing in reached]:
            return reached
        reached.append(now)


def every_control_of_the_list_has_a_name(stage):
    stage.begin(hints=ALL_HINTS)
    stage.until_shows("Ann Lee", "Another user", "Guest")
    _has_names(stage)


def every_control_of_a_login_has_a_name(stage):
    stage.begin(hints=ALL_HINTS, people=CAROL)
    stage.choose("carol")
    stage.until_focused("Password")
    _has_names(stage)


def every_control_where_a_name_is_typed_has_a_name(stage):
    stage.begin(hints=ALL_HINTS)
    stage.click("Another user", role="push button")
    stage.until_focused("User name")
    _has_names(stage)


def every_control_of_the_panels_has_a_name(stage):
    stage.begin(people=CAROL)
    for button in ("Power", "Easier to read"):
        stage.click(button)
        stage.until(lambda: stage.focused() and button not in stage.focused().name, "the panel")
        _has_names(stage)
        stage.screen.press("Escape")
        stage.until_shows("Ann Lee")


def a_message_is_the_description_of_what_is_asked(stage):
    """So it is read, when the keys go there."""
    stage.begin(people={"carol": password("paper Crane 3", (ERROR, "Not today."), result=6)})
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_shows("Not today.")
    button = stage.until_focused("Back")
    assert "Not today." in button.description, button


def the_keys_reach_every_control_of_the_list(stage):
    stage.begin(hints=ALL_HINTS)
    stage.until_shows("Ann Lee", "Guest", "Power")
    stage.until_selected("Ann")
    names = [thing.name for thing in _reach(stage, "Tab")]
    for name in ("Another user…", "Guest", "Easier to read", "Power"):
        assert name in names, f"{name} isn't among {names}"
    back = [thing.name for thing in _reach(stage, "shift+Tab")]
    assert sorted(back) == sorted(names), f"{back} on the way back, {names} on the way there"


def the_keys_reach_every_control_of_a_login(stage):
    stage.begin(people=CAROL)
    stage.choose("carol")
    stage.until_focused("Password")
    stage.until_shows("Power")
    names = [thing.name for thing in _reach(stage, "Tab")]
    for name in ("Password", "Back", "Log in", "Session: Plain", "Easier to read", "Power"):
        assert name in names, f"{name} isn't among {names}"


def the_computer_is_switched_off_by_keys(stage):
    stage.begin()
    stage.until_shows("Power")
    stage.until_selected("Ann")
    while stage.until(stage.focused, "the keys to go somewhere").name != "Power":
        before = stage.focused().path
        stage.screen.press("Tab")
        stage.until(lambda: stage.focused() and stage.focused().path != before, "Tab to lead on")
    stage.screen.press("Return")
    stage.until_shows("Shut down", "Restart", "Suspend", "Hibernate")
    stage.click("Shut down")
    stage.until_shows("Shut down while others are logged in?")
    assert not stage.machine.asked, stage.machine.asked
    stage.until_shows("Ann Lee")
    stage.click("Shut down", role="push button")
    stage.until(lambda: ("PowerOff",) in stage.machine.asked, "logind to be asked")


def only_what_logind_allows_is_offered(stage):
    stage.begin(power={"Hibernate": "na", "PowerOff": "challenge"})
    stage.click("Power")
    stage.until_shows("Restart", "Suspend")
    assert not stage.find("Hibernate") and not stage.find("Shut down"), stage.describe()


def without_others_the_computer_restarts_at_once(stage):
    from world import user, world_of
    stage.begin(world_of(user("ann", 1000)))
    stage.click("Power")
    stage.click("Restart")
    stage.until(lambda: ("Reboot",) in stage.machine.asked, "logind to be asked")


def nothing_is_asked_for_that_was_said(stage):
    stage.begin(people={"bob": nothing((INFORMATION, "Hello."))})
    stage.choose("bob")
    stage.until_focused("Log in")
    _has_names(stage)
