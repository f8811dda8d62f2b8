"""What the bus lets through to the helper, on a real bus that reads the installed policy."""

import os
import signal
import subprocess
import unittest

from gi.repository import Gio, GLib

import generated_files as files

NAME = INTERFACE = files.NAME
PATH = "/com/varnel/corvane/mero/helper"
STRANGER = 65534
LIMIT_MS = 30000
REFUSED = "org.freedesktop.DBus.Error.AccessDenied"

# Of the distributions' system bus: what is not allowed in so many words is denied.
STRICT = """<deny own="*"/><deny send_type="method_call"/><allow send_type="signal"/>
<allow send_requested_reply="true" send_type="method_return"/><allow send_requested_reply="true" send_type="error"/>
<allow receive_type="method_call"/><allow receive_type="method_return"/><allow receive_type="error"/>
<allow receive_type="signal"/><allow send_destination="org.freedesktop.DBus"/>"""
# Of a bus that denies nothing by itself: what is denied there, our own file denies.
LENIENT = """<allow own="*"/><allow send_destination="*"/><allow receive_sender="*"/>"""

CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>{address}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default"><allow user="*"/>{rules}</policy>
  <include>{policy}</include>
</busconfig>
"""

DESCRIPTION = Gio.DBusNodeInfo.new_for_xml("""<node><interface name="%s">
<method name="Exit"><arg type="u" direction="in"/></method>
<property name="Hidden" type="s" access="read"/>
</interface></node>""" % INTERFACE)


class HelperBusPolicy(files.FolderTest):
    """Each test has a bus. What a stranger does, a process of another user does through gdbus."""

    def setUp(self):
        if os.geteuid() != 0:
            self.skipTest("only root can own the helper's name and act as another user beside")
        super().setUp()
        self.connections = []
        self.calls = []

    def start_bus(self, rules):
        self.address = "unix:path=" + self.path("bus")
        with open(self.path("bus.conf"), "w", encoding="utf-8") as file:
            file.write(CONFIGURATION.format(address=self.address, rules=rules, policy=files.BUS_POLICY))
        bus = subprocess.Popen(["dbus-daemon", "--config-file=" + self.path("bus.conf"), "--nofork", "--nopidfile",
                                "--nosyslog", "--print-address"], stdout=subprocess.PIPE)
        self.addCleanup(bus.stdout.close)
        self.addCleanup(bus.wait)
        self.addCleanup(bus.send_signal, signal.SIGKILL)
        # Written once it takes connections.
        self.assertTrue(bus.stdout.readline().startswith(b"unix:"))

    def connect(self):
        """A connection of root's, for as long as the test lasts."""
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        self.connections.append(Gio.DBusConnection.new_for_address_sync(self.address, flags, None, None))
        return self.connections[-1]

    def request_name(self, connection):
        reply = connection.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                     "RequestName", GLib.Variant("(su)", (NAME, 4)), None, 0, LIMIT_MS, None)
        return reply.unpack()[0]

    def start_helper(self):
        """Root owns the helper's name and answers."""
        connection = self.connect()

        def answer(_connection, _sender, _path, _interface, method, _arguments, invocation):
            self.calls.append(method)
            invocation.return_value(None)

        connection.register_object(PATH, DESCRIPTION.interfaces[0], answer, lambda *_: GLib.Variant("s", "seen"), None)
        self.assertEqual(self.request_name(connection), 1)
        return connection

    def as_stranger(self, *arguments):
        """Runs gdbus as another user while the main loop serves. Returns its exit status and its errors."""
        launcher = Gio.SubprocessLauncher.new(Gio.SubprocessFlags.STDOUT_PIPE | Gio.SubprocessFlags.STDERR_PIPE)
        launcher.setenv("DBUS_SYSTEM_BUS_ADDRESS", self.address, True)
        process = launcher.spawnv(["setpriv", "--reuid=%d" % STRANGER, "--regid=%d" % STRANGER, "--clear-groups",
                                   "gdbus", arguments[0], "--system", *arguments[1:]])
        loop = GLib.MainLoop()
        ended = []

        def on_end(process, result):
            ended.append(process.communicate_utf8_finish(result))
            loop.quit()

        process.communicate_utf8_async(None, None, on_end)
        loop.run()
        return process.get_exit_status(), ended[0][2]

    def call(self, method, *arguments, destination=NAME, path=PATH):
        return self.as_stranger("call", "--dest=" + destination, "--object-path=" + path, "--method=" + method, *arguments)

    def assert_refused(self, outcome, reason="Rejected send message"):
        self.assertNotEqual(outcome[0], 0)
        self.assertIn("%s: %s" % (REFUSED, reason), outcome[1])

    def testRootMayOwnTheName(self):
        self.start_bus(STRICT)
        self.assertEqual(self.request_name(self.connect()), 1)

    def testAStrangerMayNotOwnTheName(self):
        self.start_bus(LENIENT)
        bus = {"destination": "org.freedesktop.DBus", "path": "/org/freedesktop/DBus"}
        self.assert_refused(self.call("org.freedesktop.DBus.RequestName", NAME, "0", **bus), "Connection ")
        # Others may be had there.
        self.assertEqual(self.call("org.freedesktop.DBus.RequestName", NAME + "2", "0", **bus), (0, ""))

    def testCallsOfTheInterfaceComeThrough(self):
        self.start_bus(STRICT)
        self.start_helper()
        self.assertEqual(self.call(INTERFACE + ".Exit", "3"), (0, ""))
        self.assertEqual(self.calls, ["Exit"])

    def testIntrospectionAndPingComeThrough(self):
        self.start_bus(STRICT)
        self.start_helper()
        self.assertEqual(self.call("org.freedesktop.DBus.Introspectable.Introspect"), (0, ""))
        self.assertEqual(self.call("org.freedesktop.DBus.Peer.Ping"), (0, ""))

    def testOtherInterfacesDoNotComeThrough(self):
        self.start_bus(LENIENT)
        self.start_helper()
        self.assert_refused(self.call("org.freedesktop.DBus.Properties.Get", INTERFACE, "Hidden"))
        self.assert_refused(self.call("org.freedesktop.DBus.ObjectManager.GetManagedObjects"))

    def testACallWithoutAnInterfaceDoesNotComeThrough(self):
        self.start_bus(LENIENT)
        self.start_helper()
        message = Gio.DBusMessage.new_method_call(NAME, PATH, None, "Exit")
        message.set_body(GLib.Variant("(u)", (3,)))
        # Whose call it is plays no part in this rule. The bus itself answers.
        answer, _ = self.connect().send_message_with_reply_sync(message, Gio.DBusSendMessageFlags.NONE, LIMIT_MS, None)
        self.assertEqual(answer.get_error_name(), REFUSED)
        self.assertEqual(self.calls, [])

    def listen(self, receiver):
        """Keeps the signals that reach a connection, from whomever: pairs of member and sender."""
        self.signals = []
        self.received = GLib.MainLoop()

        def on_signal(_connection, sender, _path, _interface, member, _arguments):
            self.signals.append((member, sender))
            if member == "Harmless":
                self.received.quit()

        for interface in (INTERFACE, "com.example.Other"):
            receiver.signal_subscribe(None, interface, None, PATH, None, Gio.DBusSignalFlags.NONE, on_signal)
        # The bus has taken the subscriptions when it answers.
        receiver.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId", None, None, 0,
                           LIMIT_MS, None)

    def emit_as_stranger(self, destination):
        """A forged signal of the helper's, then one of no importance."""
        arguments = ["0", "100", "'done'"]
        for member in (INTERFACE + ".UpdateProgress", "com.example.Other.Harmless"):
            self.assertEqual(self.as_stranger("emit", "--object-path=" + PATH, *destination, "--signal=" + member,
                                              *arguments)[0], 0)
        self.wait_for_harmless()

    def wait_for_harmless(self):
        """Whatever was sent before it has come by then, or will not come."""
        limit = GLib.timeout_add(LIMIT_MS, lambda: self.received.quit() or True)
        if not any(member == "Harmless" for member, _ in self.signals):
            self.received.run()
        GLib.source_remove(limit)

    def testAStrangerMayNotSendTheHelpersSignals(self):
        self.start_bus(LENIENT)
        receiver = self.connect()
        self.listen(receiver)
        for destination in ([], ["--dest=" + receiver.get_unique_name()]):
            self.signals.clear()
            self.emit_as_stranger(destination)
            self.assertEqual([member for member, _ in self.signals], ["Harmless"])

    def testSignalsOfOthersReachTheHelper(self):
        self.start_bus(LENIENT)
        self.listen(self.start_helper())
        self.emit_as_stranger([])
        self.assertEqual([member for member, _ in self.signals], ["Harmless"])

    def testTheHelpersSignalsComeThrough(self):
        self.start_bus(STRICT)
        receiver = self.connect()
        self.listen(receiver)
        helper = self.start_helper()
        arguments = GLib.Variant("(xus)", (0, 100, "done"))
        helper.emit_signal(receiver.get_unique_name(), PATH, INTERFACE, "UpdateProgress", arguments)
        helper.emit_signal(None, PATH, "com.example.Other", "Harmless", None)
        self.wait_for_harmless()
        sender = helper.get_unique_name()
        self.assertEqual(self.signals, [("UpdateProgress", sender), ("Harmless", sender)])


if __name__ == "__main__":
    unittest.main()
