#include "tools/MERO/MEROOffline/Common/ParseConfigXML.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/unit/offline/RecordingWindow.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <stdexcept>
#include <sys/stat.h>

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

std::string item(const std::string& id, const std::string& content = {}) {
    return "<file id=\"" + id + "\">" + content + "</file>";
}

std::string group(const std::string& rootName, const std::string& title, const std::string& files) {
    return "<fileGroup treeRootName=\"" + rootName + "\"><title>" + title + "</title>" + files +
           "</fileGroup>";
}

class ParseConfigXMLTest : public OfflineTest {
protected:
    /// Writes a configuration file with this content of its root.
    std::string configure(const std::string& name, const std::string& content) const {
        return writeFile("xml/config/" + name, "<configure>" + content + "</configure>");
    }

    /// Scans into the window, which must get its one status.
    /// @return the files that could not be read.
    std::list<std::string> scan() {
        ParseConfigXML parser(&m_window, nullptr, path());
        parser.run();
        EXPECT_TRUE(m_window.gotOnly(MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS));
        return parser.getFailedFiles();
    }

    void scanWell() { EXPECT_THAT(scan(), IsEmpty()) << m_log.dump(); }

    /// The outline of what a configuration file with this content yields.
    std::string outlineOf(const std::string& content) {
        configure("a.xml", content);
        scanWell();
        return m_window.outline();
    }

    /// The files that are left of a group with this content beside its title.
    std::list<FileItem> filesOf(const std::string& content) {
        configure("a.xml", group("root", "title", content));
        scanWell();
        return m_window.files();
    }

    /// The one file that a file element with this content yields.
    FileItem fileOf(const std::string& content) {
        const std::list<FileItem> files = filesOf(item("x", content));
        EXPECT_EQ(files.size(), 1u);
        return files.empty() ? FileItem() : files.front();
    }

    bool keeps(const std::string& content) { return !filesOf(item("x", content)).empty(); }
};

TEST_F(ParseConfigXMLTest, BuildsTheTreeOfAWholeConfiguration) {
    EXPECT_EQ(outlineOf(group("_tr(&quot;Client&quot;)", "_tr(\"Logs\")",
                              item("one", "<gui><label>_tr(\"One\")</label></gui><default>true</default>"
                                          "<description>The first</description>"
                                          "<mero><os opsys=\"linux\"/></mero>") +
                                  item("two", "<gui><label>Two</label></gui><default>false</default>")) +
                        group("Other", "Dumps", item("three"))),
              "_tr(\"Client\") 1/1\n"
              "  _tr(\"Logs\") 1/1\n"
              "    one|_tr(\"One\")|The first|linux 1/1\n"
              "    two|Two|| 0/0\n"
              "Other 0/0\n"
              "  Dumps 0/0\n"
              "    three||| 0/0\n");
}

// What is not "true" to the letter leaves the file unchecked.
class DefaultValue : public ParseConfigXMLTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(DefaultValue, LeavesTheFileUnchecked) {
    const FileItem file = fileOf(GetParam());
    EXPECT_EQ(file.m_default, 0u);
    EXPECT_EQ(file.m_selected, 0u);
}

INSTANTIATE_TEST_SUITE_P(ParseConfigXML, DefaultValue,
                         ::testing::Values("<default>false</default>", "<default>TRUE</default>",
                                           "<default>True</default>", "<default>1</default>",
                                           "<default>yes</default>", "<default>truest</default>",
                                           "<default></default>", "<default/>", "<Default>true</Default>",
                                           "<gui><default>true</default></gui>",
                                           "<default><is>true</is></default>", "<default value=\"true\"/>"));

TEST_F(ParseConfigXMLTest, ChecksAFileWhoseDefaultIsTrue) {
    const FileItem file = fileOf("<default>true</default>");
    EXPECT_EQ(file.m_default, 1u);
    EXPECT_EQ(file.m_selected, 1u);
}

TEST_F(ParseConfigXMLTest, TrimsADefault) {
    EXPECT_EQ(fileOf("<default> true\n\t</default>").m_default, 1u);
}

TEST_F(ParseConfigXMLTest, ReadsADefaultFromASection) {
    EXPECT_EQ(fileOf("<default><![CDATA[true]]></default>").m_default, 1u);
}

TEST_F(ParseConfigXMLTest, LetsTheLastDefaultDecideForChecked) {
    const FileItem file = fileOf("<default>false</default><default>true</default>");
    EXPECT_EQ(file.m_default, 1u);
    EXPECT_EQ(file.m_selected, 1u);
}

TEST_F(ParseConfigXMLTest, LetsTheLastDefaultDecideForUnchecked) {
    const FileItem file = fileOf("<default>true</default><default>no</default>");
    EXPECT_EQ(file.m_default, 0u);
    EXPECT_EQ(file.m_selected, 0u);
}

TEST_F(ParseConfigXMLTest, LeavesAModuleWithoutADefaultUnchecked) {
    EXPECT_EQ(outlineOf(group("r", "m", item("a", "<default>false</default>") + item("b"))),
              "r 0/0\n  m 0/0\n    a||| 0/0\n    b||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, ChecksAModuleWithOneCheckedFile) {
    EXPECT_EQ(outlineOf(group("r", "m", item("a") + item("b", "<default>true</default>") + item("c"))),
              "r 1/1\n  m 1/1\n    a||| 0/0\n    b||| 1/1\n    c||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, LeavesAModuleUncheckedWhoseCheckedFileIsForAnotherSystem) {
    EXPECT_EQ(
        outlineOf(group("r", "m",
                        item("a", "<default>true</default><mero><os opsys=\"win\"/></mero>") + item("b"))),
        "r 0/0\n  m 0/0\n    b||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, CarriesNoDefaultFromOneGroupToTheNext) {
    EXPECT_EQ(outlineOf(group("r", "m", item("a", "<default>true</default>")) + group("s", "n", item("b"))),
              "r 1/1\n  m 1/1\n    a||| 1/1\ns 0/0\n  n 0/0\n    b||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, GathersGroupsOfOneRootInTheOrderOfTheDocument) {
    EXPECT_EQ(outlineOf(group("r", "z", item("1")) + group("s", "y", item("2")) + group("r", "a", item("3"))),
              "r 0/0\n  z 0/0\n    1||| 0/0\n  a 0/0\n    3||| 0/0\ns 0/0\n  y 0/0\n    2||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, GathersARootOfSeveralFilesInTheOrderOfTheFolder) {
    for (const char* name : {"c", "a", "d", "b"}) {
        configure(std::string(name) + ".xml", group("r", name, item("x")));
    }
    scanWell();
    ASSERT_EQ(m_window.m_roots.size(), 1u);
    std::vector<std::string> expected;
    for (const fs::directory_entry& entry : fs::directory_iterator(path("xml/config"))) {
        expected.push_back(entry.path().stem());
    }
    std::vector<std::string> found;
    for (const ModuleItem& module : m_window.m_roots.front().m_modules) {
        found.push_back(module.m_name);
    }
    EXPECT_EQ(found.size(), 4u);
    EXPECT_EQ(found, expected);
}

TEST_F(ParseConfigXMLTest, KeepsTheOrderOfTheFilesOfAModule) {
    EXPECT_EQ(outlineOf(group("r", "m", item("z") + item("a") + item("m"))),
              "r 0/0\n  m 0/0\n    z||| 0/0\n    a||| 0/0\n    m||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, GathersTheFilesAroundTheTitle) {
    EXPECT_EQ(outlineOf("<fileGroup treeRootName=\"r\">" + item("a") + "<title>m</title>" + item("b") +
                        "</fileGroup>"),
              "r 0/0\n  m 0/0\n    a||| 0/0\n    b||| 0/0\n");
}

// The platform filter.

TEST_F(ParseConfigXMLTest, KeepsAFileWithoutInstructions) {
    EXPECT_EQ(fileOf("<default>true</default>").m_platform, "");
}

TEST_F(ParseConfigXMLTest, KeepsAFileForThisSystem) {
    EXPECT_EQ(fileOf("<mero><os opsys=\"linux\"/></mero>").m_platform, "linux");
}

TEST_F(ParseConfigXMLTest, TrimsThePlatform) {
    EXPECT_EQ(fileOf("<mero><os opsys=\" linux \"/></mero>").m_platform, "linux");
}

TEST_F(ParseConfigXMLTest, KeepsAFileForSeveralSystemsIfThisIsOneOfThem) {
    EXPECT_EQ(fileOf("<mero><os opsys=\"win\"/><os opsys=\"mac\"/><os opsys=\"linux\"/>"
                     "<os opsys=\"win\"/></mero>")
                  .m_platform,
              "linux");
}

TEST_F(ParseConfigXMLTest, LooksAtNoChildButThePlatformSections) {
    EXPECT_EQ(fileOf("<mero><other opsys=\"win\"/>text<os opsys=\"linux\"/></mero>").m_platform, "linux");
}

class HiddenFile : public ParseConfigXMLTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(HiddenFile, IsNotInTheTree) {
    EXPECT_FALSE(keeps(GetParam()));
    EXPECT_THAT(m_window.m_roots, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    ParseConfigXML, HiddenFile,
    ::testing::Values("<mero><os opsys=\"win\"/></mero>", "<mero><os opsys=\"mac\"/></mero>",
                      "<mero><os opsys=\"win\"/><os opsys=\"mac\"/></mero>", "<mero/>", "<mero>linux</mero>",
                      "<mero><os/></mero>", "<mero><os>linux</os></mero>",
                      "<mero><os name=\"linux\"/></mero>", "<mero><os opsys=\"\"/></mero>",
                      "<mero><os opsys=\"solaris\"/></mero>", "<mero><os opsys=\"Linux\"/></mero>",
                      "<mero><os opsys=\"LINUX\"/></mero>", "<mero><os opsys=\"linux2\"/></mero>",
                      "<mero><OS opsys=\"linux\"/></mero>", "<mero><system opsys=\"linux\"/></mero>",
                      "<mero><a><os opsys=\"linux\"/></a></mero>", "<mero opsys=\"linux\"/>"));

TEST_F(ParseConfigXMLTest, LetsTheLastInstructionsHideAFile) {
    EXPECT_FALSE(keeps("<mero><os opsys=\"linux\"/></mero><mero><os opsys=\"win\"/></mero>"));
}

TEST_F(ParseConfigXMLTest, LetsTheLastInstructionsShowAFile) {
    EXPECT_EQ(fileOf("<mero><os opsys=\"win\"/></mero><mero><os opsys=\"linux\"/></mero>").m_platform,
              "linux");
}

TEST_F(ParseConfigXMLTest, LooksForInstructionsAmongTheChildrenOnly) {
    EXPECT_EQ(fileOf("<gui><mero><os opsys=\"win\"/></mero></gui>").m_platform, "");
}

TEST_F(ParseConfigXMLTest, HidesOneFileOfSeveral) {
    EXPECT_EQ(outlineOf(group("r", "m",
                              item("a") + item("b", "<mero><os opsys=\"win\"/></mero>") +
                                  item("c", "<mero><os opsys=\"linux\"/></mero>"))),
              "r 0/0\n  m 0/0\n    a||| 0/0\n    c|||linux 0/0\n");
}

// Groups.

class SkippedGroup : public ParseConfigXMLTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(SkippedGroup, LeavesNothingInTheTree) {
    EXPECT_EQ(outlineOf(GetParam()), "");
}

INSTANTIATE_TEST_SUITE_P(
    ParseConfigXML, SkippedGroup,
    ::testing::Values(
        // No name of a root.
        "<fileGroup><title>m</title><file id=\"a\"/></fileGroup>",
        "<fileGroup treerootname=\"r\"><title>m</title><file id=\"a\"/></fileGroup>",
        "<fileGroup><treeRootName>r</treeRootName><title>m</title><file id=\"a\"/></fileGroup>",
        // No title.
        "<fileGroup treeRootName=\"r\"><file id=\"a\"/></fileGroup>",
        "<fileGroup treeRootName=\"r\" title=\"m\"><file id=\"a\"/></fileGroup>",
        "<fileGroup treeRootName=\"r\"><Title>m</Title><file id=\"a\"/></fileGroup>",
        "<fileGroup treeRootName=\"r\"><a><title>m</title></a><file id=\"a\"/></fileGroup>",
        "<fileGroup treeRootName=\"r\"><file id=\"a\"><title>m</title></file></fileGroup>",
        // No file, or none left.
        "<fileGroup treeRootName=\"r\"><title>m</title></fileGroup>", "<fileGroup treeRootName=\"r\"/>",
        "<fileGroup treeRootName=\"r\"><title>m</title><File id=\"a\"/></fileGroup>",
        "<fileGroup treeRootName=\"r\"><title>m</title><a><file id=\"a\"/></a></fileGroup>",
        "<fileGroup treeRootName=\"r\"><title>m</title><file id=\"a\"><mero/></file></fileGroup>",
        // Not below the root.
        "<a><fileGroup treeRootName=\"r\"><title>m</title><file id=\"a\"/></fileGroup></a>", "", "text"));

TEST_F(ParseConfigXMLTest, FindsNoGroupInTheRootItself) {
    writeFile("xml/config/a.xml",
              "<fileGroup treeRootName=\"r\"><title>m</title><file id=\"a\"/></fileGroup>");
    scanWell();
    EXPECT_EQ(m_window.outline(), "");
}

TEST_F(ParseConfigXMLTest, GoesOnBehindASkippedGroup) {
    EXPECT_EQ(outlineOf("<fileGroup><title>m</title>" + item("a", "<default>true</default>") +
                        "</fileGroup>" + "<fileGroup treeRootName=\"r\">" + item("b") + "</fileGroup>" +
                        group("r", "m", item("c"))),
              "r 0/0\n  m 0/0\n    c||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, CarriesNoTitleFromOneGroupToTheNext) {
    EXPECT_EQ(
        outlineOf(group("r", "m", item("a")) + "<fileGroup treeRootName=\"r\">" + item("b") + "</fileGroup>"),
        "r 0/0\n  m 0/0\n    a||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, TakesAnEmptyTitle) {
    EXPECT_EQ(outlineOf(group("r", "", item("a"))), "r 0/0\n   0/0\n    a||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, TakesTheLastTitle) {
    EXPECT_EQ(outlineOf(group("r", "first", "<title>last</title>" + item("a"))),
              "r 0/0\n  last 0/0\n    a||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, TakesAnEmptyNameOfARoot) {
    EXPECT_EQ(outlineOf(group("", "m", item("a"))), " 0/0\n  m 0/0\n    a||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, TakesAnElementOfAnyNameThatNamesARoot) {
    EXPECT_EQ(outlineOf("<anything treeRootName=\"r\"><title>m</title>" + item("a") + "</anything>"),
              "r 0/0\n  m 0/0\n    a||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, TakesARootElementOfAnyName) {
    writeFile("xml/config/a.xml", "<whatever>" + group("r", "m", item("a")) + "</whatever>");
    scanWell();
    EXPECT_EQ(m_window.outline(), "r 0/0\n  m 0/0\n    a||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, IgnoresOtherElementsOfAGroup) {
    EXPECT_EQ(outlineOf(group("r", "m", "<other><file id=\"z\"/></other>" + item("a") + "text<more/>")),
              "r 0/0\n  m 0/0\n    a||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, TrimsTitleAndRoot) {
    EXPECT_EQ(outlineOf(group("  r\t", "\n  m  \n", item("a"))), "r 0/0\n  m 0/0\n    a||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, KeepsEqualTitlesAndLabels) {
    const std::string same =
        group("r", "m", item("a", "<gui><label>l</label></gui>") + item("b", "<gui><label>l</label></gui>"));
    EXPECT_EQ(outlineOf(same + same), "r 0/0\n  m 0/0\n    a|l|| 0/0\n    b|l|| 0/0\n"
                                      "  m 0/0\n    a|l|| 0/0\n    b|l|| 0/0\n");
}

TEST_F(ParseConfigXMLTest, KeepsTextBeyondASCII) {
    EXPECT_EQ(outlineOf(group("\xC3\x9C", "\xE6\x97\xA5", item("\xF0\x9F\x92\xA1"))),
              "\xC3\x9C 0/0\n  \xE6\x97\xA5 0/0\n    \xF0\x9F\x92\xA1||| 0/0\n");
}

// Files.

TEST_F(ParseConfigXMLTest, LeavesAMissingIdEmpty) {
    const std::list<FileItem> files = filesOf("<file><gui><label>l</label></gui></file>");
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files.front().m_id, "");
    EXPECT_EQ(files.front().m_label, "l");
}

TEST_F(ParseConfigXMLTest, ReadsTheIdFromTheAttributeOnly) {
    const std::list<FileItem> files = filesOf("<file Id=\"b\" name=\"c\"><id>a</id></file>");
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files.front().m_id, "");
}

TEST_F(ParseConfigXMLTest, KeepsFilesOfOneId) {
    EXPECT_EQ(filesOf(item("same") + item("same")).size(), 2u);
}

TEST_F(ParseConfigXMLTest, DropsADocumentWithAnAttributeGivenTwice) {
    const std::string file = configure("a.xml", group("r", "m", "<file id=\"a\" id=\"b\"/>"));
    configure("b.xml", group("r", "m", item("good")));
    EXPECT_THAT(scan(), ElementsAre(file));
    EXPECT_EQ(m_window.outline(), "r 0/0\n  m 0/0\n    good||| 0/0\n");
    EXPECT_TRUE(m_log.contains('E', "xml errorCB: Attribute id redefined\n")) << m_log.dump();
}

TEST_F(ParseConfigXMLTest, ReadsTheLabel) {
    EXPECT_EQ(fileOf("<gui><label> _tr(\"The label\") </label></gui>").m_label, "_tr(\"The label\")");
}

TEST_F(ParseConfigXMLTest, TakesTheLastLabel) {
    EXPECT_EQ(fileOf("<gui><label>a</label><label>b</label></gui>").m_label, "b");
}

TEST_F(ParseConfigXMLTest, KeepsTheLabelWhenALaterBlockHasNone) {
    EXPECT_EQ(fileOf("<gui><label>a</label></gui><gui/>").m_label, "a");
}

TEST_F(ParseConfigXMLTest, TakesTheLabelOfALaterBlock) {
    EXPECT_EQ(fileOf("<gui><label>a</label></gui><gui><label>b</label></gui>").m_label, "b");
}

TEST_F(ParseConfigXMLTest, LooksForTheLabelAmongTheChildrenOfTheBlockOnly) {
    EXPECT_EQ(fileOf("<label>a</label><gui><a><label>b</label></a></gui><mero><label>c</label>"
                     "<os opsys=\"linux\"/></mero>")
                  .m_label,
              "");
}

TEST_F(ParseConfigXMLTest, GivesTheKindOfFileNoEffect) {
    const FileItem file = fileOf("<gui><file_type>win</file_type><label>l</label><file_type/><x/></gui>");
    EXPECT_EQ(file.m_label, "l");
    EXPECT_EQ(file.m_description, "");
    EXPECT_EQ(file.m_platform, "");
    EXPECT_EQ(file.m_selected, 0u);
}

TEST_F(ParseConfigXMLTest, ReadsTheDescriptionOfTheFileItself) {
    EXPECT_EQ(fileOf("<mero><os opsys=\"linux\"><description>inner</description></os></mero>"
                     "<description>outer</description>")
                  .m_description,
              "outer");
}

TEST_F(ParseConfigXMLTest, ReadsNoDescriptionFromFurtherDown) {
    EXPECT_EQ(fileOf("<gui><description>a</description></gui>"
                     "<mero><os opsys=\"linux\"><description>b</description></os></mero>")
                  .m_description,
              "");
}

TEST_F(ParseConfigXMLTest, TakesTheLastDescription) {
    EXPECT_EQ(fileOf("<description>a</description><description>b</description>").m_description, "b");
}

TEST_F(ParseConfigXMLTest, IgnoresOtherElementsOfAFile) {
    const FileItem file = fileOf("text<name>n</name><unknown><default>true</default></unknown>");
    EXPECT_EQ(file.m_id, "x");
    EXPECT_EQ(file.m_label, "");
    EXPECT_EQ(file.m_description, "");
    EXPECT_EQ(file.m_default, 0u);
}

// Documents and folders.

TEST_F(ParseConfigXMLTest, ReadsTheGoodFilesBesideABrokenOne) {
    configure("a.xml", group("r", "m", item("a")));
    const std::string broken =
        writeFile("xml/config/b.xml", "<configure>" + group("r", "broken", item("b")) + "</configur>");
    configure("c.xml", group("s", "n", item("c")));
    EXPECT_THAT(scan(), ElementsAre(broken));
    sortRoots(m_window.m_roots);
    EXPECT_EQ(m_window.outline(), "r 0/0\n  m 0/0\n    a||| 0/0\ns 0/0\n  n 0/0\n    c||| 0/0\n");
    EXPECT_TRUE(m_log.containsCode('E', "startParser", "xmlParseDocument", 0xFFFFFFFF)) << m_log.dump();
}

TEST_F(ParseConfigXMLTest, YieldsNothingWhenNoFileIsGood) {
    std::list<std::string> broken{writeFile("xml/config/a.xml", ""), writeFile("xml/config/b.xml", "<a>"),
                                  writeFile("xml/config/c.xml", "\xFF\xFE\x01")};
    EXPECT_THAT(scan(), ::testing::UnorderedElementsAreArray(broken));
    EXPECT_THAT(m_window.m_roots, IsEmpty());
}

TEST_F(ParseConfigXMLTest, YieldsNothingWithoutAFolder) {
    scanWell();
    EXPECT_THAT(m_window.m_roots, IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(ParseConfigXMLTest, YieldsNothingForAnEmptyFolder) {
    makeFolder("xml/config");
    scanWell();
    EXPECT_THAT(m_window.m_roots, IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(ParseConfigXMLTest, YieldsNothingForAFileInTheFoldersPlace) {
    writeFile("xml/config", "text");
    scanWell();
    EXPECT_THAT(m_window.m_roots, IsEmpty());
}

TEST_F(ParseConfigXMLTest, ReadsConfigurationFilesOnly) {
    configure("a.txt", group("r", "txt", item("a")));
    configure("a.xml.bak", group("r", "bak", item("a")));
    configure("sub/a.xml", group("r", "sub", item("a")));
    configure("b.xml", group("r", "xml", item("a")));
    scanWell();
    EXPECT_EQ(m_window.outline(), "r 0/0\n  xml 0/0\n    a||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, DoesNotWaitAtAPipe) {
    makeFolder("xml/config");
    ASSERT_EQ(::mkfifo(path("xml/config/a.xml").c_str(), 0600), 0);
    configure("b.xml", group("r", "m", item("a")));
    EXPECT_THAT(scan(), ElementsAre(path("xml/config/a.xml")));
    EXPECT_EQ(m_window.outline(), "r 0/0\n  m 0/0\n    a||| 0/0\n");
}

TEST_F(ParseConfigXMLTest, ReadsTheFolderBesideTheProgramWithoutAnInstallationPath) {
    configure("a.xml", group("r", "m", item("a")));
    ParseConfigXML parser(&m_window);
    parser.run();
    // Beside the test program there is no configuration.
    EXPECT_THAT(m_window.m_roots, IsEmpty());
    EXPECT_TRUE(m_window.gotOnly(MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS));
}

TEST_F(ParseConfigXMLTest, TakesAnInstallationPathThatEndsInASlash) {
    configure("a.xml", group("r", "m", item("a")));
    ParseConfigXML parser(&m_window, nullptr, path() + "/");
    parser.run();
    EXPECT_EQ(m_window.files().size(), 1u);
}

// The two ends.

TEST_F(ParseConfigXMLTest, SendsItsStatusFromTheCallersThread) {
    scanWell();
    ASSERT_EQ(m_window.statuses().size(), 1u);
    EXPECT_EQ(m_window.statuses().front().thread, std::this_thread::get_id());
}

TEST_F(ParseConfigXMLTest, DoesNothingUntilItIsRun) {
    configure("a.xml", group("r", "m", item("a")));
    {
        const ParseConfigXML parser(&m_window, nullptr, path());
        EXPECT_THAT(parser.getFailedFiles(), IsEmpty());
    }
    EXPECT_THAT(m_window.m_roots, IsEmpty());
    EXPECT_THAT(m_window.statuses(), IsEmpty());
}

TEST_F(ParseConfigXMLTest, ScansForNobody) {
    configure("a.xml", group("r", "m", item("a")));
    const std::string broken = configure("b.xml", "<");
    ParseConfigXML parser(nullptr, nullptr, path());
    parser.run();
    EXPECT_THAT(parser.getFailedFiles(), ElementsAre(broken));
}

TEST_F(ParseConfigXMLTest, GivesNoModulesToAClientThatTakesNone) {
    configure("a.xml", group("r", "m", item("a")));
    RecordingClient client;
    // The second argument counts for nothing.
    ParseConfigXML parser(&client, &m_window, path());
    parser.run();
    EXPECT_TRUE(client.gotOnly(MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS));
    EXPECT_THAT(m_window.m_roots, IsEmpty());
    EXPECT_THAT(m_window.statuses(), IsEmpty());
}

TEST_F(ParseConfigXMLTest, GivesNoModulesWithoutAClient) {
    configure("a.xml", group("r", "m", item("a")));
    ParseConfigXML parser(nullptr, &m_window, path());
    parser.run();
    EXPECT_THAT(m_window.m_roots, IsEmpty());
}

TEST_F(ParseConfigXMLTest, LeavesItsModulesBehind) {
    configure("a.xml", group("r", "m", item("a", "<description>text</description>")));
    scanWell(); // the parser and its documents are gone when this returns
    EXPECT_EQ(m_window.outline(), "r 0/0\n  m 0/0\n    a||text| 0/0\n");
}

/// Refuses each module but the first.
class FullWindow : public RecordingWindow {
public:
    void addModule(const std::string& rootName, const ModuleItem& module) override {
        if (!m_roots.empty()) {
            throw std::length_error("no room");
        }
        RecordingWindow::addModule(rootName, module);
    }
};

TEST_F(ParseConfigXMLTest, EndsAsUsualWhenAModuleIsRefused) {
    configure("a.xml", group("r", "m", item("a")) + group("s", "n", item("b")) + group("t", "o", item("c")));
    FullWindow window;
    ParseConfigXML parser(&window, nullptr, path());
    parser.run();
    EXPECT_EQ(window.outline(), "r 0/0\n  m 0/0\n    a||| 0/0\n");
    EXPECT_TRUE(window.gotOnly(MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS));
    EXPECT_TRUE(m_log.contains('E', "The scan of the configuration can't go on: no room")) << m_log.dump();
}

} // namespace
