"""A small job of merocli in a /tmp of its own, and runs of it in which a call fails."""

import contextlib
import dataclasses
import os
import select
import shutil
import signal
import subprocess
import sys
import time

from fault_places import CHILD, MAIN, POOL

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
from configurations import (  # noqa: E402  (the folder has to be known first)
    configuration, files, folder_files, group, item, item_with_folder, request, tool)

BASE = "/tmp/job"
SOURCE = BASE + "/source"
TARGET_FOLDER = BASE + "/out"
TARGET = TARGET_FOLDER + "/bundle.zip"
TRACE = BASE + "/trace"
PASSWORD = b"a word that opens"
COMMENT = "a comment"
OLD_TARGET = b"what stood at the target before"

LIMIT_SECONDS = 20
POLL_SECONDS = 0.002

# Longer than a page.
LONG = b"".join(b"line %05d of a log that does not fit into one page\n" % number for number in range(150))
FILES = {
    "plain.txt": b"a plain file\n",
    "logs/first.log": LONG,
    "logs/second.log": b"the second log\n",
    "newest/day-1.log": b"an old day\n",
    "newest/day-2.log": b"the last day\n",
    "tree/top.log": b"on top\n",
    "tree/branch/middle.log": b"in the middle\n",
    "tree/branch/twig/deep.log": LONG[::-1],
    "tree/bare/other.txt": b"of another kind\n",
    "other.txt": b"of another configuration\n",
}


@dataclasses.dataclass(frozen=True)
class Entry:
    """A file that the bundle has to hold: the item it belongs to and where it came from."""
    item: str
    source: str
    content: bytes


def banner(command):
    return "\n\r{0}\n\"{1} output:\n{0}\n\r\n".format("*" * 75, command)


TOOL = BASE + "/bin/tool"
ENTRIES = {
    "job/files/plain.txt": Entry("files", SOURCE + "/plain.txt", FILES["plain.txt"]),
    "job/files/first.log": Entry("files", SOURCE + "/logs/first.log", FILES["logs/first.log"]),
    "job/files/second.log": Entry("files", SOURCE + "/logs/second.log", FILES["logs/second.log"]),
    "job/newest/day-2.log": Entry("newest", SOURCE + "/newest/day-2.log", FILES["newest/day-2.log"]),
    "job/tree/top.log": Entry("tree", SOURCE + "/tree/top.log", FILES["tree/top.log"]),
    "job/tree/branch/middle.log": Entry("tree", SOURCE + "/tree/branch/middle.log", FILES["tree/branch/middle.log"]),
    "job/tree/branch/twig/deep.log": Entry(
        "tree", SOURCE + "/tree/branch/twig/deep.log", FILES["tree/branch/twig/deep.log"]),
    "job/captured/cat_result.txt": Entry("captured", "cat", FILES["plain.txt"]),
    "job/launched/written.txt": Entry("launched", BASE + "/written.txt", b"written by the tool\n"),
    "other/other.txt": Entry("other", SOURCE + "/other.txt", FILES["other.txt"]),
    "comments.txt": Entry("comments", "comments.txt", b"Comments from Varnel Corvane user:\n" + COMMENT.encode()),
}
ITEMS = ("gate", "files", "missing", "newest", "tree", "captured", "launched", "other")


# The gate stands in a group of its own, so that what a group and an item need is still to be made behind it.
CONFIGURATIONS = {
    "job.xml": ("Job", (
        group("Gate", "Gate", item_with_folder("gate", tool(BASE + "/bin/gate")), folder="gate"),
        group("Job", "Job",
              item_with_folder("files", files(SOURCE + "/plain.txt", SOURCE + "/logs/*.log")),
              item_with_folder("missing", files(SOURCE + "/missing.txt")),
              item_with_folder("newest", files(SOURCE + "/newest/day-*.log", attributes=' gather_newest="true"')),
              item_with_folder("tree", folder_files(SOURCE + "/tree", "*.log")),
              item_with_folder("captured", tool("/bin/cat %s/plain.txt" % SOURCE)),
              item_with_folder("launched", tool("tool now", before="<path>%s/bin</path>" % BASE,
                                                behind="<temp_out>%s/written.txt</temp_out>" % BASE)), folder="job"))),
    "other.xml": ("Other", (
        group("Other", "Other", item("other", "other", "true", "The item other", path=SOURCE + "/other.txt"),
              folder="other"),)),
}
# Says that it stands there, and waits to be let on.
GATE = "#!/bin/sh\n[ -p {0}/reached ] || exit 0\necho >{0}/reached\nread -r line <{0}/open\n".format(BASE)
SCRIPTS = {"gate": GATE, "tool": "#!/bin/sh\necho written by the tool >%s/written.txt\n" % BASE}


@dataclasses.dataclass
class Run:
    """What came of a run. The status is that of the process, negative for a signal, None if it had to be ended."""
    status: int | None = None
    errors: str = ""
    trace: str = ""
    target: bytes | None = None
    old_target: bool = False
    password: bool = False
    leavings: tuple = ()
    processes: tuple = ()


def write(path, content, mode=0o644):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content if isinstance(content, bytes) else content.encode())
    os.chmod(path, mode)


def other_processes():
    return tuple(pid for pid in map(int, filter(str.isdigit, os.listdir("/proc"))) if pid != os.getpid())


def command_line(pid):
    try:
        with open("/proc/%d/cmdline" % pid, "rb") as file:
            return file.read().replace(b"\0", b" ").decode(errors="replace")
    except OSError:
        return ""


def is_dead(pid):
    try:
        with open("/proc/%d/stat" % pid, encoding="ascii", errors="replace") as file:
            return file.read().rsplit(")", 1)[1].split()[0] in "ZX"
    except OSError:
        return True


class TooLong(Exception):
    """The limit of a run is over."""


class Job:
    """The job, in a /tmp that nobody else uses: the caller is alone in its namespaces for mounts and processes."""

    def __init__(self, program):
        # What lies in the /tmp of everybody is out of reach from now on.
        with open(program, "rb") as file:
            content = file.read()
        os.chdir("/")
        subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=1777", "faults", "/tmp"], check=True)
        self.program = BASE + "/bin/merocli"
        write(self.program, content, 0o755)
        for name, script in SCRIPTS.items():
            write(BASE + "/bin/" + name, script, 0o755)
        for number, (name, file_content) in enumerate(FILES.items()):
            write(SOURCE + "/" + name, file_content)
            os.utime(SOURCE + "/" + name, (1600000000 + number, 1600000000 + number))
        for name, (title, groups) in CONFIGURATIONS.items():
            write(BASE + "/install/xml/config/" + name, configuration(*groups, title=title))
            # More names than fit into one block of a listing, so that the configurations stand in different ones.
            for number in range(1000):
                write("%s/install/xml/config/%s-%04d.txt" % (BASE, name[:-4], number), "")
        write(BASE + "/request.xml", request(*ITEMS, comment=COMMENT))
        write(BASE + "/password", PASSWORD)
        os.makedirs(BASE + "/home")
        self.environment = {"HOME": BASE + "/home", "USER": "tester", "PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "TZ": "UTC",
                            "LC_ALL": "C.UTF-8"}

    def run(self, party, inject=None, call=None, password=False):
        """
        @param password  with one, there is also something at the target, which the bundle replaces.
        @param inject  what strace takes behind `-e inject=`; without it the calls are only written down.
        @param call    the one call to write down; all if there is none."""
        self.reset(with_gate=party != MAIN, with_old_target=password)
        options = ["-y", "-qq", "-s", "0", "-e", "signal=none"]
        if call:
            options += ["-e", "trace=" + call]
        if inject:
            options += ["-e", "inject=" + inject]
        run = Run(password=password, old_target=password)
        self.end = time.monotonic() + LIMIT_SECONDS
        with open(BASE + "/errors", "wb") as errors:
            try:
                if party == MAIN:
                    run.status = self.run_from_the_start(options, password, errors)
                else:
                    run.status = self.run_from_the_gate(options, party, password, errors)
            except TooLong:
                pass
        run.processes = tuple(command_line(pid) for pid in other_processes() if not is_dead(pid))
        self.end_all()
        self.fill(run)
        return run

    def command(self, password):
        """The job with a password gets its items on the command line, so that the program writes the request."""
        options = (["--password-file", BASE + "/password", "--only", ",".join(ITEMS), "--comment", COMMENT] if password else
                   ["--request", BASE + "/request.xml"])
        return [self.program, "collect", "--install-dir", BASE + "/install", "--target", TARGET, *options]

    def start(self, command, errors, **options):
        return subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=errors,
                                cwd=BASE + "/home", env=self.environment, **options)

    def run_from_the_start(self, options, password, errors):
        """Without -f, so that only the first thread's calls are counted."""
        return self.wait(self.start(["strace", *options, "-o", TRACE, "--", *self.command(password)], errors))

    def run_from_the_gate(self, options, party, password, errors):
        """The first tool of the job waits until strace is there."""
        with contextlib.ExitStack() as stack:
            gates = [os.open(BASE + "/" + name, os.O_RDWR | os.O_CLOEXEC) for name in ("reached", "open")]
            for gate in gates:
                stack.callback(os.close, gate)
            program = self.start(self.command(password), errors)
            if not select.select([gates[0]], [], [], self.rest())[0]:
                raise TooLong
            # A tool is the child of the thread that runs it, but only -f shows which that is; the others stand still.
            threads = [thread for thread in os.listdir("/proc/%d/task" % program.pid) if int(thread) != program.pid]
            if party == CHILD:
                options = [*options, "-f"]
            attached = [word for thread in threads for word in ("-p", thread)]
            tracer = subprocess.Popen(["strace", *options, "-o", TRACE, *attached], stdin=subprocess.DEVNULL,
                                      stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            while not all(self.is_traced(program.pid, thread) for thread in threads):
                self.pause(tracer)
            os.write(gates[1], b"\n")
            status = self.wait(program)
            self.wait(tracer)
            return status

    @staticmethod
    def is_traced(pid, thread):
        with open("/proc/%d/task/%s/status" % (pid, thread), encoding="ascii", errors="replace") as file:
            return "\nTracerPid:\t0\n" not in file.read()

    def pause(self, process):
        if process.poll() is not None:
            raise AssertionError("strace has ended with %d" % process.returncode)
        self.rest()
        time.sleep(POLL_SECONDS)

    def rest(self):
        seconds = self.end - time.monotonic()
        if seconds <= 0:
            raise TooLong
        return seconds

    def wait(self, process):
        try:
            return process.wait(self.rest())
        except subprocess.TimeoutExpired:
            raise TooLong from None

    @staticmethod
    def end_all():
        """Nobody but this process is left in its namespace."""
        while True:
            others = other_processes()
            for pid in others:
                with contextlib.suppress(ProcessLookupError):
                    os.kill(pid, signal.SIGKILL)
            try:
                os.waitpid(-1, 0)
            except ChildProcessError:
                if not other_processes():
                    return

    @staticmethod
    def reset(with_gate, with_old_target):
        for name in os.listdir("/tmp"):
            if "/tmp/" + name != BASE:
                shutil.rmtree("/tmp/" + name)
        shutil.rmtree(TARGET_FOLDER, ignore_errors=True)
        os.makedirs(TARGET_FOLDER)
        if with_old_target:
            write(TARGET, OLD_TARGET)
        for name in ("trace", "written.txt", "reached", "open"):
            with contextlib.suppress(FileNotFoundError):
                os.unlink(BASE + "/" + name)
        if with_gate:
            os.mkfifo(BASE + "/reached")
            os.mkfifo(BASE + "/open")

    @staticmethod
    def fill(run):
        with open(BASE + "/errors", encoding="utf-8", errors="replace") as file:
            run.errors = file.read()
        with contextlib.suppress(FileNotFoundError):
            with open(TRACE, encoding="utf-8", errors="replace") as file:
                run.trace = file.read()
        with contextlib.suppress(FileNotFoundError):
            with open(TARGET, "rb") as file:
                run.target = file.read()
        left = ["/tmp/" + name for name in os.listdir("/tmp")] + [TARGET_FOLDER + "/" + name
                                                                 for name in os.listdir(TARGET_FOLDER)]
        run.leavings = tuple(sorted(set(left) - {BASE, TARGET}))
