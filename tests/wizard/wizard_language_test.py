"""The program in the languages that it is translated into."""

import gettext
import os
import shutil

from wizard_program import MEROUI, Atspi, JobTest

LOCALES = os.environ["MERO_TEST_LOCALES"]
CATALOGUES = os.path.join(os.path.dirname(MEROUI), "l10n")


class WalkInALanguage(JobTest):
    """A whole custom walk. Every text is looked for as the catalogue of the language has it."""

    def setUp(self):
        super().setUp()
        shutil.copytree(CATALOGUES, self.path("programs", "l10n"))
        self.catalogue = None

    def translated(self, text):
        return self.catalogue.gettext(text) if text else text

    def walk(self, locale, code):
        with open(os.path.join(CATALOGUES, code, "LC_MESSAGES", "Trellink.mo"), "rb") as file:
            self.catalogue = gettext.GNUTranslations(file)
        self.assertNotEqual(self.translated("Next"), "Next")
        self.environment.update(LC_ALL=locale + ".UTF-8", LANGUAGE="", LOCPATH=LOCALES)
        self.start()
        self.look("label", "Meroscope (MERO)")
        self.press("Next")
        self.look("label", "Bundle Creation Option")
        self.press("Custom", "radio button")
        self.press("Next")
        self.look("label", "File Selection")
        self.row("Sample")
        self.press("Next")
        self.look("label", "Target Bundle Location and Comments")
        self.press("Next")
        self.look("label", "Bundle Encryption Option")
        self.press("Next")
        self.look("label", "MERO will only collect partial diagnostic information. For a complete log collection, "
                           "authenticate as an administrator.")
        self.answer_dialog()
        self.look("label", "Bundle Creation Result")
        self.assertIn("initialized catalog: Trellink with locale: " + locale.lower().replace("_", "-"),
                      self.read_log())
        bundles = os.listdir(self.path("home", "Desktop"))
        self.assertEqual(len(bundles), 1, self.read_log())
        self.find("label", self.translated("The bundle was created successfully in %s.") %
                  self.path("home", "Desktop", bundles[0]))
        self.press("Finish")
        self.wait_for_exit()

    def answer_dialog(self):
        """Presses the one button, whose text is GTK's own as the dialog's name is."""
        dialog = self.wait_for(lambda: self.first("alert"), "dialog")
        Atspi.Action.do_action(self.wait_for(lambda: self.first("push button", dialog), "button"), 0)

    def first(self, role, node=None):
        return next((widget for widget in self.widgets(node) if widget.get_role_name() == role), None)

    def look(self, role, text):
        """Waits for a text that a page is known by."""
        self.find(role, text)

    def testIsGerman(self):
        self.walk("de_DE", "de")

    def testIsFrench(self):
        self.walk("fr_FR", "fr")

    def testIsSpanish(self):
        self.walk("es_ES", "es")

    def testIsItalian(self):
        self.walk("it_IT", "it")

    def testIsBrazilianPortuguese(self):
        self.walk("pt_BR", "pt-br")

    def testIsJapanese(self):
        self.walk("ja_JP", "ja")

    def testIsSimplifiedChinese(self):
        self.walk("zh_CN", "zh-cn")

    def testIsArabic(self):
        self.walk("ar_EG", "ar")
