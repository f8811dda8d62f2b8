#!/usr/bin/env python3
"""Measures whole jobs of merocli against a yardstick.   end_to_end.py BUILD_FOLDER [--quick] [--big] [--rounds N]

Workload: 3,000 files, 200 MB, in six folders with a configuration file each; nine tenths log-like text that deflate
shrinks to about a seventh, one tenth bytes that it can't shrink; sizes from some bytes to some megabytes, many small
and few large. The same seed gives the same files. --big adds the memory of a run over 2 GB; --quick shrinks all
of it to a smoke test.

Yardstick: `cp -r` of the same files to the same disk, then a bare single-threaded minizip loop at level 9 over the
copy. Runs are interleaved: in each round the yardstick, merocli without and merocli with a password follow each
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

FOLDERS = 6
GOALS = {"end to end / yardstick": 1.05, "with / without a password": 1.08, "peak memory, MB": 24.0}

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


def make_corpus(folder, total, count):
    source = random.Random(20260101)
    text = log_text(source, min(total, 16 << 20))
    noise = source.randbytes(4 << 20)
    weights = [source.lognormvariate(0, 1.4) for _ in range(count)]
    scale = total / sum(weights)
    for number, weight in enumerate(weights):
        place = os.path.join(folder, "source", str(number % FOLDERS), "d%d" % (number % 7))
        os.makedirs(place, exist_ok=True)
        rest = max(1, int(weight * scale))
        binary = number % 10 == 0
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
    """One command: its wall time in seconds and its peak memory in MB."""

    def __init__(self, yardstick, *command):
        done = subprocess.run([yardstick, "run", *command], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, text=True)
        if done.returncode != 0:
            sys.exit("%s failed with %d: %s" % (command[0], done.returncode, done.stderr))
        seconds, kibibytes = done.stderr.splitlines()[-1].split()
        self.seconds = float(seconds)
        self.megabytes = int(kibibytes) / 1024


class Bench:
    def __init__(self, build, total, count):
        self.build = build
        self.count = count
        self.measure = os.path.join(build, "bench/yardstick")
        self.folder = tempfile.mkdtemp(prefix="mero_bench_", dir="/tmp")
        self.group = make_corpus(self.folder, total, count)

    def close(self):
        shutil.rmtree(self.folder, ignore_errors=True)

    def path(self, name):
        return os.path.join(self.folder, name)

    def yardstick(self):
        copy = Run(self.measure, "cp", "-r", self.path("source"), self.path("copy"))
        pack = Run(self.measure, self.measure, "pack", self.path("copy"), self.path("yardstick.zip"))
        shutil.rmtree(self.path("copy"))
        return copy.seconds + pack.seconds

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


def report(name, value, unit=""):
    goal = GOALS.get(name)
    verdict = "" if goal is None else "   goal %.2f: %s" % (goal, "met" if value <= goal else "MISSED")
    print("%-34s %9.3f %s%s" % (name, value, unit, verdict), flush=True)


def measure(build, total, count, rounds):
    bench = Bench(build, total, count)
    try:
        yardsticks, plain, encrypted = [], [], []
        for _ in range(rounds):
            yardsticks.append(bench.yardstick())
            plain.append(bench.merocli())
            encrypted.append(bench.merocli(password=True))
        size = os.path.getsize(bench.path("bundle.zip"))
        report("corpus", total / 1e6, "MB in %d files" % count)
        report("bundle", size / 1e6, "MB (yardstick %.3f)" % (os.path.getsize(bench.path("yardstick.zip")) / 1e6))
        report("yardstick", statistics.median(yardsticks), "s")
        report("merocli", statistics.median(run.seconds for run in plain), "s")
        report("merocli with a password", statistics.median(run.seconds for run in encrypted), "s")
        report("end to end / yardstick", statistics.median(run.seconds / y for run, y in zip(plain, yardsticks)))
        ratios = [with_one.seconds / without.seconds for with_one, without in zip(encrypted, plain)]
        report("with / without a password", statistics.median(ratios))
        report("peak memory, MB", max(run.megabytes for run in plain + encrypted))
    finally:
        bench.close()


def measure_memory(build, total, count):
    bench = Bench(build, total, count)
    try:
        run = bench.merocli()
        report("corpus", total / 1e6, "MB in %d files" % count)
        report("merocli", run.seconds, "s")
        report("peak memory, MB", run.megabytes)
    finally:
        bench.close()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("--quick", action="store_true", help="a smoke test with small numbers")
    parser.add_argument("--big", action="store_true", help="also the peak memory of a run over 2 GB")
    parser.add_argument("--rounds", type=int, default=5)
    arguments = parser.parse_args()
    if arguments.quick:
        measure(arguments.build, 10_000_000, 150, 1)
        return
    measure(arguments.build, 200_000_000, 3000, arguments.rounds)
    if arguments.big:
        measure_memory(arguments.build, 2_000_000_000, 3000)


if __name__ == "__main__":
    main()
