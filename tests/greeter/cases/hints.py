"""What LightDM wants of its login screen."""
from conversations import code_alone, nothing, password

CAROL = {"carol": password("paper Crane 3")}


def who_shall_be_selected_is_asked_for_the_password(stage):
    stage.begin(hints={"select-user": "carol"}, people=CAROL)
    stage.answer("paper Crane 3")
    stage.until_heard("session", "")


def who_is_selected_and_asked_for_nothing_says_so(stage):
    """A screen that only came to the front lets nobody in by itself."""
    stage.begin(hints={"select-user": "bob"}, people={"bob": nothing()})
    stage.until_focused("Log in", "push button")
    assert not stage.lightdm.has_heard("session", ""), stage.lightdm.said
    stage.screen.press("Return")
    stage.until_heard("session", "")


def a_lock_asks_whose_session_it_covers(stage):
    stage.begin(hints={"lock-screen": "true", "select-user": "ann"}, people={"ann": password("Kettle 9")})
    stage.until_shows("Return to session", role="push button")
    stage.answer("Kettle 9")
    stage.until_heard("session", "")


def where_users_are_hidden_names_are_typed(stage):
    stage.begin(hints={"hide-users": "true"}, people=CAROL)
    stage.answer("carol", "User name")
    stage.answer("paper Crane 3")
    stage.until_heard("session", "")


def where_users_are_hidden_nobody_is_shown(stage):
    stage.begin(hints={"hide-users": "true"})
    stage.until_focused("User name")
    assert not stage.find("Ann Lee"), stage.describe()


def an_automatic_login_comes(stage):
    stage.begin(hints={"autologin-user": "bob", "autologin-timeout": "3"}, people={"bob": nothing()})
    stage.until_heard("authenticate", "bob")
    stage.until_heard("session", "")


def an_automatic_login_counts_down_and_any_key_stops_it(stage):
    stage.begin(hints={"autologin-user": "bob", "autologin-timeout": "600"}, people={"bob": nothing()})
    stage.until_shows("Automatic login: \u2068Bob Ray\u2069", "Seconds left: 5")
    stage.screen.press("Shift_L")
    stage.until_gone("Seconds left: ")


def a_reset_begins_anew_with_other_hints(stage):
    stage.begin(people={**CAROL, "ann": password("Kettle 9")})
    assert stage.until(lambda: stage.lightdm.said, "LightDM to be told something")[0][2], \
        "the greeter can't be reset"
    stage.choose("carol")
    stage.until_focused("Password")
    stage.screen.type("paper")
    stage.until_typed("paper")
    stage.lightdm.reset(**{"lock-screen": "true", "select-user": "ann"})
    stage.until_shows("Ann Lee")
    stage.until_typed("")
    stage.answer("Kettle 9")
    stage.until_heard("authenticate", "ann")
    stage.until_heard("session", "")


def a_reset_leaves_nothing_that_was_typed_or_open(stage):
    stage.begin(hints={"show-manual-login": "true"})
    stage.until(lambda: stage.lightdm.said, "LightDM to be told something")
    stage.search("carol")
    stage.click("Another user", role="push button")
    stage.until_focused("User name")
    stage.screen.type("paper")
    stage.until_typed("paper")
    stage.click("Power", role="push button")
    stage.until_shows("Shut down")
    stage.lightdm.reset(**{"show-manual-login": "true"})
    stage.until_gone("Shut down")
    stage.until_focused("Find a name")
    stage.until_typed("")
    stage.click("Another user", role="push button")
    stage.until_focused("User name")
    stage.until_typed("")


def what_was_cleared_is_not_brought_back(stage):
    stage.begin(hints={"show-manual-login": "true"}, people={"carol": code_alone("493 112")})
    stage.choose("carol")
    stage.until_focused("One-time code")
    stage.screen.type("49")
    stage.until(lambda: stage.typed() == "49", "the code, readable")
    stage.screen.press("Return")
    stage.until_shows("That is wrong")
    stage.until_focused("One-time code")
    stage.screen.press("ctrl+z")
    stage.screen.type("x")
    stage.until(lambda: stage.typed() == "x", "nothing but what is typed now")
    stage.screen.press("Escape")
    stage.until_selected("Carol")
    stage.screen.press("Escape", "ctrl+z")
    stage.screen.type("e")
    stage.until_typed("e")
    stage.click("Another user", role="push button")
    stage.until_focused("User name")
    stage.screen.type("paper")
    stage.until_typed("paper")
    stage.screen.press("Escape")
    stage.click("Another user", role="push button")
    stage.until_focused("User name")
    stage.until_typed("")
    stage.screen.press("ctrl+z")
    stage.screen.type("x")
    stage.until_typed("x")
