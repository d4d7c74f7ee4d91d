#!/usr/bin/python3 -B
"""A stand-in screen saver on the session bus, speaking the public interface of the
freedesktop screen saver (org.freedesktop.ScreenSaver), or GNOME's or Xfce's variant.
Run with Debian's /usr/bin/python3, which has the D-Bus bindings.

    screensaver.py [--flavour freedesktop|gnome|xfce]

It answers GetActive and SetActive, and emits ActiveChanged(b) when the state changes, as the
real services do when the screen locks and unlocks. The freedesktop flavour also keeps the
Inhibit / UnInhibit cookies of its callers (dropped when a caller leaves the bus), listed by
the test-only method org.quillet.Test.Inhibitions. Prints "ready" once its name is owned;
stops on SIGTERM.
"""
import argparse
import sys

import dbus
import dbus.service

import standin

FLAVOURS = {
    "freedesktop": ("org.freedesktop.ScreenSaver", ["/org/freedesktop/ScreenSaver", "/ScreenSaver"]),
    "gnome": ("org.gnome.ScreenSaver", ["/org/gnome/ScreenSaver"]),
    "xfce": ("org.xfce.ScreenSaver", ["/org/xfce/ScreenSaver"]),
}
TEST = "org.quillet.Test"


def make_service_class(interface):
    class ScreenSaver(dbus.service.Object):
        def __init__(self, bus, path):
            super().__init__(bus, path)
            self.bus = bus
            self.active = False
            self.cookies = {}  # cookie -> (sender, application, reason)
            self.next_cookie = 1

        @dbus.service.method(interface, out_signature="b")
        def GetActive(self):
            return self.active

        @dbus.service.method(interface, in_signature="b", out_signature="b")
        def SetActive(self, active):
            if bool(active) != self.active:
                self.active = bool(active)
                self.ActiveChanged(self.active)
            return True

        @dbus.service.signal(interface, signature="b")
        def ActiveChanged(self, active):
            pass

        @dbus.service.method(interface, in_signature="ss", out_signature="u",
                             sender_keyword="sender")
        def Inhibit(self, application, reason, sender=None):
            cookie = self.next_cookie
            self.next_cookie += 1
            self.cookies[cookie] = (sender, str(application), str(reason))
            return dbus.UInt32(cookie)

        @dbus.service.method(interface, in_signature="u")
        def UnInhibit(self, cookie):
            self.cookies.pop(int(cookie), None)

        @dbus.service.method(TEST, out_signature="a(sss)")
        def Inhibitions(self):
            return [(s, a, r) for s, a, r in self.cookies.values()]

        def forget(self, name):
            for cookie in [c for c, (s, _, _) in self.cookies.items() if s == name]:
                del self.cookies[cookie]

    return ScreenSaver


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--flavour", choices=sorted(FLAVOURS), default="freedesktop")
    args = parser.parse_args()
    bus = dbus.SessionBus()
    name, paths = FLAVOURS[args.flavour]
    cls = make_service_class(name)
    objects = [cls(bus, path) for path in paths]
    held = standin.own(bus, name)  # noqa: F841 (owned while it lives)
    standin.when_caller_leaves(bus, lambda caller: [obj.forget(caller) for obj in objects])
    standin.serve()


if __name__ == "__main__":
    sys.exit(main())
