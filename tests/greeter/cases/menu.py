"""The menu of a session: it switches to whom it may, and says why it doesn't to whom it may not."""
from compositor import Compositor

DENIED = "\u2068Finn Moore\u2069 may not log in here now."


def _switched(stage):
    """What gatehall-switch was run with, a line each time."""
    lines = (stage.folder / "greeter.log").read_text().splitlines()
    return [line.removeprefix("gatehall-switch ") for line in lines if line.startswith("gatehall-switch ")]


def _begin(stage, **more):
    stage.begin(world="lab", program="menu", **more)
    stage.until_selected("Ann Lee")


def who_is_chosen_is_switched_to(stage):
    _begin(stage)
    stage.choose("erin", "Erin Walsh")
    assert (status := stage.greeter.wait(60)) == 0, f"it ended with {status}; {stage.describe()}"
    assert _switched(stage) == ["-switchToUserID 20004"], _switched(stage)


def who_may_not_log_in_is_not_switched_to_and_the_reason_is_said(stage):
    _begin(stage)
    stage.choose("finn", "Finn Moore")
    stage.until_focused(DENIED, "push button")
    stage.until_shows("your account is excluded")
    assert not _switched(stage), _switched(stage)
    stage.screen.press("Escape")
    stage.until_gone(DENIED)


def the_button_on_top_leads_to_the_login_screen(stage):
    _begin(stage)
    stage.click("Login screen", "push button")
    assert (status := stage.greeter.wait(60)) == 0, f"it ended with {status}; {stage.describe()}"
    assert _switched(stage) == ["-suspend"], _switched(stage)


def escape_ends_it(stage):
    _begin(stage)
    stage.screen.press("Escape")
    assert (status := stage.greeter.wait(60)) == 0, f"it ended with {status}; {stage.describe()}"
    assert not _switched(stage), _switched(stage)


def the_focus_of_another_window_ends_it(stage):
    _begin(stage)
    stage.screen.take_keys_from_window()
    assert (status := stage.greeter.wait(60)) == 0, f"it ended with {status}; {stage.describe()}"
    assert not _switched(stage), _switched(stage)


def the_same_button_opens_and_closes_it(stage):
    _begin(stage)
    stage.start_menu_beside("--toggle")
    assert (status := stage.greeter.wait(60)) == 0, f"it ended with {status}; {stage.describe()}"
    stage.start_menu("--toggle")
    stage.until_selected("Ann Lee")
    stage.start_menu_beside("--toggle")
    assert (status := stage.greeter.wait(60)) == 0, f"it ended with {status}; {stage.describe()}"
    assert not _switched(stage), _switched(stage)


def a_second_one_is_the_first(stage):
    _begin(stage)
    stage.search("erin")
    stage.until_selected("Erin Walsh")
    stage.start_menu_beside()
    assert len(stage.windows()) == 1, stage.windows()
    assert stage.typed() == "erin", stage.describe()


def under_wayland_it_shows_the_list_and_has_the_keys(stage):
    _begin(stage, screen=Compositor)
    stage.until_rows("Ann Lee", "Erin Walsh", "Finn Moore")
    stage.until_focused("Ann Lee", "list item")


def under_wayland_the_button_leads_to_the_login_screen(stage):
    _begin(stage, screen=Compositor)
    stage.readable.act(stage.until_shows("Login screen", role="push button"))
    assert (status := stage.greeter.wait(60)) == 0, f"it ended with {status}; {stage.describe()}"
    assert _switched(stage) == ["-suspend"], _switched(stage)


def it_looks_like_the_login_screen(stage):
    _begin(stage)
    stage.until_as_kept("menu")


def a_refusal_stands_above_the_list(stage):
    _begin(stage)
    stage.choose("finn", "Finn Moore")
    stage.until_focused(DENIED, "push button")
    stage.until_as_kept("menu-refusal")


def texts_are_as_large_as_the_sessions(stage):
    _begin(stage, toolkit="gtk-xft-dpi=147456\ngtk-font-name=DejaVu Sans 13\n")
    stage.until_as_kept("menu-large-text")


def a_session_in_high_contrast_has_it_so(stage):
    _begin(stage, toolkit="gtk-theme-name=HighContrast\n")
    stage.until_as_kept("menu-high-contrast")


def it_speaks_the_sessions_language(stage):
    stage.begin(world="lab", program="menu", language="de_DE")
    stage.until_shows("Anmeldebildschirm", role="push button")
