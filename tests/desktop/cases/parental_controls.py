"""Parental controls: malcontent's daily schedules, as AccountsService holds them."""
import datetime
import json
import os

from gi.repository import GLib

from programs import run_as

CTL = "/usr/bin/gatehallctl"
ACCOUNTS = "org.freedesktop.Accounts"
LIMITS = "com.endlessm.ParentalControls.SessionLimits"
DAILY = 1
DAY = 86400
RULE = """polkit.addRule(function(action, subject) {
    if (action.id == "com.endlessm.ParentalControls.SessionLimits.ReadAny" && subject.user == "carol") {
        return polkit.Result.YES;
    }
});
"""


def _set(desktop, uid, name, value):
    desktop.bus.call(ACCOUNTS, f"/org/freedesktop/Accounts/User{uid}", "org.freedesktop.DBus.Properties",
                     "Set", GLib.Variant("(ssv)", (LIMITS, name, value)))


def _limit(desktop, uid, start, end):
    """A daily schedule for the time of the case, in seconds since midnight."""
    desktop.bus.call(ACCOUNTS, "/org/freedesktop/Accounts", ACCOUNTS, "FindUserById",
                     GLib.Variant("(x)", (uid,)))
    desktop.after(_set, desktop, uid, "LimitType", GLib.Variant("u", 0))
    _set(desktop, uid, "DailySchedule", GLib.Variant("(uu)", (start, end)))
    _set(desktop, uid, "LimitType", GLib.Variant("u", DAILY))


def _ask(uid, by="root", *options, environment=None):
    status, output, _ = run_as([CTL, "--json", *options, "user", str(uid)], by, environment=environment)
    assert status == 0, output
    return json.loads(output)


def _second_of_day():
    now = datetime.datetime.now()
    return now.hour * 3600 + now.minute * 60 + now.second


def _text(second, days=0):
    """A second of today, or so many days later, as gatehallctl prints it."""
    midnight = datetime.datetime.now().replace(hour=0, minute=0, second=0, microsecond=0)
    moment = midnight + datetime.timedelta(days=days, seconds=second)
    return moment.astimezone(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")


def _is(answer, managed, allowed, date):
    found = (answer["isManaged"], answer["kinwatchAllowsLogin"], answer["kinwatchNextCurfewTime"])
    assert found == (managed, allowed, date), found


def a_user_within_the_schedule_is_allowed_until_its_end(desktop):
    now = _second_of_day()
    end = min(now + 3600, DAY)
    _limit(desktop, 1001, now - now % 3600, end)
    _is(_ask(1001), True, True, _text(end))


def a_user_outside_of_the_schedule_is_refused_until_its_next_start(desktop):
    now = _second_of_day()
    if now < DAY // 2:
        _limit(desktop, 1001, now + 3600, DAY)
        _is(_ask(1001), True, False, _text(now + 3600))
    else:
        _limit(desktop, 1001, 60, now - 3600)
        _is(_ask(1001), True, False, _text(60, days=1))


def the_schedule_goes_by_the_machines_time_whatever_the_callers_zone(desktop):
    now = _second_of_day()
    end = min(now + 3600, DAY)
    _limit(desktop, 1001, now - now % 3600, end)
    _is(_ask(1001, environment={"PATH": os.environ["PATH"], "TZ": "XXX-7"}), True, True, _text(end))


def without_a_limit_parental_controls_are_not_asked(desktop):
    _limit(desktop, 1001, 0, DAY)
    asked = [call["operation"] for call in _ask(1001, "root", "--trace")["calls"]]
    assert "mayLogInNow" in asked, asked
    answer = _ask(1002, "root", "--trace")
    assert "mayLogInNow" not in [call["operation"] for call in answer["calls"]], answer["calls"]
    _is(answer, False, True, None)


def whom_polkit_does_not_admit_sees_no_limit_of_others(desktop):
    _limit(desktop, 1001, 0, DAY)
    _is(_ask(1001, "carol"), False, True, None)
    _is(_ask(1001, "bob"), True, True, None)
    desktop.write("/etc/polkit-1/rules.d/50-login-screen.rules", RULE)
    desktop.until(lambda: _ask(1001, "carol")["isManaged"], "polkit's rule in force")


def a_switch_leaves_the_hours_to_whom_it_asks(desktop):
    now = _second_of_day()
    _limit(desktop, 1001, *((now + 3600, DAY) if now < DAY // 2 else (60, now - 3600)))
    result = desktop.switch("-switchToUserID", "1001")
    assert result.log == [], result
    desktop.until_in_front("bob")


def a_switch_waits_for_a_silent_service_no_longer_than_for_a_call(desktop):
    _limit(desktop, 1001, 0, DAY)
    desktop.freeze("accounts-daemon.service")
    result = desktop.switch("-switchToUserID", "1001")
    assert result.seconds < 7, result
