"""Jobs as they should go: what the caller gets, and what the worker may do and see meanwhile."""

import os
import stat
import subprocess
import time
import zipfile

import helper_machine
from helper_configuration import GROUP, file_item, tool_item
from helper_machine import ALICE, BASE, ROOT_HOME, USERS, children, command_line, folder, link, read, wait_for, write
from helper_world import BUNDLE, LOG, PROCESSING, SECRET, SECRET_FILE, SUCCESS, CallerTest

from configurations import request

INCOMPLETE = 0xFEB00016
BURY = os.path.join(os.environ["MERO_SOURCE_DIR"], "tests/support/bury.py")
PASSWORD = "Pass-w\u00f6rd-4711"


class Bundle(CallerTest):
    def testHoldsWhatOnlyRootMayReadAndBelongsToTheCaller(self):
        self.assertEqual(self.collect(self.alice), SUCCESS)
        self.assertEqual(self.content("secret/secret.log"), SECRET)
        status = os.stat(BUNDLE)
        self.assertEqual((status.st_uid, status.st_gid), (USERS[ALICE], USERS[ALICE]))
        self.assertEqual(stat.S_IMODE(status.st_mode), 0o600)
        self.expect_nothing_left()

    def testSummaryNamesThePathOfTheCaller(self):
        self.assertEqual(self.collect(self.alice), SUCCESS)
        with zipfile.ZipFile(BUNDLE) as archive:
            summary = archive.read("summary.txt").decode()
        self.assertIn(BUNDLE, summary)
        self.assertNotIn("/var/cache", summary)

    def testOpensWithThePasswordAlone(self):
        self.assertEqual(self.collect(self.alice, password=PASSWORD), SUCCESS)
        with zipfile.ZipFile(BUNDLE) as archive:
            self.assertTrue(all(entry.flag_bits & 1 for entry in archive.infolist()))
            self.assertEqual(archive.read("collected/secret/secret.log", PASSWORD.encode()).decode(), SECRET)
            with self.assertRaises(RuntimeError):
                archive.read("collected/secret/secret.log", b"another")

    def testGetsTheZipExtensionIfItHasNone(self):
        self.assertEqual(self.collect(self.alice, bundle="/home/alice/result"), SUCCESS)
        self.assertFalse(os.path.exists("/home/alice/result"))
        self.assertEqual(self.content("secret/secret.log", "/home/alice/result.zip"), SECRET)

    def testTakesThePlaceOfAnOlderOne(self):
        write(BUNDLE, "older", 0o644, ALICE)
        self.assertEqual(self.collect(self.alice), SUCCESS)
        self.assertEqual(self.content("secret/secret.log"), SECRET)
        self.assertEqual(stat.S_IMODE(os.stat(BUNDLE).st_mode), 0o600)

    def testIsHandedOverWithItsOutcomeWhenItLacksFiles(self):
        write("/opt/bury", read(BURY), 0o755)
        self.configure(file_item("secret", SECRET_FILE), tool_item("deep", "/opt/bury " + GROUP))
        self.assertEqual(self.collect(self.alice), INCOMPLETE)
        self.assertEqual(self.content("secret/secret.log"), SECRET)
        with zipfile.ZipFile(BUNDLE) as archive:
            self.assertIn("/buried.log: has a longer name than an archive can hold\n",
                          archive.read("not-packed.txt").decode())
        self.expect_nothing_left()

    def testHoldsTheUsualItemsWithoutARequest(self):
        self.configure(file_item("usual", "/opt/public.log"), file_item("unusual", "/opt/public.log", default=False))
        self.assertEqual(self.collect(self.alice), SUCCESS)
        self.assertEqual(self.names(), ["usual/public.log"])

    def testHoldsTheChosenItemsOfARequest(self):
        self.configure(file_item("usual", "/opt/public.log"), file_item("unusual", "/opt/public.log", default=False))
        path = write("/tmp/BundleRequest_0102_0304.xml", request("unusual", comment="It <fails> & stops"), 0o600, ALICE)
        self.assertEqual(self.collect(self.alice, request=path), SUCCESS)
        self.assertEqual(self.names(), ["unusual/public.log"])
        with zipfile.ZipFile(BUNDLE) as archive:
            self.assertIn("It <fails> & stops", archive.read("comments.txt").decode())

    def testComesWithTheRequestOfRootToo(self):
        path = write(ROOT_HOME + "/request.xml", request("secret"), 0o600)
        root = self.caller("root")
        self.assertEqual(self.collect(root, bundle=ROOT_HOME + "/bundle.zip", request=path), SUCCESS)
        self.assertEqual(self.names(ROOT_HOME + "/bundle.zip"), ["secret/secret.log"])
        self.assertEqual(os.stat(ROOT_HOME + "/bundle.zip").st_uid, 0)


class Progress(CallerTest):
    def testAnswersBeforeTheJobEnds(self):
        gate = self.start_held_job()
        self.assertEqual(self.alice.finals(), [])
        gate.open()
        self.assertEqual(self.alice.final(), SUCCESS)

    def testTellsTheStepsAndThenOneOutcomeAndNothingMore(self):
        self.assertEqual(self.collect(self.alice), SUCCESS)
        self.end_helper(self.alice)
        told = self.alice.all("signal")
        self.assertEqual([event["status"] for event in told[:-1]], [PROCESSING] * (len(told) - 1))
        self.assertEqual(told[-1]["status"], SUCCESS)
        texts = [event["message"] for event in told]
        for text in ("Starting up MERO Engine...", "Zipping the bundle, please wait...", "MERO has finished... "):
            self.assertIn(text, texts)
        percents = [event["progress"] for event in told if event["progress"]]
        self.assertEqual(percents, sorted(percents))
        self.assertEqual(percents[-1], 100)

    def testGoesToTheCallerOfTheJobAlone(self):
        mallory = self.caller(helper_machine.MALLORY)
        another = self.caller()
        self.assertEqual(self.collect(self.alice), SUCCESS)
        self.end_helper(self.alice)
        for listener in (mallory, another):
            listener.settle()
            self.assertEqual(listener.all("signal"), [])

    def testIsForgedByNoOtherUser(self):
        mallory = self.caller(helper_machine.MALLORY)
        gate = self.start_held_job()
        mallory.forge(self.alice.name, SUCCESS, "forged")
        mallory.settle()
        self.alice.settle()
        self.assertNotIn("forged", [event["message"] for event in self.alice.all("signal")])
        gate.open()
        self.assertEqual(self.alice.final(), SUCCESS)

    def testOfAnotherSenderIsNotTakenForTheHelpers(self):
        """The bus lets root's programs send such signals, so that one does arrive."""
        root = self.caller("root")
        gate = self.start_held_job()
        root.forge(self.alice.name, SUCCESS, "forged")
        root.settle()
        self.alice.settle()
        self.assertIn("forged", [event["message"] for event in self.alice.all("signal")])
        self.assertEqual(self.alice.finals(), [])
        gate.open()
        self.assertEqual(self.alice.final(), SUCCESS)
        self.assertNotIn("forged", [event["message"] for event in self.alice.all("progress")])


class OneJob(CallerTest):
    def testIsRunAtATime(self):
        gate = self.hold_in_job()
        another = self.caller()
        self.assertIs(self.alice.start(), True)
        gate.wait()
        self.assertIs(another.start(bundle="/home/alice/another.zip"), False)
        self.assertIs(self.alice.start(bundle="/home/alice/another.zip"), False)
        gate.open()
        self.assertEqual(self.alice.final(), SUCCESS)
        self.assertFalse(os.path.exists("/home/alice/another.zip"))

    def testIsFollowedByTheNext(self):
        self.assertEqual(self.collect(self.alice), SUCCESS)
        another = self.caller()
        self.assertEqual(self.collect(another, bundle="/home/alice/another.zip"), SUCCESS)
        self.assertEqual(self.content("secret/secret.log", "/home/alice/another.zip"), SECRET)
        self.end_helper(another)
        self.alice.settle()
        self.assertEqual(self.alice.finals(), [SUCCESS])
        self.assertEqual(another.finals(), [SUCCESS])

    def testMayFollowRightAfterTheOutcome(self):
        for _ in range(3):
            self.assertEqual(self.collect(self.alice), SUCCESS)


class ShortWait(CallerTest):
    program = "HELPER_WITH_SHORT_TIMES"
    environment = {"MERO_TEST_IDLE_LIMIT_MS": "1500"}

    def testEndsTheHelperThatHasNothingToDo(self):
        answered = self.alice.ping()["time"]
        helper = self.helper()
        self.wait_until_gone()
        wait_for(lambda: helper not in helper_machine.processes(), "end of the helper")
        self.assertGreater(time.monotonic() - answered, 1)
        self.assertEqual(self.collect(self.alice), SUCCESS)

    def testDoesNotEndAJob(self):
        gate = self.start_held_job(tool_item("slow", "/bin/sleep 3"))
        gate.open()
        self.assertEqual(self.alice.final(), SUCCESS)
        self.wait_until_gone()


class Surroundings(CallerTest):
    """What the tools of a job find."""

    environment = {"MARKER": "of the bus", "HOME": "/nowhere", "LANG": "C.UTF-8", "PATH": "/tmp:/usr/bin:/bin"}

    def output(self, command):
        self.configure(tool_item("tool", command))
        self.assertEqual(self.collect(self.alice), SUCCESS)
        return self.content(self.names()[0]).split("*" * 75)[-1].split()

    def testHaveAnEnvironmentOfRootsAlone(self):
        variables = dict(line.split("=", 1) for line in self.output("/usr/bin/env"))
        for name in ("PWD", "SHLVL", "_", "OLDPWD"):
            variables.pop(name, None)
        path = variables.pop("PATH").split(":")
        for name in ("HOME", "TMPDIR"):
            self.assertRegex(variables.pop(name), "^/var/cache/merohelper/[^/]+/tools[^/]+$")
        self.assertEqual(variables, {"USER": "root", "LOGNAME": "root", "LANG": "C.UTF-8"})
        self.assertLessEqual(set(path), {"/usr/local/sbin", "/usr/local/bin", "/usr/sbin", "/usr/bin", "/sbin", "/bin"})

    def testAreNotThoseOfTheBusFromTheStart(self):
        gate = self.start_held_job()
        self.assertIn(b"MARKER=", read("/proc/%d/environ" % self.helper()))
        self.assertNotIn(b"MARKER=", read("/proc/%d/environ" % self.worker()))
        gate.open()
        self.assertEqual(self.alice.final(), SUCCESS)

    def testLetNoOneElseReadWhatToolsWrite(self):
        self.assertEqual(self.output("umask"), ["0077"])

    def testLeaveNoCoreDumps(self):
        self.assertEqual(self.output("ulimit -Hc"), ["0"])

    def testAreOfLowPriority(self):
        self.assertEqual(self.output("nice"), ["10"])
        self.assertEqual(self.output("ionice"), ["idle"])

    def testLimitTheSizeOfFiles(self):
        self.assertNotEqual(self.output("ulimit -f"), ["unlimited"])

    def testAreTheRootFolder(self):
        self.assertEqual(self.output("pwd"), ["/"])

    def testHaveAnEmptyHomeInTheJobsFolderThatIsRootsAlone(self):
        owner, mode, files, home = self.output("stat -c '%U %a' $HOME && ls -A $HOME | wc -l && echo $HOME")
        self.assertEqual((owner, mode, files), ("root", "700", "0"))
        self.assertFalse(os.path.exists(home))

    def testNameTheCallersHomeInPathsAlone(self):
        write("/home/alice/own.log", "own", 0o600, ALICE)
        self.assertEqual(self.output("cat $HOME/own.log"), ["own"])


class Password(CallerTest):
    def testIsSeenNowhereWhileTheJobRunsNorAfterwards(self):
        gate = self.start_held_job(password=PASSWORD)
        helper = self.helper()
        running = {helper} | children(helper) | set().union(*map(children, children(helper)))
        self.assertGreaterEqual(len(running), 3)
        for process in helper_machine.processes():
            for name in ("cmdline", "environ"):
                try:
                    self.assertNotIn(PASSWORD.encode(), read("/proc/%d/%s" % (process, name)), command_line(process))
                except (FileNotFoundError, ProcessLookupError):
                    self.assertNotIn(process, running)
        self.expect_in_no_file("/tmp", "/var/cache", "/run", "/var/tmp", "/dev/shm")
        gate.open()
        self.assertEqual(self.alice.final(), SUCCESS)
        self.expect_in_no_file("/tmp", "/var/cache", "/run", "/var/tmp", "/dev/shm", "/home")
        self.assertIn("zrn_merohelper", self.log())
        self.assertNotIn(PASSWORD.encode(), read(LOG))
        with zipfile.ZipFile(BUNDLE) as archive:
            archive.setpassword(PASSWORD.encode())
            for name in archive.namelist():
                self.assertNotIn(PASSWORD.encode(), archive.read(name), name)

    def expect_in_no_file(self, *folders):
        for path in folders:
            search = subprocess.run(["grep", "-rlaF", "--devices=skip", PASSWORD, path], stdout=subprocess.PIPE,
                                    stderr=subprocess.STDOUT, check=False)
            self.assertEqual((search.returncode, search.stdout), (1, b""))


class Program(CallerTest):
    def testIsOfNoUseToAUser(self):
        for arguments, status in (((), 1), (("--worker",), 1), (("--other",), 2)):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.run_by_hand(*arguments).returncode, status)

    @staticmethod
    def run_by_hand(*arguments):
        return subprocess.run([BASE + "/merohelper", *arguments], user=USERS[ALICE], group=USERS[ALICE],
                              extra_groups=[], cwd="/", env={"ZRN_LOGGING_OUTPUT": "STDOUT"},
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)


class Installation(CallerTest):
    """Configuration decides what root runs."""

    def testWithAFileThatOthersMayWriteRunsNothing(self):
        os.chmod(BASE + "/xml/config/test.xml", 0o646)
        self.refuses(self.alice)

    def testWithAFileOfTheCallersRunsNothing(self):
        helper_machine.give(BASE + "/xml/config/test.xml", ALICE)
        self.refuses(self.alice)

    def testWithAFolderThatOthersMayWriteRunsNothing(self):
        os.chmod(BASE + "/xml/config", 0o757)
        self.refuses(self.alice)

    def testWithAFolderThatAGroupMayWriteRunsNothing(self):
        os.chmod(BASE + "/xml", 0o775)
        os.chown(BASE + "/xml", 0, USERS[ALICE])
        self.refuses(self.alice)

    def testWithALinkInsteadOfAFolderRunsNothing(self):
        os.rename(BASE + "/xml/config", BASE + "/elsewhere")
        link(BASE + "/xml/config", BASE + "/elsewhere")
        self.refuses(self.alice)

    def testWithAPluginOfTheCallersRunsNothing(self):
        write(BASE + "/plugin/tool", "#!/bin/sh\n", 0o755, ALICE)
        self.refuses(self.alice)

    def testOfAnotherPlaceIsForRootAlone(self):
        other = folder(BASE + "/other")
        self.configure(file_item("other", "/opt/public.log"), install=other)
        self.refuses(self.alice, config=other)
        self.refuses(self.alice, config=BASE)
        root = self.caller("root")
        self.assertEqual(self.collect(root, bundle=ROOT_HOME + "/bundle.zip", config=other), SUCCESS)
        self.assertEqual(self.names(ROOT_HOME + "/bundle.zip"), ["other/public.log"])


if __name__ == "__main__":
    helper_machine.main()
