"""The program under a compositor of Wayland, without an X server."""

import os
import re
import subprocess
import unittest

from wizard_program import JobTest

SOCKET = "mero-wayland"


class WaylandWalk(JobTest):
    """A typical walk. There is no keyboard and no mouse: screen readers need none."""

    def setUp(self):
        super().setUp()
        self.start_compositor()
        # GTK complains by itself about the keyboard and the mouse that are missing; see expect_no_other_complaints.
        self.environment.update(WAYLAND_DISPLAY=SOCKET, GDK_BACKEND="wayland", G_DEBUG="")
        del self.environment["DISPLAY"]

    def start_compositor(self):
        # The long name of the back end is what all its versions know.
        with open(self.path("compositor"), "w", encoding="utf-8") as log:
            self.compositor = subprocess.Popen(
                ["weston", "--backend=headless-backend.so", "--no-config", "--idle-time=0",
                 "--socket=" + SOCKET], stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT)
        self.addCleanup(self.compositor.wait)
        self.addCleanup(self.compositor.terminate)
        socket = os.path.join(os.environ["XDG_RUNTIME_DIR"], SOCKET)
        self.wait_for(lambda: os.path.exists(socket), "compositor")

    def read_log(self):
        logs = ""
        for name in ("compositor", "log"):
            if os.path.exists(self.path(name)):
                with open(self.path(name), encoding="utf-8") as file:
                    logs += file.read()
        return logs

    def testMakesABundle(self):
        self.walk_to_the_encryption_page()
        self.start_the_job()
        self.find("label", "Bundle Creation Result")
        self.bundle()
        self.finish()
        self.expect_no_other_complaints()

    def expect_no_other_complaints(self):
        complaints = re.findall(r"^.*-(?:CRITICAL|WARNING) \*\*: .*$", self.read_log(), re.MULTILINE)
        self.assertEqual([line for line in complaints
                          if "GDK_IS_SEAT (seat)" not in line and "GDK_IS_DEVICE (device)" not in line], [])


if __name__ == "__main__":
    unittest.main()
