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


class TidyTest(tree.TreeTest):
    names = ()

    def configure(self, *flags, compiler="c++"):
        self.write("build/compile_commands.json", json.dumps([
            {"directory": self.folder, "file": name,
             "command": " ".join(["ccache", compiler, *flags, "-o", name + ".o", "-c", name])} for name in self.names]))

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


class Tidy(TidyTest):
    names = ("one.cpp", "two.cpp")

    def setUp(self):
        super().setUp()
        self.write(".clang-tidy", CONFIGURATION)
        self.write("one.h", "inline int* one() { return nullptr; }\n")
        self.write("one.cpp", '#include "one.h"\nint* first() { return one(); }\n')
        self.write("two.cpp", "int* second() { return nullptr; }\n")
        self.configure()

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


class TidyOfTests(TidyTest):
    """Sources below tests/, which are asked about together."""
    names = ("tests/one.cpp", "tests/two.cpp")

    def setUp(self):
        super().setUp()
        self.program("clang-tidy", 'echo "$@" >>"%s"\nexec %s "$@"' % (
            os.path.join(self.folder, "called"), shutil.which("clang-tidy")))
        self.write(".clang-tidy", CONFIGURATION)
        self.write("tests/one.cpp", "#include <cstddef>\nint first(std::size_t) { return 1; }\n")
        self.write("tests/two.cpp", "#include <cstddef>\nint second(std::size_t) { return 2; }\n")
        self.configure()

    def asked(self):
        """How often clang-tidy was asked about something."""
        with open(os.path.join(self.folder, "called"), encoding="utf-8") as file:
            return sum("--quiet" in line for line in file)

    def assert_breach(self, name, words):
        status, said = self.tidy()[::2]
        self.assertEqual(status, 1)
        self.assertIn("%s\n" % name, said)
        self.assertIn(words, said)
        self.assertIn("tidy: 2 sources, 0 of them known to be clean, 1 with breaches", said)

    def testAreAskedAboutOnce(self):
        self.assert_known(0)
        self.assertEqual(self.asked(), 1)
        self.assert_known(2)
        self.assertEqual(self.asked(), 1)

    def testAreAskedAboutAloneWhereTheyAreCompiledDifferently(self):
        commands = [{"directory": self.folder, "file": name, "command": "c++ %s -c %s" % (flag, name)}
                    for name, flag in (("tests/one.cpp", "-DA"), ("tests/two.cpp", "-DB"))]
        self.write("build/compile_commands.json", json.dumps(commands))
        self.assert_known(0)
        self.assertEqual(self.asked(), 2)

    def testBreachIsToldOfItsSource(self):
        self.write("tests/two.cpp", "int* second() { return 0; }\n")
        self.assert_breach("tests/two.cpp", "use nullptr")
        self.assertEqual(self.tidy()[1], 1)

    def testOfOneNameAreAskedAboutAlone(self):
        for name in ("one", "two"):
            self.write("tests/%s.cpp" % name, "namespace {\nint same() { return 1; }\n}\nint %s() { return same(); }\n" % name)
        self.assert_known(0)
        self.assert_known(2)

    def testFollowTheChecksOfTheirFolder(self):
        self.write("tests/.clang-tidy", "InheritParentConfig: true\nChecks: '-modernize-use-nullptr,modernize-use-override'\n")
        self.write("tests/two.cpp", "int* second() { return 0; }\n")
        self.assert_known(0)
        self.write("tests/two.cpp", "struct A { virtual void f(); };\nstruct B : A { virtual void f(); };\n")
        self.assertEqual(self.tidy()[0], 1)

    def testNameThatOneBringsInAndAnotherUses(self):
        self.write(".clang-tidy", CONFIGURATION.replace("modernize-use-nullptr", "misc-unused-using-decls"))
        self.write("tests/one.cpp", "#include <map>\nusing std::map;\nmap<int, int> first() { return {}; }\n")
        self.write("tests/two.cpp", "#include <map>\nusing std::map;\n")
        self.assert_breach("tests/two.cpp", "using decl 'map' is unused")

    def testHeaderThatOneIncludesTwice(self):
        self.write(".clang-tidy", CONFIGURATION.replace("modernize-use-nullptr", "readability-duplicate-include"))
        self.write("tests/two.cpp", "#include <cstddef>\n#include <cstddef>\nint second(std::size_t) { return 2; }\n")
        self.assert_breach("tests/two.cpp", "duplicate include")


if __name__ == "__main__":
    unittest.main()
