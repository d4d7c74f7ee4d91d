#!/usr/bin/python3 -B
"""A stand-in media player on the session bus, speaking the public MPRIS interface
(org.mpris.MediaPlayer2 and its Player on /org/mpris/MediaPlayer2). Run with Debian's
/usr/bin/python3, which has the D-Bus bindings.

    mpris-player.py [--name NAME] [--status Playing|Paused|Stopped]

Owns org.mpris.MediaPlayer2.NAME and answers the PlaybackStatus property (Get, GetAll).
Reads the new status from its standard input, one a line: it announces it with
PropertiesChanged, as players do, and answers "ok". Prints "ready" once its name is owned;
stops on SIGTERM.
"""
import argparse
import sys

import dbus
import dbus.service

import standin

PATH = "/org/mpris/MediaPlayer2"
ROOT = "org.mpris.MediaPlayer2"
PLAYER = "org.mpris.MediaPlayer2.Player"
PROPERTIES = "org.freedesktop.DBus.Properties"
STATUSES = ("Playing", "Paused", "Stopped")


class Player(dbus.service.Object):
    def __init__(self, bus, name, status):
        super().__init__(bus, PATH)
        self.identity = name
        self.status = status

    def properties(self, interface):
        if interface == ROOT:
            return {"Identity": self.identity, "CanQuit": False, "CanRaise": False}
        if interface == PLAYER:
            return {"PlaybackStatus": self.status, "CanPlay": True, "CanPause": True}
        raise dbus.exceptions.DBusException("no such interface",
                                            name="org.freedesktop.DBus.Error.UnknownInterface")

    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v")
    def Get(self, interface, prop):
        values = self.properties(interface)
        if prop not in values:
            raise dbus.exceptions.DBusException(
                "no such property", name="org.freedesktop.DBus.Error.UnknownProperty")
        return values[prop]

    @dbus.service.method(PROPERTIES, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        return self.properties(interface)

    @dbus.service.signal(PROPERTIES, signature="sa{sv}as")
    def PropertiesChanged(self, interface, changed, invalidated):
        pass

    def set_status(self, status):
        self.status = status
        self.PropertiesChanged(PLAYER, {"PlaybackStatus": status}, dbus.Array([], signature="s"))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--name", default="quillettest")
    parser.add_argument("--status", choices=STATUSES, default="Playing")
    args = parser.parse_args()
    bus = dbus.SessionBus()
    player = Player(bus, args.name, args.status)
    held = standin.own(bus, "org.mpris.MediaPlayer2." + args.name)  # noqa: F841

    def command(status):
        if status not in STATUSES:
            return "bad"
        player.set_status(status)
        return "ok"

    standin.on_command(command)
    standin.serve()


if __name__ == "__main__":
    sys.exit(main())
