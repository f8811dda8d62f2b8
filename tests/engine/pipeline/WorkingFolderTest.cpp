#include "tools/MERO/MEROEngine/implementations/WorkingFolder.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/pipeline/ChildProcess.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/Sandbox.h"
#include "tests/support/SystemCallFilter.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <list>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using ::testing::MatchesRegex;

namespace {
constexpr uint32_t kNobody = 65534;
}

class WorkingFolderTest : public Sandbox {
protected:
    WorkingFolderTest() : m_plain(path("work")) {}

    /// The plain name is left alone with a warning, and a run that takes the suffix works.
    void expectLeftAlone(const std::string& why) const {
        WorkingFolder folder(m_plain);
        EXPECT_EQ(folder.removeLeftOver(), MEROENGINE_ERROR_UNEXPECTED);
        EXPECT_TRUE(m_log.contains('W', "\"" + m_plain + "\" is left alone, it is " + why)) << m_log.dump();
        EXPECT_EQ(folder.claim(true), 0u);
        EXPECT_NE(folder.path(), m_plain);
        folder.remove();
        EXPECT_FALSE(exists(folder.path()));
        EXPECT_TRUE(exists("work"));
    }

    std::string m_plain;
    CapturedLog m_log;
};

TEST_F(WorkingFolderTest, ReportsAMissingFolderAsTheDeletionDoes) {
    EXPECT_EQ(WorkingFolder(m_plain).removeLeftOver(), MEROENGINE_ERROR_ACCESS_DENIED);
    EXPECT_TRUE(m_log.containsCode('E', "fileDeleteDirectory", "access", ENOENT)) << m_log.dump();
}

TEST_F(WorkingFolderTest, TakesTheSuffixOfTimeAndNumber) {
    WorkingFolder folder(m_plain);
    EXPECT_EQ(folder.path(), m_plain);
    ASSERT_EQ(folder.claim(true), 0u);
    EXPECT_THAT(folder.path(), MatchesRegex(m_plain + "__[0-9]{4}_[0-9]{4}_[0-9]{1,5}"));
    EXPECT_FALSE(exists("work"));
}

TEST_F(WorkingFolderTest, GoesOnWhereThereAreNoLocks) {
    inChild([&] {
        replaceSystemCall(SYS_flock, ENOLCK);
        WorkingFolder folder(m_plain);
        ASSERT_EQ(folder.claim(false), 0u);
        EXPECT_EQ(folder.path(), m_plain);
        EXPECT_TRUE(m_log.containsCode('W', "lockFolder", "flock", ENOLCK)) << m_log.dump();
        // Whether another run is at work there can't be told.
        expectLeftAlone("perhaps in use by another run, which no lock can tell");
        folder.remove();
        EXPECT_FALSE(exists("work"));
    });
}

TEST_F(WorkingFolderTest, MakesAFolderForItsUserAlone) {
    const mode_t former = ::umask(0);
    WorkingFolder folder(m_plain);
    const uint32_t code = folder.claim(false);
    ::umask(former);
    ASSERT_EQ(code, 0u);
    EXPECT_EQ(folder.path(), m_plain);
    struct stat status = {};
    ASSERT_EQ(::lstat(m_plain.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFDIR | 0700));
    EXPECT_EQ(status.st_uid, ::geteuid());
}

TEST_F(WorkingFolderTest, RemovesALeftOverFolderOfFiles) {
    writeFile("work/a.log", "a");
    writeFile("work/.hidden", "b");
    WorkingFolder folder(m_plain);
    EXPECT_EQ(folder.removeLeftOver(), 0u);
    EXPECT_FALSE(exists("work"));
    EXPECT_EQ(folder.claim(false), 0u);
    EXPECT_EQ(folder.path(), m_plain);
}

TEST_F(WorkingFolderTest, RemovesAnEmptyLeftOverFolder) {
    makeFolder("work");
    EXPECT_EQ(WorkingFolder(m_plain).removeLeftOver(), 0u);
    EXPECT_FALSE(exists("work"));
}

TEST_F(WorkingFolderTest, KeepsALeftOverFolderWithSubFolders) {
    writeFile("work/sub/a.log", "a");
    EXPECT_EQ(WorkingFolder(m_plain).removeLeftOver(), MEROENGINE_ERROR_UNEXPECTED);
    EXPECT_EQ(readFile("work/sub/a.log"), "a");
}

TEST_F(WorkingFolderTest, LeavesTheFilesBehindALinkAlone) {
    writeFile("precious/file", "keep me");
    fs::create_directory_symlink(path("precious"), m_plain);
    expectLeftAlone("no folder of this user");
    WorkingFolder(m_plain).remove();
    EXPECT_EQ(readFile("precious/file"), "keep me");
    EXPECT_TRUE(fs::is_symlink(m_plain));
}

TEST_F(WorkingFolderTest, LeavesADanglingLinkAlone) {
    fs::create_symlink(path("nowhere"), m_plain);
    expectLeftAlone("no folder of this user");
    EXPECT_FALSE(exists("nowhere"));
}

TEST_F(WorkingFolderTest, LeavesALoopingLinkAlone) {
    fs::create_symlink(m_plain, m_plain);
    expectLeftAlone("no folder of this user");
}

TEST_F(WorkingFolderTest, LeavesAPlainFileAlone) {
    writeFile("work", "text");
    expectLeftAlone("no folder of this user");
    EXPECT_EQ(readFile("work"), "text");
}

TEST_F(WorkingFolderTest, DoesNotWaitForTheWriterOfAPipe) {
    ASSERT_EQ(::mkfifo(m_plain.c_str(), 0600), 0);
    expectLeftAlone("no folder of this user");
}

TEST_F(WorkingFolderTest, LeavesAnotherUsersFolderAlone) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    writeFile("work/file", "theirs");
    ASSERT_EQ(::chown(m_plain.c_str(), kNobody, kNobody), 0);
    expectLeftAlone("no folder of this user");
    EXPECT_EQ(readFile("work/file"), "theirs");
}

TEST_F(WorkingFolderTest, LeavesAFolderInUseAlone) {
    WorkingFolder first(m_plain);
    ASSERT_EQ(first.claim(false), 0u);
    writeFile("work/file", "being collected");
    expectLeftAlone("in use by another run");
    EXPECT_EQ(readFile("work/file"), "being collected");
}

TEST_F(WorkingFolderTest, TakesTheSuffixWhenThePlainNameCameBackMeanwhile) {
    makeFolder("work");
    WorkingFolder folder(m_plain);
    ASSERT_EQ(folder.claim(false), 0u);
    EXPECT_THAT(folder.path(), MatchesRegex(m_plain + "__[0-9]{4}_[0-9]{4}_[0-9]{1,5}"));
}

TEST_F(WorkingFolderTest, GivesEachOfManyClaimsInOneSecondAFolderOfItsOwn) {
    std::list<WorkingFolder> folders;
    std::set<std::string> paths;
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(folders.emplace_back(m_plain).claim(true), 0u);
        paths.insert(folders.back().path());
    }
    EXPECT_EQ(paths.size(), 50u);
}

TEST_F(WorkingFolderTest, FailsWhereNoFolderCanBeMade) {
    WorkingFolder missingParent(path("missing/work"));
    EXPECT_EQ(missingParent.claim(true), MEROENGINE_ERROR_ACCESS_DENIED);
    EXPECT_TRUE(m_log.containsCode('E', "claimName", "mkdir", ENOENT)) << m_log.dump();
    EXPECT_EQ(missingParent.path(), path("missing/work"));
    writeFile("file", "");
    EXPECT_EQ(WorkingFolder(path("file/work")).claim(false), MEROENGINE_ERROR_ACCESS_DENIED);
    EXPECT_TRUE(m_log.containsCode('E', "claimName", "mkdir", ENOTDIR)) << m_log.dump();
}

TEST_F(WorkingFolderTest, FailsWhereTheUserHasNoRights) {
    if (runsAsRoot()) {
        GTEST_SKIP() << "root may write everywhere";
    }
    ASSERT_EQ(::chmod(makeFolder("closed").c_str(), 0500), 0);
    EXPECT_EQ(WorkingFolder(path("closed/work")).claim(true), MEROENGINE_ERROR_ACCESS_DENIED);
    EXPECT_TRUE(m_log.containsCode('E', "claimName", "mkdir", EACCES)) << m_log.dump();
}

TEST_F(WorkingFolderTest, LeavesNothingBehindWhenItCannotHoldTheFolder) {
    ChildProcess child([this] {
        // Root may open what its mode forbids, so it steps down first.
        if (runsAsRoot() && (::chown(path().c_str(), kNobody, kNobody) != 0 || ::seteuid(kNobody) != 0)) {
            return std::string("still root");
        }
        ::umask(S_IRWXU);
        const uint32_t code = WorkingFolder(m_plain).claim(false);
        return std::to_string(code) +
               (m_log.containsCode('I', "lockFolder", "open", EACCES) ? " logged" : "");
    });
    EXPECT_EQ(child.result(), std::to_string(MEROENGINE_ERROR_ACCESS_DENIED) + " logged");
    EXPECT_TRUE(fs::is_empty(path()));
}

TEST_F(WorkingFolderTest, LeavesNothingBehindWhenItCannotLookAtTheFolder) {
    ChildProcess child([this] {
        replaceSystemCallWith(SYS_newfstatat, EACCES, 3, AT_SYMLINK_NOFOLLOW);
        return std::to_string(WorkingFolder(m_plain).claim(false));
    });
    EXPECT_EQ(child.result(), std::to_string(MEROENGINE_ERROR_ACCESS_DENIED));
    EXPECT_TRUE(fs::is_empty(path()));
}

TEST_F(WorkingFolderTest, RemovesItsFilesAndKeepsSubFolders) {
    WorkingFolder folder(m_plain);
    ASSERT_EQ(folder.claim(false), 0u);
    writeFile("work/summary.txt", "text");
    writeFile("work/sub/a.log", "a");
    folder.remove();
    EXPECT_FALSE(exists("work/summary.txt"));
    EXPECT_TRUE(exists("work/sub/a.log"));
}

TEST_F(WorkingFolderTest, RemovesOnlyTheFolderThatItMade) {
    WorkingFolder folder(m_plain);
    ASSERT_EQ(folder.claim(false), 0u);
    writeFile("precious/file", "keep me");
    fs::rename(m_plain, path("moved"));
    fs::create_directory_symlink(path("precious"), m_plain);
    folder.remove();
    EXPECT_EQ(readFile("precious/file"), "keep me");
    EXPECT_TRUE(m_log.contains('W', "it is not the folder of this run any more")) << m_log.dump();
}

TEST_F(WorkingFolderTest, RemovesTheLeftOverFolderWithoutAClaim) {
    writeFile("work/a.log", "a");
    WorkingFolder(m_plain).remove();
    EXPECT_FALSE(exists("work"));
}

TEST_F(WorkingFolderTest, HoldsTheFolderAsLongAsItsProcessLives) {
    std::array<int, 2> ready{};
    std::array<int, 2> never{};
    ASSERT_EQ(::pipe(ready.data()), 0);
    ASSERT_EQ(::pipe(never.data()), 0);
    char byte = 0;
    {
        const ChildProcess holder([&] {
            WorkingFolder folder(m_plain);
            const bool told = folder.claim(false) == 0 && ::write(ready[1], "y", 1) == 1;
            // Nobody writes to the other pipe, so this waits until the child is killed.
            return told && ::read(never[0], &byte, 1) == 1 ? std::string("told") : std::string();
        });
        ::close(ready[1]);
        ASSERT_EQ(::read(ready[0], &byte, 1), 1);
        EXPECT_EQ(WorkingFolder(m_plain).removeLeftOver(), MEROENGINE_ERROR_UNEXPECTED);
    }
    EXPECT_EQ(WorkingFolder(m_plain).removeLeftOver(), 0u);
    for (const int end : {ready[0], never[0], never[1]}) {
        ::close(end);
    }
}
