#include "Common/Utility/files/FolderAccess.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/Processes.h"
#include "tests/support/Sandbox.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::IsEmpty;
using ::testing::Optional;
using ::testing::UnorderedElementsAre;

class FolderAccess : public Sandbox {
protected:
    [[nodiscard]] FileDescriptor open(const std::string& relative) const {
        return FileDescriptor(::open(path(relative).c_str(), kFolderPlaceFlags));
    }
};

TEST_F(FolderAccess, NamesAllEntries) {
    writeFile("folder/file", "");
    writeFile("folder/.hidden", "");
    writeFile("folder/inner/file", "");
    std::filesystem::create_symlink("nowhere", path("folder/link"));
    EXPECT_THAT(entryNames(open("folder").get(), 4),
                Optional(UnorderedElementsAre("file", ".hidden", "inner", "link")));
}

TEST_F(FolderAccess, AFolderOfNothingHasNoNames) {
    makeFolder("folder");
    EXPECT_THAT(entryNames(open("folder").get(), 0), Optional(IsEmpty()));
}

TEST_F(FolderAccess, MoreEntriesThanTheLimitAreAFailure) {
    writeFile("folder/a", "");
    writeFile("folder/b", "");
    const CapturedLog log;
    EXPECT_EQ(entryNames(open("folder").get(), 1), std::nullopt);
    EXPECT_TRUE(log.contains('E', "too many entries")) << log.dump();
}

TEST_F(FolderAccess, WhatIsNoFolderHasNoNames) {
    const FileDescriptor file(::open(writeFile("file", "").c_str(), O_RDONLY | O_CLOEXEC));
    const std::size_t before = openDescriptors();
    const CapturedLog log;
    EXPECT_EQ(entryNames(-1, 1), std::nullopt);
    EXPECT_EQ(entryNames(file.get(), 1), std::nullopt);
    EXPECT_TRUE(log.containsCode('E', "logFailure", "openat", EBADF)) << log.dump();
    EXPECT_TRUE(log.containsCode('E', "logFailure", "openat", ENOTDIR)) << log.dump();
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(FolderAccess, TellsFoldersApart) {
    makeFolder("a");
    makeFolder("b");
    const auto a = identify(open("a").get());
    ASSERT_TRUE(a);
    EXPECT_EQ(identify(open("a").get()), a);
    EXPECT_NE(identify(open("b").get()), a);
    EXPECT_TRUE(identify(open("b").get())->isBeside(*a));
    const FileDescriptor elsewhere(::open("/proc", kFolderPlaceFlags));
    EXPECT_FALSE(identify(elsewhere.get())->isBeside(*a));
}

} // namespace
