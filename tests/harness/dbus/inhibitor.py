#!/usr/bin/python3 -B
"""A program that keeps the display (or only the machine) awake through the session bus, as
video players and browsers do, and holds on until it is stopped. Run with Debian's
/usr/bin/python3, which has the D-Bus bindings.

    inhibitor.py --service freedesktop|gnome|kde [--app NAME] [--reason TEXT]
                 [--flags N] [--xid N] [--process-name NAME] [OTHER ARGUMENTS...]

freedesktop: org.freedesktop.ScreenSaver Inhibit(app, reason) on /org/freedesktop/ScreenSaver.
gnome: org.gnome.SessionManager Inhibit(app, xid, reason, flags); flags 8 (idle) by default,
       4 keeps only the machine from suspending.
kde: org.kde.Solid.PowerManagement.PolicyAgent AddInhibition(flags, app, reason); flags 4
     (the screen's settings) by default.
--process-name renames the process as the kernel knows it (/proc/PID/comm), so it can pass
for a tool such as caffeine. Other arguments are ignored, so it can carry a browser helper's
(--type=renderer). Prints "ready COOKIE" once it holds the inhibitor, then reads commands from
its standard input, one a line: "release" gives the inhibitor back (answers "released").
Stops on SIGTERM, leaving the bus, which releases whatever it still holds.
"""
import argparse
import ctypes
import sys

import dbus

import standin

SERVICES = {
    "freedesktop": ("org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                    "org.freedesktop.ScreenSaver", "UnInhibit"),
    "gnome": ("org.gnome.SessionManager", "/org/gnome/SessionManager",
              "org.gnome.SessionManager", "Uninhibit"),
    "kde": ("org.kde.Solid.PowerManagement", "/org/kde/Solid/PowerManagement/PolicyAgent",
            "org.kde.Solid.PowerManagement.PolicyAgent", "ReleaseInhibition"),
}
PR_SET_NAME = 15


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--service", choices=sorted(SERVICES), required=True)
    parser.add_argument("--app", default="Video Player")
    parser.add_argument("--reason", default="Playing video")
    parser.add_argument("--flags", type=int)
    parser.add_argument("--xid", type=int, default=0)
    parser.add_argument("--process-name")
    args, _ = parser.parse_known_args()
    if args.process_name:
        ctypes.CDLL(None).prctl(PR_SET_NAME, args.process_name.encode()[:15], 0, 0, 0)

    bus = dbus.SessionBus()
    name, path, interface, release = SERVICES[args.service]
    service = dbus.Interface(bus.get_object(name, path), interface)
    if args.service == "freedesktop":
        cookie = service.Inhibit(args.app, args.reason)
    elif args.service == "gnome":
        flags = 8 if args.flags is None else args.flags
        cookie = service.Inhibit(args.app, dbus.UInt32(args.xid), args.reason,
                                 dbus.UInt32(flags))
    else:
        flags = 4 if args.flags is None else args.flags
        cookie = service.AddInhibition(dbus.UInt32(flags), args.app, args.reason)

    def command(line):
        if line != "release":
            return "bad"
        getattr(service, release)(cookie)
        return "released"

    standin.on_command(command)
    standin.serve("ready %d" % int(cookie))


if __name__ == "__main__":
    sys.exit(main())
