"""What is on the screen as a screen reader knows it, from AT-SPI's bus: names, roles, states.

Programs are asked each time, without libatspi's copy of what they told, which is as old as the last
signal of a change. GTK 4.8 says of what is scrolled out of sight that it is visible; where it stands
tells that it isn't.
"""
import dataclasses

from gi.repository import Gio, GLib

from buses import call, connect, texts

PREFIX = "org.a11y.atspi."
ROOT = "/org/a11y/atspi/accessible/root"
RELATIVE_TO_WINDOW = 1

# Some roles, as at-spi2-core's atspi-constants.h numbers them, and those that people act on.
ROLES = {
    "check box": 7, "combo box": 11, "dialog": 16, "frame": 23, "icon": 26, "image": 27, "label": 29,
    "list": 31, "list item": 32, "menu": 33, "menu item": 35, "page tab": 37, "panel": 39,
    "password text": 40, "push button": 43, "radio button": 44, "scroll bar": 48, "scroll pane": 49,
    "separator": 50, "slider": 51, "table": 55, "text": 61, "toggle button": 62, "window": 69,
    "entry": 79, "heading": 83, "section": 85, "grouping": 98, "static": 116, "switch": 130}
ROLE_NAMES = {number: name for name, number in ROLES.items()}
CONTROLS = {"check box", "combo box", "list item", "menu item", "page tab", "password text",
            "push button", "radio button", "slider", "text", "toggle button", "entry", "switch"}

# States, by their bits.
STATES = {"active": 1, "checked": 4, "editable": 7, "enabled": 8, "expanded": 10, "focusable": 11,
          "focused": 12, "selected": 23, "sensitive": 24, "showing": 25, "visible": 30}


@dataclasses.dataclass(eq=False)
class Thing:
    """Something that may be on the screen."""
    role: str
    name: str
    description: str
    states: frozenset
    interfaces: frozenset
    service: str
    path: str
    parts: list = dataclasses.field(default_factory=list)

    def __iter__(self):
        """It and all its parts, in their order, without what is hidden."""
        if {"visible", "showing"} & self.states:
            yield self
            for part in self.parts:
                yield from part

    @property
    def is_control(self):
        return self.role in CONTROLS or ("focusable" in self.states and self.role != "scroll pane")

    def __str__(self):
        return f"{self.role} “{self.name}”"


class Readable:
    """Calls changed whenever some program says that something is different."""

    def __init__(self, session_bus, changed):
        self.address, = session_bus.call("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress")
        self._bus = connect(self.address)
        self.texts = []  # told of what was typed or shown, a piece each time
        self._bus.signal_subscribe(None, None, "TextChanged", None, None,
                                   Gio.DBusSignalFlags.NO_MATCH_RULE, self._text_changed)
        self._bus.signal_subscribe(None, None, None, None, None, Gio.DBusSignalFlags.NO_MATCH_RULE,
                                   lambda *_: changed())
        call(self._bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
             "AddMatch", GLib.Variant("(s)", ("type='signal'",)))
        for event in ("object:", "window:", "focus:"):
            self._call(PREFIX + "Registry", "/org/a11y/atspi/registry", "Registry", "RegisterEvent",
                       GLib.Variant("(sass)", (event, [], "")))

    def windows(self):
        """All windows of all programs, with everything in them."""
        programs, = self._call(PREFIX + "Registry", ROOT, "Accessible", "GetChildren")
        return [window for service, _ in programs for window in self._windows_of(service)]

    def place(self, thing):
        """Left, top, width and height, from the window's corner; a width of 0: it stands nowhere."""
        return self._call(thing.service, thing.path, "Component", "GetExtents",
                          GLib.Variant("(u)", (RELATIVE_TO_WINDOW,)))[0]

    def text(self, thing):
        """What is in an entry; of a secret as many dots, or the secret."""
        return self._call(thing.service, thing.path, "Text", "GetText",
                          GLib.Variant("(ii)", (0, 1 << 20)))[0]

    def set_text(self, thing, text):
        """As an input method does, for what no key has."""
        self._call(thing.service, thing.path, "EditableText", "SetTextContents", texts(text))

    def act(self, thing):
        """Does what is done with it first of all: presses a button."""
        self._call(thing.service, thing.path, "Action", "DoAction", GLib.Variant("(i)", (0,)))

    def _text_changed(self, *signal):
        _, _, _, text, _ = signal[5].unpack()
        self.texts.append(text)

    def _windows_of(self, service):
        parts = {}
        unread = [ROOT]
        while unread:
            path = unread.pop()
            children, = self._call(service, path, "Accessible", "GetChildren")
            parts[path] = [child for _, child in children]
            unread += parts[path]
        things = self._things_of(service)
        for path, children in parts.items():
            if path in things:
                things[path].parts = [things[child] for child in children if child in things]
        return things[ROOT].parts if ROOT in things else []

    def _things_of(self, service):
        """What the program tells of by their paths; some may be no more."""
        items, = self._call(service, "/org/a11y/atspi/cache", "Cache", "GetItems")
        things = {}
        for (_, path), _, _, _, _, interfaces, name, role, description, (low, high) in items:
            states = frozenset(each for each, bit in STATES.items() if (low | high << 32) >> bit & 1)
            things[path] = Thing(ROLE_NAMES.get(role, str(role)), name, description, states,
                                 frozenset(each.removeprefix(PREFIX) for each in interfaces), service,
                                 path)
        return things

    def _call(self, service, path, interface, method, arguments=None):
        return call(self._bus, service, path, PREFIX + interface, method, arguments)
