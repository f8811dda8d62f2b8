#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/PrivateFolders.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/PrivateMounts.h"
#include "tests/support/Processes.h"
#include "tests/support/Sandbox.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr uid_t kSomebodyElse = 65534;

mode_t modeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

class PrivateFolders : public Sandbox {
protected:
    void expectRefused(const std::string& folder, const std::string& call, uint32_t error) const {
        const std::size_t before = openDescriptors();
        const CapturedLog log;
        EXPECT_FALSE(openPrivateFolder(folder.c_str())) << folder;
        EXPECT_TRUE(log.containsCode('E', "refuse", call, error)) << log.dump();
        EXPECT_EQ(log.lines().size(), 1U) << log.dump();
        EXPECT_EQ(openDescriptors(), before);
    }
    [[nodiscard]] std::string folderOfMode(mode_t mode) const {
        std::string folder = makeFolder("folder");
        EXPECT_EQ(::chmod(folder.c_str(), mode), 0);
        return folder;
    }
};

class JobFolderTest : public Sandbox {
protected:
    [[nodiscard]] JobFolder make() const {
        std::optional<JobFolder> folder = JobFolder::make(path());
        EXPECT_TRUE(folder);
        return *std::move(folder);
    }
};

TEST_F(PrivateFolders, MakesAMissingOneForItselfWhateverTheUmask) {
    inChild([this] {
        for (const mode_t mask : {0000U, 0022U, 0077U, 0277U}) {
            ::umask(mask);
            const FileDescriptor folder = openPrivateFolder(path("folder").c_str());
            EXPECT_TRUE(folder);
            EXPECT_EQ(::fcntl(folder.get(), F_GETFD), FD_CLOEXEC);
            EXPECT_EQ(modeOf(path("folder")), 0700U) << mask;
            fs::remove(path("folder"));
        }
    });
}

TEST_F(PrivateFolders, MakesOneForItselfInAFolderThatHandsOnItsGroup) {
    const std::string parent = makeFolder("parent");
    ASSERT_EQ(::chmod(parent.c_str(), 02777), 0);
    EXPECT_TRUE(openPrivateFolder(path("parent/folder").c_str()));
    EXPECT_EQ(modeOf(path("parent/folder")), 0700U);
}

TEST_F(PrivateFolders, OpensOneThatIsThere) {
    writeFile("folder/file", "whole");
    ASSERT_EQ(::chmod(path("folder").c_str(), 0700), 0);
    const FileDescriptor folder = openPrivateFolder(path("folder").c_str());
    EXPECT_EQ(::faccessat(folder.get(), "file", F_OK, 0), 0);
    EXPECT_EQ(readFile("folder/file"), "whole");
}

TEST_F(PrivateFolders, RefusesOneThatIsOpenToOthers) {
    for (const mode_t mode : {0701U, 0702U, 0704U, 0710U, 0720U, 0740U, 01777U, 0755U}) {
        expectRefused(folderOfMode(mode), "checkPrivate", EPERM);
        EXPECT_EQ(modeOf(path("folder")), mode);
    }
}

TEST_F(PrivateFolders, RefusesSomebodyElses) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "giving a folder away needs root's rights";
    }
    const std::string folder = folderOfMode(0700);
    ASSERT_EQ(::chown(folder.c_str(), kSomebodyElse, 0), 0);
    expectRefused(folder, "checkPrivate", EPERM);
}

TEST_F(PrivateFolders, RefusesALinkWhereverItLeads) {
    const std::string folder = folderOfMode(0700);
    fs::create_symlink(folder, path("link"));
    fs::create_symlink(path("nowhere"), path("dangling"));
    expectRefused(path("link"), "open", ENOTDIR);
    expectRefused(path("dangling"), "open", ENOTDIR);
    EXPECT_FALSE(exists("nowhere"));
}

TEST_F(PrivateFolders, RefusesASlashThatWouldFollowALink) {
    fs::create_symlink(folderOfMode(0700), path("link"));
    expectRefused(path("link/"), "openPrivateFolder", EINVAL);
    expectRefused(path("missing/"), "openPrivateFolder", EINVAL);
    EXPECT_FALSE(exists("missing"));
}

TEST_F(PrivateFolders, RefusesWhatIsNoFolderWithoutWaiting) {
    expectRefused(writeFile("file", ""), "open", ENOTDIR);
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0700), 0);
    expectRefused(path("pipe"), "open", ENOTDIR);
}

TEST_F(PrivateFolders, NeedsAParent) {
    expectRefused(path("missing/folder"), "mkdir", ENOENT);
}

TEST_F(JobFolderTest, IsForItselfAloneUnderANameOfItsOwn) {
    const JobFolder first = make();
    const JobFolder second = make();
    EXPECT_THAT(first.path(), StartsWith(path("job-")));
    EXPECT_NE(first.path(), second.path());
    EXPECT_EQ(modeOf(first.path()), 0700U);
    EXPECT_EQ(first.entry("archive"), first.path() + "/archive");
}

TEST_F(JobFolderTest, NeedsAParent) {
    const CapturedLog log;
    EXPECT_FALSE(JobFolder::make(path("missing")));
    EXPECT_TRUE(log.containsCode('E', "make", "mkdtemp", ENOENT)) << log.dump();
}

TEST_F(JobFolderTest, GoesWithAllThatIsInIt) {
    writeFile("victim/file", "whole");
    std::string former;
    {
        const JobFolder folder = make();
        former = folder.path();
        fs::create_directories(folder.entry("a") + "/b");
        fs::create_symlink(path("victim"), folder.entry("link"));
    }
    EXPECT_FALSE(fs::exists(former));
    EXPECT_EQ(readFile("victim/file"), "whole");
}

TEST_F(JobFolderTest, IsRemovedOnce) {
    JobFolder folder = make();
    const std::string former = folder.path();
    EXPECT_TRUE(folder.remove());
    EXPECT_THAT(folder.path(), IsEmpty());
    EXPECT_FALSE(fs::exists(former));
    // What has come by that name since is another's.
    fs::create_directory(former);
    EXPECT_TRUE(folder.remove());
    EXPECT_TRUE(fs::exists(former));
}

TEST_F(JobFolderTest, AMoveTakesItOver) {
    JobFolder first = make();
    const std::string path = first.path();
    JobFolder second = std::move(first);
    EXPECT_THAT(first.path(), IsEmpty()); // NOLINT(bugprone-use-after-move): what the move leaves is told
    EXPECT_EQ(second.path(), path);
    EXPECT_TRUE(first.remove());
    EXPECT_TRUE(fs::exists(path));
}

TEST_F(JobFolderTest, AnAssignmentRemovesTheFormerOne) {
    JobFolder kept = make();
    JobFolder folder = make();
    const std::string former = folder.path();
    const std::string path = kept.path();
    folder = std::move(kept);
    EXPECT_FALSE(fs::exists(former));
    EXPECT_EQ(folder.path(), path);
    EXPECT_TRUE(fs::exists(path));
}

TEST_F(JobFolderTest, KeepsItsPathUntilAllOfItHasGone) {
    if (!runsAsRoot() || !allowsMounts()) {
        GTEST_SKIP() << "this environment allows no mounts";
    }
    inChild([this] {
        ASSERT_TRUE(makeMountsPrivate());
        JobFolder folder = make();
        const std::string path = folder.path();
        const std::string mount = folder.entry("mount");
        fs::create_directory(mount);
        ASSERT_EQ(::mount("none", mount.c_str(), "tmpfs", 0, nullptr), 0);
        const CapturedLog log;
        EXPECT_FALSE(folder.remove());
        EXPECT_FALSE(log.lines().empty());
        EXPECT_EQ(folder.path(), path);
        ASSERT_EQ(::umount(mount.c_str()), 0);
        EXPECT_TRUE(folder.remove());
        EXPECT_FALSE(fs::exists(path));
    });
}

TEST_F(JobFolderTest, AParentThatHasGoneIsLogged) {
    makeFolder("parent");
    std::optional<JobFolder> folder = JobFolder::make(path("parent"));
    ASSERT_TRUE(folder);
    fs::rename(path("parent"), path("elsewhere"));
    const CapturedLog log;
    EXPECT_FALSE(folder->remove());
    EXPECT_TRUE(log.containsCode('E', "remove", "open", ENOENT)) << log.dump();
}

} // namespace
