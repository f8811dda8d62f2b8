"""Which calls of a job are failed, with which errors, and what a trace tells about them."""

import dataclasses
import re

# What each call can fail with on a machine that is full, short of memory, at a limit or has a bad disk. A call that
# a job does not make costs nothing here. The order is that of the table in the report.
ERRORS = {
    "openat": ("EACCES", "EMFILE", "EIO"),
    "read": ("EIO", "EINTR"),
    "pread64": ("EIO",),
    "write": ("ENOSPC", "EIO"),
    "pwrite64": ("ENOSPC",),
    "copy_file_range": ("EXDEV", "EIO", "ENOSPC", "EINTR"),
    "close": ("EIO", "ENOSPC"),
    "lseek": ("EIO",),
    "newfstatat": ("EACCES", "ENOMEM"),
    "fstat": ("EIO",),
    "stat": ("EACCES",),
    "lstat": ("EACCES",),
    "statx": ("EACCES",),
    "access": ("EACCES",),
    "faccessat2": ("EACCES",),
    "getdents64": ("EIO",),
    "getcwd": ("ENOENT",),
    "readlink": ("EACCES",),
    "readlinkat": ("EACCES",),
    "mkdir": ("EACCES", "ENOSPC"),
    "mkdirat": ("EACCES", "ENOSPC"),
    "unlink": ("EACCES", "EIO"),
    "unlinkat": ("EACCES", "EIO"),
    "rmdir": ("EACCES", "EIO"),
    "rename": ("EIO", "EACCES"),
    "renameat": ("EIO", "EACCES"),
    "renameat2": ("EIO", "EINVAL"),
    "link": ("EIO", "EPERM"),
    "linkat": ("EIO", "ENOENT"),
    "fsync": ("EIO",),
    "fdatasync": ("EIO",),
    "ftruncate": ("EIO",),
    "fallocate": ("ENOSPC",),
    "fchmod": ("EPERM",),
    "fchown": ("EPERM",),
    "fstatfs": ("EIO",),
    "statfs": ("EIO",),
    "flock": ("ENOLCK", "EWOULDBLOCK", "EINTR"),
    "fcntl": ("EMFILE", "EINVAL"),
    "dup": ("EMFILE",),
    "dup2": ("EMFILE",),
    "dup3": ("EMFILE",),
    "close_range": ("EINVAL",),
    "pipe2": ("EMFILE", "ENFILE"),
    "eventfd2": ("EMFILE",),
    "socket": ("EMFILE",),
    "sendmsg": ("ENOBUFS",),
    "mmap": ("ENOMEM",),
    "clone3": ("EAGAIN", "ENOMEM"),
    "clone": ("EAGAIN", "ENOMEM"),
    "vfork": ("EAGAIN",),
    "execve": ("EACCES", "ENOENT"),
    "setpgid": ("EACCES",),
    "setsid": ("EPERM",),
    "pidfd_open": ("EMFILE", "ENOSYS"),
    "poll": ("ENOMEM", "EINTR"),
    "ppoll": ("ENOMEM", "EINTR"),
    "pselect6": ("ENOMEM", "EINTR"),
    "wait4": ("EINTR",),
    "waitid": ("EINTR",),
    "kill": ("EPERM",),
}

# Whose calls are failed: those of the thread that began the program, of the threads that collect, or of a process of a
# tool until its program takes over.
MAIN, POOL, CHILD = "main", "pool", "child"
PARTIES = {MAIN: "the main thread", POOL: "a collecting thread", CHILD: "a child"}

# The loader is not the program's own: a failure of its calls ends the program before this one of `main`.
FIRST_CALL_OF_MAIN = "umask"
# A call that waits, or reads from one who writes at his own pace: interrupted once, it has to be made again.
WAITING_CALLS = ("poll", "ppoll", "pselect6", "wait4", "waitid", "flock")
NO_REGULAR_FILE = re.compile(r"^\d+<(?:pipe|socket|anon_inode):")

LINE = re.compile(r"^(?:(\d+) +)?(?:<\.\.\. )?(\w+)(\(| resumed>)(.*)$")


@dataclasses.dataclass(frozen=True, order=True)
class Place:
    """The number-th call of a name that the party makes, counted from where its trace begins."""
    party: str
    call: str
    number: int
    error: str

    def __str__(self):
        return "%s #%d of %s: %s" % (self.call, self.number, PARTIES[self.party], self.error)


@dataclasses.dataclass(frozen=True)
class Call:
    """One call of a trace. The arguments are as strace writes them, with the paths behind descriptors."""
    tracee: str
    name: str
    arguments: str
    result: str


def calls(trace):
    """The calls of a trace in the order in which they began."""
    found = []
    open_ones = {}
    for line in trace.splitlines():
        match = LINE.match(line)
        if not match:
            continue
        tracee, name, kind, rest = match.groups()
        if kind == "(":
            arguments, _, result = rest.rpartition(" = ")
            if rest.endswith("<unfinished ...>"):
                arguments, result = rest[:-len("<unfinished ...>")], ""
                open_ones[tracee, name] = len(found)
            found.append(Call(tracee or "", name, arguments, result))
        elif (tracee, name) in open_ones:
            place = open_ones.pop((tracee, name))
            found[place] = dataclasses.replace(found[place], result=rest.rpartition(" = ")[2])
    return found


def injected(trace):
    """The calls of a trace that were made to fail."""
    return [call for call in calls(trace) if call.result.endswith("(INJECTED)")]


def must_be_repeated(call, error):
    """Whether this failure is one that the program has to get over without any loss."""
    return error == "EINTR" and (call.name in WAITING_CALLS or bool(NO_REGULAR_FILE.match(call.arguments)))


def can_happen(call):
    """Whether the kernel can fail this call so. Only files have something to write out when they are closed; and where
    that fails they are closed all the same, while a call that is made to fail isn't made at all. A pipe that stays open
    so has no end for who reads from it."""
    return call.name != "close" or not NO_REGULAR_FILE.match(call.arguments)


def first_numbers(trace):
    """Of a trace from the start of the program: by name, the number of the first call that is the program's own."""
    made = {}
    for call in calls(trace):
        if call.name == FIRST_CALL_OF_MAIN:
            return {name: count + 1 for name, count in made.items()}
        made[call.name] = made.get(call.name, 0) + 1
    raise AssertionError("the program's trace holds no call of " + FIRST_CALL_OF_MAIN)


def counts(trace):
    """How often the busiest tracee makes each call."""
    made = {}
    for call in calls(trace):
        made[call.tracee, call.name] = made.get((call.tracee, call.name), 0) + 1
    most = {}
    for (_, name), count in made.items():
        most[name] = max(most.get(name, 0), count)
    return most


def child_counts(trace):
    """How often a child makes each call until its program takes over; what that makes of its life is no concern of the
    job. A call that the threads make, too, is left out, as theirs would fail with it."""
    made = {}
    beginners = {}
    for call in calls(trace):
        of_tracee = made.setdefault(call.tracee, {})
        if call.tracee not in beginners:
            of_tracee[call.name] = of_tracee.get(call.name, 0) + 1
        if call.name == "execve":
            beginners.setdefault(call.tracee, of_tracee)
    of_threads = {name for tracee, names in made.items() if tracee not in beginners for name in names}
    return {name: max(names.get(name, 0) for names in beginners.values())
            for names in beginners.values() for name in names if name not in of_threads}


def places(party, trace):
    """All places of a party, from a trace of it in a job in which nothing fails."""
    first = first_numbers(trace) if party == MAIN else {}
    last = counts(trace)
    if party == CHILD:
        last = child_counts(trace)
    return [Place(party, call, number, error)
            for call, errors in ERRORS.items()
            for number in range(first.get(call, 1), last.get(call, 0) + 1)
            for error in errors]


def sample(all_places, stride):
    """Every stride-th place of each call, from the first on: each call of each party is represented."""
    by_call = {}
    for place in all_places:
        by_call.setdefault((place.party, place.call), []).append(place)
    return [place for group in by_call.values() for place in group[::stride]]
