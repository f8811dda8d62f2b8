#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/action/ActionTest.h"
#include "tests/support/InChild.h"
#include "tests/support/SystemCallFilter.h"
#include "tools/MERO/MEROEngine/implementations/MEROCollectLogsAction.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class FileCollection : public ActionTest {
protected:
    /// Collects one file instruction.
    std::list<MEROCollectedFile> collectLoc(const std::string& loc, const std::string& attribute = {}) {
        return collect("<file_copy_action><action><loc" + attribute + ">" + loc +
                       "</loc></action></file_copy_action>");
    }
    std::list<MEROCollectedFile> collectNewest(const std::string& loc) {
        return collectLoc(loc, " gather_newest=\"true\"");
    }
    /// The code of a copy, with what it found left in m_found.
    uint32_t copyCode(const std::string& translatedPath, bool gatherNewest) {
        FileActionAttrs attrs;
        attrs.translatedPath = translatedPath;
        attrs.gatherNewest = gatherNewest;
        return MEROCollectLogsAction(m_info, nullptr, false).deepFileCopy(attrs, m_found);
    }

    std::list<MEROCollectedFile> m_found;
};

TEST_F(FileCollection, CopiesTheFileAndRecordsIt) {
    m_info.truncateType = kTruncateData;
    m_info.totalAllowedSize = 2048.0;
    const std::string source = writeFile("logs/app.log", "twelve bytes");
    const auto collected = collectLoc(source);
    ASSERT_EQ(collected.size(), 1u);
    const MEROCollectedFile& record = collected.front();
    EXPECT_EQ(record.path, path("bundle") + "//app.log");
    EXPECT_EQ(record.id, "vpn-logs");
    EXPECT_EQ(record.description, "VPN logs");
    EXPECT_EQ(record.fileSize, 12.0);
    EXPECT_EQ(record.truncateType, kTruncateData);
    EXPECT_EQ(record.totalAllowedSize, 2048.0);
    EXPECT_EQ(record.defaultTruncateType, kTruncateNone);
    EXPECT_EQ(readFile("bundle/app.log"), "twelve bytes");
    EXPECT_EQ(readFile(source), "twelve bytes");
    EXPECT_THAT(omitted(), IsEmpty());
}

TEST_F(FileCollection, MergesTheItemsNameWithTheFilesName) {
    m_info.name = "vpn.txt";
    writeFile("logs/app.1", "one");
    EXPECT_THAT(pathsOf(collectLoc(path("logs") + "/app*")),
                ElementsAre(path("bundle") + "//vpn__app__1.txt"));
    EXPECT_EQ(readFile("bundle/vpn__app__1.txt"), "one");
}

TEST_F(FileCollection, TakesAllMatchesOfTheFolderButNoneBelowIt) {
    writeFile("logs/app.1", "1");
    writeFile("logs/APP.2", "2");
    writeFile("logs/other", "3");
    writeFile("logs/sub/app.3", "4");
    makeFolder("logs/app.folder");
    EXPECT_THAT(pathsOf(collectLoc(path("logs") + "/app.*")),
                UnorderedElementsAre(path("bundle") + "//app.1", path("bundle") + "//APP.2"));
    EXPECT_THAT(omitted(), IsEmpty());
}

TEST_F(FileCollection, TakesAWildcardInTheFolderPartLiterally) {
    writeFile("logs/app.log", "1");
    EXPECT_THAT(collectLoc(path("lo*") + "/app.log"), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row(path("lo*") + "/app.log", "No file found on endpoint")));
    writeFile("lo*/app.log", "2");
    EXPECT_THAT(pathsOf(collectLoc(path("lo*") + "/app.log")), ElementsAre(path("bundle") + "//app.log"));
    EXPECT_EQ(readFile("bundle/app.log"), "2");
}

TEST_F(FileCollection, ReportsAPathThatNothingMatchesAndSucceeds) {
    makeFolder("logs");
    const std::string loc = path("logs") + "/app*.log";
    EXPECT_THAT(collectLoc(loc), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row(loc, "No file found on endpoint")));
    EXPECT_EQ(m_log.count('E', ""), 0) << m_log.dump();
    EXPECT_FALSE(exists("bundle"));
    EXPECT_EQ(copyCode(loc, false), 0u);
}

TEST_F(FileCollection, ReportsAMissingFolder) {
    EXPECT_THAT(collectLoc(path("none") + "/app.log"), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row(path("none") + "/app.log", "No file found on endpoint")));
}

TEST_F(FileCollection, ReportsAFileInThePlaceOfTheFolder) {
    const std::string file = writeFile("logs", "no folder");
    EXPECT_EQ(copyCode(file + "/app.log", false), 0u);
    EXPECT_THAT(omitted(), ElementsAre(row(file + "/app.log", "No file found on endpoint")));
}

TEST_F(FileCollection, ReportsAnInstructionWithoutPath) {
    EXPECT_THAT(collect("<file_copy_action><action><clear_log/></action></file_copy_action>"), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row("", "No file found on endpoint")));
}

TEST_F(FileCollection, FindsNothingForAPathThatEndsInASlash) {
    writeFile("logs/app.log", "1");
    EXPECT_THAT(collectLoc(path("logs") + "/"), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row(path("logs") + "/", "No file found on endpoint")));
}

TEST_F(FileCollection, FindsNothingForAPathWithoutFolderWhateverTheCurrentFolderHolds) {
    writeFile("app.log", "in the current folder");
    writeFile("nested/nested", "in a folder of the file's name");
    EXPECT_THAT(collectLoc("app.log"), IsEmpty());
    EXPECT_THAT(collectLoc("nested"), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row("app.log", "No file found on endpoint"),
                                       row("nested", "No file found on endpoint")));
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(FileCollection, RefusesTheNewestOfAPathWithoutFolder) {
    writeFile("app.log", "in the current folder");
    EXPECT_EQ(copyCode("app.log", true), 0xFEB00002u);
    EXPECT_THAT(omitted(), ElementsAre(row("app.log", "Not found on endpoint")));
    EXPECT_THAT(m_found, IsEmpty());
}

TEST_F(FileCollection, ReportsAVariableWithoutValueWithItsDollarSign) {
    setEnvironment("MERO_TEST_UNSET", std::nullopt);
    EXPECT_THAT(collectLoc("$MERO_TEST_UNSET/app.log"), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row("$MERO_TEST_UNSET/app.log", "No file found on endpoint")));
}

TEST_F(FileCollection, ReportsTheTranslatedPath) {
    EXPECT_THAT(collectLoc("$HOME/none/app.log"), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row(path("none/app.log"), "No file found on endpoint")));
}

TEST_F(FileCollection, TakesOnlyTheNewestMatch) {
    setModificationTime(writeFile("logs/app.1", "old"), 1000);
    setModificationTime(writeFile("logs/app.2", "newest"), 3000);
    setModificationTime(writeFile("logs/app.3", "newer"), 2000);
    setModificationTime(writeFile("logs/other", "no match"), 4000);
    EXPECT_THAT(pathsOf(collectNewest(path("logs") + "/app.*")), ElementsAre(path("bundle") + "//app.2"));
    EXPECT_FALSE(exists("bundle/app.1") || exists("bundle/app.3"));
}

TEST_F(FileCollection, TakesOneOfSeveralNewestMatches) {
    setModificationTime(writeFile("logs/app.1", "1"), 2000);
    setModificationTime(writeFile("logs/app.2", "2"), 2000);
    std::list<std::string> patterns{"app.*"};
    std::string folder = path("logs");
    std::list<helperUtil::FoundFile> listing;
    ASSERT_EQ(helperUtil::fileFindAll(folder, patterns, false, listing), 0u);
    EXPECT_THAT(pathsOf(collectNewest(path("logs") + "/app.*")),
                ElementsAre(path("bundle") + "//" + listing.back().name));
}

TEST_F(FileCollection, ReportsAMissingNewestMatchWithItsOwnTextAndCode) {
    makeFolder("logs");
    const std::string loc = path("logs") + "/app*";
    EXPECT_THAT(collectNewest(loc), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row(loc, "Not found on endpoint")));
    EXPECT_EQ(m_log.count('E', ""), 0) << m_log.dump();
    EXPECT_EQ(copyCode(loc, true), 0xFEB0000Cu);
}

TEST_F(FileCollection, ReturnsAnyOtherCodeOfTheListingForTheNewestMatch) {
    const std::string loc = writeFile("logs", "no folder") + "/app*";
    EXPECT_THAT(collectNewest(loc), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row(loc, "Not found on endpoint")));
    EXPECT_TRUE(m_log.containsCode('E', "Perform", "MEROAction::performFileAction", 0xFEB0000D))
        << m_log.dump();
}

TEST_F(FileCollection, ReportsThatNoMatchIsNewestWhenAllAreFromBefore1970) {
    setModificationTime(writeFile("logs/app.1", "1"), -5);
    EXPECT_EQ(copyCode(path("logs") + "/app*", true), 0xFEB0000Cu);
    EXPECT_THAT(omitted(), ElementsAre(row(path("logs") + "/app*", "Not found on endpoint")));
    EXPECT_EQ(m_log.count('E', ""), 0) << m_log.dump();
    // Without the wish for the newest one they are files as any other.
    EXPECT_EQ(copyCode(path("logs") + "/app*", false), 0u);
    EXPECT_EQ(m_found.size(), 1u);
}

TEST_F(FileCollection, MakesTheItemsFolderWithItsParents) {
    m_info.directory = path("new/group/item");
    EXPECT_THAT(pathsOf(collectLoc(writeFile("logs/app.log", "1"))),
                ElementsAre(path("new/group/item") + "//app.log"));
    EXPECT_EQ(readFile("new/group/item/app.log"), "1");
}

TEST_F(FileCollection, ReportsEachFileWhenTheItemsFolderCannotBeMade) {
    writeFile("bundle", "a file in the folder's place");
    m_info.directory = path("bundle/item");
    writeFile("logs/app.1", "1");
    writeFile("logs/app.2", "2");
    const std::string loc = path("logs") + "/app.*";
    EXPECT_EQ(copyCode(loc, false), 0u);
    EXPECT_THAT(m_found, IsEmpty());
    EXPECT_TRUE(m_log.containsCode('E', "deepFileCopy", "std::filesystem::create_directories", ENOTDIR))
        << m_log.dump();
    EXPECT_TRUE(m_log.contains('E', "Description: " + std::generic_category().message(ENOTDIR)))
        << m_log.dump();
    const std::string reason = " Unexpected error occurred: " + std::generic_category().message(ENOTDIR);
    EXPECT_THAT(omitted(), ElementsAre(row(loc, reason), row(loc, reason)));
    EXPECT_EQ(readFile("bundle"), "a file in the folder's place");
}

TEST_F(FileCollection, ReportsAFolderWhoseReadingBreaksOff) {
    const std::string loc = writeFile("logs/app.log", "1");
    inChild([&] {
        replaceSystemCall(SYS_getdents64, EIO);
        const std::string reason = " could not be listed: " + std::generic_category().message(EIO);
        EXPECT_EQ(copyCode(loc, false), 0u);
        EXPECT_EQ(copyCode(loc, true), 0xFEB0000Cu);
        EXPECT_THAT(omitted(),
                    ElementsAre(row(loc, path("logs") + reason), row(loc, "No file found on endpoint"),
                                row(loc, path("logs") + reason), row(loc, "Not found on endpoint")));
    });
}

TEST_F(FileCollection, ReportsEachFileThatCannotBeCopiedAndTakesTheOthers) {
    writeFile("logs/app.1", "1");
    writeFile("logs/app.2", "2");
    // A folder that stands where the copy should go can't be removed as a file.
    makeFolder("bundle/app.1");
    const std::string loc = path("logs") + "/app.*";
    EXPECT_THAT(pathsOf(collectLoc(loc)), ElementsAre(path("bundle") + "//app.2"));
    EXPECT_THAT(omitted(), ElementsAre(row(loc, " Unexpected error occurred")));
}

TEST_F(FileCollection, TellsWhyAFileCannotBeOpened) {
    if (runsAsRoot()) {
        GTEST_SKIP() << "no permission bits stop root from reading";
    }
    const std::string loc = writeFile("logs/app.log", "secret");
    ASSERT_EQ(::chmod(loc.c_str(), 0), 0);
    EXPECT_THAT(collectLoc(loc), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row(loc, " Error occurred opening the file: " +
                                                    std::generic_category().message(EACCES))));
}

TEST_F(FileCollection, RunsTheNextInstructionBehindAFailingOne) {
    const std::string bad = writeFile("logs", "no folder") + "/app*";
    const std::string good = writeFile("good/app.log", "1");
    EXPECT_THAT(
        pathsOf(collect("<file_copy_action><action><loc gather_newest=\"true\">" + bad +
                        "</loc></action><action><loc>" + good + "</loc></action></file_copy_action>")),
        ElementsAre(path("bundle") + "//app.log"));
}

TEST_F(FileCollection, RunsAnInstructionWithAnUnknownChild) {
    const std::string loc = writeFile("logs/app.log", "1");
    EXPECT_THAT(pathsOf(collect("<file_copy_action><action><unknown/><loc>" + loc +
                                "</loc></action></file_copy_action>")),
                ElementsAre(path("bundle") + "//app.log"));
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(FileCollection, OverwritesAFileOfTheSameNameAndKeepsBothRecords) {
    const std::string first = writeFile("a/app.log", "the longer first one");
    const std::string second = writeFile("b/app.log", "second");
    const auto collected =
        collect("<file_copy_action><action><loc>" + first + "</loc></action><action><loc>" + second +
                "</loc></action></file_copy_action>");
    EXPECT_THAT(pathsOf(collected), ElementsAre(path("bundle") + "//app.log", path("bundle") + "//app.log"));
    EXPECT_EQ(readFile("bundle/app.log"), "second");
}

TEST_F(FileCollection, RecordsAnEmptyFileWithSizeZero) {
    const auto collected = collectLoc(writeFile("logs/app.log", ""));
    ASSERT_EQ(collected.size(), 1u);
    EXPECT_EQ(collected.front().fileSize, 0.0);
}

/// Runs with the private folder as "/", which only a child process may have.
class FileCollectionInRoot : public FileCollection {
protected:
    static constexpr int kNoOwnRoot = 100;

    /// The child's answer: the number of files collected, or kNoOwnRoot.
    int collectInOwnRoot(const std::string& loc) {
        const pid_t child = ::fork();
        if (child == 0) {
            const bool allowed = ::geteuid() == 0 || ::unshare(CLONE_NEWUSER) == 0;
            if (!allowed || ::chroot(path().c_str()) != 0 || ::chdir("/") != 0) {
                ::_exit(kNoOwnRoot);
            }
            m_info.directory = "/B";
            const bool good = copyCode(loc, false) == 0 && omitted().empty();
            ::_exit(good ? static_cast<int>(m_found.size()) : kNoOwnRoot - 1);
        }
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status)) << status;
        return WEXITSTATUS(status);
    }
};

TEST_F(FileCollectionInRoot, CopiesAFileOfTheRootFolderAndLeavesTheSourceAlone) {
    writeFile("app.log", "in the root");
    const int count = collectInOwnRoot("/app.log");
    if (count == kNoOwnRoot) {
        GTEST_SKIP() << "this machine grants no root folder of one's own";
    }
    EXPECT_EQ(count, 1);
    EXPECT_EQ(readFile("B/app.log"), "in the root");
    EXPECT_EQ(readFile("app.log"), "in the root");
}

TEST_F(FileCollectionInRoot, ReplacesTheFolderPartWhereverItOccurs) {
    writeFile("app.log", "in the root");
    const int count = collectInOwnRoot("//app.log");
    if (count == kNoOwnRoot) {
        GTEST_SKIP() << "this machine grants no root folder of one's own";
    }
    EXPECT_EQ(count, 1);
    EXPECT_EQ(readFile("B/B/app.log"), "in the root");
    EXPECT_EQ(readFile("app.log"), "in the root");
}
