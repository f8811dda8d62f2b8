#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/action/ActionTest.h"
#include "tests/support/InChild.h"
#include "tools/MERO/MEROEngine/implementations/MEROCollectLogsAction.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class FolderCollection : public ActionTest {
protected:
    std::list<MEROCollectedFile> collectFolder(const std::string& loc,
                                               const std::vector<std::string>& patterns = {"*"}) {
        std::string children = "<loc>" + loc + "</loc>";
        for (const std::string& pattern : patterns) {
            children += "<pattern>" + pattern + "</pattern>";
        }
        return collect("<directory_copy_action><action>" + children + "</action></directory_copy_action>");
    }
};

TEST_F(FolderCollection, RebuildsTheTreeBelowTheItemsFolder) {
    m_info.name = "vpn.txt";
    writeFile("logs/top.log", "1");
    writeFile("logs/x/y.log", "22");
    writeFile("logs/x/z/deep.LOG", "333");
    writeFile("logs/x/other.txt", "no match");
    const auto collected = collectFolder(path("logs") + "/", {"*.log"});
    EXPECT_THAT(pathsOf(collected),
                UnorderedElementsAre(path("bundle") + "/top.log", path("bundle") + "/x/y.log",
                                     path("bundle") + "/x/z/deep.LOG"));
    EXPECT_EQ(readFile("bundle/x/z/deep.LOG"), "333");
    EXPECT_FALSE(exists("bundle/x/other.txt"));
    EXPECT_THAT(omitted(), IsEmpty());
}

TEST_F(FolderCollection, RecordsTheItemWithEachFile) {
    m_info.truncateType = kTruncateWholeFile;
    m_info.totalAllowedSize = 4096.0;
    writeFile("logs/x/y.log", "22");
    const auto collected = collectFolder(path("logs"));
    ASSERT_EQ(collected.size(), 1u);
    EXPECT_EQ(collected.front().id, "vpn-logs");
    EXPECT_EQ(collected.front().description, "VPN logs");
    EXPECT_EQ(collected.front().path, path("bundle") + "/x/y.log");
    EXPECT_EQ(collected.front().fileSize, 2.0);
    EXPECT_EQ(collected.front().truncateType, kTruncateWholeFile);
    EXPECT_EQ(collected.front().totalAllowedSize, 4096.0);
    EXPECT_EQ(collected.front().defaultTruncateType, kTruncateNone);
}

TEST_F(FolderCollection, ListsAFileOnceWhateverTheNumberOfItsPatterns) {
    writeFile("logs/a.log", "1");
    writeFile("logs/b.LOG", "2");
    EXPECT_THAT(pathsOf(collectFolder(path("logs"), {"*.log", "*.LOG", "*"})),
                UnorderedElementsAre(path("bundle") + "/a.log", path("bundle") + "/b.LOG"));
}

TEST_F(FolderCollection, ReportsAFolderWithoutPattern) {
    writeFile("logs/a.log", "1");
    EXPECT_THAT(collectFolder(path("logs"), {}), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row("N/A", path("logs") + "/")));
}

TEST_F(FolderCollection, ReportsAMissingFolder) {
    EXPECT_THAT(collectFolder(path("none")), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row("N/A", path("none") + "/")));
    EXPECT_EQ(m_log.count('E', "Invoked Function: MEROAction"), 0) << m_log.dump();
}

TEST_F(FolderCollection, ReportsAFolderInWhichNothingMatches) {
    writeFile("logs/x/a.txt", "1");
    EXPECT_THAT(collectFolder(path("logs"), {"*.log"}), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row("N/A", path("logs") + "/")));
    EXPECT_FALSE(exists("bundle"));
}

TEST_F(FolderCollection, ReportsAnInstructionWithoutPath) {
    EXPECT_THAT(
        collect("<directory_copy_action><action><pattern>*</pattern></action></directory_copy_action>"),
        IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row("N/A", "")));
}

TEST_F(FolderCollection, SucceedsThoughTheFolderIsMissing) {
    DirectoryActionAttrs attrs;
    attrs.translatedPath = path("none") + "/";
    attrs.patterns = {"*"};
    std::list<MEROCollectedFile> found;
    EXPECT_EQ(MEROCollectLogsAction(m_info, nullptr, false).deepDirectoryCopy(attrs, found), 0u);
    EXPECT_EQ(attrs.patterns.front(), "*");
}

TEST_F(FolderCollection, FailsAnInstructionWithAnUnknownChild) {
    writeFile("logs/a.log", "1");
    EXPECT_THAT(collect("<directory_copy_action><action><loc>" + path("logs") +
                        "</loc><pattern>*</pattern><unknown/></action></directory_copy_action>"),
                IsEmpty());
    EXPECT_TRUE(m_log.containsCode('E', "Perform", "MEROAction::performDirectoryAction", 0xFEB00009))
        << m_log.dump();
    EXPECT_THAT(omitted(), IsEmpty());
    EXPECT_FALSE(exists("bundle"));
}

TEST_F(FolderCollection, ReplacesTheCollectedFolderWhereverItOccursInAPath) {
    const std::string logs = path("logs");
    // The folder's whole path, once more below itself.
    writeFile("logs/x" + logs + "/a.log", "1");
    EXPECT_THAT(pathsOf(collectFolder(logs)),
                ElementsAre(m_info.directory + "/x" + m_info.directory + "/a.log"));
    EXPECT_EQ(readFile("bundle/x" + m_info.directory + "/a.log"), "1");
}

TEST_F(FolderCollection, ReportsEachFileWhoseFolderCannotBeMadeAndTakesTheOthers) {
    writeFile("logs/p/x/1.log", "1");
    writeFile("logs/q/x/2.log", "2");
    // The order of the two folders is the file system's: in one of the two runs the failure comes first.
    writeFile("first/p", "a file in the folder's place");
    writeFile("second/q", "a file in the folder's place");
    m_info.directory = path("first");
    EXPECT_THAT(pathsOf(collectFolder(path("logs"))), ElementsAre(path("first") + "/q/x/2.log"));
    m_info.directory = path("second");
    EXPECT_THAT(pathsOf(collectFolder(path("logs"))), ElementsAre(path("second") + "/p/x/1.log"));
    const std::string reason = " Unexpected error occurred: " + std::generic_category().message(ENOTDIR);
    EXPECT_THAT(omitted(), ElementsAre(row("1.log", path("logs/p/x/1.log") + reason),
                                       row("2.log", path("logs/q/x/2.log") + reason)));
    EXPECT_TRUE(m_log.containsCode('E', "deepDirectoryCopy", "std::filesystem::create_directories", ENOTDIR))
        << m_log.dump();
    EXPECT_EQ(m_log.count('E', "Invoked Function: MEROAction::performDirectoryAction\n"), 0) << m_log.dump();
}

TEST_F(FolderCollection, ReportsASubFolderThatCannotBeListed) {
    writeFile("logs/open/a.log", "1");
    writeFile("logs/locked/b.log", "2");
    ASSERT_EQ(::chmod(path("logs").c_str(), 0755), 0);
    ASSERT_EQ(::chmod(path("logs/open").c_str(), 0755), 0);
    ASSERT_EQ(::chmod(path("logs/open/a.log").c_str(), 0644), 0);
    ASSERT_EQ(::chmod(path("logs/locked").c_str(), 0), 0);
    asOrdinaryUser([&] {
        const std::string reason = " could not be listed: " + std::generic_category().message(EACCES);
        EXPECT_THAT(pathsOf(collectFolder(path("logs"))), ElementsAre(path("bundle") + "/open/a.log"));
        EXPECT_THAT(omitted(), ElementsAre(row("locked", path("logs/locked") + reason)));
    });
}

TEST_F(FolderCollection, ReportsWhyTheFolderItselfCannotBeListed) {
    makeFolder("locked");
    ASSERT_EQ(::chmod(path("locked").c_str(), 0), 0);
    asOrdinaryUser([&] {
        const std::string reason = " could not be listed: " + std::generic_category().message(EACCES);
        EXPECT_THAT(collectFolder(path("locked")), IsEmpty());
        EXPECT_THAT(omitted(),
                    ElementsAre(row("locked", path("locked") + reason), row("N/A", path("locked") + "/")));
    });
}

TEST_F(FolderCollection, ReportsThatAFolderIsNotEnteredAgain) {
    writeFile("target/a.log", "1");
    makeFolder("logs");
    for (int i = 0; i < 20; ++i) {
        std::filesystem::create_directory_symlink("../target", path("logs/link" + std::to_string(i)));
    }
    EXPECT_EQ(collectFolder(path("logs")).size(), 16u);
    ASSERT_EQ(omitted().size(), 1u);
    EXPECT_THAT(omitted().front().reason,
                ::testing::EndsWith(" was met more than 16 times and is not entered again"));
}

TEST_F(FolderCollection, ReportsEachFileThatCannotBeCopiedAndTakesTheOthers) {
    writeFile("logs/x/a.log", "1");
    writeFile("logs/x/b.log", "2");
    makeFolder("bundle/x/a.log");
    EXPECT_THAT(pathsOf(collectFolder(path("logs"))), ElementsAre(path("bundle") + "/x/b.log"));
    EXPECT_THAT(omitted(), ElementsAre(row("a.log", path("logs/x/a.log") + " Unexpected error occurred")));
}

TEST_F(FolderCollection, DoesNotFeedOnABundleInsideTheCollectedFolder) {
    writeFile("all/a.log", "1");
    writeFile("all/sub/b.log", "2");
    m_info.directory = path("all/bundle");
    writeFile("all/bundle/earlier.log", "3");
    const std::string bundle = path("all/bundle");
    EXPECT_THAT(
        pathsOf(collectFolder(path("all"))),
        UnorderedElementsAre(bundle + "/a.log", bundle + "/sub/b.log", bundle + "/bundle/earlier.log"));
    EXPECT_EQ(readFile("all/bundle/earlier.log"), "3");
    EXPECT_EQ(readFile("all/bundle/bundle/earlier.log"), "3");
    EXPECT_FALSE(exists("all/bundle/bundle/a.log"));
}

TEST_F(FolderCollection, LeavesTheFilesAloneWhenTheBundleIsTheCollectedFolder) {
    m_info.directory = path("all");
    writeFile("all/a.log", "kept");
    EXPECT_EQ(collectFolder(path("all")).size(), 1u);
    EXPECT_EQ(readFile("all/a.log"), "kept");
}

TEST_F(FolderCollection, EndsInALinkThatLeadsBackUp) {
    writeFile("logs/sub/a.log", "1");
    std::filesystem::create_directory_symlink("..", path("logs/sub/up"));
    EXPECT_THAT(pathsOf(collectFolder(path("logs"))), ElementsAre(path("bundle") + "/sub/a.log"));
}
