"""Runs merocli in a private folder and gives what came of it."""

import glob
import os
import shutil
import subprocess
import tempfile
import time
import unittest
import zipfile
from xml.sax.saxutils import escape, quoteattr

MEROCLI = os.environ["MEROCLI"]

# A configuration with one group: an item of the default set, one that is not, and the two with a rule of their own.
CONFIGURATION = """<?xml version="1.0" encoding="UTF-8"?>
<configure>
  <title>Sample</title>
  <fileGroup treeRootName="Sample" directoryName="{folder}">
    <title>Sample</title>
    {items}
  </fileGroup>
  <fileGroup treeRootName="Legacy - Varnel Trellink Nolvane" directoryName="{folder}/legacy">
    <title>Legacy</title>
    {legacy}
  </fileGroup>
</configure>
"""

ITEM = """<file id="{id}">
  <gui><label>{id}</label></gui>
  <default>{default}</default>
  <description>The item {id}</description>
  <mero><os opsys="linux"><file_copy_action><action><loc>{path}</loc></action></file_copy_action></os></mero>
</file>"""


WAIT_SECONDS = 60
HINT_OF_THE_PROGRAM = "Run 'merocli --help' for the commands.\n"

# Without these an attribute's line ends and tabs would be blanks.
CONTROLS = {chr(code): "&#%d;" % code for code in (9, 10, 13)}


def item(identity, label="", default="false", description="", platform="linux", path="/none"):
    """An item of a configuration; without a platform it has no instructions either."""
    instructions = ("" if platform is None else
                    "<mero><os opsys=%s><file_copy_action><action><loc>%s</loc></action></file_copy_action></os></mero>"
                    % (quoteattr(platform), escape(path)))
    return "<file id=%s><gui><label>%s</label></gui><default>%s</default><description>%s</description>%s</file>" % (
        quoteattr(identity, CONTROLS), escape(label), default, escape(description), instructions)


def group(root, title, *items, folder=None):
    """A group of a configuration; without a root no wizard shows it."""
    attributes = "" if root is None else " treeRootName=" + quoteattr(root, CONTROLS)
    if folder is not None:
        attributes += " directoryName=" + quoteattr(folder)
    return "<fileGroup%s><title>%s</title>%s</fileGroup>" % (attributes, escape(title), "".join(items))


def configuration(*groups):
    return '<?xml version="1.0" encoding="UTF-8"?><configure><title>Test</title>%s</configure>' % "".join(groups)


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
        items = []
        for item, default in (("usual", "true"), ("unusual", "false"), ("system-logs", "true"),
                              ("system-log-hist", "true")):
            path = self.write("logs/" + item + ".log", "content of " + item + "\n")
            items.append(ITEM.format(id=item, default=default, path=path))
        legacy = ITEM.format(id="former", default="false", path=self.write("logs/former.log", "former\n"))
        self.write("install/xml/config/sample.xml",
                   CONFIGURATION.format(folder=self.group, items="\n".join(items), legacy=legacy))
        self.install = self.path("install")

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
