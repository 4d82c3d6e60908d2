"""gatehallctl watch shows what happens on the machine, and nothing else."""
from session_limits import DAY, find, lift, limit, moment, second_of_day, set_schedule
from system import run
from watch import Watch

BOB = 1001
HIDE_BOB = ("<plist version='1.0'><dict>"
            "<key>HiddenUsersList</key><array><string>bob</string></array></dict></plist>\n")


def _add_user(desktop, name, *options):
    """Somebody who needs no password."""
    desktop.after(run, "userdel", name, check=False)
    run("useradd", "--shell", "/bin/bash", "--password", "", *options, name)


def _other_hours():
    """A schedule that is far from the present moment, and in how many days it starts."""
    return ((0, 60), 1) if second_of_day() > DAY // 2 else ((DAY - 120, DAY), 0)


def _let_limits_be_known(desktop):
    """AccountsService writes down what else it has of an account when it has to for the first time."""
    find(desktop, BOB)
    lift(desktop, BOB)


def an_account_that_is_added_and_deleted(desktop):
    watch = Watch(desktop)
    watch.shows(lambda: _add_user(desktop, "zoe"), {"zoe": "added"})
    watch.shows(lambda: run("userdel", "zoe"), {"zoe": "removed"})


def an_account_once_it_has_a_password(desktop):
    _add_user(desktop, "zoe", "--password", "!")
    watch = Watch(desktop)
    assert "zoe" not in watch.names(), watch.users
    watch.shows(lambda: run("passwd", "--quiet", "--delete", "zoe"), {"zoe": "added"})
    watch.shows(lambda: run("usermod", "--shell", "/usr/sbin/nologin", "zoe"),
                {"zoe": "removed"})


def a_full_name_that_changes_and_the_order_with_it(desktop):
    _add_user(desktop, "zoe", "--comment", "Zoe")
    watch = Watch(desktop)
    assert watch.names() == ["ann", "bob", "carol", "erin", "zoe"], watch.users
    watch.shows(lambda: run("usermod", "--comment", "Aaron,Room 5", "zoe"),
                {"zoe": {"longName": "Aaron"}})
    assert watch.names() == ["zoe", "ann", "bob", "carol", "erin"], watch.users


def the_access_group_that_somebody_joins_and_leaves(desktop):
    desktop.add_group("gatehall-access", "ann", "carol")
    watch = Watch(desktop)
    assert watch.names() == ["ann", "carol"], watch.users
    watch.shows(lambda: run("gpasswd", "--add", "bob", "gatehall-access"), {"bob": "added"})
    watch.shows(lambda: run("gpasswd", "--delete", "carol", "gatehall-access"),
                {"carol": "removed"})


def administrators_who_are_hidden(desktop):
    desktop.write("/etc/gatehall/com.orvane.gatehall.plist",
                  '<plist version="1.0"><dict><key>HideAdminUsers</key><true/></dict></plist>\n')
    watch = Watch(desktop)
    watch.shows(lambda: desktop.join_group("sudo", "bob"), {"bob": "removed"})
    watch.shows(lambda: run("gpasswd", "--delete", "bob", "sudo"), {"bob": "added"})
    run("gpasswd", "--add", "bob", "sudo")  # as the case's end expects it


def a_preference_that_is_set(desktop):
    watch = Watch(desktop)
    watch.shows(lambda: desktop.write("/etc/gatehall/com.orvane.gatehall.plist", HIDE_BOB),
                {"bob": "removed"})


def a_managed_setting_whose_folder_was_not_there(desktop):
    watch = Watch(desktop)
    watch.shows(
        lambda: desktop.write("/Library/Managed Preferences/com.orvane.gatehall.plist", HIDE_BOB),
        {"bob": "removed"})


def a_limit_of_sessions_that_is_set_changed_and_lifted(desktop):
    _let_limits_be_known(desktop)
    watch = Watch(desktop)
    (start, end), days = _other_hours()
    watch.shows(lambda: limit(desktop, BOB, start, end), {
        "bob": {"kinwatchAllowsLogin": False, "kinwatchNextCurfewTime": moment(start, days)}})
    watch.shows(lambda: set_schedule(desktop, BOB, start + 30, end), {
        "bob": {"kinwatchNextCurfewTime": moment(start + 30, days)}})
    watch.shows(lambda: lift(desktop, BOB), {
        "bob": {"kinwatchAllowsLogin": True, "kinwatchNextCurfewTime": None}})


def the_end_of_the_hours_in_which_somebody_may_log_in(desktop):
    _let_limits_be_known(desktop)
    desktop.until(lambda: 300 <= second_of_day() < DAY - 300, "midnight past", seconds=660)
    # A watch that begins so slowly that the end is past by then begins once more, earlier.
    for ahead in (4, 16, 64):
        end = second_of_day() + ahead
        limit(desktop, BOB, end - 60, end)
        watch = Watch(desktop)
        if watch.user("bob")["kinwatchAllowsLogin"]:
            break
        assert second_of_day() >= end, watch.users
    watch.shows(
        lambda: desktop.until(lambda: second_of_day() >= end, "the end of the hours", seconds=120),
        {"bob": {"kinwatchAllowsLogin": False, "kinwatchNextCurfewTime": moment(end - 60, days=1)}})


def a_login_on_another_terminal_and_its_end(desktop):
    watch = Watch(desktop)
    watch.shows(lambda: desktop.start_plain_session_of("bob", 9), {"bob": {"suspended": True}})

    def end():
        session = desktop.session_of("bob")
        run("systemctl", "stop", "plain-session-bob-9.service")
        desktop.until(lambda: session.name not in [s.name for s in desktop.sessions()],
                      "bob's session gone")

    watch.shows(end, {"bob": {"suspended": False}})


def a_login_in_text_shows_nobody_as_logged_in(desktop):
    watch = Watch(desktop)
    watch.shows(lambda: desktop.start_plain_session_of("bob", 9, type="tty"), {})


def a_login_that_takes_longer_than_a_list_waits_for_it(desktop):
    """Erin's, whose part of systemd does not run yet."""
    desktop.after(run, "systemctl", "daemon-reload")
    desktop.write("/etc/systemd/system/user@1003.service.d/slow.conf",
                  "[Service]\nExecStartPre=/bin/sleep 2\n")
    run("systemctl", "daemon-reload")
    watch = Watch(desktop)
    watch.shows(lambda: desktop.start_plain_session_of("erin", 9), {"erin": {"suspended": True}})


def a_switch_there_and_back(desktop):
    watch = Watch(desktop)

    def switch():
        desktop.switch("-switchToUserID", "1001")
        desktop.until_in_front("bob")

    watch.shows(switch, {"ann": {"current": False},
                         "bob": {"current": True, "suspended": True}})
    watch.shows(lambda: desktop.bring_to_front("ann"), {"ann": {"current": True},
                                                        "bob": {"current": False}})


def _goes_on(desktop, watch):
    """What watch shows is what somebody who looks only now is shown, and it hears of changes."""
    fresh = Watch(desktop)
    watch.settle()
    desktop.until(lambda: watch.users == fresh.users, "what another watch shows, too")
    assert not watch.user("bob")["kinwatchAllowsLogin"], watch.users
    watch.shows(lambda: _add_user(desktop, "zoe"), {"zoe": "added"})
    watch.shows(lambda: run("userdel", "zoe"), {"zoe": "removed"})
    watch.shows(lambda: lift(desktop, BOB),
                {"bob": {"kinwatchAllowsLogin": True, "kinwatchNextCurfewTime": None}})
    watch.shows(lambda: desktop.start_plain_session_of("bob", 9), {"bob": {"suspended": True}})


def _restart(desktop, *units):
    """Restarts them under a watch that shows bob as refused, as it does again afterwards."""
    _let_limits_be_known(desktop)
    limit(desktop, BOB, *_other_hours()[0])
    watch = Watch(desktop)
    assert not watch.user("bob")["kinwatchAllowsLogin"], watch.users
    run("systemctl", "restart", *units)
    return watch


def the_accounts_service_is_restarted(desktop):
    _goes_on(desktop, _restart(desktop, "accounts-daemon.service"))


def logind_is_restarted(desktop):
    _goes_on(desktop, _restart(desktop, "systemd-logind.service"))


def the_system_bus_is_restarted(desktop):
    """Which takes LightDM and its sessions along."""
    watch = _restart(desktop, "dbus.service")
    desktop.until(lambda: watch.has_logged("The system bus is back."), "the bus heard again")
    desktop.until(desktop.in_front, "somebody in front")
    _goes_on(desktop, watch)
