"""Logging in: what PAM asks, what it says, and what becomes of it."""
import re
import signal
from pathlib import Path

from conversations import (ERROR, INFORMATION, PERM_DENIED, SUCCESS, code_alone, expired_password, nothing,
                           password, password_and_code, silence, two_at_once)
from processes import PATIENCE

WRONG = "That is wrong. Please try again."
REFUSAL = "You may not log in on this computer: your account is excluded."
ANN = {"ann": password("Kettle 9")}
CAROL = {"carol": password("paper Crane 3")}


def the_right_password_begins_the_session(stage):
    stage.begin(people=CAROL)
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_heard("session", "")
    assert stage.lightdm.said[1:] == [("authenticate", "carol"), ("answer", "paper Crane 3"),
                                      ("session", "")], stage.lightdm.said


def a_wrong_password_is_told_and_the_next_may_be_right(stage):
    stage.begin(people=CAROL)
    stage.choose("carol")
    stage.answer("plain crane 3")
    stage.until_shows(WRONG)
    stage.until_typed("")
    stage.answer("paper Crane 3")
    stage.until_heard("session", "")


def the_hint_comes_with_the_third_failure(stage):
    stage.begin(people=CAROL, accounts={"carol": {"PasswordHint": "What I fold"}})
    stage.choose("carol")
    for attempt in range(3):
        assert not stage.find("What I fold"), f"it is told after {attempt} failures"
        stage.answer(f"wrong {attempt}")
        stage.until_heard("answer", f"wrong {attempt}")
        stage.until_typed("")
        stage.until_shows(WRONG)
    stage.until_shows("Password hint: What I fold")


def an_empty_password_is_not_asked_for(stage):
    stage.begin(people={"bob": nothing()})
    stage.choose("bob")
    stage.until_heard("session", "")
    assert not any(said[0] == "answer" for said in stage.lightdm.said), stage.lightdm.said


def what_was_said_without_a_question_is_read_before_the_session_begins(stage):
    stage.begin(people={"bob": nothing((INFORMATION, "The library closes at eight."))})
    stage.choose("bob")
    stage.until_shows("The library closes at eight.")
    stage.until_focused("Log in")
    assert not stage.lightdm.has_heard("session", ""), stage.lightdm.said
    stage.screen.press("Return")
    stage.until_heard("session", "")


def a_second_enter_passes_nothing_unread(stage):
    stage.begin(people={"carol": password("paper Crane 3", (ERROR, REFUSAL), result=PERM_DENIED)})
    stage.choose("carol")
    stage.until_focused("Password")
    stage.screen.type("paper Crane 3")
    stage.until_typed("paper Crane 3")
    stage.screen.press(*["Return"] * 12)
    stage.until_focused("Back")
    assert stage.find(REFUSAL), stage.describe()


def an_expired_password_is_changed_in_place(stage):
    kept = []
    stage.begin(people={"carol": expired_password("paper Crane 3", kept)})
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_shows("You are required to change your password immediately")
    stage.answer("paper Crane 3", "Current password")
    stage.answer("Quince 7", "New password")
    stage.answer("Quinze 7", "Retype new password")
    stage.until_shows("Sorry, passwords do not match.")
    stage.answer("Quince 74", "New password")
    stage.answer("Quince 74", "Retype new password")
    stage.until_heard("session", "")
    assert kept == ["Quince 74"], kept


def a_one_time_code_is_seen_while_it_is_typed(stage):
    stage.begin(people={"carol": password_and_code("paper Crane 3", "493 112")})
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_focused("One-time code")
    stage.screen.type("493 112")
    stage.until(lambda: stage.typed() == "493 112", "the code, readable")
    stage.screen.press("Return")
    stage.until_heard("session", "")


def what_was_typed_for_one_is_not_shown_to_another(stage):
    stage.begin(people={"carol": code_alone("493 112"), "ann": silence})
    stage.choose("carol")
    stage.until_focused("One-time code")
    stage.screen.type("49")
    stage.until(lambda: stage.typed() == "49", "the code, readable")
    stage.screen.press("Escape")
    stage.until_selected("Carol")
    stage.screen.press("Escape")
    stage.until_typed("")
    stage.choose("ann", "Ann Lee")
    stage.until_heard("authenticate", "ann")
    stage.until_shows("Ann Lee", "One moment")
    stage.until_gone("Carol")
    assert not stage.find("One-time code"), stage.describe()


def two_questions_asked_in_one_go_are_answered_in_one_go(stage):
    stage.begin(people={"carol": two_at_once("one", "two")})
    stage.choose("carol")
    stage.until_shows("Two things are asked.")
    stage.answer("one", "First")
    stage.answer("two", "Second")
    stage.until_heard("answer", "one", "two")
    stage.until_heard("session", "")


def a_refusal_is_told_in_its_sentence(stage):
    stage.begin(people={"carol": password("paper Crane 3", (ERROR, REFUSAL), result=PERM_DENIED)})
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_shows(REFUSAL)
    stage.until_focused("Back")
    stage.screen.press("Return")
    stage.until_selected("Carol")
    assert not stage.lightdm.has_heard("session", ""), stage.lightdm.said


def who_is_refused_is_told_before_anything_is_asked(stage):
    stage.begin(world="lab")
    stage.choose("finn", "Finn Moore")
    stage.until_focused("Back", "push button")
    stage.until_shows("your account is excluded")
    assert stage.lightdm.said[1:] == [], stage.lightdm.said
    stage.screen.press("Escape")
    stage.until_selected("Finn Moore")


def outside_of_their_hours_people_are_told_and_pam_decides(stage):
    stage.begin(people={"mina": password("Lotus 4")})
    stage.choose("मीना", "मीना")
    stage.until_focused("Password")
    stage.until_shows("not before 09:00 tomorrow")
    stage.answer("Lotus 4")
    stage.until_heard("session", "")


def a_session_that_runs_is_returned_to(stage):
    stage.begin(people={"erin": password("Fjord 12")})
    stage.choose("erin")
    stage.until_shows("Return to session", role="push button")
    assert not stage.find("Session: "), stage.describe()
    stage.answer("Fjord 12")
    stage.until_heard("session", "")


def the_session_that_was_chosen_is_begun(stage):
    stage.begin(people=CAROL)
    stage.choose("carol")
    stage.until_focused("Password")
    stage.click("Session: Plain")
    stage.click("Wide", role="list item|radio button|push button|toggle button")
    stage.until_shows("Session: Wide")
    stage.answer("paper Crane 3")
    stage.until_heard("session", "wide")


def whoever_leaves_the_sessions_is_where_they_came_from(stage):
    stage.begin(people=CAROL)
    stage.choose("carol")
    stage.until_focused("Password")
    stage.screen.press("Tab", "Tab", "Tab")
    stage.until_focused("Session: Plain")
    stage.screen.press("Return")
    stage.until_focused("Plain", "list item")
    stage.screen.press("Escape")
    stage.until_focused("Session: Plain")
    stage.screen.press("Escape")
    stage.until_selected("Carol")


def the_kind_of_session_that_was_begun_last_is_offered(stage):
    stage.begin(people=CAROL, accounts={"carol": {"XSession": "wide", "Session": "wide"}})
    stage.choose("carol")
    stage.until_shows("Session: Wide")


def the_guest_comes_in_unasked(stage):
    stage.begin(hints={"has-guest-account": "true"}, people={None: nothing()})
    stage.click("Guest", role="push button")
    stage.until_heard("guest")
    stage.until_heard("session", "")


def there_is_no_guest_where_lightdm_has_none(stage):
    stage.begin()
    stage.until_shows("Ann Lee")
    assert not stage.find("Guest"), stage.describe()


def another_user_types_the_name(stage):
    stage.begin(hints={"show-manual-login": "true"}, people={"zoe": password("Heron 5")})
    stage.click("Another user", role="push button")
    stage.answer("zoe", "User name")
    stage.answer("Heron 5")
    stage.until_heard("session", "")
    assert stage.lightdm.has_heard("authenticate", "zoe"), stage.lightdm.said


def a_name_of_several_lines_is_the_first(stage):
    stage.begin(hints={"show-manual-login": "true"}, people={"zoe": password("Heron 5")})
    stage.click("Another user", role="push button")
    stage.readable.set_text(stage.until_focused("User name"), "zoe\nand more")
    stage.screen.press("Return")
    stage.answer("Heron 5")
    stage.until_heard("authenticate", "zoe")
    stage.until_heard("session", "")


def a_name_that_was_typed_and_a_wrong_password_are_not_told_apart(stage):
    stage.begin(hints={"show-manual-login": "true"})
    stage.click("Another user", role="push button")
    stage.answer("nobody", "User name")
    stage.answer("Heron 5")
    stage.until_shows("The name or the password is wrong. Please try again.")


def escape_leads_back_to_the_list_with_search_and_selection(stage):
    stage.begin(people=CAROL)
    stage.choose("carol")
    stage.until_focused("Password")
    stage.screen.type("paper")
    stage.until_typed("paper")
    stage.screen.press("Escape")
    stage.until_selected("Carol")
    stage.until_heard("cancel")
    stage.until_typed("carol")
    stage.screen.press("Return")
    stage.until_focused("Password")
    stage.until_typed("")


def no_screen_reader_is_told_a_password(stage):
    stage.begin(people=CAROL)
    stage.choose("carol")
    stage.until_focused("Password")
    stage.readable.texts.clear()
    stage.screen.type("paper")
    stage.until_typed("paper")
    told = [stage.readable.text(thing) for thing in stage.things() if "Text" in thing.interfaces]
    assert not any("pap" in text for text in told), told
    assert not set("".join(stage.readable.texts)) & set("paper"), stage.readable.texts


def a_password_is_mended_while_it_is_typed(stage):
    stage.begin(people={"carol": password("пароль Ж")})
    stage.choose("carol")
    entry = stage.until_focused("Password")
    stage.readable.set_text(entry, "xпаOроль Ж!")
    stage.until_typed("xпаOроль Ж!")
    stage.screen.press("Home", "Delete", "Right", "Right", "Delete", "End", "BackSpace")
    stage.until_typed("пароль Ж")
    stage.screen.press("Return")
    stage.until_heard("answer", "пароль Ж")


def a_password_has_the_length_that_pam_takes(stage):
    stage.begin(people=CAROL)
    stage.choose("carol")
    entry = stage.until_focused("Password")
    stage.readable.set_text(entry, "Ж" * 300)
    stage.until_typed("Ж" * 255)
    stage.screen.press("End")
    stage.screen.type("z!")
    stage.until_typed("Ж" * 255 + "z")
    stage.screen.press("Return")
    stage.until_heard("answer", "Ж" * 255 + "z")


def a_code_has_the_length_that_pam_takes(stage):
    stage.begin(people={"carol": code_alone("493 112")})
    stage.choose("carol")
    entry = stage.until_focused("One-time code")
    stage.readable.set_text(entry, "Ж" * 300)
    stage.until(lambda: stage.typed() == "Ж" * 255, "as much of it as PAM takes")
    stage.screen.press("End")
    stage.screen.type("z!")
    stage.until(lambda: stage.typed() == "Ж" * 255 + "z", "what there is room for")
    stage.screen.press("Return")
    stage.until_heard("answer", "Ж" * 255 + "z")


def a_change_of_the_list_leaves_a_typed_password_alone(stage):
    stage.begin(people=CAROL)
    stage.choose("carol")
    stage.until_focused("Password")
    stage.screen.type("paper Cr")
    stage.until_typed("paper Cr")
    stage.world.add(RecordName="aaron", UniqueID=1600, FullName="Aaron Abel",
                    GUID="57A6E000-0000-4000-8000-000000001600")
    stage.world.happen(openSession={"id": 9, "userID": 1002, "userName": "carol", "loginDone": True})
    stage.until_shows("Return to session", role="push button")
    stage.until_focused("Password")
    stage.until_typed("paper Cr")
    stage.screen.type("ane 3")
    stage.until_typed("paper Crane 3")
    stage.screen.press("Return")
    stage.until_heard("answer", "paper Crane 3")
    stage.until_heard("session", "")


def another_monitor_has_what_is_typed_and_the_keys(stage):
    stage.begin(people=CAROL)
    stage.choose("carol")
    stage.until_focused("Password")
    stage.screen.type("paper")
    stage.until_typed("paper")
    stage.screen.resize(800, 600)
    stage.until(lambda: stage.things() and stage.readable.place(stage.things()[0])[2:] == (800, 600),
                "a window of that size")
    stage.until_typed("paper")
    stage.screen.type(" Crane 3")
    stage.until_typed("paper Crane 3")
    stage.screen.press("Escape")
    stage.until_selected("Carol")
    stage.screen.press("Return")
    stage.answer("paper Crane 3")
    stage.until_heard("session", "")


def a_session_that_could_not_begin_is_told(stage):
    stage.begin(people=CAROL)
    stage.lightdm.session_result = 1
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_shows("The session could not begin.")


def what_is_typed_gets_into_no_core_file(stage):
    stage.begin()
    stage.until_shows("Ann Lee")
    limits = Path(f"/proc/{stage.greeter.pid}/limits").read_text(encoding="utf-8")
    assert re.search(r"^Max core file size +0 +0 ", limits, re.MULTILINE), limits


def no_thread_is_ended_by_the_signal_that_is_for_the_loop(stage):
    stage.begin()
    stage.until_shows("Ann Lee")
    for status in Path(f"/proc/{stage.greeter.pid}/task").glob("*/status"):
        try:
            text = status.read_text(encoding="utf-8")
        except (FileNotFoundError, ProcessLookupError):
            continue  # a thread that has ended
        blocked = re.search(r"^SigBlk:\s*(\w+)", text, re.MULTILINE)
        assert int(blocked[1], 16) >> (signal.SIGTERM - 1) & 1, status
    stage.greeter.terminate()
    assert stage.greeter.wait(PATIENCE) == 0
