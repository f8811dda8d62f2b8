#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/pipeline/EngineRun.h"
#include "tools/MERO/MEROEngine/implementations/collector.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

namespace {

const std::string kHeading =
    "\n\nNo instruction found in any config for the following file ID's from request:\n";
const std::string kFailedBlock =
    "\n" + std::string(100, '=') + "\nMEROEngine failed to parse or use the following configuration files:\n";
constexpr const char* kZipping = "Zipping the bundle, please wait...";
constexpr const char* kAllFailed = "Internal Error: all configs failed...";
constexpr const char* kNotZipped = "Internal Error: failed to zip the bundle...";
constexpr const char* kEncounteredError = "Internal Error: MERO has encountered an error...";
constexpr const char* kNoConfiguration = "Internal Error: no valid configuration XML found...";

} // namespace

class CollectRun : public EngineRun {
protected:
    /// The working folders that there are while the bundle is being zipped.
    std::set<std::string> foldersAtZipping() {
        std::set<std::string> names;
        m_listener.onMessage(kZipping, [&names, this] { names = workingFolders(); });
        EXPECT_EQ(run(), 0u);
        return names;
    }

    void expectNoConfiguration() {
        EXPECT_EQ(run(), MEROENGINE_ERROR_INTERNAL);
        expectReportsOfFailure(kNoConfiguration, MEROENGINE_ERROR_INTERNAL);
    }

    /// Makes the collection of an item's configuration end in an exception.
    void failAt(const std::string& id) {
        m_listener.onMessage("Processing about " + id + "...",
                             [id] { throw std::runtime_error("no " + id); });
    }
};

TEST_F(CollectRun, ReportsEachStepInOrder) {
    writeThreeItems();
    EXPECT_EQ(run(), 0u);
    EXPECT_THAT(m_listener.reports(),
                ElementsAre(step(1, "Starting up MERO Engine..."),
                            step(1, "Parsing request and configuration XMLs..."),
                            step(4, "Reading instructions ..."), step(4, "Processing about one..."),
                            step(4, "Processing about three..."), step(4, "Processing about two..."),
                            step(96, "Zipping the bundle, please wait..."),
                            step(100, "MERO has finished... "), Report{100, "MERO has finished... ", 0}));
}

TEST_F(CollectRun, CollectsTheDefaultItemsWithoutARequest) {
    writeThreeItems();
    writeConfiguration("more.xml", group("More", "<file id=\"extra\"><default>false</default></file>"));
    EXPECT_EQ(run(), 0u);
    unpack();
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("one.log", "two.log", "three.log", "summary.txt"));
    EXPECT_EQ(bundled("one.log"), "one");
    EXPECT_THAT(
        bundled("summary.txt"),
        AllOf(StartsWith("MERO BUNDLE SUMMARY\n\nTime:"), HasSubstr("\nThree items:\n\nFiles Included"),
              HasSubstr(" - The file(s) of ID extra is/are not included by default by this config.\n"),
              EndsWith(kHeading)));
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(CollectRun, PutsSubFoldersInTheBundleAndLeavesThemBehind) {
    const std::string log = writeFile("logs/a.log", "text");
    writeConfiguration("a.xml", "<fileGroup directoryName=\"a\\b\"><file id=\"x\" directoryName=\"c\">" +
                                    item("x", log).substr(std::string("<file id=\"x\">").size()) +
                                    "</fileGroup>");
    EXPECT_EQ(run(), 0u);
    unpack();
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("a/b/c/a.log", "summary.txt"));
    ASSERT_EQ(leftFolders().size(), 1u);
    const std::string left = "/tmp/" + *leftFolders().begin();
    EXPECT_TRUE(fs::exists(left + "/a/b/c/a.log"));
    EXPECT_FALSE(fs::exists(left + "/summary.txt"));
}

TEST_F(CollectRun, TakesASuffixWhenThereIsNoOldFolder) {
    writeThreeItems();
    const std::set<std::string> names = foldersAtZipping();
    ASSERT_EQ(names.size(), 1u);
    EXPECT_THAT(*names.begin(), MatchesRegex("MERO_Temp_Bundle__[0-9]{4}_[0-9]{4}_[0-9]{1,5}"));
    EXPECT_TRUE(m_log.containsCode('W', "runCollectorThreads", "helperUtil::fileDeleteDirectory",
                                   MEROENGINE_ERROR_ACCESS_DENIED))
        << m_log.dump();
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(CollectRun, TakesThePlainNameAgainAfterALeftOverFolderOfFiles) {
    writeThreeItems();
    fs::create_directory(kPlainFolder);
    writeFile(kPlainFolder + "/old.log", "old");
    EXPECT_THAT(foldersAtZipping(), ElementsAre("MERO_Temp_Bundle"));
    EXPECT_FALSE(m_log.contains('W', "helperUtil::fileDeleteDirectory")) << m_log.dump();
    unpack();
    EXPECT_THAT(bundledNames(), Not(Contains("old.log")));
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(CollectRun, TakesASuffixWhenAnOldFolderCannotBeRemoved) {
    writeThreeItems();
    fs::create_directories(kPlainFolder + "/sub");
    EXPECT_EQ(foldersAtZipping().size(), 2u);
    EXPECT_TRUE(m_log.containsCode('W', "runCollectorThreads", "helperUtil::fileDeleteDirectory",
                                   MEROENGINE_ERROR_UNEXPECTED))
        << m_log.dump();
    EXPECT_THAT(leftFolders(), ElementsAre("MERO_Temp_Bundle"));
}

TEST_F(CollectRun, SparesTheFilesBehindAPlantedLink) {
    writeThreeItems();
    writeFile("precious/file", "keep me");
    fs::create_directory_symlink(path("precious"), kPlainFolder);
    EXPECT_EQ(run(), 0u);
    EXPECT_EQ(run(writeFile("bad.xml", "<request")), MEROENGINE_ERROR_INVALID_XML);
    EXPECT_EQ(readFile("precious/file"), "keep me");
    EXPECT_TRUE(fs::is_symlink(kPlainFolder));
    unpack();
    EXPECT_EQ(bundled("two.log"), "two");
}

TEST_F(CollectRun, SparesAPlantedFile) {
    writeThreeItems();
    writeFile(kPlainFolder, "keep me");
    EXPECT_EQ(run(), 0u);
    EXPECT_EQ(readFile(kPlainFolder), "keep me");
    fs::remove(kPlainFolder);
}

TEST_F(CollectRun, SparesAnotherUsersFolder) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    writeThreeItems();
    fs::create_directory(kPlainFolder);
    writeFile(kPlainFolder + "/file", "theirs");
    ASSERT_EQ(::chown(kPlainFolder.c_str(), 65534, 65534), 0);
    EXPECT_EQ(run(), 0u);
    EXPECT_EQ(readFile(kPlainFolder + "/file"), "theirs");
}

TEST_F(CollectRun, SparesTheFolderOfARunningJobWhenItFails) {
    fs::create_directory(kPlainFolder);
    writeFile(kPlainFolder + "/file", "being collected");
    const FileDescriptor lock(::open(kPlainFolder.c_str(), O_RDONLY | O_DIRECTORY));
    ASSERT_EQ(::flock(lock.get(), LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(run(), MEROENGINE_ERROR_INTERNAL);
    EXPECT_EQ(readFile(kPlainFolder + "/file"), "being collected");
}

TEST_F(CollectRun, DeletesAnOldFolderThatItDidNotMakeWhenItFailsEarly) {
    fs::create_directory(kPlainFolder);
    writeFile(kPlainFolder + "/old.log", "old");
    expectNoConfiguration();
}

TEST_F(CollectRun, FailsWithoutAConfigurationFolder) {
    fs::remove_all(path("inst"));
    expectNoConfiguration();
}

TEST_F(CollectRun, FailsWithAnEmptyConfigurationFolder) {
    expectNoConfiguration();
}

TEST_F(CollectRun, FailsWhenEveryConfigurationFileIsBad) {
    const std::string folder = "inst/xml/config/";
    writeFile(folder + "empty.xml", "");
    writeFile(folder + "malformed.xml", "<configure><a></configure>");
    writeFile(folder + "truncated.xml", "<configure><fileGroup><title>T");
    writeFile(folder + "bytes.xml", "<configure><title>\xFF\xFE\x80</title></configure>");
    writeFile(folder + "undeclared.xml", "<configure>&undeclared;</configure>");
    makeFolder(folder + "folder.xml");
    fs::create_symlink("nowhere.xml", path(folder + "dangling.xml"));
    fs::create_symlink("loop.xml", path(folder + "loop.xml"));
    ASSERT_EQ(::mkfifo(path(folder + "pipe.xml").c_str(), 0600), 0);
    writeFile(folder + "other.XML", "<configure/>");
    expectNoConfiguration();
}

TEST_F(CollectRun, FailsOnAConfigurationFolderThatCannotBeRead) {
    if (runsAsRoot()) {
        GTEST_SKIP() << "root may read everything";
    }
    writeThreeItems();
    ASSERT_EQ(::chmod(path("inst/xml/config").c_str(), 0000), 0);
    expectNoConfiguration();
}

TEST_F(CollectRun, NamesBadFilesInTheSummaryAndUsesTheOthers) {
    writeThreeItems();
    const std::string bad = writeFile("inst/xml/config/bad.xml", "<configure>");
    writeConfiguration("good.xml", group("Good", ""));
    EXPECT_EQ(run(), 0u);
    unpack();
    EXPECT_THAT(bundled("summary.txt"), EndsWith(kFailedBlock + bad + "\n" + kHeading));
    EXPECT_EQ(bundled("one.log"), "one");
}

TEST_F(CollectRun, WorksWithAConfigurationWithoutGroups) {
    writeFile("inst/xml/config/odd.xml", "<whatever><file id=\"x\"/></whatever>");
    EXPECT_EQ(run(), 0u);
    unpack();
    EXPECT_THAT(bundledNames(), ElementsAre("summary.txt"));
    EXPECT_THAT(bundled("summary.txt"), HasSubstr("\nconfigure:\n\n"));
}

TEST_F(CollectRun, NamesTheGroupsOfAFailedCollection) {
    const std::string log = writeFile("logs/a.log", "text");
    writeConfiguration("a.xml", group("First", item("x", log)) +
                                    "<fileGroup><deep><title>Second</title></deep></fileGroup>" + "<other>" +
                                    group("Nested", "") + "</other>" + group("", ""));
    failAt("x");
    // Four names against one tree: the counts differ, so the run goes on although its only file failed.
    EXPECT_EQ(run(), 0u);
    unpack();
    EXPECT_EQ(bundled("summary.txt"), kFailedBlock + "First\nSecond\nNested\nUnknown_0\n" + kHeading);
    EXPECT_TRUE(m_log.contains('E', "The collection was ended by an error: no x")) << m_log.dump();
}

TEST_F(CollectRun, CountsUnknownGroupsByTheIndexOfTheirFile) {
    const std::string log = writeFile("logs/a.log", "text");
    writeConfiguration("a.xml", group("", item("a", log)) + group("", ""));
    writeConfiguration("b.xml", group("", item("b", log)) + group("", ""));
    failAt("a");
    failAt("b");
    EXPECT_EQ(run(), 0u);
    unpack();
    EXPECT_THAT(bundled("summary.txt"),
                AllOf(HasSubstr("Unknown_0\nUnknown_0\n"), HasSubstr("Unknown_1\nUnknown_1\n")));
}

TEST_F(CollectRun, FailsWhenTheCountsAgreeAlthoughOneSucceeded) {
    const std::string log = writeFile("logs/a.log", "text");
    for (const std::string id : {"a", "b", "c"}) {
        writeConfiguration(id + ".xml", group("Group " + id, item(id, log)));
    }
    writeFile("inst/xml/config/bad.xml", "<configure>");
    failAt("a");
    failAt("b");
    EXPECT_EQ(run(), MEROENGINE_ERROR_INTERNAL);
    EXPECT_EQ(m_listener.reports().back(),
              (Report{m_listener.reports().back().percent, kAllFailed, MEROENGINE_ERROR_INTERNAL}));
    EXPECT_TRUE(m_log.contains('E', kAllFailed)) << m_log.dump();
    EXPECT_THAT(leftFolders(), IsEmpty());
    EXPECT_FALSE(exists("out.zip"));
}

TEST_F(CollectRun, GoesOnWhenOneOfTwoConfigurationsFails) {
    writeThreeItems();
    writeConfiguration("x.xml", group("Failing", item("x", "/nowhere/x.log")));
    writeConfiguration("y.xml", group("Good", ""));
    failAt("x");
    EXPECT_EQ(run(), 0u);
    unpack();
    EXPECT_THAT(bundled("summary.txt"), EndsWith(kFailedBlock + "Failing\n" + kHeading));
    EXPECT_EQ(bundled("one.log"), "one");
}

TEST_F(CollectRun, LogsTheWorkOfEachThread) {
    writeThreeItems();
    EXPECT_EQ(run(), 0u);
    EXPECT_THAT(
        m_log.dump(),
        AllOf(ContainsRegex("Thread [0-9]+ Starting Collection"),
              ContainsRegex("Thread [0-9]+ Continuing Collection On about one"),
              ContainsRegex("Thread [0-9]+ Completed Collection\\. Looking for a new task\\.\\.\\.")));
}

TEST_F(CollectRun, AddsTheZipExtensionUnlessItIsThere) {
    writeThreeItems();
    const std::vector<std::pair<std::string, std::string>> targets{
        {"a.ZIP", "a.ZIP.zip"}, {"a.zip", "a.zip"}, {"a", "a.zip"}, {"b.zip.", "b.zip..zip"}, {"zip", "zip"}};
    for (const auto& [target, written] : targets) {
        m_target = target;
        EXPECT_EQ(run(), 0u);
        EXPECT_TRUE(fs::remove(path(written))) << target;
    }
}

TEST_F(CollectRun, ShowsTheTargetAsItWasGivenInTheSummary) {
    writeThreeItems();
    m_target = "./a";
    EXPECT_EQ(run(), 0u);
    unpack("a.zip");
    EXPECT_THAT(bundled("summary.txt"), HasSubstr("\nBundle on client computer:    " + path("a") + "\n"));
}

TEST_F(CollectRun, FailsWhenTheTargetFolderIsMissing) {
    writeThreeItems();
    m_target = path("missing/out.zip");
    EXPECT_EQ(run(), MEROENGINE_ERROR_WRITE_FAILURE);
    EXPECT_EQ(m_listener.reports().back(), (Report{96, kNotZipped, MEROENGINE_ERROR_WRITE_FAILURE}));
    EXPECT_TRUE(m_log.contains('E', kNotZipped)) << m_log.dump();
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(CollectRun, FailsBeforeItCollectsWhenTheTargetIsAFolder) {
    writeThreeItems();
    writeFile("out.zip/file", "keep me");
    EXPECT_EQ(run(), MEROENGINE_ERROR_WRITE_FAILURE);
    EXPECT_EQ(readFile("out.zip/file"), "keep me");
    EXPECT_EQ(m_listener.reports().back(), (Report{1, kNotZipped, MEROENGINE_ERROR_WRITE_FAILURE}));
    EXPECT_TRUE(m_log.contains('E', "\"" + path("out.zip") + "\" can't be replaced by a bundle"))
        << m_log.dump();
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(CollectRun, FailsBeforeItCollectsWhenTheTargetIsAPipe) {
    writeThreeItems();
    ASSERT_EQ(::mkfifo(m_target.c_str(), 0600), 0);
    EXPECT_EQ(run(), MEROENGINE_ERROR_WRITE_FAILURE);
    EXPECT_EQ(m_listener.reports().back(), (Report{1, kNotZipped, MEROENGINE_ERROR_WRITE_FAILURE}));
    EXPECT_TRUE(fs::is_fifo(m_target));
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(CollectRun, FailsWhenTheTargetFolderIsClosed) {
    if (runsAsRoot()) {
        GTEST_SKIP() << "root may write everywhere";
    }
    writeThreeItems();
    ASSERT_EQ(::chmod(makeFolder("closed").c_str(), 0500), 0);
    m_target = path("closed/out.zip");
    EXPECT_EQ(run(), MEROENGINE_ERROR_WRITE_FAILURE);
    EXPECT_EQ(m_listener.reports().back(), (Report{96, kNotZipped, MEROENGINE_ERROR_WRITE_FAILURE}));
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(CollectRun, ReplacesAnOldBundle) {
    writeThreeItems();
    writeFile("out.zip", std::string(100000, 'x'));
    EXPECT_EQ(run(), 0u);
    unpack();
    EXPECT_EQ(bundled("one.log"), "one");
}

TEST_F(CollectRun, EncryptsWithThePasswordAndTellsItNobody) {
    writeThreeItems();
    const std::string password = "s3cret-Horse-Staple";
    EXPECT_EQ(engine({}, password)->run(), 0u);
    EXPECT_NE(std::system("unzip -qq -P wrong -t out.zip >/dev/null 2>&1"), 0);
    unpack("out.zip", password);
    EXPECT_EQ(bundled("three.log"), "three");
    EXPECT_THAT(bundled("summary.txt"), Not(HasSubstr(password)));
    EXPECT_FALSE(m_log.contains('*', password));
    EXPECT_THAT(m_listener.messages(), Not(Contains(HasSubstr(password))));
}

TEST_F(CollectRun, LeavesSystemLogsOutOnDemand) {
    const std::string log = writeFile("logs/a.log", "text");
    writeConfiguration("a.xml", group("System", item("system-logs", log) + item("plain", log)));
    m_collectSystemLogs = false;
    EXPECT_EQ(run(), 0u);
    EXPECT_THAT(m_listener.messages(), Not(Contains("Processing about system-logs...")));
    EXPECT_THAT(m_listener.messages(), Contains("Processing about plain..."));
}

TEST_F(CollectRun, CollectsTheLegacyTreeOnDemand) {
    const std::string log = writeFile("logs/a.log", "text");
    std::string file = item("old", log);
    file.replace(file.find("true"), 4, "no");
    writeConfiguration("a.xml", "<fileGroup treeRootName=\"Legacy - Varnel Trellink Nolvane\">" + file +
                                    "</fileGroup>");
    EXPECT_EQ(run(), 0u);
    EXPECT_THAT(m_listener.messages(), Not(Contains("Processing about old...")));
    m_includeLegacyTree = true;
    EXPECT_EQ(run(), 0u);
    EXPECT_THAT(m_listener.messages(), Contains("Processing about old..."));
}

TEST_F(CollectRun, StartsAtAHigherPercentageInTheSameProcess) {
    writeThreeItems();
    EXPECT_EQ(run(), 0u);
    unpack();
    EXPECT_THAT(bundled("summary.txt"), StartsWith("MERO BUNDLE SUMMARY\n"));
    EXPECT_EQ(g_configsDone.load(), 2u);
    EXPECT_EQ(run(), 0u);
    EXPECT_THAT(m_listener.reports(), Contains(step(92, "Processing about one...")));
    unpack();
    // The head is written once per process.
    EXPECT_THAT(bundled("summary.txt"), StartsWith("\n" + std::string(141, '=') + "\nThree items:\n"));
    EXPECT_EQ(bundled("one.log"), "one");
}

TEST_F(CollectRun, EndsWithACodeWhenNobodySharesTheEngine) {
    writeThreeItems();
    MEROEngine engine({}, path("inst"), m_target, {}, kModeCollect, false, true);
    EXPECT_EQ(engine.run(), MEROENGINE_ERROR_INTERNAL);
    EXPECT_EQ(m_listener.reports().back(), (Report{4, kEncounteredError, MEROENGINE_ERROR_INTERNAL}));
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(CollectRun, EndsWithACodeWhenTheListenerThrows) {
    writeThreeItems();
    m_listener.onMessage(kZipping, [] { throw std::runtime_error("gone"); });
    EXPECT_EQ(run(), MEROENGINE_ERROR_INTERNAL);
    EXPECT_EQ(m_listener.reports().back(), (Report{96, kEncounteredError, MEROENGINE_ERROR_INTERNAL}));
    EXPECT_TRUE(m_log.contains('E', "The run was ended by an error: gone")) << m_log.dump();
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(CollectRun, EndsWithACodeWhenTheListenerThrowsAtTheEndToo) {
    writeThreeItems();
    m_listener.onMessage(kZipping, [] { throw 1; });
    m_listener.onMessage(kEncounteredError, [] { throw 2; });
    EXPECT_EQ(run(), MEROENGINE_ERROR_INTERNAL);
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(CollectRun, AppendsNothingToASummaryThatCannotBeOpened) {
    const auto collecting = engine();
    EXPECT_EQ(collecting->writeFailedFilesToSummary(path("missing/summary.txt")),
              MEROENGINE_ERROR_FILE_OPEN_FAILURE);
    EXPECT_TRUE(m_log.contains('E', "Could not open file \"" + path("missing/summary.txt") + "\""))
        << m_log.dump();
}

TEST_F(CollectRun, ReportsAFullDiskUnderTheFailureBlock) {
    fs::create_symlink("/dev/full", path("summary.txt"));
    EXPECT_EQ(engine()->writeFailedFilesToSummary(path("summary.txt")), MEROENGINE_ERROR_WRITE_FAILURE);
    EXPECT_TRUE(m_log.containsCode('E', "writeAndClose", "fclose", ENOSPC)) << m_log.dump();
}

TEST_F(CollectRun, GoesOnWithoutAFailureBlock) {
    writeThreeItems();
    m_listener.onMessage("Processing about two...", [this] {
        const std::string folder = "/tmp/" + *workingFolders().begin();
        fs::create_directory(folder + "/summary.txt");
    });
    writeConfiguration("two.xml", group("Second", "") + group("Third", ""));
    EXPECT_EQ(run(writeFile("r.xml", request({"two"}, "<file id=\"summary\"><name>own.txt</name></file>"))),
              MEROENGINE_ERROR_BUNDLE_INCOMPLETE);
    EXPECT_TRUE(m_log.containsCode('W', "runCollectorThreads", "MEROEngine::writeFailedFilesToSummary",
                                   MEROENGINE_ERROR_FILE_OPEN_FAILURE))
        << m_log.dump();
    unpack();
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("two.log", "own.txt", "not-packed.txt"));
}

TEST_F(CollectRun, LooksForTheUsualFolderWhenACollectorIsGivenNone) {
    MEROXmlObject empty;
    std::list<MEROComponent*> unprocessed;
    collector worker(&empty, unprocessed, m_target, false, true);
    std::string folder;
    MEROXmlObject config("configure", "");
    EXPECT_EQ(worker.Collect(folder, &config), MEROENGINE_ERROR_FILE_OPEN_FAILURE);
    EXPECT_EQ(folder, kPlainFolder);
    EXPECT_TRUE(m_log.contains('E', "fopen failed to open file \"" + kPlainFolder + "/summary.txt\""))
        << m_log.dump();
}
