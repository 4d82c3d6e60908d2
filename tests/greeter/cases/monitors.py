"""The monitor: which part of the display it shows, and what becomes of the screen when that changes."""


def _until_window(stage, *place):
    stage.until(lambda: stage.screen.windows() == [place], f"one window, at {place}")


def the_window_covers_it(stage):
    stage.begin()
    stage.until_shows("Ann Lee")
    _until_window(stage, 0, 0, 1024, 768)


def the_window_goes_where_it_goes(stage):
    stage.begin()
    stage.until_shows("Ann Lee")
    stage.screen.resize(800, 600, 200, 100)
    _until_window(stage, 200, 100, 800, 600)


def a_panel_that_is_open_stays_so(stage):
    stage.begin()
    stage.until_shows("Ann Lee")
    stage.click("Easier to read")
    stage.until_focused("Large text")
    stage.screen.resize(800, 600)
    _until_window(stage, 0, 0, 800, 600)
    stage.until_focused("Large text")
    stage.screen.press("Escape")
    stage.until_gone("Large text")
