"""Message buses of a stage's own."""
import os

from gi.repository import Gio, GLib

CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={socket}</listen>
  <auth>EXTERNAL</auth>
  {services}
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
  </policy>
  <limit name="max_match_rules_per_connection">50000</limit>
</busconfig>
"""


class Bus:
    """A dbus-daemon; with starts_services, one that starts those of the machine's session buses."""

    def __init__(self, processes, folder, name, environment, starts_services=False):
        socket = folder / name
        configuration = folder / f"{name}.conf"
        services = "<standard_session_servicedirs/>" if starts_services else ""
        configuration.write_text(CONFIGURATION.format(socket=socket, services=services))
        self.address = f"unix:path={socket}"
        ready, told = os.pipe()
        with open(folder / f"{name}.log", "w") as log:  # of the services, too, that it starts
            processes.start("dbus-daemon", "--nofork", "--nopidfile", "--nosyslog",
                            f"--config-file={configuration}", f"--print-address={told}",
                            pass_fds=[told], env=environment, stdout=log, stderr=log)
        os.close(told)
        with open(ready) as line:
            if not line.readline():
                raise RuntimeError(f"the bus “{name}” does not come up")
        self.connection = connect(self.address)

    def call(self, service, path, interface, method, arguments=None):
        return call(self.connection, service, path, interface, method, arguments)


def connect(address):
    connection = Gio.DBusConnection.new_for_address_sync(
        address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
        | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
    connection.set_exit_on_close(False)
    return connection


def call(connection, service, path, interface, method, arguments=None, seconds=20):
    """What the method returns, as a tuple. Raises GLib.Error."""
    return connection.call_sync(service, path, interface, method, arguments, None,
                                Gio.DBusCallFlags.NONE, seconds * 1000, None).unpack()


def texts(*values):
    return GLib.Variant(f"({'s' * len(values)})", values)
