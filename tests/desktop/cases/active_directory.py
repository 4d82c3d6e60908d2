"""Users of an Active Directory: Samba's domain controller, in the container."""
import json
from pathlib import Path

from gi.repository import GLib

from domain_controller import BASE, READER, READERS_PASSWORD, UNIT, URI, DomainController
from policed import place
from system import run

DIRECTORIES = "/etc/gatehall/directory.toml"
MANAGED = "/etc/gatehall/managed/com.orvane.gatehall.plist"
PASSWORD = "/etc/gatehall/example.password"
SSSD = f"""[sssd]
services = nss
domains = example

[domain/example]
id_provider = ldap
auth_provider = none
ldap_schema = ad
ldap_id_mapping = true
ldap_uri = {URI}
ldap_search_base = {BASE}
ldap_id_use_start_tls = false
ldap_referrals = false
ldap_search_timeout = 60
ldap_network_timeout = 60
ldap_opt_timeout = 60
ldap_default_bind_dn = {READER}
ldap_default_authtok = {READERS_PASSWORD}
"""


def _configure(desktop, more="", account=READER):
    desktop.write(PASSWORD, READERS_PASSWORD + "\n", mode=0o600)
    desktop.write(DIRECTORIES, '[[directory]]\nname = "example"\n'
                  f'servers = ["{URI}"]\nbase = "{BASE}"\nprofile = "active-directory"\ntls = "off"\n'
                  f'bind-dn = "{account}"\nbind-password-file = "{PASSWORD}"\n'
                  f"time-limit = 60\ntotal-time-limit = 600\n{more}")


def _deny(desktop, *guids):
    entries = "".join(f"<string>{guid}</string>" for guid in guids)
    desktop.write(MANAGED, '<?xml version="1.0" encoding="UTF-8"?>\n<plist version="1.0"><dict>'
                  f"<key>DenyList</key><array>{entries}</array></dict></plist>\n")


def _join(desktop, **settings):
    controller = DomainController(desktop)
    _configure(desktop, **settings)
    return controller


def _answer(*words):
    return json.loads(run("gatehallctl", "--json", *words, check=False))


def _rules(*names):
    return {name: user["rule"] for name, user in zip(names, _answer("can-log-in", *names)["users"])}


def _network_users():
    return {user["shortName"]: user["uid"] for user in _answer("network-users")["users"]}


def _site():
    (site,) = (each for each in _answer("directories")["directories"]
               if each["name"] == "ldap/example")
    return site


def _until(desktop, condition, what):
    """Of what nothing tells when it comes."""
    timer = GLib.timeout_add(200, lambda: True)
    try:
        desktop.until(condition, what)
    finally:
        GLib.source_remove(timer)


def _guid(name):
    """Of the group: to winbind, on a domain controller, it can be a user besides."""
    (entry,) = (each for each in _answer("guid", name)["entries"] if each["kind"] == "group")
    return entry["guid"]


def only_people_with_an_id_are_its_users(desktop):
    _join(desktop)
    assert set(_network_users()) == {"ina", "jo", "prim", "must", "lock"}, _network_users()
    assert _site()["users"] == 6, _site()  # and late
    assert _rules("ina", "nora", "krbtgt", "pc1$", "Con Tact") == {
        "ina": "no allow list", "nora": "no user id", "krbtgt": "no user id",
        "pc1$": "no such account", "Con Tact": "no such account"}


def members_of_a_group_are_people_with_an_id_and_those_whose_primary_group_it_is(desktop):
    _join(desktop)
    assert {user["name"] for user in _answer("expand", "crew")["users"]} == {"jo", "prim"}
    _deny(desktop, _guid("crew"))
    assert _rules("ina", "jo", "prim") == {"ina": "no allow list", "jo": "denied by GUID",
                                           "prim": "denied by GUID"}


def an_account_past_its_end_is_expired(desktop):
    _join(desktop)
    assert _rules("late", "ina") == {"late": "expired", "ina": "no allow list"}


def a_password_that_has_to_be_changed_has_expired_and_locks_nobody_out(desktop):
    _join(desktop, more=f'password-policy = "{BASE}"\n')
    assert _rules("must") == {"must": "no allow list"}
    must, ina = _answer("user", "must"), _answer("user", "ina")
    assert must["passwordPolicyInUse"] and must["minutesUntilPasswordExpires"] == 0, must
    assert ina["minutesUntilPasswordExpires"] > 0, ina


def an_account_that_failed_passwords_locked_stays_so_as_long_as_the_domain_says(desktop):
    controller = _join(desktop)
    controller.lock_after(failures=2, seconds=36000)
    desktop.after(controller.lock_after, failures=0, seconds=1800)
    assert _rules("lock") == {"lock": "no allow list"}
    for _ in range(2):
        assert not controller.lets_in("lock", "wrong")
    assert _rules("lock", "ina") == {"lock": "locked", "ina": "no allow list"}
    controller.lock_after(failures=2, seconds=1)
    _until(desktop, lambda: _rules("lock") == {"lock": "no allow list"}, "the end of the lock")


def mapped_ids_are_those_that_sssd_maps(desktop):
    _join(desktop, more="map-ids = true\n")
    desktop.write("/etc/nsswitch.conf", "passwd: files sss\ngroup: files sss\nshadow: files\n")
    desktop.write("/etc/sssd/sssd.conf", SSSD, mode=0o600)
    desktop.start("sssd.service")
    users = _network_users()
    for name in ("ina", "nora", "prim"):
        fields = run("getent", "passwd", name).split(":")
        user = _answer("user", name)
        assert [user["getUid"], user["getGid"]] == [int(fields[2]), int(fields[3])], (user, fields)
        assert users[name] == int(fields[2]), users
        assert _rules(fields[2]) == {fields[2]: "no allow list"}
    assert "pc1$" not in users, users


def the_account_that_searches_may_be_called_by_its_principal_name(desktop):
    _join(desktop, account="reader@example.test")
    site = _site()
    assert site["reachable"] and site["users"] == 6, site
    place(Path(PASSWORD), "wrong\n", mode=0o600)
    site = _site()
    assert not site["reachable"] and "reader@example.test is refused" in site["error"], site


def people_whom_winbind_knows_are_decided_about_by_lists_of_its_groups(desktop):
    DomainController(desktop)
    desktop.write("/etc/nsswitch.conf", "passwd: files winbind\ngroup: files winbind\nshadow: files\n")
    desktop.write(DIRECTORIES, '[[directory]]\nname = "site"\nkind = "nss"\ndomain = "EXAMPLE"\n'
                  "names = ['EXAMPLE\\crew']\ntime-limit = 60\n")
    ina, jo, prim = people = [f"EXAMPLE\\{name}" for name in ("ina", "jo", "prim")]
    _until(desktop, lambda: run("getent", "passwd", ina, check=False), "winbind")
    assert _rules(*people) == dict.fromkeys(people, "no allow list")
    _deny(desktop, _guid("EXAMPLE\\crew"))
    assert _rules(*people) == {ina: "no allow list", jo: "denied by GUID", prim: "denied by GUID"}
    run("systemctl", "stop", UNIT)
    assert _rules(jo) == {jo: "undecidable"}
