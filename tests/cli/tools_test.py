"""Tools: the script that they are run through, and their output in the bundles of merocli."""

import os
import re
import shutil
import signal
import stat
import subprocess
import time
import unittest
import zipfile
from xml.sax.saxutils import escape

from console import MEROCLI, ConsoleTest, JobTest

from configurations import configuration, group, item

SCRIPT = os.path.join(os.environ["MERO_SOURCE_DIR"], "data/plugin/tool-output")
ASTERISKS = b"*" * 75
WAIT_SECONDS = 60


def missing(name):
    return "The program '%s' is not installed on this computer, so there is nothing to show here.\n" % name


def failed(name, status):
    return "[The program '%s' has failed, with exit status %d.]\n" % (name, status)


def ended(name, seconds):
    return "[The program '%s' was ended because it took longer than %d seconds.]\n" % (name, seconds)


def killed(name, seconds):
    return "[The program '%s' was killed. It may have taken longer than %d seconds.]\n" % (name, seconds)


def cut(name, count):
    return "[The output of '%s' was cut here: only the first %d bytes are kept.]\n" % (name, count)


def beginning_cut(name, count):
    return "[The beginning of the output of '%s' was cut: only the last %d bytes are kept.]\n" % (name, count)


class ScriptTest(ConsoleTest):
    def run_script(self, *arguments, script=(SCRIPT,), input=b"", **options):
        """What the script prints; its status is 0 and its standard error empty."""
        done = subprocess.run([*script, *arguments], cwd=self.folder, env=self.environment, input=input,
                              capture_output=True, timeout=WAIT_SECONDS, **options)
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        return done.stdout

    def program(self, name, text):
        """A program of the test."""
        path = self.write(name, "#!/bin/sh\n" + text + "\n")
        os.chmod(path, 0o755)
        return path


class ToolScript(ScriptTest):
    """The script alone."""

    def testPrintsWhatTheProgramPrints(self):
        self.assertEqual(self.run_script("echo", "hello"), b"hello\n")

    def testBytesPassUnchanged(self):
        for content in (bytes(range(256)), b"\0", b"\0\0\n", b"\xff" * 70000, b"\\n%s\\c", b"no line end", b"\n\n\n",
                        os.urandom(300000)):
            path = self.write("content", content)
            self.assertEqual(self.run_script("cat", path), content)

    def testStandardErrorStandsInBetween(self):
        path = self.program("both", "echo one; echo two >&2; echo three")
        self.assertEqual(self.run_script(path), b"one\ntwo\nthree\n")

    def testArgumentsArriveAsTheyAre(self):
        arguments = ["a b", "", "*", "$HOME", "'", '"', "\\", "-t", "--", "a\nb", "größe"]
        output = self.run_script("printf", "<%s>", *arguments)
        self.assertEqual(output.decode(), "".join("<%s>" % argument for argument in arguments))

    def testMissingProgramIsToldInWords(self):
        for name in ("no-such-program", "/no/such/program", "no such", "-x"):
            self.assertEqual(self.run_script("--", name, "argument").decode(), missing(name))

    def testProgramThatMayNotBeRunIsTold(self):
        path = self.write("plain", "#!/bin/sh\necho never\n")
        output = self.run_script(path).decode()
        self.assertNotIn("never\n", output)
        self.assertRegex(output, "is not installed on this computer|has failed, with exit status 126")

    def testFailureIsToldBehindTheOutput(self):
        path = self.program("fail", "echo before; exit 3")
        self.assertEqual(self.run_script(path).decode(), "before\n\n" + failed(path, 3))

    def testFailureStandsOnALineOfItsOwn(self):
        path = self.program("fail", "printf before; exit 3")
        self.assertEqual(self.run_script(path).decode(), "before\n" + failed(path, 3))

    def testFailureWithoutOutputIsTold(self):
        self.assertEqual(self.run_script("false").decode(), "\n" + failed("false", 1))

    def testNothingPrintedIsTold(self):
        self.assertEqual(self.run_script("true"), b"[The program 'true' has printed nothing.]\n")

    def testProgramThatCrashesIsTold(self):
        path = self.program("crash", "ulimit -c 0; kill -s SEGV $$")
        self.assertEqual(self.run_script(path).decode(), "\n" + failed(path, 128 + signal.SIGSEGV))

    def testHangingProgramIsEndedAtTheLimit(self):
        path = self.program("hang", "echo before; exec sleep 1000")
        self.assertEqual(self.run_script("-t", "2", path).decode(), "before\n\n" + ended(path, 2))

    def testHangingProgramThatDoesNotWantToEndIsKilled(self):
        path = self.program("hang", "trap '' TERM; echo before; while :; do sleep 1000; done")
        self.assertEqual(self.run_script("-t", "2", path).decode(), "before\n\n" + killed(path, 2))

    def testSilentHangingProgramIsEndedToo(self):
        self.assertEqual(self.run_script("-t", "1", "sleep", "1000").decode(), "\n" + ended("sleep", 1))

    def testEndlessOutputIsCut(self):
        self.assertEqual(self.run_script("-b", "10", "yes").decode(), "y\n" * 5 + "\n" + cut("yes", 10))

    def testOutputIsCutAtFourMebibytes(self):
        output = self.run_script("cat", "/dev/zero")
        self.assertEqual(output.count(b"\0"), 4194304)
        self.assertEqual(output[4194304:].decode(), "\n" + cut("cat", 4194304))

    def testEndlessOutputOfAProgramThatIgnoresTheCutIsEnded(self):
        path = self.program("stubborn", "trap '' TERM PIPE; while :; do echo x; done 2>/dev/null")
        self.assertEqual(self.run_script("-t", "1", "-b", "2", path).decode(),
                         "x\n\n" + cut(path, 2) + "\n" + killed(path, 1))

    def testOutputOfJustTheLimitIsWhole(self):
        for count in (1, 2, 4096, 65536, 70000):
            path = self.write("content", b"x" * count)
            self.assertEqual(self.run_script("-b", str(count), "cat", path), b"x" * count)
            self.write("content", b"x" * (count + 1))
            self.assertEqual(self.run_script("-b", str(count), "cat", path).decode(),
                             "x" * count + "\n" + cut("cat", count))

    def testCutOutputOfAFailingProgramIsOnlyCut(self):
        path = self.program("fail", "echo 123456789; exit 5")
        self.assertEqual(self.run_script("-b", "4", path).decode(), "1234\n" + cut(path, 4))

    def testTheEndOfALongOutputIsKept(self):
        for count in (1, 2, 4096, 65536, 70000):
            content = os.urandom(count)
            path = self.write("content", content)
            self.assertEqual(self.run_script("-e", "-b", str(count), "cat", path), content)
            self.write("content", b"x" + content)
            self.assertEqual(self.run_script("-e", "-b", str(count), "cat", path),
                             content + b"\n" + beginning_cut("cat", count).encode())

    def testEndOfAnEndlessOutputIsKept(self):
        self.assertEqual(self.run_script("-e", "-t", "1", "-b", "4", "yes").decode(),
                         "y\ny\n\n" + beginning_cut("yes", 4) + "\n" + ended("yes", 1))

    def testEndOfNothingIsTold(self):
        self.assertEqual(self.run_script("-e", "true"), b"[The program 'true' has printed nothing.]\n")

    def testFailureIsToldBehindAnEndThatIsKept(self):
        path = self.program("fail", "echo 123456789; exit 5")
        self.assertEqual(self.run_script("-e", "-b", "4", path).decode(),
                         "789\n\n" + beginning_cut(path, 4) + "\n" + failed(path, 5))

    def testNamedStatusIsNoFailure(self):
        path = self.program("none", "echo none; exit 3")
        for options in (("-s", "3"), ("-s", "1,3"), ("-s", "1", "-s", "3"), ("-e", "-s", "3,1")):
            self.assertEqual(self.run_script(*options, path), b"none\n", options)
        for status in ("1", "33", "30", "13,31"):
            self.assertEqual(self.run_script("-s", status, path).decode(), "none\n\n" + failed(path, 3))

    def testNamedStatusWithoutOutputIsTold(self):
        self.assertEqual(self.run_script("-s", "1", "false"), b"[The program 'false' has printed nothing.]\n")

    def testNamedStatusDoesNotHideAnEnd(self):
        self.assertEqual(self.run_script("-s", "1", "-t", "1", "sleep", "1000").decode(), "\n" + ended("sleep", 1))

    def testStandardInputIsEmpty(self):
        path = self.program("ask", "cat; echo end")
        self.assertEqual(self.run_script(path, input=b"secret"), b"end\n")

    def testProgramHasNoOtherDescriptors(self):
        listing = self.run_script("ls", "/proc/self/fd").split()
        self.assertEqual(listing[:3], [b"0", b"1", b"2"])
        self.assertLessEqual(len(listing), 4)  # the folder itself

    def testProgramSpeaksEnglish(self):
        self.environment.update(LC_ALL="de_DE.UTF-8", LANG="fr_FR.UTF-8")
        path = self.program("locale", 'echo "$LC_ALL"')
        self.assertEqual(self.run_script(path), b"C\n")

    def testProgramHasNoHome(self):
        names = ["XDG_%s_HOME" % kind for kind in ("CONFIG", "CACHE", "DATA", "STATE")]
        self.environment.update({name: self.folder for name in ["HOME", *names]})
        path = self.program("home", 'mkdir -p "$HOME/x" 2>/dev/null; echo "$HOME %s"' %
                            " ".join("${%s-none}" % name for name in names))
        self.assertEqual(self.run_script(path), b"/dev/null none none none none\n")
        self.assertEqual(os.listdir(self.folder), ["home"])

    def testPathOfTheCallerPlaysNoPart(self):
        self.program("own/echo", "exec /bin/echo wrong")
        self.program("own/only-here", "echo wrong")
        self.environment["PATH"] = self.path("own") + ":" + os.environ["PATH"]
        self.assertEqual(self.run_script("echo", "right"), b"right\n")
        self.assertEqual(self.run_script("only-here").decode(), missing("only-here"))
        del self.environment["PATH"]
        self.assertEqual(self.run_script("echo", "right", script=("/bin/sh", SCRIPT)), b"right\n")

    def testProgramsOfTheAdministratorAreFound(self):
        with open(SCRIPT) as file:
            path = re.search(r"(?m)^PATH=(.*)$", file.read()).group(1)
        self.assertLessEqual({"/usr/sbin", "/sbin", "/usr/bin", "/bin"}, set(path.split(":")))

    def testWhatIsLeftRunningIsEnded(self):
        path = self.program("leave", "sleep 1000 & echo $!")
        output = self.run_script(path)
        pid = int(output)
        end = time.monotonic() + WAIT_SECONDS
        while self.runs(pid):
            self.assertLess(time.monotonic(), end)
            time.sleep(0.01)

    @staticmethod
    def runs(pid):
        try:
            with open("/proc/%d/stat" % pid) as file:
                return file.read().rsplit(")", 1)[1].split()[0] != "Z"
        except FileNotFoundError:
            return False

    def testWhatHasLeftTheGroupHoldsNobodyUp(self):
        os.mkfifo(self.path("pipe"))
        path = self.program(
            "leave", "setsid sh -c 'echo $$ >pipe; exec sleep 1000' & read -r pid <pipe; echo $pid; echo rest")
        pid, rest = self.run_script("-t", "1", path).split()
        os.kill(int(pid), signal.SIGKILL)
        self.assertEqual(rest, b"rest")

    def testWrongArgumentsAreToldOnStandardError(self):
        for arguments in ((), ("",), ("-x",), ("-t",), ("-b",), ("-t", "1"), ("-t", "0", "ls"), ("-t", "-1", "ls"),
                          ("-t", "x", "ls"), ("-t", "", "ls"), ("-t", "1.5", "ls"), ("-b", "0", "ls"), ("-b", "4k", "ls"),
                          ("-b", "1234567890", "ls"), ("--help",), ("-s",), ("-s", "1"), ("-s", "", "ls"), ("-s", "1,", "ls"),
                          ("-s", ",1", "ls"), ("-s", "1,,2", "ls"), ("-s", "x", "ls"), ("-s", "-1", "ls"), ("-e",)):
            done = subprocess.run([SCRIPT, *arguments], stdin=subprocess.DEVNULL, capture_output=True)
            self.assertEqual((done.returncode, done.stdout), (2, b""), arguments)
            self.assertEqual(done.stderr, b"usage: tool-output [-t SECONDS] [-b BYTES] [-e] [-s STATUS[,STATUS...]] "
                                          b"PROGRAM [ARGUMENT...]\n")

    def testLeavesNothingInTheCurrentFolder(self):
        self.run_script("echo", "x")
        self.run_script("-b", "1", "yes")
        self.assertEqual(os.listdir(self.folder), [])

    def testWorksInEveryShell(self):
        shells = [shell for shell in (["dash"], ["bash"], ["bash", "--posix"], ["busybox", "sh"], ["ksh"])
                  if shutil.which(shell[0])]
        self.assertTrue(shells)
        path = self.program("fail", "printf '\\001\\377'; exit 3")
        for shell in shells:
            self.assertEqual(self.run_script(path, script=(*shell, SCRIPT)),
                             b"\001\377\n" + failed(path, 3).encode(), shell)
            self.assertEqual(self.run_script("-t", "1", "sleep", "1000", script=(*shell, SCRIPT)).decode(),
                             "\n" + ended("sleep", 1), shell)
            self.assertEqual(self.run_script("-b", "2", "yes", script=(*shell, SCRIPT)).decode(),
                             "y\n\n" + cut("yes", 2), shell)
            self.assertEqual(self.run_script("-e", "-b", "3", "-s", "3", path, script=(*shell, SCRIPT)), b"\001\377", shell)
            self.assertEqual(self.run_script("-e", "-b", "2", "seq", "3", script=(*shell, SCRIPT)).decode(),
                             "3\n\n" + beginning_cut("seq", 2), shell)
            self.assertEqual(self.run_script("none", script=(*shell, SCRIPT)).decode(), missing("none"), shell)

    def testWithoutTheTimeoutProgramThereIsNoLimitOfTime(self):
        os.makedirs(self.path("bin"))
        for name in ("sh", "cat", "echo", "yes", "head", "dd", "od", "tr", "false", "tail", "tee", "wc"):
            os.symlink(shutil.which(name), self.path("bin", name))
        with open(SCRIPT) as file:
            text = re.sub(r"(?m)^PATH=.*$", "PATH=" + self.path("bin"), file.read())
        script = self.write("script", text)
        for arguments, output in ((("echo", "x"), "x\n"), (("none",), missing("none")), (("timeout",), missing("timeout")),
                                  (("false",), "\n" + failed("false", 1)),
                                  (("-b", "4", "yes"), "y\ny\n\n" + cut("yes", 4)),
                                  (("-e", "-b", "2", "echo", "abc"), "c\n\n" + beginning_cut("echo", 2))):
            self.assertEqual(self.run_script(*arguments, script=("/bin/sh", script)).decode(), output)

    def testIsExecutableAndBesideThePrograms(self):
        copy = os.path.join(os.path.dirname(MEROCLI), "plugin/tool-output")
        for path in (SCRIPT, copy):
            self.assertEqual(stat.S_IMODE(os.stat(path).st_mode) & 0o555, 0o555, path)
        with open(SCRIPT) as source, open(copy) as file:
            self.assertEqual(source.read(), file.read())


class ToolJobTest(JobTest):
    """Jobs whose items are tools."""

    def tool(self, line, output="out.txt", plugin="<plugin/>"):
        return ("<action>%s<args>%s</args><stdout/><temp_out>%s</temp_out></action>"
                % (plugin, escape(line), output))

    def configure(self, *actions, default="true"):
        tools = item("tools", default=default, description="Tools",
                     instructions="<use_extern_action>%s</use_extern_action>" % "".join(actions))
        self.write("install/xml/config/sample.xml", configuration(group("Root", "Title", tools, folder=self.group)))

    def output(self, *arguments, name="out.txt", **options):
        """The output file in the bundle of a job that went well."""
        self.errors = self.assert_collected("--target", "a.zip", *arguments, **options)[1]
        with zipfile.ZipFile(self.path("a.zip")) as archive:
            self.summary = archive.read("summary.txt").decode()
            return archive.read(self.group + "/" + name)

    @staticmethod
    def banner(line):
        return b'\n\r' + ASTERISKS + b'\n"' + line.encode() + b'" output:\n' + ASTERISKS + b"\n\r\n"


class Tools(ToolJobTest):
    def testOutputIsInTheBundleBehindItsBanner(self):
        self.configure(self.tool("tool-output echo hello"))
        self.assertEqual(self.output(), self.banner("tool-output echo hello") + b"hello\n")
        self.assertEqual(self.errors, "Bundle: " + self.path("a.zip") + "\n")
        self.assertRegex(self.summary, r"\ntools +out\.txt +Tools ")

    def testSeveralToolsShareAFileInTheirOrder(self):
        lines = ["tool-output echo one", "tool-output no-such-program", "tool-output false", "tool-output echo two"]
        self.configure(*(self.tool(line) for line in lines))
        texts = ["one\n", missing("no-such-program"), "\n" + failed("false", 1), "two\n"]
        self.assertEqual(self.output(), b"".join(self.banner(line) + text.encode()
                                                 for line, text in zip(lines, texts)))
        self.assertEqual(self.summary.count("\ntools "), len(lines))

    def testFilesOfTheirOwn(self):
        self.configure(self.tool("tool-output echo one", "1.txt"), self.tool("tool-output echo two", "2.txt"))
        self.assertEqual(self.output(name="1.txt"), self.banner("tool-output echo one") + b"one\n")
        self.assertEqual(self.output(name="2.txt"), self.banner("tool-output echo two") + b"two\n")

    def testNamedItemHasTheSameFile(self):
        self.configure(self.tool("tool-output echo hello"), default="false")
        self.assertEqual(self.output("--only", "tools"), self.banner("tool-output echo hello") + b"hello\n")

    def testQuotesAreThoseOfTheShell(self):
        self.write("a.x", "")
        line = "tool-output printf '<%s>' 'a b' '*.x' \"c'd\""
        self.configure(self.tool(line))
        self.assertTrue(self.output().endswith(b"<a b><*.x><c'd>"))

    def testBinaryOutputIsWhole(self):
        content = os.urandom(100000)
        line = "tool-output cat " + self.write("content", content)
        self.configure(self.tool(line))
        self.assertEqual(self.output(), self.banner(line) + content)

    def testHangingToolHoldsTheJobUpNoLongerThanItsLimit(self):
        line = "tool-output -t 1 sleep 1000"
        self.configure(self.tool(line), self.tool("tool-output echo after"))
        self.assertEqual(self.output(), self.banner(line) + b"\n" + ended("sleep", 1).encode() +
                         self.banner("tool-output echo after") + b"after\n")

    def testEndlessOutputIsCut(self):
        self.configure(self.tool("tool-output -b 4 yes"))
        self.assertEqual(self.output(), self.banner("tool-output -b 4 yes") + b"y\ny\n\n" + cut("yes", 4).encode())

    def testToolThatReadsGetsNothingOfTheJobs(self):
        self.configure(self.tool("tool-output cat"))
        self.assertEqual(self.output(input=b"secret"), self.banner("tool-output cat") +
                         b"[The program 'cat' has printed nothing.]\n")

    def testScriptIsTheOneBesideTheProgram(self):
        program = shutil.copy(MEROCLI, self.install)
        os.makedirs(self.path("install/plugin"))
        script = self.write("install/plugin/tool-output", '#!/bin/sh\necho "own: $*"\n')
        os.chmod(script, 0o755)
        self.configure(self.tool("tool-output echo hello"))
        self.assertEqual(self.output(program=program), self.banner("tool-output echo hello") + b"own: echo hello\n")

    # The shell line takes the folder of the programs as it is.
    def testProgramsInAFolderWithABlankHaveNoTools(self):
        os.makedirs(self.path("in stall/plugin"))
        program = shutil.copy(MEROCLI, self.path("in stall"))
        shutil.copy(SCRIPT, self.path("in stall/plugin"))
        self.configure(self.tool("tool-output echo hello"))
        self.assertEqual(self.output(program=program), self.banner("tool-output echo hello"))


if __name__ == "__main__":
    unittest.main()
