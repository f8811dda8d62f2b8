#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/collector/CollectorTest.h"
#include "tests/engine/pipeline/ProgressLock.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"

#include <filesystem>
#include <gmock/gmock.h>

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

std::string group(const std::string& files, const std::string& attributes = {}) {
    return "<fileGroup" + attributes + ">" + files + "</fileGroup>";
}

} // namespace

class CollectorCollect : public CollectorTest {};

TEST_F(CollectorCollect, RefusesAMissingRequest) {
    m_request = nullptr;
    EXPECT_EQ(collect(""), MEROENGINE_ERROR_NOT_INITIALIZED);
    EXPECT_TRUE(m_log.contains('E', "m_pXMLRequest is NULL")) << m_log.dump();
}

TEST_F(CollectorCollect, RefusesAMissingConfiguration) {
    EXPECT_EQ(makeCollector().Collect(m_bundle, nullptr), MEROENGINE_ERROR_BAD_PARAMETER);
    EXPECT_TRUE(m_log.contains('E', "pXMLObjectConfig is NULL")) << m_log.dump();
}

TEST_F(CollectorCollect, DropsItsSummaryWhenItIsPrinted) {
    collectWell(group(logItem("a")));
    EXPECT_EQ(m_collector->getSummary(), nullptr);
    EXPECT_THAT(m_collector->getCollected(), IsEmpty());
}

TEST_F(CollectorCollect, KeepsItsSummaryWhenItCannotBePrinted) {
    m_bundle = path("missing");
    EXPECT_EQ(collect(group(item("a", "/nowhere/a"))), MEROENGINE_ERROR_FILE_OPEN_FAILURE);
    EXPECT_NE(m_collector->getSummary(), nullptr);
    EXPECT_TRUE(
        m_log.containsCode('E', "Collect", "collector::writeSummary", MEROENGINE_ERROR_FILE_OPEN_FAILURE))
        << m_log.dump();
}

TEST_F(CollectorCollect, ReportsEachItemWithThePercentageSoFar) {
    g_configCount = 4;
    g_configsDone = 3;
    collectWell(group(logItem("a") + logItem("b")));
    EXPECT_THAT(m_listener.reports(),
                ElementsAre(step(46, "Processing about a..."), step(46, "Processing about b...")));
}

TEST_F(CollectorCollect, HoldsTheLockOfTheProgressDuringTheReportOfAnItem) {
    bool locked = false;
    m_listener.onMessage("Processing about a...", [&locked] { locked = isProgressLocked(); });
    collectWell(group(logItem("a")));
    EXPECT_TRUE(locked);
    EXPECT_FALSE(isProgressLocked());
}

TEST_F(CollectorCollect, LogsEachItemWithItsThread) {
    collectWell(group(logItem("a")));
    EXPECT_THAT(m_log.dump(), ContainsRegex("Thread [0-9]+ Continuing Collection On about a"));
}

class CollectorRequestLoop : public CollectorTest {};

TEST_F(CollectorRequestLoop, CollectsTheIdsThatBothSidesHave) {
    setRequest(request({"b", "a"}));
    collectWell(group(logItem("a") + logItem("c")));
    EXPECT_THAT(processed(), ElementsAre("a"));
    EXPECT_THAT(unprocessed(), ElementsAre("b"));
    EXPECT_TRUE(exists("bundle/a.log"));
    EXPECT_FALSE(exists("bundle/c.log"));
}

TEST_F(CollectorRequestLoop, GoesByTheBytesOfTheIds) {
    setRequest(request({"\xC3\xA4", "B", "a", "aa", "Z", "1"}));
    collectWell(group(logItem("\xC3\xA4") + logItem("aa") + logItem("a") + logItem("1") + logItem("Z")));
    // The parser hands "about " and the letter behind it over apart, and so without the blank.
    EXPECT_THAT(m_listener.messages(),
                ElementsAre("Processing about 1...", "Processing about Z...", "Processing about a...",
                            "Processing about aa...", "Processing about\xC3\xA4..."));
    EXPECT_THAT(unprocessed(), ElementsAre("B"));
}

TEST_F(CollectorRequestLoop, RunsAnIdThatIsListedTwiceTwice) {
    setRequest(request({"a", "a"}));
    collectWell(group(logItem("a")));
    EXPECT_THAT(processed(), ElementsAre("a", "a"));
    EXPECT_THAT(unprocessed(), IsEmpty());
    EXPECT_THAT(summary(), Not(HasSubstr("Notes:")));
}

TEST_F(CollectorRequestLoop, TakesTheFirstOfTwoItemsWithOneId) {
    setRequest(request({"a"}));
    collectWell(group(item("a", writeFile("first.log", "")) + item("a", writeFile("second.log", ""))));
    EXPECT_TRUE(exists("bundle/first.log"));
    EXPECT_FALSE(exists("bundle/second.log"));
}

TEST_F(CollectorRequestLoop, CollectsAnIdOfTwoGroupsTwiceWithAWarning) {
    setRequest(request({"a"}));
    collectWell(group(logItem("a"), " directoryName=\"one\"") +
                group(logItem("a"), " directoryName=\"two\""));
    EXPECT_THAT(processed(), ElementsAre("a", "a"));
    EXPECT_TRUE(exists("bundle/one/a.log"));
    EXPECT_TRUE(exists("bundle/two/a.log"));
    EXPECT_THAT(summary(),
                HasSubstr("\n\nNotes:\n - WARNING: File ID a has duplicated instruction found in one of "
                          "previous config files\n"));
}

TEST_F(CollectorRequestLoop, LeavesAnItemForOtherPlatformsOutSilently) {
    setRequest(request({"w", "x"}));
    collectWell(
        group("<file id=\"w\"><mero><os opsys=\"win\"/><os opsys=\"mac\"/></mero></file>" + logItem("x")));
    EXPECT_THAT(processed(), ElementsAre("x"));
    EXPECT_THAT(unprocessed(), ElementsAre("w"));
    EXPECT_THAT(summary(),
                AllOf(Not(HasSubstr("\nw ")), Not(HasSubstr("Notes:")), Not(HasSubstr("Omitted"))));
    EXPECT_TRUE(m_log.contains('I', "collector::moveReaderToCorrectOS")) << m_log.dump();
}

TEST_F(CollectorRequestLoop, MatchesEntriesWithoutAnIdByTheEmptyText) {
    setRequest("<request><file/></request>");
    std::string file = logItem("a");
    file.replace(file.find(" id=\"a\""), 7, "");
    collectWell(group(file));
    EXPECT_THAT(processed(), ElementsAre("a"));
    EXPECT_THAT(unprocessed(), IsEmpty());
}

TEST_F(CollectorRequestLoop, MakesFoldersEvenForNothing) {
    setRequest(request({"unknown"}));
    collectWell(group(logItem("a"), " directoryName=\"empty\""));
    EXPECT_TRUE(std::filesystem::is_empty(path("bundle/empty")));
}

TEST_F(CollectorRequestLoop, HandsTheNameToTheFilesOfTheItem) {
    setRequest(request({"a"}));
    std::string file = logItem("a");
    file.insert(file.find("<default>"), "<name>bundle.log</name>");
    collectWell(group(file));
    EXPECT_TRUE(exists("bundle/bundle__a__log.log"));
}

TEST_F(CollectorRequestLoop, CollectsSystemLogsWhateverTheFlagSays) {
    m_collectSystemLogs = false;
    setRequest(request({"system-log-hist", "system-logs"}));
    collectWell(group(logItem("system-logs") + logItem("system-log-hist")));
    EXPECT_THAT(processed(), ElementsAre("system-log-hist", "system-logs"));
}

TEST_F(CollectorRequestLoop, DoesNotAskForDefault) {
    setRequest(request({"a"}));
    collectWell(group(logItem("a", "no")));
    EXPECT_THAT(processed(), ElementsAre("a"));
}

TEST_F(CollectorRequestLoop, TakesSummaryAndCommentsForReservedWords) {
    setRequest(request({"summary", "comments"}));
    collectWell(group(logItem("summary") + logItem("comments")));
    EXPECT_THAT(processed(), IsEmpty());
    EXPECT_THAT(unprocessed(), ElementsAre("summary", "comments"));
}

TEST_F(CollectorRequestLoop, NamesTheSummaryByItsFirstEntry) {
    setRequest(request({"a"}, "<file id=\"summary\"><name>one.txt</name></file>"
                              "<file id=\"summary\"><name>two.txt</name></file>"));
    collectWell(group(logItem("a")) + group(""));
    EXPECT_TRUE(exists("bundle/one.txt"));
    EXPECT_FALSE(exists("bundle/two.txt"));
    EXPECT_FALSE(exists("bundle/summary.txt"));
}

TEST_F(CollectorRequestLoop, RecordsWhatCouldNotBeFoundAndGoesOn) {
    setRequest(request({"a", "b"}));
    collectWell(group(item("a", path("missing/a.log")) + logItem("b")));
    EXPECT_THAT(processed(), ElementsAre("a", "b"));
    EXPECT_THAT(summary(), HasSubstr("\n\nFiles Omitted from Bundle:\n"));
    EXPECT_TRUE(exists("bundle/b.log"));
}

TEST_F(CollectorRequestLoop, KeepsTheOrderOfItemsWithoutAnId) {
    // Without an id an item is neither before nor behind another one.
    setRequest(request({"b", "a"}));
    collectWell(group(logItem("b") + "<file/>" + logItem("a")));
    EXPECT_THAT(processed(), Contains("b"));
}

class CollectorDefaultLoop : public CollectorTest {};

TEST_F(CollectorDefaultLoop, CollectsTheDefaultItemsInTheOrderOfTheirIds) {
    collectWell(group(logItem("c") + logItem("b", "True") + logItem("a", " true ")));
    EXPECT_THAT(processed(), ElementsAre("a", "c"));
    EXPECT_THAT(summary(),
                HasSubstr("\n\nNotes:\n - The file(s) of ID b is/are not included by default by this "
                          "config.\n"));
}

TEST_F(CollectorDefaultLoop, NotesAnItemWithoutAnId) {
    collectWell(group("<file/>"));
    EXPECT_THAT(summary(),
                HasSubstr(" - The file(s) of ID  is/are not included by default by this config.\n"));
}

TEST_F(CollectorDefaultLoop, CollectsSystemLogsUnlessTheFlagSaysNo) {
    const std::string files = logItem("system-logs") + logItem("system-log-hist") + logItem("kernel-log") +
                              logItem("system-logs-too");
    collectWell(group(files));
    EXPECT_THAT(processed(), ElementsAre("kernel-log", "system-log-hist", "system-logs", "system-logs-too"));
    m_collectSystemLogs = false;
    collectWell(group(files));
    EXPECT_THAT(processed(), ElementsAre("kernel-log", "system-log-hist", "system-logs", "system-logs-too",
                                         "system-logs-too"));
    EXPECT_THAT(summary(), Not(HasSubstr("Notes:")));
}

TEST_F(CollectorDefaultLoop, CollectsTheLegacyTreeOnlyOnDemand) {
    const std::string legacy = " treeRootName=\"Legacy - Varnel Trellink Nolvane\"";
    const std::string groups =
        group(logItem("a", "no"), legacy) + group(logItem("b", "no"), " treeRootName=\"Legacy\"");
    collectWell(groups);
    EXPECT_THAT(processed(), IsEmpty());
    m_includeLegacyTree = true;
    collectWell(groups);
    EXPECT_THAT(processed(), ElementsAre("a"));
}

TEST_F(CollectorDefaultLoop, GivesTheActionsNoName) {
    std::string file = logItem("a");
    file.insert(file.find("<default>"), "<name>bundle.log</name>");
    collectWell(group(file));
    EXPECT_TRUE(exists("bundle/a.log"));
}

TEST_F(CollectorDefaultLoop, PutsItemsBelowTheFolderOfTheirGroup) {
    std::string file = logItem("a");
    file.replace(0, 5, "<file directoryName=\"in\\ner\"");
    collectWell(group(file, " directoryName=\"a\\b\""));
    EXPECT_EQ(readFile("bundle/a/b/in/ner/a.log"), "a");
}

TEST_F(CollectorDefaultLoop, LeavesAnItemForOtherPlatformsOutSilently) {
    collectWell(group("<file id=\"w\"><default>true</default><mero><os opsys=\"win\"/></mero></file>"));
    EXPECT_THAT(processed(), IsEmpty());
    EXPECT_THAT(summary(), Not(HasSubstr("Notes:")));
    EXPECT_TRUE(m_log.contains('I', "collector::moveReaderToCorrectOS")) << m_log.dump();
}

TEST_F(CollectorDefaultLoop, IgnoresWhatIsNoGroup) {
    collectWell("<other>" + group(logItem("a")) + "</other>" + logItem("b") + "<filegroup>" + logItem("c") +
                "</filegroup>");
    EXPECT_THAT(processed(), IsEmpty());
}

TEST_F(CollectorDefaultLoop, FindsTheDescriptionAtAnyDepth) {
    collectWell(group("<file id=\"a\"><default>true</default><mero><os opsys=\"linux\"><description>deep"
                      "</description></os></mero></file>"));
    EXPECT_THAT(m_listener.messages(), ElementsAre("Processing deep..."));
}

class CollectorClear : public CollectorTest {
protected:
    void clear(const std::string& groups) {
        EXPECT_EQ(makeCollector().Clear(parse("<configure>" + groups + "</configure>")), 0u);
    }
};

TEST_F(CollectorClear, RefusesAMissingConfiguration) {
    EXPECT_EQ(makeCollector().Clear(nullptr), MEROENGINE_ERROR_BAD_PARAMETER);
    EXPECT_TRUE(m_log.contains('E', "pXMLObjectConfig is NULL")) << m_log.dump();
}

TEST_F(CollectorClear, ReportsTheDefaultItemsInTheOrderOfTheirIds) {
    g_configCount = 4;
    g_configsDone = 3;
    clear(group(logItem("c") + logItem("b", "no") + logItem("a")) + group(logItem("0")));
    EXPECT_THAT(m_listener.reports(),
                ElementsAre(step(46, "Clearing about a..."), step(46, "Clearing about c..."),
                            step(46, "Clearing about 0...")));
}

TEST_F(CollectorClear, PassesSystemLogsByOnDemand) {
    m_collectSystemLogs = false;
    clear(group(logItem("system-logs") + logItem("system-log-hist") + logItem("kernel-log") + logItem("x")));
    EXPECT_THAT(m_listener.messages(), ElementsAre("Clearing about x..."));
}

TEST_F(CollectorClear, PassesOtherPlatformsBy) {
    clear(group("<file id=\"w\"><default>true</default><mero><os opsys=\"win\"/></mero></file>"));
    EXPECT_THAT(m_listener.messages(), IsEmpty());
    EXPECT_TRUE(m_log.contains('I', "collector::moveReaderToCorrectOS")) << m_log.dump();
}

TEST_F(CollectorClear, NeedsNoRequestAndMakesNoFolder) {
    m_request = nullptr;
    clear(group(logItem("a"), " directoryName=\"sub\""));
    EXPECT_THAT(m_listener.messages(), ElementsAre("Clearing about a..."));
    EXPECT_TRUE(std::filesystem::is_empty(m_bundle));
    EXPECT_EQ(m_collector->getSummary(), nullptr);
}
