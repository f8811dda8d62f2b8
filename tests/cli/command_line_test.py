"""The command line of merocli: help, version, wrong arguments and passwords that can't be used."""

import os
import pty
import re
import signal
import socket
import termios
import unittest

from console import ConsoleTest

OPTIONS = {
    "collect": ("--install-dir", "--only", "--comment", "--request", "--target", "--password-file", "--keep-working-folder",
                "--no-progress", "--quiet", "--no-system-logs", "--include-legacy", "--help"),
    "list": ("--install-dir", "--json", "--help"),
    "clear": ("--install-dir", "--yes", "--help"),
}


class CommandLine(ConsoleTest):
    def testHelpNamesTheCommandsAndTheExitStatus(self):
        status, output, errors = self.run_console("--help")
        self.assertEqual((status, errors), (0, ""))
        for command in OPTIONS:
            self.assertRegex(output, r"(?m)^  " + command + " ")
        self.assertIn("Run 'merocli COMMAND --help' for the options of a command.", output)
        self.assertIn("Exit status: 0 done, 1 failed, 2 the command line is wrong, "
                      "3 the bundle was written but lacks files.", " ".join(output.split()))

    def testHelpOfACommandNamesEveryOptionAndTheExitStatus(self):
        for command, options in OPTIONS.items():
            status, output, errors = self.run_console(command, "--help")
            self.assertEqual((status, errors), (0, ""))
            # Newer releases of CLI11 give the long names a column of their own.
            self.assertEqual(sorted(re.findall(r"(?m)^ {2,10}(?:-h, *)?(--[a-z-]+)", output)), sorted(options))
            further = ", 3 the bundle was written but lacks files" if command == "collect" else ""
            self.assertRegex(output.replace("\n", " "),
                             r" Exit status: 0 the [^.]*, 1 [^.]*, 2 the command line is wrong%s\. " % further)

    def testHelpOfCollectSaysWhichOptionsNamedItemsIgnore(self):
        output = self.run_console("collect", "--help")[1]
        self.assertIn("The last two options have no effect on items that --only or --request names.", output)
        self.assertLess(output.index("--password-file"), output.index("--no-system-logs"))
        self.assertLess(output.index("--no-system-logs"), output.index("--include-legacy"))

    def testHelpHasNoControlCharacters(self):
        output = "".join(self.run_console(*command, "--help")[1] for command in ((), *((name,) for name in OPTIONS)))
        self.assertTrue(all(c == "\n" or c.isprintable() for c in output))

    def testVersionIsOneLineOnStandardOutput(self):
        status, output, errors = self.run_console("--version")
        self.assertEqual((status, errors), (0, ""))
        self.assertRegex(output, r"\Amerocli \d+\.\d+\.\d+\n\Z")

    def testNoCommandIsAUsageError(self):
        self.assert_usage_error(command=None,
                                naming="a command is missing; to collect a bundle run 'merocli collect', to see what "
                                       "can be collected 'merocli list'")

    def testUnknownCommandIsNamed(self):
        self.assert_usage_error("gather", naming="gather", command=None)

    def testTwoCommandsAreOneTooMany(self):
        self.assert_usage_error("collect", "list", naming="list")
        self.assert_usage_error("list", "collect", naming="collect", command="list")

    def testUnknownOptionIsNamed(self):
        for command in OPTIONS:
            self.assert_usage_error(command, "--colour", naming="--colour", command=command)

    def testOptionOfTheOtherCommandIsUnknown(self):
        self.assert_usage_error("list", "--only", "usual", naming="--only", command="list")
        self.assert_usage_error("collect", "--json", naming="--json")

    def testStrayArgumentIsNamed(self):
        for command in OPTIONS:
            self.assert_usage_error(command, "bundle.zip", naming="bundle.zip", command=command)
        self.assert_usage_error("collect", "--only", "usual", "unusual", naming="unusual")

    def testMissingValueIsNamed(self):
        for option in ("--install-dir", "--only", "--comment", "--request", "--target", "--password-file"):
            self.assert_usage_error("collect", option, naming=option)
        self.assert_usage_error("collect", "--only", "usual", "--only", naming="--only")
        self.assert_usage_error("list", "--install-dir", naming="--install-dir", command="list")

    def testOptionGivenTwiceIsNamed(self):
        self.assert_usage_error("collect", "--target", "a.zip", "--target", "b.zip", naming="--target")
        self.assert_usage_error("collect", "--only", "a", "--comment", "b", "--comment", "c", naming="--comment")

    def testEmptyPathIsNotTakenForNone(self):
        for option in ("--install-dir", "--request", "--target", "--password-file"):
            self.assert_usage_error("collect", option, "", naming=option + ": the path is empty")
        self.assert_usage_error("list", "--install-dir", "", naming="--install-dir: the path is empty", command="list")

    def testMissingInstallFolderIsNamed(self):
        for command in OPTIONS:
            self.assert_usage_error(command, "--install-dir", "nowhere", command=command,
                                    naming="--install-dir: there is no folder '" + self.path("nowhere") + "'")

    def testTargetMayNotBeAFolder(self):
        os.makedirs(self.path("folder.zip"))
        self.assert_usage_error("collect", "--target", "folder.zip",
                                naming="--target: '" + self.path("folder.zip") + "' is a folder")
        for target in ("folder.zip/", ".", "..", "/"):
            self.assert_usage_error("collect", "--target", target, naming="--target: '" + target + "' names a folder")

    def testTargetMayNotBeStandardOutput(self):
        self.assert_usage_error("collect", "--target", "-",
                                naming="--target: a bundle can't be written to standard output")
        self.assertEqual(os.listdir(self.folder), [])

    def testTargetMayNotBeAPipeADeviceOrASocket(self):
        os.mkfifo(self.path("pipe.zip"))
        os.symlink("/dev/null", self.path("device.zip"))
        with socket.socket(socket.AF_UNIX) as end:
            end.bind(self.path("socket.zip"))
        for target in ("pipe.zip", "device.zip", "socket"):
            self.assert_usage_error("collect", "--target", target,
                                    naming="' is a pipe, a device or a socket; name a file that can be replaced")

    def testMissingFolderOfTheTargetIsNamed(self):
        self.assert_usage_error("collect", "--target", "no/a.zip",
                                naming="--target: there is no folder '" + self.path("no") + "'")

    @unittest.skipIf(os.geteuid() == 0, "permission bits don't stop root")
    def testUnwritableFolderOfTheTargetIsNamed(self):
        os.makedirs(self.path("closed"), mode=0o500)
        self.assert_usage_error("collect", "--target", "closed/a.zip",
                                naming="--target: can't write to the folder '" + self.path("closed") + "'")

    def testUsageErrorLeavesNothingBehind(self):
        self.assert_usage_error("collect", "--target", "a.zip", "--password-file", "missing", naming="missing")
        self.assertEqual(os.listdir(self.folder), [])

    def testFullDiskBehindHelpIsAFailure(self):
        with open("/dev/full", "wb") as full:
            status, _, errors = self.run_console("--help", stdout=full)
        self.assertEqual(status, 1)
        self.assertIn("merocli: can't write to standard output: No space left on device", errors)

    def testClosedStandardOutputIsAFailure(self):
        status, _, errors = self.run_console("--version", stdout=None, preexec_fn=lambda: os.close(1))
        self.assertEqual(status, 1)
        self.assertEqual(errors, "merocli: can't write to standard output: Bad file descriptor\n")

    def testOtherClosedStreamsDoNoHarm(self):
        status, output, _ = self.run_console("--version", stdin=None, stderr=None,
                                             preexec_fn=lambda: [os.close(fd) for fd in (0, 2)])
        self.assertEqual(status, 0)
        self.assertRegex(output, r"\Amerocli ")

    def testAllStreamsMayBeClosed(self):
        status = self.run_console("--version", stdin=None, stdout=None, stderr=None,
                                  preexec_fn=lambda: [os.close(fd) for fd in (0, 1, 2)])[0]
        self.assertEqual(status, 1)


class PasswordFile(ConsoleTest):
    def refused(self, source, naming, **options):
        errors = self.assert_usage_error("collect", "--target", "a.zip", "--password-file", source,
                                         naming="--password-file: " + naming, **options)
        self.assertFalse(os.path.exists(self.path("a.zip")))
        return errors

    def testMissingFileIsNamed(self):
        self.refused("missing", "can't open 'missing': No such file or directory")

    def testFolderIsRefused(self):
        os.makedirs(self.path("folder"))
        self.refused("folder", "'folder' is a folder")

    @unittest.skipIf(os.geteuid() == 0, "permission bits don't stop root")
    def testUnreadableFileIsNamed(self):
        os.chmod(self.write("closed", "secret"), 0)
        self.refused("closed", "can't open 'closed': Permission denied")

    def testEmptyFileIsNoPlainBundle(self):
        self.write("empty", "")
        self.refused("empty", "the first line of 'empty' is empty")

    def testEmptyFirstLineIsNoPlainBundle(self):
        for content in ("\n", "\r\n", "\nsecret\n"):
            self.write("empty", content)
            self.refused("empty", "the first line of 'empty' is empty")

    def testEmptyStandardInputIsNoPlainBundle(self):
        self.refused("-", "the first line of standard input is empty", input=b"")

    def testTooLongIsRefusedAndNotShown(self):
        for content in ("x" * 1025, "x" * 1025 + "\n", "x" * 5000):
            self.write("long", content)
            self.assertNotIn("xxx", self.refused("long", "the password in 'long' is longer than 1024 bytes"))

    def testEndlessSourceIsRefused(self):
        self.refused("/dev/zero", "the password in '/dev/zero' is longer than 1024 bytes")

    def testNulByteIsRefused(self):
        self.write("binary", b"sec\0ret\n")
        self.refused("binary", "the password in 'binary' holds a NUL byte")


class PasswordPrompt(ConsoleTest):
    """Standard input is a terminal."""

    def setUp(self):
        super().setUp()
        self.controller, self.terminal = pty.openpty()
        self.addCleanup(os.close, self.controller)
        self.addCleanup(os.close, self.terminal)

    def ask(self, **options):
        """Starts the program on the terminal and waits for its prompt."""
        # The folder has no configuration, so that the job ends at once after the password.
        process = self.start("collect", "--install-dir", self.folder, "--target", "a.zip", "--password-file", "-",
                             stdin=self.terminal, start_new_session=True, **options)
        prompt = b"Password for the bundle: "
        self.assertEqual(process.stderr.read(len(prompt)), prompt)
        return process

    def echoes(self):
        return bool(termios.tcgetattr(self.terminal)[3] & termios.ECHO)

    def testTypedPasswordIsNotShown(self):
        process = self.ask()
        self.assertFalse(self.echoes())
        os.write(self.controller, b"hidden secret\n")
        output, errors = process.communicate(timeout=60)
        self.assertTrue(self.echoes())
        self.assertEqual(process.returncode, 1)  # the password was taken; there is nothing to collect
        os.set_blocking(self.controller, False)
        try:
            shown = os.read(self.controller, 4096)
        except BlockingIOError:
            shown = b""
        for text in (shown, output, errors):
            self.assertNotIn(b"hidden", text)

    def testEmptyAnswerIsRefused(self):
        process = self.ask()
        os.write(self.controller, b"\n")
        errors = process.communicate(timeout=60)[1]
        self.assertEqual(process.returncode, 2)
        self.assertIn(b"the first line of standard input is empty", errors)

    def testInterruptionPutsTheEchoBackAndEndsTheProgram(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process = self.ask()
            process.send_signal(number)
            process.communicate(timeout=60)
            self.assertEqual(process.returncode, -number)
            self.assertTrue(self.echoes())

    def testSignalThatIsIgnoredDoesNotStopThePrompt(self):
        process = self.ask(preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        process.send_signal(signal.SIGHUP)
        os.write(self.controller, b"secret\n")
        process.communicate(timeout=60)
        self.assertEqual(process.returncode, 1)


if __name__ == "__main__":
    unittest.main()
