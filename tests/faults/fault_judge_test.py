"""The judge of the faults finds each kind of damage in a made-up outcome, and passes a loss that is spoken of."""

import io
import unittest
import zipfile

import fault_judge
import fault_places
from fault_job import ENTRIES, LIMIT_SECONDS, OLD_TARGET, Run, banner
from fault_places import MAIN, POOL

OMITTED_HEAD = "\n\nFiles Omitted from Bundle:\nID                 Filename\n" + "-" * 141 + "\n"


def row(*cells):
    return "  ".join(cell.ljust(width)[:width] for cell, width in zip(cells, fault_judge.WIDTHS)) + "\n"


def summary(*rows):
    section = "\n" + "=" * 141 + "\n%s:\n\nFiles Included in Bundle:\nID\n" + "-" * 101 + "\n" + "-" * 101 + "\n"
    omitted = OMITTED_HEAD + "".join(rows) + "-" * 141 + "\n" if rows else ""
    return "MERO BUNDLE SUMMARY\n\n" + section % "Job" + omitted + section % "Other" + "\n\n" + fault_judge.LAST_LINE


class FaultJudge(unittest.TestCase):
    def setUp(self):
        self.files = {name: entry.content for name, entry in ENTRIES.items()}
        self.files["job/captured/cat_result.txt"] = (banner("cat") + "a plain file\n").encode()
        self.files["summary.txt"] = summary()
        self.run_of_the_job = Run(status=0)

    def findings(self, **changes):
        """What is found in the bundle of the files."""
        content = io.BytesIO()
        with zipfile.ZipFile(content, "w") as archive:
            for name, text in self.files.items():
                archive.writestr(name, text)
        run = self.run_of_the_job
        run.target = content.getvalue()
        for name, value in changes.items():
            setattr(run, name, value)
        return fault_judge.judge(run)

    def assert_found(self, kind, text, **changes):
        found = self.findings(**changes)
        self.assertEqual([kind], [kind for kind, _ in found], found)
        self.assertIn(text, found[0][1])

    def testWholeBundleIsAllRight(self):
        self.assertEqual(self.findings(), [])

    def testMissingFileIsALoss(self):
        for name in ENTRIES:
            content = self.files.pop(name)
            self.assert_found("loss", name + " is missing")
            self.files[name] = content

    def testCutFileIsALoss(self):
        for name in ENTRIES:
            content = self.files[name]
            self.files[name] = content[:-1]
            self.assert_found("loss", name + " is cut")
            self.files[name] = content

    def testMissingOrCutSummaryIsALoss(self):
        whole = self.files["summary.txt"]
        for kept in (0, 10, len(whole) // 2, len(whole) - 10):
            self.files["summary.txt"] = whole[:kept]
            self.assert_found("loss", "summary.txt is ")
        del self.files["summary.txt"]
        self.assert_found("loss", "summary.txt is missing")

    def testRowSpeaksOfItsFile(self):
        del self.files["job/files/first.log"]
        self.files["summary.txt"] = summary(row("files", "/tmp/job/source/logs/*.log", "", " Error occurred: first.log"))
        self.assertEqual(self.findings(), [])

    def testRowOverSeveralLinesSpeaksOfItsFile(self):
        del self.files["job/tree/branch/twig/deep.log"]
        self.files["summary.txt"] = summary(
            row("tree", "deep.log", "", "/tmp/job/source/tree/branch/"), row("", "", "", "twig/deep.log File not found"))
        self.assertEqual(self.findings(), [])

    def testRowOfAFolderSpeaksOfWhatIsBelowIt(self):
        del self.files["job/tree/branch/twig/deep.log"]
        for text in ("/tmp/job/source/tree/", "/tmp/job/source/tree/branch could not be listed: Input/output error"):
            self.files["summary.txt"] = summary(row("tree", "N/A", "", text))
            self.assertEqual(self.findings(), [])

    def testRowOfAnotherFileFolderOrItemSpeaksOfNothing(self):
        del self.files["job/tree/branch/twig/deep.log"]
        for cells in (("tree", "top.log", "", "/tmp/job/source/tree/top.log File not found"),
                      ("tree", "N/A", "", "/tmp/job/source/tree/bare could not be listed"),
                      ("files", "N/A", "", "/tmp/job/source/tree/")):
            self.files["summary.txt"] = summary(row(*cells))
            self.assert_found("loss", "deep.log is missing")

    def testFailedToolIsSpokenOf(self):
        self.files["job/captured/cat_result.txt"] = banner("cat")
        self.files["summary.txt"] = summary(row("captured", "N/A", "", "Failed to execute /bin/cat"))
        self.assertEqual(self.findings(), [])

    def testFailedConfigurationIsSpokenOf(self):
        del self.files["other/other.txt"]
        block = "MEROEngine failed to parse or use the following configuration files:\n%s\n"
        for name in ("/tmp/job/install/xml/config/other.xml", "/tmp/job/install/xml/config/", "Other"):
            self.files["summary.txt"] = summary().replace("\n\nNo", "\n" + block % name + "\n\nNo")
            self.assertEqual(self.findings(), [])

    def testConfigurationThatStandardErrorNamesIsSpokenOf(self):
        del self.files["other/other.txt"]
        self.assertEqual(self.findings(errors="merocli: '/tmp/job/install/xml/config/other.xml' can't be read\n"), [])

    def testListOfWhatWasNotPackedGoesWithItsStatus(self):
        del self.files["job/files/first.log"]
        for lines in ("What is missing:\n\njob/files/first.log: Input/output error\n", "job/files/: gone\n", "./: gone\n"):
            self.files["not-packed.txt"] = lines
            self.assertEqual(self.findings(status=3), [])
        for lines in ("job/files/first.lo: gone\n", "job/tree/: gone\n", "Nothing: really, job/files/first.log\n"):
            self.files["not-packed.txt"] = lines
            self.assertEqual([kind for kind, _ in self.findings(status=3)], ["loss"])
        self.files["not-packed.txt"] = "job/files/first.log: gone\n"
        self.assert_found("claim", "not-packed.txt is there", status=0)
        del self.files["not-packed.txt"]
        self.assertIn(("claim", "exit status 3, and not-packed.txt is missing"), self.findings(status=3))

    def testStandardErrorSpeaks(self):
        del self.files["job/files/first.log"]
        self.assertEqual(self.findings(errors="merocli: job/files/first.log was lost\n"), [])

    def testArchiveThatCantBeReadIsBroken(self):
        self.assertEqual(self.findings(), [])
        whole = self.run_of_the_job.target
        middle = whole.index(b"the last day")
        for content in (b"", whole[:-30], whole[100:], whole[:middle] + b"x" + whole[middle + 1:]):
            self.run_of_the_job.target = content
            self.assertEqual([kind for kind, _ in fault_judge.judge(self.run_of_the_job)], ["broken"])

    def testDamagedFileMayStandInAnArchiveThatSaysSo(self):
        self.files["not-packed.txt"] = "job/newest/day-2.log: changed\n"
        self.assertEqual(self.findings(status=3), [])
        whole = self.run_of_the_job.target
        for part, kinds in ((b"the last day", []), (b"the second log", ["broken"])):
            self.run_of_the_job.target = whole.replace(part, b"x" * len(part))
            self.assertEqual([kind for kind, _ in fault_judge.judge(self.run_of_the_job)], kinds)

    def testOpenArchiveOfAJobWithAPasswordIsBroken(self):
        self.assert_found("broken", "not encrypted", password=True)

    def testFailedJobLeavesTheTargetAsItWas(self):
        self.assertEqual(self.findings(status=1, target=None), [])
        self.assertEqual(self.findings(status=1, target=OLD_TARGET, old_target=True), [])
        self.assert_found("claim", "not as it was", status=1, old_target=True)
        self.assert_found("claim", "not as it was", status=1, old_target=False)
        self.assert_found("claim", "not as it was", status=1, old_target=True, target=None)

    def testSuccessWithoutABundleIsAClaim(self):
        self.assert_found("claim", "there is no bundle", target=None)
        self.assert_found("claim", "there is no bundle", target=OLD_TARGET, old_target=True)

    def testCrashAndHangAreFound(self):
        self.assert_found("crash", "-11", status=-11)
        self.assert_found("hang", "%d s" % LIMIT_SECONDS, status=None)

    def testLeavingsAreFoundUnlessTheyAreNamed(self):
        self.assert_found("left", "/tmp/MERO_Temp_Bundle", leavings=("/tmp/MERO_Temp_Bundle",))
        self.assertEqual(self.findings(errors="merocli: '/tmp/MERO_Temp_Bundle' could not be removed\n"), [])
        self.assert_found("left", "a process", leavings=(), processes=("sleep 1000",))


TRACE = """openat(AT_FDCWD</>, "/lib/libc.so", O_RDONLY) = 3</lib/libc.so>
read(3</lib/libc.so>, ""..., 832) = 832
umask(077) = 022
openat(AT_FDCWD</>, "/tmp/a (b) = c", O_RDONLY) = -1 EIO (Input/output error) (INJECTED)
read(4<pipe:[7]>,  <unfinished ...>
read(5</tmp/a>, ""..., 9) = 9
"""
TRACE_OF_TWO = """11 poll([{fd=3<pipe:[7]>}], 1, -1 <unfinished ...>
12 close(3</tmp/a>) = 0
12 close(4</tmp/b>) = 0
11 <... poll resumed>) = -1 EINTR (Interrupted system call) (INJECTED)
11 close(5</tmp/c>) = 0
"""
CLOSES = """close(4</tmp/file>) = 0
close(5<pipe:[1]>) = 0
close(6<socket:[2]>) = 0
"""


class FaultPlaces(unittest.TestCase):
    def testLoaderIsLeftOut(self):
        found = fault_places.places(MAIN, TRACE)
        self.assertEqual({(place.call, place.number) for place in found}, {("openat", 2), ("read", 2), ("read", 3)})
        self.assertEqual({place.error for place in found if place.call == "openat"}, set(fault_places.ERRORS["openat"]))

    def testBusiestThreadCounts(self):
        self.assertEqual(fault_places.counts(TRACE_OF_TWO), {"poll": 1, "close": 2})
        self.assertEqual({(place.call, place.number) for place in fault_places.places(POOL, TRACE_OF_TWO)},
                         {("poll", 1), ("close", 1), ("close", 2)})

    def testChildCountsUntilItsProgramRuns(self):
        trace = "7 close(1) = 0\n8 close(1) = 0\n8 dup2(3, 1) = 1\n8 execve(\"/bin/sh\") = 0\n8 mmap(NULL) = 0\n8 dup2(3, 1) = 1\n"
        self.assertEqual(fault_places.child_counts(trace), {"dup2": 1, "execve": 1})

    def testFailedCallIsSeen(self):
        self.assertEqual([call.arguments for call in fault_places.injected(TRACE)],
                         ['AT_FDCWD</>, "/tmp/a (b) = c", O_RDONLY)'])
        self.assertEqual([call.name for call in fault_places.injected(TRACE_OF_TWO)], ["poll"])

    def testCloseOfWhatIsNoFileCanNotFail(self):
        closes = {call.arguments: fault_places.can_happen(call) for call in fault_places.calls(CLOSES)}
        self.assertEqual(closes, {"4</tmp/file>)": True, "5<pipe:[1]>)": False, "6<socket:[2]>)": False})
        self.assertTrue(all(map(fault_places.can_happen, fault_places.calls("read(5<pipe:[1]>, 0) = 0\n"))))

    def testInterruptedWaitsHaveToBeRepeated(self):
        calls = {(call.name, call.arguments[0]): call for call in fault_places.calls(TRACE + TRACE_OF_TWO)}
        self.assertTrue(fault_places.must_be_repeated(calls["poll", "["], "EINTR"))
        self.assertTrue(fault_places.must_be_repeated(calls["read", "4"], "EINTR"))
        self.assertFalse(fault_places.must_be_repeated(calls["read", "5"], "EINTR"))
        self.assertFalse(fault_places.must_be_repeated(calls["read", "4"], "EIO"))

    def testSampleHoldsEachCall(self):
        found = fault_places.places(MAIN, TRACE)
        self.assertEqual({place.call for place in fault_places.sample(found, 1000)}, {"openat", "read"})
        self.assertEqual(fault_places.sample(found, 1), found)


if __name__ == "__main__":
    unittest.main()
