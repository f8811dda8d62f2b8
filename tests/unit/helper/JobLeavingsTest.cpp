#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobLeavings.h"

#include "Common/Utility/files/FolderAccess.h"
#include "Common/Utility/files/FolderRemoval.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/PrivateMounts.h"
#include "tests/support/Processes.h"
#include "tests/support/Sandbox.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/support/TracedChild.h"
#include "tests/unit/helper/StuckFileSystem.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr uid_t kSomebodyElse = 65534;
constexpr const char* kWorkingFolder = "/tmp/MERO_Temp_Bundle";

/// Makes a file with its parent folder, which is for this user alone.
void writeWhole(const std::string& file) {
    const fs::path folder = fs::path(file).parent_path();
    fs::create_directories(folder);
    fs::permissions(folder, fs::perms::owner_all);
    std::ofstream(file) << "whole";
}

bool stands(const std::string& path) {
    return fs::exists(fs::symlink_status(path));
}

/// A folder of that name in /tmp, with something in it.
std::string makeWorkingFolder(const std::string& suffix = "") {
    std::string folder = kWorkingFolder + suffix;
    writeWhole(folder + "/inner/file");
    writeWhole(folder + "/file");
    return folder;
}

/// Each test has a /tmp of its own.
class WorkingFolders : public ::testing::Test {
protected:
    void SetUp() override {
        if (!runsAsRoot() || !allowsMounts()) {
            GTEST_SKIP() << "this environment allows no mounts";
        }
        // For this process alone: each test has one of its own.
        ASSERT_TRUE(makeMountsPrivate());
        ASSERT_EQ(::mount("none", "/tmp", "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777"), 0);
        m_mounted = true;
    }
    void TearDown() override {
        if (m_mounted) {
            EXPECT_EQ(::umount2("/tmp", MNT_DETACH), 0);
        }
    }

    /// That a removal goes well and leaves an entry alone.
    static void expectLeftAlone(const std::string& path) {
        const CapturedLog log;
        EXPECT_TRUE(removeWorkingFolders());
        EXPECT_TRUE(stands(path)) << path;
        EXPECT_TRUE(log.lines().empty()) << log.dump();
    }

private:
    bool m_mounted = false;
};

class EmptyFolder : public Sandbox {
protected:
    [[nodiscard]] bool empty() const {
        const FileDescriptor folder(::open(path("folder").c_str(), kFolderPlaceFlags));
        return emptyFolder(folder.get());
    }
};

TEST_F(WorkingFolders, GoWhateverElseLiesThere) {
    ASSERT_EQ(::mount("none", "/tmp", "tmpfs", MS_REMOUNT | MS_NOSUID | MS_NODEV, "mode=1777,nr_inodes=0"),
              0);
    const std::string first = makeWorkingFolder("_first");
    std::ofstream("/tmp/0") << "x";
    // More than a folder of a job's may hold.
    for (std::size_t number = 1; number <= kRemovalEntryLimit; ++number) {
        ASSERT_EQ(::link("/tmp/0", ("/tmp/" + std::to_string(number)).c_str()), 0) << "errno " << errno;
    }
    for (const std::string suffix : {"1", "2", "3"}) {
        ASSERT_EQ(::link("/tmp/0", (kWorkingFolder + suffix).c_str()), 0);
    }
    const std::string last = makeWorkingFolder("_last");
    const CapturedLog log;
    EXPECT_TRUE(removeWorkingFolders());
    EXPECT_FALSE(stands(first));
    EXPECT_FALSE(stands(last));
    EXPECT_TRUE(stands("/tmp/MERO_Temp_Bundle1"));
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_F(WorkingFolders, GoWithAllThatIsInThem) {
    makeWorkingFolder();
    makeWorkingFolder("__1114_1753_48213");
    const CapturedLog log;
    EXPECT_TRUE(removeWorkingFolders());
    EXPECT_TRUE(fs::is_empty("/tmp"));
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_F(WorkingFolders, NoneAreNoFailure) {
    EXPECT_TRUE(removeWorkingFolders());
}

TEST_F(WorkingFolders, OtherNamesAreLeftAlone) {
    for (const char* name : {"MERO_Temp_Bundl", "mero_temp_bundle", "xMERO_Temp_Bundle", "other"}) {
        writeWhole(std::string("/tmp/") + name + "/file");
        expectLeftAlone(std::string("/tmp/") + name + "/file");
    }
}

TEST_F(WorkingFolders, OneThatARunHoldsIsLeftAlone) {
    const std::string folder = makeWorkingFolder();
    const std::string ended = makeWorkingFolder("_ended");
    FileDescriptor run(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(run.get(), LOCK_EX | LOCK_NB), 0);
    expectLeftAlone(folder + "/inner/file");
    EXPECT_FALSE(stands(ended));
    run.reset();
    EXPECT_TRUE(removeWorkingFolders());
    EXPECT_FALSE(stands(folder));
}

TEST_F(WorkingFolders, OneThatCantBeLockedIsAFailureAndStays) {
    const std::string folder = makeWorkingFolder();
    inChild([&] {
        replaceSystemCall(SYS_flock, ENOLCK);
        const CapturedLog log;
        EXPECT_FALSE(removeWorkingFolders());
        EXPECT_TRUE(log.containsCode('E', "fail", "flock", ENOLCK)) << log.dump();
    });
    EXPECT_TRUE(stands(folder + "/inner/file"));
    EXPECT_TRUE(removeWorkingFolders());
    EXPECT_FALSE(stands(folder));
}

TEST_F(WorkingFolders, SomebodyElsesIsLeftAlone) {
    const std::string folder = makeWorkingFolder("_planted");
    ASSERT_EQ(::chown(folder.c_str(), kSomebodyElse, 0), 0);
    expectLeftAlone(folder + "/inner/file");
}

TEST_F(WorkingFolders, OneThatIsOpenToOthersIsLeftAlone) {
    const std::string folder = makeWorkingFolder("_open");
    for (const mode_t mode : {0701U, 0710U, 0770U, 0755U, 01777U}) {
        ASSERT_EQ(::chmod(folder.c_str(), mode), 0);
        expectLeftAlone(folder + "/inner/file");
    }
}

TEST_F(WorkingFolders, LinksAndFilesOfTheirNameAreLeftAlone) {
    writeWhole("/tmp/victim/file");
    fs::create_symlink("/tmp/victim", std::string(kWorkingFolder));
    fs::create_symlink("/tmp/nowhere", std::string(kWorkingFolder) + "_dangling");
    writeWhole("/tmp/other/file");
    fs::rename("/tmp/other/file", std::string(kWorkingFolder) + "_file");
    ASSERT_EQ(::mkfifo((std::string(kWorkingFolder) + "_pipe").c_str(), 0600), 0);
    for (const char* path : {"", "/file", "_dangling", "_file", "_pipe"}) {
        expectLeftAlone(kWorkingFolder + std::string(path));
    }
}

TEST_F(WorkingFolders, LinksInThemAreNotFollowed) {
    writeWhole("/tmp/victim/file");
    fs::create_symlink("/tmp/victim", makeWorkingFolder() + "/link");
    EXPECT_TRUE(removeWorkingFolders());
    EXPECT_FALSE(stands(kWorkingFolder));
    EXPECT_TRUE(stands("/tmp/victim/file"));
}

TEST_F(WorkingFolders, WhatIsMountedUnderTheirNameIsLeftAlone) {
    fs::create_directory(kWorkingFolder);
    ASSERT_EQ(::mount("none", kWorkingFolder, "tmpfs", 0, "mode=700"), 0);
    writeWhole(kWorkingFolder + std::string("/file"));
    expectLeftAlone(kWorkingFolder + std::string("/file"));
}

TEST_F(WorkingFolders, NothingIsAskedOfAFileSystemThatAUserAnswersFor) {
    if (::access("/dev/fuse", R_OK | W_OK) != 0) {
        GTEST_SKIP() << "this environment allows no file systems that a program answers for";
    }
    fs::create_directory(kWorkingFolder);
    const StuckFileSystem stuck(kWorkingFolder);
    const std::string ended = makeWorkingFolder("_ended");
    EXPECT_TRUE(removeWorkingFolders());
    EXPECT_FALSE(stands(ended));
}

TEST_F(WorkingFolders, OneThatTakesTheNameMeanwhileIsLeftAlone) {
    const std::string folder = makeWorkingFolder();
    // The first folder that is opened to be read is /tmp.
    beforeOpening(
        ".", [] { EXPECT_TRUE(removeWorkingFolders()); },
        [&] {
            EXPECT_EQ(std::rename(folder.c_str(), "/tmp/former"), 0);
            makeWorkingFolder();
        },
        2);
    EXPECT_TRUE(stands(folder + "/inner/file"));
    EXPECT_TRUE(stands("/tmp/former/inner/file"));
}

TEST_F(WorkingFolders, OneThatIsGoneMeanwhileIsNoFailure) {
    const std::string folder = makeWorkingFolder();
    beforeOpening(
        "MERO_Temp_Bundle", [] { EXPECT_TRUE(removeWorkingFolders()); }, [&] { fs::remove_all(folder); });
}

TEST_F(WorkingFolders, OneThatStaysIsAFailureAndTheOthersGo) {
    // Entries come in the order of their making or against it, so that there is one behind it anyway.
    makeWorkingFolder("_a");
    const std::string folder = makeWorkingFolder("_b");
    makeWorkingFolder("_c");
    ASSERT_EQ(::mount("none", (folder + "/inner").c_str(), "tmpfs", 0, nullptr), 0);
    const CapturedLog log;
    EXPECT_FALSE(removeWorkingFolders());
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
    EXPECT_TRUE(stands(folder));
    EXPECT_FALSE(stands("/tmp/MERO_Temp_Bundle_a"));
    EXPECT_FALSE(stands("/tmp/MERO_Temp_Bundle_c"));
}

TEST_F(WorkingFolders, NoDescriptorIsLeft) {
    makeWorkingFolder();
    makeWorkingFolder("_other");
    const std::size_t before = openDescriptors();
    EXPECT_TRUE(removeWorkingFolders());
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(EmptyFolder, RemovesAllButTheFolder) {
    writeFile("folder/a/b/file", "");
    writeFile("folder/.hidden", "");
    makeFolder("folder/job-1");
    fs::create_symlink("nowhere", path("folder/dangling"));
    ASSERT_EQ(::mkfifo(path("folder/pipe").c_str(), 0600), 0);
    EXPECT_TRUE(empty());
    EXPECT_TRUE(fs::is_empty(path("folder")));
    EXPECT_TRUE(empty());
}

TEST_F(EmptyFolder, FollowsNoLink) {
    writeFile("victim/file", "whole");
    makeFolder("folder");
    fs::create_symlink(path("victim"), path("folder/link"));
    EXPECT_TRUE(empty());
    EXPECT_EQ(readFile("victim/file"), "whole");
    EXPECT_FALSE(stands(path("folder/link")));
}

TEST_F(EmptyFolder, GoesOnAfterWhatStays) {
    if (!runsAsRoot() || !allowsMounts()) {
        GTEST_SKIP() << "this environment allows no mounts";
    }
    for (const char* name : {"a", "b", "c", "d"}) {
        makeFolder(std::string("folder/") + name);
    }
    inChild([this] {
        ASSERT_TRUE(makeMountsPrivate());
        ASSERT_EQ(::mount("none", path("folder/b").c_str(), "tmpfs", 0, nullptr), 0);
        EXPECT_FALSE(empty());
        EXPECT_TRUE(stands(path("folder/b")));
        for (const char* name : {"a", "c", "d"}) {
            EXPECT_FALSE(stands(path(std::string("folder/") + name))) << name;
        }
    });
}

TEST_F(EmptyFolder, FailsWithoutAFolder) {
    const CapturedLog log;
    EXPECT_FALSE(emptyFolder(-1));
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
}

} // namespace
