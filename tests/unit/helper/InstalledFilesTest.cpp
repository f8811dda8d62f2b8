#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/InstalledFiles.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/Processes.h"
#include "tests/support/Sandbox.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <linux/posix_acl.h>
#include <linux/posix_acl_xattr.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr uid_t kSomebodyElse = 65534;
/// All that is looked at: folders and files at each depth.
constexpr std::array kParts{
    "xml",      "xml/config", "xml/config/inner", "xml/config/inner/file", "xml/config/file",
    "xml/file", "plugin",     "plugin/inner",     "plugin/inner/file",     "plugin/file"};

class InstalledFiles : public Sandbox {
protected:
    void SetUp() override {
        if (!runsAsRoot()) {
            GTEST_SKIP() << "files of several owners need root's rights";
        }
        for (const std::string part : kParts) {
            if (part.ends_with("file")) {
                ASSERT_EQ(::chmod(writeFile(part, "x").c_str(), 0644), 0);
            }
        }
    }

    void expectTaken() const {
        const CapturedLog log;
        EXPECT_TRUE(belongsToRootAlone(path())) << log.dump();
        EXPECT_TRUE(log.lines().empty()) << log.dump();
    }
    void expectRefused(const std::string& part, const std::string& reason) const {
        const std::size_t before = openDescriptors();
        const CapturedLog log;
        EXPECT_FALSE(belongsToRootAlone(path())) << part;
        EXPECT_EQ(log.lines().size(), 1U) << log.dump();
        EXPECT_TRUE(log.contains('E', path(part))) << log.dump();
        EXPECT_TRUE(log.contains('E', reason)) << log.dump();
        EXPECT_EQ(openDescriptors(), before);
    }
    /// Puts a link in place of what lies there, to which it leads.
    void replaceByLink(const std::string& part) const {
        fs::rename(path(part), path("moved"));
        fs::create_symlink(path("moved"), path(part));
    }
    void putBack(const std::string& part) const {
        fs::remove(path(part));
        fs::rename(path("moved"), path(part));
    }
};

TEST_F(InstalledFiles, ThoseOfRootAreTaken) {
    expectTaken();
}

TEST_F(InstalledFiles, RightsToReadAndRunAreFine) {
    ASSERT_EQ(::chmod(path("plugin/file").c_str(), 0755), 0);
    ASSERT_EQ(::chmod(path("xml/config/file").c_str(), 0400), 0);
    ASSERT_EQ(::chown(path("xml/config/file").c_str(), 0, kSomebodyElse), 0);
    expectTaken();
}

TEST_F(InstalledFiles, AnotherOwnerAnywhereIsRefused) {
    for (const char* part : kParts) {
        ASSERT_EQ(::chown(path(part).c_str(), kSomebodyElse, 0), 0);
        expectRefused(part, "doesn't belong to root");
        ASSERT_EQ(::chown(path(part).c_str(), 0, 0), 0);
    }
    expectTaken();
}

TEST_F(InstalledFiles, AnyRightOfOthersToWriteIsRefused) {
    for (const char* part : kParts) {
        struct stat status {};
        ASSERT_EQ(::stat(path(part).c_str(), &status), 0);
        for (const mode_t right : {mode_t{S_IWGRP}, mode_t{S_IWOTH}}) {
            ASSERT_EQ(::chmod(path(part).c_str(), status.st_mode | right), 0);
            expectRefused(part, "can be written to by others");
        }
        ASSERT_EQ(::chmod(path(part).c_str(), status.st_mode), 0);
    }
    expectTaken();
}

TEST_F(InstalledFiles, ARightToWriteInAnAccessControlListIsRefused) {
    struct {
        posix_acl_xattr_header header{POSIX_ACL_XATTR_VERSION};
        std::array<posix_acl_xattr_entry, 5> entries{{{ACL_USER_OBJ, 6, 0xFFFFFFFF},
                                                      {ACL_USER, 6, kSomebodyElse},
                                                      {ACL_GROUP_OBJ, 4, 0xFFFFFFFF},
                                                      {ACL_MASK, 6, 0xFFFFFFFF},
                                                      {ACL_OTHER, 4, 0xFFFFFFFF}}};
    } const list;
    const std::string part = "xml/config/file";
    if (::setxattr(path(part).c_str(), "system.posix_acl_access", &list, sizeof list, 0) != 0) {
        GTEST_SKIP() << "the file system knows no access control lists";
    }
    expectRefused(part, "can be written to by others");
}

TEST_F(InstalledFiles, ALinkAnywhereIsRefused) {
    for (const char* part : kParts) {
        replaceByLink(part);
        expectRefused(part, "is a link");
        putBack(part);
    }
    expectTaken();
}

TEST_F(InstalledFiles, ALinkToNothingIsRefused) {
    for (const char* part : {"xml/config/link", "plugin/link"}) {
        fs::create_symlink("nowhere", path(part));
        expectRefused(part, "is a link");
        fs::remove(path(part));
    }
    fs::remove_all(path("plugin"));
    fs::create_symlink("nowhere", path("plugin"));
    expectRefused("plugin", "is a link");
}

TEST_F(InstalledFiles, WhatIsNeitherFileNorFolderIsRefusedWithoutWaiting) {
    ASSERT_EQ(::mkfifo(path("xml/config/pipe").c_str(), 0644), 0);
    expectRefused("xml/config/pipe", "is neither a file nor a folder");
    fs::remove(path("xml/config/pipe"));
    ASSERT_EQ(::mknod(path("plugin/socket").c_str(), S_IFSOCK | 0644, 0), 0);
    expectRefused("plugin/socket", "is neither a file nor a folder");
    fs::remove(path("plugin/socket"));
    if (::mknod(path("plugin/device").c_str(), S_IFCHR | 0644, makedev(1, 5)) != 0) {
        GTEST_SKIP() << "this environment makes no devices; a pipe and a socket were tried";
    }
    expectRefused("plugin/device", "is neither a file nor a folder");
}

TEST_F(InstalledFiles, PluginsMayBeMissing) {
    fs::remove_all(path("plugin"));
    expectTaken();
}

TEST_F(InstalledFiles, ConfigurationsMayNotBeMissing) {
    fs::remove_all(path("xml/config"));
    expectRefused("xml/config", "openat");
    writeFile("xml/config", "x");
    expectRefused("xml/config", "openat");
    fs::remove_all(path("xml"));
    expectRefused("xml", "openat");
}

TEST_F(InstalledFiles, TheInstallationMayNotBeMissing) {
    const CapturedLog log;
    EXPECT_FALSE(belongsToRootAlone(path("missing")));
    EXPECT_FALSE(belongsToRootAlone(path("xml/file")));
    EXPECT_TRUE(log.containsCode('E', "fail", "open", ENOENT)) << log.dump();
    EXPECT_TRUE(log.containsCode('E', "fail", "open", ENOTDIR)) << log.dump();
}

TEST_F(InstalledFiles, WhatLiesBesideThemPlaysNoPart) {
    ASSERT_EQ(::chown(writeFile("other/file", "x").c_str(), kSomebodyElse, 0), 0);
    ASSERT_EQ(::chmod(path().c_str(), 0755), 0);
    fs::create_symlink("nowhere", path("link"));
    expectTaken();
}

TEST_F(InstalledFiles, FoldersWithoutEndAreRefused) {
    std::string folder = "plugin";
    for (int i = 0; i < 100; ++i) {
        folder += "/d";
    }
    makeFolder(folder);
    expectRefused("plugin/d/d", "lies too deep");
}

} // namespace
