"""The end of the program before its work is done: by its buttons, by its window's frame and by a logout."""

import ctypes
import glob
import os
import signal
import subprocess
import time
import unittest

from wizard_program import Atspi, JobTest

from configurations import group, item, tool
from lease import hold_lease


TITLE = "Varnel Corvane"
# What somebody who watches takes for at once, on a machine that is busy.
WINDOW_SECONDS = 3
# The window goes at once; the job has three seconds to end, and what is then done by force three more.
END_SECONDS = 8
# For a button to be found and pressed meanwhile.
SLOW_OPEN_SECONDS = 6
SLOW_FILE_BYTES = 3 * 1024 * 1024 * 1024
# A tool that is hard to end, with a child in a session of its own.
DEAF_TOOL = """#!/bin/sh
trap '' INT TERM HUP
echo $$ >>"%s"
if [ "$1" != child ]; then
    setsid "$0" child >/dev/null 2>&1 &
fi
while :; do sleep 1; done
"""


class ClientMessage(ctypes.Structure):
    """An event of the X protocol's library, padded to the size of the largest."""

    TYPE = 33
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("message", ctypes.c_ulong),
                ("format", ctypes.c_int), ("data", ctypes.c_long * 5), ("padding", ctypes.c_long * 12)]


class EndTest(JobTest):
    def windows(self):
        """The windows of the program that can be seen."""
        search = ["xdotool", "search", "--onlyvisible", "--name", TITLE]
        found = subprocess.run(search, capture_output=True, check=False, text=True)
        # A window that goes while it is looked at, such as a dialog's, ends the search.
        while "BadWindow" in found.stderr:
            found = subprocess.run(search, capture_output=True, check=False, text=True)
        return [int(window) for window in found.stdout.split()]

    def close_window(self):
        """Asks the window to close, as the button in its frame does. Here is no window manager that would have one."""
        x11 = ctypes.CDLL("libX11.so.6")
        x11.XOpenDisplay.restype = ctypes.c_void_p
        x11.XInternAtom.restype = ctypes.c_ulong
        display = ctypes.c_void_p(x11.XOpenDisplay(None))
        atoms = [x11.XInternAtom(display, name, False) for name in (b"WM_PROTOCOLS", b"WM_DELETE_WINDOW")]
        window = self.windows()[0]
        event = ClientMessage(type=ClientMessage.TYPE, window=window, message=atoms[0], format=32)
        event.data[0] = atoms[1]
        x11.XSendEvent(display, ctypes.c_ulong(window), False, ctypes.c_long(0), ctypes.byref(event))
        x11.XCloseDisplay(display)

    def log_out(self):
        self.process.send_signal(signal.SIGTERM)

    def cancel(self):
        self.press("Cancel")

    def expect_end(self, ask):
        """Asks for the end: the window goes at once and the program soon."""
        start = time.monotonic()
        ask()
        self.wait_for(lambda: not self.windows(), "end of the window")
        self.assertLess(time.monotonic() - start, WINDOW_SECONDS)
        self.wait_for_exit()
        self.assertLess(time.monotonic() - start, END_SECONDS, self.read_log())
        self.assertNotIn("Sanitizer", self.read_log())


class EndOfTheProgram(EndTest):
    def testByItsWindowsFrame(self):
        self.start()
        self.find("label", "Meroscope (MERO)")
        self.expect_end(self.close_window)

    def walk_to_the_target_page(self):
        self.start()
        self.find("label", "Meroscope (MERO)")
        self.press("Next")
        self.press("Custom", "radio button")
        self.press("Next")
        self.find("label", "File Selection")
        self.press("Next")
        self.find("label", "Target Bundle Location and Comments")

    def testByALogoutWhileTheTargetIsChosen(self):
        # GIO's threads still list a folder for the chooser when the program ends, and what they hold counts as leaked.
        self.environment["ASAN_OPTIONS"] = os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0"
        self.walk_to_the_target_page()
        self.click(self.find("push button", "Browse..."))
        self.find("text", "Name:")
        self.expect_end(self.log_out)


class EndOfTheProgramDuringAScan(EndTest):
    """The configuration lies on something slow, so that the opening of its file takes seconds."""

    def setUp(self):
        super().setUp()
        file = self.write("programs/xml/config/sample.xml", "<configure><title>Sample</title></configure>")
        # The leak check can't look at a process that is traced.
        self.environment["ASAN_OPTIONS"] = self.environment.get("ASAN_OPTIONS", "") + ":detect_leaks=0"
        self.start("strace", "-D", "-f", "-qqq", "-o", "/dev/null", "-P", file,
                   "-e", "inject=openat:delay_enter=%d" % (SLOW_OPEN_SECONDS * 1000000))
        self.find("label", "Meroscope (MERO)")
        self.press("Next")
        self.press("Custom", "radio button")
        self.press("Next")
        self.find("label", "File Selection")

    def is_scanning(self):
        next_button = self.find("push button", "Next")
        return not next_button.get_state_set().contains(Atspi.StateType.SENSITIVE)

    def testByCancel(self):
        self.assertTrue(self.is_scanning())
        self.expect_end(self.cancel)

    def testByALogout(self):
        self.assertTrue(self.is_scanning())
        self.expect_end(self.log_out)


class EndDuringAJobTest(EndTest):
    """Of which nothing is left."""

    def expect_tidy_end(self, ask):
        self.expect_end(ask)
        self.assertEqual(glob.glob("/tmp/MERO_Temp_Bundle*/" + self.group), [])
        self.assertEqual(os.listdir(self.path("home", "Desktop")), [])


class EndOfTheProgramDuringAJob(EndDuringAJobTest):
    """A file with a hole of gigabytes keeps the job busy for as long as the test looks at it."""

    def setUp(self):
        super().setUp()
        with open(self.sample, "wb") as file:
            file.truncate(SLOW_FILE_BYTES)
        self.walk_to_the_encryption_page()
        self.start_the_job()
        steps = {"Processing The sample...", "Zipping the bundle, please wait..."}
        self.wait_for(lambda: any(widget.get_name() in steps for widget in self.widgets()), "job under way")

    def testByCancelIsSoon(self):
        self.expect_tidy_end(self.cancel)


class EndOfTheProgramDuringAJobThatHearsNothing(EndDuringAJobTest):
    """Somebody holds on to the file that it wants to read."""

    def setUp(self):
        super().setUp()
        is_wanted = hold_lease(self, self.sample)
        self.walk_to_the_encryption_page()
        self.start_the_job()
        self.wait_for(is_wanted, "job under way")

    def testByALogoutIsSoon(self):
        self.expect_tidy_end(self.log_out)


class EndOfTheProgramDuringATool(EndDuringAJobTest):
    """The tool ignores signals, and so does what it has started."""

    def setUp(self):
        super().setUp()
        self.pids = self.path("pids")
        deaf = self.write("deaf", DEAF_TOOL % self.pids)
        os.chmod(deaf, 0o755)
        self.configure(group("Tool", "Tool", item("tool", "tool", "true", "The tool", instructions=tool(deaf)),
                             folder=self.group))
        self.walk_to_the_encryption_page()
        self.start_the_job()
        self.wait_for(self.tool_pids, "tool under way")

    def tool_pids(self):
        if not os.path.exists(self.pids):
            return None
        with open(self.pids, encoding="ascii") as file:
            lines = file.read().splitlines()
        return [int(line) for line in lines] if len(lines) == 2 else None

    def expect_end_with_the_tool(self, ask):
        self.expect_tidy_end(ask)
        self.assertEqual([pid for pid in self.tool_pids() if os.path.exists("/proc/%d" % pid)], [])

    def testByCancelLeavesNothing(self):
        self.expect_end_with_the_tool(self.cancel)

    def testByItsWindowsFrameLeavesNothing(self):
        self.expect_end_with_the_tool(self.close_window)

    def testByALogoutLeavesNothing(self):
        self.expect_end_with_the_tool(self.log_out)


if __name__ == "__main__":
    unittest.main()
