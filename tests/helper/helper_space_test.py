"""Jobs that would leave no room to anybody else."""

import os
import subprocess

import helper_machine
from helper_configuration import file_item, tool_item
from helper_machine import write
from helper_world import BUNDLE, SUCCESS, WRITE_FAILURE, CallerTest

MEGABYTE = 1024 * 1024
TOO_LITTLE = "There is not enough free disk space to create the bundle. Free some space and try again."
TOO_MUCH = "The files to collect are too large for one bundle. Choose fewer of them and try again."
TOUCHED = "/opt/touched"


class SpaceTest(CallerTest):
    def setUp(self):
        super().setUp()
        for name in "abcd":
            os.truncate(write("/opt/logs/" + name, ""), 1024 * MEGABYTE)
        self.configure(tool_item("first", "/usr/bin/touch " + TOUCHED), file_item("large", "/opt/logs/*"),
                       tool_item("last", "/bin/sleep 2"))

    @staticmethod
    def shrink(folder, megabytes):
        subprocess.run(["mount", "-o", "remount,size=%dm" % megabytes, folder], check=True)

    @staticmethod
    def free_bytes(folder):
        status = os.statvfs(folder)
        return status.f_bavail * status.f_frsize

    def expect_end(self, message):
        before = self.free_bytes("/tmp")
        self.assertEqual(self.collect(self.alice), WRITE_FAILURE)
        self.assertEqual(self.alice.all("progress")[-1]["message"], message)
        self.assertFalse(os.path.exists(BUNDLE))
        self.expect_nothing_left()
        self.assertEqual(self.free_bytes("/tmp"), before)


class SmallFileSystem(SpaceTest):
    """With the limits as they are."""

    def testOfWorkingFoldersEndsAJobAtOnce(self):
        self.shrink("/tmp", 60)
        self.expect_end(TOO_LITTLE)
        self.assertFalse(os.path.exists(TOUCHED))

    def testOfJobsEndsAJobAtOnce(self):
        self.shrink("/var/cache", 60)
        self.expect_end(TOO_LITTLE)
        self.assertFalse(os.path.exists(TOUCHED))


class SmallTarget(SpaceTest):
    """The copy to the target is within the same limits as the job."""

    def testEndsTheJobWithNothingThere(self):
        self.configure(tool_item("first", "/usr/bin/touch " + TOUCHED))
        self.shrink("/home", 150)
        self.expect_end(TOO_LITTLE)
        self.assertTrue(os.path.exists(TOUCHED))
        self.assertEqual(os.listdir("/home/alice"), [])
        self.shrink("/home", 300)
        self.assertEqual(self.collect(self.alice), SUCCESS)


class FileSystemThatFills(SpaceTest):
    program = "HELPER_WITH_SHORT_TIMES"
    environment = {"MERO_TEST_KEPT_MIB": "100"}

    def testEndsTheJob(self):
        self.shrink("/tmp", 300)
        self.expect_end(TOO_LITTLE)
        self.assertTrue(os.path.exists(TOUCHED))
        self.configure(file_item("public", "/opt/public.log"))
        self.assertEqual(self.collect(self.alice), SUCCESS)


class JobThatGrows(SpaceTest):
    program = "HELPER_WITH_SHORT_TIMES"
    environment = {"MERO_TEST_KEPT_MIB": "1", "MERO_TEST_MOST_MIB": "50"}

    def testEnds(self):
        self.shrink("/tmp", 1024)
        self.configure(tool_item("tool", "/usr/bin/head -c 60M /dev/zero; /bin/sleep 5"))
        self.expect_end(TOO_MUCH)


if __name__ == "__main__":
    helper_machine.main()
