"""What cases of several display managers have in common."""


def brings_the_greeter(machine, *words):
    result = machine.switch(*words)
    assert result.log == [], result
    machine.until_greeter()
    machine.until_locked("ann")


def brings_the_greeter_without_a_lock(machine, *words):
    """Nobody locks ann's session: it is left for a greeter only, and the log says so."""
    result = machine.switch(*words)
    assert len(result.log) == 1 and "Nobody locks session" in result.log[0], result
    machine.until_greeter()
    assert not machine.session_of("ann").is_locked, machine.describe()


def uses_its_greeter_again(machine):
    brings_the_greeter(machine, "-suspend")
    greeter = machine.in_front().name
    machine.bring_to_front("ann")
    machine.unlock("ann")
    brings_the_greeter(machine, "-suspend")
    assert [each.name for each in machine.greeters()] == [greeter], machine.describe()


def goes_straight_to(machine, session):
    """To bob's running session."""
    result = machine.switch("-switchToUserID", "1001")
    assert result.log == [], result
    assert machine.until_in_front("bob").name == session.name, machine.describe()
    machine.until_locked("ann")
    assert machine.greeters() == [], machine.describe()


def has_a_guest(machine):
    machine.write("/etc/gatehall/directory.toml", '[local]\nguests = ["gus"]\n')


def leaves_everything_as_it_is_for_dana(machine):
    """Who is from the network, and denied by the policy."""
    machine.start("directory.service")
    machine.write("/etc/gatehall/directory.toml", """[[directory]]
name = "example"
servers = ["ldap://127.0.0.1/"]
base = "dc=example,dc=org"
tls = "off"
""")
    machine.write("/etc/gatehall/com.orvane.gatehall.plist", """<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>DenyList</key><array>
<string>5F000000-0000-4000-8000-000000005000</string>
</array></dict></plist>
""")
    before = str(machine.sessions())
    result = machine.switch("-switchToUserID", "5000")
    assert result.log == [] and len(result.decisions) == 1, result
    assert "dana (5000): refused" in result.decisions[0], result
    assert machine.has_in_front("ann") and str(machine.sessions()) == before, machine.describe()
