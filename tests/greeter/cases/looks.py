"""How it looks, compared with pictures that are kept (stage/pictures.py)."""
import subprocess

from conversations import (ERROR, INFORMATION, PERM_DENIED, expired_password, nothing, password,
                           password_and_code, silence_after_password)
from stage import EXAMPLES
from world import mobile, refusing, user, world_of

ALL_HINTS = {"has-guest-account": "true", "show-manual-login": "true"}
CAROL = {"carol": password("paper Crane 3")}
REFUSAL = "You may not log in on this computer: your account is excluded."


def _login(stage, **more):
    stage.begin(people=CAROL, **more)
    stage.choose("carol")


def the_list(stage):
    stage.begin(hints=ALL_HINTS)
    stage.until_shows("Ann Lee", "Guest")
    stage.until_as_kept("list")


def a_list_of_refused_ones(stage):
    stage.begin(world_of(user("ann", 1000), mobile("erin", 1004), user("liv", 1005),
                         preferences=refusing(1004)))
    stage.until_rows("Ann", "may not log in", "Liv")
    stage.until_focused(role="list item")
    stage.screen.press("Down")
    stage.until_selected("Erin")
    stage.until_as_kept("refused")


def a_search_without_a_hit(stage):
    stage.begin()
    stage.until_shows("Ann Lee")
    stage.search("qqq")
    stage.until_shows("Nobody found")
    stage.until_as_kept("nobody-found")


def a_login(stage):
    _login(stage)
    stage.until_focused("Password")
    stage.until_as_kept("login")


def a_wrong_password(stage):
    _login(stage)
    stage.answer("wrong")
    stage.until_shows("That is wrong")
    stage.until_focused("Password")
    stage.until_as_kept("wrong-password")


def an_expired_password(stage):
    stage.begin(people={"carol": expired_password("paper Crane 3", [])})
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_focused("Current password")
    stage.until_as_kept("expired-password")


def a_refusal(stage):
    stage.begin(people={"carol": password("paper Crane 3", (ERROR, REFUSAL), result=PERM_DENIED)})
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_shows(REFUSAL)
    stage.until_as_kept("refusal")


def a_session_that_runs(stage):
    stage.begin(people={"erin": password("Fjord 12")})
    stage.choose("erin")
    stage.until_focused("Password")
    stage.until_as_kept("return")


def no_service(stage):
    stage.begin(has_service=False)
    stage.until_shows("The list of users can't be shown")
    stage.until_as_kept("no-list")


def an_automatic_login(stage):
    stage.begin(hints={"autologin-user": "bob", "autologin-timeout": "6000"}, people={"bob": nothing()})
    stage.until_shows("Seconds left: ")
    stage.until_as_kept("automatic-login")


def lightdm_gone(stage):
    stage.begin()
    stage.until_shows("Ann Lee")
    stage.lightdm.go()
    stage.until_shows("Nobody can log in here now")
    stage.until_as_kept("gone")


def the_power_panel(stage):
    stage.begin()
    stage.until_shows("Ann Lee")
    stage.click("Power")
    stage.until_shows("Shut down")
    stage.until_as_kept("power")


def one_user(stage):
    stage.begin(world_of(user("ann", 1000)))
    stage.until_focused("Ann", "list item")
    stage.until_as_kept("one-user")


def nobody(stage):
    stage.begin(world_of(), hints=ALL_HINTS)
    stage.until_shows("Nobody is shown", "Guest")
    stage.until_as_kept("nobody")


def ten_thousand_accounts(stage):
    stage.begin(world_of(*(user(f"user{number:05}", 2000 + number) for number in range(10_000))))
    stage.search("7654")
    stage.until_rows("User07654")
    stage.until_as_kept("ten-thousand")


def a_password_hint_and_caps_lock(stage):
    stage.begin(people=CAROL, accounts={"carol": {"PasswordHint": "What I fold on rainy days"}})
    stage.choose("carol")
    for attempt in range(3):
        stage.answer(f"wrong {attempt}")
        stage.until_heard("answer", f"wrong {attempt}")
        stage.until_typed("")
        stage.until_shows("That is wrong")
    stage.until_shows("What I fold")
    stage.screen.press("Caps_Lock")
    stage.until_shows("Caps Lock is on")
    stage.until_as_kept("hint")


def a_one_time_code(stage):
    stage.begin(people={"erin": password_and_code("Fjord 12", "493 112")})
    stage.choose("erin")
    stage.answer("Fjord 12")
    stage.until_focused("One-time code")
    stage.screen.type("493 1")
    stage.until_typed("493 1")
    stage.until_as_kept("code")


def something_to_read(stage):
    stage.begin(people={"bob": nothing((INFORMATION, "The library closes at eight."))})
    stage.choose("bob")
    stage.until_focused("Log in")
    stage.until_as_kept("information")


def an_answer_that_takes_long(stage):
    stage.begin(people={"carol": silence_after_password})
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_shows("This takes longer than usual")
    stage.until_as_kept("takes-long")


def a_session_that_begins(stage):
    stage.begin(people={"bob": nothing()})
    stage.choose("bob")
    stage.until_heard("session", "")
    stage.until_shows("Starting the session")
    stage.until_as_kept("starting")


def another_user(stage):
    stage.begin(hints=ALL_HINTS)
    stage.click("Another user", role="push button")
    stage.until_focused("User name")
    stage.until_as_kept("another-user")


def whether_to_shut_down(stage):
    stage.begin()
    stage.until_shows("Ann Lee")
    stage.click("Power")
    stage.click("Shut down")
    stage.until_shows("Shut down while others are logged in?")
    stage.until_as_kept("shut-down")


def the_panel_of_reading(stage):
    stage.begin()
    stage.until_shows("Ann Lee")
    stage.click("Easier to read")
    stage.until_shows("High contrast")
    stage.until_as_kept("reading")


def the_panel_of_sessions(stage):
    _login(stage)
    stage.until_focused("Password")
    stage.click("Session: Plain")
    stage.until_focused("Plain", "list item")
    stage.until_as_kept("sessions")


def a_picture_behind_it_and_a_logo(stage):
    background = stage.folder / "background.png"
    subprocess.run(["convert", "-size", "640x360", "gradient:#23405e-#9dbfd8", background], check=True)
    stage.begin(size=(1280, 720), hints=ALL_HINTS, settings=f'background = "{background}"\n'
                f'logo = "{EXAMPLES}/pictures/sunflower.png"\n')
    stage.until_shows("Ann Lee")
    stage.until_as_kept("background")


def dark(stage):
    stage.begin(settings='theme = "dark"\n')
    stage.until_shows("Ann Lee")
    stage.until_as_kept("dark")


def high_contrast(stage):
    stage.begin(settings="high-contrast = true\n")
    stage.until_shows("Ann Lee")
    stage.until_as_kept("high-contrast")


def a_style_of_ones_own(stage):
    """Which is the theme's colours with others, as the page of the settings has it."""
    style = stage.folder / "own.css"
    style.write_text("@define-color gh_accent #7a1f3d;\n@define-color gh_card #fff4d6;\n")
    _login(stage, settings=f'style = "{style}"\n')
    stage.until_focused("Password")
    stage.until_as_kept("style")


def high_contrast_with_a_style_of_ones_own(stage):
    """Whose colours could spoil it: it is left out."""
    style = stage.folder / "own.css"
    style.write_text("@define-color gh_card #ddcc88;\n.people-list { background: #7a1f3d; }\n")
    stage.begin(settings=f'high-contrast = true\nstyle = "{style}"\n')
    stage.until_shows("Ann Lee")
    stage.until_as_kept("high-contrast")


def large_text(stage):
    stage.begin(settings="large-text = true\n")
    stage.until_shows("Ann Lee")
    stage.until_as_kept("large-text")


def a_small_screen(stage):
    stage.begin(size=(800, 600), hints=ALL_HINTS)
    stage.until_shows("Ann Lee")
    stage.until_as_kept("small")


def a_small_screens_login(stage):
    stage.begin(size=(800, 600), people={"carol": expired_password("paper Crane 3", [])})
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_focused("Current password")
    stage.until_as_kept("small-login")


def a_small_screens_login_with_large_text(stage):
    stage.begin(size=(800, 600), settings="large-text = true\n",
                people={"carol": expired_password("paper Crane 3", [])})
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_focused("Current password")
    session = stage.until_shows("Session: Plain")
    _, top, _, height = stage.readable.place(session)
    assert top + height <= stage.screen.height, f"the session's button ends at {top + height}"
    stage.until_as_kept("small-login-large-text")


def a_dark_login(stage):
    _login(stage, size=(1920, 1080), settings='theme = "dark"\n')
    stage.answer("wrong")
    stage.until_shows("That is wrong")
    stage.until_focused("Password")
    stage.until_as_kept("dark-login")


def a_login_in_high_contrast_and_large_text(stage):
    _login(stage, settings="high-contrast = true\nlarge-text = true\n")
    stage.answer("wrong")
    stage.until_shows("That is wrong")
    stage.until_focused("Password")
    stage.until_as_kept("high-contrast-login")


def a_large_screen(stage):
    stage.begin(size=(3840, 2160), hints=ALL_HINTS)
    stage.until_shows("Ann Lee")
    stage.until_as_kept("large")


def german(stage):
    stage.begin(language="de_DE", hints=ALL_HINTS)
    stage.until_shows("Ann Lee", "bis 20:00")
    stage.until_as_kept("german")


def arabic_from_right_to_left(stage):
    stage.begin(language="ar_EG", hints=ALL_HINTS)
    rows = stage.until(lambda: len(stage.rows()) > 5 and stage.things(), "the list")
    (row,) = (thing for thing in rows if thing.role == "list item" and "Ann Lee" in thing.name)
    assert "in front" not in row.name, row
    stage.until_as_kept("arabic")


def an_arabic_login(stage):
    _login(stage, language="ar_EG")
    stage.until_focused(role="password text|text|entry")
    stage.until_as_kept("arabic-login")


def hindi(stage):
    stage.begin(language="hi_IN", hints=ALL_HINTS)
    stage.until_shows("Ann Lee")
    stage.until_as_kept("hindi")


def chinese(stage):
    stage.begin(language="zh_CN", hints=ALL_HINTS)
    stage.until_shows("Ann Lee")
    stage.until_as_kept("chinese")
