#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/SystemIdentity.h"
#include "tests/engine/collector/CollectorTest.h"
#include "tests/engine/pipeline/ChildProcess.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/SummaryEntries.h"

#include <csignal>
#include <ctime>
#include <gmock/gmock.h>
#include <iomanip>
#include <sstream>
#include <sys/resource.h>

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::Le;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

const std::string kIncludedHead =
    "ID                 Filename                      Description                               File Size \n";
const std::string kOmittedHead =
    "ID                 Filename                      Description                 "
    "              Reason Omitted                                    \n";
const std::string kIncludedDashes = std::string(101, '-') + "\n";
const std::string kOmittedDashes = std::string(141, '-') + "\n";
const std::string kSectionStart = "\n" + std::string(141, '=') + "\n";

} // namespace

class CollectorSummary : public CollectorTest {
protected:
    CollectorSummary() { setEnvironment("USER", "jane"); }

    /// What a collector without any item prints behind the head.
    std::string sectionOf(const std::string& content) {
        collectWell(content);
        const std::string text = summary();
        return text.substr(text.find(kSectionStart));
    }

    void initialize() { ASSERT_EQ(makeCollector().initializeSummary(), 0u); }

    /// Nodes of the summary tree below its root's child of this name, as "name=value".
    std::vector<std::string> entries(const std::string& name) const {
        const MEROXmlObject& tree = *m_collector->getSummary();
        std::vector<std::string> texts;
        for (const MEROComponent* child : tree.FindChild(tree.GetRoot(), name)->getChildren()) {
            texts.push_back(child->getName() + "=" + child->getValue());
        }
        return texts;
    }
};

TEST_F(CollectorSummary, TreeHasItsFourParts) {
    initialize();
    const MEROComponent* root = m_collector->getSummary()->GetRoot();
    EXPECT_EQ(root->getName() + "=" + root->getValue(), "summary=MERO BUNDLE SUMMARY\n");
    std::vector<std::string> parts;
    for (const MEROComponent* child : root->getChildren()) {
        parts.push_back(child->getName() + "=" + child->getValue());
    }
    EXPECT_THAT(parts, ElementsAre("Main_Info=", "Manifest_Included=File Manifest:",
                                   "Manifest_Not_Included=Files Requested But Not Included In Bundle:",
                                   "Other_Note=Other notes:"));
}

TEST_F(CollectorSummary, MainInfoTellsTimeSystemUserAndBundle) {
    m_target = "./out.zip";
    setEnvironment("TZ", "SUMMER-3");
    ::tzset();
    initialize();
    const std::time_t before = std::time(nullptr);
    EXPECT_EQ(m_collector->fillInSummaryMainInfo(), 0u);
    const std::time_t after = std::time(nullptr);
    const std::vector<std::string> lines = entries("Main_Info");
    ASSERT_EQ(lines.size(), 4u);
    std::tm time = {};
    std::istringstream text(lines[0]);
    // The zone behind the year is text of its own, which std::get_time doesn't read.
    text >> std::get_time(&time, "Time:=%a %b %d %H:%M:%S %Y ");
    EXPECT_TRUE(text) << lines[0];
    EXPECT_THAT(std::mktime(&time), AllOf(Ge(before), Le(after)));
    EXPECT_THAT(lines[0], EndsWith(" SUMMER"));
    EXPECT_EQ(lines[1], "OS:=" + getOSSummaryLine());
    EXPECT_EQ(lines[2], "User Name:=jane");
    EXPECT_EQ(lines[3], "Bundle on client computer:=" + path("out.zip"));
}

TEST_F(CollectorSummary, ItemsNamedAsItsPartsHideNothing) {
    collectWell("<fileGroup>" + logItem("Main_Info") + logItem("Manifest_Not_Included") +
                logItem("Other_Note") + item("gone", path("gone.log")) + logItem("unwanted", "false") +
                "</fileGroup>");
    EXPECT_THAT(summary(), AllOf(HasSubstr("\nUser Name: "), HasSubstr("\nMain_Info "),
                                 HasSubstr("\nManifest_Not_Incl "), HasSubstr("\nOther_Note "),
                                 HasSubstr("\n\nFiles Omitted from Bundle:\n"), HasSubstr("\ngone "),
                                 HasSubstr("\n\nNotes:\n - The file(s) of ID unwanted is/are")));
}

TEST_F(CollectorSummary, MainInfoNeedsTheTree) {
    EXPECT_EQ(makeCollector().fillInSummaryMainInfo(), MEROENGINE_ERROR_NULL_XML_ROOT);
    EXPECT_TRUE(m_log.contains('E', "m_pXMLSummary->GetRoot() is NULL")) << m_log.dump();
    initialize();
    m_collector->getSummary()->SetRoot(nullptr);
    EXPECT_EQ(m_collector->fillInSummaryMainInfo(), MEROENGINE_ERROR_NULL_XML_ROOT);
    initialize();
    m_collector->getSummary()->removeComponent(m_collector->getSummary()->GetRoot(), "Main_Info");
    EXPECT_EQ(m_collector->fillInSummaryMainInfo(), MEROENGINE_ERROR_NULL_XML_CHILD);
    EXPECT_TRUE(m_log.contains('E', "pDCMainInfo is NULL")) << m_log.dump();
}

TEST_F(CollectorSummary, IsPrintedByteForByte) {
    collectWell("<fileGroup><title>Two items</title>" + logItem("vpn") +
                item("id of twenty bytes..", path("missing.log")) +
                "</fileGroup><fileGroup><file id=\"x\"/>"
                "</fileGroup>");
    std::string text = summary();
    const std::string timeLabel = "Time:                         ";
    ASSERT_THAT(text, StartsWith("MERO BUNDLE SUMMARY\n\n" + timeLabel));
    const std::size_t time = text.find(timeLabel) + timeLabel.size();
    text.replace(time, text.find('\n', time) - time, "NOW");
    std::string missing = path("missing.log");
    missing.resize(28, ' ');
    EXPECT_EQ(
        text,
        "MERO BUNDLE SUMMARY\n\n"
        "Time:                         NOW\n"
        "OS:                           " +
            getOSSummaryLine() +
            "\n"
            "User Name:                    jane\n"
            "Bundle on client computer:    /home/user/out.zip\n" +
            kSectionStart +
            "Two items:\n\n"
            "Files Included in Bundle:\n" +
            kIncludedHead + kIncludedDashes +
            "vpn                vpn.log                       about vpn                                 3 "
            "bytes   \n" +
            kIncludedDashes + "\n\nFiles Omitted from Bundle:\n" + kOmittedHead + kOmittedDashes +
            "id of twenty       " + missing +
            "  about id of twenty bytes..                No file found on endpoint                         "
            "\n"
            "bytes..            " +
            path("missing.log").substr(28) + std::string(56 - path("missing.log").size(), ' ') +
            std::string(2 + 40 + 2 + 50, ' ') + "\n" + kOmittedDashes +
            "\n\nNotes:\n"
            " - The file(s) of ID x is/are not included by default by this config.\n");
}

TEST_F(CollectorSummary, PrintsAnEmptyTableWithItsLines) {
    EXPECT_EQ(sectionOf("<title>Nothing</title>"), kSectionStart + "Nothing:\n\nFiles Included in Bundle:\n" +
                                                       kIncludedHead + kIncludedDashes + kIncludedDashes);
}

TEST_F(CollectorSummary, TakesTheFirstTitleAtAnyDepth) {
    EXPECT_THAT(sectionOf("<fileGroup><a><title>Deep</title></a></fileGroup><title>Later</title>"),
                StartsWith(kSectionStart + "Deep:\n\n"));
}

TEST_F(CollectorSummary, TakesAnEmptyTitleAsItStands) {
    EXPECT_THAT(sectionOf("<title/>"), StartsWith(kSectionStart + ":\n\n"));
}

TEST_F(CollectorSummary, HasTheUsualWordWithoutATitle) {
    EXPECT_THAT(sectionOf("<fileGroup/>"), StartsWith(kSectionStart + "configure:\n\n"));
}

TEST_F(CollectorSummary, LooksForTheTitleInAnElementConfigureOnly) {
    EXPECT_EQ(makeCollector().Collect(m_bundle, parse("<other><title>Title</title></other>")), 0u);
    EXPECT_THAT(summary(), HasSubstr(kSectionStart + "configure:\n\n"));
}

TEST_F(CollectorSummary, WrapsALongDescriptionAndLeavesTheOtherColumnsBlank) {
    std::string file = logItem("a");
    const std::string description =
        "The quick brown fox jumps over the lazy dog and then rests in the shade of "
        "the old oak tree by the r";
    ASSERT_EQ(description.size(), 100u);
    file.replace(file.find("about a"), 7, description);
    const std::string blank(49, ' ');
    EXPECT_THAT(
        sectionOf("<fileGroup>" + file + "</fileGroup>"),
        HasSubstr("a                  a.log                         The quick brown fox jumps over the lazy"
                  "   1 bytes   \n" +
                  blank + "dog and then rests in the shade of the" + std::string(14, ' ') + "\n" + blank +
                  "old oak tree by the r" + std::string(31, ' ') + "\n" + kIncludedDashes));
}

TEST_F(CollectorSummary, ShowsTheBaseNameAndCutsIt) {
    const std::string name = "a_name_without_any_blank_of_forty_bytes.";
    ASSERT_EQ(name.size(), 40u);
    const std::string section =
        sectionOf("<fileGroup>" + item("a", writeFile("logs/" + name, "x")) + "</fileGroup>");
    EXPECT_THAT(section, HasSubstr("\na                  a_name_without_any_blank_of_  about a "));
    EXPECT_THAT(section, HasSubstr("\n                   forty_bytes.                 "));
    EXPECT_THAT(section, Not(HasSubstr("/logs/")));
}

TEST_F(CollectorSummary, ShowsSizesInUnits) {
    const std::string section =
        sectionOf("<fileGroup>" + item("a", writeFile("logs/a", std::string(1023, 'x'))) +
                  item("b", writeFile("logs/b", std::string(1024, 'x'))) +
                  item("c", writeFile("logs/c", std::string(1536, 'x'))) +
                  item("d", writeFile("logs/d", std::string(1048576, 'x'))) + "</fileGroup>");
    EXPECT_THAT(section, AllOf(HasSubstr("  1023 bytes\n"), HasSubstr("  1.00K     \n"),
                               HasSubstr("  1.50K     \n"), HasSubstr("  1.00M     \n")));
}

TEST_F(CollectorSummary, HasTheHeadOncePerProcess) {
    collectWell("<title>One</title>");
    collectWell("<title>Two</title>");
    const std::string text = summary();
    EXPECT_EQ(text.rfind("MERO BUNDLE SUMMARY"), 0u);
    EXPECT_LT(text.find("One:"), text.find("Two:"));
    EXPECT_THAT(text, HasSubstr(kIncludedDashes + kSectionStart + "Two:"));
}

TEST_F(CollectorSummary, PrintsTheRowsThatAreThereAlready) {
    initialize();
    EXPECT_EQ(helperUtil::fillSummaryFailedFile(m_collector->getSummary(), "i", "f", "d", "r"), 0u);
    EXPECT_EQ(helperUtil::fillSummaryNote(m_collector->getSummary(), "first"), 0u);
    EXPECT_EQ(helperUtil::fillSummaryNote(m_collector->getSummary(), "second"), 0u);
    EXPECT_EQ(m_collector->writeSummary(m_bundle, parse("<configure/>")), 0u);
    EXPECT_THAT(summary(), EndsWith("\n\nNotes:\n - first\n - second\n"));
    EXPECT_THAT(summary(), HasSubstr(kOmittedDashes + "i                  f                             d "));
}

TEST_F(CollectorSummary, GoesOnWithoutMainInfo) {
    initialize();
    m_collector->getSummary()->removeComponent(m_collector->getSummary()->GetRoot(), "Main_Info");
    EXPECT_EQ(m_collector->writeSummary(m_bundle, parse("<configure/>")), 0u);
    EXPECT_THAT(summary(), StartsWith("MERO BUNDLE SUMMARY\n\n" + kSectionStart));
    EXPECT_TRUE(m_log.containsCode('E', "headText", "collector::fillInSummaryMainInfo",
                                   MEROENGINE_ERROR_NULL_XML_CHILD))
        << m_log.dump();
}

TEST_F(CollectorSummary, RefusesAMissingConfiguration) {
    initialize();
    EXPECT_EQ(m_collector->writeSummary(m_bundle, nullptr), MEROENGINE_ERROR_BAD_PARAMETER);
    EXPECT_TRUE(m_log.contains('E', "pXMLObjectConfig is NULL")) << m_log.dump();
    EXPECT_TRUE(
        m_log.containsCode('E', "writeSummary", "collector::printSummary", MEROENGINE_ERROR_BAD_PARAMETER))
        << m_log.dump();
}

TEST_F(CollectorSummary, FailsWhenItsFileCannotBeOpened) {
    initialize();
    EXPECT_EQ(m_collector->writeSummary(path("missing"), parse("<configure/>")),
              MEROENGINE_ERROR_FILE_OPEN_FAILURE);
    EXPECT_TRUE(m_log.contains('E', "fopen failed to open file \"" + path("missing/summary.txt") + "\""))
        << m_log.dump();
    EXPECT_TRUE(m_log.containsCode('E', "printSummary", "fopen", ENOENT)) << m_log.dump();
}

TEST_F(CollectorSummary, FailsAndKeepsItsRecordsWhenTheDiskIsFull) {
    ChildProcess child([this] {
        const rlimit limit{64, 64};
        ::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &limit);
        const uint32_t code = collect("<fileGroup>" + item("a", "/etc/hostname") + "</fileGroup>");
        return std::to_string(code) + " " + std::to_string(m_collector->getCollected().size()) +
               (m_log.containsCode('E', "writeAndClose", "fclose", EFBIG) ? " logged" : m_log.dump());
    });
    EXPECT_EQ(child.result(), std::to_string(MEROENGINE_ERROR_WRITE_FAILURE) + " 1 logged");
}
