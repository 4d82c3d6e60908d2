"""What doesn't answer, or is gone: people go on as far as they can, and are told why they can't."""
from conversations import death_after_password, password, silence, silence_after_password

LONG = "This takes longer than usual. Press Esc to go back."
GONE = "Nobody can log in here now"
CAROL = {"carol": password("paper Crane 3")}


def a_service_that_restarts_leaves_the_list_as_it_is(stage):
    stage.begin(people=CAROL)
    stage.until_shows("Ann Lee")
    stage.world.leave()
    stage.until_shows("The list may be out of date")
    assert stage.find("Ann Lee"), stage.describe()
    stage.world.come()
    stage.until_gone("The list may be out of date")
    stage.world.add(RecordName="aaron", UniqueID=1600, FullName="Aaron Abel",
                    GUID="57A6E000-0000-4000-8000-000000001600")
    stage.until_shows("Aaron Abel")


def without_a_service_name_and_password_are_typed_and_the_list_comes_later(stage):
    stage.begin(people=CAROL, has_service=False)
    stage.until_shows("The list of users can't be shown")
    stage.answer("carol", "User name")
    stage.answer("wrong")
    stage.until_shows("The name or the password is wrong.")
    stage.screen.press("Escape")
    stage.until_focused("User name")
    stage.world.come()
    stage.until_shows("Ann Lee")
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_heard("session", "")


def a_list_that_comes_leaves_a_name_alone_that_is_typed(stage):
    stage.begin(people=CAROL, has_service=False)
    stage.until_focused("User name")
    stage.screen.type("car")
    stage.until_typed("car")
    stage.world.come()
    stage.until_gone("The list of users can't be shown")
    stage.until_typed("car")
    stage.screen.type("ol")
    stage.screen.press("Return")
    stage.answer("paper Crane 3")
    stage.until_heard("authenticate", "carol")


def a_service_that_is_stopped_keeps_nobody_from_logging_in(stage):
    stage.begin(people=CAROL)
    stage.until_shows("Ann Lee")
    stage.world.stop()
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_heard("session", "")
    stage.world.go_on()


def who_may_log_in_needs_no_answer_before_the_list_is_there(stage):
    stage.begin(has_service=False, people=CAROL)
    stage.world.be_mute()
    stage.world.come()
    stage.until_shows("Ann Lee, ann, in front")
    stage.choose("carol")
    stage.until_focused("Password")
    stage.world.speak()


def a_machine_that_never_answers_is_told_and_left_by_escape(stage):
    stage.begin(people={"carol": silence})
    stage.choose("carol")
    stage.until_shows(LONG)
    stage.screen.press("Escape")
    stage.until_selected("Carol")
    stage.until_heard("cancel")


def a_password_that_is_never_answered_is_left_by_escape(stage):
    stage.begin(people={"carol": silence_after_password, "bob": password("x")})
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_shows(LONG)
    stage.screen.press("Escape")
    stage.until_selected("Carol")
    stage.screen.press("ctrl+a", "BackSpace")
    stage.choose("bob", "Bob")
    stage.answer("x")
    stage.until_heard("session", "")


def a_session_that_never_begins_is_left_by_the_button(stage):
    stage.begin(people=CAROL)
    stage.lightdm.session_result = None
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_shows("Starting the session takes longer than usual")
    stage.click("Back", "push button")
    stage.until_selected("Carol")
    stage.until_focused("Find a name")


def a_session_that_never_begins_is_left_by_escape(stage):
    stage.begin(people=CAROL)
    stage.lightdm.session_result = None
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_shows("Starting the session takes longer than usual")
    stage.screen.press("Escape")
    stage.until_selected("Carol")


def a_display_manager_that_is_gone_is_told(stage):
    stage.begin(people={"carol": death_after_password})
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_shows(GONE)


def a_display_manager_that_goes_while_nobody_logs_in_is_told(stage):
    stage.begin()
    stage.until_shows("Ann Lee")
    stage.lightdm.go()
    stage.until_shows(GONE)
