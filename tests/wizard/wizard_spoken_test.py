"""Both walks by keyboard alone, as they are told by a screen reader: the scripts stand in the folder "spoken".

A script has what is pressed in lines that begin with ">", and below each what is said then, in that order:

window: a window that has the focus now; of a message its texts too
page:   a page that has come into view, with its leading text
focus:  what has the keyboard's focus now: name, kind, state, the key that presses it, and what describes it
row:    the row of the tree where the keyboard's place is now: its text, its check box, and whether it is open
now:    a change of what has the focus
alert:  a message in the window that has come into view
later:  what is announced at some time from then on, at most every five seconds
"""

import os
import re
import unittest

from screen_reader import ScreenReader
from wizard_program import Atspi, JobTest

from configurations import group, item, tool

SCRIPTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "spoken")
# Its texts change while they are looked at.
PAGE_IN_MOTION = "Bundle Creation Progress"
TOOL = """#!/bin/sh
while [ ! -e '%s' ]; do sleep 0.1; done
"""


def steps(name):
    """The presses of a script, each with the lines that are said then."""
    with open(os.path.join(SCRIPTS, name), encoding="utf-8") as file:
        # An indented line goes on with the one above it.
        text = re.sub(r"\n[ ]+", " ", file.read())
    found = []
    for line in text.split("\n"):
        if line.startswith("> "):
            found.append((line[2:], []))
        elif line and not line.startswith("#"):
            found[-1][1].append(line)
    return found


class SpokenWalk(JobTest):
    """A job of which one tool runs until it is let go on."""

    def setUp(self):
        super().setUp()
        program = self.write("tool", TOOL % self.path("go"))
        os.chmod(program, 0o755)
        disk, wire, radio = (item(name, name, default, "What %s says" % name, instructions=tool(program))
                             for name, default in (("disk", "false"), ("wire", "true"), ("radio", "false")))
        self.configure(group("Machine", "Disks", disk, folder=self.group),
                       group("Network", "Links", wire, radio, folder=self.group))
        self.seen = set()
        self.heard = 0

    def follow(self, script):
        for press, lines in steps(script):
            self.do(press, bool(lines))
            later = [line[len("later: "):] for line in lines if line.startswith("later: ")]
            lines = [line for line in lines if not line.startswith("later: ")]
            self.expect(press, lines, later)
            self.look_at_what_is_shown(lines)
        self.reader.listen()
        self.assertEqual(self.reader.said[self.heard:], [])
        said = "\n".join(self.reader.said + self.reader.announced)
        self.assertEqual([text for text in sorted(self.seen) if self.reader.plain(text) not in said], [],
                         "is shown, but never said")

    def do(self, press, is_answered):
        if press == "start":
            self.start()
            self.find("label", "Meroscope (MERO)")
            self.focus_window()
            window = self.wait_for(lambda: next(self.widgets(), None), "window")
            self.reader = ScreenReader(window, self.find("push button", "Next", Atspi.StateType.FOCUSED))
            self.addCleanup(self.reader.stop)
        # There is no window manager that would do it.
        elif press == "the warning gets the focus":
            self.find("push button", "OK")
            self.focus_window("Warning")
        elif press == "the job ends":
            self.write("go", "")
        elif press.startswith("type "):
            self.xdotool("type", press[len("type "):])
        elif press == "Return" or press.startswith("Alt+"):
            # These may come too soon behind a change.
            self.press_key(press.lower() if "+" in press else press,
                           self.is_answered if is_answered else self.has_ended, "answer to " + press)
        else:
            self.xdotool("key", press.replace("Space", "space"))

    def has_ended(self):
        return self.process.poll() is not None

    def is_answered(self):
        self.reader.listen()
        return len(self.reader.said) > self.heard

    def expect(self, press, lines, later):
        def is_heard():
            self.reader.listen()
            return self.reader.said[self.heard:] == lines and set(later) <= set(self.reader.announced)

        try:
            self.wait_for(is_heard, "words")
        except AssertionError:
            self.assertEqual(self.reader.said[self.heard:], lines, "behind " + press)
            self.assertLessEqual(set(later), set(self.reader.announced))
            raise
        self.heard += len(lines)

    def look_at_what_is_shown(self, lines):
        if any(line.startswith(("page: ", "alert: ")) and PAGE_IN_MOTION not in line for line in lines):
            self.seen |= {widget.get_name() for widget in self.widgets() if self.role(widget) == "label"}

    def testOfATypicalBundle(self):
        self.follow("typical.txt")
        self.wait_for_exit()
        self.assertEqual(len(os.listdir(self.path("home", "Desktop"))), 1)

    def testOfACustomBundle(self):
        self.follow("custom.txt")
        self.wait_for_exit()
        self.assertEqual(len(os.listdir(self.path("home", "Desktop"))), 1)


if __name__ == "__main__":
    unittest.main()
