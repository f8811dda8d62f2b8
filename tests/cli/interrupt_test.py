"""merocli collect that is interrupted: how it dies, and that nothing of the run is left, neither processes nor files."""

import glob
import os
import shutil
import signal
import subprocess
import time
import unittest

from console import WAIT_SECONDS, JobTest, wait_until

from configurations import configuration, group, item, tool
from lease import hold_lease

# What a run may take to end its tools and to remove its files.
END_SECONDS = 20
HUGE_BYTES = 1 << 40
# Long enough to be seen while it is packed.
PACKED_BYTES = 600 << 20
WORKING_FOLDERS = "/tmp/MERO_Temp_Bundle*"
# A tool that is hard to end, with a child in a session of its own.
DEAF = """#!/bin/sh
trap '' INT TERM HUP
if [ "$1" = child ]; then
    echo $$ >>"{pids}"
    while :; do sleep 1; done
fi
setsid "$0" child >/dev/null 2>&1 &
echo $$ >>"{pids}"
while :; do sleep 1; done
"""


def is_running(pid):
    try:
        with open("/proc/%d/stat" % pid, encoding="ascii") as file:
            return file.read().rsplit(")", 1)[1].split()[0] not in "ZX"
    except FileNotFoundError:
        return False


def leavings():
    return {path for pattern in (WORKING_FOLDERS, "/tmp/merocli_request_*", "/tmp/BundleRequest_*")
            for path in glob.glob(pattern)}


class InterruptedJobTest(JobTest):
    def setUp(self):
        super().setUp()
        self.before = leavings()
        self.target = self.path("out.zip")
        self.write("password", "secret\n")

    def configure(self, *items):
        self.write("install/xml/config/sample.xml", configuration(group("Root", "Group", *items, folder=self.group)))

    def write_huge_file(self, size=HUGE_BYTES):
        path = self.write("huge.log", "")
        os.truncate(path, size)
        self.configure(item("a", default="true", path=path))

    def write_deaf_tool(self):
        self.pids = self.path("pids")
        deaf = self.write("deaf", DEAF.format(pids=self.pids))
        os.chmod(deaf, 0o755)
        self.configure(item("a", "a", "true", "a", instructions=tool(deaf)))

    def deaf_pids(self):
        """The two processes of the tool, once both are there."""
        if not os.path.exists(self.pids):
            return None
        with open(self.pids, encoding="ascii") as file:
            lines = file.read().splitlines()
        return [int(line) for line in lines] if len(lines) == 2 else None

    def start_run(self, *arguments, **options):
        return self.start("collect", "--install-dir", self.install, "--target", self.target, *arguments, **options)

    def bytes_copied(self):
        total = 0
        for folder in set(glob.glob(WORKING_FOLDERS)) - self.before:
            for root, _, names in os.walk(folder):
                for name in names:
                    try:
                        total += os.stat(os.path.join(root, name)).st_size
                    except FileNotFoundError:
                        pass
        return total

    def expect_death(self, process, number):
        """Sends the signal; the process dies by it soon and leaves nothing."""
        process.send_signal(number)
        start = time.monotonic()
        errors = process.communicate(timeout=WAIT_SECONDS)[1].decode()
        self.assertEqual(process.returncode, -number, errors)
        self.assertLess(time.monotonic() - start, END_SECONDS)
        self.expect_nothing_left()
        return errors

    def expect_nothing_left(self):
        self.assertEqual(leavings() - self.before, set())
        self.assertEqual([name for name in os.listdir(self.folder) if ".zip" in name], [])

    WAYS = ((), ("--password-file", "password"), ("--only", "a"), ("--only", "a", "--password-file", "password"))
    SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGINT)

    def in_each_way(self, is_reached):
        """A run that has come to a stage, and the signal for it; one after the other."""
        for arguments, number in zip(self.WAYS, self.SIGNALS):
            process = self.start_run(*arguments)
            wait_until(lambda: is_reached(process))
            yield process, number

    @staticmethod
    def is_set_up(process):
        """Whether the program has come to where it minds signals."""
        with open("/proc/%d/status" % process.pid, encoding="ascii") as file:
            caught = next(line for line in file if line.startswith("SigCgt"))
        return int(caught.split()[1], 16) & (1 << (signal.SIGTERM - 1)) != 0


class Interrupted(InterruptedJobTest):
    def testWhileItReadsTheConfiguration(self):
        items = "".join(item("a%d" % index, default="true") for index in range(6000))
        self.configure(items, item("a", default="true"))
        for process, number in self.in_each_way(self.is_set_up):
            self.expect_death(process, number)

    def testWhileItCopies(self):
        self.write_huge_file()
        for process, number in self.in_each_way(lambda _: self.bytes_copied() > 0):
            self.assertIn("interrupted", self.expect_death(process, number))

    def testWhileAToolRunsThatIgnoresSignals(self):
        self.write_deaf_tool()
        for process, number in self.in_each_way(lambda _: self.deaf_pids()):
            pids = self.deaf_pids()
            self.expect_death(process, number)
            self.assertEqual([pid for pid in pids if is_running(pid)], [])
            os.remove(self.pids)

    def testWhileItPacks(self):
        self.write_huge_file(PACKED_BYTES)
        for process, number in self.in_each_way(lambda process: b"Zipping" in os.read(process.stdout.fileno(), 4096)):
            self.expect_death(process, number)

    def testWhileItWaitsForAPassword(self):
        os.mkfifo(self.path("pipe"))
        for source, options in (("-", {"stdin": subprocess.PIPE}), (self.path("pipe"), {})):
            with self.subTest(source):
                process = self.start_run("--password-file", source, **options)
                wait_until(lambda: self.is_set_up(process))
                self.assertEqual(self.expect_death(process, signal.SIGTERM), "")

    def testWhileItWaitsForAFileThatNobodyGivesUp(self):
        """The collection hears nothing, and is ended by force before the file could be had."""
        file = self.write("held.log", "held")
        self.configure(item("a", default="true", path=file))
        is_wanted = hold_lease(self, file)
        process = self.start_run(program=os.environ["CONSOLE_WITH_SHORT_PATIENCE"])
        wait_until(is_wanted)
        self.expect_death(process, signal.SIGTERM)

    def testByASecondSignalDiesAtOnce(self):
        self.write_deaf_tool()
        process = self.start_run()
        pids = wait_until(self.deaf_pids)
        os.kill(process.pid, signal.SIGINT)
        os.kill(process.pid, signal.SIGTERM)
        process.wait(timeout=WAIT_SECONDS)  # the tool may hold the pipes for longer
        self.assertIn(process.returncode, (-signal.SIGINT, -signal.SIGTERM))
        for pid in pids:
            if is_running(pid):
                os.kill(pid, signal.SIGKILL)
        for folder in set(glob.glob(WORKING_FOLDERS)) - self.before:
            shutil.rmtree(folder)

    def testByNoSignalThatItWasToldToIgnore(self):
        self.write_deaf_tool()
        process = self.start_run(preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        pids = wait_until(self.deaf_pids)
        process.send_signal(signal.SIGHUP)
        os.kill(pids[0], signal.SIGKILL)
        os.kill(pids[1], signal.SIGKILL)
        process.communicate(timeout=WAIT_SECONDS)
        self.assertEqual(process.returncode, 0)
        self.assertTrue(os.path.exists(self.target))


class Leavings(InterruptedJobTest):
    """Runs that end by themselves. The folder of the group is a sub-folder of the working folder."""

    def testAreRemovedAfterABundle(self):
        self.assert_collected("--target", self.target)
        self.assertEqual(leavings() - self.before, set())

    def testAreRemovedAfterAFailure(self):
        self.write("request", "no request")
        self.assertEqual(self.collect("--request", "request", "--target", self.target)[0], 1)
        # As many bad files as good ones end a run behind the collection.
        self.write("install/xml/config/broken.xml", "<")
        self.assertEqual(self.collect("--target", self.target)[0], 1)
        self.assertEqual(leavings() - self.before, set())

    def testAreKeptForWhoAsksForThem(self):
        errors = self.assert_collected("--target", self.target, "--keep-working-folder")[1]
        kept = [line for line in errors.splitlines() if line.startswith("Working folder: ")]
        self.assertEqual(len(kept), 1, errors)
        folder = kept[0].removeprefix("Working folder: ")
        self.addCleanup(shutil.rmtree, folder, ignore_errors=True)
        self.assertEqual(leavings() - self.before, {folder})
        self.assertEqual(sorted(os.listdir(folder)), sorted([self.group, "summary.txt"]))
        self.assertIn("usual.log", os.listdir(os.path.join(folder, self.group)))

    def testOfTwoRunsAreEachOnesOwn(self):
        first = self.assert_collected("--target", self.target, "--keep-working-folder")[1]
        folder = next(line for line in first.splitlines() if line.startswith("Working folder: ")).split(": ", 1)[1]
        self.addCleanup(shutil.rmtree, folder, ignore_errors=True)
        self.assert_collected("--target", self.path("other.zip"))
        self.assertEqual(leavings() - self.before, {folder})


if __name__ == "__main__":
    unittest.main()
