"""The real wizard of a user and the real helper."""

import os
import pwd
import subprocess
import threading

import helper_machine
from helper_machine import ALICE, BASE, children, read, write
from helper_world import LOG, SECRET, SECRET_FILE, GLib, HelperTest

SOURCES = os.environ["MERO_SOURCE_DIR"]
WIZARD_FOLDER = os.path.dirname(os.environ["MEROUI"])


def files_below(top):
    """Their contents by their paths from there."""
    found = {}
    for parent, _, names in os.walk(top):
        for name in names:
            path = os.path.join(parent, name)
            found[os.path.relpath(path, top)] = read(path)
    return found


# Read before the machine's own folders hide where they lie.
WIZARD = read(os.environ["MEROUI"])
RESOURCES = files_below(WIZARD_FOLDER + "/resources")
LAUNCHER = read(SOURCES + "/tests/support/with-display.sh")
SCRIPTS = {os.path.basename(name): read(SOURCES + "/tests/" + name) for name in (
    "helper/wizard_walk.py", "wizard/wizard_program.py", "support/configurations.py")}
WALK_LIMIT_SECONDS = 150
ASKED = BASE + "/walk/asked"


class WizardOfAUser(HelperTest):
    def setUp(self):
        super().setUp()
        write(BASE + "/wizard/meroui", WIZARD, 0o755)
        for name, content in RESOURCES.items():
            write("%s/wizard/resources/%s" % (BASE, name), content)
        for name, content in SCRIPTS.items():
            write("%s/walk/%s" % (BASE, name), content)
        write(BASE + "/walk/with-display.sh", LAUNCHER, 0o755)
        # The display's sockets: who isn't root can't make their folder as it is to be.
        helper_machine.folder("/tmp/.X11-unix", mode=0o1777)

    def walk(self, method):
        entry = pwd.getpwnam(ALICE)
        variables = {key: value for key, value in os.environ.items() if not key.startswith(("DBUS_", "ZRN_", "XDG_"))}
        variables.update(HOME=entry.pw_dir, USER=ALICE, LOGNAME=ALICE, TMPDIR="/tmp", MEROUI=BASE + "/wizard/meroui",
                         MERO_HELPER_BUS=self.address, MERO_SECRET_FILE=SECRET_FILE, MERO_SECRET=SECRET, MERO_ASKED=ASKED)
        if "LSAN_OPTIONS" in variables:
            variables["LSAN_OPTIONS"] = "suppressions=%s/lsan.supp:print_suppressions=0" % BASE
        walk = subprocess.run(
            [BASE + "/walk/with-display.sh", "/usr/bin/python3", "-B", BASE + "/walk/wizard_walk.py", "Walk." + method],
            user=entry.pw_uid, group=entry.pw_gid, extra_groups=[], cwd="/", env=variables, stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=WALK_LIMIT_SECONDS, check=False)
        self.assertEqual(walk.returncode, 0, walk.stdout.decode(errors="replace"))

    def testGetsABundleWithWhatOnlyRootMayRead(self):
        self.start_polkit()
        self.walk("testWithTheHelper")
        self.wait_until_gone()
        self.expect_nothing_left()

    def testCollectsByItselfWithoutPermission(self):
        self.start_polkit_stand_in(allowed=False)
        self.walk("testWithoutPermission")

    def testCancelledDuringTheQuestionEndsItsJob(self):
        self.start_polkit_stand_in(silent=True)

        def tell():
            self.wait_for_question()
            write(ASKED, "")

        teller = threading.Thread(target=tell)
        teller.start()
        self.walk("testCancelledDuringTheQuestion")
        teller.join()
        # A yes comes too late.
        self.tell_polkit("SimulateHang", GLib.Variant("(b)", (False,)))
        self.tell_polkit("ReleaseHangingCalls")
        self.assertEqual(children(self.helper()), set())
        self.assertIn("the caller has gone", read(LOG).decode())

    def testCollectsByItselfWithoutPolkit(self):
        self.walk("testWithoutPermission")


if __name__ == "__main__":
    helper_machine.main()
