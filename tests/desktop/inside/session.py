"""Sessions, as logind describes them."""


class Session:
    """A session as logind describes it at one moment."""

    def __init__(self, name, path, properties):
        self.name = name
        self.path = path
        self.user = properties["Name"]
        self.kind = properties["Class"]
        self.type = properties["Type"]
        self.terminal = f"tty{properties['VTNr']}"
        self.leader = properties["Leader"]
        self.state = properties["State"]
        self.is_active = properties["Active"]
        # Our desktop says that it is idle as soon as it hears what logind tells it.
        self.is_listening = properties["IdleHint"]
        self.is_locked = properties["LockedHint"]

    def __repr__(self):
        marks = "".join(text for text, holds in ((" in front", self.is_active),
                                                 (" locked", self.is_locked)) if holds)
        return f"<{self.name}: {self.user}'s {self.type} {self.kind} on {self.terminal}{marks}>"
