"""What a caller may not send: requests that are not the caller's, paths and values that are none, and too much."""

import os
import socket
import unicodedata
import unittest
import zipfile

import helper_machine
from gi.repository import Gio, GLib
from helper_machine import ALICE, MALLORY, ROOT_HOME, USERS, children, folder, link, read, resident_kilobytes, write
from helper_world import BUNDLE, INTERNAL, INVALID_XML, LOG, NAME, SECRET_FILE, SUCCESS, CallerTest, HelperTest
from stuck_file_system import StuckFileSystem

from configurations import request

REQUEST = "/home/alice/request.xml"
MEGABYTE = 1024 * 1024


class Request(CallerTest):
    """Each is refused, and none tells more than that."""

    def setUp(self):
        super().setUp()
        write("/home/alice/good.xml", request("public"), 0o600, ALICE)
        self.assertEqual(self.collect(self.alice, request="/home/alice/good.xml"), SUCCESS)

    def testThatIsALinkIsRefused(self):
        link(REQUEST, "/home/alice/good.xml", ALICE)
        self.refuses(self.alice, request=REQUEST)

    def testThatIsALinkToAFileOfRootsIsRefused(self):
        link(REQUEST, write(ROOT_HOME + "/request.xml", request("secret"), 0o600), ALICE)
        self.refuses(self.alice, request=REQUEST)

    def testThatIsAFifoIsRefusedAtOnce(self):
        os.mkfifo(REQUEST)
        helper_machine.give(REQUEST, ALICE)
        self.refuses(self.alice, request=REQUEST)

    def testThatIsADeviceIsRefused(self):
        os.mknod(REQUEST, 0o20666, os.makedev(1, 5))
        helper_machine.give(REQUEST, ALICE)
        self.refuses(self.alice, request=REQUEST)

    def testThatIsAFolderIsRefused(self):
        folder(REQUEST, ALICE)
        self.refuses(self.alice, request=REQUEST)

    def testOfRootsIsRefused(self):
        self.refuses(self.alice, request=write("/opt/request.xml", request("public")))

    def testOfAnotherUsersIsRefused(self):
        self.refuses(self.alice, request=write("/tmp/request.xml", request("public"), 0o666, MALLORY))

    def testThatTheCallerMayNotReadIsRefused(self):
        self.refuses(self.alice, request=write(ROOT_HOME + "/request.xml", request("public"), 0o600, ALICE))

    def testOfMoreThanAMegabyteIsRefused(self):
        write(REQUEST, request("public", comment="a" * MEGABYTE), 0o600, ALICE)
        self.refuses(self.alice, request=REQUEST)

    def testOfARelativePathIsRefused(self):
        self.refuses(self.alice, request="home/alice/good.xml")

    def testDoesNotTellWhatIsWhereTheCallerCanNotLook(self):
        write(ROOT_HOME + "/there.xml", request("public"), 0o600)
        folder("/opt/closed", mode=0o700)
        write("/opt/closed/there.xml", request("public"), 0o600, ALICE)
        for path in (ROOT_HOME + "/there.xml", ROOT_HOME + "/missing.xml", ROOT_HOME, "/opt/closed/there.xml",
                     "/opt/closed/missing.xml", "/home/alice/missing.xml", "/etc/shadow"):
            with self.subTest(path=path):
                self.refuses(self.alice, request=path)


class RequestContent(CallerTest):
    def testWithANameThatLeadsElsewhereEndsTheJob(self):
        for name in ("../../etc/cron.d/x", "..", "sub/../../x"):
            for identity in ("summary", "comments"):
                with self.subTest(name=name, identity=identity):
                    self.expect_invalid('<file id="%s"><name>%s</name></file>' % (identity, name))
        self.assertFalse(os.path.exists("/etc/cron.d/x"))

    def testWithSuchANameFurtherDownEndsTheJob(self):
        self.expect_invalid('<file id="summary"><more><name>../x</name></more></file>')

    def testWithSuchANameAsAnEntityEndsTheJob(self):
        self.expect_invalid('<file id="summary"><name>..&#47;x</name></file>')

    def expect_invalid(self, entries):
        write(REQUEST, request("public", entries=entries), 0o600, ALICE)
        self.assertEqual(self.collect(self.alice, request=REQUEST), INVALID_XML)
        self.assertFalse(os.path.exists(BUNDLE))

    def testWithANameOfItsOwnIsObeyed(self):
        write(REQUEST, request("public", entries='<file id="summary"><name>overview.txt</name></file>'), 0o600, ALICE)
        self.assertEqual(self.collect(self.alice, request=REQUEST), SUCCESS)
        self.assertIn(BUNDLE, self.everything_in())

    def testWithAnyOtherNameIsObeyedBelowTheBundle(self):
        names = {"summary": "/etc/cron.d/x", "comments": "sub/a..b"}
        entries = "".join('<file id="%s"><name>%s</name></file>' % entry for entry in names.items())
        write(REQUEST, request("public", comment="broken", entries=entries), 0o600, ALICE)
        self.assertEqual(self.collect(self.alice, request=REQUEST), SUCCESS)
        with zipfile.ZipFile(BUNDLE) as archive:
            self.assertLess({"etc/cron.d/x", "sub/a..b"}, set(archive.namelist()))
        self.assertFalse(os.path.exists("/etc/cron.d/x"))

    def testThatNamesAnItemTooOftenEndsTheJob(self):
        self.expect_invalid('<file id="public"/>' * 64)

    def testOfTooManyEntriesEndsTheJob(self):
        self.expect_invalid("".join('<file id="%d"/>' % number for number in range(20000)))

    def testThatIsNoXmlEndsTheJob(self):
        write(REQUEST, "no request at all", 0o600, ALICE)
        self.assertEqual(self.collect(self.alice, request=REQUEST), INVALID_XML)

    def testDoesNotBringOtherFilesIn(self):
        text = request("public", comment="x").replace("<request", "<!DOCTYPE request [<!ENTITY e SYSTEM "
                                                      "'file://%s'>]><request" % SECRET_FILE, 1)
        write(REQUEST, text.replace("<![CDATA[x]]>", "&e;"), 0o600, ALICE)
        self.assertIs(self.alice.start(request=REQUEST), True)
        self.alice.final()
        if os.path.exists(BUNDLE):
            self.assertNotIn("only root", self.everything_in())


class RequestSwap(HelperTest):
    def testAfterTheCallChangesNothing(self):
        self.start_polkit_stand_in(silent=True)
        alice = self.caller()
        write(REQUEST, request("public"), 0o600, ALICE)
        number = alice.send(request=REQUEST)
        self.wait_for_question()
        write(REQUEST, request("secret"), 0o600, ALICE)
        self.tell_polkit("ReleaseHangingCalls")
        self.assertIs(alice.answer(number).get("result"), True)
        self.assertEqual(alice.final(), SUCCESS)
        self.assertEqual(self.names(), ["public/public.log"])


@unittest.skipUnless(os.access("/dev/fuse", os.R_OK | os.W_OK),
                     "this environment allows no file systems that a program answers for")
class RequestsThatNobodyAnswersFor(CallerTest):
    program = "HELPER_WITH_SHORT_TIMES"
    environment = {"MERO_TEST_READER_LIMIT_MS": "1500"}

    def testHoldUpNobodyElse(self):
        write(REQUEST, request("public"), 0o600, ALICE)
        stuck = StuckFileSystem(folder("/home/mallory/stuck", MALLORY))
        self.addCleanup(stuck.end)
        mallory = self.caller(MALLORY)
        for _ in range(9):
            self.assertIs(mallory.start(request="/home/mallory/stuck/request.xml"), False)
        self.assertEqual(len(children(self.helper())), 2)
        self.assertEqual(self.collect(self.alice, request=REQUEST), SUCCESS)


class Values(CallerTest):
    def testOfBundlesThatAreNoPlainPathsAreRefused(self):
        for path in ("", "bundle.zip", "/home/alice/../mallory/bundle.zip", "/home/alice/", "/home/alice/..",
                     "/home/alice/a\nb.zip", "/home/alice/\x1b[2J.zip", "/home/alice/a\x7f.zip", "/"):
            with self.subTest(path=path):
                self.refuses(self.alice, bundle=path)

    def testOfTooManyBytesAreRefused(self):
        for key in ("MERORequestDir", "MEROBundlePath", "MEROBundlePassword", "Unknown"):
            with self.subTest(key=key):
                arguments = {"MEROBundlePath": BUNDLE}
                arguments[key] = "/" + "a" * 4096
                self.assertIs(self.alice.answer(self.alice.call(arguments)[0]).get("result"), False)

    def testWithoutABundleAreRefused(self):
        self.assertIs(self.alice.answer(self.alice.call({})[0]).get("result"), False)

    def testReachTheLogEscaped(self):
        hostile = "\nfaked line\r\x1b[31m\x07"
        self.refuses(self.alice, request="/tmp/" + hostile)
        self.refuses(self.alice, bundle="/tmp/" + hostile)
        self.refuses(self.alice, config="/tmp/" + hostile)
        arguments = {"MEROBundlePath": BUNDLE, "Key" + hostile: "a" * 5000}
        self.assertIs(self.alice.answer(self.alice.call(arguments)[0]).get("result"), False)
        self.assertIn("Key faked line\\x0D\\x1B[31m\\x07 is too long", self.log())
        self.expect_plain_log()

    def testOfRequestsReachTheLogEscaped(self):
        entries = '<file id="summary"><name>\nfaked line\x7f\x9b31m/.</name></file>'
        write(REQUEST, request("public", entries=entries), 0o600, ALICE)
        self.assertEqual(self.collect(self.alice, request=REQUEST), INTERNAL)
        self.assertIn("faked line\\x7F\\xC2\\x9B31m/.", self.log())
        self.expect_plain_log()

    def expect_plain_log(self):
        """Lines that nobody but the helper has begun, without control characters."""
        lines = read(LOG).decode().split("\n")
        self.assertEqual([line for line in lines if any(unicodedata.category(c) == "Cc" for c in line)], [])
        self.assertEqual([line for line in lines if line.startswith("faked line")], [])

    def testWithANulDoNotGetPastTheBus(self):
        message = Gio.DBusMessage.new_method_call(NAME, "/com/varnel/corvane/mero/helper", NAME, "StartMERO")
        message.set_body(GLib.Variant("(a{ss})", ({"MEROBundlePath": BUNDLE, "MEROBundlePassword": "begin@end"},)))
        message.set_serial(2)
        hello = Gio.DBusMessage.new_method_call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                "org.freedesktop.DBus", "Hello")
        hello.set_serial(1)
        self.alice.ping()
        with self.connect_as(ALICE) as sender:
            sender.sendall(b"\0AUTH EXTERNAL %s\r\n" % str(USERS[ALICE]).encode().hex().encode())
            self.assertTrue(sender.recv(1000).startswith(b"OK "))
            sender.sendall(b"BEGIN\r\n" + hello.to_blob(Gio.DBusCapabilityFlags.NONE))
            self.assertTrue(sender.recv(10000))
            sender.sendall(message.to_blob(Gio.DBusCapabilityFlags.NONE).replace(b"begin@end", b"begin\0end"))
            # The bus ends the connection of whoever sends such a text.
            while sender.recv(10000):
                pass
        self.alice.ping()
        self.assertEqual(children(self.helper()), set())
        self.assertEqual(self.collect(self.alice), SUCCESS)

    @staticmethod
    def connect_as(user):
        sender = socket.socket(socket.AF_UNIX)
        sender.settimeout(helper_machine.LIMIT_SECONDS)
        os.seteuid(USERS[user])
        try:
            sender.connect("/run/bus")
        finally:
            os.seteuid(0)
        return sender


class Flood(CallerTest):
    # What a helper may grow by for good: far less than what it is sent, more than a few cached blocks.
    growth_kilobytes = 8 * 1024

    def testOfCallsStartsOneJob(self):
        gate = self.hold_in_job()
        self.alice.ping()
        self.alice.answer(self.alice.call({"MEROBundlePath": "none"}, 100)[-1])
        before = resident_kilobytes(self.helper())
        numbers = self.alice.call({"MEROBundlePath": BUNDLE}, 1000)
        results = [self.alice.answer(number).get("result") for number in numbers]
        self.assertEqual((results.count(True), results.count(False)), (1, 999))
        self.expect_growth_below(before, self.growth_kilobytes)
        gate.wait()
        self.worker()
        gate.open()
        self.assertEqual(self.alice.final(), SUCCESS)
        self.end_helper(self.alice)
        self.assertEqual(self.alice.finals(), [SUCCESS])
        self.expect_nothing_left()

    def testOfSixteenMegabytesEachIsLetGoOf(self):
        self.alice.ping()
        before = resident_kilobytes(self.helper())
        self.refuse_large_calls(8)
        # The bus library keeps room for a message, and may not be done with the last one yet.
        self.expect_growth_below(before, 2 * 16 * 1024 + self.growth_kilobytes)
        self.assertEqual(self.collect(self.alice), SUCCESS)

    def expect_growth_below(self, before, limit):
        # A sanitizer keeps what was let go.
        if not os.environ["MERO_SANITIZE"]:
            self.assertLess(resident_kilobytes(self.helper()) - before, limit)

    def refuse_large_calls(self, count):
        for key in ("MEROBundlePassword", "Unknown") * (count // 2):
            number = self.alice.call({"MEROBundlePath": BUNDLE}, repeated={key: ["a", 16 * MEGABYTE]})[0]
            self.assertIs(self.alice.answer(number).get("result"), False)

    def testOfEntriesIsRefused(self):
        arguments = {"Key%d" % number: "" for number in range(100000)}
        arguments["MEROBundlePath"] = BUNDLE
        self.assertIs(self.alice.answer(self.alice.call(arguments)[0]).get("result"), False)
        self.assertEqual(self.collect(self.alice), SUCCESS)


if __name__ == "__main__":
    helper_machine.main()
