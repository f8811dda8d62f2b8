"""What root's run has skipped runs again as an ordinary user."""

import os
import subprocess
import unittest

import made_up_tree as tree

SCRIPT = os.path.join(tree.SOURCE, "tests/support/skipped-as-user.sh")
CTEST = os.environ["MERO_CTEST"]

# Of names as test programs have them; which of them fails for root and which for others is the difference to be seen.
TESTS = """
add_test("Case.OfRoot" sh -c "test $(id -u) = 0")
add_test([=[Case.OfAUser/"a.b" (c) | d+]=] sh -c "test $(id -u) != 0 || echo SKIPPED")
add_test("Case.OfAHome" sh -c "test $(id -u) != 0 && touch $HOME/file || echo SKIPPED")
set_tests_properties([=[Case.OfAUser/"a.b" (c) | d+]=] "Case.OfAHome" PROPERTIES SKIP_REGULAR_EXPRESSION "SKIPPED")
"""
FAILING = """
add_test("Case.ThatFailsForAUser" sh -c "test $(id -u) = 0 && echo SKIPPED")
set_tests_properties("Case.ThatFailsForAUser" PROPERTIES SKIP_REGULAR_EXPRESSION "SKIPPED")
"""


@unittest.skipIf(os.geteuid() != 0, "an ordinary user's run skips none of these tests in the first place")
class SkippedAsUser(tree.TreeTest):
    def run_tests(self, tests):
        """Runs the tests as root, then those that were skipped. @return the exit status and the names of those that passed."""
        os.chmod(self.folder, 0o755)
        self.write("CTestTestfile.cmake", tests)
        results = os.path.join(self.folder, "results.xml")
        subprocess.run([CTEST, "--test-dir", self.folder, "--output-junit", results], stdout=subprocess.DEVNULL, check=True)
        done = subprocess.run([SCRIPT, self.folder, results], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return done.returncode, done.stdout

    def testRunsWhatWasSkippedAndNothingElse(self):
        status, output = self.run_tests(TESTS)
        self.assertEqual(status, 0, output)
        self.assertIn("100% tests passed, 0 tests failed out of 2", output)
        self.assertNotIn("Case.OfRoot", output)
        self.assertNotIn("Skipped", output)

    def testFailureIsTheExitStatus(self):
        status, output = self.run_tests(TESTS + FAILING)
        self.assertNotEqual(status, 0)
        self.assertIn("Case.ThatFailsForAUser (Failed)", output)

    def testNothingSkipped(self):
        self.assertEqual(self.run_tests('add_test("Case.OfRoot" sh -c "test $(id -u) = 0")'), (0, "no test was skipped\n"))

    def testFolderThatTheUserCannotRead(self):
        os.makedirs(os.path.join(self.folder, "closed"), 0o700)
        folder, self.folder = self.folder, os.path.join(self.folder, "closed/build")
        os.makedirs(self.folder)
        os.chmod(folder + "/closed", 0o700)
        status, output = self.run_tests(TESTS)
        self.folder = folder
        self.assertEqual((status, output), (0, "they stay so: an ordinary user can't read %s/closed/build\n" % folder))


if __name__ == "__main__":
    unittest.main()
