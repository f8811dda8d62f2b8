"""Whole jobs of merocli: what is in the bundle, what is printed, and what happens when something is in the way."""

import os
import random
import re
import resource
import shutil
import stat
import subprocess
import unittest
import zipfile

from console import MEROCLI, JobTest

PROGRESS = re.compile(r"\A(?:\r.{90} [ \d]{3}%)+\r\n\r\n\Z")
SOURCE = os.environ["MERO_SOURCE_DIR"]
SECRET = b"correct horse"
INVALID_REQUEST = "Internal Error: invalid request XML, please contact your administrator, or run in default mode"


class Collect(JobTest):
    def testBundleHoldsTheDefaultItems(self):
        self.assert_collected("--target", "a.zip")
        self.assertEqual(self.names("a.zip"), ["system-log-hist.log", "system-logs.log", "usual.log"])
        with zipfile.ZipFile(self.path("a.zip")) as archive:
            self.assertEqual(archive.read(self.group + "/usual.log"), b"content of usual\n")

    def testStandardOutputIsTheProgressAndNothingElse(self):
        output, errors = self.assert_collected("--target", "a.zip")
        self.assertRegex(output, PROGRESS)
        self.assertIn("\rStarting up MERO Engine...", output)
        self.assertIn("\rReading instructions ...", output)
        self.assertIn("\r" + "MERO has finished... ".ljust(90) + " 100%\r\n\r\n", output)
        self.assertEqual(errors, "Bundle: " + self.path("a.zip") + "\n")

    def testDefaultTargetIsDatedAndStandsInTheCurrentFolder(self):
        errors = self.assert_collected()[1]
        bundles = [name for name in os.listdir(self.folder) if name.endswith(".zip")]
        self.assertEqual(len(bundles), 1)
        self.assertRegex(bundles[0], r"\AMEROBundle_\d{4}_\d{4}\.zip\Z")
        self.assertEqual(errors, "Bundle: " + self.path(bundles[0]) + "\n")

    def testTargetGetsTheExtensionOfAZip(self):
        os.makedirs(self.path("v1.2"))
        bundles = {"b": "b.zip", "c.ZIP": "c.ZIP.zip", "v1.2/d": "v1.2/d.zip", "./e.zip": "e.zip"}
        for target, bundle in bundles.items():
            errors = self.assert_collected("--target", target)[1]
            self.assertTrue(os.path.samefile(errors[len("Bundle: "):-1], self.path(bundle)))
            self.assertIn("usual.log", self.names(bundle))

    def testBundleIsTheUsersAlone(self):
        self.assert_collected("--target", "a.zip", preexec_fn=lambda: os.umask(0))
        self.assertEqual(stat.S_IMODE(os.stat(self.path("a.zip")).st_mode) & 0o077, 0)

    def testExistingBundleIsReplaced(self):
        self.write("a.zip", "no zip at all")
        self.assert_collected("--target", "a.zip")
        self.assertIn("usual.log", self.names("a.zip"))

    def testBundleReplacesAFileForAllByOneForTheUserAlone(self):
        os.chmod(self.write("a.zip", "no zip at all"), 0o644)
        self.assert_collected("--target", "a.zip")
        self.assertEqual(stat.S_IMODE(os.stat(self.path("a.zip")).st_mode), 0o600)
        self.assertEqual([name for name in os.listdir(self.folder) if name.startswith(".")], [])

    def testRequestSelectsTheItems(self):
        self.write("request.xml", '<request><file id="unusual"/><comments><![CDATA[for <you>]]></comments></request>')
        self.assert_collected("--target", "a.zip", "--request", "request.xml")
        self.assertEqual(self.names("a.zip"), ["unusual.log"])
        with zipfile.ZipFile(self.path("a.zip")) as archive:
            self.assertEqual(archive.read("comments.txt"), b"Comments from Varnel Corvane user:\nfor <you>")

    def testSystemLogsCanBeLeftOut(self):
        self.assert_collected("--target", "a.zip", "--no-system-logs")
        self.assertEqual(self.names("a.zip"), ["usual.log"])

    def testLegacyTreeCanBeIncluded(self):
        self.assert_collected("--target", "a.zip", "--include-legacy", "--no-system-logs")
        self.assertEqual(self.names("a.zip"), ["legacy/former.log", "usual.log"])

    def testConfigurationBesideTheProgramIsTheDefault(self):
        program = shutil.copy(MEROCLI, self.install)
        status, _, errors = self.run_console("collect", "--target", "a.zip", program=program)
        self.assertEqual(status, 0, errors)
        self.assertIn("usual.log", self.names("a.zip"))

    def testInstallFolderMayBeRelative(self):
        status, _, errors = self.run_console("collect", "--install-dir", "install", "--target", "a.zip")
        self.assertEqual(status, 0, errors)
        self.assertIn("usual.log", self.names("a.zip"))

    def testSecondRunIsLikeTheFirst(self):
        for bundle in ("a.zip", "b.zip"):
            self.assert_collected("--target", bundle)
            self.assertEqual(self.names(bundle), ["system-log-hist.log", "system-logs.log", "usual.log"])

    def testFourAtOnceDoNotMeet(self):
        processes = []
        for number in range(4):
            install = shutil.copytree(self.install, self.path("install%d" % number))
            config = os.path.join(install, "xml/config/sample.xml")
            with open(config) as file:
                text = file.read()
            for item in ("usual", "system-logs"):
                own = self.write("logs/%d/%s.log" % (number, item), "%s of %d\n" % (item, number))
                text = text.replace(self.path("logs/" + item + ".log"), own)
            with open(config, "w") as file:
                file.write(text)
            processes.append(self.start("collect", "--install-dir", install, "--target", "%d.zip" % number))
        for number, process in enumerate(processes):
            errors = process.communicate(timeout=100)[1]
            self.assertEqual(process.returncode, 0, errors)
            self.assertEqual(self.names("%d.zip" % number), ["system-log-hist.log", "system-logs.log", "usual.log"])
            with zipfile.ZipFile(self.path("%d.zip" % number)) as archive:
                for item in ("usual", "system-logs"):
                    self.assertEqual(archive.read(self.group + "/" + item + ".log"),
                                     b"%s of %d\n" % (item.encode(), number))
                self.assertEqual(archive.read("summary.txt").count(b"MERO BUNDLE SUMMARY"), 1)

    def testLogNamesTheProgram(self):
        self.environment["ZRN_LOGGING_OUTPUT"] = "STDOUT"
        output = self.assert_collected("--target", "a.zip")[0]
        self.assertRegex(output, r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d zrn_merocli\[\d+\]: \[")


class FailedJob(JobTest):
    def failed(self, *arguments, message, advice, **options):
        status, output, errors = self.collect("--target", "a.zip", *arguments, **options)
        self.assertEqual(status, 1, errors)
        self.assertTrue(output.endswith("\r\n" + message + "\r\n"), output)
        self.assertTrue(errors.startswith("merocli: no bundle was made: "), errors)
        self.assertIn(advice, errors)
        return errors

    def testMissingRequestIsNamed(self):
        self.failed("--request", "missing.xml", advice="'" + self.path("missing.xml") + "'",
                    message=INVALID_REQUEST)
        self.assertFalse(os.path.exists(self.path("a.zip")))

    def testMalformedRequestIsNamed(self):
        self.write("bad.xml", "<request><file id='usual'></request>")
        errors = self.failed(
            "--request", "bad.xml", advice="'" + self.path("bad.xml") + "'",
            message=INVALID_REQUEST)
        self.assertIn("MEROENGINE_ERROR_INVALID_XML", errors)

    def testInstallFolderWithoutConfigurationIsNamed(self):
        self.install = self.folder
        self.failed(message="Internal Error: no valid configuration XML found...",
                    advice="'" + self.path("xml/config/") + "'")

    def testBundleThatCantBeWrittenIsNamed(self):
        noise = random.Random(7)
        for number in range(8):
            self.write("logs/usual%d.log" % number, noise.randbytes(40000))
        config = self.path("install/xml/config/sample.xml")
        with open(config) as file:
            text = file.read()
        with open(config, "w") as file:
            file.write(text.replace("usual.log", "usual*.log"))
        # Each file fits, the bundle of all of them does not.
        self.failed(message="Internal Error: failed to zip the bundle...", advice="'" + self.path("a.zip") + "'",
                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100000, 100000)))


class IncompleteBundle(JobTest):
    def setUp(self):
        super().setUp()
        tool = "%s/tests/support/bury.py %s" % (SOURCE, self.group)
        config = self.path("install/xml/config/sample.xml")
        with open(config) as file:
            text = file.read()
        instruction = ("<use_extern_action><action><stdout/><args>%s</args></action></use_extern_action></os></mero>"
                       % tool)
        with open(config, "w") as file:
            file.write(text.replace("</os></mero>", instruction, 1))

    def check(self, *arguments, password=None):
        status, output, errors = self.collect("--target", "a.zip", *arguments)
        self.assertEqual(errors, "Bundle: " + self.path("a.zip") +
                         " (incomplete: 1 files could not be packed, see not-packed.txt)\n")
        self.assertEqual(status, 3)
        self.assertTrue(output.endswith("\r\n1 files could not be packed, see not-packed.txt\r\n"), output)
        self.assertIn("usual.log", self.names("a.zip", password))
        with zipfile.ZipFile(self.path("a.zip")) as archive:
            self.assertEqual(archive.namelist()[-1], "not-packed.txt")
            missing = archive.read("not-packed.txt", password).decode()
        self.assertRegex(missing, r"\n%s/[n/]+/buried\.log: has a longer name than an archive can hold\n\Z"
                         % re.escape(self.group))

    def testIsCountedInTheLastLineAndInTheStatus(self):
        self.check()

    def testListsWhatIsMissingBehindThePassword(self):
        self.write("password", SECRET + b"\n")
        self.check("--password-file", "password", password=SECRET)


class Streams(JobTest):
    def testFullDiskBehindStandardOutputDoesNotStopTheJob(self):
        with open("/dev/full", "wb") as full:
            self.assert_collected("--target", "a.zip", stdout=full)
        self.assertIn("usual.log", self.names("a.zip"))

    def testReaderThatWentAwayDoesNotStopTheJob(self):
        reading, writing = os.pipe()
        os.close(reading)
        try:
            self.assert_collected("--target", "a.zip", stdout=writing)
        finally:
            os.close(writing)
        self.assertIn("usual.log", self.names("a.zip"))

    def testProgressNeverLandsInAFileWhenTheStreamsAreClosed(self):
        status = self.collect("--target", "a.zip", stdin=None, stdout=None, stderr=None,
                              preexec_fn=lambda: [os.close(fd) for fd in (0, 1, 2)])[0]
        self.assertEqual(status, 0)
        self.assertEqual(self.names("a.zip"), ["system-log-hist.log", "system-logs.log", "usual.log"])
        with zipfile.ZipFile(self.path("a.zip")) as archive:
            for name in archive.namelist():
                self.assertNotIn(b"Starting up", archive.read(name))


class Encryption(JobTest):
    def assert_encrypted(self, bundle, password):
        with zipfile.ZipFile(self.path(bundle)) as archive:
            for entry in archive.infolist():
                if not entry.is_dir():
                    self.assertTrue(entry.flag_bits & 1, entry.filename)
        self.assertIn("usual.log", self.names(bundle, password))

    def testPasswordFromAFileOpensTheBundleEverywhere(self):
        self.write("password", SECRET + b"\nsecond line\n")
        self.assert_collected("--target", "a.zip", "--password-file", "password")
        self.assert_encrypted("a.zip", SECRET)
        text = SECRET.decode()
        for command in (["unzip", "-t", "-P", text, "a.zip"], ["7z", "t", "-p" + text, "a.zip"]):
            done = subprocess.run(command, cwd=self.folder, stdin=subprocess.DEVNULL, capture_output=True)
            self.assertEqual(done.returncode, 0, done.stdout)

    def testWrongPasswordOpensNothing(self):
        self.write("password", SECRET)
        self.assert_collected("--target", "a.zip", "--password-file", "password")
        for command in (["unzip", "-t", "-P", "wrong", "a.zip"], ["7z", "t", "-pwrong", "a.zip"]):
            done = subprocess.run(command, cwd=self.folder, stdin=subprocess.DEVNULL, capture_output=True)
            self.assertNotEqual(done.returncode, 0)

    def testPasswordFromStandardInput(self):
        self.assert_collected("--target", "a.zip", "--password-file", "-", input=SECRET + b"\n")
        self.assert_encrypted("a.zip", SECRET)

    def testLineEndIsNoPartOfThePassword(self):
        for content in (SECRET, SECRET + b"\n", SECRET + b"\r\n"):
            self.write("password", content)
            self.assert_collected("--target", "a.zip", "--password-file", "password")
            self.assert_encrypted("a.zip", SECRET)

    def testBlanksAndOtherBytesArePartOfThePassword(self):
        password = b" \tgr\xc3\xbcn\xff\r "
        self.write("password", password + b"\n")
        self.assert_collected("--target", "a.zip", "--password-file", "password")
        self.assert_encrypted("a.zip", password)

    def testLongestPassword(self):
        password = b"0123456789abcdef" * 64
        self.write("password", password + b"\r\n")
        self.assert_collected("--target", "a.zip", "--password-file", "password")
        self.assert_encrypted("a.zip", password)

    def testPasswordFromAPipeThatComesInPieces(self):
        process = self.start("collect", "--install-dir", self.install, "--target", "a.zip", "--password-file", "-",
                             stdin=subprocess.PIPE)
        for piece in (SECRET[:4], SECRET[4:], b"\n"):
            process.stdin.write(piece)
            process.stdin.flush()
        # The pipe stays open: the end of the line is enough.
        self.assertEqual(process.wait(timeout=100), 0)
        self.assert_encrypted("a.zip", SECRET)

    def testPasswordIsNowhereToBeSeen(self):
        self.environment["ZRN_LOGGING_OUTPUT"] = "STDOUT"
        os.mkfifo(self.path("pipe"))
        process = self.start("collect", "--install-dir", self.install, "--target", "a.zip", "--password-file", "pipe")
        with open(self.path("pipe"), "wb") as pipe:  # opens when the program has opened it too
            for name in ("cmdline", "environ"):
                with open("/proc/%d/%s" % (process.pid, name), "rb") as file:
                    self.assertNotIn(SECRET, file.read())
            pipe.write(SECRET + b"\n")
        output, errors = process.communicate(timeout=100)
        self.assertEqual(process.returncode, 0, errors)
        self.assertNotIn(SECRET, output + errors)
        with zipfile.ZipFile(self.path("a.zip")) as archive:
            archive.setpassword(SECRET)
            for name in archive.namelist():
                self.assertNotIn(SECRET, archive.read(name))


class Installed(JobTest):
    """What `cmake --install` lays down, as a package would be made of it."""

    def testProgramFindsItsConfigurationWhereItIsInstalled(self):
        build = os.path.dirname(os.path.dirname(MEROCLI))
        done = subprocess.run(["cmake", "--install", build, "--prefix", self.path("tool")], capture_output=True,
                              text=True, env=dict(self.environment, DESTDIR=self.path("root")))
        self.assertEqual(done.returncode, 0, done.stderr)
        tool = self.path("root" + self.path("tool"))
        names = sorted(os.listdir(os.path.join(tool, "xml/config")))
        self.assertEqual(names, sorted(os.listdir(os.path.join(SOURCE, "data/xml/config"))))
        self.assertTrue(os.access(os.path.join(tool, "plugin/tool-output"), os.X_OK))
        pages = [os.path.join(folder, name) for folder, _, found in os.walk(self.path("root")) for name in found]
        self.assertTrue(any(page.endswith("/man/man1/merocli.1") for page in pages), pages)

        for name in names:
            os.remove(os.path.join(tool, "xml/config", name))
        shutil.copy(self.path("install/xml/config/sample.xml"), os.path.join(tool, "xml/config"))
        status, _, errors = self.run_console("collect", "--target", "a.zip", program=os.path.join(tool, "merocli"))
        self.assertEqual(status, 0, errors)
        self.assertIn("usual.log", self.names("a.zip"))


if __name__ == "__main__":
    unittest.main()
