"""The shipped configuration set: what each file must hold, what none may collect, and a real run with all of it."""

import fnmatch
import glob
import os
import re
import shutil
import unittest
import xml.etree.ElementTree as ElementTree
import zipfile

from console import MEROCLI, JobTest

FOLDER = os.path.join(os.environ["MERO_SOURCE_DIR"], "data/xml/config")
LEGACY = "Legacy - Varnel Trellink Nolvane"
TRANSLATED = re.compile(r'\A_tr\("[^"]+"\)\Z')

# Files that no bundle may hold, asked for or not.
SECRET = (
    "*shadow*", "*/id_*", "*.pem", "*.key", "*.p12", "*.pfx", "*.jks", "*/.ssh/*", "*/.gnupg/*", "*keyring*",
    "*/ssl/private/*", "*/system-connections/*", "*wpa_supplicant*", "*.nmconnection", "*/wireguard/*", "*/netplan/*",
    "*.netdev", "*/ipsec.secrets", "*swanctl*", "*.ovpn", "*/ppp/*-secrets", "*_history", "*/.netrc", "*/.pgpass",
    "*/sources.list*", "*/auth.conf*", "*/crypttab", "*/fstab", "*/etc/environment", "*/sudoers*", "/dev/*",
    "/proc/kcore", "/proc/kmsg", "/proc/keys", "/proc/*/environ", "*cookies*", "*/krb5cc*", "*/etc/passwd",
    "*/machine-id", "*core.*", "*.dmp")
# Files that may hold something private, or grow without a bound: never in a default bundle.
PRIVATE = ("*/log/journal*", "*profile/*", "*preferences*", "*/auth.log*", "*/secure*", "*xsession*", "*/interfaces*",
           "*/dpkg/status")
SCHEMES = ("Whole File", "Data (front or end)", "Truncate end", "Truncate front", "No")
# Only logs of the suite may be deleted.
CLEARABLE = ("/var/log/varnel/*", "$HOME/.varnel/*")


def matches(path, patterns):
    """Whether a configured path, wildcards of its own included, could name a file of these patterns."""
    return any(fnmatch.fnmatch(path, pattern) or fnmatch.fnmatch(pattern, path) for pattern in patterns)


class ConfigurationSet(unittest.TestCase):
    def setUp(self):
        self.files = {os.path.basename(path): ElementTree.parse(path).getroot()
                      for path in sorted(glob.glob(FOLDER + "/*.xml"))}
        self.assertGreaterEqual(len(self.files), 4)

    def groups(self):
        for name, root in self.files.items():
            for group in root.findall("fileGroup"):
                yield name, group

    def items(self):
        """(place for a message, group, item)"""
        for name, group in self.groups():
            for item in group.findall("file"):
                yield name + ": " + item.get("id"), group, item

    def paths(self, item):
        """Every path that an item can read, with the patterns of a folder behind it."""
        for action in item.iterfind("mero/os/file_copy_action/action"):
            yield action.findtext("loc")
        for action in item.iterfind("mero/os/directory_copy_action/action"):
            for pattern in action.iterfind("pattern"):
                yield action.findtext("loc") + pattern.text

    def testRootHasATitleAheadOfTheGroups(self):
        for name, root in self.files.items():
            self.assertEqual(root.tag, "configure", name)
            self.assertEqual(root[0].tag, "title", name)
            self.assertNotIn("_tr(", root[0].text, name)

    def testTextsOfTheWizardAreMarkedForTranslation(self):
        for name, group in self.groups():
            self.assertRegex(group.findtext("title"), TRANSLATED, name)
            if group.get("treeRootName") != LEGACY:
                self.assertRegex(group.get("treeRootName"), TRANSLATED, name)
        for place, _, item in self.items():
            self.assertRegex(item.findtext("gui/label"), TRANSLATED, place)
            self.assertRegex(item.findtext("description"), TRANSLATED, place)

    def testPlainDescriptionStandsFirstAndIsTheSameText(self):
        for place, _, item in self.items():
            plain = next(item.iter("description"))
            self.assertIs(plain, item.find("gui/description"), place)
            self.assertEqual(item.findtext("description"), '_tr("' + plain.text + '")', place)

    def testIdsAreUniqueOverAllFiles(self):
        ids = [item.get("id") for _, _, item in self.items()]
        self.assertEqual(sorted(ids), sorted(set(ids)))
        self.assertNotIn("summary", ids)
        self.assertNotIn("comments", ids)
        self.assertIn("system-logs", ids)
        self.assertIn("system-log-hist", ids)

    def testIdsAndFoldersArePlain(self):
        for place, group, item in self.items():
            self.assertRegex(item.get("id"), r"\A[a-z][a-z0-9-]{1,16}\Z", place)  # the column of the summary has 17
            for holder in (group, item):
                self.assertRegex(holder.get("directoryName", "x"), r"\A[A-Za-z0-9_/-]+\Z", place)

    def testEveryItemSaysWhetherItIsDefault(self):
        for place, _, item in self.items():
            self.assertIn(item.findtext("default"), ("true", "false"), place)

    def testEveryItemHasInstructionsForLinux(self):
        for place, _, item in self.items():
            self.assertIn("linux", [system.get("opsys") for system in item.iterfind("mero/os")], place)
            self.assertTrue(list(self.paths(item)), place)

    def testInstructionsHoldOnlyWhatTheirKindAllows(self):
        allowed = {"file_copy_action": {"loc", "truncate_type", "clear_log"},
                   "directory_copy_action": {"loc", "pattern"}}
        for place, _, item in self.items():
            for kind in item.iterfind("mero/os/*"):
                self.assertIn(kind.tag, allowed, place)
                for action in kind:
                    self.assertEqual(action.tag, "action", place)
                    self.assertLessEqual({child.tag for child in action}, allowed[kind.tag], place)
                    self.assertEqual(len(action.findall("loc")), 1, place)

    def testWildcardsStandInTheLastComponentOnly(self):
        for place, _, item in self.items():
            for path in self.paths(item):
                self.assertNotRegex(os.path.dirname(path), r"[*?]", place)
                self.assertRegex(path, r"\A(/|\$HOME/)", place)

    def testNoTwoFilesOfAFolderHaveTheSameName(self):
        places = {}
        for place, group, item in self.items():
            folder = group.get("directoryName", "") + "/" + item.get("directoryName", "")
            for path in self.paths(item):
                name = os.path.basename(path)
                self.assertEqual(places.setdefault((folder, name), path), path, place)

    def testNothingSecretIsCollected(self):
        for place, _, item in self.items():
            for path in self.paths(item):
                self.assertFalse(matches(path, SECRET), place + ": " + path)

    def testNothingPrivateIsCollectedByDefault(self):
        for place, _, item in self.items():
            if item.findtext("default") == "true":
                for path in self.paths(item):
                    self.assertFalse(matches(path, PRIVATE), place + ": " + path)

    def testOnlyLogsOfTheSuiteAreCleared(self):
        for place, _, item in self.items():
            for action in item.iterfind("mero/os/file_copy_action/action"):
                if action.find("clear_log") is not None:
                    path = action.findtext("loc")
                    self.assertTrue(any(fnmatch.fnmatch(path, pattern) for pattern in CLEARABLE), place)

    def testTruncationSchemesAreKnown(self):
        for place, _, item in self.items():
            for scheme in item.iter("truncate_type"):
                self.assertIn(scheme.text, SCHEMES, place)

    def testProgramsOfTheBuildTreeFindTheSet(self):
        copies = os.path.join(os.path.dirname(MEROCLI), "xml/config")
        for name in self.files:
            with open(os.path.join(FOLDER, name)) as source, open(os.path.join(copies, name)) as copy:
                self.assertEqual(source.read(), copy.read(), name)


class ShippedRun(JobTest):
    """The program as it is shipped, on the machine that runs the test."""

    def setUp(self):
        super().setUp()
        self.write(".varnel/corvane/log/ui.log", self.group)
        self.write(".varnel/corvane/preferences.xml", "<account>somebody</account>")

    def remove_left_overs(self):
        for path in glob.glob("/tmp/MERO_Temp_Bundle*"):
            try:
                with open(path + "/corvane/user-logs/ui.log") as file:
                    own = file.read() == self.group
            except OSError:
                own = False
            if own:
                shutil.rmtree(path, ignore_errors=True)

    def testDefaultBundleHoldsTheMachineAndTheSuiteAndNothingSecret(self):
        status, _, errors = self.run_console("collect", "--target", "a.zip")
        self.assertEqual(status, 0, errors)
        with zipfile.ZipFile(self.path("a.zip")) as archive:
            self.assertIsNone(archive.testzip())
            names = archive.namelist()
            summary = archive.read("summary.txt").decode()
            self.assertEqual(archive.read("corvane/user-logs/ui.log"), self.group.encode())
            with open("/etc/os-release", "rb") as file:
                self.assertEqual(archive.read("system/os/os-release"), file.read())
            self.assertTrue(archive.read("network/routes/route").startswith(b"Iface\t"))
        for name in names:
            self.assertFalse(matches("/" + name, SECRET), name)
        self.assertNotIn("corvane/preferences/preferences.xml", names)
        for title in ("Varnel Corvane", "Varnel Trellink Nolvane", "System", "Network", "Packages and boot"):
            self.assertIn("\n" + title + ":\n", summary)
        self.assertNotIn("_tr(", summary)
        self.assertNotIn("failed to parse or use", summary)


if __name__ == "__main__":
    unittest.main()
