"""Who else is asked on the system bus: logind, AccountsService and polkit, as far as a login screen
asks them."""
from gi.repository import Gio, GLib

LOGIND = """<node><interface name="org.freedesktop.login1.Manager">
<method name="ListSessions"><arg type="a(susso)" direction="out"/></method>
<signal name="SessionNew"><arg type="s"/><arg type="o"/></signal>
<signal name="SessionRemoved"><arg type="s"/><arg type="o"/></signal>
{}
</interface></node>"""
SESSION = """<node><interface name="org.freedesktop.login1.Session">
<property name="Class" type="s" access="read"/>
<property name="State" type="s" access="read"/>
<property name="User" type="(uo)" access="read"/>
</interface></node>"""
POWER = ("PowerOff", "Reboot", "Suspend", "Hibernate")
POWER_METHODS = "".join(
    f'<method name="Can{name}"><arg type="s" direction="out"/></method>'
    f'<method name="{name}"><arg type="b" direction="in"/></method>' for name in POWER)

ACCOUNTS = """<node><interface name="org.freedesktop.Accounts">
<method name="FindUserByName"><arg type="s" direction="in"/><arg type="o" direction="out"/></method>
<method name="FindUserById"><arg type="x" direction="in"/><arg type="o" direction="out"/></method>
</interface></node>"""
ACCOUNT = """<node><interface name="org.freedesktop.Accounts.User">
<method name="SetXSession"><arg type="s" direction="in"/></method>
<method name="SetSession"><arg type="s" direction="in"/></method>
<method name="SetLanguage"><arg type="s" direction="in"/></method>
{}
</interface></node>"""
PROPERTIES = ("UserName", "RealName", "PasswordHint", "XSession", "Session", "SessionType", "Language",
              "IconFile")

POLKIT = """<node><interface name="org.freedesktop.PolicyKit1.Authority">
<method name="CheckAuthorization">
<arg type="(sa{sv})" direction="in"/><arg type="s" direction="in"/><arg type="a{ss}" direction="in"/>
<arg type="u" direction="in"/><arg type="s" direction="in"/><arg type="(bba{ss})" direction="out"/>
</method></interface></node>"""


class Machine:
    """What was asked for stands in asked: ("PowerOff",), ("SetXSession", "ann", "plain"); whether it can
    be done, in questions: ("CanPowerOff",)."""

    def __init__(self, bus, power=None, accounts=None, sessions=()):
        """power: what logind answers, "yes" where nothing is given, {"Hibernate": "na"}; accounts: by
        name the properties that AccountsService tells of somebody, {"bob": {"PasswordHint": "…"}};
        sessions: the user ids of those who are logged in."""
        self.asked = []
        self.questions = []
        self._bus = bus
        self._power = power or {}
        self._sessions = []
        self.tells_sessions = True
        self.has_told_sessions = False
        self._accounts = accounts or {}
        self._serve("org.freedesktop.login1", "/org/freedesktop/login1",
                    LOGIND.format(POWER_METHODS), self._ask_logind)
        for uid in sessions:
            self.log_in(uid)
        self._serve("org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority", POLKIT,
                    lambda *_: GLib.Variant("((bba{ss}))", ((True, False, {}),)))
        self._serve("org.freedesktop.Accounts", "/org/freedesktop/Accounts", ACCOUNTS,
                    self._find_account)
        properties = "".join(f'<property name="{name}" type="s" access="read"/>' for name in PROPERTIES)
        for name in self._accounts:
            self._register(self._path(name), ACCOUNT.format(properties),
                           lambda method, words, name=name: self._change_account(name, method, words),
                           lambda key, name=name: GLib.Variant("s", self._accounts[name].get(key, "")))

    def _path(self, name):
        return f"/org/freedesktop/Accounts/User{list(self._accounts).index(name) + 1000}"

    def log_in(self, uid):
        """A session of that user begins."""
        name = f"c{len(self._sessions)}"
        path = f"/org/freedesktop/login1/session/{name}"
        self._sessions.append((name, uid, "name", "", path))
        properties = {"Class": GLib.Variant("s", "user"), "State": GLib.Variant("s", "online"),
                      "User": GLib.Variant("(uo)", (uid, f"/org/freedesktop/login1/user/_{uid}"))}
        self._register(path, SESSION, None, properties.get)
        self._bus.connection.emit_signal(None, "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                                         "SessionNew", GLib.Variant("(so)", (name, path)))

    def _ask_logind(self, method, words):
        if method == "ListSessions":
            if not self.tells_sessions:
                raise LookupError("it doesn't say")
            self.has_told_sessions = True
            return GLib.Variant("(a(susso))", (self._sessions,))
        if method.startswith("Can"):
            self.questions.append((method,))
            return GLib.Variant("(s)", (self._power.get(method.removeprefix("Can"), "yes"),))
        self.asked.append((method,))
        return None

    def _find_account(self, method, words):
        if method == "FindUserByName" and words[0] in self._accounts:
            return GLib.Variant("(o)", (self._path(words[0]),))
        raise LookupError("nobody has that name")

    def _change_account(self, name, method, words):
        self.asked.append((method, name, *words))

    def _serve(self, service, path, interface, answer):
        self._register(path, interface, answer)
        self._bus.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                       "RequestName", GLib.Variant("(su)", (service, 0)))

    def _register(self, path, xml, answer, value=None):
        def called(_connection, _sender, _path, _interface, method, arguments, invocation):
            try:
                invocation.return_value(answer(method, arguments.unpack()))
            except LookupError as error:
                invocation.return_dbus_error("org.freedesktop.Accounts.Error.Failed", str(error))

        def read(_connection, _sender, _path, _interface, name):
            return value(name)

        interface = Gio.DBusNodeInfo.new_for_xml(xml).interfaces[0]
        self._bus.connection.register_object(path, interface, called, read if value else None, None)
