"""A machine of a test's own: processes, mounts, files and users that no other test sees and that end with the test."""

import contextlib
import errno
import os
import pwd
import re
import subprocess
import sys
import time
import unittest

# Set in the process that has a machine of its own.
INSIDE = "MERO_HELPER_MACHINE"
SEPARATION = ("unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc", "--propagation", "private", "--")

BASE = "/opt/mero-test"
ALICE = "alice"
MALLORY = "mallory"
ROOT_HOME = pwd.getpwnam("root").pw_dir
USERS = {ALICE: 54401, MALLORY: 54402}
# Folders that the helper, its callers or the tests write to, with their modes. They begin empty.
OWN_FOLDERS = {"/opt": "755", "/tmp": "1777", "/var/tmp": "1777", "/dev/shm": "1777", "/var/cache": "755",
               "/run": "755", "/home": "755", ROOT_HOME: "700"}

POLL_SECONDS = 0.02
LIMIT_SECONDS = 40


def obstacle():
    """Why there can be no such machine; empty if there can."""
    if os.geteuid() != 0:
        return "only root can make users, mounts and a system bus for the helper"
    attempt = subprocess.run([*SEPARATION, "mount", "-t", "tmpfs", "none", "/opt"], stdin=subprocess.DEVNULL,
                             stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=False)
    return "this environment has no mounts of a process's own: " + attempt.stderr.decode() if attempt.returncode else ""


def main():
    """Runs the tests of the script on a machine of their own. Where there can be none, make_machine skips them."""
    if INSIDE not in os.environ and not obstacle():
        os.execvpe(SEPARATION[0], [*SEPARATION, sys.executable, "-B", *sys.argv], dict(os.environ, **{INSIDE: "yes"}))
    unittest.main(verbosity=2)


def write(path, content, mode=0o644, owner="root"):
    """Makes a file, and its folder if that is missing. @return the path."""
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content if isinstance(content, bytes) else content.encode())
    os.chmod(path, mode)
    give(path, owner)
    return path


def folder(path, owner="root", mode=0o755):
    os.makedirs(path, exist_ok=True)
    os.chmod(path, mode)
    give(path, owner)
    return path


def link(path, target, owner="root"):
    os.symlink(target, path)
    give(path, owner)
    return path


def give(path, owner):
    user = pwd.getpwnam(owner)
    os.chown(path, user.pw_uid, user.pw_gid, follow_symlinks=False)


def read(path):
    with open(path, "rb") as file:
        return file.read()


def make_machine():
    """Empty folders where tests write, a copy of /etc, and the users with their homes."""
    if INSIDE not in os.environ:
        raise unittest.SkipTest(obstacle())
    os.chdir("/")
    for path, mode in OWN_FOLDERS.items():
        subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=" + mode, "mero-test", path], check=True)
    subprocess.run(["cp", "-a", "/etc", folder(BASE) + "/etc"], check=True)
    subprocess.run(["mount", "--bind", BASE + "/etc", "/etc"], check=True)
    for user, number in USERS.items():
        with open("/etc/passwd", "a", encoding="utf-8") as users, open("/etc/group", "a", encoding="utf-8") as groups:
            users.write("%s:x:%d:%d::/home/%s:/bin/sh\n" % (user, number, number, user))
            groups.write("%s:x:%d:\n" % (user, number))
        folder("/home/" + user, user, 0o700)


def wait_for(condition, what, limit=LIMIT_SECONDS):
    """What the condition gives as soon as it is true.
    @param what  a text, or what gives one when it is needed."""
    deadline = time.monotonic() + limit
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > deadline:
            raise AssertionError("no %s in %d s" % (what() if callable(what) else what, limit))
        time.sleep(POLL_SECONDS)


def processes():
    """The processes of this machine that have not ended, with the parent of each."""
    found = {}
    for entry in filter(str.isdigit, os.listdir("/proc")):
        with contextlib.suppress(OSError):
            state, parent = read("/proc/%s/stat" % entry).rsplit(b")", 1)[1].split()[:2]
            if state not in (b"Z", b"X"):
                found[int(entry)] = int(parent)
    return found


def children(process):
    return {child for child, parent in processes().items() if parent == process}


def command_line(process):
    """Empty for a process that has ended."""
    try:
        return read("/proc/%d/cmdline" % process).replace(b"\0", b" ").decode(errors="replace")
    except OSError:
        return ""


def resident_kilobytes(process):
    return int(re.search(rb"^VmRSS:\s+(\d+)", read("/proc/%d/status" % process), re.MULTILINE)[1])


class Gate:
    """Holds a tool that reads from it: the job stands still there until the gate is opened."""

    def __init__(self, name="gate"):
        self.path = BASE + "/gates/" + name
        self.descriptor = None
        folder(os.path.dirname(self.path), mode=0o700)
        os.mkfifo(self.path, 0o600)

    def is_reached(self):
        try:
            self.descriptor = os.open(self.path, os.O_WRONLY | os.O_NONBLOCK | os.O_CLOEXEC)
        except OSError as error:
            if error.errno != errno.ENXIO:
                raise
        return self.descriptor is not None

    def wait(self):
        """Returns when a tool stands at the gate."""
        wait_for(self.is_reached, "tool at the gate")

    def open(self):
        os.close(self.descriptor)
        self.descriptor = None
