"""merocli list: the tree in both forms, and what happens when there is little or nothing to list."""

import glob
import json
import os
import shutil
import unittest
import xml.etree.ElementTree as ElementTree

from console import MEROCLI, ConsoleTest

from configurations import configuration, group, item

SHIPPED = os.path.join(os.environ["MERO_SOURCE_DIR"], "data/xml/config")


class ListTest(ConsoleTest):
    """A folder `install`, in which each test puts its own configuration."""

    def setUp(self):
        super().setUp()
        self.install = self.path("install")
        os.makedirs(self.path("install/xml/config"))

    def configure(self, *groups, name="test.xml"):
        return self.write("install/xml/config/" + name, configuration(*groups))

    def list(self, *arguments, **options):
        return self.run_console("list", "--install-dir", self.install, *arguments, **options)

    def text(self):
        status, output, errors = self.list()
        self.assertEqual((status, errors), (0, ""))
        return output

    def roots(self):
        status, output, errors = self.list("--json")
        self.assertEqual((status, errors), (0, ""))
        return json.loads(output)["roots"]

    def assert_nothing_to_list(self, *errors):
        for arguments in ((), ("--json",)):
            status, output, told = self.list(*arguments)
            self.assertEqual((status, output), (1, ""))
            self.assertEqual(told, "".join("merocli: " + error + "\n" for error in errors))

    def none_offered(self):
        return ("no configuration file in '%s/xml/config/' offers an item; name the folder that holds xml/config/ "
                "with --install-dir" % self.install)

    @staticmethod
    def unreadable(path):
        return ("the configuration file '%s' can't be read, so its items are missing; the log tells why: "
                "journalctl -t zrn_merocli" % path)


class TextListing(ListTest):
    def testTreeOfRootsModulesAndItems(self):
        self.configure(group("Network", "Links", item("routes", "Routes", "true"), item("wifi-scan", "Wireless")),
                       group("Network", "Names", item("hosts", "Hosts file", "true")),
                       group("System", "System", item("os", "Operating system")))
        self.assertEqual(self.text(), ("Network\n"
                                       "  Links\n"
                                       "    [x] routes     Routes\n"
                                       "    [ ] wifi-scan  Wireless\n"
                                       "  Names\n"
                                       "    [x] hosts  Hosts file\n"
                                       "System\n"
                                       "  System\n"
                                       "    [ ] os  Operating system\n"))

    def testMarksOfTranslationAreTakenAway(self):
        self.configure(group('_tr("Root")', '_tr("Title")', item("a", '_tr("Label")'), item("b", '_tr("open'),
                             item("c", '")crossed _tr("'), item("d", '_tr("A")B")')))
        self.assertEqual(self.text(), ("Root\n"
                                       "  Title\n"
                                       "    [ ] a  Label\n"
                                       '    [ ] b  _tr("open\n'
                                       '    [ ] c  ")crossed _tr("\n'
                                       "    [ ] d  A\n"))

    def testAnIdIsShownAsItStands(self):
        self.configure(group("R", "T", item('_tr("a")', "A")))
        self.assertEqual(self.text(), 'R\n  T\n    [ ] _tr("a")  A\n')

    def testRootsAreSortedByTheirNamesMarksIncluded(self):
        self.configure(group('_tr("B")', "T", item("b")), group("b", "T", item("c")), group('_tr("A")', "T", item("a")),
                       group("Z", "T", item("z")))
        self.assertEqual([line for line in self.text().split("\n") if line and line[0] != " "], ["Z", "A", "B", "b"])

    def testModulesAndItemsKeepTheOrderOfTheirFile(self):
        self.configure(group("R", "Z", item("z"), item("a")), group("R", "A", item("y"), item("b")))
        self.assertEqual(self.text().split(), "R Z [ ] z (no label) [ ] a (no label)"
                                              " A [ ] y (no label) [ ] b (no label)".split())

    def testGroupsOfSeveralFilesMeetUnderOneRoot(self):
        self.configure(group("R", "One", item("a")), name="1.xml")
        self.configure(group("R", "Two", item("b")), name="2.xml")
        lines = self.text().split("\n")
        self.assertEqual(lines[0], "R")
        self.assertEqual(sorted(lines[1:]), ["", "    [ ] a  (no label)", "    [ ] b  (no label)", "  One", "  Two"])

    def testEqualTextsStandBesideEachOther(self):
        self.configure(group("R", "T", item("a", "Same"), item("a", "Same", "true"), item("b", "Same")),
                       group("R", "T", item("a", "Same")))
        self.assertEqual(self.text(), ("R\n"
                                       "  T\n    [ ] a  Same\n    [x] a  Same\n    [ ] b  Same\n"
                                       "  T\n    [ ] a  Same\n"))

    def testDefaultIsExactlyTrue(self):
        self.configure(group("R", "T", *(item(text.strip() or "-", "L", text)
                                         for text in ("true", " true ", "True", "TRUE", "yes", "1", "false", ""))))
        marked = [line.split()[1] for line in self.text().split("\n") if "[x]" in line]
        self.assertEqual(marked, ["true", "true"])

    def testItemWithoutAPlatformSaysSo(self):
        self.configure(group("R", "T", item("bound", "Bound"), item("free", "Free", platform=None)))
        self.assertEqual(self.text(), "R\n  T\n    [ ] bound  Bound\n    [ ] free   Free  (any platform)\n")

    def testItemsOfOtherPlatformsAreLeftOut(self):
        self.configure(group("R", "T", item("w", platform="win"), item("l"), item("m", platform="mac")),
                       group("R", "Gone", item("w2", platform="win")), group("Gone", "Gone", item("m2", platform="mac")))
        self.assertEqual(self.text(), "R\n  T\n    [ ] l  (no label)\n")

    def testWhatTheTreeDoesNotShowIsLeftOut(self):
        self.configure(group(None, "No root", item("a")), group("Empty", "No items"),
                       "<fileGroup treeRootName='No title'>" + item("b") + "</fileGroup>",
                       group("R", "T", item("c")))
        self.assertEqual(self.text(), "R\n  T\n    [ ] c  (no label)\n")

    def testLettersBeyondAsciiAreAlignedByCharacters(self):
        self.configure(group("Größe", "Übersicht", item("größe-µ", "Maße"), item("abcdefgh", "Ohne"),
                             item("日本", "ログ")))
        self.assertEqual(self.text(), ("Größe\n"
                                       "  Übersicht\n"
                                       "    [ ] größe-µ   Maße\n"
                                       "    [ ] abcdefgh  Ohne\n"
                                       "    [ ] 日本        ログ\n"))

    # An ampersand in an attribute keeps its reference, and so does the id that --only takes.
    def testQuotesAndBracketsStandAsTheyAre(self):
        self.configure(group("<R>", "T&\"T\"", item("a\"b", "<L>"), item("a<b>c", "&amp;"), item("a&b", "&"),
                             item("it's", "%s %n")))
        self.assertEqual(self.text(), ("<R>\n"
                                       "  T&\"T\"\n"
                                       "    [ ] a\"b      <L>\n"
                                       "    [ ] a<b>c    &amp;\n"
                                       "    [ ] a&#38;b  &\n"
                                       "    [ ] it's     %s %n\n"))

    def testControlCharactersBecomeBlanks(self):
        self.configure(group("R\nR", "T\n\tT", item("a\nb", "one\ntwo"), item("c\x7fd", "e\x9b31mf"),
                             item("g\tg", "h\u2028i\u2029j\x85k")))
        self.assertEqual(self.text(), ("R R\n"
                                       "  T  T\n"
                                       "    [ ] a b  one two\n"
                                       "    [ ] c d  e 31mf\n"
                                       "    [ ] g g  h i j k\n"))

    def testBlankTextsAreTold(self):
        self.configure(group("", "", item("", ""), item("a", '_tr(" ")')))
        self.assertEqual(self.text(), ("(no name)\n"
                                       "  (no title)\n"
                                       "    [ ] (no id)  (no label)\n"
                                       "    [ ] a        (no label)\n"))

    def testItemWithoutAnIdOrAGuiIsListed(self):
        self.configure("<fileGroup treeRootName='R'><title>T</title><file><default>true</default></file></fileGroup>")
        self.assertEqual(self.text(), "R\n  T\n    [x] (no id)  (no label)  (any platform)\n")

    def testLongTextsAreNotCut(self):
        self.configure(group("R", "T", item("i" * 3000, "l" * 5000)))
        self.assertEqual(self.text(), "R\n  T\n    [ ] " + "i" * 3000 + "  " + "l" * 5000 + "\n")

    def testNoLineEndsInABlank(self):
        self.configure(group("R", "T", item("a", ""), item("long-id", "L"), item("b", "", platform=None)))
        for line in self.text().split("\n"):
            self.assertEqual(line, line.rstrip())


class JsonListing(ListTest):
    def testHasAllThatTheTreeHas(self):
        self.configure(group('_tr("Root")', '_tr("Title")',
                             item("a", '_tr("Label")', "true", '_tr("What it is")'),
                             item("b", "Plain", "false", "Free", platform=None)))
        self.assertEqual(self.roots(), [{
            "name": "Root", "default": True, "modules": [{
                "name": "Title", "default": True, "files": [
                    {"id": "a", "label": "Label", "description": "What it is", "default": True, "platform": "linux"},
                    {"id": "b", "label": "Plain", "description": "Free", "default": False, "platform": None},
                ]}]}])

    def testMembersComeInAFixedOrder(self):
        self.configure(group("R", "T", item("a")))
        output = self.list("--json")[1]
        places = [output.index('"' + name + '"') for name in ("roots", "name", "modules", "files", "id", "label",
                                                             "description", "platform")]
        self.assertEqual(places, sorted(places))

    def testDefaultOfRootsAndModulesIsThatOfAnyItem(self):
        self.configure(group("A", "1", item("a"), item("b", default="true")), group("A", "2", item("c")),
                       group("B", "3", item("d")))
        self.assertEqual([(root["name"], root["default"], [module["default"] for module in root["modules"]])
                          for root in self.roots()], [("A", True, [True, False]), ("B", False, [False])])

    def testTextsAreAsTheyAre(self):
        texts = ["one\ntwo", 'q"u\\o', "a<b>c", "tab\tbed", "é 日本 😀", "\x7f\x9b\u2028"]
        self.configure(group("R", "T", *(item("i" + text, text, description=text) for text in texts)))
        files = self.roots()[0]["modules"][0]["files"]
        for name in ("label", "description"):
            self.assertEqual([file[name] for file in files], texts)
        self.assertEqual([file["id"] for file in files], ["i" + text for text in texts])

    def testIsUtf8AndEndsInALineEnd(self):
        self.configure(group("R", "T", item("é")))
        output = self.list("--json")[1]
        self.assertIn('"é"', output)
        self.assertTrue(output.endswith("}\n"))

    def testOrderIsThatOfTheText(self):
        self.configure(group('_tr("B")', "2", item("d"), item("c")), group("C", "3", item("e")),
                       group('_tr("A")', "1", item("b"), item("a")))
        ids = [file["id"] for root in self.roots() for module in root["modules"] for file in module["files"]]
        self.assertEqual(ids, [line.split()[2] for line in self.text().split("\n") if "[" in line])

    def testManyItems(self):
        self.configure(*(group("R%d" % root, "T", *(item("i%d-%d" % (root, number), "L" * 100)
                                                    for number in range(500))) for root in range(10)))
        self.assertEqual(sum(len(root["modules"][0]["files"]) for root in self.roots()), 5000)
        self.assertEqual(self.text().count("[ ] "), 5000)


class ListedConfiguration(ListTest):
    def testBrokenFileIsNamedAndTheOthersAreListed(self):
        broken = self.write("install/xml/config/broken.xml", configuration(group("B", "T", item("b")))[:-3])
        self.configure(group("R", "T", item("a")))
        for arguments in ((), ("--json",)):
            status, output, errors = self.list(*arguments)
            self.assertEqual((status, errors), (0, "merocli: " + self.unreadable(broken) + "\n"))
            self.assertIn("R", output)
            self.assertNotIn("B", output)

    def testEmptyFileIsNamedLikeABrokenOne(self):
        empty = self.write("install/xml/config/empty.xml", "")
        self.configure(group("R", "T", item("a")))
        self.assertEqual(self.list()[2], "merocli: " + self.unreadable(empty) + "\n")

    @unittest.skipIf(os.geteuid() == 0, "permission bits don't stop root")
    def testFileThatMayNotBeReadIsNamed(self):
        closed = self.configure(group("C", "T", item("c")), name="closed.xml")
        os.chmod(closed, 0)
        self.configure(group("R", "T", item("a")))
        self.assertEqual(self.list()[2], "merocli: " + self.unreadable(closed) + "\n")

    def testBrokenFilesAlone(self):
        broken = self.write("install/xml/config/broken.xml", "no document")
        self.assert_nothing_to_list(self.unreadable(broken), self.none_offered())

    def testMissingFolder(self):
        shutil.rmtree(self.path("install/xml"))
        self.assert_nothing_to_list(self.none_offered())

    def testEmptyFolder(self):
        self.assert_nothing_to_list(self.none_offered())

    def testNoItemForThisPlatform(self):
        self.configure(group("R", "T", item("w", platform="win")), group(None, "T", item("a")))
        self.assert_nothing_to_list(self.none_offered())

    def testOtherFilesOfTheFolderAreNotRead(self):
        self.write("install/xml/config/readme.txt", "no document")
        self.configure(group("R", "T", item("a")))
        self.text()

    def testInstallFolderMayBeRelative(self):
        self.configure(group("R", "T", item("a")))
        status, output, errors = self.run_console("list", "--install-dir", "install")
        self.assertEqual((status, errors), (0, ""))
        self.assertEqual(output, self.text())

    def testConfigurationBesideTheProgramIsTheDefault(self):
        self.configure(group("R", "T", item("a")))
        program = shutil.copy(MEROCLI, self.install)
        status, output, errors = self.run_console("list", program=program)
        self.assertEqual((status, errors), (0, ""))
        self.assertEqual(output, self.text())

    def testNothingIsWritten(self):
        self.configure(group("R", "T", item("a")))
        self.text()
        self.assertEqual(os.listdir(self.folder), ["install"])


class ListOutput(ListTest):
    def setUp(self):
        super().setUp()
        self.configure(group("R", "T", *(item("i%d" % number, "L" * 100) for number in range(2000))))

    def failed(self, reason, **options):
        for arguments in ((), ("--json",)):
            status, _, errors = self.list(*arguments, **options)
            self.assertEqual((status, errors), (1, "merocli: can't write to standard output: " + reason + "\n"))

    def testFullDiskIsAFailure(self):
        with open("/dev/full", "wb") as full:
            self.failed("No space left on device", stdout=full)

    def testReaderThatWentAwayIsAFailure(self):
        reading, writing = os.pipe()
        os.close(reading)
        try:
            self.failed("Broken pipe", stdout=writing)
        finally:
            os.close(writing)

    def testClosedDescriptorIsAFailure(self):
        self.failed("Bad file descriptor", stdout=None, preexec_fn=lambda: os.close(1))


class ShippedList(ConsoleTest):
    """The configuration set that the program is shipped with."""

    def testEveryItemIsListedOnceWithItsTexts(self):
        expected = {}
        for path in glob.glob(SHIPPED + "/*.xml"):
            for element in ElementTree.parse(path).iter("file"):
                expected[element.get("id")] = ('_tr("%s")' % element.findtext("gui/label"),
                                               element.findtext("default") == "true")
        status, output, errors = self.run_console("list", "--json")
        self.assertEqual((status, errors), (0, ""))
        files = [file for root in json.loads(output)["roots"] for module in root["modules"] for file in module["files"]]
        self.assertEqual(sorted(file["id"] for file in files), sorted(expected))
        for file in files:
            label, default = expected[file["id"]]
            self.assertIn(file["label"], label)
            self.assertEqual(file["default"], default, file["id"])
            self.assertEqual(file["platform"], "linux", file["id"])
            self.assertTrue(file["description"], file["id"])

    def testTextIsFitForATerminal(self):
        status, output, errors = self.run_console("list")
        self.assertEqual((status, errors), (0, ""))
        self.assertNotIn("_tr(", output)
        self.assertNotIn("(no ", output)
        for line in output.split("\n"):
            self.assertLessEqual(len(line), 80)
        self.assertRegex(output, r"(?m)^    \[x\] routes +Routes$")


if __name__ == "__main__":
    unittest.main()
