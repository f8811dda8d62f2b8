#include "tests/support/CapturedLog.h"
#include "tests/support/PrivateMounts.h"
#include "tests/unit/helper/ReadGate.h"
#include "tests/unit/helper/UsersSandbox.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/BundlePublisher.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/mount.h>

namespace {

constexpr uint64_t kMebibyte = uint64_t{1024} * 1024;
constexpr std::size_t kArchiveBytes = 12 * kMebibyte;

/// A user's folder in a file system of 64 MiB, and an archive of 12.
class CopyBounds : public UsersSandbox {
protected:
    void SetUp() override {
        UsersSandbox::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        if (!allowsMounts()) {
            GTEST_SKIP() << "this environment allows no mounts";
        }
        ASSERT_TRUE(makeMountsPrivate()) << "errno " << errno;
        makeFolder("theirs");
        ASSERT_EQ(::mount("bounds", path("theirs").c_str(), "tmpfs", 0, "size=64m,mode=777"), 0);
        writeFile("a", std::string(kArchiveBytes, 'x'));
    }
    void TearDown() override {
        if (!IsSkipped()) {
            EXPECT_EQ(::umount2(path("theirs").c_str(), MNT_DETACH), 0);
        }
    }

    [[nodiscard]] Publishing publish(const std::optional<SpaceLimits>& limits) const {
        PublishSettings settings;
        settings.space = limits;
        // Opened here: what is open already when it begins to be watched may go unseen.
        const FileDescriptor archive(::open(path("a").c_str(), O_RDONLY | O_CLOEXEC));
        return publishBundle(ordinaryUser(), archive.get(), path("theirs/a.zip"), settings);
    }

    void expectNothing(const SpaceLimits& limits, Publishing expected, const char* call, int error) const {
        const CapturedLog log;
        EXPECT_EQ(publish(limits), expected) << log.dump();
        EXPECT_TRUE(log.containsCode('E', "logWriteFailure", call, static_cast<uint32_t>(error)))
            << log.dump();
        EXPECT_TRUE(std::filesystem::is_empty(path("theirs")) || exists("theirs/others"));
        EXPECT_FALSE(exists("theirs/a.zip"));
    }
};

TEST_F(CopyBounds, LetACopyPassThatLeavesEnough) {
    EXPECT_EQ(publish(SpaceLimits{.keptFreeBytes = 50 * kMebibyte, .keptFreePercent = 0}), Publishing::Done);
    EXPECT_EQ(readFile("theirs/a.zip").size(), kArchiveBytes);
}

TEST_F(CopyBounds, KeepACopyFromBeginningThatWouldNotLeaveEnough) {
    expectNothing({.keptFreeBytes = 54 * kMebibyte, .keptFreePercent = 0}, Publishing::WithoutSpace,
                  "fstatvfs", ENOSPC);
    expectNothing({.keptFreeBytes = 0, .keptFreePercent = 90}, Publishing::WithoutSpace, "fstatvfs", ENOSPC);
}

TEST_F(CopyBounds, CountTheArchiveAndItsCopy) {
    EXPECT_EQ(publish(SpaceLimits{.mostBytes = 25 * kMebibyte, .keptFreeBytes = 0}), Publishing::Done);
    ASSERT_TRUE(std::filesystem::remove(path("theirs/a.zip")));
    expectNothing({.mostBytes = 23 * kMebibyte, .keptFreeBytes = 0}, Publishing::TooLarge, "fstat", EFBIG);
}

TEST_F(CopyBounds, EndACopyThatLeavesTooLittleMeanwhile) {
    if (!ReadGate::isAllowed()) {
        GTEST_SKIP() << "holding back another process needs the right to administer the system";
    }
    // Behind the first look and before the first byte.
    const ReadGate gate(path("a"),
                        [this](pid_t) { writeFile("theirs/others", std::string(30 * kMebibyte, 'o')); });
    expectNothing({.keptFreeBytes = 30 * kMebibyte, .keptFreePercent = 0}, Publishing::WithoutSpace,
                  "fstatvfs", ENOSPC);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path("theirs")), {}), 1);
}

TEST_F(CopyBounds, AreNotForACopyThatHasNone) {
    writeFile("theirs/others", std::string(45 * kMebibyte, 'o'));
    EXPECT_EQ(publish(SpaceLimits()), Publishing::WithoutSpace);
    EXPECT_EQ(publish(std::nullopt), Publishing::Done);
}

} // namespace
