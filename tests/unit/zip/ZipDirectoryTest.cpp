#include "Common/Zip/ZipDirectory.h"

#include "Common/Utility/memory/Handles.h"
#include "Common/Zip/CZip.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"

#include <fcntl.h>
#include <gtest/gtest.h>

namespace {

class ZipDirectory : public Sandbox {
protected:
    void makeArchive(int count) {
        for (int i = 0; i < count; ++i) {
            writeFile("bundle/" + std::to_string(i), "text");
        }
        ASSERT_EQ(CZip().Zip(path("bundle"), path("a.zip"), {}, true), 0U);
    }
    [[nodiscard]] bool isWhole(uint64_t count) const {
        const FileDescriptor file(::open(path("a.zip").c_str(), O_RDONLY | O_CLOEXEC));
        return isDirectoryWhole(file.get(), count);
    }

    CapturedLog m_log;
};

TEST_F(ZipDirectory, IsWholeWithAllItsEntriesOnly) {
    makeArchive(300);
    EXPECT_TRUE(isWhole(300));
    EXPECT_FALSE(isWhole(299));
    EXPECT_FALSE(isWhole(301));
    EXPECT_FALSE(isWhole(0));
    EXPECT_TRUE(
        m_log.contains('E', "The archive that was written has 300 entries that can be read, not 301."))
        << m_log.dump();
}

TEST_F(ZipDirectory, IsNotWholeWithAnEntryThatIsNone) {
    makeArchive(300);
    std::string bytes = readFile("a.zip");
    const std::size_t entry = bytes.rfind("PK\x01\x02");
    bytes.replace(entry, 4, "lost");
    writeFile("a.zip", bytes);
    EXPECT_FALSE(isWhole(300));
}

TEST_F(ZipDirectory, IsNotWholeInAFileThatIsNoArchive) {
    for (const char* content : {"", "no archive", "PK\x05\x06 is too short"}) {
        writeFile("a.zip", content);
        EXPECT_FALSE(isWhole(0)) << content;
        EXPECT_FALSE(isWhole(1)) << content;
    }
    EXPECT_FALSE(isDirectoryWhole(-1, 0));
}

} // namespace
