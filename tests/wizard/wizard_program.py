"""Starts meroui in a private folder and drives its window as a screen reader does."""

import glob
import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

import gi

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
from configurations import configuration, group, item  # noqa: E402  (the folder has to be known first)

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402  (the version has to be chosen first)

MEROUI = os.environ["MEROUI"]
POLL_SECONDS = 0.05
# Longer than the wizard takes presses for those of the page before.
KEY_SECONDS = 1
LIMIT_SECONDS = 60


class WizardTest(unittest.TestCase):
    """A copy of the program with its resources, and a home with a desktop, in a private folder."""

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="meroui_test_")
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.program = self.path("programs", "meroui")
        os.makedirs(self.path("programs"))
        os.makedirs(self.path("home", "Desktop"))
        shutil.copy(MEROUI, self.program)
        shutil.copytree(os.path.join(os.path.dirname(MEROUI), "resources"), self.path("programs", "resources"))
        self.environment = dict(
            os.environ,
            HOME=self.path("home"),
            XDG_CONFIG_HOME=self.path("home", ".config"),
            ZRN_LOGGING_OUTPUT="STDOUT",
            LC_ALL="C.UTF-8",
            G_DEBUG="fatal-warnings",
        )

    def configure(self, *groups):
        self.write("programs/xml/config/sample.xml", configuration(*groups))

    def path(self, *parts):
        return os.path.join(self.folder, *parts)

    def write(self, name, content):
        path = self.path(name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(content)
        return path

    def start(self, *tracer):
        """Starts the program, below a tracer that runs it as its own process if one is given."""
        self.log = open(self.path("log"), "w+", encoding="utf-8")
        self.addCleanup(self.log.close)
        self.process = subprocess.Popen([*tracer, self.program], env=self.environment, cwd=self.folder,
                                        stdin=subprocess.DEVNULL, stdout=self.log, stderr=subprocess.STDOUT)
        self.addCleanup(self.end)

    def end(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()

    def read_log(self):
        with open(self.path("log"), encoding="utf-8") as file:
            return file.read()

    def wait_for(self, condition, what):
        """What the condition gives as soon as it is true."""
        deadline = time.monotonic() + LIMIT_SECONDS
        while True:
            try:
                result = condition()
            except GLib.Error:
                # Whatever was looked at has gone meanwhile.
                result = None
            if result:
                return result
            if time.monotonic() > deadline:
                self.fail("no %s in %d s; log:\n%s" % (what, LIMIT_SECONDS, self.read_log()))
            time.sleep(POLL_SECONDS)

    def wait_for_exit(self):
        try:
            status = self.process.wait(LIMIT_SECONDS)
        except subprocess.TimeoutExpired:
            self.fail("still running; log:\n" + self.read_log())
        self.assertEqual(status, 0, self.read_log())

    def application(self):
        desktop = Atspi.get_desktop(0)
        for index in range(desktop.get_child_count()):
            child = desktop.get_child_at_index(index)
            if child is not None and child.get_process_id() == self.process.pid:
                return child
        return None

    def widgets(self, node=None):
        """All that is shown, in the order of the window."""
        node = node or self.application()
        if node is None:
            return
        for index in range(node.get_child_count()):
            child = node.get_child_at_index(index)
            if child is not None and child.get_state_set().contains(Atspi.StateType.SHOWING):
                yield child
                yield from self.widgets(child)

    @staticmethod
    def role(widget):
        """The name of its role; the accessibility library calls some "button" in later versions, "push button" in others."""
        role = widget.get_role_name()
        return "push button" if role == "button" else role

    @staticmethod
    def names(widget):
        """Its own name and those of its captions."""
        names = [widget.get_name()]
        for relation in widget.get_relation_set():
            if relation.get_relation_type() == Atspi.RelationType.LABELLED_BY:
                names += [relation.get_target(index).get_name() for index in range(relation.get_n_targets())]
        return [name for name in names if name]

    @staticmethod
    def translated(text):
        """A text as the wizard shows it."""
        return text

    def find(self, role, name, also=Atspi.StateType.SHOWING):
        shown = self.translated(name)

        def search():
            for widget in self.widgets():
                if self.role(widget) == role and shown in self.names(widget):
                    if widget.get_state_set().contains(also):
                        return widget
            return None

        return self.wait_for(search, "%s '%s'" % (role, shown))

    def press(self, name, role="push button"):
        Atspi.Action.do_action(self.find(role, name, Atspi.StateType.SENSITIVE), 0)

    def type(self, caption, text):
        entry = self.find("password text", caption, Atspi.StateType.SENSITIVE)
        self.assertTrue(Atspi.EditableText.set_text_contents(entry, text))

    def row(self, name):
        """The check and the text of the row of this name in the selection tree."""
        def search():
            for widget in self.widgets(self.tree()):
                if self.role(widget) == "table cell" and widget.get_child_count() == 2:
                    check, text = (widget.get_child_at_index(index) for index in range(2))
                    if text.get_name() == name:
                        return check, text
            return None

        return self.wait_for(search, "row '%s'" % name)

    def tree(self):
        return self.find("tree table", "Select the files to be collected.")

    def is_checked(self, name):
        """Whether the row is checked, be it in part."""
        states = self.row(name)[0].get_state_set()
        return states.contains(Atspi.StateType.CHECKED) or states.contains(Atspi.StateType.INDETERMINATE)

    def toggle(self, name):
        before = self.is_checked(name)
        self.act(self.row(name)[1], "activate")
        self.wait_for(lambda: self.is_checked(name) != before, "change of '%s'" % name)

    def click(self, widget):
        """With the mouse: what runs a dialog would not answer when it was asked to act."""
        place = Atspi.Component.get_extents(widget, Atspi.CoordType.SCREEN)
        self.focus_window()
        self.xdotool("mousemove", "--sync", place.x + place.width // 2, place.y + place.height // 2, "click", 1)

    def focus_window(self, title="Varnel Corvane"):
        window = self.xdotool("search", "--sync", "--onlyvisible", "--name", title).split()[0]
        self.xdotool("windowfocus", "--sync", window)

    @staticmethod
    def xdotool(*arguments):
        return subprocess.run(["xdotool", *map(str, arguments)], stdout=subprocess.PIPE, check=True, text=True).stdout

    def press_key(self, key, condition, what):
        """Presses a key until the condition is true. The wizard drops what comes too soon behind a change, so that a
        press too many goes nowhere."""
        pressed = []

        def is_done():
            if condition():
                return True
            if not pressed or time.monotonic() - pressed[-1] > KEY_SECONDS:
                pressed.append(time.monotonic())
                self.xdotool("key", key)
            return False

        self.wait_for(is_done, what)

    def is_shown(self, role, name):
        shown = self.translated(name)
        return any(self.role(widget) == role and shown in self.names(widget) for widget in self.widgets())

    def open_row(self, name):
        self.act(self.row(name)[1], "expand or contract")
        self.wait_for(lambda: self.row(name)[1].get_state_set().contains(Atspi.StateType.EXPANDED), "open '%s'" % name)

    @staticmethod
    def act(widget, action):
        names = [Atspi.Action.get_action_name(widget, index) for index in range(Atspi.Action.get_n_actions(widget))]
        Atspi.Action.do_action(widget, names.index(action))

    def result(self):
        """The text of the result page, when it is there."""
        self.find("label", "Bundle Creation Result")

        def search():
            texts = [widget.get_name() for widget in self.widgets() if self.role(widget) == "label"]
            return next((text for text in texts if text.startswith(("The bundle", "An "))), None)

        # The page is laid out with the next frame.
        return self.wait_for(search, "text of the result")


class JobTest(WizardTest):
    """A configuration beside the program. Classes derived from this one run one at a time."""

    CONTENT = "what the client had to say\n" * 200

    def setUp(self):
        super().setUp()
        # The folder in the bundle is unlike that of any other run, so that only its left-overs are removed.
        self.group = "group_" + os.path.basename(self.folder)
        self.addCleanup(self.remove_left_overs)
        self.sample = self.write("logs/sample.log", self.CONTENT)
        self.configure(group("Sample", "Sample", item("sample", "sample", "true", "The sample", path=self.sample),
                             folder=self.group))

    def remove_left_overs(self):
        for path in glob.glob("/tmp/MERO_Temp_Bundle*/" + self.group):
            shutil.rmtree(os.path.dirname(path), ignore_errors=True)

    def walk_to_the_encryption_page(self):
        self.start()
        self.find("label", "Meroscope (MERO)")
        self.press("Next")
        self.find("label", "Bundle Creation Option")
        self.press("Next")
        self.find("label", "Bundle Encryption Option")

    def start_the_job(self):
        self.press("Next")
        self.find("label", "MERO will only collect partial diagnostic information. For a complete log collection, "
                           "authenticate as an administrator.")
        self.press("OK")

    def bundle(self):
        """The bundle that the result page names."""
        bundles = glob.glob(self.path("home", "Desktop", "*"))
        self.assertEqual(len(bundles), 1, self.read_log())
        self.assertEqual(self.result(), "The bundle was created successfully in %s." % bundles[0])
        return bundles[0]

    def finish(self):
        self.press("Finish")
        self.wait_for_exit()
