#!/usr/bin/python3
"""What a screen reader sees of an application: one line of tab-separated role, name, description, "x,y,width,height" on
the screen, and states for each object that is showing, in the order of the tree.

usage: accessible_tree.py <application> [press <name>]

With "press" it carries out the first action of the object of that name, as a screen reader would.
"""
import sys

import dbus

STATES = {1: "active", 4: "checked", 8: "enabled", 11: "focusable", 12: "focused", 24: "sensitive", 25: "showing", 30: "visible"}
SHOWING = "showing"
ON_SCREEN = dbus.UInt32(0)


def accessibility_bus():
    launcher = dbus.SessionBus().get_object("org.a11y.Bus", "/org/a11y/bus")
    return dbus.bus.BusConnection(launcher.GetAddress(dbus_interface="org.a11y.Bus"))


class Node:
    def __init__(self, bus, name, path):
        self.bus, self.proxy = bus, bus.get_object(name, path, introspect=False)

    def accessible(self, method, *arguments):
        return getattr(self.proxy, method)(*arguments, dbus_interface="org.a11y.atspi.Accessible")

    def property(self, name):
        return self.proxy.Get("org.a11y.atspi.Accessible", name, dbus_interface=dbus.PROPERTIES_IFACE)

    def children(self):
        return [Node(self.bus, name, path) for name, path in self.accessible("GetChildren")]

    def states(self):
        low, high = self.accessible("GetState")
        bits = int(low) | int(high) << 32
        return [name for bit, name in STATES.items() if bits >> bit & 1]

    def extents(self):
        if "org.a11y.atspi.Component" not in self.accessible("GetInterfaces"):
            return "0,0,0,0"
        return ",".join(str(int(each)) for each in self.proxy.GetExtents(ON_SCREEN, dbus_interface="org.a11y.atspi.Component"))

    def press(self):
        self.proxy.DoAction(0, dbus_interface="org.a11y.atspi.Action")


def walk(node):
    yield node
    for child in node.children():
        yield from walk(child)


def main():
    bus = accessibility_bus()
    desktop = Node(bus, "org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
    applications = [each for each in desktop.children() if each.property("Name") == sys.argv[1]]
    if not applications:
        sys.exit(f"no application is called {sys.argv[1]}")
    for node in walk(applications[0]):
        name, states = str(node.property("Name")), node.states()
        if sys.argv[2:3] == ["press"]:
            if name == sys.argv[3] and SHOWING in states and node.accessible("GetRoleName") != "label":
                return node.press()
            continue
        print(node.accessible("GetRoleName"), name, node.property("Description"), node.extents(), ",".join(states), sep="\t")
    if sys.argv[2:3] == ["press"]:
        sys.exit(f"nothing that can be pressed is called {sys.argv[3]}")


if __name__ == "__main__":
    main()
