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
    # What becomes of the list of users.
    "listing": Room("the list of users as it is told to others, and what changed between two", "base users"),
    # This machine.
    "linux/process": Room("the process itself: its rights, limits and start", "base platform"),
    "linux/files": Room(
        "reading the machine's files: which may be trusted, and how faults in them are told",
        "base platform portable/text",
    ),
    "linux/loop": Room(
        "the main run loop, its threads, and what wakes it",
        "base linux/files platform portable",
    ),
    "linux/bus": Room("the system bus", "base linux/files linux/loop platform portable"),
    "linux/records": Room(
        "what records and nodes of every kind of directory share",
        "base linux/files platform portable",
    ),
    "linux/hours": Room("login hours of parental controls", "base linux/bus linux/files platform"),
    "linux/accounts": Room(
        "the account files, line by line, and what else describes an account",
        "base linux/files linux/records platform portable portable/text",
    ),
    "linux/local": Room(
        "the node of the machine's own users and groups, administrators among them",
        "base linux/accounts linux/files linux/hours linux/process linux/records platform portable "
        "portable/text",
    ),
    "linux/ldap/client": Room(
        "LDAP servers: settings, how one is chosen, connections, entries",
        "base linux/files linux/process linux/records platform portable portable/formats portable/text",
    ),
    "linux/ldap": Room(
        "network directories over LDAP: nodes, records, members, passwords",
        "base linux/files linux/ldap/client linux/records platform portable portable/text",
    ),
    "linux/nss": Room(
        "directories behind the C library's name service, asked in a process of its own",
        "base linux/accounts linux/bus linux/files linux/records platform portable portable/text",
    ),
    "linux/directory": Room(
        "the search node over all directories, and the service access list",
        "base linux/files linux/ldap linux/local linux/nss linux/records platform portable",
    ),
    "linux/sessions": Room(
        "sessions and seats, from logind", "base linux/files linux/records platform portable"
    ),
    "linux/pam": Room(
        "PAM's configuration: what a service's stack asks about an account, and what gets past a module",
        "base linux/files",
    ),
    "linux/switch": Room(
        "asking display managers and logind for a switch",
        "base linux/accounts linux/bus linux/files linux/local linux/sessions platform",
    ),
    "linux/preferences": Room(
        "preferences and managed files",
        "base linux/files linux/records platform portable/formats portable/text",
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
        "who may pass a door, and what whoever may not is told",
        "access base directory platform portable/formats users",
    ),
    # What gatehallctl and the service tell about accounts.
    "accounts": Room(
        "who is meant by a name, a user id or a GUID, and what becomes of each account",
        "access base directory instrumented linux/files linux/records platform portable portable/text users",
    ),
    "explain": Room(
        "what stands behind what becomes of an account: files, groups, hours, what isn't known",
        "access accounts base directory linux/accounts linux/files linux/hours linux/local linux/preferences "
        "platform",
    ),
    "following": Room(
        "a copy of the service's list, kept up to date over the bus",
        "base linux/bus linux/files linux/loop listing platform",
    ),
    # The login screen, and the menu of users to switch to.
    "people": Room(
        "the list of users as people see it",
        "base following linux/bus linux/files linux/loop listing platform portable portable/formats portable/text "
        "text",
    ),
    "people/widgets": Room("the list of users on the screen", "listing people platform"),
    "people/look": Room("the look of what people see: light, dark, high contrast"),
    "greeter": Room(
        "the login screen as a whole, and the toolkit's start",
        "base greeter/accounts greeter/login greeter/machine greeter/settings greeter/window linux/files "
        "linux/loop people people/look people/widgets platform",
    ),
    "greeter/window": Room(
        "what stands on the screens",
        "greeter/entry greeter/login greeter/machine greeter/settings linux/files people people/look "
        "people/widgets",
    ),
    "greeter/entry": Room("where answers are typed"),
    "greeter/accounts": Room(
        "what is kept of an account for its logins",
        "base linux/bus linux/files linux/hours linux/loop platform",
    ),
    "greeter/machine": Room(
        "the machine at which somebody logs in: power, languages, keyboard, scale",
        "base linux/bus linux/files linux/loop platform portable/formats",
    ),
    "greeter/lightdm": Room("LightDM, as its greeter talks to it", "greeter/login platform"),
    "greeter/login": Room(
        "a login from the choice of a person to the session",
        "greeter/accounts linux/files listing people platform portable/formats",
    ),
    "greeter/settings": Room("how a machine's login screen is set up", "linux/files"),
    "menu": Room(
        "what becomes of a choice on the menu: a question, a switch, what is said",
        "listing people platform",
    ),
    "menu/window": Room(
        "the menu: a small window, one a session",
        "linux/files linux/loop menu people people/look people/widgets platform",
    ),
    # The service.
    "service": Room("the layer as a service on the system bus"),
    "service/answers": Room(
        "what the service answers about one account",
        "access accounts base explain linux linux/directory linux/files listing pam platform portable/formats",
    ),
    "service/rights": Room("who a caller is, and what polkit lets them do", "base linux/bus"),
    "service/list": Room(
        "the list of users from one state to the next", "access listing platform"
    ),
    "service/bus": Room(
        "the object on the bus: its methods, its signals, and what clients may take of it",
        "accounts base linux/bus linux/files linux/loop listing platform portable/text service/answers "
        "service/list service/rights",
    ),
    # gatehallctl.
    "ctl/print": Room("tables, JSON, terminals", "base instrumented listing users"),
    "ctl/request": Room(
        "what a verb is, what it is asked, and of which host",
        "accounts base ctl/print instrumented linux linux/directory linux/files linux/preferences platform portable "
        "portable/formats portable/text world world/file",
    ),
    "ctl/explain": Room(
        "what stands behind what becomes of an account, for terminals and in JSON",
        "accounts base ctl/print explain",
    ),
    "ctl/export": Room(
        "a machine as a world file",
        "base ctl/print ctl/request directory linux linux/preferences linux/records platform portable users",
    ),
    "ctl/picture": Room(
        "the list of users as a picture", "base listing people platform portable portable/text text users"
    ),
    "ctl/watch": Room(
        "the list of users as it changes",
        "access base ctl/print ctl/request instrumented linux/loop listing platform",
    ),
    "ctl/service": Room(
        "what gatehalld tells: the list as it changes, and what this run's rights don't suffice for",
        "access accounts base ctl/explain ctl/print ctl/request ctl/watch explain following linux/bus linux/files "
        "linux/loop listing platform",
    ),
    "ctl/doors": Room(
        "the machine's doors: which are guarded, what is wrong with them, what they answer",
        "base accounts ctl/print ctl/request linux/files linux/local linux/pam pam pam/door platform users",
    ),
    "ctl/compare": Room(
        "what becomes of people on one machine and on another, or on one that is changed",
        "access base accounts ctl/export ctl/print ctl/request linux/files linux/local linux/preferences "
        "portable/formats users world/json",
    ),
    "ctl/check": Room(
        "what is wrong with a machine or a world, or will surprise, subject by subject",
        "access base accounts ctl/doors ctl/print ctl/request directory linux linux/accounts "
        "linux/files linux/ldap/client linux/local linux/nss linux/preferences linux/records linux/switch "
        "platform portable portable/formats portable/text world/file world/json",
    ),
    "ctl/policy": Room(
        "the files that hold the policy: what they say, and how they are changed",
        "base accounts ctl/compare ctl/print ctl/request directory linux/files linux/preferences platform "
        "portable/formats portable/text world",
    ),
    "ctl/verbs": Room(
        "the verbs, one file each",
        "access base accounts ctl/doors ctl/explain ctl/picture ctl/print ctl/request ctl/service ctl/watch "
        "directory linux/loop linux/records platform portable switcher users world/script",
    ),
    "ctl/verbs/policy": Room(
        "the verbs by which a policy is checked, tried and changed",
        "ctl/check ctl/compare ctl/export ctl/policy ctl/verbs linux/preferences platform",
    ),
    "ctl": Room("gatehallctl's command line", "accounts ctl/print ctl/request ctl/verbs world/json"),
}

# A main file chooses the host, beside what its room includes.
MAINS = {
    "greeter/main": "greeter/lightdm greeter/settings linux linux/files people platform",
    "menu/main": "base linux linux/files menu/window people platform",
    "switcher/main": "linux linux/process platform switcher",
    "pam/main": "linux linux/files linux/hours linux/local linux/process pam pam/door platform",
    "linux/nss/main": "base linux/files linux/process linux/records",
    "service/main": "linux linux/files linux/loop linux/process platform service/answers service/bus service/list",
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
