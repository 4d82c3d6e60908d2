#!/usr/bin/env python3
"""Reads the include lines of src/ and include/ below a folder and reports every one that the table of
rooms (rooms.py) doesn't allow, and every arrow of the table that no include makes.

usage: includes.py FOLDER

Prints one line a finding, "FILE:LINE: what is wrong", and exits 1 when there is any.
"""

import collections
import pathlib
import re
import sys

import rooms

STANDARD = set(
    """
    algorithm any array atomic barrier bit bitset charconv chrono codecvt compare complex concepts
    condition_variable coroutine deque exception execution filesystem format forward_list fstream
    functional future initializer_list iomanip ios iosfwd iostream istream iterator latch limits
    list locale map memory memory_resource mutex new numbers numeric optional ostream queue random
    ranges ratio regex scoped_allocator semaphore set shared_mutex source_location span sstream
    stack stdexcept stop_token streambuf string string_view strstream syncstream system_error
    thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility valarray
    variant vector version
    cassert cctype cerrno cfenv cfloat cinttypes climits clocale cmath csetjmp csignal cstdarg
    cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype
    """.split()
)

# The C library's own interface to the kernel, for the folders that touch a real machine.
POSIX = re.compile(
    r"(arpa|net|netinet)/\w+\.h|linux/\w+\.h"
    r"|sys/(auxv|epoll|eventfd|file|inotify|ioctl|mman|pidfd|prctl|random|resource|select|signalfd"
    r"|socket|stat|statvfs|syscall|time|timerfd|types|uio|un|utsname|wait)\.h"
    r"|(aio|dirent|dlfcn|endian|errno|fcntl|fnmatch|getopt|glob|grp|langinfo|libgen|locale|netdb|poll|pthread|pwd"
    r"|malloc|resolv|sched|shadow|signal|spawn|stdlib|string|strings|syslog|termios|time|unistd)\.h"
)
TOUCHES_A_MACHINE = re.compile(r"(portable|linux|explain|people|ctl|service|pam/module|greeter|menu)(/|$)")

# Outside libraries by their headers. One file wraps a library (a .cpp with its .h); where several
# do, they are named here.
LIBRARIES = {
    "sd-bus": (r"systemd/sd-bus", set()),
    "sd-event": (r"systemd/sd-event", set()),
    "sd-journal": (r"systemd/sd-journal", set()),
    "sd-login": (r"systemd/sd-login", set()),
    "libaudit": (r"libaudit", set()),
    "nlohmann-json": (
        r"nlohmann/",
        {"world/json/JsonTree", "linux/accounts/UserRecord", "ctl/print/Json"},
    ),
    "toml++": (r"toml\+\+/", set()),
    "libplist": (r"plist/", set()),
    "ICU": (
        r"unicode/",
        {
            "portable/text/CaseFolding",
            "portable/text/IcuCharacters",
            "portable/text/IcuCollation",
            "portable/text/IcuSonames",
            "portable/text/Scripts",
            "portable/text/SearchForm",
        },
    ),
    "libcrypt": (r"crypt\.h", set()),
    "PAM": (r"security/", {"linux/local/PasswordChange", "pam/module/Module"}),
    "gettext": (r"libintl\.h", set()),
    "libuuid": (r"uuid/", set()),
    "libldap": (r"(open)?ldap|lber", set()),
    "GnuTLS": (r"gnutls/", set()),
    "libxml2": (r"libxml/", set()),
    "uriparser": (r"uriparser/", set()),
    "Pango": (r"pango/", {"portable/text/PangoText", "ctl/picture/Canvas"}),
    "Cairo": (r"cairo", set()),
    "gdk-pixbuf": (r"gdk-pixbuf/", set()),
    "liblightdm-gobject": (r"lightdm", set()),
    "GLib": (r"glib", {"greeter/Greeter", "greeter/lightdm/LightDM"}),
    "Xlib": (r"X11/", {"greeter/machine/Keyboard", "greeter/machine/Scale"}),
}
HOLDS_LIBRARIES = re.compile(r"(portable|linux|people|world|ctl|pam|greeter)(/|$)")

# The toolkit, which some rooms are made of.
TOOLKIT = re.compile(r"gtkmm\.h|(gtkmm|gtk|giomm|glibmm|gdk|gdkmm|sigc\+\+)/.*")
DRAWS = re.compile(r"(people/(widgets|look)|greeter/(entry|window)|menu/window)(/|$)|(greeter|menu)$")

PUBLIC = "gatehall/"

INCLUDE = re.compile(r'\s*#\s*include\s*([<"])([^>"]+)[>"]')


def include_lines(path):
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if match := INCLUDE.match(line):
            yield number, match[1] == "<", match[2]


def room_of(name):
    """Of a file, or of a header as it is included."""
    return name.removeprefix(PUBLIC).rpartition("/")[0]


def stem_of(name):
    return re.sub(r"\.(cpp|h)$", "", name.removeprefix(PUBLIC))


def library_of(header):
    for library, (pattern, _) in LIBRARIES.items():
        if re.match(pattern, header):
            return library
    return None


def problem_with_angle(name, header, first_users):
    room = room_of(name)
    if header in STANDARD:
        return None
    if POSIX.fullmatch(header):
        if name.startswith(PUBLIC):
            return f"<{header}> is the machine's, which no public header shows"
        if TOUCHES_A_MACHINE.match(room) or stem_of(name) in rooms.MAINS:
            return None
        return f"<{header}> is the machine's, which {room}/ does not touch"
    if TOOLKIT.fullmatch(header):
        if DRAWS.match(room):
            return None
        return f"<{header}> is of the toolkit, which {room}/ does not know"
    library = library_of(header)
    if library is None:
        return f"<{header}> is neither a standard header nor one of a known library"
    if name.startswith(PUBLIC):
        return f"<{header}> is of {library}, which no public header shows"
    if not HOLDS_LIBRARIES.match(room):
        return f"<{header}> is of {library}, which {room}/ does not know"
    wrappers = LIBRARIES[library][1] or first_users.setdefault(library, {stem_of(name)})
    if stem_of(name) not in wrappers:
        return f"<{header}> is of {library}, which {' and '.join(sorted(wrappers))} wraps"
    return None


def problem_with_quoted(name, header, files):
    room, target = room_of(name), room_of(header)
    if header not in files:
        return f'"{header}" names no file from the top of src/ or include/'
    if not header.endswith(".h"):
        return f'"{header}" is not a header'
    if name.startswith(PUBLIC) and not header.startswith(PUBLIC):
        return f'"{header}" is not public'
    if target == room or target in allowed_rooms(name):
        return None
    return f'"{header}": {room}/ may not include {target}/'


def allowed_rooms(name):
    main = rooms.MAINS.get(stem_of(name))
    return set(main.split()) if main is not None else rooms.included_by(room_of(name))


def circles(graph):
    """Each include circle once, as the list of files on it."""
    state, trail, found = {}, [], []

    def visit(name):
        state[name] = "open"
        trail.append(name)
        for target in graph.get(name, ()):
            if state.get(target) == "open":
                found.append(trail[trail.index(target) :] + [target])
            elif target not in state:
                visit(target)
        trail.pop()
        state[name] = "done"

    for name in sorted(graph):
        if name not in state:
            visit(name)
    return found


def unused_arrows(graph):
    """Those of the table that no include makes."""
    made = collections.defaultdict(set)
    for name, headers in graph.items():
        is_main = stem_of(name) in rooms.MAINS
        made[stem_of(name) if is_main else room_of(name)].update(map(room_of, headers))
    tables = {room: rooms.included_by(room) for room in rooms.ROOMS}
    tables |= {name: set(below.split()) for name, below in rooms.MAINS.items()}
    for name, below in tables.items():
        for room in sorted(below - made[name] - {room_of(name)}):
            yield f"rooms.py: nothing of {name} includes {room}/"


def findings(top):
    files = {
        path.relative_to(folder).as_posix(): path
        for folder in (top / "src", top / "include")
        for path in folder.rglob("*")
        if path.suffix in {".cpp", ".h"}
    }
    result, graph, first_users, units = [], {}, {}, collections.defaultdict(set)
    if not files:
        result.append(f"{top}: no source files")
    for name in sorted(files):
        room = room_of(name)
        if room not in rooms.ROOMS:
            result.append(f"{name}: {room or '.'}/ is no room of rooms.py")
            continue
        units[room].add(stem_of(name))
        for number, is_angle, header in include_lines(files[name]):
            if is_angle:
                problem = problem_with_angle(name, header, first_users)
            else:
                problem = problem_with_quoted(name, header, files)
                graph.setdefault(name, []).append(header)
            if problem:
                result.append(f"{name}:{number}: {problem}")
    result += ["include circle: " + " -> ".join(circle) for circle in circles(graph)]
    result += [
        f"{room}/ has {len(names)} units: more than {rooms.MOST_UNITS} are of more than one subject"
        for room, names in sorted(units.items())
        if len(names) > rooms.MOST_UNITS
    ]
    return result, graph


def main(arguments):
    if len(arguments) != 2:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    rooms.floors()
    found, graph = findings(pathlib.Path(arguments[1]))
    found += unused_arrows(graph)
    print("\n".join(found) if found else "every include points the right way")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
