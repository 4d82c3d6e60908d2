"""The language of a session is chosen while somebody logs in."""
from conversations import password
from world import user, world_of

CAROL = user("carol", 1002)
PEOPLE = {"carol": password("paper Crane 3")}
LANGUAGES = ("de_DE", "fr_FR")


def the_one_that_is_chosen_is_that_of_the_session(stage):
    stage.begin(world_of(CAROL), people=PEOPLE, languages=LANGUAGES)
    stage.until_shows("Carol")
    # There is nobody yet whose it would be.
    assert not stage.find("Language"), stage.describe()
    stage.screen.press("Return")
    stage.click("Language", role="push button")
    stage.until_shows("The account's own")
    stage.click("Deutsch", role="list item")
    stage.until_shows("Language: Deutsch")
    stage.answer("paper Crane 3")
    stage.until_heard("language", "de_DE.UTF-8")
    stage.until_heard("session", "")


def the_accounts_own_takes_the_choice_back(stage):
    stage.begin(world_of(CAROL), people=PEOPLE, languages=LANGUAGES)
    stage.until_shows("Carol")
    stage.screen.press("Return")
    stage.click("Language", role="push button")
    stage.click("Deutsch", role="list item")
    stage.click("Language: Deutsch", role="push button")
    stage.click("The account's own", role="list item")
    stage.until_gone("Language: Deutsch")
    stage.answer("paper Crane 3")
    stage.until_heard("session", "")
    assert not any(words[0] == "language" for words in stage.lightdm.said), stage.lightdm.said


def none_is_chosen_for_a_session_that_runs(stage):
    carols = {"id": 3, "userID": 1002, "userName": "carol", "loginDone": True}
    stage.begin(world_of(CAROL, sessions={"current": 3, "list": [carols]}), people=PEOPLE, languages=LANGUAGES)
    stage.until_shows("Carol")
    stage.screen.press("Return")
    stage.until_shows("Return to session")
    assert not stage.find("Language"), stage.describe()
