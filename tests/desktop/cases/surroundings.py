"""The tool trusts nothing that its caller hands it but the words."""
import resource

from programs import SWITCH

EMPTY_ARGUMENTS = "/opt/programs/empty-arguments"


def _switches_to_bob(desktop, command=(SWITCH, "-switchToUserID", "1001"), **options):
    result = desktop.run_tool(list(command), "ann", desktop.session_of("ann"), **options)
    assert result.log == [], result
    desktop.until_in_front("bob")
    desktop.until_locked("ann")


def a_hostile_environment_changes_nothing(desktop):
    nowhere = "unix:path=/nonexistent"
    _switches_to_bob(desktop, environment={
        "PATH": "", "HOME": "/nonexistent", "SHELL": "/nonexistent", "TMPDIR": "/nonexistent",
        "USER": "carol", "LOGNAME": "carol", "TZ": ":/etc/shadow", "IFS": "x",
        "LD_PRELOAD": "/nonexistent.so", "LD_LIBRARY_PATH": "/tmp", "LD_AUDIT": "/nonexistent.so",
        "LD_DEBUG": "all", "LD_DEBUG_OUTPUT": "/tmp/ld", "LD_BIND_NOW": "1", "LD_SHOW_AUXV": "1",
        "GLIBC_TUNABLES": "glibc.malloc.check=3", "MALLOC_CHECK_": "3", "MALLOC_TRACE": "/tmp/trace",
        "GCONV_PATH": "/tmp", "NLSPATH": "/tmp/%N", "LOCPATH": "/tmp", "RES_OPTIONS": "debug",
        "LANG": "xx_XX.nonsense", "LC_ALL": "../../../tmp/evil", "LANGUAGE": "xx",
        "CHARSET": "EBCDIC", "ICU_DATA": "/tmp", "ICU_TIMEZONE_FILES_DIR": "/tmp",
        "DBUS_SYSTEM_BUS_ADDRESS": nowhere, "DBUS_SESSION_BUS_ADDRESS": nowhere,
        "DBUS_STARTER_ADDRESS": nowhere, "DBUS_STARTER_BUS_TYPE": "system",
        "XDG_SESSION_ID": "c4242", "XDG_SEAT": "seat9", "XDG_VTNR": "63", "XDG_RUNTIME_DIR": "/tmp",
        "XDG_CONFIG_HOME": "/tmp", "XDG_SEAT_PATH": "/nonexistent",
        "SYSTEMD_LOG_LEVEL": "debug", "SYSTEMD_LOG_TARGET": "console", "SYSTEMD_LOG_LOCATION": "1",
        "SYSTEMD_IN_CHROOT": "1", "NOTIFY_SOCKET": "/nonexistent", "LISTEN_FDS": "7",
        "OPENSSL_CONF": "/tmp/evil.cnf", "KRB5_CONFIG": "/tmp/evil", "HOSTALIASES": "/etc/shadow",
    })


def an_environment_full_of_everything_changes_nothing(desktop):
    environment = {f"NAME_{number}": "x" * 1000 for number in range(1000)}
    environment["FORMAT"] = "%s%n" * 1000
    _switches_to_bob(desktop, environment=environment)


def no_environment_at_all_will_do(desktop):
    _switches_to_bob(desktop, environment={})


def closed_standard_descriptors_will_do(desktop):
    shell = 'exec 0<&- 1>&- 2>&-; exec "$@"'
    _switches_to_bob(desktop, ["/bin/sh", "-c", shell, "sh", SWITCH, "-switchToUserID", "1001"])


def a_refusal_with_closed_standard_descriptors_reaches_the_log(desktop):
    """The log's socket may then be descriptor 0, 1 or 2."""
    shell = 'exec 0<&- 1>&- 2>&-; exec "$@"'
    result = desktop.run_tool(["/bin/sh", "-c", shell, "sh", SWITCH, "-suspend"], "bob")
    assert len(result.log) == 1, result


def a_small_stack_will_do(desktop):
    _switches_to_bob(desktop, limits=[(resource.RLIMIT_STACK, 128 * 1024)])


def few_open_files_will_do(desktop):
    _switches_to_bob(desktop, limits=[(resource.RLIMIT_NOFILE, 16)])


def one_more_open_file_than_the_standard_ones_ends_it_in_time(desktop):
    """Whether that is enough or not."""
    result = desktop.run_tool([SWITCH, "-switchToUserID", "1001"], "ann", desktop.session_of("ann"),
                              limits=[(resource.RLIMIT_NOFILE, 4)])
    assert desktop.asked() or result.log, result
    if desktop.asked():
        desktop.until_in_front("bob")


def no_files_may_grow_and_no_core_will_do(desktop):
    _switches_to_bob(desktop, limits=[(resource.RLIMIT_FSIZE, 0), (resource.RLIMIT_CORE, 0)])


def a_hostile_program_name_changes_nothing(desktop):
    for name in (b"", b"%s%s%n", b"/" * 4000, b"-suspend", b"\xff\xfe\n", b"../../etc/shadow"):
        result = desktop.run_tool([name, "-switchToUserID", "4242"], "ann",
                                  desktop.session_of("ann"), executable=SWITCH)
        assert result.log == [], result
    assert desktop.asked() == []
    assert desktop.has_in_front("ann"), desktop.describe()


def the_log_names_the_tool_whatever_it_was_called_as(desktop):
    result = desktop.run_tool(["someone-else", "-suspend"], "bob", executable=SWITCH)
    assert len(result.log) == 1, result


def not_even_a_program_name_changes_nothing(desktop):
    result = desktop.run_tool([EMPTY_ARGUMENTS, SWITCH], "ann", desktop.session_of("ann"))
    assert result.log == [], result
    assert desktop.asked() == []
    assert desktop.has_in_front("ann"), desktop.describe()


def ignored_and_blocked_signals_change_nothing(desktop):
    shell = 'trap "" HUP INT TERM PIPE ALRM CHLD; exec "$@"'
    _switches_to_bob(desktop, ["/bin/sh", "-c", shell, "sh", SWITCH, "-switchToUserID", "1001"])


def a_folder_that_is_gone_will_do(desktop):
    shell = 'd=$(mktemp -d) && cd "$d" && rmdir "$d" && exec "$@"'
    _switches_to_bob(desktop, ["/bin/sh", "-c", shell, "sh", SWITCH, "-switchToUserID", "1001"])
