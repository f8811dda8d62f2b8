"""What the project's scripts ask of the machine that they run on, and what they leave in the checkout."""

import json
import os
import shutil
import subprocess
import unittest

import made_up_tree as tree

BOOTSTRAP = os.path.join(tree.SOURCE, "script/bootstrap")


class Bootstrap(tree.TreeTest):
    """With stand-ins for dpkg-query and apt-get, so that nothing is installed."""

    def setUp(self):
        super().setUp()
        self.packages = self.wanted()
        self.program("apt-get", 'echo "$@" >>"%s"' % os.path.join(self.folder, "called"))
        self.program("sudo", 'exec "$@"')

    def wanted(self):
        """The packages as the script itself lists them for a system that is not Debian's."""
        for tool in ("bash", "sed", "tr", "grep"):
            os.makedirs(os.path.join(self.folder, "bare"), exist_ok=True)
            os.symlink(shutil.which(tool), os.path.join(self.folder, "bare", tool))
        done = subprocess.run(["bash", BOOTSTRAP], env={"PATH": os.path.join(self.folder, "bare")}, capture_output=True,
                              text=True)
        self.assertEqual(done.returncode, 0)
        return [line.strip() for line in done.stderr.splitlines() if line.startswith("  ")]

    def run_with(self, *installed, named=()):
        """Runs the script where the database of packages holds these lines. @return what apt-get was called with."""
        self.write("database", "".join(line + "\n" for line in installed))
        self.program("dpkg-query", 'cat "%s"' % os.path.join(self.folder, "database"))
        environment = dict(os.environ, PATH=os.path.join(self.folder, "programs") + ":" + os.environ["PATH"])
        done = subprocess.run(["bash", BOOTSTRAP, *named], env=environment, capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stderr)
        called = os.path.join(self.folder, "called")
        if not os.path.exists(called):
            return []
        with open(called, encoding="utf-8") as file:
            return file.read().splitlines()

    def lines(self, *without):
        return ["ii  %s, " % name for name in self.packages if name not in without]

    def testListIsLongAndHasTheCompiler(self):
        self.assertGreater(len(self.packages), 20)
        self.assertIn("g++", self.packages)

    def testNothingIsCalledWhereAllIsThere(self):
        self.assertEqual(self.run_with(*self.lines()), [])

    def testPackageThatIsPartOfAnother(self):
        self.assertEqual(self.run_with(*self.lines("p7zip-full"), "ii  7zip, p7zip (= 16.02), p7zip-full (= 25.01+dfsg-1)"), [])
        self.assertEqual(self.run_with(*self.lines("p7zip-full"), "ii  7zip, p7zip-full, p7zip-rar"), [])

    def testMissingPackageIsInstalled(self):
        calls = self.run_with(*self.lines("gettext", "ccache"), "rc  gettext, ", "un  ccache, ")
        self.assertEqual(calls, ["-q update", "-q -y install --no-install-recommends ccache gettext"])

    def testNamedPackageIsInstalledWhereItIsOffered(self):
        self.program("apt-cache", '[ "$2" = offered-1 ]')
        calls = self.run_with(*self.lines(), "ii  here-1, ", named=("here-1", "offered-1", "unknown-1"))
        self.assertEqual(calls, ["-q update", "-q -y install --no-install-recommends offered-1"])

    def testNamedPackageThatNobodyOffersIsPassedOver(self):
        self.program("apt-cache", "exit 100")
        self.assertEqual(self.run_with(*self.lines(), named=("unknown-1",)), [])

    def testNoRetiredPackageIsAsked(self):
        self.assertNotIn("libboost-system-dev", self.packages)


class Warnings(tree.TreeTest):
    """The project's compiler options on a small project with an unused variable."""

    def build(self, *options):
        self.write("main.cpp", "int main() { int unused; }\n")
        self.write("CMakeLists.txt", "cmake_minimum_required(VERSION 3.25)\nproject(Sample LANGUAGES CXX)\n"
                   'include("%s/cmake/Options.cmake")\nadd_executable(main main.cpp)\n'
                   "target_link_libraries(main PRIVATE mero_options)\n" % tree.SOURCE)
        folder = os.path.join(self.folder, "build")
        cmake = os.environ["MERO_CMAKE"]
        subprocess.run([cmake, "-G", "Ninja", "-DMERO_SANITIZE=", *options, "-S", self.folder, "-B", folder], check=True,
                       stdout=subprocess.DEVNULL)
        return subprocess.run([cmake, "--build", folder, "--clean-first"], stdout=subprocess.PIPE, text=True)

    def testPlainBuildOnlyWarns(self):
        done = self.build()
        self.assertIn("unused variable", done.stdout)
        self.assertEqual(done.returncode, 0)

    def testOptionLetsAWarningEndTheBuild(self):
        done = self.build("-DMERO_WARNINGS_AS_ERRORS=ON")
        self.assertIn("unused variable", done.stdout)
        self.assertNotEqual(done.returncode, 0)

    def testEveryPresetHasTheOption(self):
        with open(os.path.join(tree.SOURCE, "CMakePresets.json"), encoding="utf-8") as file:
            presets = {preset["name"]: preset for preset in json.load(file)["configurePresets"]}
        self.assertEqual(presets["base"]["cacheVariables"]["MERO_WARNINGS_AS_ERRORS"], "ON")
        for name, preset in presets.items():
            if name != "base":
                self.assertEqual(preset["inherits"], "base")
                self.assertNotIn("MERO_WARNINGS_AS_ERRORS", preset["cacheVariables"])


class RepositoryTest(tree.TreeTest):
    """In a repository of the test's own."""

    def setUp(self):
        super().setUp()
        self.environment = dict(os.environ, GIT_CONFIG_GLOBAL="/dev/null", GIT_CONFIG_SYSTEM="/dev/null", HOME=self.folder,
                                PATH=os.path.join(self.folder, "programs") + ":" + os.environ["PATH"])
        self.git("init", "--quiet")

    def git(self, *arguments):
        return subprocess.run(["git", *arguments], cwd=self.folder, env=self.environment, stdout=subprocess.PIPE, text=True,
                              check=True).stdout


class Checkout(RepositoryTest):
    """A repository with the project's list of what is no source."""

    def testBundleOfARunIsNoSource(self):
        shutil.copy(os.path.join(tree.SOURCE, ".gitignore"), self.folder)
        self.write("MEROBundle_0131_2359.zip", "")
        self.write("docs/MEROBundle_0131_2359.zip", "")
        self.write("docs/bundle.md", "")
        self.git("add", ".")
        self.assertEqual(self.git("ls-files").split(), [".gitignore", "docs/bundle.md"])


class ReleasesOfTools(RepositoryTest):
    """script/lint with stand-ins for all that it asks, which find nothing and tell of a release."""

    USUAL = {"clang-format": "Debian clang-format version 14.0.6",
             "shellcheck": "ShellCheck - shell script analysis tool\nversion: 0.9.0\nlicense: version 3",
             "clang++-22": "Debian clang version 22.1.0 (++20260301)\nTarget: x86_64-pc-linux-gnu",
             "clang-tidy-22": "Debian LLVM version 22.1.0\n  Optimized build."}
    MADE_FOR = {"clang-format": "14", "shellcheck": "0.9", "clang++-22": "22", "clang-tidy-22": "22"}

    def setUp(self):
        super().setUp()
        for name in ("bootstrap", "house-rules", "translations", "tidy"):
            self.program("../script/" + name, "exit 0")
        shutil.copy(os.path.join(tree.SOURCE, "script/lint"), os.path.join(self.folder, "script"))
        for name in ("desktop-file-validate", "appstreamcli", "xmllint", "msgcmp", "msgfmt", "msgmerge", "man", "cmake"):
            self.program(name, "exit 0")

    def lint(self, *arguments, **releases):
        """@param releases  what a tool tells, where that is not the usual. @return status and standard error."""
        for name, told in dict(self.USUAL, **releases).items():
            self.program(name, "cat <<'END'\n%s\nEND" % told)
        done = subprocess.run([os.path.join(self.folder, "script/lint"), *arguments], cwd=self.folder, env=self.environment,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
        return done.returncode, done.stderr

    def testUsualOnesAreTaken(self):
        self.assertEqual(self.lint(), (0, ""))

    def testLastPartOfTheNumberPlaysNoPart(self):
        for tool, told in (("clang-format", "version 14.0.0"), ("clang-format", "version 14.1.9"),
                           ("shellcheck", "version: 0.9.7"), ("clang-tidy-22", "LLVM version 22.9.9")):
            with self.subTest(told=told):
                self.assertEqual(self.lint(**{tool: told}), (0, ""))

    def testAnotherOneFailsTheChecks(self):
        for tool, release in (("clang-format", "15.0.7"), ("clang-format", "13.0.1"), ("clang-format", "140.0.0"),
                              ("clang-format", "3.14.0"), ("shellcheck", "0.10.0"), ("shellcheck", "0.90.1"),
                              ("shellcheck", "1.0.9"), ("clang++-22", "21.1.8"), ("clang-tidy-22", "23.1.0")):
            with self.subTest(tool=tool, release=release):
                self.expect_failure(tool, release, self.lint(**{tool: "version " + release}))

    def testOneThatIsNotToldFailsTheChecks(self):
        self.expect_failure("shellcheck", "unknown", self.lint(shellcheck="no number"))

    def expect_failure(self, tool, release, outcome):
        self.assertEqual(outcome, (1, "lint: %s is version %s; the checks are made for version %s\n"
                                      "lint: failed: version of %s\n" % (tool, release, self.MADE_FOR[tool], tool)))

    def testThoseThatAreNotAskedMayBeAnything(self):
        others = {"clang++-22": "version 21.0.0", "clang-tidy-22": "version 21.0.0"}
        self.assertEqual(self.lint("--fast", **others), (0, ""))
        self.assertEqual(self.lint("--fast", **{"clang-format": "version 15.0.0"})[0], 1)


if __name__ == "__main__":
    unittest.main()
