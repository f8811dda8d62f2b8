"""The shipped configuration set: what each file must hold, what none may collect, and a real run with all of it."""

import fnmatch
import gettext
import glob
import io
import os
import re
import shutil
import subprocess
import unittest
import xml.etree.ElementTree as ElementTree
import zipfile

from console import MEROCLI, JobTest

FOLDER = os.path.join(os.environ["MERO_SOURCE_DIR"], "data/xml/config")
LEGACY = "Legacy - Varnel Trellink Nolvane"
TRANSLATED = re.compile(r'\A_tr\("([^"]+)"\)\Z')
# The digit gives the branch its place and is not shown.
ROOT = re.compile(r'\A[1-9]_tr\("([^"]+)"\)\Z')

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
           "*/ifcfg-*", "*/ifroute-*", "*/dpkg/status", "*/apt/history.log*", "*/zypp/history*", "*/dnf.log*", "*/dnf5.log*")
SCHEMES = ("Whole File", "Data (front or end)", "Truncate end", "Truncate front", "No")
# Facilities of the journal with accounts, mistyped passwords, addresses or command lines: mail, authentication, timed
# commands, file transfer.
PRIVATE_FACILITIES = {2, 4, 9, 10, 11}
LONGEST_LOG_LINES = 10000
LONGEST_OUTPUT_BYTES = 4194304
# A command line of the set: the script, its options, the program and its arguments.
LINE = re.compile(r"tool-output((?: -e| -[tb] \d+| -s \d+(?:,\d+)*)*) ([\w-]+)(?: (.*))?")
# The programs that the set may run, with the arguments that they may get: they read, ask nobody and wait for nothing.
TOOLS = {
    "NetworkManager": r"--print-config",
    "aa-status": r"",
    "chronyc": r"-n tracking",
    "df": r"--local [a-z -]+",
    "dmesg": r"--ctime",
    "dpkg-query": r"--show( '[\w*-]+')*",
    "firewall-cmd": r"--list-all-zones",
    "free": r"[a-z -]+",
    "ip": r"(-[46] )?(-details |-statistics )*(address|route show table all|rule|neighbour|tunnel show|tuntap show"
          r"|xfrm policy)",
    "ip6tables-save": r"-c",
    "iptables-save": r"-c",
    "journalctl": r"--no-pager (--lines=\d+( '--unit=\*[a-z]+\*'| --identifier=zrn_[a-z]+)+|--dmesg --boot(=-1)? --lines=\d+"
                  r"|--system --boot(=-1)? --lines=\d+( SYSLOG_FACILITY=\d+)+ \+ _TRANSPORT=journal _UID=0)",
    "lsblk": r"--output [A-Z,]+",
    "lscpu": r"",
    "lspci": r"-nn -k",
    "lsusb": r"(-t)?",
    "networkctl": r"--no-pager list",
    "nft": r"list ruleset",
    "nmcli": r"(--fields [A-Z,]+ )?(general status|device status|connection show|device show)",
    "pacman": r"--query",
    "ps": r"-e -o [a-z,]+",
    "resolvectl": r"--no-pager (status|statistics)",
    "rpm": r"--query --all( '[\w*-]+')*",
    "sestatus": r"",
    "ss": r"(--summary|--tcp --udp --raw --all --numeric --processes)",
    "systemctl": r"--no-pager --full --plain (--all --type=service )?list-units( --failed)?",
    "systemd-analyze": r"--no-pager (time|cat-config( systemd/[a-z]+\.conf)+|cat-config (sysctl|modprobe|modules-load)\.d)",
    "systemd-detect-virt": r"",
    "timedatectl": r"--no-pager (status|timesync-status)",
    "uptime": r"",
    "wicked": r"show all",
}
# What names networks or accounts, makes the kernel load a module of the packet filter or of IPsec, or prints a line for
# each package: never in a default bundle.
TOOLS_BY_CHOICE = ("dpkg-query --show", "firewall-cmd --list-all-zones", "ip xfrm policy", "ip6tables-save -c",
                   "iptables-save -c", "nft list ruleset", "nmcli connection show", "nmcli device show",
                   "pacman --query", "rpm --query --all")
# Columns of ps with neither the arguments, the environment nor the owner's name of a process.
PROCESS_COLUMNS = {"pid", "ppid", "uid", "stat", "lstart", "time", "rss", "comm"}
BANNER = b'\n\r' + b"*" * 75 + b'\n"%s" output:\n' + b"*" * 75 + b"\n\r\n"
# Only logs of the suite may be deleted.
CLEARABLE = ("/var/log/varnel/*", "$HOME/.varnel/*")


def matches(path, patterns):
    """Whether a configured path, wildcards of its own included, could name a file of these patterns."""
    return any(fnmatch.fnmatch(path, pattern) or fnmatch.fnmatch(pattern, path) for pattern in patterns)


def program_of(line):
    """The program that a command line has the script run, with its arguments."""
    match = LINE.fullmatch(line)
    return " ".join(filter(None, match.groups()[1:]))


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

    def tools(self, item):
        """(command line, name of the output file) of every tool that an item runs."""
        for action in item.iterfind("mero/os/use_extern_action/action"):
            yield action.findtext("args"), action.findtext("temp_out")

    def testRootHasATitleAheadOfTheGroups(self):
        for name, root in self.files.items():
            self.assertEqual(root.tag, "configure", name)
            self.assertEqual(root[0].tag, "title", name)
            self.assertNotIn("_tr(", root[0].text, name)

    def testTextsOfTheWizardAreMarkedForTranslation(self):
        for name, group in self.groups():
            self.assertRegex(group.findtext("title"), TRANSLATED, name)
            if group.get("treeRootName") != LEGACY:
                self.assertRegex(group.get("treeRootName"), ROOT, name)
        for place, _, item in self.items():
            self.assertRegex(item.findtext("gui/label"), TRANSLATED, place)
            self.assertRegex(item.findtext("description"), TRANSLATED, place)

    def levels(self):
        """(root, module, items) as they are named in the wizard, in the order of its roots."""
        for _, group in sorted(self.groups(), key=lambda found: found[1].get("treeRootName").encode()):
            root = ROOT.sub(r"\1", group.get("treeRootName"))
            labels = [TRANSLATED.match(item.findtext("gui/label"))[1] for item in group.findall("file")]
            yield root, TRANSLATED.match(group.findtext("title"))[1], labels

    def testRootsAreFewAndTheSuiteIsTheFirst(self):
        roots = list(dict.fromkeys(root for root, _, _ in self.levels()))
        self.assertEqual(roots, ["Varnel Corvane", "System", "Network", LEGACY])
        first = [item.findtext("default") for _, group, item in self.items()
                 if group.get("treeRootName").endswith('_tr("Varnel Corvane")')]
        self.assertIn("true", first)

    def testNoLevelRepeatsTheOneAboveItInAnyLanguage(self):
        source = os.environ["MERO_SOURCE_DIR"]
        with open(os.path.join(source, "po/LINGUAS"), encoding="utf-8") as file:
            languages = [line.strip() for line in file if line.strip() and not line.startswith("#")]
        self.assertEqual(len(languages), 8)
        catalogues = [gettext.NullTranslations()]
        for language in languages:
            made = subprocess.run(["msgfmt", "-o", "-", os.path.join(source, "po", language + ".po")],
                                  stdout=subprocess.PIPE, check=True)
            catalogues.append(gettext.GNUTranslations(io.BytesIO(made.stdout)))
        for catalogue in catalogues:
            shown = catalogue.gettext
            modules = [shown(module) for _, module, _ in self.levels()]
            self.assertEqual(sorted(modules), sorted(set(modules)))
            for root, module, labels in self.levels():
                self.assertNotEqual(shown(root), shown(module))
                self.assertNotIn(shown(module), [shown(label) for label in labels])

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
            self.assertTrue(list(self.paths(item)) or list(self.tools(item)), place)

    def testInstructionsHoldOnlyWhatTheirKindAllows(self):
        allowed = {"file_copy_action": {"loc", "truncate_type", "clear_log"},
                   "directory_copy_action": {"loc", "pattern"},
                   "use_extern_action": {"plugin", "args", "stdout", "temp_out"}}
        for place, _, item in self.items():
            for kind in item.iterfind("mero/os/*"):
                self.assertIn(kind.tag, allowed, place)
                for action in kind:
                    self.assertEqual(action.tag, "action", place)
                    self.assertLessEqual({child.tag for child in action}, allowed[kind.tag], place)
                    self.assertEqual(len(action.findall("loc")), 0 if kind.tag == "use_extern_action" else 1, place)

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
            # The tools of an item share a file if they name the same one.
            for _, name in self.tools(item):
                self.assertEqual(places.setdefault((folder, name), place), place)

    def testToolsGoThroughTheScript(self):
        for place, _, item in self.items():
            for action in item.iterfind("mero/os/use_extern_action/action"):
                self.assertEqual([child.tag for child in action], ["plugin", "args", "stdout", "temp_out"], place)
                for name in ("plugin", "stdout"):
                    self.assertIsNone(action.find(name).text, place)
                self.assertFalse(any(child.attrib for child in action), place)
                self.assertRegex(action.findtext("args"), LINE, place)

    def testCommandLinesAreMadeOfPlainWordsAndQuotedOnes(self):
        word = r"(?:[\w.,=/+-]+|'[\w.,=*-]+')"
        for place, _, item in self.items():
            for line, _ in self.tools(item):
                self.assertRegex(line, r"\A" + word + "(?: " + word + r")*\Z", place)

    def testOutputsHavePlainNames(self):
        for place, _, item in self.items():
            for _, name in self.tools(item):
                self.assertRegex(name, r"\A[a-z][a-z0-9-]*\.txt\Z", place)

    def testToolsReadOnly(self):
        seen = set()
        for place, _, item in self.items():
            for line, _ in self.tools(item):
                name, _, arguments = program_of(line).partition(" ")
                self.assertIn(name, TOOLS, place)
                self.assertRegex(arguments, r"\A(?:" + TOOLS[name] + r")\Z", place)
                seen.add(name)
        self.assertEqual(seen, set(TOOLS))

    def testProcessesAreListedWithoutArgumentsAndOwners(self):
        lists = [line for _, _, item in self.items() for line, _ in self.tools(item)
                 if line.startswith("tool-output ps ")]
        self.assertEqual(len(lists), 1)
        self.assertLessEqual(set(lists[0].rsplit(" ", 1)[1].split(",")), PROCESS_COLUMNS)

    def lines(self, identity):
        """Command lines of an item, and whether it is in a default bundle."""
        (item,) = (item for _, _, item in self.items() if item.get("id") == identity)
        return [line for line, _ in self.tools(item)], item.findtext("default") == "true"

    def testSystemLogsHoldTheJournalOfTwoBootsAndTheKernelsMessages(self):
        lines, default = self.lines("system-logs")
        self.assertTrue(default)
        starts = ["--system --boot ", "--system --boot=-1 ", "--dmesg --boot "]
        self.assertEqual(len(lines), len(starts))
        for line, start in zip(lines, starts):
            self.assertTrue(program_of(line).startswith("journalctl --no-pager " + start), line)

    def testKernelLogHoldsTheMessagesOfTwoBoots(self):
        lines, default = self.lines("kernel-log")
        self.assertTrue(default)
        self.assertEqual([program_of(line).rpartition(" ")[0] for line in lines],
                         ["dmesg", "journalctl --no-pager --dmesg --boot=-1"])

    def testJournalIsBoundedInLinesAndKeepsTheNewestBytes(self):
        seen = 0
        for place, _, item in self.items():
            for line, _ in self.tools(item):
                if program_of(line).startswith("journalctl "):
                    options = LINE.fullmatch(line).group(1)
                    self.assertIn(" -e", options, place)
                    # Without entries of what it is asked for it has not failed.
                    self.assertIn(" -s 1", options, place)
                    limit = re.search(r" -b (\d+)", options)
                    self.assertLessEqual(int(limit.group(1)) if limit else 0, LONGEST_OUTPUT_BYTES, place)
                    self.assertLessEqual(int(re.search(r" --lines=(\d+)", line).group(1)), LONGEST_LOG_LINES, place)
                    seen += 1
        self.assertGreaterEqual(seen, 6)

    def testJournalLeavesOutAuthenticationAndMail(self):
        for line in self.lines("system-logs")[0]:
            facilities = {int(number) for number in re.findall(r"SYSLOG_FACILITY=(\d+)", line)}
            self.assertEqual(facilities & PRIVATE_FACILITIES, set(), line)
            self.assertTrue(facilities or " --dmesg " in line, line)

    def testToolsByChoiceAreNotInADefaultBundle(self):
        lines = {}
        for _, _, item in self.items():
            for line, _ in self.tools(item):
                lines.setdefault(item.findtext("default"), set()).add(program_of(line))
        for tool in TOOLS_BY_CHOICE:
            self.assertIn(tool, lines["false"])
            self.assertNotIn(tool, lines["true"])
        self.assertGreaterEqual(len(lines["true"]), 12)

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
        for title in ("Varnel Corvane", "Varnel Trellink Nolvane", "System", "System state", "Network",
                      "Network state", "Packages and boot"):
            self.assertIn("\n" + title + ":\n", summary)
        self.assertNotIn("_tr(", summary)
        self.assertNotIn("failed to parse or use", summary)

    def outputs(self, wanted):
        """Name in the bundle: command lines, of the tools of the wanted items."""
        found = {}
        for path in glob.glob(FOLDER + "/*.xml"):
            for group in ElementTree.parse(path).getroot().iter("fileGroup"):
                for item in filter(wanted, group.iter("file")):
                    for action in item.iterfind("mero/os/use_extern_action/action"):
                        parts = (group.get("directoryName"), item.get("directoryName"), action.findtext("temp_out"))
                        found.setdefault("/".join(filter(None, parts)), []).append(action.findtext("args"))
        return found

    def assert_outputs(self, outputs, *arguments):
        """Each tool has said something behind its banner, if only that it isn't there."""
        self.assertTrue(outputs)
        status, _, errors = self.run_console("collect", "--target", "a.zip", *arguments)
        self.assertEqual((status, errors), (0, "Bundle: " + self.path("a.zip") + "\n"))
        with zipfile.ZipFile(self.path("a.zip")) as archive:
            summary = archive.read("summary.txt").decode()
            for name, lines in outputs.items():
                text = archive.read(name)
                banners = [BANNER % line.encode() for line in lines]
                places = [text.index(banner) for banner in banners]
                self.assertEqual(places, sorted(places), name)
                for place, banner, end in zip(places, banners, [*places[1:], len(text)]):
                    self.assertTrue(text[place + len(banner):end].strip(), text)
        self.assertNotIn("Failed to execute", summary)
        return set(outputs)

    def testNoSystemLogsLeavesTheJournalOut(self):
        def logs(item):
            return item.get("id") in ("system-logs", "kernel-log")
        names = self.assert_outputs(self.outputs(logs))
        self.assertGreaterEqual(len(names), 5)
        status, _, errors = self.run_console("collect", "--target", "b.zip", "--no-system-logs")
        self.assertEqual(status, 0, errors)
        with zipfile.ZipFile(self.path("b.zip")) as archive:
            self.assertEqual(names & set(archive.namelist()), set())

    def testEveryToolOfADefaultBundleHasItsFile(self):
        names = self.assert_outputs(self.outputs(lambda item: item.findtext("default") == "true"))
        self.assertGreaterEqual(len(names), 12)

    def testEveryToolThatIsChosenHasItsFile(self):
        def chosen(item):
            return item.findtext("default") == "false" and item.find("mero/os/use_extern_action") is not None
        identities = [item.get("id") for path in glob.glob(FOLDER + "/*.xml")
                      for item in filter(chosen, ElementTree.parse(path).getroot().iter("file"))]
        self.assert_outputs(self.outputs(chosen), "--only", ",".join(identities + ["suite-user-logs"]))

    def testMachineIsDescribed(self):
        self.assert_outputs(self.outputs(lambda item: item.get("id") == "process-list"), "--only",
                            "process-list,suite-user-logs")
        with zipfile.ZipFile(self.path("a.zip")) as archive:
            processes = archive.read("system/state/processes.txt").decode(errors="replace")
        self.assertRegex(processes, r"(?m)^ *PID +PPID +UID ")
        self.assertIn(" ps\n", processes)
        self.assertNotIn("lstart", processes.split("output:")[1])


if __name__ == "__main__":
    unittest.main()
