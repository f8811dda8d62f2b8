#include "Common/Utility/files/ByteSpool.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/SystemCallFilter.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <random>
#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

std::string textOf(const ByteSpool& spool, uint64_t offset = 0, std::size_t block = 1000) {
    std::string text;
    std::string bytes(block, '\0');
    std::size_t count = 0;
    do {
        EXPECT_EQ(spool.read(offset, bytes.data(), block, count), 0);
        text.append(bytes, 0, count);
        offset += count;
    } while (count > 0);
    return text;
}

std::string muchText() {
    std::string text;
    for (int number = 0; text.size() < 3 * ByteSpool::kMemoryBytes; ++number) {
        text += std::to_string(number) + '\0';
    }
    return text;
}

} // namespace

class ByteSpoolTest : public Sandbox {
protected:
    /// Whether the process has a file of this folder open that has no name.
    [[nodiscard]] bool hasNamelessFile() const {
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code gone;
            const std::string target = std::filesystem::read_symlink(entry, gone).string();
            if (target.starts_with(path() + "/") && target.ends_with(" (deleted)")) {
                return true;
            }
        }
        return false;
    }

    CapturedLog m_log;
};

TEST_F(ByteSpoolTest, KeepsLittleInMemory) {
    ByteSpool spool(path());
    spool.append("one");
    spool.append("");
    spool.append(std::string(ByteSpool::kMemoryBytes - 3, 'x'));
    EXPECT_FALSE(hasNamelessFile());
    EXPECT_EQ(spool.size(), ByteSpool::kMemoryBytes);
    EXPECT_EQ(textOf(spool).substr(0, 4), "onex");
    EXPECT_EQ(textOf(spool, spool.size()), "");
    EXPECT_EQ(textOf(spool, spool.size() + 1), "");
}

TEST_F(ByteSpoolTest, KeepsMuchInAFileWithoutAName) {
    {
        ByteSpool spool(path());
        const std::string text = muchText();
        for (std::size_t start = 0; start < text.size(); start += 100) {
            spool.append(std::string_view(text).substr(start, 100));
        }
        EXPECT_TRUE(hasNamelessFile());
        EXPECT_TRUE(std::filesystem::is_empty(path()));
        EXPECT_EQ(spool.size(), text.size());
        EXPECT_EQ(textOf(spool), text);
        EXPECT_EQ(textOf(spool, 70000, 333), text.substr(70000));
    }
    EXPECT_FALSE(hasNamelessFile());
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(ByteSpoolTest, IsWhatAStringWouldBeThatIsCutAndAppendedTo) {
    std::mt19937 random(20260101);
    ByteSpool spool(path());
    std::string text;
    for (int step = 0; step < 300; ++step) {
        const std::string piece(random() % 9000, static_cast<char>('a' + step % 26));
        spool.append(piece);
        text += piece;
        if (random() % 4 == 0) {
            text.resize(random() % (text.size() + 1));
            spool.cut(text.size());
        }
        ASSERT_EQ(spool.size(), text.size());
        const uint64_t offset = random() % (text.size() + 1);
        ASSERT_EQ(textOf(spool, offset, 4096), text.substr(offset)) << step;
    }
}

TEST_F(ByteSpoolTest, KeepsAllInMemoryWithoutAPlaceForTheFile) {
    const std::string text = muchText();
    ByteSpool nowhere{std::string()};
    ByteSpool missing(path("missing"));
    for (ByteSpool* spool : {&nowhere, &missing}) {
        spool->append(text);
        spool->append(text);
        EXPECT_EQ(textOf(*spool), text + text);
    }
    EXPECT_EQ(m_log.count('W', "Folder: " + path("missing")), 1) << m_log.dump();
}

TEST_F(ByteSpoolTest, GoesOnInMemoryOnAFullDisk) {
    withFileSizeLimit(100000, [this] {
        const std::string text = muchText();
        ByteSpool spool(path());
        for (std::size_t start = 0; start < text.size(); start += 1000) {
            spool.append(std::string_view(text).substr(start, 1000));
        }
        EXPECT_EQ(textOf(spool), text);
        EXPECT_TRUE(m_log.containsCode('W', "spill", "pwrite", EFBIG)) << m_log.dump();
    });
}

TEST_F(ByteSpoolTest, HasItsFileWhereEachHasANameAtFirst) {
    inChild([this] {
        // The flag, without the one of a folder that is part of it.
        replaceSystemCallWith(SYS_openat, EOPNOTSUPP, 2, O_TMPFILE & ~O_DIRECTORY);
        const std::string text = muchText();
        ByteSpool spool(path());
        spool.append(text);
        EXPECT_TRUE(hasNamelessFile());
        EXPECT_TRUE(std::filesystem::is_empty(path()));
        EXPECT_EQ(textOf(spool), text);
    });
}

TEST_F(ByteSpoolTest, TellsOfAFailedRead) {
    inChild([this] {
        ByteSpool spool(path());
        spool.append(muchText());
        replaceSystemCall(SYS_pread64, EIO);
        char byte = 0;
        std::size_t count = 1;
        EXPECT_EQ(spool.read(0, &byte, 1, count), EIO);
        EXPECT_EQ(count, 0U);
        EXPECT_TRUE(m_log.containsCode('E', "read", "pread", EIO)) << m_log.dump();
        SpoolReader reader(spool, 0, spool.size());
        std::string text;
        EXPECT_FALSE(reader.next(text));
        EXPECT_EQ(reader.error(), EIO);
    });
}

using SpoolReaderTest = ByteSpoolTest;

TEST_F(SpoolReaderTest, GivesTheTextsOneByOne) {
    ByteSpool spool(path());
    std::vector<std::string> texts{"", "a", std::string(10000, 'b'), "", "c"};
    for (int number = 0; spool.size() < 2 * ByteSpool::kMemoryBytes; ++number) {
        texts.push_back("number " + std::to_string(number));
        spool.append(texts.back() + '\0');
    }
    const uint64_t start = spool.size();
    for (const std::string& text : texts) {
        spool.append(text + '\0');
    }
    SpoolReader reader(spool, start, spool.size());
    std::vector<std::string> read;
    for (std::string text; reader.next(text);) {
        read.push_back(text);
        if (read.size() % 7 == 0) {
            reader.rest();
        }
    }
    EXPECT_EQ(read, texts);
    EXPECT_EQ(reader.error(), 0);
}

TEST_F(SpoolReaderTest, IsNotConfusedByWhatComesAndGoesBehind) {
    ByteSpool spool(path());
    spool.append(std::string("a\0b\0", 4));
    SpoolReader reader(spool, 0, spool.size());
    std::vector<std::string> read;
    for (std::string text; reader.next(text);) {
        read.push_back(text);
        reader.rest();
        const uint64_t size = spool.size();
        spool.append(muchText());
        spool.cut(size);
    }
    EXPECT_THAT(read, ElementsAre("a", "b"));
}
