"""A system that has no locks to give, for a moment or at all."""

import os
import unittest

import helper_machine
from helper_machine import folder, write
from helper_world import JOBS, SUCCESS, CallerTest

UNKNOWN = "This helper can't tell whether another one's job runs"


@unittest.skipIf(os.environ["MERO_SANITIZE"], "the sanitizers can't look for what was lost in a process that is traced")
class Locks(CallerTest):
    """What a helper that was killed has left."""

    def setUp(self):
        super().setUp()
        folder("/run/merohelper", mode=0o700)
        folder(JOBS, mode=0o700)
        self.of_job = write(folder(JOBS + "/job-former", mode=0o700) + "/bundle.zip", "former")
        self.of_engine = write(folder("/tmp/MERO_Temp_Bundle__former", mode=0o700) + "/a.log", "former")

    def left(self):
        return [os.path.exists(path) for path in (self.of_job, self.of_engine)]


class NoLocks(Locks):
    launcher = ("/usr/bin/strace", "-f", "-qqq", "-o", "/dev/null", "-e", "inject=flock:error=ENOLCK")

    def testLeaveTheHelperAtWorkAndWhatMayBeInUseAlone(self):
        self.assertEqual(self.collect(self.alice), SUCCESS)
        self.assertEqual(self.left(), [True, True])
        self.assertIn(UNKNOWN, self.log())

    def testOfOneHelperAreNoneOfTheNext(self):
        self.assertEqual(self.collect(self.alice), SUCCESS)
        self.end_helper(self.alice)
        self.launcher = ()
        self.bus.kill()
        self.bus.wait()
        self.start_bus()
        self.start_polkit_stand_in()
        self.assertEqual(self.collect(self.caller()), SUCCESS)
        self.assertEqual(self.left(), [False, False])


class InterruptedLock(Locks):
    launcher = ("/usr/bin/strace", "-qqq", "-o", "/dev/null", "-e", "inject=flock:error=EINTR:when=1")

    def testIsAskedForAgain(self):
        self.assertEqual(self.collect(self.alice), SUCCESS)
        self.assertEqual(self.left(), [False, False])
        self.assertNotIn(UNKNOWN, self.log())


if __name__ == "__main__":
    helper_machine.main()
