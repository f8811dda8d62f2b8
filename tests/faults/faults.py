#!/usr/bin/env python3
"""Fails each system call of a small job once, and tells what the job makes of it.

A failed call may cost a file, or the whole bundle; but never may a job hang or crash, lose a file that nobody speaks of,
put an archive at the target that can't be read, leave a file or a process behind, or claim what is not so.
"""

import argparse
import json
import os
import subprocess
import sys
import tempfile
import threading

import fault_places
from fault_job import Job
from fault_judge import KINDS, judge
from fault_places import CHILD, MAIN, POOL

# Set in a process that has a /tmp and a list of processes of its own.
INSIDE = "MERO_FAULTS_INSIDE"
PARTIES = (MAIN, POOL, CHILD)
COULD_NOT_RUN = 3
MOST_REACHED = 0.9


def separation():
    """The command that gives another one namespaces of its own."""
    user = [] if os.geteuid() == 0 else ["--user", "--map-root-user"]
    return ["unshare", *user, "--mount", "--pid", "--fork", "--kill-child", "--mount-proc", "--propagation", "private", "--"]


def obstacle():
    """Why nothing can be tried here; empty if it can."""
    try:
        attempt = subprocess.run([*separation(), "strace", "-f", "-o", "/dev/null", "mount", "-t", "tmpfs", "none", "/tmp"],
                                 stdin=subprocess.DEVNULL, capture_output=True, check=False)
    except FileNotFoundError:
        return "there is no unshare"
    if attempt.returncode == 0:
        return ""
    return "no strace in namespaces of its own here: " + attempt.stderr.decode(errors="replace").strip()


def selected_places(job, options, password):
    """The places of this job, in the order of their table; the job has to be all right when nothing fails."""
    found = []
    for party in options.party:
        run = job.run(party, password=password)
        findings = judge(run)
        if findings or run.status != 0:
            raise SystemExit("a job in which nothing fails ends with %s: %s" % (run.status, findings))
        found += fault_places.places(party, run.trace)
    if options.call:
        found = [place for place in found if place.call in options.call]
    if options.number:
        found = [place for place in found if place.number in options.number]
    return fault_places.sample(found, options.every)


def attempt(job, place, password):
    """A run in which the place's call fails, as a dictionary for the report."""
    inject = "%s:error=%s:when=%d" % (place.call, place.error, place.number)
    run = job.run(place.party, inject, place.call, password)
    failed = fault_places.injected(run.trace)
    findings = judge(run) if not failed or any(map(fault_places.can_happen, failed)) else []
    if failed and run.status != 0 and all(fault_places.must_be_repeated(call, place.error) for call in failed):
        findings.append(("loss", "an interrupted call was not made again: exit status %s: %s" % (
            run.status, run.errors.strip())))
    return {"place": list(place.__dict__.values()), "password": password, "reached": bool(failed), "findings": findings,
            "where": failed[0].arguments if failed else "", "status": run.status}


def work(options):
    """One of several processes that share the places; writes a line for each run."""
    job = Job(options.program)
    number, count = map(int, options.worker.split("/"))
    for password in options.password:
        for place in selected_places(job, options, password):
            if place.number % count == number:
                print(json.dumps(attempt(job, place, password)), flush=True)


def collect(arguments, jobs):
    """Runs the workers. @return the lines of all, and what went wrong with the workers themselves."""
    lines = []
    errors = []

    def follow(worker, messages):
        with worker, messages:
            for line in worker.stdout:
                lines.append(json.loads(line))
            if worker.wait():
                messages.seek(0)
                errors.append(messages.read())

    threads = []
    for number in range(jobs):
        messages = tempfile.TemporaryFile("w+")
        worker = subprocess.Popen(
            [*separation(), sys.executable, "-B", os.path.abspath(__file__), *arguments, "--worker", "%d/%d" % (number, jobs)],
            env=dict(os.environ, **{INSIDE: "yes"}), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=messages,
            text=True)
        threads.append(threading.Thread(target=follow, args=(worker, messages)))
        threads[-1].start()
    for thread in threads:
        thread.join()
    return lines, errors


def report(lines):
    """Prints the table and the findings. @return the number of places with any."""
    table = {}
    for line in lines:
        row = table.setdefault(line["place"][1], dict.fromkeys(("runs", "reached", *KINDS), 0))
        row["runs"] += 1
        row["reached"] += line["reached"]
        for kind in {kind for kind, _ in line["findings"]}:
            row[kind] += 1
    head = ("runs", "reached", *KINDS)
    print("%-12s" % "call" + "".join("%9s" % name for name in head))
    for call in (call for call in fault_places.ERRORS if call in table):
        print("%-12s" % call + "".join("%9d" % table[call][name] for name in head))
    print("%-12s" % "all" + "".join("%9d" % sum(row[name] for row in table.values()) for name in head))
    count = 0
    for line in sorted(lines, key=lambda line: (line["password"], line["place"])):
        count += bool(line["findings"])
        if line["findings"]:
            print("\n%s%s\n    %s" % (fault_places.Place(*line["place"]),
                                     ", with a password" if line["password"] else "", line["where"]))
        for kind, text in line["findings"]:
            print("    %s: %s" % (kind, text))
    print("\nfindings at %d of %d places" % (count, len(lines)))
    return count


def main():
    parser = argparse.ArgumentParser(prog="faults", description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("call", nargs="*", metavar="CALL", help="fail these calls only, as in openat")
    parser.add_argument("--number", type=int, action="append", help="fail these only, counted by call and by thread")
    parser.add_argument("--party", choices=PARTIES, action="append", help="whose calls; all if it is left out")
    parser.add_argument("--password", choices=("with", "without"), help="only jobs with, or without, a password")
    parser.add_argument("--every", type=int, default=1, metavar="N", help="a sample: each N-th place of each call")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), metavar="N", help="runs at once; one for each processor")
    parser.add_argument("--program", default=os.environ.get("MEROCLI"), help="the merocli to try")
    parser.add_argument("--worker", help=argparse.SUPPRESS)
    options = parser.parse_args()
    unknown = set(options.call) - set(fault_places.ERRORS)
    if unknown:
        parser.error("these are not failed: %s; one of %s" % (", ".join(sorted(unknown)), ", ".join(fault_places.ERRORS)))
    if not options.program:
        parser.error("--program is missing")
    options.party = options.party or PARTIES
    options.password = {None: (False, True), "with": (True,), "without": (False,)}[options.password]
    if INSIDE in os.environ:
        return work(options)
    reason = obstacle()
    if reason:
        print("faults: " + reason, file=sys.stderr)
        return COULD_NOT_RUN
    lines, errors = collect(sys.argv[1:], max(1, options.jobs))
    findings = report(lines)
    # A call may be made or not, as threads come about; if many never came to pass, the trial itself is at fault.
    if sum(line["reached"] for line in lines) < MOST_REACHED * len(lines):
        errors.append("too few of the calls came to pass")
    for error in errors:
        print("faults: " + error, file=sys.stderr)
    if errors or not lines:
        return COULD_NOT_RUN
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
