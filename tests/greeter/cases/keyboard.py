"""The keyboard: which layout it has, which others there are, and Caps Lock."""
from conversations import password, password_and_code

CAROL = {"carol": password("paper Crane 3")}

# As X numbers keys; the first is Y on an American keyboard, Z on a German one.
Y_OR_Z, CAPS_LOCK = 29, 66


def _layout_beside_the_field(stage, code):
    stage.until(lambda: [thing for thing in stage.things()
                         if thing.role == "label" and thing.name == code and stage.is_on_screen(thing)
                         and stage.readable.place(thing)[1] > stage.screen.height // 4],
                f"“{code}” beside the field")


def caps_lock_is_told_while_a_secret_is_typed(stage):
    stage.begin(people={"erin": password_and_code("Fjord 12", "493 112")})
    stage.choose("erin")
    stage.until_focused("Password")
    assert not stage.find("Caps Lock is on"), stage.describe()
    stage.screen.press("Caps_Lock")
    stage.until_shows("Caps Lock is on")
    stage.screen.press("Caps_Lock")
    stage.until_gone("Caps Lock is on")
    stage.answer("Fjord 12")
    stage.until_focused("One-time code")
    stage.screen.press("Caps_Lock", "a")
    stage.until_typed("A")
    assert not stage.find("Caps Lock is on"), stage.describe()


def caps_lock_that_was_on_before_is_told(stage):
    stage.begin(people=CAROL)
    stage.choose("carol")
    stage.screen.press("Caps_Lock")
    stage.until_shows("Caps Lock is on")
    stage.screen.press("Escape")
    stage.until_gone("Caps Lock is on")
    stage.until_selected("Carol")
    stage.screen.press("Return")
    stage.until_shows("Caps Lock is on")


def one_layout_is_no_choice_and_is_shown(stage):
    stage.begin(people=CAROL, layouts="us")
    stage.choose("carol")
    stage.until_focused("Password")
    assert not stage.find("Keyboard: "), stage.describe()
    _layout_beside_the_field(stage, "us")


def the_layout_is_shown_where_a_password_is_typed(stage):
    stage.begin(people=CAROL, layouts="us,de")
    stage.until_shows("Keyboard: English (US)", role="push button")
    stage.choose("carol")
    stage.until_focused("Password")
    _layout_beside_the_field(stage, "us")


def another_layout_is_chosen(stage):
    stage.begin(people={"carol": password("z")}, layouts="us,de")
    stage.choose("carol")
    stage.until_focused("Password")
    stage.click("Keyboard: English (US)", role="push button")
    stage.until_focused("English (US)", "list item")
    stage.until_shows("German", role="list item")
    stage.screen.press("Down", "Return")
    stage.until_shows("Keyboard: German", role="push button")
    _layout_beside_the_field(stage, "de")
    stage.until_focused("Password")
    stage.screen.strike(Y_OR_Z)
    stage.until_typed("z")
    stage.screen.press("Return")
    stage.until_heard("answer", "z")
    stage.until_heard("session", "")


def a_layout_that_is_changed_by_keys_is_shown(stage):
    """As the machine's keyboard may be set up for."""
    stage.begin(people={"carol": password("z")}, layouts="us,de", layout_keys="grp:caps_toggle")
    stage.choose("carol")
    stage.until_focused("Password")
    stage.screen.strike(CAPS_LOCK)
    stage.until_shows("Keyboard: German", role="push button")
    stage.screen.strike(Y_OR_Z)
    stage.until_typed("z")
    stage.screen.press("Return")
    stage.until_heard("answer", "z")
