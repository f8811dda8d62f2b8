"""A sample of the calls of a job fails, one in each run, as `script/faults` has all of them fail."""

import os
import subprocess
import sys
import unittest

import faults

MEROCLI = os.environ["MEROCLI"]
# So that all of them together stay below two minutes on two processors.
STRIDE = {faults.MAIN: 7, faults.POOL: 7, faults.CHILD: 1}


class Faults(unittest.TestCase):
    def setUp(self):
        reason = faults.obstacle()
        if reason:
            self.skipTest(reason)

    def try_out(self, party, password):
        done = subprocess.run(
            [sys.executable, "-B", faults.__file__, "--program", MEROCLI, "--jobs", "1", "--every", str(STRIDE[party]),
             "--party", party, "--password", password], stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def testMainThread(self):
        self.try_out(faults.MAIN, "without")

    def testMainThreadWithAPassword(self):
        self.try_out(faults.MAIN, "with")

    def testCollectingThread(self):
        self.try_out(faults.POOL, "without")

    def testCollectingThreadWithAPassword(self):
        self.try_out(faults.POOL, "with")

    def testStartOfATool(self):
        self.try_out(faults.CHILD, "without")


class FaultFindings(unittest.TestCase):
    """What the command says of a program that is not right."""

    def testUnknownCallIsRefused(self):
        done = subprocess.run([sys.executable, "-B", faults.__file__, "--program", MEROCLI, "no_such_call"],
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 2)
        self.assertIn("no_such_call", done.stderr)


if __name__ == "__main__":
    unittest.main()
