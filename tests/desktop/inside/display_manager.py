"""A display manager on the system bus that notes what it is asked for, and does nothing."""
import threading

from gi.repository import Gio, GLib

NAME = "org.freedesktop.DisplayManager"
MANAGER = "/org/freedesktop/DisplayManager"
SEAT = MANAGER + "/Seat0"

BUS = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus")

# LightDM is known by its AddLocalXSeat.
OBJECTS = {
    MANAGER: """<node><interface name="org.freedesktop.DisplayManager">
        <method name="AddLocalXSeat"><arg type="i" direction="in"/></method>
        <property name="Seats" type="ao" access="read"/>
      </interface></node>""",
    SEAT: """<node><interface name="org.freedesktop.DisplayManager.Seat">
        <method name="SwitchToGreeter"/>
        <method name="SwitchToGuest"><arg type="s" direction="in"/></method>
        <method name="SwitchToUser"><arg type="s" direction="in"/><arg type="s" direction="in"/></method>
      </interface></node>""",
}


class NotingDisplayManager:
    """Plays LightDM, in a thread of its own, until it is stopped."""

    def __init__(self):
        self._asked = []
        self._lock = threading.Lock()
        self._has_begun = threading.Event()
        self._context = GLib.MainContext()
        self._loop = GLib.MainLoop(self._context)
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()
        assert self._has_begun.wait(60), f"{NAME} could not be had on the bus"

    def take(self):
        """What it was asked for since the last time, and by which process: (id, "SwitchToUser dana").
        Who asked is answered only then, so that what ended programs asked for is in here."""
        with self._lock:
            asked, self._asked = self._asked, []
        return asked

    def stop(self):
        self._context.invoke_full(GLib.PRIORITY_DEFAULT, self._loop.quit)
        self._thread.join()

    def _run(self):
        self._context.push_thread_default()
        bus = Gio.DBusConnection.new_for_address_sync(
            Gio.dbus_address_get_for_bus_sync(Gio.BusType.SYSTEM),
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
        for path, description in OBJECTS.items():
            (interface,) = Gio.DBusNodeInfo.new_for_xml(description).interfaces
            bus.register_object(path, interface, self._called,
                                lambda *_: GLib.Variant("ao", [SEAT]), None)
        bus.call_sync(*BUS, "RequestName", GLib.Variant("(su)", (NAME, 4)), None, 0, 60000, None)
        self._has_begun.set()
        self._loop.run()
        bus.close_sync()
        self._context.pop_thread_default()

    def _called(self, bus, sender, _path, _interface, method, arguments, invocation):
        process = bus.call_sync(*BUS, "GetConnectionUnixProcessID", GLib.Variant("(s)", (sender,)),
                                None, 0, 60000, None).unpack()[0]
        with self._lock:
            self._asked.append((process, " ".join([method, *filter(None, arguments.unpack())])))
        invocation.return_value(None)
