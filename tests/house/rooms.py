"""The rooms of the house: what each is about, and which others its files include.

A room is a folder of src/, with the folder of that name in include/gatehall/, where its public headers
stand. The table is exact: an include that it doesn't list is wrong, and so is an arrow in it that no
include makes.
"""

from typing import NamedTuple


class Room(NamedTuple):
    about: str
    includes: str = ""  # the other rooms, between spaces


ROOMS = {
    "base": Room("what everybody knows: values, the platform's exception, shared pointers"),
    "platform": Room("what the layer needs of its host: interfaces, one header a service", "base"),
    # The core.
    "directory": Room("conveniences on nodes, records and groups; queries", "base platform"),
    "users": Room(
        "users and lists of them, what finds them, and who is told of parental controls",
        "base directory platform",
    ),
    "access": Room(
        "who may log in and who is shown: login rules, preferences, the network's state",
        "base directory platform users",
    ),
    "text": Room("styled text and its truncation", "base platform"),
    "switcher": Room("the switch tool's flow", "access platform users"),
    # Around the hosts.
    "portable": Room(
        "what serves any host: outside libraries, notifications, a queue of tasks, UUIDs",
        "base platform",
    ),
    "portable/text": Room("text by its characters: encodings, case, order, layout", "base platform portable"),
    "portable/formats": Room(
        "what is read from outside: XML, URLs, property lists", "base platform portable portable/text"
    ),
    "instrumented": Room("traces and faults, over any host", "base platform"),
    # A host in memory.
    "world/json": Room("JSON, with the place of every value", "base"),
    "world/directory": Room(
        "nodes, records, groups and access lists in memory", "base platform portable portable/text"
    ),
    "world": Room(
        "a whole host in memory, and its smaller services",
        "base instrumented platform portable portable/formats portable/text world/directory",
    ),
    "world/file": Room("what a world file may say", "base instrumented platform portable world world/json"),
    "world/script": Room(
        "what a script of events may say, and what each event does",
        "platform world world/file world/json",
    ),
    # This machine.
    "linux/process": Room("the process itself: its rights, limits and start", "base platform"),
    "linux/files": Room(
        "reading the machine's files: which may be trusted, and how faults in them are told", "base platform"
    ),
    "linux/loop": Room(
        "the main run loop, its threads, and what wakes it",
        "base linux/files platform portable",
    ),
    "linux/bus": Room("the system bus", "base linux/files linux/loop platform portable"),
    "linux/records": Room(
        "what records and nodes of every kind of directory share",
        "base linux/files platform",
    ),
    "linux/hours": Room("login hours of parental controls", "base linux/bus linux/files platform"),
    "linux/accounts": Room(
        "the account files, line by line, and what else describes an account",
        "base linux/files linux/records platform portable",
    ),
    "linux/local": Room(
        "the node of the machine's own users and groups, administrators among them",
        "base linux/accounts linux/files linux/hours linux/process linux/records platform portable "
        "portable/text",
    ),
    "linux/ldap/client": Room(
        "LDAP servers: settings, how one is chosen, connections, entries",
        "base linux/files linux/process linux/records platform portable portable/text",
    ),
    "linux/ldap": Room(
        "network directories over LDAP: nodes, records, members, passwords",
        "base linux/files linux/ldap/client linux/records platform portable portable/text",
    ),
    "linux/directory": Room(
        "the search node over all directories, and the service access list",
        "base linux/files linux/ldap linux/local linux/records platform portable",
    ),
    "linux/sessions": Room("sessions and seats, from logind", "base linux/records platform portable"),
    "linux/pam": Room(
        "PAM's configuration: what a service's stack asks about an account, and what gets past a module",
        "base linux/files",
    ),
    "linux/switch": Room(
        "asking display managers and logind for a switch",
        "base linux/accounts linux/bus linux/files linux/local linux/sessions platform",
    ),
    "linux/preferences": Room(
        "preferences and managed files", "base linux/files linux/records platform portable/formats"
    ),
    "linux/events": Room(
        "what happens on the machine, as notifications",
        "base linux/bus linux/files linux/hours linux/loop linux/records linux/sessions platform portable",
    ),
    "linux": Room(
        "the machine as a whole, and its smallest services",
        "base linux/directory linux/events linux/files linux/hours linux/ldap/client linux/local linux/loop "
        "linux/preferences linux/process linux/sessions linux/switch platform portable portable/formats portable/text",
    ),
    # The same rules at the machine's doors.
    "pam/door": Room("what the PAM module and those who decide for it agree on"),
    "pam/module": Room("the PAM module, which has a process of its own decide", "pam/door"),
    "pam": Room(
        "who may pass a door, and what whoever may not is told", "access base directory platform users"
    ),
    # gatehallctl.
    "ctl/print": Room("tables, JSON, terminals", "base instrumented users"),
    "ctl/request": Room(
        "what a verb is, what it is asked, and of which host",
        "base ctl/print instrumented linux linux/directory linux/files portable/text world world/file",
    ),
    "ctl/picture": Room("the list of users as a picture", "base platform portable portable/text text users"),
    "ctl/watch": Room(
        "the list of users as it changes",
        "access base ctl/print ctl/request instrumented linux/loop platform users",
    ),
    "ctl/doors": Room(
        "the machine's doors: which are guarded, what is wrong with them, what they answer",
        "base ctl/print ctl/request directory linux/files linux/local linux/pam pam pam/door platform users",
    ),
    "ctl/verbs": Room(
        "the verbs, one file each",
        "access base ctl/doors ctl/picture ctl/print ctl/request ctl/watch directory linux/loop linux/records "
        "platform switcher users world/script",
    ),
    "ctl": Room("gatehallctl's command line", "ctl/print ctl/request ctl/verbs world/json"),
}

# A main file chooses the host, beside what its room includes.
MAINS = {
    "switcher/main": "linux linux/process platform switcher",
    "pam/main": "linux linux/files linux/hours linux/local linux/process pam pam/door platform",
}

CORE = {"directory", "users", "access", "text", "switcher"}

HOSTS = {"linux", "world"}

# A room that has more units than this holds two subjects.
MOST_UNITS = 17


def included_by(room):
    return set(ROOMS[room].includes.split())


def floors(graph=None):
    """The rooms from the lowest floor up, each above all that it includes. Raises on a circle."""
    left = graph or {room: included_by(room) for room in ROOMS}
    result = []
    while left:
        floor = sorted(room for room, below in left.items() if not below & set(left))
        if not floor:
            raise ValueError(f"rooms include each other in a circle: {', '.join(sorted(left))}")
        result.append(floor)
        left = {room: below for room, below in left.items() if room not in floor}
    return result


def top_of(room):
    return room.partition("/")[0]


def house():
    """The whole house: each room with the rooms in it, and the others that any of them includes."""
    result = {}
    for room in ROOMS:
        result.setdefault(top_of(room), set()).update(map(top_of, included_by(room)))
    return {room: below - {room} for room, below in result.items()}


def inside(top):
    """A room and the rooms in it, with what they include of one another."""
    rooms = {room for room in ROOMS if top_of(room) == top}
    return {room: included_by(room) & rooms for room in ROOMS if room in rooms}


def drawn_arrows(graph):
    """The arrows of a graph, less those that follow from others."""

    def reached(room):
        return graph[room].union(*(reached(below) for below in graph[room]))

    return sorted(
        (room, below)
        for room in graph
        for below in graph[room]
        if not any(below in reached(other) for other in graph[room] if other != below)
    )


def mermaid(graph):
    """A picture in Mermaid: each room with what it is about, higher ones above."""
    lines = ["flowchart TD"]
    name = {room: room.replace("/", "_") for room in graph}
    for floor in reversed(floors(graph)):
        lines += [f'  {name[room]}["<b>{room}</b><br>{ROOMS[room].about}"]' for room in floor]
    lines += [f"  {name[room]} --> {name[below]}" for room, below in drawn_arrows(graph)]
    # A main file chooses a host that its room doesn't know.
    for main, below in MAINS.items():
        room = top_of(main)
        chosen = (HOSTS & set(below.split())) - graph.get(room, HOSTS)
        lines += [f"  {name[room]} -. chooses .-> {name[host]}" for host in sorted(chosen)]
    return "\n".join(lines) + "\n"


def table():
    """The rooms in Markdown, each with what it is about."""
    lines = ["| room | what it is about |", "|---|---|"]
    lines += [f"| `{name}` | {room.about} |" for name, room in ROOMS.items()]
    return "\n".join(lines) + "\n"
