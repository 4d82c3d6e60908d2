"""The system's own commands and its bus."""
import subprocess

from gi.repository import Gio, GLib


def run(*command, check=True, input="", seconds=120, **options):
    """Runs a command of the system, which may take so long; what it printed."""
    done = subprocess.run(command, check=False, text=True, input=input, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, timeout=seconds, **options)
    if check and done.returncode != 0:
        raise AssertionError(f"{' '.join(command)} ended with {done.returncode}: {done.stderr}")
    return done.stdout


class SystemBus:
    """A connection that comes back when the bus was away, and hears of sessions and bus names."""

    def __init__(self):
        self._connection = None

    def call(self, service, path, interface, method, arguments=None):
        """The call's answer, as Python values; raises GLib.Error."""
        answer = self._connected().call_sync(service, path, interface, method, arguments, None, 0,
                                             60000, None)
        return answer.unpack()

    def properties(self, service, path, interface):
        return self.call(service, path, "org.freedesktop.DBus.Properties", "GetAll",
                         GLib.Variant("(s)", (interface,)))[0]

    def has(self, name):
        return self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                         "NameHasOwner", strings(name))[0]

    def _connected(self):
        if self._connection is None or self._connection.is_closed():
            address = Gio.dbus_address_get_for_bus_sync(Gio.BusType.SYSTEM)
            self._connection = Gio.DBusConnection.new_for_address_sync(
                address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
                | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
            for sender in ("org.freedesktop.login1", "org.freedesktop.DBus"):
                self._connection.signal_subscribe(sender, None, None, None, None, 0, lambda *_: None)
        return self._connection


def strings(*words):
    """Arguments of a call that takes strings."""
    return GLib.Variant("(" + "s" * len(words) + ")", words)
