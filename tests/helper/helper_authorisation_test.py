"""Whom the helper works for, and what becomes of a question that is not answered."""

import os
import re
import subprocess
import time

import helper_machine
from gi.repository import GLib
from helper_machine import BASE, MALLORY, ROOT_HOME, USERS, children, wait_for
from helper_world import ACTION, BUNDLE, NAME, POLKIT, SUCCESS, HelperTest

# How long the helper is told to wait for polkit. LimitsTest.cpp has the usual time.
WAIT_MS = "3000"
SOONEST_SECONDS = 2.9
LATEST_SECONDS = 15


class Permission(HelperTest):
    def testIsGivenByAnAdministratorsRule(self):
        self.start_polkit()
        self.assertEqual(self.collect(self.caller()), SUCCESS)
        self.refuses(self.caller(MALLORY), bundle="/home/mallory/bundle.zip")

    def testIsNotGivenWithoutARule(self):
        self.start_polkit(user=None)
        self.refuses(self.caller())

    def testThatIsRefusedStartsNothing(self):
        self.start_polkit_stand_in(allowed=False)
        alice = self.caller()
        self.refuses(alice)
        self.tell_polkit("AllowUnknown", GLib.Variant("(b)", (True,)))
        self.assertEqual(self.collect(alice), SUCCESS)

    def testIsRootsAloneWhereThereIsNoPolkit(self):
        self.refuses(self.caller())
        self.assertEqual(self.collect(self.caller("root"), bundle=ROOT_HOME + "/bundle.zip"), SUCCESS)

    def testIsRootsWhereItIsRefusedToAll(self):
        self.start_polkit_stand_in(allowed=False)
        self.assertEqual(self.collect(self.caller("root"), bundle=ROOT_HOME + "/bundle.zip"), SUCCESS)

    def testIsAskedForTheCallersBusNameWithInteraction(self):
        self.start_polkit_stand_in()
        alice = self.caller()
        with open(BASE + "/seen", "wb") as seen:
            self.start_daemon(["dbus-monitor", "--system", "interface=org.freedesktop.PolicyKit1.Authority"],
                              stdout=seen, env={"DBUS_SYSTEM_BUS_ADDRESS": self.address, "PATH": "/usr/bin:/bin"})
        # A monitor that is at work has lost its own name.
        wait_for(lambda: "NameLost" in helper_machine.read(BASE + "/seen").decode(), "monitor")
        self.assertEqual(self.collect(alice, password="secret-word"), SUCCESS)
        text = wait_for(self.question, "question")[0]
        self.assertIn('string "system-bus-name"', text)
        self.assertIn('string "%s"' % alice.name, text)
        self.assertIn('string "%s"' % ACTION, text)
        self.assertIn("uint32 1", text)
        self.assertNotIn("unix-process", text)
        self.assertNotIn("secret-word", text)

    @staticmethod
    def question():
        """What polkit was asked, once all of it is there."""
        text = helper_machine.read(BASE + "/seen").decode()
        return re.search(r"member=CheckAuthorization\n(?:   .*\n)+   uint32 .*\n", text)


class SilentPolkitTest(HelperTest):
    def setUp(self):
        super().setUp()
        self.start_polkit_stand_in(silent=True)
        self.alice = self.caller()

    def release(self):
        """Says yes to all that was asked, and from now on at once."""
        self.tell_polkit("SimulateHang", GLib.Variant("(b)", (False,)))
        self.tell_polkit("ReleaseHangingCalls")


class PolkitThatStaysSilent(SilentPolkitTest):
    program = "HELPER_WITH_SHORT_TIMES"
    environment = {"MERO_TEST_AUTHORISATION_LIMIT_MS": WAIT_MS}

    def testIsWaitedForUntilTheLimit(self):
        self.alice.ping()
        asked = time.monotonic()
        number = self.alice.send()
        self.wait_for_question()
        answer = self.alice.answer(number)
        self.assertIs(answer.get("result"), False)
        self.assertGreater(answer["time"] - asked, SOONEST_SECONDS)
        self.assertLess(answer["time"] - asked, LATEST_SECONDS)
        self.release()
        self.alice.ping()
        self.assertEqual(children(self.helper()), set())
        self.assertEqual(self.alice.all("signal"), [])
        self.assertFalse(os.path.exists(BUNDLE))
        # The late yes is no yes to the next job either, nor in its way.
        self.assertEqual(self.collect(self.alice), SUCCESS)
        self.assertEqual(self.alice.finals(), [SUCCESS])


class SilentPolkit(SilentPolkitTest):
    def testSaysYesToACallerThatHasLeft(self):
        self.alice.send()
        self.wait_for_question()
        self.alice.kill()
        self.wait_until_gone(self.alice.name)
        gate = self.hold_in_job()
        self.release()
        another = self.caller()
        self.assertIs(another.start(bundle="/home/alice/another.zip"), True)
        gate.wait()
        self.worker()
        gate.open()
        self.assertEqual(another.final(), SUCCESS)
        self.assertFalse(os.path.exists(BUNDLE))
        self.end_helper(another)
        self.expect_nothing_left()

    def testDoesNotHoldUpOtherCalls(self):
        number = self.alice.send()
        self.wait_for_question()
        another = self.caller()
        self.assertIs(another.start(), False)
        self.assertNotIn("error", another.ping())
        self.release()
        self.assertIs(self.alice.answer(number).get("result"), True)
        self.assertEqual(self.alice.final(), SUCCESS)

    def testThatGoesAwayIsANo(self):
        number = self.alice.send()
        self.wait_for_question()
        polkit = self.ask_bus("GetConnectionUnixProcessID", POLKIT)
        os.kill(polkit, 9)
        self.assertIs(self.alice.answer(number).get("result"), False)
        self.assertEqual(children(self.helper()), set())


class BusPolicy(HelperTest):
    def testLetsUsersReachNothingElse(self):
        """Only the helper's own interface, its description and its pings."""
        self.start_polkit()
        alice = self.caller()
        self.assertNotIn("error", alice.ping())
        for method in ("org.freedesktop.DBus.Properties.GetAll", "com.example.Other.Method"):
            self.assertIn(b"AccessDenied", self.call_by_hand(method, NAME).stderr)

    def testLetsUsersReadTheDescription(self):
        self.start_polkit()
        description = self.call_by_hand("org.freedesktop.DBus.Introspectable.Introspect").stdout.decode()
        own = re.search(r'<interface name="%s">.*?</interface>' % re.escape(NAME), description, re.DOTALL)[0]
        self.assertEqual(re.findall(r'<(?:method|property|signal) name="(\w+)"', own),
                         ["StartMERO", "Exit", "UpdateProgress"])

    def testGivesTheNameToRootAlone(self):
        attempt = self.call_by_hand("org.freedesktop.DBus.RequestName", NAME, "4", name="org.freedesktop.DBus",
                                    path="/org/freedesktop/DBus")
        self.assertIn(b"AccessDenied", attempt.stderr)
        self.assertFalse(self.is_on_bus(NAME))

    def call_by_hand(self, method, *arguments, name=NAME, path="/com/varnel/corvane/mero/helper"):
        """A call of mallory's with a tool of the distribution."""
        return subprocess.run(
            ["gdbus", "call", "--address", self.address, "--dest", name, "--object-path", path, "--method", method,
             *arguments],
            user=USERS[MALLORY], group=USERS[MALLORY], extra_groups=[], cwd="/", stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)


if __name__ == "__main__":
    helper_machine.main()
