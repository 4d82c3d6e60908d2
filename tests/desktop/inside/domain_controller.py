"""A domain of Active Directory: Samba's domain controller in the container, provisioned once a boot."""
import socket
from pathlib import Path

import ldb
from gi.repository import GLib
from samba.auth import system_session
from samba.credentials import DONT_USE_KERBEROS, Credentials
from samba.param import LoadParm
from samba.samdb import SamDB

from system import run

UNIT = "samba-ad-dc.service"
URI = "ldap://127.0.0.1/"
BASE = "DC=example,DC=test"
READER, READERS_PASSWORD = f"CN=reader,CN=Users,{BASE}", "Reader.Pw1"
PASSWORD = "Secret.Pw1"
SID = "S-1-5-21-2153326666-2176343378-3404031434"

_CONFIGURATION = Path("/etc/samba/smb.conf")
# LDAP on loopback, and winbind.
_OPTIONS = ("server services = ldap, cldap, rpc, winbindd", "interfaces = lo",
            "bind interfaces only = yes", "template shell = /bin/bash")
# And passwords in the clear, which provisioning keeps no option about.
_GLOBAL = "[global]\n\tldap server require strong auth = no\n\ttls enabled = no\n"


class DomainController:
    """Runs for the time of a case. It has the people with ids ina, jo, prim, must, late and lock, nora
    without one, the machine pc1$ and the contact Con Tact; jo, nora, the machine and the contact are members
    of the group crew, which is prim's primary one."""

    def __init__(self, desktop):
        is_new = not Path("/var/lib/samba/private/sam.ldb").exists()
        if is_new:
            _provision()
        desktop.start(UNIT)
        # It says that it has started before its LDAP server has.
        timer = GLib.timeout_add(50, lambda: True)
        try:
            desktop.until(_takes_connections, "LDAP")
        finally:
            GLib.source_remove(timer)
        parameters = LoadParm()
        parameters.load_default()
        self._parameters = parameters
        self._database = SamDB(session_info=system_session(), lp=parameters)
        if is_new:
            self._populate()

    def _populate(self):
        database = self._database
        for number, name in enumerate(("ina", "jo", "prim", "must", "late", "lock")):
            database.newuser(name, PASSWORD, uidnumber=5000 + number, gidnumber=7000,
                             loginshell="/bin/bash", unixhome=f"/home/{name}")
        database.newuser("nora", PASSWORD)
        database.newuser("reader", READERS_PASSWORD)
        database.newcomputer("pc1")
        database.newcontact(fullcontactname="Con Tact")
        database.newgroup("crew")
        members = [self.dn_of(name) for name in ("jo", "nora", "prim", "pc1$")]
        members.append(f"CN=Con Tact,{BASE}")
        self.change(self.dn_of("crew"), add_member=members)
        self.change(self.dn_of("prim"), primaryGroupID=self.sid_of("crew").rpartition("-")[2])
        self.change(self.dn_of("pc1$"), uidNumber=5100, gidNumber=7000)
        self.change(self.dn_of("must"), pwdLastSet=0)
        self.change(self.dn_of("late"), accountExpires=132223104000000000)  # 2020

    def dn_of(self, name):
        (found,) = self._database.search(BASE, expression=f"(sAMAccountName={name})", attrs=[])
        return str(found.dn)

    def sid_of(self, name):
        (found,) = self._database.search(BASE, expression=f"(sAMAccountName={name})",
                                         attrs=["objectSid"])
        return self._database.schema_format_value("objectSID", found["objectSid"][0]).decode()

    def change(self, dn, add_member=(), **values):
        """Replaces an entry's values, or adds members to a group."""
        message = ldb.Message(ldb.Dn(self._database, dn))
        for attribute, value in values.items():
            message[attribute] = ldb.MessageElement(str(value), ldb.FLAG_MOD_REPLACE, attribute)
        if add_member:
            message["member"] = ldb.MessageElement(list(add_member), ldb.FLAG_MOD_ADD, "member")
        self._database.modify(message)

    def lock_after(self, failures, seconds):
        """The domain locks accounts by so many failed passwords, for that long."""
        ticks = -10_000_000 * seconds  # of 100 ns, counted backwards
        self.change(BASE, lockoutThreshold=failures, lockOutObservationWindow=ticks,
                    lockoutDuration=ticks)

    def lets_in(self, name, password):
        """Whether the account can bind by that password."""
        account = Credentials()
        account.set_bind_dn(self.dn_of(name))
        account.set_password(password)
        account.set_kerberos_state(DONT_USE_KERBEROS)
        try:
            SamDB(url=URI, lp=self._parameters, credentials=account)
        except ldb.LdbError:
            return False
        return True


def _takes_connections():
    try:
        socket.create_connection(("127.0.0.1", 389)).close()
    except ConnectionRefusedError:
        return False
    return True


def _provision():
    _CONFIGURATION.unlink(missing_ok=True)
    run("samba-tool", "domain", "provision", "--realm=EXAMPLE.TEST", "--domain=EXAMPLE",
        f"--domain-sid={SID}", "--adminpass=Passw0rd!", "--server-role=dc", "--dns-backend=NONE",
        "--host-name=dc", "--host-ip=127.0.0.1", "--use-rfc2307",
        *(f"--option={option}" for option in _OPTIONS), seconds=600)
    text = _CONFIGURATION.read_text()
    _CONFIGURATION.write_text(text.replace("[global]\n", _GLOBAL, 1))
