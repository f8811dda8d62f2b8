"""What clicks and keys of a real pointer and keyboard do to the walk."""

import time
import unittest

from wizard_program import Atspi, JobTest

# Longer than a keyboard waits before it repeats a key, and than a double click.
HELD_SECONDS = 2
# How long nothing has to happen for a test to believe that nothing does.
QUIET_SECONDS = 1
# Well within a double click.
BETWEEN_CLICKS_MS = 60
HEADERS = ("Meroscope (MERO)", "Bundle Creation Option", "Bundle Encryption Option", "Bundle Creation Progress",
           "Bundle Creation Result")


class WalkByHand(JobTest):
    def setUp(self):
        super().setUp()
        self.start()
        self.find("label", HEADERS[0])
        self.focus_window()
        self.look_at_the_page()

    @staticmethod
    def look_at_the_page():
        """As long as it takes until a press can only be meant for it."""
        time.sleep(QUIET_SECONDS)

    def header(self):
        return next(name for name in (widget.get_name() for widget in self.widgets()) if name in HEADERS)

    def expect_to_stay_on(self, header):
        """It is there and goes no further."""
        self.find("label", header)
        time.sleep(QUIET_SECONDS)
        self.assertEqual(self.header(), header)

    def click_twice(self, name):
        place = Atspi.Component.get_extents(self.find("push button", name), Atspi.CoordType.SCREEN)
        self.xdotool("mousemove", place.x + place.width // 2, place.y + place.height // 2,
                     "click", "--repeat", 2, "--delay", BETWEEN_CLICKS_MS, 1)

    def hold(self, key):
        self.xdotool("keydown", key)
        time.sleep(HELD_SECONDS)

    def walk_to(self, header):
        while self.header() != header:
            before = self.header()
            self.press("Next")
            self.wait_for(lambda was=before: self.header() != was, "next page")

    def warning_is_gone(self):
        return not self.is_shown("push button", "OK")

    def has_ended(self):
        return self.process.poll() is not None


class Presses(WalkByHand):
    def testOfADoubleClickOnNextLeadOnePageOn(self):
        for header in HEADERS[1:3]:
            self.click_twice("Next")
            self.expect_to_stay_on(header)

    def testOfADoubleClickOnBackLeadOnePageBack(self):
        self.walk_to(HEADERS[2])
        self.look_at_the_page()
        self.click_twice("Back")
        self.expect_to_stay_on(HEADERS[1])

    def testOfAHeldReturnLeadOnePageOn(self):
        for header in HEADERS[1:3]:
            self.hold("Return")
            self.xdotool("keyup", "Return")
            self.expect_to_stay_on(header)

    def testOfAHeldSpaceLeadOnePageOn(self):
        self.hold("space")
        self.xdotool("keyup", "space")
        self.expect_to_stay_on(HEADERS[1])

    def testOfAHeldReturnLeaveTheWarningAlone(self):
        self.walk_to(HEADERS[2])
        self.look_at_the_page()
        self.xdotool("keydown", "Return")
        self.find("push button", "OK")
        self.focus_window("Warning")
        time.sleep(HELD_SECONDS)
        self.find("push button", "OK")
        self.xdotool("keyup", "Return")
        self.press_key("Return", self.warning_is_gone, "end of the dialog")

    def testOfAHeldMnemonicLeadOnePageOn(self):
        for header in HEADERS[1:3]:
            self.hold("alt+n")
            self.xdotool("keyup", "alt+n")
            self.expect_to_stay_on(header)

    def testOfAQuickMnemonicBehindAnotherAreForTheFormerPage(self):
        self.xdotool("key", "--delay", BETWEEN_CLICKS_MS, "alt+n", "alt+n", "alt+n")
        self.expect_to_stay_on(HEADERS[1])

    def testOfAQuickReturnBehindReturnAreForTheFormerPage(self):
        self.xdotool("key", "--delay", BETWEEN_CLICKS_MS, "Return", "Return", "Return")
        self.expect_to_stay_on(HEADERS[1])


class Keys(WalkByHand):
    def testEscapeCancels(self):
        self.xdotool("key", "Escape")
        self.wait_for_exit()

    def testEscapeCancelsFromThePassword(self):
        self.walk_to(HEADERS[2])
        self.press("Enable Bundle Encryption", "check box")
        Atspi.Component.grab_focus(self.find("password text", "Encryption Password"))
        self.press_key("Escape", self.has_ended, "end of the program")
        self.wait_for_exit()

    def testEscapeThatClosesTheWarningDoesNotCancelToo(self):
        self.walk_to(HEADERS[2])
        self.press("Next")
        self.find("push button", "OK")
        self.focus_window("Warning")
        self.look_at_the_page()
        self.xdotool("keydown", "Escape")
        self.wait_for(self.warning_is_gone, "end of the dialog")
        self.focus_window()
        time.sleep(HELD_SECONDS)
        self.xdotool("keyup", "Escape")
        self.find("label", HEADERS[4])
        self.finish()

    def testEscapeLeavesTheResultAsCancelDoes(self):
        self.walk_to_the_result()
        self.look_at_the_page()
        self.xdotool("key", "Escape")
        self.expect_to_stay_on(HEADERS[4])
        self.finish()

    def testControlQAndWCloseTheWindowOnAnyPage(self):
        self.xdotool("key", "ctrl+q")
        self.wait_for_exit()
        self.start()
        self.walk_to_the_result()
        self.press_key("ctrl+w", self.has_ended, "end of the program")
        self.wait_for_exit()

    def testEnterOfTheKeypadLeadsOnAsReturnDoes(self):
        for header in HEADERS[1:3]:
            self.press_key("KP_Enter", lambda name=header: self.is_shown("label", name), header)
        self.press_key("KP_Enter", lambda: self.is_shown("push button", "OK"), "warning")
        self.focus_window("Warning")
        self.press_key("KP_Enter", self.warning_is_gone, "end of the dialog")
        self.find("label", HEADERS[4])
        self.focus_window()
        self.press_key("KP_Enter", self.has_ended, "end of the program")
        self.wait_for_exit()

    def testOfMnemonicsPressWhatTheyStandFor(self):
        self.expect_page_by("alt+n", HEADERS[1])
        self.expect_change_by("alt+u", lambda: self.is_active("Custom", "radio button"))
        self.expect_change_by("alt+t", lambda: self.is_active("Typical", "radio button"))
        self.expect_page_by("alt+b", HEADERS[0])
        self.expect_page_by("alt+n", HEADERS[1])
        self.expect_page_by("alt+n", HEADERS[2])
        self.expect_change_by("alt+e", lambda: self.is_active("Enable Bundle Encryption"))
        self.expect_change_by("alt+m", lambda: not self.is_active("Mask Password"))
        # From a field too.
        Atspi.Component.grab_focus(self.find("text", "Encryption Password"))
        self.press_key("alt+c", self.has_ended, "end of the program")
        self.wait_for_exit()

    def testOfTheFormerTextPressNothingAnyMore(self):
        self.walk_to_the_result()
        self.look_at_the_page()
        self.xdotool("key", "alt+n")
        self.expect_to_stay_on(HEADERS[4])
        self.press_key("alt+f", self.has_ended, "end of the program")
        self.wait_for_exit()

    def expect_page_by(self, key, header):
        self.press_key(key, lambda: self.is_shown("label", header), header)

    def expect_change_by(self, key, condition):
        """One press, as another would take the change back."""
        self.look_at_the_page()
        self.xdotool("key", key)
        self.wait_for(condition, "change by " + key)

    def is_active(self, name, role="check box"):
        return self.find(role, name).get_state_set().contains(Atspi.StateType.CHECKED)

    def walk_to_the_result(self):
        self.find("label", HEADERS[0])
        self.walk_to(HEADERS[2])
        self.start_the_job()
        self.find("label", HEADERS[4])
        self.focus_window()


if __name__ == "__main__":
    unittest.main(verbosity=2)
