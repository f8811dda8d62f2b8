"""merocli collect --only: which items come into the bundle, the comment, and what is left in /tmp."""

import fcntl
import glob
import os
import pty
import resource
import shutil
import stat
import subprocess
import tempfile
import unittest
import zipfile

from console import MEROCLI, WAIT_SECONDS, ConsoleTest, JobTest, wait_until

from configurations import configuration, group, item

REQUESTS = "/tmp/merocli_request_*"
COMMENT_HEAD = b"Comments from Varnel Corvane user:\n"
PIPE_BYTES = 4096
# The rights to mount something over /tmp for one process; not every machine gives them.
OWN_MOUNTS = ["unshare", "--map-root-user", "--mount"]


def may_mount():
    done = subprocess.run([*OWN_MOUNTS, "mount", "-t", "tmpfs", "none", "/tmp"], capture_output=True)
    return done.returncode == 0


class HeldRun:
    """A run whose standard output is full until `finish`, so that it waits in the middle of its job."""

    def __init__(self, test, *arguments, **options):
        self.reading, writing = os.pipe()
        test.addCleanup(os.close, self.reading)
        fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, PIPE_BYTES)
        os.write(writing, b"x" * PIPE_BYTES)
        self.process = test.start("collect", "--install-dir", test.install, *arguments, stdout=writing, **options)
        os.close(writing)

    def finish(self):
        """Exit status and standard error."""
        while os.read(self.reading, PIPE_BYTES):
            pass
        errors = self.process.communicate(timeout=WAIT_SECONDS)[1]
        return self.process.returncode, errors.decode()


def requests_for(identity):
    """The finished request files in /tmp that ask for an item."""
    found = []
    for path in glob.glob(REQUESTS + "/*"):
        try:
            with open(path) as file:
                text = file.read()
        except OSError:
            continue  # another run's, gone meanwhile
        if identity in text and text.endswith("</request>"):
            found.append(path)
    return found


class OnlyJobTest(JobTest):
    """Jobs with a choice of items."""

    def configure(self, *groups, name="more.xml"):
        return self.write("install/xml/config/" + name, configuration(*groups))

    def log(self, name):
        """A log that holds its name."""
        return self.write("logs/" + name, name + "\n")

    def collect_only(self, ids, *arguments, **options):
        """Standard error of a run that made a bundle."""
        return self.assert_collected("--target", "a.zip", "--only", ids, *arguments, **options)[1]

    def assert_bundle(self, *names):
        self.assertEqual(self.names("a.zip"), sorted(names))

    def read(self, name):
        with zipfile.ZipFile(self.path("a.zip")) as archive:
            return archive.read(name)

    def all_names(self):
        with zipfile.ZipFile(self.path("a.zip")) as archive:
            return sorted(name for name in archive.namelist() if not name.endswith("/"))

    def assert_nothing_collected(self):
        self.assertFalse(os.path.exists(self.path("a.zip")))
        self.assertEqual(glob.glob("/tmp/MERO_Temp_Bundle*/" + self.group), [])

    def assert_refused(self, ids, *messages):
        """Wrong usage that is found out only by reading the configuration."""
        known = set(glob.glob(REQUESTS))
        status, output, errors = self.collect("--target", "a.zip", "--only", ids)
        self.assertEqual((status, output), (2, ""))
        self.assertEqual(errors, "".join("merocli: " + message + "\n" for message in messages) +
                         "Run 'merocli collect --help' for the options.\n")
        self.assert_nothing_collected()
        self.assert_requests_gone(known)

    @staticmethod
    def assert_requests_gone(known):
        """Whatever is there beyond the known folders belongs to other runs, which end."""
        new = set(glob.glob(REQUESTS)) - known
        wait_until(lambda: not any(os.path.exists(path) for path in new))

    @staticmethod
    def unreadable(path):
        return ("the configuration file '" + path + "' can't be read, so its items are missing; the log tells why: "
                "journalctl -t zrn_merocli")

    @staticmethod
    def unknown(identity):
        return "--only: no item has the id '" + identity + "'; 'merocli list' shows those that there are"


class Only(OnlyJobTest):
    def testChosenItemAloneIsInTheBundle(self):
        self.assertEqual(self.collect_only("unusual"), "Bundle: " + self.path("a.zip") + "\n")
        self.assertEqual(self.all_names(), [self.group + "/unusual.log", "summary.txt"])
        self.assertEqual(self.read(self.group + "/unusual.log"), b"content of unusual\n")

    def testStandardOutputIsTheProgress(self):
        output = self.assert_collected("--target", "a.zip", "--only", "unusual")[0]
        self.assertRegex(output, r"\A(?:\r.{90} [ \d]{3}%)+\r\n\r\n\Z")

    def testSeveralIdsInOneTextOrInSeveral(self):
        for arguments in (["usual,unusual"], ["unusual,usual"], ["usual", "--only", "unusual"],
                          ["usual", "--only=unusual,usual"], ["usual,usual,unusual"], [" usual ,\tunusual\n"]):
            self.collect_only(*arguments)
            self.assert_bundle("usual.log", "unusual.log")
            for identity in (b"usual ", b"unusual "):
                self.assertEqual(self.read("summary.txt").count(b"\n" + identity), 1, arguments)

    def testItemsOfSeveralFilesAndGroups(self):
        self.configure(group("More", "One", item("one", path=self.log("1.log")), folder=self.group),
                       group("More", "Two", item("two", path=self.log("2.log")), item("no", path=self.log("3.log")),
                             folder=self.group))
        self.collect_only("unusual,one,two")
        self.assert_bundle("unusual.log", "1.log", "2.log")

    def testOneIdOfSeveralItemsBringsThemAllOnce(self):
        self.configure(group("More", "One", item("unusual", path=self.log("1.log")), folder=self.group),
                       group("More", "Two", item("unusual", path=self.log("2.log")), folder=self.group))
        self.collect_only("unusual")
        self.assert_bundle("unusual.log", "1.log", "2.log")
        self.assertEqual(self.read("summary.txt").count(b"\nunusual "), 3)

    def testEqualLabelsAreNotTakenForEachOther(self):
        self.configure(group("More", "T", item("a", "Same", "true", path=self.log("a.log")),
                             item("b", "Same", "true", path=self.log("b.log")), folder=self.group),
                       group("More", "T", item("c", "Same", "true", path=self.log("c.log")), folder=self.group))
        self.collect_only("b")
        self.assert_bundle("b.log")

    def testIdsAreNotPatternsOrPrefixes(self):
        self.configure(group("More", "T", item("usual*", path=self.log("a.log")), item("usua", path=self.log("b.log")),
                             folder=self.group))
        self.collect_only("usual*")
        self.assert_bundle("a.log")
        self.collect_only("usua")
        self.assert_bundle("b.log")

    def testIdsOfAnyLettersAndBlanks(self):
        names = ["größe 日本", "-x", "--only", "it's", "a>b", "{}", "[x]", "%s", "a=b", "a  b"]
        self.configure(group("More", "T", *(item(name, path=self.log("%d.log" % number))
                                            for number, name in enumerate(names)), folder=self.group))
        for number, name in enumerate(names):
            self.assert_collected("--target", "a.zip", "--only=" + name)
            self.assert_bundle("%d.log" % number)

    # In an attribute of the configuration an ampersand keeps its reference.
    def testIdWithAnAmpersandIsNamedAsItIsListed(self):
        self.configure(group("More", "T", item("a&b", path=self.log("a.log")), folder=self.group))
        self.assertIn(" a&#38;b ", self.run_console("list", "--install-dir", self.install)[1])
        self.collect_only("a&#38;b")
        self.assert_bundle("a.log")

    def testItemThatIsMissingIsToldInTheSummary(self):
        self.configure(group("More", "T", item("gone", path=self.path("gone.log")), folder=self.group))
        self.collect_only("gone")
        self.assert_bundle()
        self.assertRegex(self.read("summary.txt"), rb"\ngone .* No file found on endpoint +\n")

    def testSystemLogsAreCollectedIfTheyAreNamed(self):
        self.collect_only("system-logs,usual", "--no-system-logs")
        self.assert_bundle("system-logs.log", "usual.log")

    def testLegacyTreeAddsNothing(self):
        self.collect_only("usual", "--include-legacy")
        self.assert_bundle("usual.log")

    def testLegacyItemCanBeNamed(self):
        self.collect_only("former")
        self.assert_bundle("legacy/former.log")

    def testBundleCanBeEncrypted(self):
        self.collect_only("unusual", "--password-file", "-", "--comment", "secret", input=b"correct horse\n")
        with zipfile.ZipFile(self.path("a.zip")) as archive:
            for entry in archive.infolist():
                self.assertTrue(entry.is_dir() or entry.flag_bits & 1, entry.filename)
        self.assertEqual(self.names("a.zip", b"correct horse"), ["unusual.log"])

    def testConfigurationBesideTheProgramIsTheDefault(self):
        program = shutil.copy(MEROCLI, self.install)
        status, _, errors = self.run_console("collect", "--target", "a.zip", "--only", "unusual", program=program)
        self.assertEqual(status, 0, errors)
        self.assert_bundle("unusual.log")

    def testDefaultTargetAndRelativeInstallFolder(self):
        status, _, errors = self.run_console("collect", "--install-dir", "install", "--only", "unusual")
        self.assertEqual(status, 0, errors)
        self.assertEqual(self.names(errors[len("Bundle: "):-1]), ["unusual.log"])

    def testFullDiskBehindStandardOutputDoesNotStopTheJob(self):
        with open("/dev/full", "wb") as full:
            self.collect_only("unusual", stdout=full)
        self.assert_bundle("unusual.log")

    def testBrokenConfigurationFileIsNamedAndDoesNotStopTheJob(self):
        broken = self.write("install/xml/config/broken.xml", "no document")
        self.configure(group("More", "T", item("more")))
        self.assertEqual(self.collect_only("unusual"), "merocli: " + self.unreadable(broken) + "\nBundle: " +
                         self.path("a.zip") + "\n")
        self.assert_bundle("unusual.log")
        self.assertIn(b"broken.xml", self.read("summary.txt"))

    # The engine takes that many failures for a failure of all.
    def testAsManyBrokenConfigurationFilesAsGoodOnesEndTheJob(self):
        broken = self.write("install/xml/config/broken.xml", "no document")
        status, _, errors = self.collect("--target", "a.zip", "--only", "unusual")
        self.assertEqual(status, 1)
        self.assertTrue(errors.startswith(
            "merocli: " + self.unreadable(broken) + "\nmerocli: no bundle was made: '" +
            self.path("install/xml/config/") + "' holds no good configuration file, or as many bad ones as good ones; "
            "correct them, or name the folder that holds xml/config/ with --install-dir ["), errors)


class UnknownItem(OnlyJobTest):
    def testIsNamedAndTheOthersAreCollected(self):
        self.assertEqual(self.collect_only("nope,unusual,never,nope"),
                         "merocli: " + self.unknown("never") + "\nmerocli: " + self.unknown("nope") +
                         "\nBundle: " + self.path("a.zip") + "\n")
        self.assert_bundle("unusual.log")

    def testNothingIsDoneWithoutAKnownOne(self):
        self.assert_refused("nope", self.unknown("nope"), "--only: no item is left to collect")
        self.assert_refused("b,a,b", self.unknown("a"), self.unknown("b"), "--only: no item is left to collect")

    def testFormerBundleStaysWhenNothingIsDone(self):
        self.write("a.zip", "former")
        self.assertEqual(self.collect("--target", "a.zip", "--only", "nope")[0], 2)
        with open(self.path("a.zip")) as file:
            self.assertEqual(file.read(), "former")

    def testNoPasswordIsAskedForWithoutAKnownOne(self):
        process = self.start("collect", "--install-dir", self.install, "--target", "a.zip", "--only", "nope",
                             "--password-file", "-", stdin=subprocess.PIPE)
        self.assertEqual(process.wait(timeout=WAIT_SECONDS), 2)  # although nothing came and the pipe is open

    def testItemsThatTheTreeDoesNotShowAreUnknown(self):
        self.configure(group(None, "T", item("rootless", path=self.log("1.log"))),
                       group("More", "T", item("foreign", platform="win", path=self.log("2.log"))))
        self.assert_refused("rootless", self.unknown("rootless"), "--only: no item is left to collect")
        self.assert_refused("foreign", self.unknown("foreign"), "--only: no item is left to collect")

    def testLettersAreComparedExactly(self):
        self.assert_refused("Unusual", self.unknown("Unusual"), "--only: no item is left to collect")

    def testIsToldOnOneLine(self):
        self.assert_refused("a\nb\x1b[1mc\u2028d\x9be", self.unknown("a b [1mc d e"), "--only: no item is left to collect")
        self.assert_refused(b"a\xffb", self.unknown("ab"), "--only: no item is left to collect")

    def testFilesInWhichItMayStandAreNamed(self):
        broken = self.write("install/xml/config/broken.xml", "no document")
        self.assert_refused("nope", self.unreadable(broken), self.unknown("nope"), "--only: no item is left to collect")

    def testConfigurationWithoutAnItemIsNamed(self):
        for path in (self.path("install/xml/config"), self.path("install/xml")):
            shutil.rmtree(path)
            self.assert_refused("usual", "--only: no configuration file in '" + self.path("install/xml/config/") +
                                "' offers an item; name the folder that holds xml/config/ with --install-dir")


class OnlyCommandLine(ConsoleTest):
    def refused(self, *arguments, naming):
        self.assert_usage_error("collect", "--target", "a.zip", *arguments, naming="merocli: " + naming + "\n")
        self.assertEqual(os.listdir(self.folder), [])

    def testGoesNotWithARequest(self):
        for arguments in (("--only", "a", "--request", "r.xml"), ("--request", "r.xml", "--only=a")):
            self.refused(*arguments, naming="--only: the items come from --request already; leave one of the two out")

    def testCommentGoesOnlyWithIt(self):
        for arguments in ((), ("--request", "r.xml")):
            self.refused("--comment", "text", *arguments,
                         naming="--comment: goes only with --only; name the items to collect, or leave it out")

    def testEmptyIdIsRefused(self):
        for ids in ("", ",", "a,,b", ",a", "a,", " ", "a, ,b", "\t"):
            for arguments in (("--only", ids), ("--only", "good", "--only", ids)):
                self.refused(*arguments, naming="--only: '" + ids + "' holds an empty id; name items as 'merocli list' "
                             "shows them, with one comma between two")

    def refused_comment(self, comment, naming):
        self.refused("--only", "a", "--comment", comment, naming="--comment: the comment " + naming)

    def testTooLongCommentIsRefusedWithItsLength(self):
        for comment in ("x" * 2049, "é" * 1024 + "x", "日" * 683):
            self.refused_comment(comment, "has 2049 bytes and may have 2048; shorten it")
        self.refused_comment("x" * 100000, "has 100000 bytes and may have 2048; shorten it")

    def testCommentThatIsNotUtf8IsRefused(self):
        for comment in (b"\xff", b"caf\xe9", b"\xc0\xaf", b"\xed\xa0\x80", b"\xf4\x90\x80\x80", b"cut \xe2\x82",
                        b"\x80"):
            self.refused_comment(comment, "is not UTF-8; convert it")

    def testCommentWithAForbiddenCharacterIsRefused(self):
        for code in (*range(1, 9), 11, 12, *range(14, 32), 0xFFFE, 0xFFFF):
            self.refused_comment("a" + chr(code) + "b",
                                 "holds a control character that a request can't carry; take it out")

    def testCommentThatEndsItsSectionIsRefused(self):
        for comment in ("]]>", "a]]>b", "]]]>"):
            self.refused_comment(comment, 'holds "]]>", which a request can\'t carry; put a blank into it')


class OnlyComment(OnlyJobTest):
    def assert_kept(self, comment, kept=None):
        self.collect_only("unusual", "--comment", comment)
        self.assertEqual(self.read("comments.txt"), COMMENT_HEAD + (comment if kept is None else kept).encode())
        self.assert_bundle("unusual.log")

    def testIsInTheBundleAndInTheSummary(self):
        self.assert_kept("It fails since Monday.")
        self.assertEqual(self.all_names(), ["comments.txt", self.group + "/unusual.log", "summary.txt"])
        self.assertIn(b"\ncomments ", self.read("summary.txt"))

    def testKeepsWhatOtherTextsOfADocumentMustEscape(self):
        for comment in ("5 < 6 & 7 > 6", "&amp; &#38; <b> </comments>", "\"quoted\" it's", "<![CDATA[x", "]]", "] ]>",
                        "<file id=\"usual\"/>"):
            self.assert_kept(comment)

    def testKeepsLinesTabsAndOtherLetters(self):
        self.assert_kept("one\n\ttwo\n\nthree")
        self.assert_kept("Größe 日本 😀 \u2028 \x7f \x85")

    def testEndsOfLinesAreThoseOfADocument(self):
        self.assert_kept("one\r\ntwo\rthree", "one\ntwo\nthree")

    def testBlanksAroundItGo(self):
        self.assert_kept("  text \n", "text")

    def testMayLookLikeAnOption(self):
        for comment in ("-x", "--target", "--", "a=b", "{}", "[a,b]"):
            self.collect_only("unusual", "--comment=" + comment)
            self.assertEqual(self.read("comments.txt"), COMMENT_HEAD + comment.encode())

    def testMayHaveAsManyBytesAsTheWizardTakes(self):
        for comment in ("x" * 2048, "é" * 1024, "日" * 682 + "xx", "x y " * 511 + "x yz"):
            self.assertEqual(len(comment.encode()), 2048)
            self.assert_kept(comment)

    def testEmptyOneIsNone(self):
        for comment in ("", " ", "\n"):
            self.collect_only("unusual", "--comment", comment)
            self.assertEqual(self.all_names(), [self.group + "/unusual.log", "summary.txt"])


class UncarriedId(OnlyJobTest):
    """Ids that the configuration has and no request can ask for."""

    def assert_refused_for(self, identity, shown, reason, others=""):
        self.configure(group("More", "T", item(identity, path=self.log("a.log")), folder=self.group))
        known = set(glob.glob(REQUESTS))
        status, output, errors = self.collect("--target", "a.zip", "--only", others + identity)
        self.assertEqual((status, output), (1, ""))
        self.assertEqual(errors, "merocli: no bundle was made: the item '" + shown + "' can't be named alone, as " +
                         reason + "; leave it out of --only, or have the id changed in the configuration file\n")
        self.assert_nothing_collected()
        self.assert_requests_gone(known)

    def testQuoteOrBracket(self):
        for identity in ('a"b', "a<b", '"', "<", 'usual" x="', "a<!--b"):
            self.assert_refused_for(identity, identity, "a request can't carry an id with a \", a <, a tab or a line end")

    def testTabOrLineEnd(self):
        for identity in ("a\tb", "a\nb", "a\rb"):
            self.assert_refused_for(identity, "a b", "a request can't carry an id with a \", a <, a tab or a line end")

    def testNameOfAFileOfEveryBundle(self):
        for identity in ("summary", "comments"):
            self.assert_refused_for(identity, identity, "in a request this id stands for a file that every bundle has")

    def testKeepsTheOthersBackToo(self):
        self.assert_refused_for('a"b', 'a"b', "a request can't carry an id with a \", a <, a tab or a line end", "usual,")

    def testIsNoHindranceUnlessItIsNamed(self):
        self.configure(group("More", "T", item('a"b', path=self.log("a.log")), folder=self.group))
        self.collect_only("unusual")
        self.assert_bundle("unusual.log")


class OwnRequest(OnlyJobTest):
    """The file in /tmp that tells the engine what to collect."""

    def setUp(self):
        super().setUp()
        # Tells the requests of this test from those of other runs.
        self.identity = "id-" + self.group
        self.configure(group("More", "T", item(self.identity, path=self.log("own.log")), folder=self.group))

    def own_requests(self):
        return requests_for(self.identity)

    def testIsTheUsersAloneAndGoneAtTheEnd(self):
        run = HeldRun(self, "--target", "a.zip", "--only", self.identity + ",unusual", "--comment", "a < b & c")
        path, = wait_until(self.own_requests)
        folder = os.path.dirname(path)
        self.assertEqual(stat.S_IMODE(os.lstat(folder).st_mode), 0o700)
        self.assertEqual(stat.S_IMODE(os.lstat(path).st_mode), 0o600)
        self.assertEqual(os.lstat(path).st_uid, os.geteuid())
        with open(path) as file:
            text = file.read()
        self.assertEqual(text.count("<file id="), 2)
        self.assertIn('<file id="' + self.identity + '"></file>', text)
        self.assertIn('<file id="unusual"></file>', text)
        self.assertTrue(text.endswith("<comments><![CDATA[a < b & c]]></comments></request>"), text)
        self.assertEqual(run.finish(), (0, "Bundle: " + self.path("a.zip") + "\n"))
        self.assertFalse(os.path.exists(folder))
        self.assert_bundle("own.log", "unusual.log")

    def testIsGoneAfterAFailedJob(self):
        run = HeldRun(self, "--target", "sub/a.zip", "--only", self.identity, cwd=self.make_folder("sub"))
        path, = wait_until(self.own_requests)
        shutil.rmtree(self.path("sub"))
        status, errors = run.finish()
        self.assertEqual(status, 1)
        self.assertIn("could not be written", errors)
        self.assertFalse(os.path.exists(os.path.dirname(path)))

    def make_folder(self, name):
        os.makedirs(self.path(name))
        return self.folder

    def testRunsOfOneMinuteEachHaveTheirOwn(self):
        runs = [HeldRun(self, "--target", name + ".zip", "--only", self.identity + "," + name, "--comment", name)
                for name in ("usual", "unusual", "system-logs")]
        paths = wait_until(lambda: [paths for paths in [self.own_requests()] if len(paths) == len(runs)])[0]
        self.assertEqual(len({os.path.dirname(path) for path in paths}), len(runs))
        for run in runs:
            status, errors = run.finish()
            self.assertEqual(status, 0, errors)
        for name in ("usual", "unusual", "system-logs"):
            self.assertEqual(self.names(name + ".zip"), sorted(["own.log", name + ".log"]))
            with zipfile.ZipFile(self.path(name + ".zip")) as archive:
                self.assertEqual(archive.read("comments.txt"), COMMENT_HEAD + name.encode())
        self.assertFalse(any(os.path.exists(os.path.dirname(path)) for path in paths))

    def testIsNotThereYetWhileThePasswordIsAskedFor(self):
        controller, terminal = pty.openpty()
        self.addCleanup(os.close, controller)
        self.addCleanup(os.close, terminal)
        process = self.start("collect", "--install-dir", self.install, "--target", "a.zip", "--only", self.identity,
                             "--password-file", "-", stdin=terminal, start_new_session=True)
        prompt = b"Password for the bundle: "
        self.assertEqual(process.stderr.read(len(prompt)), prompt)
        self.assertEqual(self.own_requests(), [])
        os.write(controller, b"secret\n")
        self.assertEqual(process.wait(timeout=WAIT_SECONDS), 0)
        self.assertEqual(self.names("a.zip", b"secret"), ["own.log"])

    def testThatCannotBeWrittenIsTold(self):
        known = set(glob.glob(REQUESTS))
        status, _, errors = self.collect("--target", "a.zip", "--only", self.identity, "--comment", "x" * 1000,
                                         preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000)))
        self.assertEqual(status, 1)
        self.assertRegex(errors, r"\Amerocli: no bundle was made: the list of the items could not be written to "
                         r"'/tmp/merocli_request_\w{6}/request_\d{4}_\d{4}\.xml'; look at the space left in /tmp "
                         r"\[MEROENGINE_ERROR_INVALID_XML.*\]\n\Z")
        self.assertFalse(os.path.exists(os.path.dirname(errors.split("'")[1])))
        self.assert_nothing_collected()
        self.assert_requests_gone(known)

    def testFolderThatCannotBeMadeIsTold(self):
        if not may_mount():
            self.skipTest("nothing may be mounted over /tmp on this machine")
        folder = tempfile.mkdtemp(dir="/var/tmp")
        self.addCleanup(shutil.rmtree, folder)
        install = shutil.copytree(self.install, os.path.join(folder, "install"))
        program = shutil.copy(MEROCLI, folder)
        done = subprocess.run(
            [*OWN_MOUNTS, "sh", "-c", 'mount -t tmpfs -o ro none /tmp && exec "$@"', "sh", program, "collect",
             "--install-dir", install, "--target", os.path.join(folder, "a.zip"), "--only", self.identity],
            cwd=folder, env=self.environment, stdin=subprocess.DEVNULL, capture_output=True, text=True)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stdout, "")
        self.assertEqual(done.stderr, "merocli: no bundle was made: no folder for the list of the items could be made in "
                         "/tmp (Read-only file system); look at the rights and the space left there\n")
        self.assertEqual(sorted(os.listdir(folder)), ["install", "merocli"])


class ShippedChoice(OnlyJobTest):
    """One item of the configuration set that the program is shipped with."""

    def remove_left_overs(self):
        for path in glob.glob("/tmp/MERO_Temp_Bundle*/comments.txt"):
            try:
                with open(path) as file:
                    own = self.group in file.read()
            except OSError:
                own = False
            if own:
                shutil.rmtree(os.path.dirname(path), ignore_errors=True)

    def testBringsThatItemAlone(self):
        status, _, errors = self.run_console("collect", "--target", "a.zip", "--only", "routes", "--comment", self.group)
        self.assertEqual((status, errors), (0, "Bundle: " + self.path("a.zip") + "\n"))
        names = self.all_names()
        self.assertLessEqual({"comments.txt", "summary.txt", "network/routes/route"}, set(names))
        for name in names:
            self.assertTrue(name in ("comments.txt", "summary.txt") or name.startswith("network/routes/"), name)
        self.assertTrue(self.read("network/routes/route").startswith(b"Iface\t"))
        self.assertEqual(self.read("comments.txt"), COMMENT_HEAD + self.group.encode())
        self.assertRegex(self.read("summary.txt"), rb"\nroutes +route ")


if __name__ == "__main__":
    unittest.main()
