"""The shipped configuration set on the layouts of several distributions.

Each is a root folder of its own: the files that such a system has, and programs that stand for its tools and answer as
those do, with their exit statuses. No program of the machine but the shell and what the tools' script uses is in it.
"""

import glob
import os
import shutil
import subprocess
import unittest
import xml.etree.ElementTree as ElementTree
import zipfile

from console import MEROCLI, ConsoleTest

SOURCE = os.environ["MERO_SOURCE_DIR"]
PROGRAMS = "opt/varnel/corvane/mero"
# What the script of the tools needs.
SHELL_TOOLS = ("sh", "cat", "dd", "head", "od", "tail", "tee", "timeout", "tr", "wc")
LIBRARIES = ("/lib", "/lib32", "/lib64", "/usr/lib", "/usr/lib32", "/usr/lib64")
LARGEST_BUNDLE_BYTES = 10 * 1000 * 1000
LARGEST_OUTPUT_BYTES = 4194304
# Stands where no default bundle may take it from.
PRIVATE = "private-to-the-user"
# Stands where the set finds it only in a certain layout.
WANTED = "wanted"

# Mounts what a program needs below the root folder $0, and runs it there; nobody else sees it so.
IN_ROOT = ["--mount", "--propagation", "private", "sh", "-c",
           'for place in /proc /dev $LIBRARIES; do mount --rbind "$place" "$0$place" || exit 125; done; '
           'PATH=$PATH:/usr/sbin:/sbin; exec chroot "$0" "$@"']
if os.geteuid() != 0:
    IN_ROOT.insert(0, "--map-root-user")

NOT_BOOTED = """echo "System has not been booted with systemd as init system (PID 1). Can't operate."
echo "Failed to connect to bus: Host is down"; exit 1"""
JOURNAL = """case "$*" in
*--boot=-1*) echo "Data from the specified boot (-1) is not available: No such boot ID in journal"; exit 1 ;;
*--unit=*) echo "Failed to add filter for units: No data available"; exit 1 ;;
*--identifier=*) echo "-- No entries --"; exit 1 ;;
esac
cat /stand-ins/journal"""

# Everywhere. A program prints its name and arguments unless it has an answer of its own.
TOOLS = {
    "df": None, "dmesg": None, "free": None, "ip": None, "journalctl": JOURNAL, "lsblk": None, "lscpu": None,
    "lspci": None, "lsusb": None, "networkctl": None, "ps": None, "ss": None, "systemctl": None,
    "systemd-analyze": None, "systemd-detect-virt": None, "timedatectl": None, "uptime": None,
}
FILES = {
    "etc/hosts": WANTED, "etc/resolv.conf": WANTED, "etc/os-release": WANTED, "etc/hostname": WANTED,
    "etc/NetworkManager/system-connections/home.nmconnection": PRIVATE, "etc/shadow": PRIVATE,
    "etc/wireguard/wg0.conf": PRIVATE, "etc/systemd/network/vpn.netdev": PRIVATE,
    "etc/systemd/network/vpn.netdev.d/key.conf": PRIVATE, "etc/systemd/system/vpn.service.d/environment.conf": PRIVATE,
    "var/log/varnel/agent.log": WANTED,
}
SYSTEMD_SETTINGS = {"etc/systemd/journald.conf": WANTED, "etc/systemd/system.conf": WANTED}


@unittest.skipUnless(subprocess.run(["unshare", *IN_ROOT[:-3], "true"], capture_output=True, check=False).returncode == 0,
                     "needs mounts of its own, which this environment does not allow")
class Distribution(ConsoleTest):
    def lay_out(self, tools, files):
        """A root folder with these stand-ins and files beside those that are everywhere."""
        self.files = {**FILES, **files}
        for name, content in self.files.items():
            self.write("root/" + name, content + " " + name + "\n")
        for name, answer in {**TOOLS, **tools}.items():
            path = self.write("root/usr/bin/" + name, "#!/bin/sh\n# Stands for the tool of this name.\n%s\n"
                              % (answer or 'echo "answer of %s $*"' % name))
            os.chmod(path, 0o755)
        for name in SHELL_TOOLS:
            shutil.copy(shutil.which(name), self.path("root/usr/bin", name))
        os.symlink("usr/bin", self.path("root/bin"))
        line = "Nov 01 12:34:56 host service[%d]: request %x has taken %d ms, the peer said no\n"
        journal = "".join(line % (number % 4000, number * 2654435761 % 2**32, number * 40503 % 1000)
                          for number in range(75000))
        self.assertGreater(len(journal), LARGEST_OUTPUT_BYTES)
        self.write("root/stand-ins/journal", journal + "the newest line\n")
        self.lay_out_programs()
        for folder in ("tmp", "proc", "dev", "home"):
            os.makedirs(self.path("root", folder))
        self.environment.update(HOME="/home", LIBRARIES=" ".join(self.libraries()))

    def lay_out_programs(self):
        shutil.copytree(os.path.join(SOURCE, "data/xml/config"), self.path("root", PROGRAMS, "xml/config"))
        shutil.copytree(os.path.join(SOURCE, "data/plugin"), self.path("root", PROGRAMS, "plugin"))
        shutil.copy(MEROCLI, self.path("root", PROGRAMS))

    def libraries(self):
        """The folders of libraries, as far as they are folders here."""
        for place in LIBRARIES:
            target = self.path("root" + place)
            if os.path.islink(place):
                os.symlink(os.readlink(place), target)
            elif os.path.isdir(place):
                os.makedirs(target)
                yield place

    def collect(self, *arguments):
        """Name and content of the files of a bundle that is made in the root."""
        status, _, errors = self.run_console(*IN_ROOT, self.path("root"), "/%s/merocli" % PROGRAMS, "collect",
                                             "--target", "/tmp/a.zip", *arguments, program="unshare")
        self.assertEqual((status, errors), (0, "Bundle: /tmp/a.zip\n"))
        self.bundle = self.path("root/tmp/a.zip")
        with zipfile.ZipFile(self.bundle) as archive:
            self.assertIsNone(archive.testzip())
            return {name: archive.read(name).decode(errors="replace") for name in archive.namelist()}

    def assert_no_false_failure(self, entries):
        for name, text in entries.items():
            for words in ("has failed, with exit status", "was ended because", "was killed"):
                self.assertNotIn(words, text, name)
        self.assertNotIn("Failed to execute", entries["summary.txt"])
        self.assertNotIn("failed to parse or use", entries["summary.txt"])

    def check(self, tools, files, *wanted):
        """A default bundle, and one with all the other items: both without a false failure, the first one small and
        without anything private, and the wanted files in it."""
        self.lay_out(tools, files)
        entries = self.collect()
        self.assert_no_false_failure(entries)
        self.assertLess(os.path.getsize(self.bundle), LARGEST_BUNDLE_BYTES)
        for name, text in entries.items():
            self.assertNotIn(PRIVATE, text, name)
        for name in wanted:
            self.assertTrue([text for text in entries.values() if text == "%s %s\n" % (WANTED, name)], name)
        for name in ("journal", "journal-kernel"):
            text = entries["system/log/%s.txt" % name]
            self.assertIn("\nthe newest line\n", text)
            self.assertIn("[The beginning of the output of 'journalctl' was cut", text)
            self.assertLess(len(text), LARGEST_OUTPUT_BYTES + 2000)
        self.assertIn("No such boot ID in journal", entries["system/log/journal-last-boot.txt"])
        chosen = self.collect("--only", ",".join(self.items("false")))
        self.assert_no_false_failure(chosen)
        return entries, chosen

    @staticmethod
    def items(default):
        return [item.get("id") for path in sorted(glob.glob(SOURCE + "/data/xml/config/*.xml"))
                for item in ElementTree.parse(path).getroot().iter("file") if item.findtext("default") == default]

    def testDebian12OnAPhysicalMachine(self):
        entries, chosen = self.check({
            "aa-status": 'echo "apparmor module is loaded."',
            "dpkg-query": 'echo "systemd 252"; [ $# = 1 ] || { echo "dpkg-query: no packages found matching varnel*"; exit 1; }',
            "rpm": 'echo "error: cannot open Packages database in $HOME/.rpmdb"; exit 1',
            "systemd-detect-virt": "echo none; exit 1",
        }, {
            **SYSTEMD_SETTINGS, "etc/debian_version": WANTED, "etc/default/grub": WANTED, "var/log/dpkg.log": WANTED,
            "var/log/boot.log": WANTED, "etc/network/interfaces": PRIVATE, "var/log/apt/history.log": PRIVATE,
            "var/log/auth.log": PRIVATE, "var/lib/dpkg/status": PRIVATE,
        }, "etc/debian_version", "etc/systemd/journald.conf", "var/log/dpkg.log", "var/log/boot.log")
        self.assertIn("none\n", entries["system/state/processor.txt"])
        self.assertIn("no packages found", entries["packages/versions/suite-packages.txt"])
        self.assertIn("packages/log/history.log", chosen)
        self.assertIn("network/management/ifupdown/interfaces", chosen)

    def testDebian13InAContainer(self):
        entries, _ = self.check({
            "aa-status": 'echo "apparmor not present."; exit 1',
            "dpkg-query": 'echo "systemd 257"',
            "lspci": 'echo "lspci: Cannot open /proc/bus/pci"; exit 1',
            "lsusb": "exit 1",
            "networkctl": 'echo "Failed to connect system bus: No such file or directory"; exit 1',
            "systemctl": NOT_BOOTED, "timedatectl": NOT_BOOTED,
            "systemd-analyze": 'case "$*" in *time) %s ;; esac; echo "answer of systemd-analyze $*"' % NOT_BOOTED,
            "systemd-detect-virt": "echo docker",
        }, {"etc/debian_version": WANTED, "var/log/dpkg.log": WANTED, "var/log/apt/history.log": PRIVATE},
           "etc/debian_version", "var/log/dpkg.log")
        self.assertIn("not been booted with systemd", entries["system/state/failed-units.txt"])
        self.assertIn("cat-config systemd/system.conf systemd/journald.conf", entries["system/systemd/settings.txt"])

    def testFedora(self):
        entries, chosen = self.check({
            "NetworkManager": None, "chronyc": None, "nmcli": None, "resolvectl": None, "rpm": None, "sestatus": None,
            "firewall-cmd": None,
            "timedatectl": 'case "$*" in *timesync*) echo "Failed to query server: not activatable"; exit 1 ;; esac; echo ok',
        }, {
            "etc/fedora-release": WANTED, "var/log/dnf.rpm.log": WANTED, "var/log/dnf5.log": PRIVATE,
            "etc/sysconfig/network-scripts/ifcfg-home": PRIVATE, "etc/NetworkManager/conf.d/dns.conf": WANTED,
            "run/log/journal/0123/system.journal": PRIVATE, "run/systemd/network/10-boot.network": WANTED,
        }, "etc/fedora-release", "var/log/dnf.rpm.log", "etc/NetworkManager/conf.d/dns.conf",
           "run/systemd/network/10-boot.network")
        self.assertIn("answer of NetworkManager --print-config",
                      entries["network/management/NetworkManager/settings.txt"])
        self.assertIn("packages/log/dnf5.log", chosen)
        self.assertIn("network/management/ifupdown/ifcfg-home", chosen)
        self.assertIn("system/log/journal/volatile/0123/system.journal", chosen)

    def testOpenSUSE(self):
        entries, chosen = self.check({
            "aa-status": "exit 2", "rpm": None, "wicked": None,
            "chronyc": 'echo "506 Cannot talk to daemon"; exit 1',
            "firewall-cmd": 'echo "FirewallD is not running"; exit 252',
            "nmcli": 'echo "Error: NetworkManager is not running."; exit 8',
            "resolvectl": 'echo "Failed to get global data: not activatable"; exit 1',
        }, {
            "usr/etc/nsswitch.conf": WANTED, "etc/sysconfig/network/config": WANTED, "run/netconfig/resolv.conf": WANTED,
            "etc/wicked/common.xml": WANTED, "var/log/messages": WANTED, "etc/sysconfig/network/ifcfg-wlan0": PRIVATE,
            "var/log/zypp/history": PRIVATE,
        }, "usr/etc/nsswitch.conf", "etc/sysconfig/network/config", "run/netconfig/resolv.conf", "etc/wicked/common.xml",
           "var/log/messages")
        self.assertIn("answer of wicked show all", entries["network/management/state/wicked.txt"])
        self.assertIn("packages/log/history", chosen)
        self.assertIn("network/management/wicked/interfaces/ifcfg-wlan0", chosen)


if __name__ == "__main__":
    unittest.main()
