#include "tools/MERO/MEROEngine/implementations/helperUtil/FileAccess.h"

#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/files/WholeWrite.h"
#include "Common/Utility/process/StopRequest.h"
#include "tests/support/InChild.h"
#include "tests/support/Pipe.h"
#include "tests/support/PrivateMounts.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/files/FileTest.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace helperUtil;

namespace {

constexpr size_t kMegabyte = size_t{1} << 20;
/// Of copy_file_range and read: the place of the size among the arguments.
constexpr size_t kKernelSize = 4;
constexpr size_t kReadSize = 2;
constexpr uint32_t kBlockBytes = 128 * 1024;

class CopyBytes : public FileTest {
protected:
    /// Opens "a" with this content, and "b", new and empty, with further flags.
    void open(const std::string& content, int flags = 0) {
        writeFile("a", content);
        ASSERT_EQ(openRegularFile("a", O_RDONLY, input), 0);
        ASSERT_EQ(openRegularFile("b", O_WRONLY | O_CREAT | O_TRUNC | flags, output), 0);
    }
    [[nodiscard]] CopyOutcome copy(uint64_t limit = UINT64_MAX) const {
        return copyBytes(input.get(), output.get(), limit);
    }
    void expectWhole(const CopyOutcome& outcome, const std::string& content) {
        EXPECT_EQ(outcome.failedCall, nullptr) << std::strerror(outcome.error);
        EXPECT_EQ(outcome.bytes, content.size());
        EXPECT_TRUE(readFile("b") == content);
    }
    /// Whether the kernel copies between files of this folder.
    [[nodiscard]] bool isCopiedByTheKernel() {
        open("probe");
        return ::copy_file_range(input.get(), nullptr, output.get(), nullptr, 1, 0) == 1;
    }
    FileDescriptor input;
    FileDescriptor output;
};

constexpr const char* kNoKernelCopy = "the kernel copies no files here, or not in this file system";

TEST_F(CopyBytes, IsDoneWithinTheKernelAMegabyteAtATime) {
    if (!isCopiedByTheKernel()) {
        GTEST_SKIP() << kNoKernelCopy;
    }
    const std::string content = bytes(4 * kMegabyte);
    open(content);
    inChild([&] {
        replaceSystemCall(SYS_read, EIO);
        replaceSystemCallWith(SYS_copy_file_range, EIO, kKernelSize,
                              ~static_cast<uint32_t>(2 * kMegabyte - 1));
        const CopyOutcome outcome = copy(3 * kMegabyte + 5);
        EXPECT_EQ(outcome.failedCall, nullptr);
        EXPECT_EQ(outcome.bytes, 3 * kMegabyte + 5);
    });
    EXPECT_TRUE(readFile("b") == content.substr(0, 3 * kMegabyte + 5));
}

TEST_F(CopyBytes, ReadsAndWritesWhatTheKernelDoesNotCopy) {
    const std::string content = bytes(300'001);
    // 0 is the kernel's word that there is no more.
    for (const int error : {0, EXDEV, EINVAL, EOPNOTSUPP, ENOSYS, EPERM, EBADF, EIO, EINTR, ENOSPC, EFBIG}) {
        open(content);
        inChild([&] {
            replaceSystemCall(SYS_copy_file_range, error);
            expectWhole(copy(), content);
        });
        open(content);
        inChild([&] {
            replaceSystemCall(SYS_copy_file_range, error);
            expectWhole(copy(200'000), content.substr(0, 200'000));
        });
    }
}

TEST_F(CopyBytes, GoesOnWhereTheKernelGaveUp) {
    const std::string content = bytes(2 * kMegabyte);
    open(content);
    inChild([&] {
        // The first megabyte is copied, the smaller rest isn't.
        replaceSystemCallWith(SYS_copy_file_range, EIO, kKernelSize, static_cast<uint32_t>(kMegabyte - 1));
        expectWhole(copy(kMegabyte + 70'000), content.substr(0, kMegabyte + 70'000));
    });
}

TEST_F(CopyBytes, ReadsBlocksOf128KiB) {
    const std::string content = bytes(kMegabyte + 1);
    open(content);
    inChild([&] {
        replaceSystemCall(SYS_copy_file_range, EXDEV);
        replaceSystemCallWith(SYS_read, EIO, kReadSize, ~kBlockBytes);
        EXPECT_EQ(copy().failedCall, nullptr);
    });
    EXPECT_TRUE(readFile("b") == content);
}

TEST_F(CopyBytes, BeginsWhereTheFilesStand) {
    const std::string content = bytes(5000);
    open(content);
    ASSERT_EQ(::lseek(input.get(), 1000, SEEK_SET), 1000);
    ASSERT_EQ(writeWhole(output.get(), "first", 5), 0);
    EXPECT_EQ(copy().bytes, 4000u);
    EXPECT_TRUE(readFile("b") == "first" + content.substr(1000));
}

TEST_F(CopyBytes, AddsToATargetThatIsOpenForAppending) {
    const std::string content = bytes(5000);
    open(content, O_APPEND);
    ASSERT_EQ(writeWhole(output.get(), "first", 5), 0);
    EXPECT_EQ(copy().failedCall, nullptr);
    EXPECT_TRUE(readFile("b") == "first" + content);
}

TEST_F(CopyBytes, TakesPipesAndDevicesOnEitherSide) {
    open("content");
    Pipe pipe;
    EXPECT_EQ(copyBytes(input.get(), pipe.writer.get()).bytes, 7u);
    pipe.writer.reset();
    EXPECT_EQ(copyBytes(pipe.reader.get(), output.get()).bytes, 7u);
    EXPECT_EQ(readFile("b"), "content");
    const FileDescriptor zeros(::open("/dev/zero", O_RDWR | O_CLOEXEC));
    EXPECT_EQ(copyBytes(zeros.get(), output.get(), 200'000).bytes, 200'000u);
    EXPECT_EQ(readFile("b").size(), 200'007u);
}

TEST_F(CopyBytes, ReadsAFileWithHolesAndWritesItWithoutThem) {
    open("");
    ASSERT_EQ(::truncate("a", 4 * kMegabyte), 0);
    inChild([&] {
        replaceSystemCall(SYS_read, EIO);
        const CopyOutcome outcome = copy();
        EXPECT_STREQ(outcome.failedCall, "read");
        EXPECT_EQ(outcome.error, EIO);
        EXPECT_EQ(outcome.bytes, 0u);
    });
    expectWhole(copy(), std::string(4 * kMegabyte, '\0'));
    struct stat status = {};
    ASSERT_EQ(::stat("b", &status), 0);
    EXPECT_GE(static_cast<size_t>(status.st_blocks) * 512, 4 * kMegabyte);
}

TEST_F(CopyBytes, EndsAtAStopRequestWithinAMegabyte) {
    open(bytes(3 * kMegabyte));
    inChild([&] {
        requestStop();
        const CopyOutcome outcome = copy();
        EXPECT_STREQ(outcome.failedCall, "copyBytes");
        EXPECT_EQ(outcome.error, ECANCELED);
        EXPECT_EQ(outcome.bytes, 0u);
    });
}

TEST_F(CopyBytes, NamesTheWriteOnAFullDiskThatHoldsBothFiles) {
    if (!runsAsRoot() || !allowsMounts()) {
        GTEST_SKIP() << "the small disk that is to be filled can't be mounted";
    }
    const std::string content = bytes(kMegabyte);
    inChild([&] {
        makeFolder("disk");
        ASSERT_TRUE(makeMountsPrivate());
        ASSERT_EQ(::mount("tmpfs", "disk", "tmpfs", 0, "size=1500k"), 0);
        ASSERT_EQ(::chdir("disk"), 0);
        const FileDescriptor source(::open("a", O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        ASSERT_EQ(writeWhole(source.get(), content.data(), content.size()), 0);
        ASSERT_EQ(::lseek(source.get(), 0, SEEK_SET), 0);
        const FileDescriptor target(::open("b", O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        const CopyOutcome outcome = copyBytes(source.get(), target.get());
        EXPECT_STREQ(outcome.failedCall, "write");
        EXPECT_EQ(outcome.error, ENOSPC);
        EXPECT_GT(outcome.bytes, 0u);
    });
}

} // namespace
