"""The line on the terminal that tells how far a job of merocli is."""

import fcntl
import os
import pty
import re
import struct
import subprocess
import termios
import time
import unittest

from console import JobTest

from configurations import configuration, files, group, item, tool

WAITING = """#!/bin/sh
while [ ! -e '%s' ]; do sleep 0.05; done
"""
TO_ITS_END = "\x1b[K"
# Until the line begins, a job may last so long.
MOMENT_SECONDS = 0.5


class ProgressOnATerminal(JobTest):
    def setUp(self):
        super().setUp()
        self.go = self.path("go")
        waiting = self.write("waiting", WAITING % self.go)
        os.chmod(waiting, 0o755)
        log = self.write("logs/first.log", "x" * 2500)
        self.write("install/xml/config/sample.xml", configuration(
            group("Sample", "Sample", item("first", "first", "true", "The first log", instructions=files(log)),
                  item("tool", "tool", "true", "The slow tool", instructions=tool(waiting)), folder=self.group)))

    def begin(self, *arguments, columns=80, term="xterm", **options):
        """Starts a job that waits for its file, with standard error on a terminal."""
        controller, terminal = pty.openpty()
        self.addCleanup(os.close, controller)
        fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        environment = {key: value for key, value in {**self.environment, "TERM": term}.items() if value is not None}
        process = self.start("collect", "--install-dir", self.install, "--target", "a.zip", *arguments,
                             stderr=terminal, env=environment, **options)
        os.close(terminal)
        return controller, process

    @staticmethod
    def read_until(controller, text):
        said = ""
        while text not in said:
            said += os.read(controller, 4096).decode()
        return said

    def finish(self, controller, process):
        """Lets the job end. What the terminal got from then on, and standard output."""
        open(self.go, "w").close()
        said = ""
        try:
            while part := os.read(controller, 4096).decode():
                said += part
        except OSError:  # nobody has the terminal any more
            pass
        output = process.stdout.read().decode() if process.stdout else ""
        self.assertEqual(process.wait(), 0, said)
        return said, output

    def quiet_until_the_end(self, *arguments, **options):
        """What the terminal got of a job that takes longer than it takes to begin the line."""
        controller, process = self.begin(*arguments, **options)
        with self.assertRaises(subprocess.TimeoutExpired):
            process.wait(1)
        return self.finish(controller, process)

    def testTellsTheStepAndWhatWasCopied(self):
        controller, process = self.begin()
        self.assertIn("\rProcessing The slow tool... 2.5 kB, 1 file" + TO_ITS_END,
                      self.read_until(controller, "1 file" + TO_ITS_END))
        said, output = self.finish(controller, process)
        # It has gone before anything else is said.
        self.assertTrue(said.endswith("\r" + TO_ITS_END + "Bundle: " + self.path("a.zip") + "\r\n"), said)
        self.assertNotIn(TO_ITS_END, output)
        self.assertRegex(output, r"\A(?:\r.{90} [ \d]{3}%)+\r\n\r\n\Z")

    def testNeverGoesOverItsEnd(self):
        for columns in (79, 30, 18, 5):
            with self.subTest(columns=columns):
                controller, process = self.begin(columns=columns)
                said = self.read_until(controller, TO_ITS_END)
                said += self.finish(controller, process)[0]
                lines = re.findall(r"\r([^\r]*?)" + re.escape(TO_ITS_END), said)
                self.assertTrue(lines[0])
                self.assertLess(max(map(len, lines)), columns)
                os.remove(self.go)

    def testIsNotThereWhereItIsNotWanted(self):
        bundle = "Bundle: " + self.path("a.zip") + "\r\n"
        for arguments, options, expected in ((("--no-progress",), {}, bundle), ((), {"term": "dumb"}, bundle),
                                             ((), {"term": None}, bundle), (("--quiet",), {}, "")):
            with self.subTest(arguments=arguments, **options):
                self.assertEqual(self.quiet_until_the_end(*arguments, **options)[0], expected)
                os.remove(self.go)

    def testIsNotThereOfAShortJob(self):
        open(self.go, "w").close()
        for _ in range(50):
            start = time.monotonic()
            said = self.finish(*self.begin())[0]
            # On a machine that is busy a job may take longer than it takes to begin the line.
            if time.monotonic() - start < MOMENT_SECONDS:
                self.assertEqual(said, "Bundle: " + self.path("a.zip") + "\r\n")
                return
        self.fail("no job was over within a moment")

    def testIsNotThereInAPipe(self):
        open(self.go, "w").close()
        _, output, errors = self.collect("--target", "a.zip")
        self.assertEqual(errors, "Bundle: " + self.path("a.zip") + "\n")
        self.assertNotIn(TO_ITS_END, output)


class Quiet(JobTest):
    def testPrintsNothingOfAGoodJob(self):
        self.assertEqual(self.assert_collected("--quiet", "--target", "a.zip"), ("", ""))
        self.assertIn("usual.log", self.names("a.zip"))

    def testPrintsWhatWentWrong(self):
        status, output, errors = self.collect("--quiet", "--target", "a.zip", "--request", "missing.xml")
        self.assertEqual((status, output), (1, ""))
        self.assertTrue(errors.startswith("merocli: no bundle was made: the request file"), errors)


if __name__ == "__main__":
    unittest.main()
