"""What /etc/gatehall/greeter.toml sets: of each setting, by whose name its cases begin, that it is followed."""
import subprocess

from conversations import password
from world import mobile, refusing, user, world_of

CAROL = {"carol": password("paper Crane 3")}

# The theme's colours of what is behind the card.
LIGHT, DARK, CONTRAST = "#e9edf2", "#161b22", "#000000"

SCREEN = 1024 * 768


def _picture(stage, name, colour):
    file = stage.folder / name
    subprocess.run(["convert", "-size", "200x100", f"xc:{colour}", file], check=True)
    return file


def _style(stage, rules):
    file = stage.folder / "own.css"
    file.write_text(rules, encoding="utf-8")
    return f'style = "{file}"\n'


def refused_users_are_hidden(stage):
    stage.begin(world_of(user("ann", 1000), mobile("erin", 1004), preferences=refusing(1004)),
                settings='refused-users = "hide"\n')
    stage.until_rows("Ann")


def refused_users_are_shown(stage):
    stage.begin(world_of(user("ann", 1000), mobile("erin", 1004), preferences=refusing(1004)),
                settings='refused-users = "show"\n')
    stage.until_rows("Ann", "Erin, erin, may not log in")


def style_is_that_of_the_file(stage):
    stage.begin(settings=_style(stage, ".card { background: #0fa3b1; }\n"))
    stage.until_shows("Ann Lee")
    stage.until_dots("#0fa3b1", 10_000)


def style_with_a_fault_is_told_and_the_rest_of_it_followed(stage):
    stage.begin(settings=_style(stage, ".topbar { colour: red; }\n"
                                       ".card { background: #0fa3b1; }\n"
                                       ".clock { margin: much; }\n"))
    stage.until_shows("Ann Lee")
    stage.until_dots("#0fa3b1", 10_000)
    for line in (1, 3):
        stage.until_printed(f"{stage.folder}/own.css:{line}: ")
    assert f"{stage.folder}/own.css:2" not in stage.printed(), stage.printed()


def style_that_is_missing_keeps_nobody_from_logging_in(stage):
    stage.begin(people=CAROL, settings='style = "/nowhere/own.css"\n')
    stage.until_printed("/nowhere/own.css")
    stage.choose("carol")
    stage.answer("paper Crane 3")
    stage.until_heard("session", "")


def background_is_a_colour(stage):
    stage.begin(settings='background = "#0fa3b1"\n')
    stage.until_shows("Ann Lee")
    stage.until_dots("#0fa3b1", SCREEN // 4)


def background_is_a_picture(stage):
    stage.begin(settings=f'background = "{_picture(stage, "background.png", "#0fa3b1")}"\n')
    stage.until_shows("Ann Lee")
    stage.until_dots("#0fa3b1", SCREEN // 4)


def background_that_is_no_picture_is_told_and_the_theme_s(stage):
    file = stage.folder / "background.png"
    file.write_text("nothing that could be seen", encoding="utf-8")
    stage.begin(settings=f'background = "{file}"\n')
    stage.until_shows("Ann Lee")
    stage.until(lambda: stage.printed().strip(), "something to be told")
    stage.until_dots(LIGHT, SCREEN // 4)


def logo_stands_above_the_list(stage):
    stage.begin(settings=f'logo = "{_picture(stage, "logo.png", "#0fa3b1")}"\n')
    stage.until_shows("Ann Lee")
    stage.until_dots("#0fa3b1", 144 * 72, 144 * 72)  # as high as a logo may be


def theme_is_dark(stage):
    stage.begin(settings='theme = "dark"\n')
    stage.until_shows("Ann Lee")
    stage.until_dots(DARK, SCREEN // 4)


def theme_is_light(stage):
    stage.begin(settings='theme = "light"\n', toolkit="gtk-application-prefer-dark-theme=true\n")
    stage.until_shows("Ann Lee")
    stage.until_dots(LIGHT, SCREEN // 4)


def theme_is_that_of_the_machine(stage):
    stage.begin(settings='theme = "auto"\n', toolkit="gtk-application-prefer-dark-theme=true\n")
    stage.until_shows("Ann Lee")
    stage.until_dots(DARK, SCREEN // 4)


def scale_makes_everything_larger(stage):
    stage.begin(settings="scale = 2\n")
    stage.until_shows("Ann Lee")
    window, = stage.windows()
    assert stage.readable.place(window)[2:] == (512, 384), stage.readable.place(window)


def high_contrast_is_on_and_can_be_turned_off(stage):
    stage.begin(settings="high-contrast = true\n")
    stage.until_shows("Ann Lee")
    stage.until_dots(CONTRAST, SCREEN // 2)
    stage.click("Easier to read")
    assert "checked" in stage.until_shows("High contrast", role="check box").states
    stage.click("High contrast", role="check box")
    stage.until_dots(CONTRAST, 0, SCREEN // 4)


def large_text_is_on_and_can_be_turned_off(stage):
    stage.begin(settings="large-text = true\n")
    stage.until_shows("Ann Lee")
    large = stage.readable.place(stage.until_shows("room-12"))[2]
    stage.click("Easier to read")
    assert "checked" in stage.until_shows("Large text", role="check box").states
    stage.click("Large text", role="check box")
    stage.until(lambda: stage.readable.place(stage.find("room-12"))[2] < large * 0.8,
                "the host's name to be narrower")


def clock_reads_as_it_is_set(stage):
    stage.begin(settings='clock = "%d.%m., %H Uhr %M"\n')
    stage.until_shows("21.11., 19 Uhr 10", role="label")


def host_name_is_left_out(stage):
    stage.begin(settings="host-name = false\n")
    stage.until_shows("19:10", "Ann Lee")
    assert not stage.find("room-12"), stage.describe()


def power_is_left_out(stage):
    stage.begin(people=CAROL, settings="power = false\n")
    stage.until(lambda: ("CanPowerOff",) in stage.machine.questions, "logind to be asked")
    stage.choose("carol")
    stage.until_focused("Password")
    assert not stage.find("Power"), stage.describe()


def a_setting_that_is_not_understood_is_told(stage):
    stage.begin(settings='theme = "pink"\nclock = "%H Uhr"\n')
    stage.until_printed("greeter.toml:1: theme is neither")
    stage.until_shows("19 Uhr")
