#include "Common/Utility/files/RegularFile.h"

#include "tests/support/LeaseHolder.h"
#include "tests/support/Sandbox.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

class RegularFile : public Sandbox {
protected:
    static int open(const char* path, int flags = O_RDONLY) {
        FileDescriptor file;
        const int error = openRegularFile(path, flags, file);
        EXPECT_EQ(static_cast<bool>(file), error == 0);
        return error;
    }

    static mode_t modeOf(const char* path) {
        struct stat status {};
        EXPECT_EQ(::stat(path, &status), 0);
        return status.st_mode & 07777;
    }
};

TEST_F(RegularFile, RefusesEveryOtherKind) {
    makeFolder("folder");
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    EXPECT_EQ(open("folder"), EISDIR);
    EXPECT_EQ(open("pipe"), EINVAL);
    EXPECT_EQ(open("pipe", O_WRONLY | O_CREAT), EINVAL);
    EXPECT_EQ(open("/dev/null"), EINVAL);
    EXPECT_EQ(open("none"), ENOENT);
}

TEST_F(RegularFile, IsWaitedForWhileSomebodyHoldsALeaseOnIt) {
    writeFile("a", "content");
    ASSERT_EQ(::symlink("a", "link"), 0);
    for (const auto& [name, flags] : {std::pair{"a", O_RDONLY | O_NOFOLLOW}, std::pair{"link", O_RDONLY},
                                      std::pair{"a", O_WRONLY | O_CREAT | O_NOFOLLOW}}) {
        const LeaseHolder holder(path("a"));
        if (!holder.isHeld()) {
            GTEST_SKIP() << "this file system knows no leases";
        }
        FileDescriptor file;
        EXPECT_EQ(openRegularFile(name, flags, file), 0) << name;
        EXPECT_EQ(::fcntl(file.get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
        EXPECT_EQ(::fcntl(file.get(), F_GETFL) & O_ACCMODE, flags & O_ACCMODE);
    }
    EXPECT_EQ(readFile("a"), "content");
}

TEST_F(RegularFile, IsOpenForThisProcessOnly) {
    FileDescriptor file;
    ASSERT_EQ(openRegularFile(writeFile("a", "x").c_str(), O_RDONLY, file), 0);
    EXPECT_EQ(::fcntl(file.get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(RegularFile, IsReachedThroughALinkUnlessThatIsForbidden) {
    writeFile("a", "x");
    ASSERT_EQ(::symlink("a", "link"), 0);
    EXPECT_EQ(open("link"), 0);
    EXPECT_EQ(open("link", O_RDONLY | O_NOFOLLOW), ELOOP);
}

TEST_F(RegularFile, IsMadeForItsOwnerAlone) {
    const mode_t former = ::umask(0);
    EXPECT_EQ(open("new", O_WRONLY | O_CREAT), 0);
    static_cast<void>(::umask(former));
    EXPECT_EQ(modeOf("new"), 0600u);
}

TEST_F(RegularFile, IsNotMadeAtTheEndOfALinkThatIsNotFollowed) {
    ASSERT_EQ(::symlink("target", "link"), 0);
    EXPECT_EQ(open("link", O_WRONLY | O_CREAT | O_NOFOLLOW), ELOOP);
    EXPECT_NE(::access("target", F_OK), 0);
}

TEST_F(RegularFile, KeepsItsContentUnlessItIsToBeEmptied) {
    writeFile("a", "x");
    EXPECT_EQ(open("a", O_WRONLY | O_CREAT), 0);
    EXPECT_EQ(readFile("a"), "x");
    EXPECT_EQ(open("a", O_WRONLY | O_TRUNC), 0);
    EXPECT_EQ(readFile("a"), "");
}

TEST_F(RegularFile, TellsTheErrorOfTheSystem) {
    EXPECT_EQ(open("none/below"), ENOENT);
    writeFile("a", "x");
    EXPECT_EQ(open("a/below"), ENOTDIR);
}

} // namespace
