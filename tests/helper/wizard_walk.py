"""Walks through the wizard as the user who runs this script, on the system bus that MERO_HELPER_BUS names."""

import os
import stat
import sys
import time
import unittest
import zipfile

from wizard_program import JobTest

# What only root may read, and whether the bundle is to have it.
SECRET_FILE = os.environ["MERO_SECRET_FILE"]
PARTIAL = ("MERO will only collect partial diagnostic information. For a complete log collection, authenticate as an "
           "administrator.")
# The window goes at once; nothing is left to wait for.
END_SECONDS = 3
COLLECTED_BY_THE_HELPER = "collected/secret/" + os.path.basename(SECRET_FILE)


class Walk(JobTest):
    def setUp(self):
        super().setUp()
        self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = os.environ["MERO_HELPER_BUS"]

    def expect_own_bundle(self):
        bundle = self.bundle()
        status = os.stat(bundle)
        self.assertEqual((status.st_uid, status.st_gid), (os.getuid(), os.getgid()))
        self.assertEqual(stat.S_IMODE(status.st_mode), 0o600)
        return zipfile.ZipFile(bundle)

    def testWithTheHelper(self):
        self.walk_to_the_encryption_page()
        self.press("Next")
        self.find("label", "Bundle Creation Result")
        with self.expect_own_bundle() as archive:
            self.assertIsNone(archive.testzip())
            self.assertIn(COLLECTED_BY_THE_HELPER, archive.namelist())
            self.assertIn(os.environ["MERO_SECRET"], archive.read(COLLECTED_BY_THE_HELPER).decode())
        self.finish()
        self.assertNotIn("Start MERO directly without helper...", self.read_log())

    def testWithoutPermission(self):
        self.walk_to_the_encryption_page()
        self.press("Next")
        self.find("label", PARTIAL)
        self.press("OK")
        self.find("label", "Bundle Creation Result")
        with self.expect_own_bundle() as archive:
            self.assertEqual(archive.read(self.group + "/sample.log").decode(), self.CONTENT)
            self.assertNotIn(COLLECTED_BY_THE_HELPER, archive.namelist())
        self.finish()
        self.assertIn("Start MERO directly without helper...", self.read_log())

    def testCancelledDuringTheQuestion(self):
        self.walk_to_the_encryption_page()
        self.press("Next")
        self.find("label", "Bundle Creation Progress")
        self.wait_for(lambda: os.path.exists(os.environ["MERO_ASKED"]), "question")
        self.find("label", "Bundle Creation Progress")
        self.press("Cancel")
        start = time.monotonic()
        self.wait_for_exit()
        self.assertLess(time.monotonic() - start, END_SECONDS)
        self.assertEqual(os.listdir(self.path("home", "Desktop")), [])


if __name__ == "__main__":
    sys.exit(unittest.main(verbosity=2))
