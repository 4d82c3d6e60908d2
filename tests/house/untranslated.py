"""Finds text in C++ that people would read in English whatever their language is: string literals that
are given to what shows text, or that read like a text, without going through translated(…)."""

import re

# Comments, literals of characters, raw strings, strings; in this order.
TOKEN = re.compile(
    r'//[^\n]*|/\*.*?\*/|\'(?:\\.|[^\'\\])\''
    r'|R"(?P<mark>[^()\s\\]{0,16})\((?P<raw>.*?)\)(?P=mark)"'
    r'|(?:u8|u|U|L)?"(?P<text>(?:\\.|[^"\\])*)"',
    re.DOTALL)

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include.*$', re.MULTILINE)

# What shows people what it is given, and tells screen readers.
SHOWS = re.compile(
    r"(set|insert|append|prepend)_(label|text|markup|title|subtitle|tooltip(_text|_markup)?|placeholder(_text)?"
    r"|description|message|detail)"
    r"|set_use_markup|create_pango_layout|Label|Button|CheckButton|ToggleButton|MenuButton"
    r"|gtk_accessible_update_property|update_property|setText|setLabel|setTitle")

# Who reads what these are given is no person in front of a screen, or is told elsewhere.
HIDDEN = re.compile(
    r"translated|error|diagnostic|report|reportUnknownKey|fputs|puts|fprintf|printf|snprintf|static_assert"
    r"|PlatformException|runtime_error|logic_error|add_css_class|remove_css_class|has_css_class|set_css_classes"
    r"|set_name|from_string|getenv|setenv|GATEHALL_FUNCTION|strftime|GTK_\w+|G_\w+")

# A word with a capital letter in front, or several words.
READS_LIKE_TEXT = re.compile(r"(^|[\s%])[A-Z][a-z]{2,}([\s.,:!?…]|$)|[a-z]{2,}[,:]? [a-z]+", re.ASCII)
# Names on a bus, paths, variables of an environment: no spaces, and none is one plain word.
NO_TEXT = re.compile(r"[A-Za-z]*[.:/_@=#\\%-][\w./:_@=#\\%-]*|[A-Z][a-z]+(?:[A-Z][a-z]*)+")


def caller(code, place):
    """What the innermost call around the place calls; "" outside of any."""
    depth = 0
    for at in range(place - 1, -1, -1):
        if code[at] in ")}]":
            depth += 1
        elif code[at] in "({[":
            if depth == 0:
                name = re.search(r"(\w+)\s*(?:<[^<>;]*>)?\s*$", code[:at])
                return name[1] if name else ""
            depth -= 1
        elif code[at] == ";" and depth == 0:
            return ""
    return ""


def blank(match):
    return re.sub(r"[^\n]", " ", match[0])


def untranslated(source):
    """The line and the text of each literal that people would read as it stands."""
    source = INCLUDE.sub(blank, source)
    # Brackets and quotes in literals and comments are not the code's.
    code = TOKEN.sub(blank, source)
    for match in TOKEN.finditer(source):
        text = match["text"]
        if not text or not re.search(r"[A-Za-z]{2}", re.sub(r"\\[nrt]", " ", text)):
            continue
        text = re.sub(r"\\[nrt]", " ", text)
        # A literal that continues another one stands where that one does.
        name = caller(code, match.start())
        if HIDDEN.fullmatch(name):
            continue
        if SHOWS.fullmatch(name) or READS_LIKE_TEXT.search(text) and not NO_TEXT.fullmatch(text):
            yield source.count("\n", 0, match.start()) + 1, match["text"]
