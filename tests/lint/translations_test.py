"""The check of the translations finds each breach in a small made-up tree, and the update brings the tree in order."""

import os
import shutil
import subprocess
import unittest

import made_up_tree as tree

TRANSLATIONS = os.path.join(tree.SOURCE, "script/translations")
EXTRACT = os.path.join(tree.SOURCE, "po/extract.py")

TABLE = "vpn/tools/MERO/MEROOffline/Linux/UserTexts.cpp"
ENGINE = "vpn/tools/MERO/MEROEngine/implementations/EngineMessages.h"
CONFIGURATION = "data/xml/config/network.xml"
POLICY = "data/polkit/com.varnel.corvane.mero.policy"

SOURCES = {
    TABLE: '"Next",\n"The bundle is in %s.",\n"Address: ",\n',
    ENGINE: 'inline constexpr const char* kStarting = "Starting...";\n',
    CONFIGURATION: '<configure><title>_tr("Routes")</title></configure>\n',
    POLICY: "<policyconfig><action><message>A password is required</message></action></policyconfig>\n",
}
GERMAN = {
    "Next": "Weiter",
    "The bundle is in %s.": "Das Paket ist in %s.",
    "Address: ": "Adresse: ",
    "Starting...": "Start...",
    "Routes": "Routen",
    "A password is required": "Ein Passwort ist nötig",
}


class Translations(tree.TreeTest):
    """The tree is in order: every text is in the template, and in German."""

    def setUp(self):
        super().setUp()
        for path, text in SOURCES.items():
            self.write(path, text)
        self.write("po/LINGUAS", "de\n")
        shutil.copy(EXTRACT, os.path.join(self.folder, "po"))
        self.update()
        for text, german in GERMAN.items():
            self.replace("po/de.po", 'msgid "%s"\nmsgstr ""' % text, 'msgid "%s"\nmsgstr "%s"' % (text, german))

    def replace(self, path, old, new):
        text = self.read(path)
        self.assertEqual(text.count(old), 1, path + " has not one " + old)
        self.write(path, text.replace(old, new))

    def run_script(self, command):
        return subprocess.run([TRANSLATIONS, command, self.folder], capture_output=True, text=True)

    def update(self):
        done = self.run_script("update")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))

    def assert_in_order(self):
        done = self.run_script("check")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))

    def assert_breach(self, *complaints):
        """The first line of what the check says has all of these."""
        done = self.run_script("check")
        self.assertEqual((done.returncode, done.stderr), (1, ""), done.stdout)
        for complaint in complaints:
            self.assertIn(complaint, done.stdout.splitlines()[0])

    def place_of(self, path, text):
        """Where the translation of a text stands, as the check tells it."""
        return "%s:%d:" % (path, self.read(path).splitlines().index('msgid "%s"' % text) + 2)

    def testTreeInOrderPasses(self):
        self.assert_in_order()

    def testTextThatIsNotTranslated(self):
        self.replace("po/de.po", "Weiter", "")
        self.assert_breach(self.place_of("po/de.po", "Next"), "untranslated")

    def testTranslationThatIsAGuess(self):
        self.replace("po/de.po", 'msgid "Next"', '#, fuzzy\nmsgid "Next"')
        self.assert_breach(self.place_of("po/de.po", "Next"), "needs to be reviewed")

    def testTextOfFormerTimes(self):
        self.write("po/de.po", self.read("po/de.po") + '\n#~ msgid "Previous"\n#~ msgstr "Zurück"\n')
        self.assert_breach("po/de.po", "former times", "Previous")

    def testLostPlaceholder(self):
        self.replace("po/de.po", "Das Paket ist in %s.", "Das Paket ist da.")
        self.assert_breach(self.place_of("po/de.po", "The bundle is in %s."), "format specifications")

    def testLostMarkOfATextWithAPlaceholder(self):
        self.replace("po/de.po", "#, c-format\n", "")
        self.replace("po/de.po", "Das Paket ist in %s.", "Das Paket ist da.")
        self.assert_breach("po/de.po", "differs from the template in order, comments or marks")

    def testLostBlankAtTheEnd(self):
        self.replace("po/de.po", "Adresse: ", "Adresse:")
        self.assert_breach(self.place_of("po/de.po", "Address: "), "ends in a blank")

    def testCharacterSetInCapitals(self):
        self.replace("po/de.po", "charset=utf-8", "charset=UTF-8")
        self.assert_breach("po/de.po", "header lacks", "charset=utf-8")

    def testLanguageWithoutAFile(self):
        self.write("po/LINGUAS", "de\nfr\n")
        self.assert_breach("po/LINGUAS", "po/fr.po is missing")

    def testFileWithoutALanguage(self):
        self.write("po/LINGUAS", "# none\n")
        self.assert_breach("po/de.po", "not in po/LINGUAS")

    def testTextThatTheTemplateLacks(self):
        for path, old, new in ((TABLE, '"Next"', '"Next", "Back"'), (ENGINE, "Starting...", "Reading..."),
                               (CONFIGURATION, "Routes", "Tunnels"), (POLICY, "A password", "A fingerprint")):
            with self.subTest(path):
                self.replace(path, old, new)
                self.assert_breach("po/MERO.pot")
                self.assertIn("is not what po/extract.py prints", self.run_script("check").stdout)
                self.write(path, SOURCES[path])
        self.assert_in_order()

    def testTextOfTheTemplateThatNoSourceHas(self):
        addition = '\n#: lost.cpp\nmsgid "Lost"\nmsgstr "Verloren"\n'
        self.write("po/de.po", self.read("po/de.po") + addition)
        self.write("po/MERO.pot", self.read("po/MERO.pot") + addition.replace("Verloren", ""))
        self.assert_breach("po/MERO.pot")

    def testTextThatATranslationLacks(self):
        self.replace("po/de.po", 'msgid "Next"\nmsgstr "Weiter"\n', "")
        self.assert_breach(self.place_of("po/MERO.pot", "Next"), "used but not defined in po/de.po")

    def testTextThatATranslationHasTooMuch(self):
        self.write("po/de.po", self.read("po/de.po") + '\nmsgid "Lost"\nmsgstr "Verloren"\n')
        self.assert_breach(self.place_of("po/de.po", "Lost"), "not used")

    def testUpdateBringsANewTextAndKeepsTheOthers(self):
        before = self.read("po/de.po")
        self.replace(TABLE, '"Next"', '"Next", "Back"')
        self.update()
        self.assert_breach(self.place_of("po/de.po", "Back"), "untranslated")
        self.replace("po/de.po", '#: %s\nmsgid "Back"\nmsgstr ""\n\n' % TABLE, "")
        self.assertEqual(self.read("po/de.po"), before)

    def testUpdateDropsALostText(self):
        self.replace(TABLE, '"Next",', "")
        self.update()
        self.assertNotIn("Weiter", self.read("po/de.po"))
        self.assert_in_order()

    def testUpdateOfATreeInOrderChangesNothing(self):
        before = self.read("po/de.po"), self.read("po/MERO.pot")
        self.update()
        self.assertEqual((self.read("po/de.po"), self.read("po/MERO.pot")), before)

    def testUpdateMakesTheFileOfANewLanguage(self):
        self.write("po/LINGUAS", "de\npt_BR\n")
        self.update()
        self.assertIn('"Language: pt_BR\\n"', self.read("po/pt_BR.po"))
        self.assert_breach(self.place_of("po/pt_BR.po", "Next"), "untranslated")

    def testUnknownCommandIsRefused(self):
        done = self.run_script("look")
        self.assertEqual(done.returncode, 2)
        self.assertIn("script/translations check|update", done.stderr)


if __name__ == "__main__":
    unittest.main()
