"""Switching the computer off where others may be logged in."""
from world import user, world_of

ANN = user("ann", 1000)
LOST = "What they have open is lost by a restart or shutdown."
NOBODY_KNOWS = "It isn't known who is logged in."


def _open(stage):
    stage.click("Power", role="push button")
    stage.until_shows("Shut down")


def nobody_is_warned_where_nobody_is_logged_in(stage):
    stage.begin(world_of(ANN))
    stage.until_shows("Ann")
    stage.until(lambda: stage.machine.has_told_sessions, "logind to be asked")
    _open(stage)
    stage.until_gone(NOBODY_KNOWS)
    stage.click("Shut down", role="push button")
    stage.until(lambda: ("PowerOff",) in stage.machine.asked, "logind to be asked")


def whoever_logs_in_meanwhile_is_warned_about(stage):
    stage.begin(world_of(ANN))
    stage.until_shows("Ann")
    _open(stage)
    stage.until_gone(NOBODY_KNOWS)
    stage.machine.log_in(1000)
    stage.until_shows("Ann\u2069. " + LOST)
    # Who isn't in the list may be logged in, too, over ssh for instance.
    stage.machine.log_in(4711)
    stage.until_shows("Ann\u2069, somebody else. " + LOST)
    stage.click("Restart", role="push button")
    stage.until_shows("Restart while others are logged in?")
    assert not stage.machine.asked, stage.machine.asked


def whoever_is_logged_in_is_warned_about_without_a_list(stage):
    stage.begin(world_of(ANN, sessions={"list": [{"id": 1, "userID": 1000, "userName": "ann",
                                                  "loginDone": True}]}), has_service=False)
    stage.until_focused("User name")
    _open(stage)
    stage.until_shows("Others are logged in. " + LOST)
    stage.click("Shut down", role="push button")
    stage.until_shows("Shut down while others are logged in?")


def no_name_is_said_where_users_are_hidden(stage):
    stage.begin(hints={"hide-users": "true"})
    stage.until_focused("User name")
    _open(stage)
    stage.until_shows("Others are logged in. " + LOST)
    assert not stage.find("Ann"), stage.describe()


def where_it_is_not_known_who_is_logged_in_that_is_said(stage):
    stage.begin(world_of(ANN))
    stage.until_shows("Ann")
    stage.machine.tells_sessions = False
    _open(stage)
    stage.until_shows(NOBODY_KNOWS)
    stage.click("Shut down", role="push button")
    stage.until_shows("Others may be logged in. Go on?")
    stage.machine.tells_sessions = True
    stage.machine.log_in(1000)
    stage.until_shows("Shut down while others are logged in?")
    stage.click("Shut down", role="push button")
    stage.until(lambda: ("PowerOff",) in stage.machine.asked, "logind to be asked")


def news_takes_the_keys_from_no_button(stage):
    stage.begin(world_of(ANN), power={"Hibernate": "na"})
    stage.until_shows("Ann")
    _open(stage)
    stage.until_focused("Suspend", "push button")
    stage.screen.press("Tab")
    stage.until_focused("Restart", "push button")
    stage.machine.log_in(1000)
    stage.until_shows(LOST)
    assert stage.focused().name == "Restart", stage.describe()
