"""What introspection data say of com.orvane.Gatehall1."""

from xml.etree import ElementTree

EMITS = "org.freedesktop.DBus.Property.EmitsChangedSignal"


def described(data):
    """{method: (in, out)}, {signal: arguments}, {property: (type, when it says that it changed)}, each argument as
    its name and type."""
    interface = ElementTree.fromstring(data).find("interface[@name='com.orvane.Gatehall1']")

    def those(member, direction):
        return [(arg.get("name"), arg.get("type")) for arg in member.findall("arg")
                if arg.get("direction", direction) == direction]

    methods = {member.get("name"): (those(member, "in"), those(member, "out"))
               for member in interface.findall("method")}
    signals = {member.get("name"): those(member, "out") for member in interface.findall("signal")}
    properties = {}
    for member in interface.findall("property"):
        annotation = member.find(f"annotation[@name='{EMITS}']")
        properties[member.get("name")] = (
            member.get("type"), "true" if annotation is None else annotation.get("value"))
    return methods, signals, properties
