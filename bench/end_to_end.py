#!/usr/bin/env python3
"""Measures whole jobs of merocli against yardsticks.   end_to_end.py BUILD_FOLDER [--quick] [--big] [--rounds N]

Workload: 300 files of 20 MB, 3,000 of 200 MB and with --big 20,000 of 1.5 GB, in six folders with a configuration file
each; nine tenths log-like text that deflate shrinks to about a seventh, one tenth bytes that it can't shrink; sizes from
some bytes to some megabytes, many small and few large, and in the largest one log of 600 MB. Then a log of 600 MB alone.
The same seed gives the same files. --quick shrinks all of it to a smoke test.

Yardsticks: `cp -r` of the same files to the same disk, and a bare single-threaded minizip loop at level 9 over the copy;
for the picture also `tar | pigz -9`, `zip -9` and, as root, `sos`, where they are installed. In each round all follow each
other, and the ratios are medians over the rounds, so that what the machine does besides hits all alike.
"""

import argparse
import glob
import os
import random
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
import zipfile

from figures import Results, add_option

FOLDERS = 6
CORES = len(os.sched_getaffinity(0))
# What packing takes at least is its share of the cores; beside it stands what can't be shared.
WHOLE_JOB_GOAL = 1 / CORES + 0.05
SINGLE_LOG_GOAL = 1 / CORES + 0.04
PASSWORD_GOAL = 1.05
COPY_GOAL = 1.1
ENTRY_GOAL = 1.002
MEMORY_GOAL_MB = 24.0

LOG_BYTES = 600_000_000
LARGE_ROUNDS = 3
# A copy is short.
COPIES_PER_ROUND = 3

# Collects what stands in a file of ours in place of the system's, and nothing else.
SOS = ('mount --bind "$1/extras" /etc/sos/extras.d && exec sos report --batch -q --only-plugins sos_extras --log-size 0 '
       '-z gzip --tmp-dir "$1/sos"')

CONFIGURATION = """<?xml version="1.0" encoding="UTF-8"?>
<configure>
  <title>Bench {number}</title>
  <fileGroup treeRootName="Bench {number}" directoryName="{group}/{number}">
    <title>Bench {number}</title>
    <file id="bench-{number}">
      <gui><label>Bench {number}</label></gui>
      <default>true</default>
      <description>Folder {number}</description>
      <mero><os opsys="linux"><directory_copy_action><action>
        <loc>{folder}</loc><pattern>*</pattern>
      </action></directory_copy_action></os></mero>
    </file>
  </fileGroup>
</configure>
"""

SERVICES = ("agent", "tunnel", "posture", "updater", "dns", "ui")
EVENTS = ("Established session {a} to 10.{b}.{c}.{d} over UDP/443, cipher suite AES256-GCM-SHA384",
          "Keepalive {a} answered after {b}.{c} ms",
          "Route 10.{b}.{c}.0/24 via 192.168.{d}.1 dev cor0 metric {b} added",
          "Renegotiation of {a} failed: peer closed the connection (error 0x{a:08x}), retrying in {d} s",
          "Name server 10.{b}.{c}.{d} did not answer a query for host{a}.example.org",
          "Function: processState File: TunnelStateMgr Line: {b} state changed from {c} to {d}",
          "User request {a}: disconnect, reason {c}")


def log_text(source, size):
    """Lines like those of the suite's services."""
    lines = []
    length = 0
    now = 1700000000.0
    while length < size:
        now += source.expovariate(2.0)
        event = source.choice(EVENTS).format(a=source.randrange(1 << 24), b=source.randrange(256),
                                             c=source.randrange(256), d=source.randrange(1, 255))
        line = "%s host-%d corvane-%s[%d]: [%s] %s\n" % (
            time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime(now)), source.randrange(3), source.choice(SERVICES),
            1000 + source.randrange(6), source.choice(("NOTICE", "NOTICE", "NOTICE", "WARNING", "ERROR")), event)
        lines.append(line)
        length += len(line)
    return "".join(lines).encode()


def make_corpus(folder, total, count, log=0):
    """Writes the source files, below the folder "source", and what merocli needs to collect them.
    @param log  of the bytes in total, those of one large log, which is one of the files. @return the group's folder name."""
    source = random.Random(20260101)
    text = log_text(source, min(total, 16 << 20))
    noise = source.randbytes(4 << 20)
    weights = [source.lognormvariate(0, 1.4) for _ in range(count - (log > 0))]
    scale = (total - log) / max(sum(weights), 1)
    sizes = [max(1, int(weight * scale)) for weight in weights] + [log] * (log > 0)
    for number, rest in enumerate(sizes):
        place = os.path.join(folder, "source", str(number % FOLDERS), "d%d" % (number % 7))
        os.makedirs(place, exist_ok=True)
        binary = number % 10 == 0 and rest != log
        with open(os.path.join(place, "file%04d.%s" % (number, "bin" if binary else "log")), "wb") as file:
            while rest > 0:
                pool = noise if binary else text
                piece = min(rest, source.randrange(20000, 400000))
                start = source.randrange(max(1, len(pool) - piece))
                rest -= file.write(pool[start:start + piece])
    group = "bench_" + os.path.basename(folder)
    os.makedirs(os.path.join(folder, "install/xml/config"))
    for number in range(FOLDERS):
        with open(os.path.join(folder, "install/xml/config/%d.xml" % number), "w") as file:
            source_folder = os.path.join(folder, "source", str(number))
            file.write(CONFIGURATION.format(number=number, group=group, folder=source_folder))
    with open(os.path.join(folder, "password"), "w") as file:
        file.write("correct horse battery staple\n")
    return group


class Run:
    """One command: its wall time in seconds, how much of it lies behind the word that zipping begins, and its peak memory
    in MB."""

    def __init__(self, yardstick, *command):
        os.sync()  # what those before have written is no burden of this one
        with tempfile.TemporaryFile("w+") as messages:
            process = subprocess.Popen([yardstick, "run", *command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                       stderr=messages)
            zipping = time.perf_counter()
            # A line of progress ends only where the next one begins.
            while part := process.stdout.read1():
                if b"Zipping" in part:
                    zipping = time.perf_counter()
            status = process.wait()
            self.packing = time.perf_counter() - zipping
            messages.seek(0)
            told = messages.read()
        if status != 0:
            sys.exit("%s failed with %d: %s" % (command[0], status, told))
        seconds, kibibytes = told.splitlines()[-1].split()
        self.seconds = float(seconds)
        self.megabytes = int(kibibytes) / 1024


class Bench:
    def __init__(self, build, total, count, log=0):
        self.build = build
        self.total = total
        self.count = count
        self.measure = os.path.join(build, "bench/yardstick")
        self.folder = tempfile.mkdtemp(prefix="mero_bench_", dir="/tmp")
        self.group = make_corpus(self.folder, total, count, log)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.folder, ignore_errors=True)

    def path(self, name):
        return os.path.join(self.folder, name)

    def copy(self, *command):
        """Runs what copies a folder to a place where nothing is. @return its seconds."""
        shutil.rmtree(self.path("copy"), ignore_errors=True)
        return Run(self.measure, *command, self.path("source"), self.path("copy")).seconds

    def plain_copy(self):
        return self.copy("cp", "-r")

    def own_copy(self):
        return self.copy(os.path.join(self.build, "bench/copy_tree"))

    def plain_loop(self):
        return Run(self.measure, self.measure, "pack", self.path("source"), self.path("yardstick.zip")).seconds

    def merocli(self, password=False):
        command = [os.path.join(self.build, "bin/merocli"), "collect", "--install-dir", self.path("install"),
                   "--target", self.path("bundle.zip")]
        if password:
            command += ["--password-file", self.path("password")]
        run = Run(self.measure, *command)
        with zipfile.ZipFile(self.path("bundle.zip")) as archive:
            packed = sum(not entry.is_dir() for entry in archive.infolist())
        if packed != self.count + 1:  # and the summary
            sys.exit("the bundle holds %d files instead of %d: does another run clear its folder?"
                     % (packed, self.count + 1))
        for left in glob.glob("/tmp/MERO_Temp_Bundle*/" + self.group):
            shutil.rmtree(os.path.dirname(left))
        return run

    def others(self):
        """@return seconds by name of other ways to an archive of the same files."""
        ways = {}
        if shutil.which("pigz"):
            ways["tar, pigz -9"] = ["sh", "-c", 'tar -cf - -C "$1" source | pigz -9 >"$1/other"', "sh", self.folder]
        if shutil.which("zip"):
            ways["zip -9"] = ["sh", "-c", 'cd "$1" && zip -9 -q -r other.zip source', "sh", self.folder]
        if shutil.which("sos") and os.geteuid() == 0 and os.path.isdir("/etc/sos/extras.d"):
            os.makedirs(self.path("extras"), exist_ok=True)
            with open(self.path("extras/source"), "w", encoding="utf-8") as file:
                file.write(":%s %d\n" % (self.path("source"), self.total))
            ways["sos, gzip"] = ["unshare", "--mount", "sh", "-c", SOS, "sh", self.folder]
        seconds = {}
        for name, command in ways.items():
            os.makedirs(self.path("sos"), exist_ok=True)
            seconds[name] = Run(self.measure, *command).seconds
            for left in ("other", "other.zip"):
                if os.path.exists(self.path(left)):
                    os.unlink(self.path(left))
            shutil.rmtree(self.path("sos"))
        return seconds

    def largest_entry(self, archive):
        with zipfile.ZipFile(self.path(archive)) as file:
            return max(entry.compress_size for entry in file.infolist())


class Report:
    """Prints what was measured, and hands on what is judged."""

    def __init__(self, results, judged):
        self.results = results
        self.judged = judged
        self.met = True

    def show(self, name, value, unit="", goal=None, of=""):
        verdict = ""
        if goal is not None and self.judged:
            met = self.results.judge("%s, %s" % (name, of), value, goal, unit)
            self.met = self.met and met
            verdict = "   goal %.3f: %s" % (goal, "met" if met else "MISSED")
        print("%-40s %9.3f %s%s" % (name, value, unit, verdict), flush=True)


def ratio(values, yardsticks):
    return statistics.median(value / yardstick for value, yardstick in zip(values, yardsticks))


def measure(report, build, total, count, rounds, log=0):
    size = "%d MB in %d files" % (total // 1_000_000, count)
    print("\n%s, %d rounds, %d cores" % (size, rounds, CORES))
    with Bench(build, total, count, log) as bench:
        copies, own_copies, plain, encrypted, ways = [], [], [], [], {"cp -r, plain loop": [], "plain loop": []}
        for _ in range(rounds):
            for _ in range(COPIES_PER_ROUND):
                copies.append(bench.plain_copy())
                own_copies.append(bench.own_copy())
            shutil.rmtree(bench.path("copy"))
            ways["plain loop"].append(bench.plain_loop())
            ways["cp -r, plain loop"].append(ways["plain loop"][-1] + statistics.median(copies[-COPIES_PER_ROUND:]))
            plain.append(bench.merocli())
            encrypted.append(bench.merocli(password=True))
            for name, seconds in bench.others().items():
                ways.setdefault(name, []).append(seconds)
    ways = {"merocli": [run.seconds for run in plain],
            "merocli, with a password": [run.seconds for run in encrypted], **ways}
    for name, seconds in ways.items():
        report.show(name, statistics.median(seconds), "s")
        if report.judged:
            report.results.point(name, total / 1e6, statistics.median(seconds))
    report.show("up to the packing", statistics.median(run.seconds - run.packing for run in plain), "s")
    report.show("cp -r", statistics.median(copies), "s")
    report.show("whole job / cp -r and plain loop", ratio(ways["merocli"], ways["cp -r, plain loop"]), "",
                WHOLE_JOB_GOAL, size)
    report.show("with / without a password", ratio(ways["merocli, with a password"], ways["merocli"]), "",
                PASSWORD_GOAL, size)
    report.show("copy / cp -r", ratio(own_copies, copies), "", COPY_GOAL, size)
    report.show("peak memory", max(run.megabytes for run in plain + encrypted), "MB", MEMORY_GOAL_MB, size)


def measure_log(report, build, log, rounds):
    size = "a log of %d MB" % (log // 1_000_000)
    print("\n%s, %d rounds, %d cores" % (size, rounds, CORES))
    with Bench(build, log, 1, log) as bench:
        loops, runs = [], []
        for _ in range(rounds):
            loops.append(bench.plain_loop())
            runs.append(bench.merocli())
        entry = bench.largest_entry("bundle.zip") / bench.largest_entry("yardstick.zip")
    report.show("plain loop", statistics.median(loops), "s")
    report.show("merocli", statistics.median(run.seconds for run in runs), "s")
    report.show("packing / plain loop", ratio([run.packing for run in runs], loops), "", SINGLE_LOG_GOAL, size)
    report.show("entry / plain loop's entry", entry, "", ENTRY_GOAL, size)
    report.show("peak memory", max(run.megabytes for run in runs), "MB", MEMORY_GOAL_MB, size)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("--quick", action="store_true", help="a smoke test with small numbers, which are not judged")
    parser.add_argument("--big", action="store_true", help="also 1.5 GB in 20,000 files, with fewer rounds")
    parser.add_argument("--rounds", type=int, default=5)
    add_option(parser)
    arguments = parser.parse_args()
    report = Report(Results(arguments.results), not arguments.quick)
    if arguments.quick:
        measure(report, arguments.build, 2_000_000, 50, 1)
        measure_log(report, arguments.build, 10_000_000, 1)
        return 0
    measure(report, arguments.build, 20_000_000, 300, arguments.rounds)
    measure(report, arguments.build, 200_000_000, 3000, arguments.rounds)
    if arguments.big:
        measure(report, arguments.build, 1_500_000_000, 20_000, min(arguments.rounds, LARGE_ROUNDS), LOG_BYTES)
    measure_log(report, arguments.build, LOG_BYTES, arguments.rounds)
    return 0 if report.met else 1


if __name__ == "__main__":
    sys.exit(main())
