#!/usr/bin/env python3
"""Prints all figures that have a goal, and whether they meet it.   table.py RESULTS [--record BUILD_FOLDER]

RESULTS is what the scripts that measure were given as --results. With --record the table goes to bench/RESULTS.md, with the
machine it is of, and the picture of the time over the size of what is packed to docs/images/cost.svg. Ends with status 1
if a goal is missed, and with 2 if there is no figure.
"""

import argparse
import json
import math
import os
import platform
import re
import subprocess
import sys
from xml.sax.saxutils import escape

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
REPORT = os.path.join(ROOT, "bench/RESULTS.md")
PICTURE = os.path.join(ROOT, "docs/images/cost.svg")

WIDTH, HEIGHT = 760, 420
LEFT, RIGHT, TOP, BOTTOM = 70, 250, 30, 60
COLOURS = ("#0b6e4f", "#7b2d8b", "#c1440e", "#2f5fa8", "#8a6d00", "#555555", "#d81b60")


def read(path):
    """@return the judged figures, and by series the points of the picture."""
    figures, series = [], {}
    with open(path, encoding="utf-8") as file:
        for line in map(json.loads, file):
            if "series" in line:
                series.setdefault(line["series"], []).append((line["megabytes"], line["seconds"]))
            else:
                figures.append(line)
    return figures, series


def is_met(figure):
    return figure["value"] <= figure["goal"]


def rows(figures):
    for figure in figures:
        unit = " " + figure["unit"] if figure["unit"] else ""
        yield (figure["figure"], "%.3f%s" % (figure["value"], unit), "%.3f%s" % (figure["goal"], unit),
               "met" if is_met(figure) else "MISSED")


def print_table(figures):
    table = [("figure", "value", "goal at most", ""), *rows(figures)]
    widths = [max(len(row[column]) for row in table) for column in range(3)]
    for row in table:
        print("%-*s  %*s  %*s  %s" % (widths[0], row[0], widths[1], row[1], widths[2], row[2], row[3]))


def memory_gigabytes():
    return os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2 ** 30


def compiler(build):
    with open(os.path.join(build, "CMakeCache.txt"), encoding="utf-8") as file:
        path = re.search(r"^CMAKE_CXX_COMPILER:\w+=(.*)$", file.read(), re.MULTILINE).group(1)
    return subprocess.run([path, "--version"], check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines()[0]


def report(figures, series, build):
    lines = ["# Results of one run", "",
             "Written by `script/bench --record`. What is measured depends on the machine; this one has %d cores, "
             "%.1f GB of memory," % (len(os.sched_getaffinity(0)), memory_gigabytes()),
             "Linux %s on %s; the compiler is %s." % (platform.release().split("-")[0], platform.machine(), compiler(build)), "",
             "| figure | value | goal at most | |", "|---|---:|---:|---|"]
    lines += ["| %s |" % " | ".join(row) for row in rows(figures)]
    lines += ["", "Seconds for each size, medians; the picture of them is in the README:", "", "| | MB | seconds |",
              "|---|---:|---:|"]
    lines += ["| %s | %.0f | %.2f |" % (name, *point) for name, points in series.items() for point in sorted(points)]
    return "\n".join(lines) + "\n"


def decades(low, high):
    return range(math.floor(math.log10(low)), math.ceil(math.log10(high)) + 1)


class Scale:
    """Places values of a logarithmic axis on the picture."""

    def __init__(self, values, start, end):
        steps = decades(min(values), max(values))
        self.low, self.high = steps[0], max(steps[-1], steps[0] + 1)
        self.start, self.end = start, end

    def marks(self):
        return [10.0 ** power for power in range(self.low, self.high + 1)]

    def place(self, value):
        return self.start + (math.log10(value) - self.low) / (self.high - self.low) * (self.end - self.start)


def text(x, y, content, anchor="start"):
    return '<text x="%.0f" y="%.0f" text-anchor="%s">%s</text>' % (x, y, anchor, escape(content))


def axes(across, up):
    parts = []
    for mark in across.marks():
        x = across.place(mark)
        parts.append('<path class="grid" d="M%.1f %d V%d"/>' % (x, TOP, HEIGHT - BOTTOM))
        parts.append(text(x, HEIGHT - BOTTOM + 20, "%g MB" % mark, "middle"))
    for mark in up.marks():
        y = up.place(mark)
        parts.append('<path class="grid" d="M%d %.1f H%d"/>' % (LEFT, y, WIDTH - RIGHT))
        parts.append(text(LEFT - 8, y + 4, "%g s" % mark, "end"))
    return parts


def picture(series):
    """The time over the size, both logarithmic, as SVG."""
    points = [point for of_one in series.values() for point in of_one]
    across = Scale([megabytes for megabytes, _ in points], LEFT, WIDTH - RIGHT)
    up = Scale([seconds for _, seconds in points], HEIGHT - BOTTOM, TOP)
    parts = ['<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 %d %d" font-family="sans-serif" font-size="12">' % (
                 WIDTH, HEIGHT),
             "<title>Seconds for a bundle over the size of what is collected</title>",
             "<style>.grid{stroke:#ddd} .line{fill:none;stroke-width:2}</style>",
             '<rect width="%d" height="%d" fill="white"/>' % (WIDTH, HEIGHT), *axes(across, up)]
    for number, (name, of_one) in enumerate(series.items()):
        colour = COLOURS[number % len(COLOURS)]
        places = [(across.place(megabytes), up.place(seconds)) for megabytes, seconds in sorted(of_one)]
        parts.append('<polyline class="line" stroke="%s" points="%s"/>' % (
            colour, " ".join("%.1f,%.1f" % place for place in places)))
        parts += ['<circle cx="%.1f" cy="%.1f" r="3.5" fill="%s"/>' % (*place, colour) for place in places]
        y = TOP + 12 + 22 * number
        parts.append('<path class="line" stroke="%s" d="M%d %d h20"/>' % (colour, WIDTH - RIGHT + 20, y - 4))
        parts.append(text(WIDTH - RIGHT + 46, y, name))
    return "\n".join([*parts, "</svg>"]) + "\n"


def write(path, content):
    with open(path, "w", encoding="utf-8") as file:
        file.write(content)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("results")
    parser.add_argument("--record", metavar="BUILD_FOLDER")
    arguments = parser.parse_args()
    figures, series = read(arguments.results)
    if not figures:
        print("table.py: nothing was measured", file=sys.stderr)
        return 2
    print_table(figures)
    if arguments.record:
        write(REPORT, report(figures, series, arguments.record))
        write(PICTURE, picture(series))
    return 0 if all(map(is_met, figures)) else 1


if __name__ == "__main__":
    sys.exit(main())
