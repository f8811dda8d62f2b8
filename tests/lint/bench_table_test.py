"""Tests what bench/table.py makes of the figures that were measured."""

import json
import os
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "bench"))
import figures  # noqa: E402  (the folder has to be known first)
import table  # noqa: E402

SERIES = {"one <way>": [(200.0, 2.0), (20.0, 0.25)], "another": [(20.0, 0.5)]}


class Table(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.path = os.path.join(self.folder.name, "results")
        self.results = figures.Results(self.path)

    def printed(self):
        return subprocess.run([sys.executable, "-B", table.__file__, self.path], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True, check=False)

    def testIsMetWhereEachFigureReachesItsGoalAtMost(self):
        self.assertTrue(self.results.judge("copy", 1.1, 1.1))
        self.results.point("one", 20.0, 3.0)
        done = self.printed()
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stdout.splitlines()[1].split(), ["copy", "1.100", "1.100", "met"])

    def testIsMissedWhereOneFigureIsAboveItsGoal(self):
        self.assertFalse(self.results.judge("peak memory", 24.2, 24.0, "MB"))
        self.results.judge("copy", 1.0, 1.1)
        done = self.printed()
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stdout.splitlines()[1].split(), ["peak", "memory", "24.200", "MB", "24.000", "MB", "MISSED"])

    def testOfNothingIsNoSuccess(self):
        self.results.point("one", 20.0, 3.0)
        self.assertEqual(self.printed().returncode, 2)

    def testKeepsWhatScriptsBeforeHaveHandedOn(self):
        self.results.judge("first", 1, 2)
        figures.Results(self.path).judge("second", 1, 2)
        with open(self.path, encoding="utf-8") as file:
            self.assertEqual([json.loads(line)["figure"] for line in file], ["first", "second"])

    def testOfAScriptWithoutAFileIsNotKept(self):
        self.assertFalse(figures.Results(None).judge("first", 3, 2))


class Picture(unittest.TestCase):
    def testShowsEachSizeOfEachWay(self):
        # Text of the series is not markup.
        root = xml.etree.ElementTree.fromstring(table.picture(SERIES))
        circles = [element for element in root if element.tag.endswith("circle")]
        self.assertEqual(len(circles), 3)
        self.assertIn("one <way>", [element.text for element in root])

    def testHasMoreSecondsFurtherUpAndMoreBytesFurtherRight(self):
        root = xml.etree.ElementTree.fromstring(table.picture(SERIES))
        line = next(element for element in root if element.tag.endswith("polyline"))
        (x1, y1), (x2, y2) = [map(float, point.split(",")) for point in line.get("points").split()]
        self.assertLess(x1, x2)
        self.assertGreater(y1, y2)


if __name__ == "__main__":
    unittest.main()
