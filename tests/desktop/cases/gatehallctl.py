"""What gatehallctl says about this machine."""
import json

from programs import run_as
from system import run


def _answer(*words):
    return json.loads(run("gatehallctl", "--json", *words, check=False))


def _shown():
    return _answer("users")["users"]


def _marks(name):
    user = next(user for user in _shown() if user["shortName"] == name)
    return {mark for mark in ("local", "current", "suspended", "mobile") if user[mark]}


def the_people_are_shown_but_no_account_that_nobody_can_log_in_with(desktop):
    names = [user["shortName"] for user in _shown()]
    assert names == ["ann", "bob", "carol", "erin"], names


def the_user_in_front_is_marked_and_so_are_those_with_a_session(desktop):
    assert "current" in _marks("ann") and _marks("bob") == {"local"}, _shown()
    desktop.start_session_of("bob")
    assert "current" not in _marks("ann") and "suspended" in _marks("ann"), _shown()
    assert "current" in _marks("bob"), _shown()


def a_mobile_user_is_marked_and_may_log_in(desktop):
    assert "mobile" in _marks("erin")
    (erin,) = _answer("can-log-in", "erin")["users"]
    assert (erin["allowed"], erin["rule"]) == (True, "no allow list"), erin


def a_user_is_what_the_account_files_say(desktop):
    bob = _answer("user", "1001")
    expected = {"shortName": "bob", "longName": "Bob", "getUid": 1001, "getGid": 1001,
                "shell": "/bin/bash", "nfsHomePath": "/home/bob", "node": "local",
                "isGuestUser": False, "isInAdminGroup": False}
    assert {key: bob[key] for key in expected} == expected, bob
    assert _answer("user", "1002")["getGUID"] == "C0FFEE00-0000-4000-8000-000000001002"


def a_user_whom_nobody_knows_is_not_found(desktop):
    status, output, _ = run_as(["gatehallctl", "user", "4242"], "root")
    assert (status, output.count("\n")) == (1, 1) and "4242" in output, output


def those_who_may_log_in_are_told_from_those_who_may_not(desktop):
    answers = _answer("can-log-in", "1000", "1001", "1", "4242")["users"]
    assert [(a["found"], a["allowed"], a["rule"]) for a in answers[2:]] == [
        (False, False, "no shell"), (False, False, "no such account")], answers
    assert [(a["found"], a["allowed"]) for a in answers[:2]] == [(True, True)] * 2, answers


def the_access_group_is_the_rule_that_refuses(desktop):
    desktop.add_group("gatehall-access", "carol")
    bob, carol = _answer("can-log-in", "bob", "carol")["users"]
    assert bob["rule"] == "not in gatehall-access" and bob["file"] == "/etc/group", bob
    assert not bob["allowed"] and carol["allowed"], (bob, carol)


def every_door_is_guarded_and_a_way_past_one_is_told(desktop):
    desktop.join_group("sudo", "ann")
    check = _answer("check")
    doors = {door["service"]: door["guarded"] for door in check["doors"]}
    assert {"lightdm", "lightdm-autologin", "login"} <= doors.keys(), doors
    assert set(doors.values()) == {"yes"} and check["findings"] == [], check
    desktop.write("/etc/pam.d/login", "account sufficient pam_permit.so\n@include common-account\n")
    (finding,) = _answer("check")["findings"]
    assert (finding["file"], finding["line"]) == ("/etc/pam.d/login", 1), finding


def a_door_is_told_to_refuse_by_the_same_rule_and_the_sentence_with_it(desktop):
    desktop.add_group("gatehall-access", "ann")
    ann, carol = _answer("can-log-in", "--at", "lightdm", "1000", "1002")["users"]
    assert ann["allowed"] and not carol["allowed"], (ann, carol)
    assert carol["sentence"].startswith("You may not log in on this computer: "), carol
    door = _answer("can-log-in", "--at", "sudo", "1002")
    assert door["users"][0]["allowed"] is None and door["door"]["guarded"] == "no", door


def an_administrator_is_one_by_the_group(desktop):
    assert _answer("admins")["users"] == []
    desktop.join_group("sudo", "bob")
    assert [user["shortName"] for user in _answer("admins")["users"]] == ["bob"]
    assert _answer("user", "1001")["isInAdminGroup"]


def preferences_are_the_defaults_until_somebody_sets_them(desktop):
    assert {preference["source"] for preference in _answer("prefs").values()} == {"default"}
    desktop.write("/etc/gatehall/com.orvane.gatehall.plist",
                  '<plist version="1.0"><dict><key>HideAdminUsers</key><true/></dict></plist>\n')
    preferences = _answer("prefs")
    assert preferences["showAdminUsers"] == {"value": False, "source": "preferences"}, preferences


def there_are_no_network_directories(desktop):
    network = _answer("network")
    assert not network["hasParentNetwork"] and not network["parentNetworkExists"], network
    assert _answer("network-users")["users"] == []


def a_rehearsed_switch_switches_nothing(desktop):
    rehearsal = _answer("switch", "-switchToUserID", "1001")
    (call,) = rehearsal["loginService"]
    assert call["operation"] == "switchToUser", rehearsal
    assert call["attributes"]["UserPasswordKey"] == "", rehearsal
    assert desktop.asked() == []
    assert desktop.has_in_front("ann"), desktop.describe()


def ann_sees_that_users_have_passwords_but_not_which_are_empty(desktop):
    status, output, _ = run_as(["gatehallctl", "--json", "switch", "-switchToUserID", "1001"], "ann",
                               desktop.session_of("ann"))
    (call,) = json.loads(output)["loginService"]
    assert status == 0 and "UserPasswordKey" not in call["attributes"], output
