"""Jobs of the helper in which a system call fails once: whatever comes of it is told, and nothing half is left."""

import os
import re
import unittest
import zipfile

import helper_machine
from helper_configuration import file_item, folder_item, tool_item
from helper_machine import ALICE, read, wait_for, write
from helper_world import BUNDLE, NAME, SECRET, SECRET_FILE, SUCCESS, WRITE_FAILURE, CallerTest

INCOMPLETE = 0xFEB00016
TRACE = "/opt/trace"
OWN_LOG = "/home/alice/tree/own.log"
FILES = {"public/public.log": "everybody may read this\n", "secret/secret.log": SECRET, "tree/own.log": "own\n"}


@unittest.skipIf(os.environ["MERO_SANITIZE"], "the sanitizers can't look for what was lost in a process that is traced")
class FailedCall(CallerTest):
    """The counts are those of each thread, from the call of StartMERO on for the service and from its start for the
    worker. Each of these calls is made more often than that by a thread of the worker."""

    def setUp(self):
        super().setUp()
        self.outcomes = []
        write(OWN_LOG, FILES["tree/own.log"], 0o600, ALICE)
        self.configure(file_item("public", "/opt/public.log"), file_item("secret", SECRET_FILE),
                       folder_item("tree", "$HOME/tree/", "*.log"), tool_item("tool", "/bin/echo done"))

    def run_with(self, call, error, number, where):
        """A job in which the call fails. @return whether it was made."""
        if os.path.exists(BUNDLE):
            os.unlink(BUNDLE)
        self.alice.ping()
        helper = self.helper()
        tracer = self.start_daemon(["strace", "-f", "-qqq", "-o", TRACE, "-e", "trace=" + call, "-e", "signal=none",
                                    "-e", "inject=%s:error=%s:when=%d" % (call, error, number), *where,
                                    "-p", str(helper)])
        wait_for(lambda: b"TracerPid:\t%d\n" % tracer.pid in read("/proc/%d/status" % helper), "tracer")
        status = self.alice.final() if self.alice.start() else None
        # It has gone by itself where it could not go on.
        if self.is_on_bus(NAME):
            self.end_helper(self.alice)
        tracer.wait()
        self.expect_told(status)
        self.outcomes.append(status)
        return b"(INJECTED)" in read(TRACE)

    def expect_told(self, status):
        if status not in (SUCCESS, INCOMPLETE):
            self.assertFalse(os.path.exists(BUNDLE))
            return
        with zipfile.ZipFile(BUNDLE) as archive:
            names = archive.namelist()
            missing = archive.read("not-packed.txt").decode() if "not-packed.txt" in names else ""
            if "summary.txt" not in names:
                # It went with the folder that it stands in.
                self.assertEqual(status, INCOMPLETE)
                self.assertRegex(missing, "could not be listed|\nsummary.txt: ")
                return
            words = archive.read("summary.txt").decode() + missing
            if "\nsummary.txt: " in words:
                # Each thread counts for itself, so that more than one can fail: the rows have gone with the summary.
                self.assertEqual(status, INCOMPLETE)
                return
            for name, content in FILES.items():
                if "collected/" + name in names:
                    packed = archive.read("collected/" + name).decode()
                    if "collected/%s: could not be read whole" % name in missing:
                        self.assertEqual(status, INCOMPLETE)
                        self.assertTrue(content.startswith(packed))
                    else:
                        self.assertEqual(packed, content)
                else:
                    # Of a folder that was not to be had, the row of its item speaks.
                    omitted = words.partition("Files Omitted from Bundle:")[2]
                    self.assertRegex(omitted, "%s|\\n%s " % tuple(map(re.escape, reversed(name.split("/")))))
            if status == SUCCESS:
                self.assertNotIn("not-packed.txt", names)

    def expect_to_be_told_of(self, call, error, *numbers, path=""):
        """@param path  only calls with this path, or with a descriptor of it, fail and count."""
        reached = 0
        for number in numbers:
            with self.subTest(call=call, error=error, number=number):
                reached += self.run_with(call, error, number, ("-P", path) if path else ())
        self.assertEqual(reached, len(numbers))
        # What could not be removed goes with the next job.
        self.assertEqual(self.collect(self.alice), SUCCESS)
        self.expect_nothing_left()

    def testOfOpeningIsTold(self):
        self.expect_to_be_told_of("openat", "EMFILE", 5, 20, 40, 60)
        self.expect_to_be_told_of("openat", "EMFILE", 1, path=OWN_LOG)

    def testOfReadingIsTold(self):
        self.expect_to_be_told_of("read", "EIO", 3, 6, 10)
        self.expect_to_be_told_of("pread64", "EIO", 1, 2, 3)

    # No write: those by which threads wake one another up can't fail, and are never repeated.

    def testOfWritingOutIsTold(self):
        self.expect_to_be_told_of("fsync", "EIO", 1)
        self.assertEqual(self.outcomes, [WRITE_FAILURE])

    def testOfPuttingTheArchiveInPlaceIsTold(self):
        self.expect_to_be_told_of("linkat", "EIO", 1)
        self.expect_to_be_told_of("renameat", "EIO", 1)

    def testOfPuttingTheBundleInPlaceIsTold(self):
        for call in ("openat", "linkat", "renameat"):
            self.expect_to_be_told_of(call, "EIO", 1, path=os.path.dirname(BUNDLE))

    def testOfExaminingIsTold(self):
        self.expect_to_be_told_of("newfstatat", "ENOMEM", 3, 8, 15)
        self.expect_to_be_told_of("newfstatat", "ENOMEM", 1, 2, path=OWN_LOG)

    def testOfListingIsTold(self):
        self.expect_to_be_told_of("getdents64", "EIO", *range(1, 8))
        self.expect_to_be_told_of("getdents64", "EIO", 1, path=os.path.dirname(OWN_LOG))

    def testOfListingAFolderToItsEndIsToldBesideWhatWasFound(self):
        self.assertTrue(self.run_with("getdents64", "EIO", 2, ("-P", os.path.dirname(OWN_LOG))))
        self.assertEqual(self.outcomes, [SUCCESS])
        with zipfile.ZipFile(BUNDLE) as archive:
            self.assertIn("collected/tree/own.log", archive.namelist())
            self.assertIn(os.path.dirname(OWN_LOG) + " could not be listed:", archive.read("summary.txt").decode())

    def testOfMakingAFolderIsTold(self):
        self.expect_to_be_told_of("mkdir", "ENOSPC", 1, 2, 3)

    def testOfMountingIsTold(self):
        self.expect_to_be_told_of("mount", "EPERM", 1, 2, 5)

    def testOfStartingAProcessIsTold(self):
        self.expect_to_be_told_of("clone", "EAGAIN", 1)

    def testOfRemovingIsTold(self):
        self.expect_to_be_told_of("unlinkat", "EIO", 1, 2, 4)

    def testOfLimitingIsTold(self):
        self.expect_to_be_told_of("prctl", "EPERM", 1, 2)


if __name__ == "__main__":
    helper_machine.main()
