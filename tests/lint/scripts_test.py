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


class Checkout(tree.TreeTest):
    """A repository with the project's list of what is no source."""

    def testBundleOfARunIsNoSource(self):
        shutil.copy(os.path.join(tree.SOURCE, ".gitignore"), self.folder)
        self.write("MEROBundle_0131_2359.zip", "")
        self.write("docs/MEROBundle_0131_2359.zip", "")
        self.write("docs/bundle.md", "")
        self.git("init", "--quiet")
        self.git("add", ".")
        self.assertEqual(self.git("ls-files").split(), [".gitignore", "docs/bundle.md"])

    def git(self, *arguments):
        environment = dict(os.environ, GIT_CONFIG_GLOBAL="/dev/null", GIT_CONFIG_SYSTEM="/dev/null", HOME=self.folder)
        return subprocess.run(["git", *arguments], cwd=self.folder, env=environment, stdout=subprocess.PIPE, text=True,
                              check=True).stdout


if __name__ == "__main__":
    unittest.main()
