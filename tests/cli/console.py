"""Runs merocli in a private folder and gives what came of it."""

import glob
import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
import zipfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
from configurations import configuration, group, item  # noqa: E402  (the folder has to be known first)

MEROCLI = os.environ["MEROCLI"]
WAIT_SECONDS = 60
HINT_OF_THE_PROGRAM = "Run 'merocli --help' for the commands.\n"

def wait_until(condition):
    """The first true result of the condition."""
    end = time.monotonic() + WAIT_SECONDS
    while not (result := condition()):
        if time.monotonic() > end:
            raise AssertionError("waited in vain")
        time.sleep(0.01)
    return result


class ConsoleTest(unittest.TestCase):
    """A private folder that is current folder and home of the program."""

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="merocli_test_")
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.environment = {key: value for key, value in os.environ.items() if not key.startswith("ZRN_")}
        self.environment.update(HOME=self.folder, USER="tester", TZ="UTC", LC_ALL="C.UTF-8")

    def path(self, *parts):
        return os.path.join(self.folder, *parts)

    def write(self, name, content):
        path = self.path(name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())
        return path

    def start(self, *arguments, program=MEROCLI, **options):
        options.setdefault("stdin", subprocess.DEVNULL)
        options.setdefault("stdout", subprocess.PIPE)
        options.setdefault("stderr", subprocess.PIPE)
        options.setdefault("cwd", self.folder)
        options.setdefault("env", self.environment)
        process = subprocess.Popen([program, *arguments], **options)
        self.addCleanup(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.kill()
        process.wait()
        for stream in (process.stdin, process.stdout, process.stderr):
            if stream:
                stream.close()

    def run_console(self, *arguments, input=None, **options):
        """Exit status, standard output and standard error as text. An argument may be bytes."""
        if input is not None:
            options["stdin"] = subprocess.PIPE
        process = self.start(*arguments, **options)
        output, errors = process.communicate(input, timeout=100)
        return process.returncode, (output or b"").decode(), (errors or b"").decode()

    def assert_usage_error(self, *arguments, naming, command="collect", **options):
        status, output, errors = self.run_console(*arguments, **options)
        self.assertEqual(status, 2, errors)
        self.assertEqual(output, "")
        self.assertTrue(errors.startswith("merocli: "), errors)
        hint = "Run 'merocli %s --help' for the options.\n" % command if command else HINT_OF_THE_PROGRAM
        self.assertTrue(errors.endswith(hint), errors)
        self.assertIn(naming, errors)
        return errors


class JobTest(ConsoleTest):
    """A folder `install` with a configuration of its own. Classes derived from this one run one at a time."""

    def setUp(self):
        super().setUp()
        # The folder in the bundle is unlike that of any other run, so that only its left-overs are removed.
        self.group = "group_" + os.path.basename(self.folder)
        self.addCleanup(self.remove_left_overs)
        # An item of the default set, one that is not, and the two with a rule of their own.
        items = [self.log_item(name, default) for name, default in (
            ("usual", "true"), ("unusual", "false"), ("system-logs", "true"), ("system-log-hist", "true"))]
        self.write("install/xml/config/sample.xml", configuration(
            group("Sample", "Sample", *items, folder=self.group),
            group("Legacy - Varnel Trellink Nolvane", "Legacy", self.log_item("former"), folder=self.group + "/legacy"),
            title="Sample"))
        self.install = self.path("install")

    def log_item(self, name, default="false"):
        path = self.write("logs/" + name + ".log", "content of " + name + "\n")
        return item(name, name, default, "The item " + name, path=path)

    def remove_left_overs(self):
        for path in glob.glob("/tmp/MERO_Temp_Bundle*/" + self.group):
            shutil.rmtree(os.path.dirname(path), ignore_errors=True)

    def collect(self, *arguments, **options):
        return self.run_console("collect", "--install-dir", self.install, *arguments, **options)

    def assert_collected(self, *arguments, **options):
        status, output, errors = self.collect(*arguments, **options)
        self.assertEqual(status, 0, errors + output)
        return output, errors

    def names(self, bundle, password=None):
        """The files of a bundle below its group's folder, after reading each of them."""
        with zipfile.ZipFile(self.path(bundle)) as archive:
            if password is not None:
                archive.setpassword(password)
            self.assertIsNone(archive.testzip())
            names = [name for name in archive.namelist() if not name.endswith("/")]
        self.assertIn("summary.txt", names)
        return sorted(name[len(self.group) + 1:] for name in names if name.startswith(self.group + "/"))
