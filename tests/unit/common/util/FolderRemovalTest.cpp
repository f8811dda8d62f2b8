#include "Common/Utility/files/FolderRemoval.h"

#include "Common/Utility/memory/Handles.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/PrivateMounts.h"
#include "tests/support/Processes.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TracedChild.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <linux/fs.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

class FolderRemoval : public Sandbox {
protected:
    [[nodiscard]] bool remove(const char* name = "gone", std::size_t entryLimit = kRemovalEntryLimit) const {
        // Opened here, as a descriptor keeps seeing the mounts of the process that has opened it.
        const FileDescriptor parent(::open(path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        return removeFolder(parent.get(), name, entryLimit);
    }

    /// Whether there is anything of that name, a link to nothing among it.
    [[nodiscard]] bool stands(const std::string& relative) const {
        return fs::exists(fs::symlink_status(path(relative)));
    }

    static void touch(const std::string& file) {
        ASSERT_TRUE(FileDescriptor(::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600))) << file;
    }

    void makeVictim() const {
        writeFile("victim/file", "whole");
        writeFile("victim/inner/file", "whole");
    }

    void expectVictimWhole() const {
        EXPECT_EQ(readFile("victim/file"), "whole");
        EXPECT_EQ(readFile("victim/inner/file"), "whole");
    }

    /// Folders "d" within each other, the outermost of them in "gone".
    void makeDeepFolders(int levels) const {
        FileDescriptor folder(::open(makeFolder("gone").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        for (int i = 0; i < levels; ++i) {
            ASSERT_EQ(::mkdirat(folder.get(), "d", 0755), 0);
            folder.reset(::openat(folder.get(), "d", O_PATH | O_DIRECTORY | O_CLOEXEC));
            ASSERT_TRUE(folder);
        }
    }
};

TEST_F(FolderRemoval, OpensFoldersThatKeepTheirOwnerOut) {
    asOrdinaryUser([this] {
        // Else the folder of descriptors would be root's after the change of the user.
        ASSERT_EQ(::prctl(PR_SET_DUMPABLE, 1), 0);
        ASSERT_EQ(::mkdir("gone", 0700), 0);
        ASSERT_EQ(::mkdir("gone/closed", 0700), 0);
        ASSERT_EQ(::mkdir("gone/closed/inner", 0), 0);
        touch("gone/closed/file");
        ASSERT_EQ(::chmod("gone/closed", 0500), 0);
        ASSERT_EQ(::chmod("gone", 0100), 0);
        EXPECT_TRUE(remove());
        EXPECT_FALSE(stands("gone"));
    });
}

TEST_F(FolderRemoval, RemovesAFolderWithAllThatIsInIt) {
    writeFile("gone/a/b/file", "x");
    writeFile("gone/a/file", "x");
    makeFolder("gone/empty/folder");
    ASSERT_EQ(::mkfifo(path("gone/pipe").c_str(), 0600), 0);
    writeFile("stays/file", "x");
    EXPECT_TRUE(remove());
    EXPECT_FALSE(stands("gone"));
    EXPECT_TRUE(stands("stays/file"));
}

TEST_F(FolderRemoval, IsContentWithWhatIsNotThere) {
    const CapturedLog log;
    EXPECT_TRUE(remove());
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_F(FolderRemoval, RemovesWhatIsNoFolderItself) {
    makeVictim();
    writeFile("gone", "x");
    EXPECT_TRUE(remove());
    fs::create_symlink(path("victim"), path("gone"));
    EXPECT_TRUE(remove());
    EXPECT_FALSE(stands("gone"));
    expectVictimWhole();
}

TEST_F(FolderRemoval, RefusesWhatIsNoSingleName) {
    makeVictim();
    const CapturedLog log;
    for (const char* name : {"", ".", "..", "victim/inner", "/", "victim/"}) {
        EXPECT_FALSE(remove(name)) << name;
    }
    EXPECT_EQ(log.count('E', "removeFolder"), 6) << log.dump();
    expectVictimWhole();
}

TEST_F(FolderRemoval, FailsWithoutAParent) {
    const CapturedLog log;
    EXPECT_FALSE(removeFolder(-1, "gone"));
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
}

TEST_F(FolderRemoval, FollowsNoLinkAtAnyLevel) {
    makeVictim();
    std::string folder = "gone";
    for (int i = 0; i < 40; ++i) {
        folder += "/d";
        makeFolder(folder);
        fs::create_symlink(path("victim"), path(folder + "/absolute"));
        fs::create_symlink("../", path(folder + "/up"));
        fs::create_symlink(path("victim/file"), path(folder + "/file"));
        fs::create_symlink("nowhere", path(folder + "/dangling"));
    }
    EXPECT_TRUE(remove());
    EXPECT_FALSE(stands("gone"));
    expectVictimWhole();
}

TEST_F(FolderRemoval, LeavesTheOtherNameOfAFileAlone) {
    makeVictim();
    makeFolder("gone");
    fs::create_hard_link(path("victim/file"), path("gone/file"));
    EXPECT_TRUE(remove());
    expectVictimWhole();
}

TEST_F(FolderRemoval, TakesAnyName) {
    for (const char* name : {"new\nline", "%s%n", "\xFF\xFE", "-rf", " ", "...", "*", "..\n"}) {
        writeFile(std::string("gone/") + name + "/" + name, "x");
    }
    EXPECT_TRUE(remove());
    EXPECT_FALSE(stands("gone"));
}

TEST_F(FolderRemoval, RemovesManyEntries) {
    makeFolder("gone");
    for (int i = 0; i < 10'000; ++i) {
        const std::string name = path("gone/" + std::to_string(i));
        if (i % 2 == 0) {
            touch(name);
        } else {
            ASSERT_EQ(::mkdir(name.c_str(), 0755), 0);
        }
    }
    EXPECT_TRUE(remove());
    EXPECT_FALSE(stands("gone"));
}

TEST_F(FolderRemoval, RemovesDeepFoldersWithFewDescriptors) {
    makeDeepFolders(10'000);
    inChild([this] {
        const rlim_t few = openDescriptors() + 24;
        const rlimit limit{few, few};
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
        EXPECT_TRUE(remove());
    });
    EXPECT_FALSE(stands("gone"));
}

TEST_F(FolderRemoval, RemovesWhatStandsBesideDeepFolders) {
    std::string folder = "gone";
    for (int i = 0; i < 60; ++i) {
        folder += "/d";
        for (const char* beside : {"/a/b", "/e/f", "/z"}) {
            makeFolder(folder + beside);
        }
    }
    EXPECT_TRUE(remove());
    EXPECT_FALSE(stands("gone"));
}

TEST_F(FolderRemoval, EndsAtTheEntryLimit) {
    for (int i = 0; i < 20; ++i) {
        writeFile("gone/" + std::to_string(i / 5) + "/" + std::to_string(i), "x");
    }
    const CapturedLog log;
    EXPECT_FALSE(remove("gone", 20));
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
    EXPECT_TRUE(log.contains('E', "too many entries"));
    EXPECT_TRUE(remove());
    EXPECT_FALSE(stands("gone"));
}

TEST_F(FolderRemoval, EndsWhileEntriesAreMade) {
    makeFolder("gone");
    std::atomic<bool> over = false;
    std::thread maker([&over, this] {
        for (int i = 0; !over; ++i) {
            static_cast<void>(::mkdir(path("gone").c_str(), 0755));
            static_cast<void>(::mkdir(path("gone/" + std::to_string(i)).c_str(), 0755));
        }
    });
    for (int round = 0; round < 50; ++round) {
        static_cast<void>(remove("gone", 1000)); // either answer is true of some moment
    }
    over = true;
    maker.join();
    EXPECT_TRUE(remove());
    EXPECT_FALSE(stands("gone"));
}

TEST_F(FolderRemoval, OpensNoLinkThatHasComeInPlaceOfAFolder) {
    makeVictim();
    makeFolder("gone/swapped/inner");
    makeFolder("gone/other");
    fs::create_symlink(path("victim"), path("link"));
    beforeOpening(
        "swapped",
        [this] {
            const CapturedLog log;
            EXPECT_FALSE(remove());
            EXPECT_TRUE(log.containsCode('E', "logFailure", "openat", ENOTDIR)) << log.dump();
            EXPECT_EQ(log.lines().size(), 1U) << log.dump();
        },
        [this] {
            EXPECT_EQ(::renameat2(AT_FDCWD, path("gone/swapped").c_str(), AT_FDCWD, path("link").c_str(),
                                  RENAME_EXCHANGE),
                      0);
        });
    expectVictimWhole();
    EXPECT_TRUE(stands("link/inner"));
    EXPECT_FALSE(stands("gone/other"));
}

TEST_F(FolderRemoval, IsContentWithAFolderThatIsGoneWhenItIsOpened) {
    makeFolder("gone/removed");
    makeFolder("gone/other");
    beforeOpening(
        "removed", [this] { EXPECT_TRUE(remove()); }, [this] { fs::remove(path("gone/removed")); });
    EXPECT_FALSE(stands("gone"));
}

TEST_F(FolderRemoval, NeverFollowsALinkThatComesInPlaceOfAFolder) {
    constexpr int kRounds = 200;
    makeVictim();
    makeFolder("gone");
    std::atomic<bool> over = false;
    std::atomic<int> swaps = 0;
    std::thread swapper([&over, &swaps, this] {
        const FileDescriptor sandbox(::open(path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        while (!over) {
            if (::renameat2(sandbox.get(), "gone/a", sandbox.get(), "link", RENAME_EXCHANGE) == 0) {
                ++swaps;
            }
        }
    });
    for (int round = 0; round < kRounds; ++round) {
        std::error_code ignored; // a swap may come in between here, too
        fs::remove_all(path("link"), ignored);
        fs::create_symlink(path("victim"), path("link"), ignored);
        fs::create_directories(path("gone/a/inner"), ignored);
        static_cast<void>(remove()); // a swap between two looks may leave something
    }
    over = true;
    swapper.join();
    EXPECT_GT(swaps, 0);
    expectVictimWhole();
}

TEST_F(FolderRemoval, NeverGoesToWhereAFolderWasMoved) {
    // So deep that the way back out has to be looked up again. The siblings of the folder that is moved have
    // namesakes where it goes to.
    constexpr int kLevels = 40;
    makeDeepFolders(kLevels);
    std::string moved = path("gone");
    std::string bottom = path("gone");
    for (int i = 0; i < kLevels; ++i) {
        bottom += "/d";
        moved += i < kLevels / 4 ? "/d" : "";
    }
    fs::create_directory(bottom + "/innermost");
    const std::string besideMoved = fs::path(moved).parent_path();
    for (int i = 0; i < 8; ++i) {
        const std::string name = "/s" + std::to_string(i);
        fs::create_directory(besideMoved + name);
        writeFile("victim" + name + "/file", "whole");
    }
    makeVictim();
    beforeOpening(
        "innermost",
        [this] {
            const CapturedLog log;
            EXPECT_FALSE(remove());
            EXPECT_TRUE(log.contains('E', "moved")) << log.dump();
            EXPECT_EQ(log.lines().size(), 1U) << log.dump();
        },
        [&] { EXPECT_EQ(std::rename(moved.c_str(), path("victim/d").c_str()), 0); });
    expectVictimWhole();
    EXPECT_TRUE(stands("victim/d"));
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(readFile("victim/s" + std::to_string(i) + "/file"), "whole");
    }
}

TEST_F(FolderRemoval, LeavesAMountAlone) {
    if (!runsAsRoot() || !allowsMounts()) {
        GTEST_SKIP() << "this environment allows no mounts";
    }
    makeVictim();
    for (const char* kind : {"bind", "tmpfs"}) {
        writeFile("gone/file", "x");
        writeFile("gone/other/file", "x");
        makeFolder("gone/inner/mount");
        inChild([this, kind] {
            ASSERT_TRUE(makeMountsPrivate());
            const std::string mount = path("gone/inner/mount");
            const bool bind = std::string(kind) == "bind";
            ASSERT_EQ(bind ? ::mount(path("victim").c_str(), mount.c_str(), nullptr, MS_BIND, nullptr)
                           : ::mount("none", mount.c_str(), "tmpfs", 0, nullptr),
                      0);
            writeFile("gone/inner/mount/own", "x");
            const CapturedLog log;
            EXPECT_FALSE(remove());
            EXPECT_EQ(log.lines().size(), 1U) << log.dump();
            EXPECT_TRUE(log.containsCode('E', "logFailure", "openat", EXDEV)) << log.dump();
            EXPECT_EQ(readFile("gone/inner/mount/own"), "x");
            EXPECT_FALSE(stands("gone/file"));
            EXPECT_FALSE(stands("gone/other"));
        });
        EXPECT_TRUE(remove());
    }
    expectVictimWhole();
}

TEST_F(FolderRemoval, LeavesABusyFileAndRemovesTheRest) {
    if (!runsAsRoot() || !allowsMounts()) {
        GTEST_SKIP() << "this environment allows no mounts";
    }
    makeVictim();
    writeFile("gone/a/busy", "x");
    writeFile("gone/a/file", "x");
    writeFile("gone/b/file", "x");
    inChild([this] {
        ASSERT_TRUE(makeMountsPrivate());
        ASSERT_EQ(
            ::mount(path("victim/file").c_str(), path("gone/a/busy").c_str(), nullptr, MS_BIND, nullptr), 0);
        const CapturedLog log;
        EXPECT_FALSE(remove());
        EXPECT_EQ(log.lines().size(), 1U) << log.dump();
        EXPECT_TRUE(log.containsCode('E', "logFailure", "unlinkat", EBUSY)) << log.dump();
    });
    EXPECT_TRUE(stands("gone/a/busy"));
    EXPECT_FALSE(stands("gone/a/file"));
    EXPECT_FALSE(stands("gone/b"));
    expectVictimWhole();
}

TEST_F(FolderRemoval, LeavesAnImmutableEntryAndRemovesTheRest) {
    const std::string fixed = writeFile("gone/a/fixed", "x");
    writeFile("gone/b/file", "x");
    const FileDescriptor file(::open(fixed.c_str(), O_RDONLY | O_CLOEXEC));
    int attributes = 0;
    if (::ioctl(file.get(), FS_IOC_GETFLAGS, &attributes) != 0) {
        GTEST_SKIP() << "the file system knows no immutable files";
    }
    const int former = attributes;
    attributes |= FS_IMMUTABLE_FL;
    if (::ioctl(file.get(), FS_IOC_SETFLAGS, &attributes) != 0) {
        GTEST_SKIP() << "immutable files are not to be had here";
    }
    {
        const CapturedLog log;
        EXPECT_FALSE(remove());
        EXPECT_EQ(log.lines().size(), 1U) << log.dump();
        EXPECT_TRUE(log.containsCode('E', "logFailure", "unlinkat", EPERM)) << log.dump();
    }
    ASSERT_EQ(::ioctl(file.get(), FS_IOC_SETFLAGS, &former), 0);
    EXPECT_TRUE(stands("gone/a/fixed"));
    EXPECT_FALSE(stands("gone/b"));
}

TEST_F(FolderRemoval, GoesOnAfterAFolderThatCannotBeRead) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root can make a folder of somebody else's";
    }
    // Its owner is root, so that it can't be opened up.
    writeFile("gone/closed/file", "x");
    ASSERT_EQ(::chmod(path("gone/closed").c_str(), 0700), 0);
    writeFile("gone/b/file", "x");
    ASSERT_EQ(::chmod(path("gone/b").c_str(), 0777), 0);
    ASSERT_EQ(::chmod(path("gone").c_str(), 0777), 0);
    asOrdinaryUser([this] {
        const CapturedLog log;
        EXPECT_FALSE(remove());
        EXPECT_EQ(log.lines().size(), 1U) << log.dump();
        EXPECT_TRUE(log.containsCode('E', "logFailure", "openat", EACCES)) << log.dump();
        EXPECT_FALSE(stands("gone/b"));
    });
    EXPECT_TRUE(stands("gone/closed/file"));
}

TEST_F(FolderRemoval, LeavesNoDescriptor) {
    const std::size_t before = openDescriptors();
    for (int i = 0; i < 200; ++i) {
        makeDeepFolders(3);
        ASSERT_TRUE(remove());
    }
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace
