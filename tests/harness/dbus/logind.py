#!/usr/bin/python3 -B
"""A stand-in login manager on the system bus (DBUS_SYSTEM_BUS_ADDRESS), speaking the public
interface of org.freedesktop.login1. Run with Debian's /usr/bin/python3, which has the D-Bus
bindings.

    logind.py [--no-auto | --outside-session | --no-session]

The manager at /org/freedesktop/login1 answers GetSession(s) and GetSessionByPID(u), emits
PrepareForSleep(b) and has the PreparingForSleep property. Two sessions exist: the caller's
("7", at .../session/_37, which every process belongs to) and another user's ("c2"). A session
has the properties Id, Active and LockedHint and the method SetLockedHint(b). Every setting is
announced with org.freedesktop.DBus.Properties.PropertiesChanged, from the session's own path
only, even one that changes nothing: a listener must take a repeated notice in its stride. The caller's
session also answers as .../session/auto, as the real service resolves that name for a caller
in a session; --no-auto leaves that object out. --outside-session plays a caller started by the
user's service manager: GetSessionByPID finds no session for it, but "auto" still names the
user's graphical session. --no-session makes the caller belong to no session at all.

Test-only control, org.quillet.Test.Login on the manager: Sleep(), Wake() (each emits
PrepareForSleep, even when it changes nothing, as a resume without a suspend would), and
SetActive(s session_id, b active). Prints "ready" once its name is owned; stops on SIGTERM.
"""
import argparse
import sys

import dbus
import dbus.service

import standin

NAME = "org.freedesktop.login1"
ROOT = "/org/freedesktop/login1"
MANAGER = "org.freedesktop.login1.Manager"
SESSION = "org.freedesktop.login1.Session"
PROPERTIES = "org.freedesktop.DBus.Properties"
TEST = "org.quillet.Test.Login"


def session_path(session_id):
    # Object paths hold only [A-Za-z0-9_]; anything else, and a leading digit, is written as
    # "_" and two hex digits.
    escaped = "".join(
        c if (c.isascii() and (c.isalpha() or (c.isdigit() and i > 0))) else "_%02x" % ord(c)
        for i, c in enumerate(session_id))
    return ROOT + "/session/" + escaped


def no_such(what):
    return dbus.exceptions.DBusException(what, name="org.freedesktop.login1.NoSuchSession")


class Session(dbus.service.Object):
    def __init__(self, bus, session_id):
        super().__init__(bus, session_path(session_id))
        self.values = {"Id": dbus.String(session_id), "Active": dbus.Boolean(True),
                       "LockedHint": dbus.Boolean(False)}

    def set(self, name, value):
        self.values[name] = dbus.Boolean(value)
        self.PropertiesChanged(SESSION, {name: self.values[name]}, [])

    @dbus.service.method(SESSION, in_signature="b")
    def SetLockedHint(self, locked):
        self.set("LockedHint", bool(locked))

    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        if interface != SESSION or name not in self.values:
            raise dbus.exceptions.DBusException(
                name, name="org.freedesktop.DBus.Error.UnknownProperty")
        return self.values[name]

    @dbus.service.method(PROPERTIES, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        return dbus.Dictionary(self.values if interface == SESSION else {}, signature="sv")

    @dbus.service.signal(PROPERTIES, signature="sa{sv}as")
    def PropertiesChanged(self, interface, changed, invalidated):
        pass


class AutoSession(dbus.service.Object):
    """The caller's session under its special name: reads and methods, never signals."""

    def __init__(self, bus, session):
        super().__init__(bus, ROOT + "/session/auto")
        self.session = session

    @dbus.service.method(SESSION, in_signature="b")
    def SetLockedHint(self, locked):
        self.session.SetLockedHint(locked)

    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        return self.session.Get(interface, name)

    @dbus.service.method(PROPERTIES, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        return self.session.GetAll(interface)


class Manager(dbus.service.Object):
    def __init__(self, bus, sessions, own, by_pid):
        super().__init__(bus, ROOT)
        self.sessions = sessions
        self.own = own
        self.by_pid = by_pid
        self.sleeping = False

    @dbus.service.method(MANAGER, in_signature="s", out_signature="o")
    def GetSession(self, session_id):
        if session_id not in self.sessions:
            raise no_such("No session '%s' known" % session_id)
        return dbus.ObjectPath(session_path(session_id))

    @dbus.service.method(MANAGER, in_signature="u", out_signature="o")
    def GetSessionByPID(self, pid):
        if self.own is None or not self.by_pid:
            raise dbus.exceptions.DBusException(
                "PID %d does not belong to any known session" % pid,
                name="org.freedesktop.login1.NoSessionForPID")
        return dbus.ObjectPath(session_path(self.own))

    @dbus.service.signal(MANAGER, signature="b")
    def PrepareForSleep(self, start):
        pass

    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        if interface != MANAGER or name != "PreparingForSleep":
            raise dbus.exceptions.DBusException(
                name, name="org.freedesktop.DBus.Error.UnknownProperty")
        return dbus.Boolean(self.sleeping)

    @dbus.service.method(PROPERTIES, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        values = {"PreparingForSleep": dbus.Boolean(self.sleeping)} if interface == MANAGER else {}
        return dbus.Dictionary(values, signature="sv")

    @dbus.service.method(TEST)
    def Sleep(self):
        self.sleeping = True
        self.PrepareForSleep(True)

    @dbus.service.method(TEST)
    def Wake(self):
        self.sleeping = False
        self.PrepareForSleep(False)

    @dbus.service.method(TEST, in_signature="sb")
    def SetActive(self, session_id, active):
        if session_id not in self.sessions:
            raise no_such("No session '%s' known" % session_id)
        self.sessions[session_id].set("Active", bool(active))


def main():
    parser = argparse.ArgumentParser()
    where = parser.add_mutually_exclusive_group()
    where.add_argument("--no-auto", action="store_true")
    where.add_argument("--outside-session", action="store_true")
    where.add_argument("--no-session", action="store_true")
    args = parser.parse_args()
    bus = dbus.SystemBus()
    sessions = {sid: Session(bus, sid) for sid in ("7", "c2")}
    own = None if args.no_session else "7"
    objects = [Manager(bus, sessions, own, by_pid=not args.outside_session)]
    if own is not None and not args.no_auto:
        objects.append(AutoSession(bus, sessions[own]))
    held = standin.own(bus, NAME)  # noqa: F841 (owned while it lives)
    standin.serve()


if __name__ == "__main__":
    sys.exit(main())
