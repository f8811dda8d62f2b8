"""A caller of the helper, a process of its own under a user's own id: obeys orders on standard input, one object of
JSON a line, and tells on standard output what came of them and what arrived from the bus."""

import json
import os
import sys
import threading
import time

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402  (the version has to be chosen first)

NAME = "com.varnel.corvane.mero.helper"
PATH = "/com/varnel/corvane/mero/helper"
BUS = "org.freedesktop.DBus"
# As a program does that does not choose one of its own.
DEFAULT_LIMIT = -1


def tell(event, **values):
    print(json.dumps(dict(values, event=event, time=time.monotonic())), flush=True)


class Caller:
    def __init__(self, loop):
        self.loop = loop
        self.connection = Gio.DBusConnection.new_for_address_sync(
            os.environ["DBUS_SYSTEM_BUS_ADDRESS"],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        # All that reaches this connection, whoever sent it.
        self.connection.signal_subscribe(None, NAME, "UpdateProgress", None, None, Gio.DBusSignalFlags.NONE,
                                         self.on_signal)
        # What a program with a proxy gets to see.
        flags = Gio.DBusProxyFlags.DO_NOT_AUTO_START | Gio.DBusProxyFlags.DO_NOT_LOAD_PROPERTIES
        self.proxy = Gio.DBusProxy.new_sync(self.connection, flags, None, NAME, PATH, NAME, None)
        self.proxy.connect("g-signal", self.on_proxy_signal)

    @staticmethod
    def on_signal(_connection, sender, path, _interface, _name, parameters):
        status, progress, message = parameters.unpack()
        tell("signal", sender=sender, path=path, status=status, progress=progress, message=message)

    @staticmethod
    def on_proxy_signal(_proxy, _sender, _name, parameters):
        status, progress, message = parameters.unpack()
        tell("progress", status=status, progress=progress, message=message)

    def call(self, number, method, parameters, reply=None, name=NAME, path=PATH, interface=NAME):
        def done(connection, result):
            try:
                value = connection.call_finish(result)
                tell("answer", number=number, result=value.unpack()[0] if value.n_children() else None)
            except GLib.Error as error:
                tell("answer", number=number, error=error.message)

        self.connection.call(name, path, interface, method, parameters, reply and GLib.VariantType(reply),
                             Gio.DBusCallFlags.NONE, DEFAULT_LIMIT, None, done)

    def obey(self, order):
        what = order["order"]
        if what == "start":
            arguments = GLib.Variant("(a{ss})", (dict(order["arguments"], **{
                key: letter * count for key, (letter, count) in order.get("repeated", {}).items()}),))
            for number in order["numbers"]:
                self.call(number, "StartMERO", arguments, reply="(b)")
        elif what == "exit":
            self.call(order["number"], "Exit", GLib.Variant("(u)", (order["delay"],)))
        elif what == "ping":
            self.call(order["number"], "Ping", None, interface="org.freedesktop.DBus.Peer")
        elif what == "settle":
            self.call(order["number"], "GetId", None, name=BUS, path="/org/freedesktop/DBus", interface=BUS)
        elif what == "forge":
            self.connection.emit_signal(order["to"], PATH, NAME, "UpdateProgress",
                                        GLib.Variant("(xus)", (order["status"], 100, order["message"])))
            self.connection.flush_sync()
            tell("forged")
        return GLib.SOURCE_REMOVE

    def listen(self):
        for line in sys.stdin:
            GLib.idle_add(self.obey, json.loads(line))
        GLib.idle_add(self.loop.quit)


def main():
    loop = GLib.MainLoop()
    caller = Caller(loop)
    tell("ready", name=caller.connection.get_unique_name())
    threading.Thread(target=caller.listen, daemon=True).start()
    loop.run()


if __name__ == "__main__":
    main()
