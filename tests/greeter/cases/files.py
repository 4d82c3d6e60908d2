"""Files that the settings name, and that aren't as they should be: the login screen comes all the same."""
import os
import signal

from conversations import password
from processes import PATIENCE


def _until_usual(stage, settings):
    stage.begin(people={"carol": password("paper Crane 3")}, settings=settings)
    stage.choose("carol")
    stage.until_focused("Password")
    stage.until_as_kept("login")


def a_pipe_keeps_nobody_waiting(stage):
    pipe = stage.folder / "pipe"
    os.mkfifo(pipe)
    _until_usual(stage, f'style = "{pipe}"\nbackground = "{pipe}"\nlogo = "{pipe}"\n')
    stage.greeter.send_signal(signal.SIGTERM)
    assert stage.greeter.wait(PATIENCE) == 0


def a_style_that_others_can_write_is_left_out(stage):
    style = stage.folder / "own.css"
    style.write_text(".card { background: red; }\n")
    style.chmod(0o666)
    _until_usual(stage, f'style = "{style}"\n')
