#include "Common/Zip/NameMarks.h"

#include "Common/Utility/memory/Handles.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"
#include "tests/unit/zip/ArchiveTools.h"

#include <fcntl.h>
#include <minizip/zip.h>

namespace {

class NameMarks : public Sandbox {
protected:
    /// An archive in which each of these names is marked as UTF-8.
    [[nodiscard]] std::string marked(const std::vector<std::string>& names) const {
        std::string archive = path("marked.zip");
        const zipFile file = zipOpen64(archive.c_str(), APPEND_STATUS_CREATE);
        for (const std::string& name : names) {
            EXPECT_EQ(zipOpenNewFileInZip4_64(file, name.c_str(), nullptr, nullptr, 0, nullptr, 0, nullptr,
                                              Z_DEFLATED, 9, 0, -15, 8, Z_DEFAULT_STRATEGY, nullptr, 0, 0,
                                              0x0800, 0),
                      ZIP_OK);
            EXPECT_EQ(zipWriteInFileInZip(file, "text", 4), ZIP_OK);
            EXPECT_EQ(zipCloseFileInZip(file), ZIP_OK);
        }
        EXPECT_EQ(zipClose(file, nullptr), ZIP_OK);
        return archive;
    }

    CapturedLog m_log;
};

TEST_F(NameMarks, AreTakenFromNamesThatAreNoUtf8InBothHeaders) {
    const std::string surrogate = "surrogate\xED\xA0\x80";
    const std::string archive = marked({"a.log", "\xC3\xBC.log", surrogate, "latin\xFC.log"});
    const FileDescriptor file(::open(archive.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(unmarkForeignNames(file.get())) << m_log.dump();
    const ReadEntries entries = readArchive(archive);
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_TRUE(entries.at("\xC3\xBC.log").isUtf8());
    EXPECT_FALSE(entries.at(surrogate).isUtf8());
    EXPECT_FALSE(entries.at("latin\xFC.log").isUtf8());
    // The header beside the data has to say the same, or strict readers refuse the entry: this one reads it.
    EXPECT_EQ(entries.at(surrogate).error, "");
    EXPECT_EQ(entries.at(surrogate).content, "text");
}

TEST_F(NameMarks, OfAFileThatIsNoArchiveAreAFailure) {
    const FileDescriptor file(::open(writeFile("a.zip", "text").c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_FALSE(unmarkForeignNames(file.get()));
    EXPECT_TRUE(m_log.contains('E', "The archive that was written can't be opened.")) << m_log.dump();
}

TEST_F(NameMarks, ThatCanNotBeWrittenAreAFailure) {
    const std::string archive = marked({"latin\xFC.log"});
    const FileDescriptor file(::open(archive.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_FALSE(unmarkForeignNames(file.get()));
    EXPECT_TRUE(m_log.containsCode('E', "clearMark", "pwrite", EBADF)) << m_log.dump();
}

} // namespace
