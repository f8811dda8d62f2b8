"""Each house rule finds its breach in a small made-up tree, and passes what is meant to pass."""

import os
import subprocess
import sys
import unittest

import made_up_tree as tree

RULES = os.path.join(tree.SOURCE, "script/house-rules")
WIZARD = "vpn/tools/MERO/MEROOffline/Linux/"
CODES = "vpn/Common/Utility/ReturnCodes.h"
ENGINE_TEXTS = "vpn/tools/MERO/MEROEngine/implementations/EngineMessages.h"


class HouseRules(tree.TreeTest):
    def breaches(self, folder=None):
        done = subprocess.run([sys.executable, "-B", RULES, folder or self.folder], capture_output=True, text=True)
        self.assertEqual(done.stderr, "")
        self.assertEqual(done.returncode, 1 if done.stdout else 0)
        return done.stdout.splitlines()

    def assert_breach(self, start, complaint):
        found = self.breaches()
        self.assertEqual(len(found), 1, found)
        self.assertTrue(found[0].startswith(start), found[0])
        self.assertIn(complaint, found[0])

    def testCleanTreePasses(self):
        self.write("vpn/a.h", "#pragma once\n")
        self.write("vpn/a.cpp", '#include "a.h"\nint main() { return 0; }\n')
        self.assertEqual(self.breaches(), [])

    def testDesktopIncludeBelowTheWizard(self):
        self.write("vpn/Common/a.h", "#pragma once\n#include <glib-object.h>\n")
        self.assert_breach("vpn/Common/a.h:2:", "below the wizard")

    def testDesktopIncludeInTheWizardPasses(self):
        self.write(WIZARD + "a.h", "#include <gtk/gtk.h>\n#include <glib.h>\n")
        self.assertEqual(self.breaches(), [])

    def testIncludeAgainstTheArrows(self):
        self.write("vpn/Common/Zip/a.h", "#pragma once\n")
        self.write("vpn/Common/Xml/b.cpp", '\n#include "Common/Zip/a.h"\n')
        self.assert_breach("vpn/Common/Xml/b.cpp:2:", "vpn/Common/Xml/ may not use vpn/Common/Zip/")

    def testIncludeOfAFrontInTheEngine(self):
        self.write(WIZARD + "a.h", "#pragma once\n")
        self.write(ENGINE_TEXTS, '#include "tools/MERO/MEROOffline/Linux/a.h"\n')
        self.assert_breach(ENGINE_TEXTS + ":1:", "may not use " + WIZARD)

    def testIncludeAlongTheArrowsPasses(self):
        self.write("vpn/Common/Utility/text/a.h", "#pragma once\n")
        self.write("vpn/Common/Xml/b.cpp", '#include "Common/Utility/text/a.h"\n#include "BuildVersion.h"\n')
        self.assertEqual(self.breaches(), [])

    def testIncludeThatNamesNoFolder(self):
        self.write("vpn/Common/Xml/a.h", "#pragma once\n")
        self.write("vpn/Common/Xml/b.cpp", '#include "a.h"\n')
        self.assert_breach("vpn/Common/Xml/b.cpp:1:", "name it from vpn/")

    def testCircleOfFiles(self):
        self.write("vpn/Common/Xml/a.h", '#include "Common/Xml/b.h"\n')
        self.write("vpn/Common/Xml/b.h", "#pragma once\n")
        self.write("vpn/Common/Xml/b.cpp", '#include "Common/Xml/b.h"\n#include "Common/Xml/c.h"\n')
        self.write("vpn/Common/Xml/c.h", '#include "Common/Xml/a.h"\n')
        self.assert_breach("vpn/Common/Xml/c.h:1:", "a > b > c > a")

    def testReleaseByHand(self):
        for call in ("fclose(f);", "std::free(p);", "::close(fd);", "xmlFreeParserCtxt(c);", "g_object_unref(o);"):
            self.write("vpn/a.cpp", "void f() {\n    " + call + "\n}\n")
            self.assert_breach("vpn/a.cpp:2:", "is called by hand")

    def testReleaseWithAReasonPasses(self):
        self.write("vpn/a.cpp", "fclose(f); // its result counts\n// the child shares nothing\nclose(fd);\n")
        self.assertEqual(self.breaches(), [])

    def testReleaseInAHandleFileOrOfAnObjectPasses(self):
        self.write("vpn/ZipHandles.h", "void f() { fclose(f); }\n")
        self.write("vpn/a.cpp", 'archive.close();\narchive->close();\nCZip::close();\nlog("close(fd)");\nenclose(x);\n')
        self.assertEqual(self.breaches(), [])

    def testReleaseOfWhatAHandleLetGoPasses(self):
        self.write("vpn/a.cpp", "return ::closedir(m_dir.release()) == 0;\nfclose(file.release());\nclose();\n")
        self.assertEqual(self.breaches(), [])

    def testReleaseInADestructorPasses(self):
        self.write("vpn/a.cpp", "struct Buffer {\n    ~Buffer() { std::free(text); }\n};\n")
        self.assertEqual(self.breaches(), [])

    def testNumberOfACode(self):
        self.write("vpn/a.cpp", "return 0xFEB0000A;\n")
        self.assert_breach("vpn/a.cpp:1:", "has or needs a name")

    def testNumberOfACodeInACommentPasses(self):
        self.write("vpn/a.cpp", "// 0xFEB0000A\nconst int mask = 0xFE000;\n")
        self.assertEqual(self.breaches(), [])

    def testCodeMadeOfAnotherRow(self):
        self.write(CODES, 'inline constexpr uint32_t A_B_ERROR_B =\n    returnCodeOf("A_B_ERROR_B");\n'
                          'inline constexpr uint32_t A_B_ERROR_C = returnCodeOf("A_B_ERROR_CD");\n')
        self.assert_breach(CODES + ":3:", "A_B_ERROR_C is not made of its row")

    def testCodeMadeOfANumber(self):
        self.write(CODES, "inline constexpr uint32_t A_ERROR_B = kFirst + 2;\n")
        self.assert_breach(CODES + ":1:", "A_ERROR_B is not made of its row")

    def testTextBesideTheTable(self):
        self.write(WIZARD + "UserTexts.cpp", '"Select a bundle.",\n')
        self.write(WIZARD + "a.cpp", '\nshow("Select a bundle.");\n')
        self.assert_breach(WIZARD + "a.cpp:2:", "repeats a text")

    def testTranslationOfALiteral(self):
        self.write(WIZARD + "a.cpp", 'translateText("Next");\n')
        self.assert_breach(WIZARD + "a.cpp:1:", "translates a text")

    def testProgressTextBesideTheTable(self):
        for line in ('status = "Still running " + name + ", please be patient...";',
                     'status = stepText("Still running %s", name);',
                     'reportProgress(0,\n               "Something has happened", code);',
                     'result.message = "Something has happened";',
                     'show("Reading ...  ");'):
            self.write("vpn/tools/MERO/a.cpp", "f();\n" + line + "\n")
            found = self.breaches()
            self.assertEqual(len(found), 1, (line, found))
            self.assertRegex(found[0], r"\Avpn/tools/MERO/a\.cpp:[23]: shows a progress text that is not in "
                                       r"EngineMessages\.h\Z")

    def testProgressTextOfTheTable(self):
        self.write(ENGINE_TEXTS, 'inline constexpr const char* kReading = "Reading instructions now";\n')
        self.write("vpn/tools/MERO/a.cpp", 'f("Reading instructions now");\n')
        self.assert_breach("vpn/tools/MERO/a.cpp:1:", "repeats a text of EngineMessages.h")

    def testTextsThatAreNoProgressPass(self):
        self.write(ENGINE_TEXTS, 'inline constexpr const char* kReading = "Reading...";\n')
        self.write("vpn/tools/MERO/a.cpp", 'reportProgress(1, kReading, 0);\nZRN_LOG(\'I\', "Looking for more...");\n'
                                           'logMessage(f, 1,\n    "Looking for more...");\nreportProgress(0, "", 0);\n'
                                           '// "Reading it..."\nresult.message = "";\nshow("one ... two");\n')
        self.write("vpn/Common/a.cpp", 'show("Reading it...");\n')
        self.assertEqual(self.breaches(), [])

    def testWidgetThatTheUIFileLacks(self):
        self.write(WIZARD + "a.glade", '<object class="GtkLabel" id="labelOne"/>\n')
        self.write(WIZARD + "a.cpp", 'f("labelOne");\nf("labelTwo");\nf("labels");\n')
        self.assert_breach(WIZARD + "a.cpp:2:", "labelTwo is not in the UI file")

    def testSwitchedOffCheckWithoutAReason(self):
        for line in ("int a; // NOLINT", "int a; // NOLINT(misc-x)", "// NOLINTNEXTLINE(misc-x)"):
            self.write("vpn/a.cpp", "\n" + line + "\n")
            self.assert_breach("vpn/a.cpp:2:", "without a reason")

    def testSwitchedOffCheckWithAReasonPasses(self):
        self.write("vpn/a.cpp", "int a; // NOLINT(misc-x): the C interface wants it\n"
                                "// The C interface wants it.\n// NOLINTNEXTLINE(misc-x)\nint b;\n")
        self.assertEqual(self.breaches(), [])

    def testWordsThatDoNotBelong(self):
        # The words themselves have to be said here; nothing in this project is left for later by them.
        for words in ("TODO", "FIXME", "XXX", "/root/"):
            self.write("docs/a.md", "first\nand then " + words + "\n")
            self.assert_breach("docs/a.md:2:", '"' + words + '"')

    def testWordsThatLookAlikePass(self):
        self.write("docs/a.md", "todos, mkstemp(XXXXXX), /var/root/\n")
        self.assertEqual(self.breaches(), [])

    def testSourceThatIsTooLong(self):
        self.write("vpn/a.cpp", "int a;\n" * 401)
        self.assert_breach("vpn/a.cpp:401:", "is longer than 400 lines")

    def testBuildFoldersAreNotRead(self):
        # Any breach would do: what a build makes is nobody's source.
        self.write("build/vpn/a.cpp", "TODO\n")
        self.assertEqual(self.breaches(), [])


if __name__ == "__main__":
    unittest.main()
