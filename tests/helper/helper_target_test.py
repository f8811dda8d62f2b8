"""Targets to which no bundle can come. The caller is told before anything is done."""

import os
import socket
import stat
import unittest

import helper_machine
from helper_configuration import tool_item
from helper_machine import ALICE, ROOT_HOME, folder, give, link, write
from helper_world import BUNDLE, SUCCESS, WRITE_FAILURE, CallerTest, HelperTest
from stuck_file_system import StuckFileSystem

NOT_ZIPPED = "Internal Error: failed to zip the bundle..."
TOUCHED = "/opt/touched"
ELSEWHERE = "/home/alice/elsewhere"


def pipe(path):
    os.mkfifo(path, 0o600)
    give(path, ALICE)


def device(path):
    os.mknod(path, stat.S_IFCHR | 0o600, os.makedev(1, 3))
    give(path, ALICE)


def listener(path):
    with socket.socket(socket.AF_UNIX) as listening:
        listening.bind(path)
    give(path, ALICE)


def folder_of_alice(path):
    folder(path, ALICE)


class Target(HelperTest):
    """Polkit never answers, so that a job which only begins after its question doesn't begin."""

    def setUp(self):
        super().setUp()
        self.configure(tool_item("tool", "/usr/bin/touch " + TOUCHED))
        self.start_polkit_stand_in(silent=True)
        self.alice = self.caller()

    def expect_refusal(self, make, path=BUNDLE, bundle=BUNDLE):
        make(path)
        before = os.lstat(path)
        self.assertEqual(self.collect(self.alice, bundle=bundle), WRITE_FAILURE)
        self.assertEqual([(event["status"], event["message"]) for event in self.alice.all("progress")],
                         [(WRITE_FAILURE, NOT_ZIPPED)])
        self.assertFalse(os.path.exists(TOUCHED))
        self.assertFalse(self.tell_polkit("HaveHangingCalls")[0])
        after = os.lstat(path)
        self.assertEqual((after.st_ino, after.st_mode, after.st_mtime), (before.st_ino, before.st_mode, before.st_mtime))
        self.expect_nothing_left()

    def testThatIsAPipeIsRefusedAtOnce(self):
        self.expect_refusal(pipe)

    def testThatIsADeviceIsRefusedAtOnce(self):
        self.expect_refusal(device)

    def testThatIsASocketIsRefusedAtOnce(self):
        self.expect_refusal(listener)

    def testThatIsAFolderIsRefusedAtOnce(self):
        self.expect_refusal(folder_of_alice)

    def testThatLeadsToAPipeIsRefusedAtOnce(self):
        link(BUNDLE, ELSEWHERE, ALICE)
        self.expect_refusal(pipe, ELSEWHERE)
        self.assertTrue(os.path.islink(BUNDLE))

    def testThatIsAPipeWithTheExtensionIsRefusedAtOnce(self):
        self.expect_refusal(pipe, BUNDLE, BUNDLE[:-len(".zip")])

    def testIsFollowedByAnotherJobRightAway(self):
        self.expect_refusal(pipe)
        os.unlink(BUNDLE)
        root = self.caller("root")
        self.assertEqual(self.collect(root), SUCCESS)


class TargetThatMayBeFine(CallerTest):
    def setUp(self):
        super().setUp()
        self.configure(tool_item("tool", "/usr/bin/touch " + TOUCHED))

    def testIsALinkToNowhere(self):
        link(BUNDLE, "/home/alice/nowhere", ALICE)
        self.assertEqual(self.collect(self.alice), SUCCESS)
        self.assertTrue(stat.S_ISREG(os.lstat(BUNDLE).st_mode))

    def testIsWhatTheCallerCanNotLookAt(self):
        """The answer is the same for what is there and for what is not."""
        os.mkfifo(ROOT_HOME + "/pipe.zip")
        for name in ("pipe", "missing"):
            with self.subTest(name=name):
                self.assertEqual(self.collect(self.alice, bundle="%s/%s.zip" % (ROOT_HOME, name)), WRITE_FAILURE)
                os.unlink(TOUCHED)

    def testIsLookedAtAgainAtTheEnd(self):
        gate = self.start_held_job()
        pipe(BUNDLE)
        gate.open()
        self.assertEqual(self.alice.final(), WRITE_FAILURE)
        self.assertTrue(stat.S_ISFIFO(os.lstat(BUNDLE).st_mode))
        self.expect_nothing_left()


@unittest.skipUnless(os.access("/dev/fuse", os.R_OK | os.W_OK),
                     "this environment allows no file systems that a program answers for")
class TargetThatNobodyAnswersFor(HelperTest):
    program = "HELPER_WITH_SHORT_TIMES"
    environment = {"MERO_TEST_READER_LIMIT_MS": "1000"}

    def testHoldsTheCallUpForAMomentOnly(self):
        self.start_polkit_stand_in(silent=True)
        stuck = StuckFileSystem(folder("/home/alice/stuck", ALICE))
        self.addCleanup(stuck.end)
        self.caller().send(bundle=stuck.folder + "/bundle.zip")
        self.wait_for_question()


if __name__ == "__main__":
    helper_machine.main()
