"""malcontent's limits on people's sessions, as AccountsService holds them, and the hours in them."""
import datetime

from gi.repository import GLib

ACCOUNTS = "org.freedesktop.Accounts"
LIMITS = "com.endlessm.ParentalControls.SessionLimits"
NONE, DAILY = 0, 1
DAY = 86400


def _set(desktop, uid, name, value):
    desktop.bus.call(ACCOUNTS, f"/org/freedesktop/Accounts/User{uid}", "org.freedesktop.DBus.Properties",
                     "Set", GLib.Variant("(ssv)", (LIMITS, name, value)))


def find(desktop, uid):
    """Has AccountsService put the user on the bus."""
    desktop.bus.call(ACCOUNTS, "/org/freedesktop/Accounts", ACCOUNTS, "FindUserById",
                     GLib.Variant("(x)", (uid,)))


def set_schedule(desktop, uid, start, end):
    """In seconds since midnight; it is in force while the sessions are limited."""
    _set(desktop, uid, "DailySchedule", GLib.Variant("(uu)", (start, end)))


def limit(desktop, uid, start, end):
    """A daily schedule for the time of the case."""
    find(desktop, uid)
    desktop.after(lift, desktop, uid)
    set_schedule(desktop, uid, start, end)
    _set(desktop, uid, "LimitType", GLib.Variant("u", DAILY))


def limit_to_come(desktop, uid):
    """A schedule for the time of the case whose hours are yet to begin; when, as people are told."""
    now = second_of_day()
    if now < DAY // 2:
        start = now - now % 60 + 3600
        limit(desktop, uid, start, DAY)
        return f"{start // 3600:02}:{start // 60 % 60:02}"
    limit(desktop, uid, 60, now - 3600)
    return "00:01 tomorrow"


def lift(desktop, uid):
    _set(desktop, uid, "LimitType", GLib.Variant("u", NONE))


def second_of_day():
    now = datetime.datetime.now()
    return now.hour * 3600 + now.minute * 60 + now.second


def moment(second, days=0):
    """A second of today, or so many days later, as gatehallctl prints it."""
    midnight = datetime.datetime.now().replace(hour=0, minute=0, second=0, microsecond=0)
    then = midnight + datetime.timedelta(days=days, seconds=second)
    return then.astimezone(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
