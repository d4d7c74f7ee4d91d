#!/usr/bin/python3 -B
"""A stand-in for KDE's power management policy agent on the session bus, speaking the public
org.kde.Solid.PowerManagement.PolicyAgent interface. Run with Debian's /usr/bin/python3,
which has the D-Bus bindings.

    kde-policy-agent.py

AddInhibition(types u, app s, reason s) returns a cookie (types: 1 the session's end, 2 the
power profile, 4 the screen's settings, i.e. the display sleeping); ReleaseInhibition(cookie)
gives it back, and so does the caller leaving the bus. ListInhibitions lists (app, reason),
HasInhibition(types) tells whether any holds one of the types; InhibitionsChanged(added,
removed) announces changes. Prints "ready" once its name is owned; stops on SIGTERM.
"""
import sys

import dbus
import dbus.service

import standin

NAME = "org.kde.Solid.PowerManagement"
PATH = "/org/kde/Solid/PowerManagement/PolicyAgent"
INTERFACE = "org.kde.Solid.PowerManagement.PolicyAgent"


class PolicyAgent(dbus.service.Object):
    def __init__(self, bus):
        super().__init__(bus, PATH)
        self.inhibitions = {}  # cookie -> (sender, types, app, reason)
        self.next_cookie = 1

    @dbus.service.method(INTERFACE, in_signature="uss", out_signature="u",
                         sender_keyword="sender")
    def AddInhibition(self, types, app, reason, sender=None):
        cookie = self.next_cookie
        self.next_cookie += 1
        self.inhibitions[cookie] = (sender, int(types), str(app), str(reason))
        self.InhibitionsChanged([(app, reason)], dbus.Array([], signature="s"))
        return dbus.UInt32(cookie)

    @dbus.service.method(INTERFACE, in_signature="u")
    def ReleaseInhibition(self, cookie):
        self.release(int(cookie))

    @dbus.service.method(INTERFACE, out_signature="a(ss)")
    def ListInhibitions(self):
        return dbus.Array([(a, r) for _, _, a, r in self.inhibitions.values()], signature="(ss)")

    @dbus.service.method(INTERFACE, in_signature="u", out_signature="b")
    def HasInhibition(self, types):
        return any(t & int(types) for _, t, _, _ in self.inhibitions.values())

    @dbus.service.signal(INTERFACE, signature="a(ss)as")
    def InhibitionsChanged(self, added, removed):
        pass

    def release(self, cookie):
        held = self.inhibitions.pop(cookie, None)
        if held is not None:
            self.InhibitionsChanged(dbus.Array([], signature="(ss)"), [held[2]])

    def forget(self, name):
        for cookie in [c for c, held in self.inhibitions.items() if held[0] == name]:
            self.release(cookie)


def main():
    bus = dbus.SessionBus()
    agent = PolicyAgent(bus)
    held = standin.own(bus, NAME)  # noqa: F841 (owned while it lives)
    standin.when_caller_leaves(bus, agent.forget)
    standin.serve()


if __name__ == "__main__":
    sys.exit(main())
