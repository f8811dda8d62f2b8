"""How long the helper waits for what doesn't end, with short times that it is given: LimitsTest.cpp has the usual ones. The
limits are generous: they are for times ten times as long."""

import fcntl
import os
import signal
import time
import unittest

import helper_machine
from helper_configuration import file_item, tool_item
from helper_machine import LIMIT_SECONDS, Gate, folder, processes, read, wait_for, write
from helper_world import SUCCESS, TOOL_TIMEOUT, CallerTest
from stuck_file_system import StuckFileSystem

# In a folder where nothing else is collected.
STUCK = "/opt/far/stuck"


@unittest.skipUnless(os.access("/dev/fuse", os.R_OK | os.W_OK),
                     "this environment allows no file systems that a program answers for")
class StuckTest(CallerTest):
    def setUp(self):
        super().setUp()
        self.stuck = StuckFileSystem(folder(STUCK))
        self.addCleanup(self.stuck.end)

    def wait_for_stuck(self):
        self.assertTrue(self.stuck.asked.wait(LIMIT_SECONDS), "nobody waits for the file system")


class StuckWorker(StuckTest):
    """A worker that doesn't even end when it is killed."""

    program = "HELPER_WITH_SHORT_TIMES"
    environment = {"MERO_TEST_JOB_LIMIT_MS": "1000", "MERO_TEST_KILL_LIMIT_MS": "1000",
                   "MERO_TEST_LEFTOVER_LIMIT_MS": "300"}

    def testIsLeftToItselfSoon(self):
        self.configure(file_item("stuck", STUCK + "/a.log"))
        start = time.monotonic()
        self.assertEqual(self.collect(self.alice), TOOL_TIMEOUT)
        self.assertLess(time.monotonic() - start, 9)
        self.assertIn("is left to itself", self.log())


class StuckProcessOfATool(StuckTest):
    program = "HELPER_WITH_SHORT_TIMES"
    environment = {"MERO_TEST_LEFTOVER_LIMIT_MS": "300"}

    def testIsLeftToItselfSoon(self):
        gate = Gate()
        self.configure(tool_item("tool", "/usr/bin/setsid /bin/cat %s/a.log >/dev/null 2>&1 & /bin/cat %s" % (
            STUCK, gate.path)))
        self.assertIs(self.alice.start(), True)
        gate.wait()
        self.wait_for_stuck()
        start = time.monotonic()
        gate.open()
        self.assertEqual(self.alice.final(), SUCCESS)
        self.assertLess(time.monotonic() - start, 20)


class EndOfTheHelperWithAStuckWorker(StuckTest):
    def testIsClearedUpSoon(self):
        self.configure(file_item("stuck", STUCK + "/a.log"))
        self.assertIs(self.alice.start(), True)
        self.wait_for_stuck()
        self.assertTrue(self.working_folders())
        os.kill(self.helper(), signal.SIGKILL)
        wait_for(lambda: not self.working_folders(), "end of the working folder", 20)

    @staticmethod
    def working_folders():
        return [name for name in os.listdir("/tmp") if name.startswith("MERO_Temp_Bundle")]


class LockOfAnother(CallerTest):
    program = "HELPER_WITH_SHORT_TIMES"
    environment = {"MERO_TEST_LOCK_LIMIT_MS": "2000"}

    def testIsWaitedForButNotForLong(self):
        folder("/run/merohelper", mode=0o700)
        with open(write("/run/merohelper/lock", "", 0o600), "rb") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            start = time.monotonic()
            # The bus tells that nobody has taken the name.
            self.assertIsNone(self.alice.start())
            taken = time.monotonic() - start
        self.assertIn("The lock /run/merohelper/lock can't be had", self.log())
        self.assertGreater(taken, 1.9)
        self.assertLess(taken, 15)
        self.assertEqual(self.collect(self.alice), SUCCESS)

    def testThatIsGivenBackMeanwhileStartsTheHelper(self):
        folder("/run/merohelper", mode=0o700)
        with open(write("/run/merohelper/lock", "", 0o600), "rb") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            number = self.alice.send()
            wait_for(lambda: [one for one in processes() if b"merohelper" in read_name(one)], "helper")
        self.assertIs(self.alice.answer(number).get("result"), True)
        self.assertEqual(self.alice.final(), SUCCESS)


def read_name(process):
    try:
        return read("/proc/%d/comm" % process)
    except OSError:
        return b""


if __name__ == "__main__":
    helper_machine.main()
