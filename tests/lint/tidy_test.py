"""clang-tidy is asked once about a clean source, and again when anything changes that its answer depends on."""

import json
import os
import shutil
import subprocess
import sys
import unittest

import made_up_tree as tree

TIDY = os.path.join(tree.SOURCE, "script/tidy")
CONFIGURATION = "Checks: '-*,modernize-use-nullptr'\nWarningsAsErrors: '*'\nHeaderFilterRegex: '.*'\n"


class Tidy(tree.TreeTest):
    def setUp(self):
        super().setUp()
        self.write(".clang-tidy", CONFIGURATION)
        self.write("one.h", "inline int* one() { return nullptr; }\n")
        self.write("one.cpp", '#include "one.h"\nint* first() { return one(); }\n')
        self.write("two.cpp", "int* second() { return nullptr; }\n")
        self.configure()

    def configure(self, *flags, compiler="c++"):
        self.write("build/compile_commands.json", json.dumps([
            {"directory": self.folder, "file": name, "command": " ".join(["ccache", compiler, *flags, "-o", "x.o", "-c", name])}
            for name in ("one.cpp", "two.cpp")]))

    def tidy(self, *files):
        """@return the exit status, how many sources were known to be clean, and all that was said."""
        environment = dict(os.environ, XDG_CACHE_HOME=os.path.join(self.folder, "cache"),
                           PATH=os.path.join(self.folder, "programs") + ":" + os.environ["PATH"])
        done = subprocess.run([sys.executable, "-B", TIDY, "build", *files], cwd=self.folder, env=environment,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        last = done.stdout.splitlines()[-1]
        return done.returncode, int(last.split(", ")[1].split()[0]) if last.startswith("tidy: 2") else last, done.stdout

    def assert_known(self, count):
        status, known, said = self.tidy()
        self.assertEqual((status, known), (0, count), said)

    def testAsksOnceAboutACleanSource(self):
        self.assert_known(0)
        self.assert_known(2)

    def testAsksAgainWhenTheSourceOrAHeaderChanges(self):
        self.assert_known(0)
        self.write("one.h", "// NOLINTNEXTLINE\ninline int* one() { return nullptr; }\n")
        self.assert_known(1)
        self.write("two.cpp", "int* second() { return nullptr; } // changed\n")
        self.assert_known(1)

    def testAsksAgainWhenTheChecksOrTheCommandChange(self):
        self.assert_known(0)
        self.write(".clang-tidy", CONFIGURATION.replace("nullptr", "override"))
        self.assert_known(0)
        self.configure("-DNAME=1")
        self.assert_known(0)

    def testKnowsAnotherCheckout(self):
        self.assert_known(0)
        cache = os.path.join(self.folder, "cache")
        super().setUp()
        for name in (".clang-tidy", "one.h", "one.cpp", "two.cpp"):
            shutil.copy(os.path.join(os.path.dirname(cache), name), self.folder)
        self.configure()
        shutil.copytree(cache, os.path.join(self.folder, "cache"))
        self.assert_known(2)

    def testIsAskedOfTheVersionThatBuilds(self):
        self.program("clang++-7", 'exec clang++ "$@"')
        self.program("clang-tidy-7", '[ "$1" = --version ] || { echo "seven was asked"; exit 1; }')
        self.configure(compiler=os.path.join(self.folder, "programs/clang++-7"))
        status, _, said = self.tidy("one.cpp")
        self.assertEqual(status, 1)
        self.assertIn("seven was asked", said)

    def testBreachIsToldEachTime(self):
        self.write("one.h", "inline int* one() { return 0; }\n")
        for _ in range(2):
            status, _, said = self.tidy()
            self.assertEqual(status, 1)
            self.assertIn("use nullptr", said)
        self.assertIn("tidy: 2 sources, 1 of them known to be clean, 1 with breaches", said)

    def testChecksTheFilesThatAreNamed(self):
        self.write("one.h", "inline int* one() { return 0; }\n")
        self.assertEqual(self.tidy("two.cpp")[0], 0)
        self.assertEqual(self.tidy("one.cpp")[0], 1)

    def testSourceThatTheBuildDoesNotKnow(self):
        self.write("three.cpp", "")
        self.assertEqual(self.tidy("three.cpp")[:2], (1, "tidy: the build does not compile three.cpp"))


if __name__ == "__main__":
    unittest.main()
