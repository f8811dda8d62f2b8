"""A small made-up source tree, for checks to find breaches in."""

import os
import shutil
import tempfile
import unittest

SOURCE = os.environ["MERO_SOURCE_DIR"]


class TreeTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="lint_test_")
        self.addCleanup(shutil.rmtree, self.folder)

    def write(self, path, text):
        path = os.path.join(self.folder, path)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)

    def program(self, name, body):
        """A shell script among the tree's own programs."""
        self.write("programs/" + name, "#!/bin/sh\n%s\n" % body)
        os.chmod(os.path.join(self.folder, "programs", name), 0o755)

    def read(self, path):
        with open(os.path.join(self.folder, path), encoding="utf-8") as file:
            return file.read()
