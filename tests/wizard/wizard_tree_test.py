"""The tree of the file selection under a real keyboard, and as a screen reader hears it."""

import unittest

from wizard_program import Atspi, WizardTest

from configurations import group, item

LONG_NAME = "w" * 200


class TreeTest(WizardTest):
    """On the page with the tree, of which the keyboard's place is the first checked root."""

    def setUp(self):
        super().setUp()
        old, up, down, names, boot = (item(label, label, default, label, platform=None) for label, default in (
            ("former log", "false"), ("links up", "true"), ("links down", "false"), ("hosts", "true"),
            (LONG_NAME, "true")))
        self.configure(group("1 Former", "Old logs", old), group("2 Network", "Links", up, down),
                       group("2 Network", "Names", names), group("3 System", "Boot", boot))
        self.start()
        self.find("label", "Meroscope (MERO)")
        self.press("Next")
        self.press("Custom", "radio button")
        self.press("Next")
        self.row("2 Network")
        self.focus_window()
        self.wait_for(lambda: self.tree().get_state_set().contains(Atspi.StateType.FOCUSED), "focus on the tree")

    def keys(self, *names):
        for name in names:
            self.xdotool("key", name)

    def has(self, name, state):
        return self.row(name)[1].get_state_set().contains(state)

    def expect_place(self, name):
        self.wait_for(lambda: self.has(name, Atspi.StateType.SELECTED), "highlight of '%s'" % name)

    def expect_opened(self, name, opened=True):
        self.wait_for(lambda: self.has(name, Atspi.StateType.EXPANDED) == opened, "row '%s' opened or closed" % name)

    def check(self, name):
        """What a screen reader says of the row's check box."""
        states = self.row(name)[0].get_state_set()
        said = [text for state, text in ((Atspi.StateType.INDETERMINATE, "partially checked"),
                                         (Atspi.StateType.CHECKED, "checked")) if states.contains(state)]
        return " and ".join(said) or "not checked"

    def expect_check(self, name, said):
        self.wait_for(lambda: self.check(name) == said, "'%s' for '%s'" % (said, name))


class TreeByKeyboard(TreeTest):
    def testStartsAtTheFirstCheckedRoot(self):
        self.expect_place("2 Network")

    def testOpensRowsByRightAndClosesThemByLeft(self):
        self.keys("Right")
        self.expect_opened("2 Network")
        self.keys("Right", "Right")
        self.expect_place("Links")
        self.expect_opened("Links")
        self.keys("Left")
        self.expect_opened("Links", False)
        self.keys("Left")
        self.expect_place("2 Network")
        self.keys("Left")
        self.expect_opened("2 Network", False)

    def testGoesToTheEndsByHomeAndEnd(self):
        self.keys("Right", "End")
        self.expect_place("3 System")
        self.keys("Home")
        self.expect_place("1 Former")

    def testTogglesTheRowBySpace(self):
        self.expect_check("2 Network", "partially checked")
        self.keys("space")
        self.expect_check("2 Network", "not checked")
        self.keys("space")
        self.expect_check("2 Network", "checked")
        self.keys("End", "space")
        self.expect_check("3 System", "not checked")

    def testFindsARowByTyping(self):
        self.keys("s", "y", "s")
        self.expect_place("3 System")
        self.keys("BackSpace", "BackSpace", "BackSpace", "f", "o", "r")
        self.expect_place("1 Former")

    def testKeepsItsPlaceWhenTypingFindsNothing(self):
        self.keys("End")
        self.expect_place("3 System")
        self.keys("x", "q")
        # What is typed has come to the field of the search, which is a window of its own.
        self.wait_for(lambda: any(self.role(widget) == "text" and Atspi.Text.get_text(widget, 0, -1) == "xq"
                                  for widget in self.widgets()), "typed text")
        self.expect_place("3 System")


class TreeForAScreenReader(TreeTest):
    def testTellsWhichRowsAreSelectedInPart(self):
        self.keys("Right", "Right", "Right")
        self.expect_opened("Links")
        self.assertEqual([self.check(name) for name in ("1 Former", "2 Network", "Links", "Names", "3 System")],
                         ["not checked", "partially checked", "partially checked", "checked", "checked"])
        self.act(self.row("links down")[1], "activate")
        self.expect_check("Links", "checked")
        self.expect_check("2 Network", "checked")
        self.act(self.row("links up")[1], "activate")
        self.expect_check("Links", "partially checked")
        self.act(self.row("links down")[1], "activate")
        self.expect_check("Links", "not checked")
        self.expect_check("2 Network", "partially checked")

    def testTellsTheWholeNameOfARowThatIsCut(self):
        self.keys("End", "Right", "Right", "Right")
        self.row(LONG_NAME)


if __name__ == "__main__":
    unittest.main()
