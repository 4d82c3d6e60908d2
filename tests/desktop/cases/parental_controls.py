"""Parental controls: malcontent's daily schedules, as AccountsService holds them."""
import json
import os

from programs import run_as
from session_limits import DAY, limit, moment, second_of_day

CTL = "/usr/bin/gatehallctl"
RULE = """polkit.addRule(function(action, subject) {
    if (action.id == "com.endlessm.ParentalControls.SessionLimits.ReadAny" && subject.user == "carol") {
        return polkit.Result.YES;
    }
});
"""


def _ask(uid, by="root", *options, environment=None):
    status, output, _ = run_as([CTL, "--json", *options, "user", str(uid)], by, environment=environment)
    assert status == 0, output
    return json.loads(output)


def _is(answer, managed, allowed, date):
    found = (answer["isManaged"], answer["kinwatchAllowsLogin"], answer["kinwatchNextCurfewTime"])
    assert found == (managed, allowed, date), found


def a_user_within_the_schedule_is_allowed_until_its_end(desktop):
    now = second_of_day()
    end = min(now + 3600, DAY)
    limit(desktop, 1001, now - now % 3600, end)
    _is(_ask(1001), True, True, moment(end))


def a_user_outside_of_the_schedule_is_refused_until_its_next_start(desktop):
    now = second_of_day()
    if now < DAY // 2:
        limit(desktop, 1001, now + 3600, DAY)
        _is(_ask(1001), True, False, moment(now + 3600))
    else:
        limit(desktop, 1001, 60, now - 3600)
        _is(_ask(1001), True, False, moment(60, days=1))


def the_schedule_goes_by_the_machines_time_whatever_the_callers_zone(desktop):
    now = second_of_day()
    end = min(now + 3600, DAY)
    limit(desktop, 1001, now - now % 3600, end)
    _is(_ask(1001, environment={"PATH": os.environ["PATH"], "TZ": "XXX-7"}), True, True, moment(end))


def without_a_limit_parental_controls_are_not_asked(desktop):
    limit(desktop, 1001, 0, DAY)
    asked = [call["operation"] for call in _ask(1001, "root", "--trace")["calls"]]
    assert "mayLogInNow" in asked, asked
    answer = _ask(1002, "root", "--trace")
    assert "mayLogInNow" not in [call["operation"] for call in answer["calls"]], answer["calls"]
    _is(answer, False, True, None)


def whom_polkit_does_not_admit_sees_no_limit_of_others(desktop):
    limit(desktop, 1001, 0, DAY)
    _is(_ask(1001, "carol"), False, True, None)
    _is(_ask(1001, "bob"), True, True, None)
    desktop.write("/etc/polkit-1/rules.d/50-login-screen.rules", RULE)
    desktop.until(lambda: _ask(1001, "carol")["isManaged"], "polkit's rule in force")


def a_switch_leaves_the_hours_to_whom_it_asks(desktop):
    now = second_of_day()
    limit(desktop, 1001, *((now + 3600, DAY) if now < DAY // 2 else (60, now - 3600)))
    result = desktop.switch("-switchToUserID", "1001")
    assert result.log == [], result
    desktop.until_in_front("bob")


def a_switch_asks_nobody_for_hours(desktop):
    """Where the service is silent, a question to it is logged. LightDM asks it too, so the switch is
    one that needs no LightDM."""
    limit(desktop, 1001, 0, DAY)
    desktop.start_session_of("bob")
    desktop.bring_to_front("ann")
    desktop.freeze("accounts-daemon.service")
    result = desktop.switch("-switchToUserID", "1001")
    assert result.log == [], result
    desktop.until_in_front("bob")
