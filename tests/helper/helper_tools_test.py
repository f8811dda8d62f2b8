"""What root's tools read: nothing from a folder that the caller of the job can write to."""

import collections
import glob
import os
import re
import shutil
import stat
import subprocess
import unittest
import xml.etree.ElementTree

import helper_machine
from helper_machine import ALICE, BASE, USERS, folder, read, wait_for, write
from helper_world import CallerTest, SUCCESS

from configurations import request

DATA = os.environ["MERO_SOURCE_DIR"] + "/data"
SHIPPED = {os.path.basename(path): read(path) for path in glob.glob(DATA + "/xml/config/*.xml")}
TOOL_OUTPUT = read(DATA + "/plugin/tool-output")
# In its place: takes the same options and looks after nothing, as a configuration may run programs directly.
PLAIN_TOOL_OUTPUT = """#!/bin/sh
while getopts t:b:es: option; do :; done
shift $((OPTIND - 1))
command -v -- "$1" >/dev/null || exit 0
exec "$@"
"""

TRACE = BASE + "/trace"
# Made by whatever of the planted files gets run by root.
MARK = BASE + "/planted-code-has-run"
RUN_MARK = "touch " + MARK
PYTHON_MARK = "import os\nos.system('%s')\n" % RUN_MARK
PERL_MARK = "BEGIN { system('%s') }\n1;\n" % RUN_MARK
RPM_MARK = "%%_host_cpu %%(%s)\n%%_rpmlock_path %%(%s)\n%%_query_all_fmt %%(%s)\n" % (RUN_MARK, RUN_MARK, RUN_MARK)

# What programs look for in a home, or in the current folder if they were started there.
PLANTED = {
    ".rpmmacros": RPM_MARK, ".rpmrc": "macrofiles: ~/.rpmmacros\n", ".config/rpm/macros": RPM_MARK,
    ".config/rpm/rpmrc": "macrofiles: ~/.rpmmacros\n",
    ".bashrc": RUN_MARK, ".profile": RUN_MARK, ".bash_profile": RUN_MARK, ".bash_login": RUN_MARK, ".shrc": RUN_MARK,
    ".kshrc": RUN_MARK, ".zshenv": RUN_MARK, ".bash_logout": RUN_MARK, ".inputrc": "$include /dev/null\n",
    ".config/readline/inputrc": "", ".perl5/lib/strict.pm": PERL_MARK, ".perl5/sitecustomize.pl": PERL_MARK,
    "perl5/lib/perl5/strict.pm": PERL_MARK, ".perldb": PERL_MARK, ".pythonrc.py": PYTHON_MARK,
    ".gitconfig": "[core]\n\tpager = %s\n" % RUN_MARK, ".config/git/config": "[core]\n\tpager = %s\n" % RUN_MARK,
    ".curlrc": "--output %s\n" % MARK, ".wgetrc": "output_document = %s\n" % MARK, ".netrc": "default login root\n",
    ".terminfo/d/dumb": "", ".terminfo/x/xterm": "", ".terminfo.cdb": "", ".lesskey": "", ".config/lesskey": "",
    ".lessfilter": RUN_MARK, ".nanorc": "", ".editrc": "", ".toprc": "", ".config/procps/toprc": "", ".dircolors": "",
    ".local/share/locale/en/LC_MESSAGES/x.mo": "", ".hushlogin": "", ".ldaprc": "TLS_CACERT /dev/null\n",
    ".config/dpkg/dpkg.cfg": "admindir /home\n", ".dpkg.cfg": "admindir /home\n", ".chronyrc": "",
    ".config/NetworkManager/nmcli.conf": "", ".config/nmcli-colors": "", ".config/terminal-colors.d/lscpu.enable": "",
    ".config/terminal-colors.d/dmesg.enable": "", ".config/terminal-colors.d/enable": "", ".config/iproute2/rt_tables": "",
    ".iproute2/rt_tables": "", ".config/systemd/user/x.service": "", ".config/user-dirs.dirs": "", ".pci.ids": "",
    ".pciids-cache": "", ".config/firewalld/firewalld.conf": "", ".config/apparmor/aa-status.conf": "", ".hwdata/usb.ids": "",
    ".config/nftables/nft.conf": "", ".nftablesrc": "", ".nft.history": "", ".openssl.cnf": "", ".config/pki/nssdb": "",
    ".dbus/session-bus/x": "", ".Xauthority": "", ".local/share/dbus-1/services/x.service": "", ".selinux/config": "",
    ".libpcap": "", ".config/locale.conf": "LANG=de_DE.UTF-8\n", ".i18n": "LANG=de_DE.UTF-8\n", ".pam_environment": "",
}
for _version in glob.glob("/usr/lib/python3*"):
    _folder = ".local/lib/%s/site-packages/" % os.path.basename(_version)
    PLANTED[_folder + "planted.pth"] = "import os; os.system('%s')\n" % RUN_MARK
    PLANTED[_folder + "usercustomize.py"] = PYTHON_MARK
    PLANTED[_folder + "sitecustomize.py"] = PYTHON_MARK
    PLANTED[_folder + "firewall/__init__.py"] = PYTHON_MARK
# What a program would take from the current folder or its neighbours.
MODULES = {name: PYTHON_MARK for name in ("os.py", "gi.py", "dbus.py", "argparse.py", "sitecustomize.py")}

CALL = re.compile(r"^(?P<name>\w+)\((?P<arguments>.*)\) += (?P<result>-?\d+|\?)(?P<rest>.*)$")
FORKS = ("fork", "vfork", "clone", "clone3")
TEXT = r'"((?:[^"\\]|\\.)*)"'
Opened = collections.namedtuple("Opened", "program path")


class Trace:
    """The calls of a traced job, by process."""

    def __init__(self, prefix):
        self.calls = {}
        for path in glob.glob(prefix + ".*"):
            found = map(CALL.match, read(path).decode(errors="replace").splitlines())
            self.calls[int(path.rsplit(".", 1)[1])] = [call for call in found if call]
        # One that a signal has interrupted gives no process and is made again.
        self.parents = {int(call["result"]): process for process, calls in self.calls.items() for call in calls
                        if call["name"] in FORKS and "CLONE_THREAD" not in call["arguments"]
                        and call["result"] != "?" and int(call["result"]) > 0}

    def tools(self):
        """The programs that ran as tools, by process: those that have another program than the helper's."""
        programs = {}
        for process, calls in self.calls.items():
            names = [re.match(TEXT, call["arguments"])[1] for call in calls
                     if call["name"] == "execve" and call["result"] == "0"]
            programs[process] = [name for name in names if name != "/proc/self/exe"]
        return {process: names for process, names in programs.items() if names}

    def opened(self):
        """What tools have opened or tried to open: from their first program on, and as children of such."""
        tools = self.tools()
        for process, calls in self.calls.items():
            parent = self.parents.get(process)
            program = tools[parent][-1] if parent in tools else ""
            for call in calls:
                if call["name"] == "execve":
                    path = re.match(TEXT, call["arguments"])[1]
                    if program:
                        yield Opened(program, path)
                    if call["result"] == "0" and path != "/proc/self/exe":
                        program = path
                elif call["name"] not in FORKS and program:
                    yield Opened(program, self.path_of(call))

    @staticmethod
    def path_of(call):
        """The path that a call has named, and where it led if it led somewhere."""
        led = re.match(r"<(/[^>]*)>", call["rest"])
        if led:
            return led[1]
        named = re.match(r"(?:(?:AT_FDCWD|\d+)<([^>]*)>, )?" + TEXT, call["arguments"])
        return os.path.normpath(os.path.join(named[1] or "/", named[2]))


def is_writable_for(user, path):
    """Whether the permissions of a folder let a user put files into it."""
    try:
        status = os.stat(path)
    except OSError:
        return False
    right = (stat.S_IWUSR if status.st_uid == user else stat.S_IWGRP if status.st_gid == user else stat.S_IWOTH)
    return stat.S_ISDIR(status.st_mode) and bool(status.st_mode & right)


def ancestors(path):
    while path != "/":
        path = os.path.dirname(path)
        yield path


class ShippedTools(CallerTest):
    """All items of the shipped configuration that run tools in one job, its processes traced."""

    def setUp(self):
        if os.environ["MERO_SANITIZE"]:
            raise unittest.SkipTest("the search for leaks at a program's end can't be done in a traced process")
        super().setUp()
        os.remove(BASE + "/xml/config/test.xml")
        for name, content in SHIPPED.items():
            write(BASE + "/xml/config/" + name, content)
        write(BASE + "/plugin/tool-output", TOOL_OUTPUT, 0o755)
        self.plant()

    @staticmethod
    def plant():
        runtime = folder("/run/user/%d" % USERS[ALICE], ALICE, 0o700)
        for path in ["/home/alice", runtime, "/tmp", "/var/tmp", "/dev/shm"]:
            for name, content in {**PLANTED, **MODULES}.items():
                write(os.path.join(path, name), content, 0o755, ALICE)
        subprocess.run(["chown", "-R", "alice:", "/home/alice"], check=True)

    @staticmethod
    def shipped_items():
        """Ids of the items that run tools."""
        for content in SHIPPED.values():
            for item in xml.etree.ElementTree.fromstring(content).iter("file"):
                if item.find(".//use_extern_action") is not None:
                    yield item.attrib["id"]

    @staticmethod
    def shipped_tools():
        """Names of the programs that the configuration runs and that are installed."""
        lines = re.findall(r"<args>tool-output (?:-[tbs] \S+ |-e )*([^< ]+)", b"".join(SHIPPED.values()).decode())
        path = "/usr/sbin:/usr/bin:/sbin:/bin"
        return {name for name in lines if shutil.which(name, path=path)}

    def trace_job(self):
        """Has everything collected. @return the trace"""
        choice = write("/tmp/BundleRequest_0102_0304.xml", request(*self.shipped_items()), 0o600, ALICE)
        self.alice.ping()
        tracer = self.start_daemon(
            ["strace", "-ff", "-y", "-s", "4096", "-e", "signal=none", "-o", TRACE,
             "-e", "trace=open,openat,openat2,creat,execve,execveat,clone,clone3,fork,vfork", "-p", str(self.helper())],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_for(lambda: b"TracerPid:\t%d\n" % tracer.pid in read("/proc/%d/status" % self.helper()), "tracer")
        self.assertEqual(self.collect(self.alice, request=choice), SUCCESS)
        self.end_helper(self.alice)
        tracer.wait()
        return Trace(TRACE)

    def testOpenNothingWhereTheCallerCanWrite(self):
        self.expect_nothing_opened()

    def testOpenNothingThereWithoutTheCareOfTheScriptThatRunsThem(self):
        write(BASE + "/plugin/tool-output", PLAIN_TOOL_OUTPUT, 0o755)
        self.expect_nothing_opened()

    def expect_nothing_opened(self):
        trace = self.trace_job()
        names = {os.path.basename(program) for programs in trace.tools().values() for program in programs}
        self.assertLessEqual(self.shipped_tools() | {"rpm", "firewall-cmd"}, names)
        opened = {one for one in trace.opened()
                  if any(is_writable_for(USERS[ALICE], path) for path in ancestors(one.path))}
        self.assertEqual(opened, set())
        self.assertFalse(os.path.exists(MARK))


if __name__ == "__main__":
    helper_machine.main()
