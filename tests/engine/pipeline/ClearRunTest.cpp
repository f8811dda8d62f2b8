#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/pipeline/EngineRun.h"
#include "tests/support/Processes.h"

#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {
constexpr const char* kNoConfiguration = "Internal Error: no valid configuration XML found...";
}

/// Whole runs that clear logs.
class ClearRun : public EngineRun {
protected:
    ClearRun() { m_mode = kModeClearLogs; }

    /// A default item with these children of its os element; described by "about <id>".
    [[nodiscard]] static std::string itemOf(const std::string& id, const std::string& kinds,
                                            const std::string& isDefault = "true") {
        return "<file id=\"" + id + "\"><default>" + isDefault + "</default><description>about " + id +
               "</description><mero><os opsys=\"linux\">" + kinds + "</os></mero></file>";
    }
    [[nodiscard]] static std::string clearing(const std::string& path) {
        return "<file_copy_action><action><loc>" + path +
               "</loc><clear_log apply=\"true\"/></action></file_copy_action>";
    }
    [[nodiscard]] static std::string clearingBy(const std::string& commandLine) {
        return "<use_extern_action><action><args>collect</args><clear_log apply=\"true\">" + commandLine +
               "</clear_log></action></use_extern_action>";
    }
    /// An item whose log is to be cleared; the log is named after it.
    [[nodiscard]] std::string clearableItem(const std::string& id,
                                            const std::string& isDefault = "true") const {
        return itemOf(id, clearing(writeFile("logs/" + id + ".log", id)), isDefault);
    }
    [[nodiscard]] bool hasLog(const std::string& id) const { return exists("logs/" + id + ".log"); }
    /// The reports of clearing, in order.
    [[nodiscard]] std::vector<std::string> cleared() const {
        std::vector<std::string> texts = m_listener.messages();
        std::erase_if(texts, [](const std::string& text) { return !text.starts_with("Clearing "); });
        return texts;
    }
    /// The run succeeds, and its reports end as those of any good run.
    void runWell() {
        EXPECT_EQ(run(), 0u);
        const std::vector<Report> reports = m_listener.reports();
        ASSERT_GE(reports.size(), 3u);
        EXPECT_EQ(reports.front(), step(1, "Starting up MERO Engine..."));
        EXPECT_EQ(reports[reports.size() - 2], step(100, "MERO has finished... "));
        EXPECT_EQ(reports.back(), (Report{100, "MERO has finished... ", 0}));
    }
};

TEST_F(ClearRun, ReportsWhatItClearsAndMakesNoBundle) {
    writeThreeItems();
    EXPECT_EQ(run(), 0u);
    EXPECT_THAT(m_listener.reports(),
                ElementsAre(step(1, "Starting up MERO Engine..."), step(1, "Clearing about one..."),
                            step(1, "Clearing about three..."), step(1, "Clearing about two..."),
                            step(100, "MERO has finished... "), Report{100, "MERO has finished... ", 0}));
    EXPECT_THAT(leftFolders(), IsEmpty());
    EXPECT_FALSE(exists("out.zip"));
    EXPECT_TRUE(hasLog("one")) << "nothing says that it may be cleared";
}

TEST_F(ClearRun, TakesAnyOtherModeForClearing) {
    writeConfiguration("a.xml", group("A", clearableItem("one")));
    m_mode = -7;
    runWell();
    EXPECT_THAT(cleared(), ElementsAre("Clearing about one..."));
    EXPECT_FALSE(hasLog("one"));
}

TEST_F(ClearRun, FailsWithoutAConfiguration) {
    fs::create_directory(kPlainFolder);
    writeFile(kPlainFolder + "/old.log", "old");
    EXPECT_EQ(run(), MEROENGINE_ERROR_INTERNAL);
    EXPECT_THAT(m_listener.reports(), ElementsAre(step(1, "Starting up MERO Engine..."),
                                                  Report{1, kNoConfiguration, MEROENGINE_ERROR_INTERNAL}));
    EXPECT_TRUE(m_log.contains('E', kNoConfiguration)) << m_log.dump();
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(ClearRun, LooksAtNoRequest) {
    writeConfiguration("a.xml", group("A", clearableItem("one") + clearableItem("two", "false")));
    EXPECT_EQ(run(path("missing.xml")), 0u);
    EXPECT_FALSE(hasLog("one"));
    EXPECT_EQ(run(writeFile("request.xml", request({"two"}))), 0u);
    EXPECT_TRUE(hasLog("two")) << "only what a default bundle would hold is cleared";
}

TEST_F(ClearRun, ClearsGroupsAsTheyStandAndTheirItemsByTheirIds) {
    writeConfiguration("a.xml", group("A", clearableItem("m") + clearableItem("c")) +
                                    group("B", clearableItem("z") + clearableItem("b")));
    runWell();
    EXPECT_THAT(cleared(), ElementsAre("Clearing about c...", "Clearing about m...", "Clearing about b...",
                                       "Clearing about z..."));
    EXPECT_TRUE(fs::is_empty(path("logs")));
}

TEST_F(ClearRun, ClearsEveryConfiguration) {
    for (const std::string id : {"one", "two", "three"}) {
        writeConfiguration(id + ".xml", group(id, clearableItem(id)));
    }
    runWell();
    EXPECT_EQ(cleared().size(), 3u);
    EXPECT_TRUE(fs::is_empty(path("logs")));
}

TEST_F(ClearRun, PassesOverItemsThatAreNoDefault) {
    writeConfiguration("a.xml", group("A", clearableItem("one") + clearableItem("no", "false") +
                                               clearableItem("odd", "True")));
    m_includeLegacyTree = true;
    runWell();
    EXPECT_THAT(cleared(), ElementsAre("Clearing about one..."));
    EXPECT_TRUE(hasLog("no"));
    EXPECT_TRUE(hasLog("odd"));
}

TEST_F(ClearRun, PassesOverTheSystemsLogsOnDemand) {
    writeConfiguration("a.xml", group("A", clearableItem("system-logs") + clearableItem("system-log-hist") +
                                               clearableItem("other")));
    m_collectSystemLogs = false;
    runWell();
    EXPECT_THAT(cleared(), ElementsAre("Clearing about other..."));
    EXPECT_TRUE(hasLog("system-logs"));
    EXPECT_TRUE(hasLog("system-log-hist"));
}

TEST_F(ClearRun, PassesOverItemsOfOtherPlatforms) {
    std::string other = clearableItem("win");
    other.replace(other.find("linux"), 5, "win");
    writeConfiguration("a.xml", group("A", other + clearableItem("one")));
    runWell();
    EXPECT_THAT(cleared(), ElementsAre("Clearing about one..."));
    EXPECT_TRUE(hasLog("win"));
    EXPECT_TRUE(m_log.containsCode('I', "findInstructions", "collector::moveReaderToCorrectOS",
                                   MEROENGINE_ERROR_INTERNAL))
        << m_log.dump();
}

TEST_F(ClearRun, PausesBeforeEachItem) {
    std::string items;
    for (const std::string id : {"a", "b", "c", "d"}) {
        items += clearableItem(id);
    }
    writeConfiguration("a.xml", group("A", items));
    const auto start = std::chrono::steady_clock::now();
    runWell();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(4 * 50));
}

TEST_F(ClearRun, TakesNoLongPauses) {
    std::string items;
    for (const std::string id : {"a", "b", "c", "d", "e", "f", "g", "h"}) {
        items += clearableItem(id);
    }
    writeConfiguration("a.xml", group("A", items));
    const auto start = std::chrono::steady_clock::now();
    runWell();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
}

TEST_F(ClearRun, HasReportedAnItemBeforeItsLogGoes) {
    writeConfiguration("a.xml", group("A", clearableItem("a") + clearableItem("b")));
    bool wasThere = false;
    bool earlierWasThere = true;
    m_listener.onMessage("Clearing about b...", [&] {
        wasThere = hasLog("b");
        earlierWasThere = hasLog("a");
    });
    runWell();
    EXPECT_TRUE(wasThere);
    EXPECT_FALSE(earlierWasThere);
}

TEST_F(ClearRun, TakesALogThatTwoConfigurationsNameForNoFailure) {
    const std::string log = writeFile("logs/shared.log", "text");
    writeConfiguration("a.xml", group("A", itemOf("a", clearing(log))));
    writeConfiguration("b.xml", group("B", itemOf("b", clearing(log) + clearing(path("logs/*")))));
    runWell();
    EXPECT_EQ(cleared().size(), 2u);
    EXPECT_FALSE(exists("logs/shared.log"));
    EXPECT_EQ(m_log.count('E', ""), 0) << m_log.dump();
}

TEST_F(ClearRun, MakesNoWorkingFolder) {
    writeConfiguration("a.xml", group("A", clearableItem("one")));
    std::set<std::string> names;
    m_listener.onMessage("Clearing about one...", [&] { names = workingFolders(); });
    runWell();
    EXPECT_THAT(names, IsEmpty());
    EXPECT_THAT(workingFolders(), IsEmpty());
    EXPECT_FALSE(exists("out.zip"));
}

TEST_F(ClearRun, LeavesAWorkingFolderThatIsThere) {
    fs::create_directory(kPlainFolder);
    writeFile(kPlainFolder + "/old.log", "old");
    writeConfiguration("a.xml", group("A", clearableItem("one")));
    runWell();
    EXPECT_EQ(readFile(kPlainFolder + "/old.log"), "old");
    EXPECT_THAT(leftFolders(), ElementsAre("MERO_Temp_Bundle"));
}

TEST_F(ClearRun, MakesNoFolderForAGroup) {
    writeConfiguration("a.xml", "<fileGroup directoryName=\"sub\">" + clearableItem("one") + "</fileGroup>");
    runWell();
    EXPECT_FALSE(exists("sub"));
    EXPECT_FALSE(fs::exists("/sub"));
    EXPECT_FALSE(hasLog("one"));
}

TEST_F(ClearRun, RunsClearCommandsInTheirPlace) {
    writeTool(path("tools/wipe"), "echo \"$1\" >>order");
    const std::string wipe = path("tools/wipe");
    writeConfiguration("a.xml",
                       group("A", itemOf("b", clearingBy(wipe + " second")) +
                                      itemOf("a", clearingBy(wipe + " first") + clearingBy("no-such-tool")) +
                                      clearableItem("c")));
    runWell();
    EXPECT_EQ(readFile("order"), "first\nsecond\n");
    EXPECT_FALSE(hasLog("c"));
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(m_log.count('E', ""), 0) << m_log.dump();
}

TEST_F(ClearRun, TellsOfAClearCommandThatTakesLong) {
    writeTool(path("tools/slow"), "while [ ! -e go ]; do sleep 0.05; done; sleep 0.3");
    const std::string running =
        "Still running " + path("tools/slow") + ", please be patient as this may take a few minutes...";
    m_listener.onMessage(running, [this] { writeFile("go", ""); });
    writeConfiguration("a.xml", group("A", itemOf("a", clearingBy(path("tools/slow") + " -x"))));
    runWell();
    const std::vector<Report> reports = m_listener.reports();
    ASSERT_GE(reports.size(), 6u);
    EXPECT_EQ(reports[1], step(1, "Clearing about a..."));
    EXPECT_EQ(reports[2], step(1, "Processing about a..."));
    EXPECT_EQ(reports[3], step(1, running));
}

TEST_F(ClearRun, GoesOnBehindAnInstructionThatIsRefused) {
    writeConfiguration("a.xml", group("A", itemOf("a", "<use_extern_action><action><unknown/></action>"
                                                       "</use_extern_action>") +
                                               clearableItem("b")));
    runWell();
    EXPECT_FALSE(hasLog("b"));
    EXPECT_TRUE(m_log.containsCode('E', "Perform", "MEROAction::performExternalAction", 0xFEB00012))
        << m_log.dump();
}

TEST_F(ClearRun, ClearsWhatAnEarlierRunHasCollected) {
    writeConfiguration("a.xml", group("A", clearableItem("one")));
    m_mode = kModeCollect;
    EXPECT_EQ(run(), 0u);
    unpack();
    EXPECT_EQ(bundled("one.log"), "one");
    EXPECT_TRUE(hasLog("one")) << "collecting clears nothing";
    m_mode = kModeClearLogs;
    EXPECT_EQ(run(), 0u);
    EXPECT_FALSE(hasLog("one"));
    EXPECT_TRUE(exists("out.zip"));
}

TEST_F(ClearRun, DoesNotRunClearCommandsWhileCollecting) {
    writeTool(path("tools/wipe"), "touch wiped");
    writeConfiguration("a.xml",
                       group("A", clearableItem("one") + itemOf("a", clearingBy(path("tools/wipe")))));
    m_mode = kModeCollect;
    EXPECT_EQ(run(), 0u);
    EXPECT_FALSE(exists("wiped"));
    EXPECT_TRUE(hasLog("one"));
}

TEST_F(ClearRun, SucceedsWithNothingToClear) {
    writeConfiguration("a.xml", group("A", itemOf("a", "")));
    runWell();
    EXPECT_THAT(m_listener.messages(), Contains("Clearing about a..."));
}
