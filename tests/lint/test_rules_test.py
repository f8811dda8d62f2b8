"""The build's rules for tests, tried on a small project: only a test that ran and ended well passes."""

import os
import subprocess
import textwrap
import unittest
import xml.etree.ElementTree

import made_up_tree as tree

CMAKE = os.environ["MERO_CMAKE"]
CTEST = os.environ["MERO_CTEST"]

# What the rules need of the project that they belong to.
PROJECT = """cmake_minimum_required(VERSION 3.25)
project(Sample LANGUAGES CXX)
enable_testing()
find_package(GTest REQUIRED)
include(GoogleTest)
find_program(MERO_SYSTEM_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)
include("{source}/cmake/Tests.cmake")
add_library(mero_test_options INTERFACE)
add_library(test_support INTERFACE)
{tests}
"""

PROGRAM = """
add_library(test_pch OBJECT header.cpp)
target_precompile_headers(test_pch PRIVATE <cstdio>)
mero_add_tests(cases SOURCES cases.cpp)
"""

CASES = r"""
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

namespace {

// As a sanitizer does that finds something after the tests.
void endBadly() {
    static_cast<void>(std::fflush(nullptr));
    std::_Exit(3);
}

// There when the tests are listed, and gone when it is to run.
const bool g_listed = [] {
    std::ifstream stream("/proc/self/cmdline");
    std::string arguments;
    std::getline(stream, arguments);
    if (arguments.find("--gtest_list_tests") != std::string::npos) {
        class Gone : public testing::Test {
            void TestBody() override {}
        };
        testing::RegisterTest("Cases", "IsGone", nullptr, nullptr, __FILE__, __LINE__, [] { return new Gone; });
    }
    return true;
}();

} // namespace

TEST(Cases, Passes) { EXPECT_TRUE(g_listed); }
TEST(Cases, Fails) { FAIL(); }
TEST(Cases, IsSkipped) { GTEST_SKIP() << "this is why"; }
TEST(Cases, LeavesHalfWay) { std::_Exit(0); }
TEST(Cases, IsKilled) { std::raise(SIGKILL); }
TEST(Cases, PassesAndEndsBadly) { std::atexit(&endBadly); }
TEST(Cases, IsSkippedAndKilled) {
    std::atexit([] { std::raise(SIGKILL); });
    GTEST_SKIP() << "this is why";
}
"""

# Set in, so that the build takes these for no tests of its own.
SCRIPT = textwrap.dedent("""\
        import atexit
        import os
        import signal
        import sys
        import unittest


        def end_badly():
            atexit.register(os._exit, 3)


        class Cases(unittest.TestCase):
            def testPasses(self):
                pass

            def testPassesAndSaysMore(self):
                atexit.register(print, "more")

            def testFails(self):
                self.fail()

            def testBreaks(self):
                raise OSError

            def testIsSkipped(self):
                self.skipTest("this is why")

            def testLeavesHalfWay(self):
                os._exit(0)

            def testIsKilled(self):
                os.kill(os.getpid(), signal.SIGKILL)

            def testPassesAndEndsBadly(self):
                end_badly()

            def testIsSkippedAndEndsBadly(self):
                end_badly()
                self.skipTest("this is why")
""")

MAIN = """

if __name__ == "__main__":
    unittest.main()
"""


class TestRules(tree.TreeTest):
    def configure(self, tests):
        self.write("CMakeLists.txt", PROJECT.format(source=tree.SOURCE, tests=tests))
        return subprocess.run([CMAKE, "-G", "Ninja", "-S", self.folder, "-B", self.build()], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True)

    def build(self):
        return os.path.join(self.folder, "build")

    def outcomes(self, tests):
        """Builds the project and runs its tests. @return what became of each: run, fail or notrun."""
        done = self.configure(tests)
        self.assertEqual(done.returncode, 0, done.stdout)
        done = subprocess.run([CMAKE, "--build", self.build()], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.assertEqual(done.returncode, 0, done.stdout)
        results = os.path.join(self.folder, "results.xml")
        subprocess.run([CTEST, "--test-dir", self.build(), "--output-junit", results], stdout=subprocess.PIPE,
                       stderr=subprocess.STDOUT)
        return {case.get("name"): case.get("status") for case in xml.etree.ElementTree.parse(results).iter("testcase")}

    def testProgramsOfGoogleTest(self):
        self.write("cases.cpp", CASES)
        self.write("header.cpp", "")
        self.assertEqual(self.outcomes(PROGRAM), {
            "Cases.Passes": "run",
            "Cases.Fails": "fail",
            "Cases.IsSkipped": "notrun",
            "Cases.LeavesHalfWay": "fail",
            "Cases.IsKilled": "fail",
            "Cases.PassesAndEndsBadly": "fail",
            "Cases.IsSkippedAndKilled": "fail",
            "Cases.IsGone": "fail",
        })

    def testScripts(self):
        self.write("cases_test.py", SCRIPT + MAIN)
        self.assertEqual(self.outcomes('mero_add_python_tests(cases_test.py ENVIRONMENT "A=b")'), {
            "Cases.Passes": "run",
            "Cases.PassesAndSaysMore": "run",
            "Cases.Fails": "fail",
            "Cases.Breaks": "fail",
            "Cases.IsSkipped": "notrun",
            "Cases.LeavesHalfWay": "fail",
            "Cases.IsKilled": "fail",
            "Cases.PassesAndEndsBadly": "fail",
            "Cases.IsSkippedAndEndsBadly": "fail",
        })

    def testScriptThatForgetsToRunItsTests(self):
        self.write("cases_test.py", SCRIPT)
        outcomes = self.outcomes('mero_add_python_tests(cases_test.py ENVIRONMENT "A=b")')
        self.assertEqual(set(outcomes.values()), {"fail"}, outcomes)

    def testLauncherTakesPart(self):
        self.write("cases_test.py", SCRIPT + MAIN)
        outcomes = self.outcomes('mero_add_python_tests(cases_test.py LAUNCHER false ENVIRONMENT "A=b")')
        self.assertEqual(set(outcomes.values()), {"fail"}, outcomes)

    def testMethodOfWhichNoTestWouldBeMade(self):
        for line in ("def test_passes(self):", "def testPasses(self, more=None):"):
            self.write("cases_test.py", SCRIPT.replace("def testPasses(self):", line) + MAIN)
            done = self.configure('mero_add_python_tests(cases_test.py ENVIRONMENT "A=b")')
            self.assertNotEqual(done.returncode, 0)
            self.assertIn("no test is made of this line:", done.stdout)


if __name__ == "__main__":
    unittest.main()
