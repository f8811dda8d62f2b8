"""merocli clear: what it says that it will delete, whom it asks, and what is gone and what is left afterwards."""

import os
import pty
import signal
import unittest
from xml.sax.saxutils import escape, quoteattr

from console import ConsoleTest

import configurations
from configurations import configuration, group, item

REFUSED = ("merocli: nothing was deleted: standard input is no terminal at which to ask; add --yes to delete without a "
           "question\nRun 'merocli clear --help' for the options.\n")
NOTHING_NAMED = "Nothing to clear: no item of the configuration names a log that may be deleted.\n"
NOTHING_THERE = "Nothing to clear: none of these files is there.\n"
KEPT = "Nothing was deleted.\n"
QUESTION = "Clear these logs? [y/N] "
# Nobody may delete it, not even root.
UNDELETABLE = "/proc/version"
ADVICE = ("merocli: look at the rights of the folders, or run the command as root; the log tells why: journalctl -t "
          "zrn_merocli\n")
MARK = '<clear_log apply="true"/>'


def files(path, mark=MARK, attributes=""):
    """A list of instructions with one for a file."""
    return configurations.files(path, attributes=attributes, more=mark)


def command(line, before="", apply="true"):
    """A list of instructions with one for a command."""
    return ("<use_extern_action><action>%s<clear_log apply=%s>%s</clear_log></action></use_extern_action>"
            % (before, quoteattr(apply), escape(line)))


def clearable(identity, *lists, text="Text", default="true", platform="linux"):
    return item(identity, "Label", default, text, platform, instructions="".join(lists))


class ClearTest(ConsoleTest):
    """A folder `install` with a configuration, and logs."""

    def setUp(self):
        super().setUp()
        self.install = self.path("install")
        os.makedirs(self.path("install/xml/config"))

    def configure(self, *items, name="a.xml"):
        return self.write("install/xml/config/" + name, configuration(group("Root", "Title", *items)))

    def log(self, name):
        """A log that is there."""
        return self.write("logs/" + name, "content of " + name)

    def logs(self):
        """What is left below the folder of the logs."""
        return sorted(os.path.relpath(os.path.join(place, name), self.path("logs"))
                      for place, _, names in os.walk(self.path("logs")) for name in names)

    def clear(self, *arguments, **options):
        return self.run_console("clear", "--install-dir", self.install, *arguments, **options)

    def assert_cleared(self, plan, deleted="no file", run="no command"):
        """Runs without a question; what is announced, and how it ended, must be just this."""
        status, output, errors = self.clear("--yes")
        self.assertEqual(errors, "To be cleared:\n" + plan + "Cleared: %s deleted, %s run.\n" % (deleted, run))
        self.assertEqual(status, 0)
        return output

    def assert_nothing(self, errors):
        """With and without a question, nothing is done and nobody is asked."""
        for arguments in ((), ("--yes",)):
            self.assertEqual(self.clear(*arguments), (0, "", errors))

    def on_terminal(self):
        """Starts the program on a terminal; what is typed goes to the first of the two."""
        controller, terminal = pty.openpty()
        self.addCleanup(os.close, controller)
        self.addCleanup(os.close, terminal)
        process = self.start("clear", "--install-dir", self.install, stdin=terminal, start_new_session=True)
        return controller, process

    def at_question(self):
        """The same, when it has asked. With what it said before the question."""
        controller, process = self.on_terminal()
        said = b""
        while not said.endswith(QUESTION.encode()):
            byte = process.stderr.read(1)
            self.assertTrue(byte, said)
            said += byte
        return controller, process, said[:-len(QUESTION)].decode()


class Clear(ClearTest):
    def testDeletesWhatItHasAnnounced(self):
        path = self.log("a.log")
        self.log("b.txt")
        self.configure(clearable("logs", files(path), text="The logs"))
        self.assert_cleared("  logs: The logs\n    delete " + path + " (1 file)\n", "1 file")
        self.assertEqual(self.logs(), ["b.txt"])

    def testStandardOutputIsTheProgress(self):
        self.configure(clearable("logs", files(self.log("a.log")), text="The logs"))
        output = self.clear("--yes")[1]
        self.assertRegex(output, r"\A(?:\r.{90} [ \d]{3}%)*\r\n\r\n\Z")
        self.assertIn("\rStarting up MERO Engine...", output)
        self.assertIn("\r" + "MERO has finished... ".ljust(90) + " 100%", output)

    def testDescriptionIsShownElseTheLabel(self):
        path = self.log("a.log")
        self.configure(clearable("a", files(path), text='_tr("Marked")'), clearable("b", files(path), text=""))
        plan = "    delete " + path + " (1 file)\n"
        self.assert_cleared("  a: Marked\n" + plan + "  b: Label\n" + plan, "1 file")

    def testDescriptionIsTheOneOfTheProgress(self):
        path = self.log("a.log")
        self.configure(clearable("a", files(path)).replace("</label>", "</label><description>First</description>"))
        self.assertIn("\n  a: First\n", self.clear("--yes")[2])

    def testVariablesAreShownAsTheyAreConfigured(self):
        self.log("a.log")
        self.configure(clearable("a", files("$HOME/logs/*.log")))
        self.assert_cleared("  a: Text\n    delete $HOME/logs/*.log (1 file)\n", "1 file")
        self.assertEqual(self.logs(), [])

    def testControlCharactersAreBlanks(self):
        self.log("a.log")
        self.configure(clearable("a\u009bb", files(self.path("logs/\u009b.log")), files(self.path("logs/*.l?g")),
                                 command("/usr/bin/true x\u0085y"), text="one\ntwo\u2028three\u0085four"))
        errors = self.clear("--yes")[2]
        self.assertIn("\n  a b: one two three four\n    delete " + self.path("logs/ .log") + " (no file)\n", errors)
        self.assertIn("\n    run /usr/bin/true x y\n", errors)
        self.assertTrue(all(c == "\n" or c.isprintable() for c in errors), errors)

    def testItemsStandInTheOrderInWhichTheyAreCleared(self):
        one, two, three = (self.log(name) for name in ("1.log", "2.log", "3.log"))
        self.configure(clearable("c", files(one)), clearable("a", files(two), files(three)), clearable("b", files(one)))
        errors = self.clear("--yes")[2]
        self.assertEqual([line.strip() for line in errors.split("\n")[1:8]],
                         ["a: Text", "delete %s (1 file)" % two, "delete %s (1 file)" % three,
                          "b: Text", "delete %s (1 file)" % one, "c: Text", "delete %s (1 file)" % one])

    def testFileOfSeveralItemsIsCountedOnce(self):
        path = self.log("a.log")
        self.log("b.log")
        self.configure(clearable("a", files(path)), clearable("b", files(self.path("logs/*.log"))))
        self.assert_cleared("  a: Text\n    delete %s (1 file)\n  b: Text\n    delete %s (2 files)\n"
                            % (path, self.path("logs/*.log")), "2 files")

    def testAllConfigurationFilesAndGroupsTakePart(self):
        for number in range(4):
            self.log("%d.log" % number)
        self.configure(clearable("a", files(self.path("logs/0.log"))))
        self.write("install/xml/config/b.xml", configuration(
            group("Root", "One", clearable("b", files(self.path("logs/1.log")))),
            group(None, "Two", clearable("c", files(self.path("logs/2.log"))))))
        errors = self.clear("--yes")[2]
        self.assertEqual(errors.count("(1 file)"), 3)
        self.assertEqual(self.logs(), ["3.log"])

    def testConfigurationBesideTheProgramIsTheDefault(self):
        status, output, errors = self.run_console("clear")
        self.assertIn(status, (0, 2), errors)  # whether a log of the suite is there depends on the machine
        self.assertEqual(output, "")
        for identity in ("suite-logs", "suite-log-hist", "suite-user-logs"):
            self.assertIn("\n  " + identity + ": ", errors)
        self.assertNotIn("legacy", errors)

    def testOtherLogsOfTheUserStayInTheShippedSet(self):
        self.write(".varnel/corvane/log/ui.log", "log")
        self.write(".varnel/corvane/preferences.xml", "<preferences/>")
        status, _, errors = self.run_console("clear")
        self.assertEqual(status, 2)
        self.assertIn("    delete $HOME/.varnel/corvane/log/*.log (1 file)\n", errors)
        self.assertNotIn("preferences", errors)
        self.assertTrue(os.path.exists(self.path(".varnel/corvane/log/ui.log")))


class Selection(ClearTest):
    """What is announced is what happens: all of it, and nothing else."""

    def testItemThatIsNotDefaultIsLeftAlone(self):
        path = self.log("a.log")
        for default in ("false", "True", "TRUE", "yes", "1", ""):
            self.configure(clearable("a", files(path), default=default))
            self.assert_nothing(NOTHING_NAMED)
        self.configure(clearable("a", files(path)).replace("<default>true</default>", ""))
        self.assert_nothing(NOTHING_NAMED)
        self.assertEqual(self.logs(), ["a.log"])

    def testLegacyTreeIsLeftAlone(self):
        path = self.log("a.log")
        self.write("install/xml/config/a.xml", configuration(
            group("Legacy - Varnel Trellink Nolvane", "Title", clearable("a", files(path), default="false"))))
        self.assert_nothing(NOTHING_NAMED)
        self.assertEqual(self.logs(), ["a.log"])

    def testLogWithoutTheMarkIsLeftAlone(self):
        path = self.log("a.log")
        for mark in ("", "<clear_log/>", '<clear_log apply="false"/>', '<clear_log apply="True"/>',
                     '<clear_log apply="TRUE"/>', '<clear_log apply="1"/>', '<clear_log apply=""/>',
                     '<clear_log Apply="true"/>', '<Clear_log apply="true"/>', "<clear_log>true</clear_log>",
                     '<x><clear_log apply="true"/></x>'):
            self.configure(clearable("a", files(path, mark)))
            self.assert_nothing(NOTHING_NAMED)
        self.assertEqual(self.logs(), ["a.log"])

    def testBlanksAroundTheMarkDoNotCount(self):
        path = self.log("a.log")
        self.configure(clearable("a", files(path, '<clear_log apply=" true "/>')))
        announced = "(1 file)" in self.clear()[2]
        self.clear("--yes")
        self.assertEqual(self.logs(), [] if announced else ["a.log"])

    def testFoldersAreNeverCleared(self):
        self.log("sub/a.log")
        for extra in ("", "<pattern>*.log</pattern>", "<pattern>*.log</pattern>" + MARK):
            self.configure(clearable("a", "<directory_copy_action><action><loc>%s</loc>%s%s</action>"
                                     "</directory_copy_action>" % (self.path("logs"), extra, MARK)))
            self.assert_nothing(NOTHING_NAMED)
        self.assertEqual(self.logs(), ["sub/a.log"])

    def testUnknownListOfInstructionsIsPassedOver(self):
        self.configure(clearable("a", files(self.log("a.log")).replace("file_copy", "file_move")))
        self.assert_nothing(NOTHING_NAMED)
        self.assertEqual(self.logs(), ["a.log"])

    def testOtherPlatformsAreLeftAlone(self):
        path = self.log("a.log")
        for platform in ("win", "mac", "Linux", ""):
            self.configure(clearable("a", files(path), platform=platform))
            self.assert_nothing(NOTHING_NAMED)
        self.assertEqual(self.logs(), ["a.log"])

    def testFirstSectionOfThisPlatformCounts(self):
        one, two = self.log("1.log"), self.log("2.log")
        self.configure(clearable("a", files(one)).replace(
            "</os>", '</os><os opsys="linux">' + files(two) + "</os>"))
        self.assert_cleared("  a: Text\n    delete " + one + " (1 file)\n", "1 file")
        self.assertEqual(self.logs(), ["2.log"])

    def testItemWithoutInstructionsClearsNothing(self):
        path = self.log("a.log")
        self.configure(clearable("a", files(path)), item("b", default="true", platform=None))
        self.assert_cleared("  a: Text\n    delete " + path + " (1 file)\n", "1 file")

    # It is looked for where the item before it was found, so that a section within a section is used twice.
    def testItemWithoutInstructionsIsAnnouncedWhenItInheritsThem(self):
        inner = self.log("inner.log")
        self.configure(clearable("a", '<os opsys="linux">' + files(inner) + "</os>"),
                       item("b", default="true", description="Heir", platform=None))
        self.assert_cleared("  b: Heir\n    delete " + inner + " (1 file)\n", "1 file")
        self.assertEqual(self.logs(), [])

    def testWildcardMeansTheFolderItselfOnly(self):
        for name in ("a.log", "b.LOG", ".hidden.log", "a.log.1", "sub/a.log", "sub/deep/a.log"):
            self.log(name)
        pattern = self.path("logs/*.log")
        self.configure(clearable("a", files(pattern)))
        self.assert_cleared("  a: Text\n    delete " + pattern + " (3 files)\n", "3 files")
        self.assertEqual(self.logs(), ["a.log.1", "sub/a.log", "sub/deep/a.log"])

    def testWildcardInAFolderMatchesNothing(self):
        self.log("sub/a.log")
        self.configure(clearable("a", files(self.path("logs/*/a.log"))))
        self.assert_nothing("To be cleared:\n  a: Text\n    delete %s (no file)\n" % self.path("logs/*/a.log") +
                            NOTHING_THERE)
        self.assertEqual(self.logs(), ["sub/a.log"])

    def testNewestMeansNothingHere(self):
        for number in range(3):
            self.log("a.log.%d" % number)
        pattern = self.path("logs/a.log.*")
        self.configure(clearable("a", files(pattern, attributes=' gather_newest="true"')))
        self.assert_cleared("  a: Text\n    delete " + pattern + " (3 files)\n", "3 files")
        self.assertEqual(self.logs(), [])

    def testBareNameIsNoFileOfTheCurrentFolder(self):
        path = self.write("bare.log", "kept")
        self.configure(clearable("a", files("bare.log")))
        self.assert_nothing("To be cleared:\n  a: Text\n    delete bare.log (no file)\n" + NOTHING_THERE)
        self.assertTrue(os.path.exists(path))

    def testFolderOfTheNameStays(self):
        self.log("sub/a.log")
        self.configure(clearable("a", files(self.path("logs/*"))))
        self.assert_nothing("To be cleared:\n  a: Text\n    delete %s (no file)\n" % self.path("logs/*") + NOTHING_THERE)
        self.assertEqual(self.logs(), ["sub/a.log"])

    def testLinkGoesAndItsTargetStays(self):
        target = self.log("target.txt")
        os.symlink(target, self.path("logs/link.log"))
        self.configure(clearable("a", files(self.path("logs/*.log"))))
        self.assert_cleared("  a: Text\n    delete " + self.path("logs/*.log") + " (1 file)\n", "1 file")
        self.assertEqual(self.logs(), ["target.txt"])

    def testMissingLogIsNoFailure(self):
        path = self.log("a.log")
        missing = self.path("none/b.log")
        self.configure(clearable("a", files(missing), files(path)))
        self.assert_cleared("  a: Text\n    delete %s (no file)\n    delete %s (1 file)\n" % (missing, path), "1 file")

    def testSystemLogsAreItemsLikeOthers(self):
        path = self.log("a.log")
        self.configure(clearable("system-logs", files(path)))
        self.assert_cleared("  system-logs: Text\n    delete " + path + " (1 file)\n", "1 file")


class Commands(ClearTest):
    def touched(self, name):
        """A file that a command would make."""
        return self.path("made", name)

    def setUp(self):
        super().setUp()
        os.makedirs(self.path("made"))

    def made(self):
        return sorted(os.listdir(self.path("made")))

    def testCommandIsAnnouncedAndRun(self):
        line = "/usr/bin/touch " + self.touched("a")
        self.configure(clearable("a", command(line)))
        self.assert_cleared("  a: Text\n    run " + line + "\n", run="1 command")
        self.assertEqual(self.made(), ["a"])

    def testFolderOfTheCommandIsAnnounced(self):
        self.configure(clearable("a", command("touch " + self.touched("a"), "<path>/usr/bin</path>")))
        self.assert_cleared("  a: Text\n    run /usr/bin/touch " + self.touched("a") + "\n", run="1 command")
        self.assertEqual(self.made(), ["a"])

    def testCommandLineOfTheCollectionIsNotRun(self):
        before = "<args>touch %s</args><stdout/>" % self.touched("collected")
        self.configure(clearable("a", command("/usr/bin/touch " + self.touched("cleared"), before)))
        self.assert_cleared("  a: Text\n    run /usr/bin/touch " + self.touched("cleared") + "\n", run="1 command")
        self.assertEqual(self.made(), ["cleared"])

    def testCommandWithoutTheMarkIsNotRun(self):
        for apply in ("True", "false", ""):
            self.configure(clearable("a", command("/usr/bin/touch " + self.touched("a"), apply=apply)))
            self.assert_nothing(NOTHING_NAMED)
        self.assertEqual(self.made(), [])

    def testInstructionThatFailsIsNeitherAnnouncedNorRun(self):
        bad = [command("/usr/bin/touch " + self.touched("bad"), before)
               for before in ("<unknown/>", "<args><b>x</b></args>", "<temp_out><b>x</b></temp_out>")]
        good = "/usr/bin/touch " + self.touched("good")
        self.configure(clearable("a", *bad, command(good)))
        self.assert_cleared("  a: Text\n    run " + good + "\n", run="1 command")
        self.assertEqual(self.made(), ["good"])

    def testFailingAndMissingCommandsDoNotStopTheOthers(self):
        path = self.log("a.log")
        self.configure(clearable("a", command("/usr/bin/false"), command("/no/such/program"), command(""),
                                 command("/usr/bin/touch " + self.touched("a")), files(path)))
        self.assert_cleared("  a: Text\n    run /usr/bin/false\n    run /no/such/program\n    run (no command)\n"
                            "    run /usr/bin/touch %s\n    delete %s (1 file)\n" % (self.touched("a"), path),
                            "1 file", "4 commands")
        self.assertEqual((self.made(), self.logs()), (["a"], []))

    def testCommandIsAskedForAsWell(self):
        self.configure(clearable("a", command("/usr/bin/touch " + self.touched("a"))))
        self.assertEqual(self.clear()[0], 2)
        self.assertEqual(self.made(), [])

    def testOutputOfACommandIsNotShown(self):
        self.configure(clearable("a", command("/usr/bin/printf noise")))
        self.assertNotIn("noise", self.assert_cleared("  a: Text\n    run /usr/bin/printf noise\n", run="1 command"))


class Question(ClearTest):
    def setUp(self):
        super().setUp()
        self.file = self.log("a.log")
        self.configure(clearable("a", files(self.file)))
        self.plan = "To be cleared:\n  a: Text\n    delete " + self.file + " (1 file)\n"

    def answer(self, typed):
        """Exit status, and what is said behind the question."""
        controller, process, said = self.at_question()
        self.assertEqual(said, self.plan)
        self.assertEqual(self.logs(), ["a.log"])
        os.write(controller, typed)
        errors = process.communicate(timeout=60)[1]
        return process.returncode, errors.decode()

    def testYesClears(self):
        for typed in (b"y\n", b"Y\n", b"yes\n", b"YES\n"):
            self.log("a.log")
            self.assertEqual(self.answer(typed), (0, "Cleared: 1 file deleted, no command run.\n"))
            self.assertEqual(self.logs(), [])

    def testAnythingElseClearsNothing(self):
        for typed in (b"\n", b"n\n", b"no\n", b"yess\n", b"ye\n", b"j\n", b"\xff\n", b"1\n", b"true\n", b"n y\n"):
            self.assertEqual(self.answer(typed), (0, KEPT))
            self.assertEqual(self.logs(), ["a.log"])

    def testEndOfTheInputClearsNothing(self):
        self.assertEqual(self.answer(b"\x04"), (0, "\n" + KEPT))
        self.assertEqual(self.logs(), ["a.log"])

    def testInterruptionClearsNothing(self):
        _, process, _ = self.at_question()
        process.send_signal(signal.SIGINT)
        process.communicate(timeout=60)
        self.assertEqual(process.returncode, -signal.SIGINT)
        self.assertEqual(self.logs(), ["a.log"])

    def testConfigurationThatWentAwayIsAFailedRun(self):
        controller, process, _ = self.at_question()
        os.remove(self.path("install/xml/config/a.xml"))
        os.write(controller, b"y\n")
        output, errors = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 1)
        self.assertIn(b"Internal Error: no valid configuration XML found...", output)
        self.assertRegex(errors.decode(), r"\Amerocli: not all logs were cleared: '" + self.path("install/xml/config/") +
                         r"' has no good configuration file any more, or the run was ended by an error; the log tells "
                         r"more: journalctl -t zrn_merocli \[MEROENGINE_ERROR_INTERNAL.*\]\n")
        self.assertEqual(self.logs(), ["a.log"])

    def testIsLeftOutIfThereIsNothingToClear(self):
        os.remove(self.file)
        _, process = self.on_terminal()
        output, errors = process.communicate(timeout=60)
        self.assertEqual((process.returncode, output), (0, b""))
        self.assertTrue(errors.endswith(NOTHING_THERE.encode()), errors)

    def testWithoutATerminalNothingIsCleared(self):
        for options in ({}, {"input": b"y\n"}, {"stdin": None, "preexec_fn": lambda: os.close(0)}):
            self.assertEqual(self.clear(**options), (2, "", self.plan + REFUSED))
            self.assertEqual(self.logs(), ["a.log"])

    def testYesOptionNeedsNoTerminal(self):
        self.assertEqual(self.clear("--yes", stdin=None, preexec_fn=lambda: os.close(0))[0], 0)
        self.assertEqual(self.logs(), [])


class Outcome(ClearTest):
    def testLogThatCannotBeDeletedIsNamed(self):
        path = self.log("a.log")
        self.configure(clearable("a", files(UNDELETABLE), files(path)))
        status, _, errors = self.clear("--yes")
        self.assertEqual(status, 1)
        self.assertEqual(errors, "To be cleared:\n  a: Text\n    delete %s (1 file)\n    delete %s (1 file)\n"
                         "Cleared: 1 file deleted, no command run.\nmerocli: '%s' could not be deleted\n%s"
                         % (UNDELETABLE, path, UNDELETABLE, ADVICE))
        self.assertEqual(self.logs(), [])

    @unittest.skipIf(os.geteuid() == 0, "permission bits don't stop root")
    def testFolderWithoutRightsIsNamed(self):
        path = self.log("a.log")
        os.chmod(self.path("logs"), 0o500)
        self.addCleanup(os.chmod, self.path("logs"), 0o700)
        self.configure(clearable("a", files(path)))
        status, _, errors = self.clear("--yes")
        self.assertEqual(status, 1)
        self.assertTrue(errors.endswith("merocli: '" + path + "' could not be deleted\n" + ADVICE), errors)

    # A service makes its log anew at once; it still holds the deleted one.
    def testLogThatIsMadeAnewMeanwhileIsGone(self):
        path = self.log("a.log")
        self.configure(clearable("a", files(path)), clearable("b", command("/usr/bin/touch " + path)))
        with open(path):
            status, _, errors = self.clear("--yes")
        self.assertEqual(status, 0)
        self.assertTrue(errors.endswith("Cleared: 1 file deleted, 1 command run.\n"), errors)
        self.assertEqual(os.path.getsize(path), 0)

    def testNothingToClearIsSaid(self):
        self.configure(item("a", default="true", path=self.log("a.log")))
        self.assert_nothing(NOTHING_NAMED)
        self.configure(clearable("a", files(self.path("none.log"))))
        self.assert_nothing("To be cleared:\n  a: Text\n    delete %s (no file)\n" % self.path("none.log") +
                            NOTHING_THERE)

    def testSecondRunHasNothingToClear(self):
        path = self.log("a.log")
        self.configure(clearable("a", files(path)))
        self.assertEqual(self.clear("--yes")[0], 0)
        self.assertTrue(self.clear("--yes")[2].endswith(NOTHING_THERE))

    def testFullDiskBehindStandardOutputDoesNotStopIt(self):
        self.configure(clearable("a", files(self.log("a.log"))))
        with open("/dev/full", "wb") as full:
            self.assertEqual(self.clear("--yes", stdout=full)[0], 0)
        self.assertEqual(self.logs(), [])

    def testRunHasNoWorkingFolder(self):
        self.configure(clearable("a", files(self.log("a.log"))))
        self.environment["ZRN_LOGGING_OUTPUT"] = "STDOUT"
        output = self.clear("--yes")[1]
        self.assertNotIn("MERO_Temp_Bundle", output)
        self.assertNotIn("[ERROR]", output)


class Configurations(ClearTest):
    def testBadFileIsNamedAndTheOthersAreUsed(self):
        bad = self.write("install/xml/config/bad.xml", "<configure>")
        path = self.log("a.log")
        self.configure(clearable("a", files(path)))
        status, _, errors = self.clear("--yes")
        self.assertEqual(status, 0)
        self.assertTrue(errors.startswith("merocli: the configuration file '" + bad + "' can't be read"), errors)
        self.assertEqual(self.logs(), [])

    def testFolderWithoutAGoodFileIsAFailure(self):
        expected = ("merocli: nothing was deleted: no configuration file in '" + self.path("install/xml/config/") +
                    "' offers an item; name the folder that holds xml/config/ with --install-dir\n")
        self.assertEqual(self.clear("--yes"), (1, "", expected))
        self.write("install/xml/config/bad.xml", "<configure>")
        status, output, errors = self.clear("--yes")
        self.assertEqual((status, output), (1, ""))
        self.assertTrue(errors.endswith(expected), errors)

    def testOptionsOfOtherCommandsAreUnknown(self):
        for option in ("--only", "--request", "--target", "--include-legacy", "--json", "-y"):
            self.assert_usage_error("clear", option, "x", naming=option, command="clear")


if __name__ == "__main__":
    unittest.main()
