"""Jobs that end otherwise than by themselves. Each has one outcome and leaves nothing behind."""

import os
import signal
import time

import helper_machine
from helper_configuration import tool_item
from helper_machine import BASE, MALLORY, processes, wait_for, write
from helper_world import BUNDLE, INTERNAL, NAME, SUCCESS, TOOL_TIMEOUT, CallerTest

# A tool that is not told to end: it ignores what can be ignored, leads a session of its own, and leaves a process
# behind that does so too and that is nobody's child.
STUBBORN = """#!/bin/sh
trap '' TERM INT HUP QUIT
if [ "$1" = left ]; then
    exec cat {left} >/dev/null 2>&1
fi
setsid "$0" left &
exec setsid -w cat {gate}
"""


# A tool whose processes, each in a session of its own, are children of one another: the end of one gives the next to
# whom it falls to.
CHAIN = """#!/bin/sh
trap '' TERM INT HUP QUIT
if [ "$1" = 0 ]; then
    exec cat {gate}
fi
setsid -w "$0" $(($1 - 1))
"""
CHAIN_LENGTH = 60


class HeldJob(CallerTest):
    """A job that stands still in a tool."""

    def setUp(self):
        super().setUp()
        self.gate = self.start_held_job()

    def expect_one_outcome(self, *statuses):
        """The job ends with one of these, and nothing is left of it, nor told after that."""
        self.assertIn(self.alice.final(), statuses)
        self.expect_nothing_left()
        self.assertFalse(os.path.exists(BUNDLE))
        if self.is_on_bus(NAME):
            self.end_helper(self.alice)
        self.alice.settle()
        self.assertEqual(len(self.alice.finals()), 1)

    def expect_end(self, helper):
        """The helper ends, and its job with it."""
        self.alice.final()
        self.wait_until_gone()
        wait_for(lambda: helper not in processes(), "end of the helper")
        self.expect_one_outcome(INTERNAL)

    def expect_next_job(self):
        self.configure(tool_item("tool", "/bin/echo done"))
        another = self.caller()
        self.assertEqual(self.collect(another), SUCCESS)
        self.end_helper(another)
        self.expect_nothing_left()


class EndOfTheWorker(HeldJob):
    def testByASignalIsAnInternalError(self):
        os.kill(self.worker(), signal.SIGKILL)
        self.expect_one_outcome(INTERNAL)

    def testByACrashIsAnInternalError(self):
        os.kill(self.worker(), signal.SIGSEGV)
        self.expect_one_outcome(INTERNAL)

    def testMakesRoomForTheNext(self):
        os.kill(self.worker(), signal.SIGKILL)
        self.assertEqual(self.alice.final(), INTERNAL)
        self.expect_next_job()


class EndOfTheHelper(HeldJob):
    def testByForceEndsTheWorker(self):
        helper = self.helper()
        worker = self.worker()
        os.kill(helper, signal.SIGKILL)
        self.wait_until_gone()
        wait_for(lambda: not {helper, worker} & set(processes()), "end of the worker")
        self.assertEqual(self.alice.finals(), [])

    def testByForceLeavesNoToolRunning(self):
        os.kill(self.helper(), signal.SIGKILL)
        self.wait_until_gone()
        wait_for(lambda: not self.strangers(), lambda: "end of %s" % self.strangers())

    def testByForceTogetherWithItsWorkerIsCleanedUpByTheNext(self):
        helper, worker = self.helper(), self.worker()
        # A worker that outlives its helper clears up by itself, so this one may not have a moment to do so.
        os.kill(worker, signal.SIGSTOP)
        os.kill(helper, signal.SIGKILL)
        os.kill(worker, signal.SIGKILL)
        self.wait_until_gone()
        wait_for(lambda: worker not in processes(), "end of the worker")
        self.assertEqual(len(self.leavings()), 2)
        # Nobody is left to end the tool.
        self.gate.open()
        self.expect_next_job()
        self.assertEqual(self.alice.finals(), [])

    def testByRequestOfTheSystemEndsTheJob(self):
        helper = self.helper()
        os.kill(helper, signal.SIGTERM)
        self.expect_end(helper)


class EndOfTheBus(HeldJob):
    def testEndsTheHelperAndItsJob(self):
        helper = self.helper()
        self.bus.kill()
        wait_for(lambda: helper not in processes() and not self.leavings(), "end of the helper")
        left = set(processes()) - self.known
        self.assertEqual(left, set())
        self.assertFalse(os.path.exists(BUNDLE))


class EndOfTheCaller(HeldJob):
    def testEndsTheJob(self):
        helper = self.helper()
        self.alice.kill()
        wait_for(lambda: not self.leavings() and not self.strangers(), "end of the job")
        self.assertEqual(self.helper(), helper)
        self.assertFalse(os.path.exists(BUNDLE))
        self.expect_next_job()


class Exit(HeldJob):
    def testOfAStrangerDuringAJobIsAnsweredAndIgnored(self):
        for user in (MALLORY, helper_machine.ALICE):
            self.assertNotIn("error", self.caller(user).exit())
        self.gate.open()
        self.assertEqual(self.alice.final(), SUCCESS)
        self.alice.ping()
        self.assertEqual(self.alice.finals(), [SUCCESS])

    def testOfTheCallerEndsTheJob(self):
        helper = self.helper()
        self.assertNotIn("error", self.alice.exit())
        self.expect_end(helper)

    def testOfRootEndsTheJob(self):
        helper = self.helper()
        self.assertNotIn("error", self.caller("root").exit())
        self.expect_end(helper)


class ExitWithoutAJob(CallerTest):
    delay_seconds = 2

    def testOfAnybodyEndsTheHelperAfterItsDelay(self):
        mallory = self.caller(MALLORY)
        self.alice.ping()
        helper = self.helper()
        asked = time.monotonic()
        answer = mallory.exit(self.delay_seconds)
        self.assertNotIn("error", answer)
        self.assertLess(answer["time"] - asked, 1)
        self.wait_until_gone()
        self.assertGreaterEqual(time.monotonic() - asked, self.delay_seconds)
        wait_for(lambda: helper not in processes(), "end of the helper")
        self.assertEqual(self.collect(self.alice), SUCCESS)

    def testAfterTheJobIsTheCallers(self):
        self.assertEqual(self.collect(self.alice), SUCCESS)
        helper = self.helper()
        self.assertNotIn("error", self.alice.exit(1))
        self.wait_until_gone()
        wait_for(lambda: helper not in processes(), "end of the helper")

    def testNeedsNoPermission(self):
        self.alice.ping()
        self.assertNotIn("error", self.caller(MALLORY).exit())
        self.wait_until_gone()


class EndOfTheHelperAtAChainOfTools(CallerTest):
    def testByForceEndsAllOfThem(self):
        """Though the engine goes on as soon as the first of them has ended."""
        gate = helper_machine.Gate()
        write(BASE + "/tools/chain", CHAIN.format(gate=gate.path), 0o755)
        self.configure(tool_item("tool", "%s/tools/chain %d" % (BASE, CHAIN_LENGTH)))
        self.assertIs(self.alice.start(), True)
        gate.wait()
        os.kill(self.helper(), signal.SIGKILL)
        self.wait_until_gone()
        wait_for(lambda: not self.strangers(), lambda: "end of %s" % self.strangers())


class JobLimit(CallerTest):
    program = "HELPER_WITH_SHORT_TIMES"
    environment = {"MERO_TEST_JOB_LIMIT_MS": "3000"}

    def testEndsAJobWithAllItsTools(self):
        gate = helper_machine.Gate()
        left = helper_machine.Gate("left")
        write(BASE + "/tools/stubborn", STUBBORN.format(gate=gate.path, left=left.path), 0o755)
        self.configure(tool_item("tool", BASE + "/tools/stubborn"))
        self.assertIs(self.alice.start(), True)
        left.wait()
        gate.wait()
        self.assertEqual(self.alice.final(), TOOL_TIMEOUT)
        self.expect_nothing_left()
        self.end_helper(self.alice)
        self.assertEqual(self.alice.finals(), [TOOL_TIMEOUT])
        self.assertFalse(os.path.exists(BUNDLE))

    def testMakesRoomForTheNext(self):
        gate = self.start_held_job()
        self.assertEqual(self.alice.final(), TOOL_TIMEOUT)
        self.configure(tool_item("tool", "/bin/echo done"))
        self.assertEqual(self.collect(self.caller()), SUCCESS)


if __name__ == "__main__":
    helper_machine.main()
