"""The catalogues of all languages stand where they are looked for, and hold the translations."""

import gettext
import os
import unittest

import generated_files as files

SOURCE = os.environ["MERO_SOURCE_DIR"]
# As the translations are named, and as the programs spell them.
CODES = {"ar": "ar", "de": "de", "es": "es", "fr": "fr", "it": "it", "ja": "ja", "pt_BR": "pt-br", "zh_CN": "zh-cn"}
# A text that no language leaves as it is, and one of the action that polkit asks for.
TEXT = "Next"
ASKED = "Authentication is required to collect the logs and the state of this computer into a bundle"


def places(language):
    """The primary catalogue, the default one, and the one that polkit asks."""
    code = CODES[language]
    return (os.path.join(os.environ["MERO_L10NDIR"], code, "LC_MESSAGES/Trellink.mo"),
            os.path.join(os.environ["MERO_DEFAULTL10NDIR"], code, "LC_MESSAGES/CorvaneDefault.mo"),
            os.path.join(os.environ["MERO_DATADIR"], "locale", language, "LC_MESSAGES/Trellink.mo"))


def translation(path, text):
    with open(path, "rb") as file:
        return gettext.GNUTranslations(file).gettext(text)


class Catalogues(files.FolderTest):
    def testEachLanguageIsKnown(self):
        with open(os.path.join(SOURCE, "po/LINGUAS"), encoding="utf-8") as file:
            self.assertEqual(file.read().split(), sorted(CODES))

    def testAllOfALanguageHoldTheSame(self):
        self.install()
        for language in CODES:
            contents = set()
            for path in places(language):
                with open(self.installed(path), "rb") as file:
                    contents.add(file.read())
            self.assertEqual(len(contents), 1, language)

    def testEachLanguageHasItsOwnTranslation(self):
        self.install()
        for text in (TEXT, ASKED):
            found = {text}
            for language in CODES:
                found.add(translation(self.installed(places(language)[0]), text))
            self.assertEqual(len(found), len(CODES) + 1, found)

    def testTheHeaderNamesTheCharacterSetAsTheProgramsWantIt(self):
        self.install()
        for language in CODES:
            with open(self.installed(places(language)[0]), "rb") as file:
                self.assertIn(b"charset=utf-8\n", file.read(), language)

    def testTheBuildTreeHasThemBesideThePrograms(self):
        for code in CODES.values():
            for name in ("l10n/%s/LC_MESSAGES/Trellink.mo", "resources/l10n/%s/LC_MESSAGES/CorvaneDefault.mo"):
                path = os.path.join(files.BUILD, "bin", name % code)
                self.assertNotEqual(translation(path, TEXT), TEXT, path)


if __name__ == "__main__":
    unittest.main()
