#!/usr/bin/env python3
"""Reads the include lines of a source tree and reports every arrow that points the wrong way.

usage: includes.py SRC

Prints one line a finding, "FILE:LINE: what is wrong", and exits 1 when there is any.
"""

import pathlib
import re
import sys

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
    r"|sys/(auxv|epoll|eventfd|file|inotify|ioctl|mman|prctl|random|resource|select|signalfd"
    r"|socket|stat|statvfs|syscall|time|timerfd|types|uio|un|utsname|wait)\.h"
    r"|(aio|dirent|dlfcn|endian|errno|fcntl|fnmatch|getopt|glob|grp|libgen|locale|netdb|poll|pthread|pwd"
    r"|resolv|sched|shadow|signal|spawn|stdlib|string|strings|syslog|termios|time|unistd)\.h"
)
TOUCHES_A_MACHINE = {"platform/portable", "platform/linux", "ctl"}

# Outside libraries by their headers. One file wraps a library (a .cpp with its .h); where several
# do, they are named here.
LIBRARIES = {
    "sd-bus": (r"systemd/sd-bus", set()),
    "sd-event": (r"systemd/sd-event", set()),
    "sd-login": (r"systemd/sd-login", set()),
    "nlohmann-json": (
        r"nlohmann/",
        {"platform/world/JsonTree", "platform/linux/UserRecord", "ctl/Json"},
    ),
    "toml++": (r"toml\+\+/", set()),
    "CLI11": (r"CLI/", set()),
    "libplist": (r"plist/", set()),
    "ICU": (
        r"unicode/",
        {
            "platform/portable/CaseFolding",
            "platform/portable/IcuCharacters",
            "platform/portable/IcuCollation",
            "platform/portable/IcuSonames",
        },
    ),
    "libcrypt": (r"crypt\.h", set()),
    "PAM": (r"security/", set()),
    "libuuid": (r"uuid/", set()),
    "libldap": (
        r"(open)?ldap|lber",
        {"platform/linux/LdapLibrary", "platform/linux/LdapConnection"},
    ),
    "libxml2": (r"libxml/", set()),
    "uriparser": (r"uriparser/", set()),
    "Pango": (r"pango/", {"platform/portable/PangoText", "ctl/Canvas"}),
    "Cairo": (r"cairo", set()),
    "gdk-pixbuf": (r"gdk-pixbuf/", set()),
}
HOLDS_LIBRARIES = {"platform/portable", "platform/linux", "platform/world", "ctl"}

CORE = {"switcher", "directory", "users", "access", "text"}
PLATFORM = {"platform"}
HOSTS = {"platform/world", "platform/linux"}

# Which folders' headers the files of a folder may include, besides its own.
MAY_INCLUDE = {
    **{folder: CORE | PLATFORM for folder in CORE},
    "platform": set(),
    "platform/portable": PLATFORM,
    "platform/instrumented": PLATFORM,
    "platform/linux": PLATFORM | {"platform/portable"},
    "platform/world": PLATFORM | {"platform/portable", "platform/instrumented"},
    "ctl": CORE | PLATFORM | HOSTS | {"platform/portable", "platform/instrumented"},
}

INCLUDE = re.compile(r'\s*#\s*include\s*([<"])([^>"]+)[>"]')


def include_lines(path):
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if match := INCLUDE.match(line):
            yield number, match[1] == "<", match[2]


def folder_of(name):
    return name.rpartition("/")[0]


def stem_of(name):
    return re.sub(r"\.(cpp|h)$", "", name)


def library_of(header):
    for library, (pattern, _) in LIBRARIES.items():
        if re.match(pattern, header):
            return library
    return None


def problem_with_angle(name, header, first_users):
    folder = folder_of(name)
    if header in STANDARD:
        return None
    if POSIX.fullmatch(header):
        if folder in TOUCHES_A_MACHINE:
            return None
        return f"<{header}> is the machine's, which {folder}/ does not touch"
    library = library_of(header)
    if library is None:
        return f"<{header}> is neither a standard header nor one of a known library"
    if folder not in HOLDS_LIBRARIES:
        return f"<{header}> is of {library}, which {folder}/ does not know"
    wrappers = LIBRARIES[library][1] or first_users.setdefault(library, {stem_of(name)})
    if stem_of(name) not in wrappers:
        return f"<{header}> is of {library}, which {' and '.join(sorted(wrappers))} wraps"
    return None


def problem_with_quoted(name, header, files):
    folder, target = folder_of(name), folder_of(header)
    if header not in files:
        return f'"{header}" names no file from the top of the source tree'
    if not header.endswith(".h"):
        return f'"{header}" is not a header'
    allowed = {folder} | MAY_INCLUDE.get(folder, set())
    if name.endswith("/main.cpp"):
        allowed |= HOSTS
    if target not in allowed:
        return f'"{header}": {folder}/ may not include {target}/'
    return None


def cycles(graph):
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


def findings(source):
    files = {
        path.relative_to(source).as_posix(): path
        for path in source.rglob("*")
        if path.suffix in {".cpp", ".h"}
    }
    result, graph, first_users = [], {}, {}
    if not files:
        result.append(f"{source}: no source files")
    for name in sorted(files):
        if folder_of(name) not in MAY_INCLUDE:
            result.append(f"{name}: no rule says what {folder_of(name) or '.'}/ may include")
            continue
        for number, is_angle, header in include_lines(files[name]):
            if is_angle:
                problem = problem_with_angle(name, header, first_users)
            else:
                problem = problem_with_quoted(name, header, files)
                graph.setdefault(name, []).append(header)
            if problem:
                result.append(f"{name}:{number}: {problem}")
    result += ["include circle: " + " -> ".join(circle) for circle in cycles(graph)]
    return result


def main(arguments):
    if len(arguments) != 2:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    found = findings(pathlib.Path(arguments[1]))
    print("\n".join(found) if found else "every include points the right way")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
