#!/usr/bin/python3
"""Measures how soon the programs without a window answer.   program_start.py BUILD_FOLDER [--quick] [--rounds N]

In each round they follow each other, with /bin/true between them for the state of the machine: `merocli --version`,
`merocli list` with the shipped items, and the helper from a call by which a bus has to start it to its answer. That bus
is the round's own, and the helper's folders are empty ones that nobody else sees; only root can have them.

A goal is for a machine on which /bin/true takes a millisecond; where it takes longer, so may they. Exit status 1 if one
is missed.
"""

import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time

from figures import Results, add_option

YARDSTICK = "/bin/true"
YARDSTICK_MS = 1.0
VERSION, LIST, HELPER = "merocli --version", "merocli list", "helper's first answer"
GOALS_MS = {VERSION: 5.0, LIST: 15.0, HELPER: 50.0}
LEAST_ROUNDS = 31

NAME = "com.varnel.corvane.mero.helper"
OWN_FOLDERS = ("/run", "/var/cache")
# Set in the process that has folders of its own.
INSIDE = "MERO_BENCH_INSIDE"
PATIENCE_SECONDS = 30
BUS = """<busconfig><type>system</type><listen>unix:path={folder}/bus</listen><auth>EXTERNAL</auth>
<servicedir>{folder}</servicedir>
<policy context="default"><allow user="*"/><allow own="*"/><allow send_destination="*" eavesdrop="true"/>
<allow eavesdrop="true"/></policy></busconfig>
"""
SERVICE = "[D-BUS Service]\nName={name}\nExec={program}\nUser=root\n"


def run_ms(*command):
    start = time.perf_counter()
    subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, check=True)
    return (time.perf_counter() - start) * 1000


class Bus:
    """A system bus that starts the helper of a build."""

    def __init__(self, build, folder):
        import gi
        gi.require_version("Gio", "2.0")
        from gi.repository import Gio, GLib
        self.gio, self.glib = Gio, GLib
        with open(folder + "/bus.conf", "w", encoding="utf-8") as file:
            file.write(BUS.format(folder=folder))
        with open("%s/%s.service" % (folder, NAME), "w", encoding="utf-8") as file:
            file.write(SERVICE.format(name=NAME, program=os.path.join(build, "bin/merohelper")))
        address = "unix:path=%s/bus" % folder
        self.process = subprocess.Popen(
            ["dbus-daemon", "--nofork", "--nopidfile", "--nosyslog", "--config-file=%s/bus.conf" % folder,
             "--print-address"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
            env=dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=address))
        self.process.stdout.readline()
        flags = Gio.DBusConnectionFlags
        self.connection = Gio.DBusConnection.new_for_address_sync(
            address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)

    def call(self, name, path, interface, method, parameters=None):
        return self.connection.call_sync(name, path, interface, method, parameters, None,
                                         self.gio.DBusCallFlags.NONE, PATIENCE_SECONDS * 1000, None).unpack()

    def ask(self, method):
        return self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
                         self.glib.Variant("(s)", (NAME,)))[0]

    def first_answer_ms(self):
        start = time.perf_counter()
        self.call(NAME, "/", "org.freedesktop.DBus.Peer", "Ping")
        taken = (time.perf_counter() - start) * 1000
        os.kill(self.ask("GetConnectionUnixProcessID"), 15)
        while self.ask("NameHasOwner"):
            time.sleep(0.01)
        return taken

    def close(self):
        self.process.kill()
        self.process.wait()


def separate():
    """Goes on in a process with folders of its own, where there can be such."""
    command = ["unshare", "--mount", "--propagation", "private", "--"]
    if INSIDE in os.environ or os.geteuid() != 0 or subprocess.run([*command, "true"], check=False).returncode != 0:
        return
    os.execvpe(command[0], [*command, sys.executable, *sys.argv], dict(os.environ, **{INSIDE: "yes"}))


def measure(build, rounds):
    merocli = os.path.join(build, "bin/merocli")
    results = {YARDSTICK: [], VERSION: [], LIST: []}
    with tempfile.TemporaryDirectory(prefix="mero_bench_bus_") as folder:
        bus = None
        if INSIDE in os.environ:
            for own in OWN_FOLDERS:
                subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=755", "mero-bench", own], check=True)
            bus = Bus(build, folder)
            results[HELPER] = []
        try:
            for number in range(rounds + 1):
                taken = {YARDSTICK: run_ms(YARDSTICK), VERSION: run_ms(merocli, "--version"),
                         LIST: run_ms(merocli, "list")}
                if bus is not None:
                    taken[HELPER] = bus.first_answer_ms()
                # The first round fills the caches.
                if number > 0:
                    for name, value in taken.items():
                        results[name].append(value)
        finally:
            if bus is not None:
                bus.close()
    return results


def report(results, judged):
    """@param judged  where the judged figures go; None if nothing is judged. @return whether all goals are met."""
    yardstick = statistics.median(results[YARDSTICK])
    print("%-22s %8.2f ms" % (YARDSTICK, yardstick))
    met = True
    for name, goal in GOALS_MS.items():
        if name not in results:
            print("%-22s not measured: it takes root, and mounts of a process's own" % name)
            continue
        median = statistics.median(results[name])
        limit = goal * max(1.0, yardstick / YARDSTICK_MS)
        good = judged is None or judged.judge("time to the answer, " + name, median, limit, "ms")
        met = met and good
        print("%-22s %8.2f ms, ratio %6.2f of the goal's %.2f ms%s" % (
            name, median, median / limit, limit, "" if good else "  MISSED"))
    return met


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("--quick", action="store_true", help="a smoke test with few rounds")
    parser.add_argument("--rounds", type=int, default=LEAST_ROUNDS)
    add_option(parser)
    arguments, _ = parser.parse_known_args()
    separate()
    taken = measure(os.path.abspath(arguments.build), 3 if arguments.quick else max(arguments.rounds, LEAST_ROUNDS))
    # What so few rounds say is no verdict.
    return 0 if report(taken, None if arguments.quick else Results(arguments.results)) else 1


if __name__ == "__main__":
    sys.exit(main())
