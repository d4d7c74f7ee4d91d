"""What the stand-in services share: D-Bus on GLib's main loop, their names owned outright,
callers that leave the bus forgotten, commands read line by line from standard input, the
"ready" line the tests wait for, and leaving on SIGTERM without releasing the names (the bus
may already be gone)."""
import os
import signal
import sys

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

# Before any bus is opened: the bindings take the loop that is the default then.
DBusGMainLoop(set_as_default=True)


def own(bus, name):
    """Owns `name` on `bus`; keep the result for as long as the name should stay."""
    return dbus.service.BusName(name, bus, do_not_queue=True)


def when_caller_leaves(bus, forget):
    """Calls forget(unique_name) when a connection leaves the bus."""
    def owner_changed(name, old, new):
        if old and not new:
            forget(name)

    bus.add_signal_receiver(owner_changed, "NameOwnerChanged", "org.freedesktop.DBus")


def on_command(answer):
    """Prints answer(line) for each line read from standard input; at its end, goes on."""
    def command(source, condition):
        line = sys.stdin.readline()
        if not line:
            return False
        print(answer(line.strip()), flush=True)
        return True

    GLib.io_add_watch(sys.stdin, GLib.IO_IN | GLib.IO_HUP, command)


def serve(ready="ready"):
    """Says `ready` and runs until SIGTERM; never returns."""
    loop = GLib.MainLoop()
    GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGTERM, loop.quit)
    print(ready, flush=True)
    loop.run()
    os._exit(0)
