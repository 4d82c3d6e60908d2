"""The administrator's page does on this machine what it says: its files are written, its commands run,
and what they print is what the page shows."""
import re
import subprocess
from pathlib import Path

_PAGE = Path("/opt/docs/login-policy.md")


def _steps(section):
    """The section's files, ("/PATH", text), and commands, ("# COMMAND", output)."""
    blocks = re.findall(r"([^\n]*)\n\n```(\w+)\n(.*?)^```$", section, re.MULTILINE | re.DOTALL)
    for before, kind, text in blocks:
        if kind == "xml":
            (path,) = re.findall(r"n `(/[^`]+)`:$", before)
            yield path, text
        elif kind == "console":
            # What begins with "# /" names a file in what a command printed.
            yield from re.findall(r"^(# (?!/)[^\n]*)\n((?:(?!# (?!/))[^\n]*\n)*)", text, re.MULTILINE)


def _follow(section):
    """Does what the section says and gives the number of commands."""
    title, commands, files = section.partition("\n")[0], 0, set()
    for step, text in _steps(section):
        if step.startswith("/"):
            files.add(Path(step))
            Path(step).parent.mkdir(parents=True, exist_ok=True)
            Path(step).write_text(text)
            continue
        done = subprocess.run(["bash", "-c", step.removeprefix("# ")], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True)
        assert done.stdout == text, f"{title}: {step} printed\n{done.stdout}"
        commands += 1
    for file in files:
        file.unlink()
    return commands


def the_login_policy_page_tells_what_happens(desktop):
    sections = re.split(r"^## ", _PAGE.read_text(), flags=re.MULTILINE)
    assert sum(_follow(section) for section in sections) > 10
