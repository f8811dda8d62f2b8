#!/usr/bin/env python3
"""Measures the wizard's start against that of a bare GTK window.   window_start.py BUILD_FOLDER [--quick] [--rounds N]

In each round the two programs follow each other, on the display that this one is given (tests/support/with-display.sh):
from the start of the process until the server shows its window, and the process's peak memory once it has painted. The
ratios are medians over the rounds, so that what the machine does besides hits both alike.
"""

import argparse
import ctypes
import os
import select
import statistics
import subprocess
import sys
import tempfile
import time

from figures import Results, add_option

GOALS = {"time": 1.5, "peak memory": 1.5}

LEAST_ROUNDS = 15
PATIENCE_SECONDS = 60
# For what the program does behind its first picture.
SETTLE_SECONDS = 0.5
MAP_NOTIFY = 19
SUBSTRUCTURE_NOTIFY_MASK = 1 << 19


class MapEvent(ctypes.Structure):
    """An event of the X protocol's library, as far as it tells of a window that is shown, padded to the largest."""

    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("event", ctypes.c_ulong), ("window", ctypes.c_ulong),
                ("override_redirect", ctypes.c_int), ("padding", ctypes.c_long * 16)]


class Server:
    """Hears of each window that is shown."""

    def __init__(self):
        self.x11 = ctypes.CDLL("libX11.so.6")
        for name, result in (("XOpenDisplay", ctypes.c_void_p), ("XDefaultRootWindow", ctypes.c_ulong)):
            getattr(self.x11, name).restype = result
        self.display = ctypes.c_void_p(self.x11.XOpenDisplay(None))
        if not self.display:
            sys.exit("window_start.py: there is no display")
        root = ctypes.c_ulong(self.x11.XDefaultRootWindow(self.display))
        self.x11.XSelectInput(self.display, root, ctypes.c_long(SUBSTRUCTURE_NOTIFY_MASK))
        self.x11.XSync(self.display, False)

    def await_window(self):
        event = MapEvent()
        end = time.monotonic() + PATIENCE_SECONDS
        while time.monotonic() < end:
            while self.x11.XPending(self.display):
                self.x11.XNextEvent(self.display, ctypes.byref(event))
                if event.type == MAP_NOTIFY and not event.override_redirect:
                    return
            select.select([self.x11.XConnectionNumber(self.display)], [], [], 1)
        sys.exit("window_start.py: no window was shown")

    def forget(self):
        """What came meanwhile is of the program that has ended."""
        self.x11.XSync(self.display, True)


def peak_kilobytes(process):
    with open("/proc/%d/status" % process.pid, encoding="ascii") as file:
        return next(int(line.split()[1]) for line in file if line.startswith("VmHWM:"))


def measure(server, program, environment):
    server.forget()
    start = time.perf_counter()
    process = subprocess.Popen([program], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, env=environment)
    try:
        server.await_window()
        seconds = time.perf_counter() - start
        time.sleep(SETTLE_SECONDS)
        return seconds, peak_kilobytes(process)
    finally:
        process.kill()
        process.wait()


def report(results, name, values, yardstick, factor, unit):
    ratio = statistics.median(value / bare for value, bare in zip(values, yardstick))
    met = results is None or results.judge("wizard's start / bare window's, " + name, ratio, GOALS[name])
    print("%-12s %8.3f %s, bare %8.3f %s, ratio %5.2f (goal at most %.2f)%s" % (
        name, statistics.median(values) * factor, unit, statistics.median(yardstick) * factor, unit, ratio,
        GOALS[name], "" if met else "  MISSED"))
    return met


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("--quick", action="store_true", help="a smoke test of one round, which is not judged")
    parser.add_argument("--rounds", type=int, default=LEAST_ROUNDS)
    add_option(parser)
    arguments, _ = parser.parse_known_args()
    results = None if arguments.quick else Results(arguments.results)
    server = Server()
    rounds = {"bin/meroui": [], "bench/bare_window": []}
    with tempfile.TemporaryDirectory(prefix="mero_bench_home_") as home:
        environment = dict(os.environ, HOME=home)
        for number in range(1 + (1 if arguments.quick else max(arguments.rounds, LEAST_ROUNDS))):
            for program, taken in rounds.items():
                result = measure(server, os.path.abspath(os.path.join(arguments.build, program)), environment)
                # The first round fills the caches, of the accessibility bus too.
                if number > 0:
                    taken.append(result)
    wizard, bare = rounds.values()
    met = report(results, "time", [time for time, _ in wizard], [time for time, _ in bare], 1, "s")
    met = report(results, "peak memory", [size for _, size in wizard], [size for _, size in bare], 1 / 1024, "MB") and met
    return 0 if met else 1


if __name__ == "__main__":
    sys.exit(main())
