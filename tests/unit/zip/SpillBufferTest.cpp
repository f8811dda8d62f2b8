#include "Common/Zip/SpillBuffer.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/Sandbox.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/zip/ArchiveTools.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>

namespace {

class SpillBufferTest : public Sandbox {
protected:
    /// Appends a content in pieces. @return the first failure, or 0.
    static int fill(SpillBuffer& buffer, std::string_view content, size_t pieceBytes) {
        int error = 0;
        for (size_t at = 0; at < content.size() && error == 0; at += pieceBytes) {
            error = buffer.append(asBytes(content.substr(at, pieceBytes)));
        }
        return error;
    }
    static std::string handedOn(SpillBuffer& buffer) {
        std::string result;
        EXPECT_EQ(buffer.handOn([&](std::span<unsigned char> part) {
            result.append(part.begin(), part.end());
            return 0;
        }),
                  0);
        return result;
    }
    static size_t descriptors() {
        return static_cast<size_t>(
            std::ranges::distance(std::filesystem::directory_iterator("/proc/self/fd")));
    }
};

TEST_F(SpillBufferTest, HandsOnWhatItGotWhateverItsSize) {
    const std::string content = noise(3 * SpillBuffer::kMemoryBytes);
    for (const size_t size : {size_t{0}, size_t{1}, size_t{2048}, size_t{2049}, size_t{300000},
                              SpillBuffer::kMemoryBytes, SpillBuffer::kMemoryBytes + 1, content.size()}) {
        for (const size_t pieceBytes : {size_t{777}, size_t{16384}, content.size()}) {
            SpillBuffer buffer(path());
            ASSERT_EQ(fill(buffer, std::string_view(content).substr(0, size), pieceBytes), 0);
            EXPECT_EQ(buffer.sizeBytes(), size);
            EXPECT_LE(buffer.heldBytes(), SpillBuffer::kMemoryBytes);
            EXPECT_TRUE(handedOn(buffer) == content.substr(0, size)) << size << " by " << pieceBytes;
        }
    }
}

TEST_F(SpillBufferTest, TakesLittleForLittle) {
    SpillBuffer buffer;
    ASSERT_EQ(fill(buffer, "some text", 9), 0);
    EXPECT_LE(buffer.heldBytes(), 2048U);
}

TEST_F(SpillBufferTest, KeepsItsFileWithoutANameAndLetsItGo) {
    const size_t before = descriptors();
    {
        SpillBuffer buffer(path());
        ASSERT_EQ(fill(buffer, noise(SpillBuffer::kMemoryBytes), 16384), 0);
        EXPECT_EQ(descriptors(), before) << "memory is enough";
        ASSERT_EQ(fill(buffer, "x", 1), 0);
        EXPECT_EQ(descriptors(), before + 1);
        EXPECT_TRUE(std::filesystem::is_empty(path()));
    }
    EXPECT_EQ(descriptors(), before);
}

TEST_F(SpillBufferTest, EndsWhereItsConsumerDoes) {
    SpillBuffer buffer(path());
    ASSERT_EQ(fill(buffer, noise(SpillBuffer::kMemoryBytes + 50000), 16384), 0);
    uint64_t taken = 0;
    EXPECT_EQ(buffer.handOn([&](std::span<unsigned char> part) {
        taken += part.size();
        return taken > SpillBuffer::kMemoryBytes ? -77 : 0;
    }),
              -77);
    EXPECT_EQ(taken, SpillBuffer::kMemoryBytes + 16384) << "the first block of the file was the last";
}

TEST_F(SpillBufferTest, SaysWhyItCannotHoldMore) {
    const std::string content = noise(SpillBuffer::kMemoryBytes + 1);
    SpillBuffer nowhere;
    EXPECT_EQ(fill(nowhere, content, 16384), ENOTSUP);
    SpillBuffer missing(path("missing"));
    EXPECT_EQ(fill(missing, content, 16384), ENOENT);
    inChild([&] {
        replaceSystemCallWith(SYS_openat, EOPNOTSUPP, 2, O_TMPFILE & ~O_DIRECTORY);
        SpillBuffer unsupported(path());
        EXPECT_EQ(fill(unsupported, content, 16384), EOPNOTSUPP);
    });
    withFileSizeLimit(1000, [&] {
        SpillBuffer full(path());
        EXPECT_EQ(fill(full, content, 16384), 0) << "the one byte has room";
        EXPECT_EQ(fill(full, content.substr(0, 2000), 16384), EFBIG);
    });
}

TEST_F(SpillBufferTest, ToldApartFromItsConsumerWhenItCannotBeReadBack) {
    SpillBuffer buffer(path());
    ASSERT_EQ(fill(buffer, noise(SpillBuffer::kMemoryBytes + 50000), 16384), 0);
    inChild([&] {
        const CapturedLog log;
        replaceSystemCall(SYS_pread64, EIO);
        EXPECT_EQ(buffer.handOn([](std::span<unsigned char>) { return 0; }), -1);
        EXPECT_TRUE(log.containsCode('E', "handOnFile", "pread", EIO)) << log.dump();
    });
}

} // namespace
