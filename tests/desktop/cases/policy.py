"""Who is admitted: the login rules, as the machine's files and groups state them."""
import signal

import journal

MANAGED = "/Library/Managed Preferences/com.orvane.gatehall.plist"
SYSTEM = "/etc/gatehall/com.orvane.gatehall.plist"
ANNS = "/home/ann/.config/gatehall/com.orvane.gatehall.plist"
# The ids that the people's user records give them.
CAROLS = "C0FFEE00-0000-4000-8000-000000001002"
ERINS = "C0FFEE00-0000-4000-8000-000000001003"


def _property_list(body):
    return ('<?xml version="1.0" encoding="UTF-8"?>\n<plist version="1.0"><dict>'
            f"{body}</dict></plist>\n")


def _list(key, *entries):
    return f"<key>{key}</key><array>{''.join(f'<string>{e}</string>' for e in entries)}</array>"


def _is_admitted(desktop, user, uid):
    result = desktop.switch("-switchToUserID", uid)
    assert result.log == [], result
    desktop.until_in_front(user)


def _is_refused(desktop, uid, log=()):
    result = desktop.switch("-switchToUserID", uid)
    assert result.log == list(log), result
    assert len(result.decisions) == 1, result
    assert desktop.asked() == []
    assert [s.user for s in desktop.sessions()] == ["ann"], desktop.describe()
    assert not desktop.session_of("ann").is_locked


def a_user_outside_of_the_access_group_is_refused(desktop):
    desktop.add_group("gatehall-access", "carol")
    _is_refused(desktop, "1001")


def a_user_in_the_access_group_is_admitted(desktop):
    desktop.add_group("gatehall-access", "bob")
    _is_admitted(desktop, "bob", "1001")


def an_administrator_outside_of_the_access_group_is_refused(desktop):
    desktop.add_group("gatehall-access", "carol")
    desktop.join_group("sudo", "bob")
    _is_refused(desktop, "1001")


def a_managed_file_switches_local_logins_off(desktop):
    desktop.write(MANAGED, _property_list("<key>LocalUserLoginEnabled</key><false/>"))
    _is_refused(desktop, "1001")


def an_administrator_may_log_in_where_local_logins_are_off(desktop):
    desktop.write(MANAGED, _property_list("<key>LocalUserLoginEnabled</key><false/>"))
    desktop.join_group("sudo", "bob")
    _is_admitted(desktop, "bob", "1001")


def a_managed_file_that_others_can_write_decides_nothing_and_the_log_says_so(desktop):
    desktop.write(MANAGED, _property_list("<key>LocalUserLoginEnabled</key><true/>"), mode=0o666)
    result = desktop.switch("-switchToUserID", "1001", status=-signal.SIGABRT)
    assert result.log and all(MANAGED in line for line in result.log), result
    (decision,) = result.decisions
    assert f"bob (1001): undecidable: {MANAGED}" in decision, result
    assert desktop.asked() == []
    assert [s.user for s in desktop.sessions()] == ["ann"], desktop.describe()


def a_mobile_user_is_admitted_where_there_are_no_lists(desktop):
    _is_admitted(desktop, "erin", "1003")


def a_mobile_user_on_the_deny_list_is_refused(desktop):
    desktop.write(SYSTEM, _property_list(_list("DenyList", CAROLS, ERINS)))
    _is_refused(desktop, "1003")


def a_mobile_user_is_admitted_where_the_deny_list_names_someone_else(desktop):
    desktop.write(SYSTEM, _property_list(_list("DenyList", CAROLS)))
    _is_admitted(desktop, "erin", "1003")


def an_administrator_on_the_deny_list_is_admitted(desktop):
    desktop.write(SYSTEM, _property_list(_list("DenyList", ERINS)))
    desktop.join_group("sudo", "erin")
    _is_admitted(desktop, "erin", "1003")


def a_deny_list_of_everyone_leaves_local_users_alone(desktop):
    desktop.write(SYSTEM, _property_list(_list("DenyList", "*")))
    _is_admitted(desktop, "bob", "1001")


def a_mobile_user_missing_from_the_allow_list_is_refused(desktop):
    desktop.write(SYSTEM, _property_list(_list("AllowList", CAROLS)))
    _is_refused(desktop, "1003")


def anns_own_preferences_decide_for_her_tool(desktop):
    """They are those of the user who runs it."""
    desktop.write(ANNS, _property_list(_list("DenyList", ERINS)), owner="ann")
    _is_refused(desktop, "1003")


def anns_own_preferences_decide_nothing_at_the_door(desktop):
    """Which is root's: LightDM, whom the tool asks, shows its greeter instead."""
    desktop.write(SYSTEM, _property_list(_list("DenyList", ERINS)))
    desktop.write(ANNS, _property_list(_list("DenyList", CAROLS)), owner="ann")
    cursor = journal.cursor()
    result = desktop.switch("-switchToUserID", "1003")
    assert "erin (1003): admitted: no allow list" in result.decisions[0], result
    desktop.until_greeter()
    assert {s.user for s in desktop.sessions()} == {"ann", "lightdm"}, desktop.describe()
    said = {entry["MESSAGE"] for entry in journal.records(cursor, "pam_gatehall")}
    assert said == {"lightdm: erin (1003): refused: denied by GUID (preferences)"}, said
