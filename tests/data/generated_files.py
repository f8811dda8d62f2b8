"""The files around the helper, as the build has made them and as they are installed."""

import os
import shutil
import subprocess
import tempfile
import unittest

BUILD = os.environ["MERO_BUILD_DIR"]
PREFIX = os.environ["MERO_PREFIX"]
NAME = "com.varnel.corvane.mero.helper"

BUS_POLICY = os.path.join(BUILD, "data/bus", NAME + ".conf")
ACTIVATION = os.path.join(BUILD, "data/bus", NAME + ".service")
POLKIT_POLICY = os.path.join(BUILD, "data/polkit/com.varnel.corvane.mero.policy")
UNIT = os.path.join(BUILD, "data/systemd/merohelper.service")


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def directives(path):
    """The values of each directive of a unit or activation file, quotes taken off; a list, as some stand repeatedly."""
    found = {}
    for line in read(path).splitlines():
        if line and line[0] not in "#;[":
            name, value = line.split("=", 1)
            found.setdefault(name, []).append(value.strip().strip('"'))
    return found


class FolderTest(unittest.TestCase):
    """A private folder, in which others may look for names that they know."""

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="mero_data_test_")
        self.addCleanup(shutil.rmtree, self.folder)
        os.chmod(self.folder, 0o711)

    def path(self, *parts):
        return os.path.join(self.folder, *parts)

    def install(self, umask=-1):
        """Installs everything below the private folder; with the umask of the test unless another is given."""
        done = subprocess.run([os.environ["MERO_CMAKE"], "--install", BUILD], capture_output=True, text=True,
                              umask=umask, env=dict(os.environ, DESTDIR=self.folder))
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def installed(self, path):
        return self.folder + path
