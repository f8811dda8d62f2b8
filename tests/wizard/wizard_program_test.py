"""The program as a whole: a real process with a real window, job and bundle."""

import glob
import os
import re
import shutil
import stat
import subprocess
import time
import unittest
import zipfile

from wizard_program import Atspi, JobTest, WizardTest

from configurations import group, item

PASSWORD = "pass w\u00f6rd"
SUCCESS = 0
UNKNOWN_ERROR = ("An unknown error occurred while creating the MERO bundle, possibly due to restricted file "
                 "permissions.  Please try again later.")


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
        self.focus_window()
        for header in ("Bundle Creation Option", "Bundle Encryption Option"):
            self.press_key("Return", lambda name=header: self.is_shown("label", name), header)
        self.press_key("Return", lambda: self.is_shown("push button", "OK"), "warning")
        self.focus_window("Warning")
        self.press_key("Return", lambda: not self.is_shown("push button", "OK"), "end of the dialog")
        self.find("label", "Bundle Creation Result")
        self.bundle()
        self.focus_window()
        self.press_key("Return", lambda: self.process.poll() is not None, "end of the program")
        self.wait_for_exit()

    def testEscapeClosesTheWarning(self):
        self.walk_to_the_encryption_page()
        self.press("Next")
        self.find("push button", "OK")
        self.focus_window("Warning")
        self.press_key("Escape", lambda: not self.is_shown("push button", "OK"), "end of the dialog")
        self.find("label", "Bundle Creation Result")
        self.finish()


COMMENT = "It stopped <here> & there: \u00fc\u4e2d"


class CustomWalk(JobTest):
    """Three modules below two roots, each item with a file of its own."""

    def setUp(self):
        super().setUp()
        # The walk opens the file chooser: only with whole stacks the leak check tells its leavings from ours, see lsan.supp.
        options = self.environment.get("ASAN_OPTIONS", "")
        self.environment["ASAN_OPTIONS"] = options + ":fast_unwind_on_malloc=0"
        self.write_selection()

    def item(self, name, label, default="false"):
        return item(name, label, default, "The " + name,
                    path=self.write("logs/%s.log" % label.split()[0], "content of " + label))

    def write_selection(self, odd_id="f-item"):
        area = '_tr("Chosen area")'
        self.configure(
            group(area, '_tr("First module")', self.item("a-item", "a file", "true"), self.item("b-item", "b file"),
                  folder=self.group),
            group(area, '_tr("Second module")', self.item("c-item", "c file", "true"),
                  self.item("d-item", "d file", "true"), folder=self.group),
            group("Another area", "Third module", self.item("e-item", "e file"), self.item(odd_id, "f file"),
                  folder=self.group))

    def walk_to_the_tree(self):
        self.start()
        self.find("label", "Meroscope (MERO)")
        self.press("Next")
        self.press("Custom", "radio button")
        self.press("Next")
        self.row("Chosen area")

    def walk_from_the_tree_to_the_encryption_page(self, comment=""):
        self.press("Next")
        field = self.find("text", "Enter any comments for the bundle.")
        self.assertTrue(Atspi.EditableText.set_text_contents(field, comment))
        self.press("Next")
        self.find("label", "Bundle Encryption Option")

    def choose_target(self, path):
        self.click(self.find("push button", "Browse..."))
        name = self.find("text", "Name:")
        self.assertTrue(Atspi.EditableText.set_text_contents(name, path))
        self.press("Save")
        self.find("label", os.path.basename(path))

    def testHoldsExactlyWhatWasChosen(self):
        # A session of the user's own may have left some.
        requests = glob.glob("/tmp/BundleRequest_*")
        self.walk_to_the_tree()
        self.assertTrue(self.is_checked("Chosen area"))
        self.assertFalse(self.is_checked("Another area"))
        self.open_row("Chosen area")
        self.toggle("Second module")
        self.open_row("First module")
        self.assertTrue(self.is_checked("a file"))
        self.toggle("b file")
        self.press("Next")
        self.find("label", "Target Bundle Location and Comments")
        target = self.path("home", "case 12.zip")
        self.choose_target(target)
        field = self.find("text", "Enter any comments for the bundle.")
        self.assertTrue(Atspi.EditableText.set_text_contents(field, COMMENT))
        self.press("Next")
        self.press("Enable Bundle Encryption", "check box")
        self.type("Encryption Password", PASSWORD)
        self.type("Confirm Password", PASSWORD)
        self.start_the_job()
        self.assertEqual(self.result(), "The bundle was created successfully in %s." % target)
        self.assertEqual(tool("unzip", "-P", PASSWORD, "-tqq", target).returncode, SUCCESS)
        with zipfile.ZipFile(target) as archive:
            archive.setpassword(PASSWORD.encode())
            self.assertEqual(set(archive.namelist()),
                             self.bundled("a", "b") | {"summary.txt", "comments.txt"})
            self.assertTrue(all(entry.flag_bits & 1 for entry in archive.infolist()))
            self.assertEqual(archive.read(self.group + "/b.log").decode(), "content of b file")
            self.assertIn(COMMENT, archive.read("comments.txt").decode())
            summary = archive.read("summary.txt").decode()
        self.assertEqual(re.findall(r"^[a-f]-item", summary, re.MULTILINE), ["a-item", "b-item"], summary)
        self.assertEqual(os.listdir(self.path("home", "Desktop")), [])
        self.finish()
        self.assertEqual(glob.glob("/tmp/BundleRequest_*"), requests)

    def testOfAnUncheckedTreeHoldsNoItems(self):
        self.walk_to_the_tree()
        self.toggle("Chosen area")
        self.walk_from_the_tree_to_the_encryption_page()
        self.start_the_job()
        with zipfile.ZipFile(self.bundle()) as archive:
            self.assertEqual([name for name in archive.namelist() if name.startswith(self.group)], [])
        self.finish()

    def testKeepsTheTreeOverASecondVisit(self):
        self.walk_to_the_tree()
        self.toggle("Another area")
        self.press("Next")
        self.find("label", "Target Bundle Location and Comments")
        self.press("Back")
        self.toggle("Chosen area")
        self.press("Back")
        self.find("label", "Bundle Creation Option")
        self.press("Next")
        self.assertTrue(self.is_checked("Another area"))
        self.assertFalse(self.is_checked("Chosen area"))
        self.walk_from_the_tree_to_the_encryption_page()
        self.start_the_job()
        with zipfile.ZipFile(self.bundle()) as archive:
            self.assertEqual({name for name in archive.namelist() if name.startswith(self.group + "/")},
                             self.bundled("e", "f"))
        self.finish()

    def testCanBeDoneWithTheKeyboardAlone(self):
        self.walk_to_the_tree()
        self.focus_window()
        self.wait_for(lambda: self.tree().get_state_set().contains(Atspi.StateType.FOCUSED), "focus on the tree")
        # The roots stand in the order of their names as they are in the file, marker included.
        tool("xdotool", "key", "Home", "space")
        self.wait_for(lambda: self.is_checked("Another area"), "check by key")
        self.assertTrue(self.is_checked("Chosen area"))
        self.click(self.row("Chosen area")[1])
        self.xdotool("key", "space")
        self.wait_for(lambda: not self.is_checked("Chosen area"), "check by key behind a click")
        self.press("Cancel")
        self.wait_for_exit()

    def testWithACommentThatEndsItsSectionFails(self):
        self.walk_to_the_tree()
        self.walk_from_the_tree_to_the_encryption_page("what ]]> ends")
        self.start_the_job()
        self.assertEqual(self.result(), UNKNOWN_ERROR)
        self.finish()
        self.assertIn("Internal Error: invalid request XML, please contact your administrator, or run in default mode",
                      self.read_log())

    def testWithAnIdThatNoRequestCanHoldFails(self):
        for odd_id in ('f"item', "f<item"):
            with self.subTest(odd_id):
                self.write_selection(odd_id)
                self.walk_to_the_tree()
                self.toggle("Another area")
                self.walk_from_the_tree_to_the_encryption_page()
                self.start_the_job()
                self.assertEqual(self.result(), UNKNOWN_ERROR)
                self.finish()
                self.assertEqual(os.listdir(self.path("home", "Desktop")), [])

    def testFollowsNoLinkAtThePlaceOfTheRequest(self):
        victim = self.write("home/letter.txt", "dear diary")
        # The job starts in this minute or in the next.
        places = [time.strftime("/tmp/BundleRequest_%m%d_%H%M.xml", time.localtime(time.time() + seconds))
                  for seconds in (0, 60)]
        for place in places:
            os.symlink(victim, place)
            self.addCleanup(lambda path=place: os.path.islink(path) and os.remove(path))
        self.walk_to_the_tree()
        self.walk_from_the_tree_to_the_encryption_page()
        self.start_the_job()
        self.assertEqual(self.result(), UNKNOWN_ERROR)
        self.finish()
        with open(victim, encoding="utf-8") as file:
            self.assertEqual(file.read(), "dear diary")
        self.assertIn("std::fstream::open", self.read_log())

    def bundled(self, *names):
        return {"%s/%s.log" % (self.group, name) for name in names}


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
            controls += [(self.role(widget), self.names(widget)) for widget in self.widgets()
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
