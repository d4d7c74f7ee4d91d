#!/usr/bin/python3 -B
"""A stand-in for GNOME's session manager on the session bus, speaking the public
org.gnome.SessionManager inhibitor interface. Run with Debian's /usr/bin/python3, which has
the D-Bus bindings.

    gnome-session.py

Inhibit(app_id s, toplevel_xid u, reason s, flags u) returns a cookie and puts an Inhibitor
object on the bus (/org/gnome/SessionManager/Inhibitor<N>: GetAppId, GetClientId, GetReason,
GetFlags, GetToplevelXid), announced by InhibitorAdded(o); Uninhibit(cookie) takes it away
again with InhibitorRemoved(o), and so does the caller leaving the bus. GetInhibitors lists
them, IsInhibited(flags) tells whether any holds one of the flags. Prints "ready" once its
name is owned; stops on SIGTERM.
"""
import sys

import dbus
import dbus.service

import standin

NAME = "org.gnome.SessionManager"
PATH = "/org/gnome/SessionManager"
INHIBITOR = "org.gnome.SessionManager.Inhibitor"


class Inhibitor(dbus.service.Object):
    def __init__(self, bus, path, sender, app_id, xid, reason, flags):
        super().__init__(bus, path)
        self.path = path
        self.sender = sender
        self.app_id = app_id
        self.xid = xid
        self.reason = reason
        self.flags = flags

    @dbus.service.method(INHIBITOR, out_signature="s")
    def GetAppId(self):
        return self.app_id

    @dbus.service.method(INHIBITOR, out_signature="o")
    def GetClientId(self):
        return dbus.ObjectPath("/")

    @dbus.service.method(INHIBITOR, out_signature="s")
    def GetReason(self):
        return self.reason

    @dbus.service.method(INHIBITOR, out_signature="u")
    def GetFlags(self):
        return dbus.UInt32(self.flags)

    @dbus.service.method(INHIBITOR, out_signature="u")
    def GetToplevelXid(self):
        return dbus.UInt32(self.xid)


class SessionManager(dbus.service.Object):
    def __init__(self, bus):
        super().__init__(bus, PATH)
        self.bus = bus
        self.inhibitors = {}  # cookie -> Inhibitor
        self.next_cookie = 1
        self.next_object = 1

    @dbus.service.method(NAME, in_signature="susu", out_signature="u", sender_keyword="sender")
    def Inhibit(self, app_id, toplevel_xid, reason, flags, sender=None):
        cookie = self.next_cookie
        self.next_cookie += 1
        path = "%s/Inhibitor%d" % (PATH, self.next_object)
        self.next_object += 1
        self.inhibitors[cookie] = Inhibitor(self.bus, path, sender, str(app_id),
                                            int(toplevel_xid), str(reason), int(flags))
        self.InhibitorAdded(dbus.ObjectPath(path))
        return dbus.UInt32(cookie)

    @dbus.service.method(NAME, in_signature="u")
    def Uninhibit(self, cookie):
        self.remove(int(cookie))

    @dbus.service.method(NAME, out_signature="ao")
    def GetInhibitors(self):
        return dbus.Array([dbus.ObjectPath(i.path) for i in self.inhibitors.values()],
                          signature="o")

    @dbus.service.method(NAME, in_signature="u", out_signature="b")
    def IsInhibited(self, flags):
        return any(i.flags & int(flags) for i in self.inhibitors.values())

    @dbus.service.signal(NAME, signature="o")
    def InhibitorAdded(self, path):
        pass

    @dbus.service.signal(NAME, signature="o")
    def InhibitorRemoved(self, path):
        pass

    def remove(self, cookie):
        inhibitor = self.inhibitors.pop(cookie, None)
        if inhibitor is not None:
            inhibitor.remove_from_connection()
            self.InhibitorRemoved(dbus.ObjectPath(inhibitor.path))

    def forget(self, name):
        for cookie in [c for c, i in self.inhibitors.items() if i.sender == name]:
            self.remove(cookie)


def main():
    bus = dbus.SessionBus()
    manager = SessionManager(bus)
    held = standin.own(bus, NAME)  # noqa: F841 (owned while it lives)
    standin.when_caller_leaves(bus, manager.forget)
    standin.serve()


if __name__ == "__main__":
    sys.exit(main())
