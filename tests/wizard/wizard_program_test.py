"""The program as a whole: a real process with a real window, job and bundle."""

import os
import re
import shutil
import stat
import subprocess
import time
import unittest
import zipfile

from wizard_program import Atspi, JobTest, WizardTest

PASSWORD = "pass w\u00f6rd"
SUCCESS = 0
# What a person takes for "at once", with room for a machine that does other things meanwhile.
AT_ONCE_SECONDS = 3
SLOW_FILE_BYTES = 3 * 1024 * 1024 * 1024


def tool(*command):
    return subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          check=False)


class TypicalWalk(JobTest):
    def testMakesABundleThatEveryToolReads(self):
        self.walk_to_the_encryption_page()
        self.start_the_job()
        self.find("label", "Bundle Creation Result")
        bundle = self.bundle()
        self.assertRegex(os.path.basename(bundle), r"\AMEROBundle_\d{4}_\d{4}\.zip\Z")
        self.assertEqual(tool("unzip", "-tqq", bundle).returncode, SUCCESS)
        self.assertEqual(tool("7z", "t", bundle).returncode, SUCCESS)
        with zipfile.ZipFile(bundle) as archive:
            self.assertIsNone(archive.testzip())
            self.assertEqual(archive.read(self.group + "/sample.log").decode(), self.CONTENT)
            self.assertIn("summary.txt", archive.namelist())
            self.assertNotIn("comments.txt", archive.namelist())
        self.assertEqual(stat.S_IMODE(os.stat(bundle).st_mode), 0o600)
        self.finish()
        self.assertIn("Start MERO directly without helper...", self.read_log())

    def testEncryptsWithThePassword(self):
        self.walk_to_the_encryption_page()
        self.press("Enable Bundle Encryption", "check box")
        self.type("Encryption Password", PASSWORD)
        self.type("Confirm Password", PASSWORD)
        self.start_the_job()
        self.find("label", "Bundle Creation Result")
        bundle = self.bundle()
        self.assertEqual(tool("unzip", "-P", PASSWORD, "-tqq", bundle).returncode, SUCCESS)
        self.assertNotEqual(tool("unzip", "-P", "wrong", "-tqq", bundle).returncode, SUCCESS)
        self.assertEqual(tool("7z", "t", "-p" + PASSWORD, bundle).returncode, SUCCESS)
        self.assertNotEqual(tool("7z", "t", "-pwrong", bundle).returncode, SUCCESS)
        with zipfile.ZipFile(bundle) as archive:
            self.assertTrue(all(entry.flag_bits & 1 for entry in archive.infolist()))
            self.assertEqual(archive.read(self.group + "/sample.log", PASSWORD.encode()).decode(), self.CONTENT)
        self.finish()
        self.assertNotIn(PASSWORD, self.read_log())

    def testStopsAtPasswordsThatDiffer(self):
        self.walk_to_the_encryption_page()
        self.press("Enable Bundle Encryption", "check box")
        self.type("Encryption Password", "one")
        self.type("Confirm Password", "other")
        self.press("Next")
        self.find("label", "Passwords entered do not match")
        self.find("label", "Bundle Encryption Option")
        self.press("Cancel")
        self.wait_for_exit()
        self.assertEqual(os.listdir(self.path("home", "Desktop")), [])

    def testCanBeDoneWithTheEnterKeyAlone(self):
        self.start()
        self.find("label", "Meroscope (MERO)")
        window = tool("xdotool", "search", "--sync", "--onlyvisible", "--name", "Varnel Corvane").stdout.split()[0]
        tool("xdotool", "windowfocus", "--sync", window)
        for header in ("Bundle Creation Option", "Bundle Encryption Option"):
            tool("xdotool", "key", "Return")
            self.find("label", header)
        tool("xdotool", "key", "Return")
        self.find("push button", "OK")
        warning = tool("xdotool", "search", "--sync", "--onlyvisible", "--name", "Warning").stdout.split()[0]
        tool("xdotool", "windowfocus", "--sync", warning)
        tool("xdotool", "key", "Return")
        self.find("label", "Bundle Creation Result")
        self.bundle()
        tool("xdotool", "windowfocus", "--sync", window)
        tool("xdotool", "key", "Return")
        self.wait_for_exit()

    def testEscapeClosesTheWarning(self):
        self.walk_to_the_encryption_page()
        self.press("Next")
        self.find("push button", "OK")
        warning = tool("xdotool", "search", "--sync", "--onlyvisible", "--name", "Warning").stdout.split()[0]
        tool("xdotool", "windowfocus", "--sync", warning)
        tool("xdotool", "key", "Escape")
        self.wait_for(lambda: all(widget.get_name() != "OK" for widget in self.widgets()), "end of the dialog")
        self.find("label", "Bundle Creation Result")
        self.finish()


class FailedWalk(JobTest):
    def testWithoutADesktopShowsThePlaceholder(self):
        shutil.rmtree(self.path("home", "Desktop"))
        self.walk_to_the_encryption_page()
        self.start_the_job()
        self.assertEqual(self.result(), 'The bundle cannot be saved in the location "%s".  Please specify another '
                                        'location and try again.')
        self.finish()

    def testWithoutAConfigurationIsAnInternalError(self):
        shutil.rmtree(self.path("programs", "xml"))
        self.walk_to_the_encryption_page()
        self.start_the_job()
        self.assertEqual(self.result(),
                         "An internal error occurred while creating the MERO bundle.  Please try again later.")
        self.finish()


class EndOfTheProgramDuringAJob(JobTest):
    """A file with a hole of gigabytes keeps the job busy for as long as the test looks at it."""

    def setUp(self):
        super().setUp()
        with open(self.sample, "wb") as file:
            file.truncate(SLOW_FILE_BYTES)

    def run_job(self):
        self.walk_to_the_encryption_page()
        self.start_the_job()
        steps = {"Processing The sample...", "Zipping the bundle, please wait..."}
        self.wait_for(lambda: any(widget.get_name() in steps for widget in self.widgets()), "job under way")

    def testByCancelIsImmediate(self):
        self.run_job()
        start = time.monotonic()
        self.press("Cancel")
        self.wait_for_exit()
        self.assertLess(time.monotonic() - start, AT_ONCE_SECONDS)
        self.assertEqual(os.listdir(self.path("home", "Desktop")), [])
        self.assertNotIn("Sanitizer", self.read_log())


class BrokenUIFile(WizardTest):
    def expect_end_without_a_window(self, reason):
        self.start()
        self.wait_for_exit()
        log = self.read_log()
        self.assertEqual(len(re.findall("Failed to load the UI XML: ", log)), 1, log)
        self.assertIn(reason, log)
        self.assertNotIn("Sanitizer", log)
        self.assertEqual(tool("xdotool", "search", "--name", "Varnel Corvane").stdout, b"")

    def testThatDoesNotParseEndsTheProgram(self):
        self.write("programs/resources/MEROGUI.glade", "<interface><object></interface>")
        self.expect_end_without_a_window("MEROGUI.glade:1:")

    def testThatIsMissingEndsTheProgram(self):
        os.remove(self.path("programs", "resources", "MEROGUI.glade"))
        self.expect_end_without_a_window("No such file or directory")


class ScreenReader(WizardTest):
    """What someone who does not see the window gets told."""

    def testEveryControlHasAName(self):
        self.start()
        self.find("label", "Meroscope (MERO)")
        self.press("Next")
        self.press("Custom", "radio button")
        controls = []
        fields = (("tree table", "Select the files to be collected."), ("text", "Enter any comments for the bundle."),
                  ("check box", "Mask Password"))
        for role, caption in fields:
            self.press("Next")
            self.find(role, caption)
            controls += [(widget.get_role_name(), self.names(widget)) for widget in self.widgets()
                         if widget.get_state_set().contains(Atspi.StateType.FOCUSABLE)]
        roles = {role for role, _ in controls}
        self.assertEqual(roles, {"push button", "check box", "text", "password text", "tree table"})
        self.assertEqual([control for control in controls if not control[1]], [])
        self.press("Cancel")
        self.wait_for_exit()

    def testTabReachesEveryControlOfThePasswordPage(self):
        self.start()
        self.press("Next")
        self.find("label", "Bundle Creation Option")
        self.press("Next")
        self.press("Enable Bundle Encryption", "check box")
        self.find("password text", "Confirm Password", Atspi.StateType.SENSITIVE)
        window = tool("xdotool", "search", "--onlyvisible", "--name", "Varnel Corvane").stdout.split()[0]
        tool("xdotool", "windowfocus", "--sync", window)
        wanted = {"Enable Bundle Encryption", "Encryption Password", "Confirm Password", "Mask Password", "Cancel",
                  "Back", "Next"}
        reached = set()
        for _ in range(2 * len(wanted)):
            before = self.focused()
            tool("xdotool", "key", "Tab")
            now = self.wait_for(lambda: {self.focused()} - {before, None}, "move of the focus").pop()
            reached.add(now)
        self.assertEqual(reached, wanted)

    def focused(self):
        for widget in self.widgets():
            if widget.get_state_set().contains(Atspi.StateType.FOCUSED) and self.names(widget):
                return self.names(widget)[0]
        return None


if __name__ == "__main__":
    unittest.main()
