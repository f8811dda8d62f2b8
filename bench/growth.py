#!/usr/bin/env python3
"""Shows how time and memory grow with the size of the work.   growth.py BUILD_FOLDER [--quick] [--rounds N]

Time: the steps of bench/GrowthSteps.cpp and bench/GrowthTree.cpp in three sizes that double. Of each the best of some
rounds counts, in processor time. Four times the work may take 4 times as long where the time is in proportion, and some
more where it is sorted for; 16 times would be its square. The limit stands between them.

Memory: peaks of `merocli collect` for up to 100,000 files of 2 bytes, and for 2 GB in 20 files: that of the collection,
up to the packing, and that of the whole.

Ends with status 1 if a limit is missed. --quick is a smoke test with small numbers, which are not judged.
"""

import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import time

from end_to_end import CONFIGURATION
from figures import Results, add_option

GROWTH_LIMIT = 7.0
MEMORY_LIMIT = 24.0

# Program, step, the largest of the three sizes, and what it is.
STEPS = (("growth_steps", "groups", 10_000, "walk of a request, ids"),
         ("growth_steps", "unprocessed", 10_000, "entries taken off a request"),
         ("growth_steps", "merge", 10_000, "merge of a request with a group, ids"),
         ("growth_steps", "listing", 200_000, "listing of a folder, files"),
         ("growth_steps", "rows", 100_000, "section of the summary, rows"),
         ("growth_steps", "cell", 2_000_000, "wrapping of a cell, bytes"),
         ("growth_steps", "scan", 2_000, "scan of a group, items"),
         ("growth_steps", "roots", 8_000, "scan of groups, roots"),
         ("growth_steps", "titles", 4_000, "selection rules, equal titles"),
         ("growth_steps", "attributes", 80_000, "our share of an element, attributes"),
         ("growth_tree", "files", 8_000, "rows of the tree, files"),
         ("growth_tree", "modules", 8_000, "rows of the tree, modules"),
         ("growth_tree", "roots", 8_000, "rows of the tree, roots"))

# libxml2 looks at each attribute before for one of the same name, and GTK's store counts the siblings in front of each
# row that changes.
NOT_OURS = (("growth_steps", "document", 40_000, "all of an element, attributes"),
            ("growth_tree", "clicks", 8_000, "clicks on a module, files"))


class Judge:
    """Hands on what is judged; without results nothing is."""

    def __init__(self, results):
        self.results = results
        self.good = True

    def verdict(self, figure, value, limit, unit=""):
        if self.results is None:
            return ""
        good = self.results.judge(figure, value, limit, unit)
        self.good = self.good and good
        return "limit %.1f: %s" % (limit, "met" if good else "MISSED")


def measure_growth(build, step, rounds, shrink, judge):
    program, name, largest, title = step
    path = os.path.join(build, "bench", program)
    if not os.path.exists(path):
        return  # a build without the wizard
    sizes = [largest // shrink // part for part in (4, 2, 1)]
    seconds = [float(subprocess.run([path, name, str(size), str(rounds)], check=True, stdout=subprocess.PIPE,
                                    text=True).stdout) for size in sizes]
    ratio = seconds[2] / max(seconds[0], 1e-9)
    text = judge.verdict("time of four times the work, " + title, ratio, GROWTH_LIMIT)
    times = "".join("%10d: %8.2f ms" % (size, 1000 * value) for size, value in zip(sizes, seconds))
    print("%-38s%s   four times the work: %5.2f   %s" % (title, times, ratio, text), flush=True)


def high_water(pid):
    """Peak memory of a process so far in MB, or None once it has gone."""
    try:
        with open("/proc/%d/status" % pid) as status:
            for line in status:
                if line.startswith("VmHWM:"):
                    return int(line.split()[1]) / 1024
    except (FileNotFoundError, ProcessLookupError):
        pass
    return None


def make_files(folder, count, size):
    noise = os.urandom(1 << 20)
    for number in range(count):
        place = os.path.join(folder, "d%d" % (number % 7))
        os.makedirs(place, exist_ok=True)
        with open(os.path.join(place, "file%06d.log" % number), "wb") as file:
            for start in range(0, size, len(noise)):
                file.write(noise[:size - start])


def peaks_of(build, folder):
    """Peak memory of the collection and of the whole job in MB."""
    job = subprocess.Popen([os.path.join(build, "bin/merocli"), "collect", "--install-dir", folder, "--target",
                            os.path.join(folder, "bundle.zip")], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                           stderr=subprocess.DEVNULL)
    os.set_blocking(job.stdout.fileno(), False)
    told, collected, whole = b"", None, 0.0
    while job.poll() is None:
        whole = high_water(job.pid) or whole
        told += job.stdout.read() or b""
        if collected is None and b"Zipping" in told:
            collected = whole
        time.sleep(0.001)
    if job.returncode != 0:
        sys.exit("merocli ended with %d" % job.returncode)
    return collected or whole, whole


def measure_memory(build, count, size, judge):
    folder = tempfile.mkdtemp(prefix="mero_growth_", dir="/tmp")
    try:
        make_files(os.path.join(folder, "source"), count, size)
        os.makedirs(os.path.join(folder, "xml/config"))
        with open(os.path.join(folder, "xml/config/all.xml"), "w") as file:
            file.write(CONFIGURATION.format(number=0, group="growth", folder=os.path.join(folder, "source")))
        collected, whole = peaks_of(build, folder)
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    for title, value in (("up to the packing", collected), ("of the whole job", whole)):
        text = judge.verdict("peak memory %s, %d files of %d bytes" % (title, count, size), value, MEMORY_LIMIT, "MB")
        print("peak memory for %7d files of %9d bytes %-18s %6.1f MB   %s" % (count, size, title, value, text),
              flush=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("--quick", action="store_true", help="a smoke test with small numbers")
    parser.add_argument("--big", action="store_true", help="for bench/end_to_end.py; nothing changes here")
    parser.add_argument("--rounds", type=int, default=5)
    add_option(parser)
    arguments = parser.parse_args()
    judged = not arguments.quick
    rounds, shrink = (arguments.rounds, 1) if judged else (1, 10)
    judge = Judge(Results(arguments.results) if judged else None)
    for step in STEPS:
        measure_growth(arguments.build, step, rounds, shrink, judge)
    for step in NOT_OURS:
        measure_growth(arguments.build, step, 1, shrink, Judge(None))
    corpora = ((2, 2), (10_000, 2), (30_000, 2), (100_000, 2), (20, 100_000_000)) if judged else ((2, 2), (1000, 2))
    for count, size in corpora:
        measure_memory(arguments.build, count, size, judge)
    sys.exit(0 if judge.good else 1)


if __name__ == "__main__":
    main()
