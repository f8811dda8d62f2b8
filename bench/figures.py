"""What the scripts that measure hand on to bench/table.py: one JSON object a line."""

import json


def add_option(parser):
    parser.add_argument("--results", metavar="FILE", help="add the judged figures to this file, one JSON object a line")


class Results:
    """Adds to a file; without one nothing is kept."""

    def __init__(self, path):
        self.path = path

    def add(self, **line):
        if self.path:
            with open(self.path, "a", encoding="utf-8") as file:
                file.write(json.dumps(line) + "\n")

    def judge(self, figure, value, goal, unit=""):
        """Notes a figure that may be its goal at most. @return whether it is met."""
        self.add(figure=figure, value=value, goal=goal, unit=unit)
        return value <= goal

    def point(self, series, megabytes, seconds):
        """Notes the time that one way of packing takes for a corpus."""
        self.add(series=series, megabytes=megabytes, seconds=seconds)
