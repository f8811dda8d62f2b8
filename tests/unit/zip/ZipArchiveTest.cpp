#include "Common/Zip/ZipArchive.h"
#include "Common/Utility/memory/Handles.h"
#include "Common/Zip/TraditionalCipher.h"
#include "Common/Zip/ZipDeflater.h"
#include "tests/support/Sandbox.h"
#include "tests/unit/zip/ArchiveTools.h"

#include <cerrno>
#include <fcntl.h>
#include <zlib.h>

namespace {

class ZipArchiveTest : public Sandbox {
protected:
    /// Appends an entry whose three steps are done apart from each other, as they would be on several cores.
    void appendEncrypted(const ZipEntry& entry, const std::string& content, const std::string& password) {
        const auto crc =
            static_cast<uint32_t>(crc32(0, asBytes(content).data(), static_cast<uInt>(content.size())));
        TraditionalCipher cipher(password);
        TraditionalCipher::Header header{};
        ASSERT_EQ(cipher.makeHeader(crc, header), 0);
        std::string data(header.begin(), header.end());
        ZipDeflater deflater;
        ASSERT_EQ(deflater.start(), 0);
        const auto keep = [&](std::span<unsigned char> part) {
            cipher.encrypt(part);
            data.append(part.begin(), part.end());
            return 0;
        };
        ASSERT_EQ(deflater.add(asBytes(content), keep), 0);
        ASSERT_EQ(deflater.finish(keep), 0);
        ASSERT_EQ(m_archive.openReadyEntry(entry, true), ZIP_OK);
        ASSERT_EQ(m_archive.write(asBytes(data)), ZIP_OK);
        ASSERT_EQ(m_archive.closeReadyEntry(content.size(), crc), ZIP_OK);
    }

    /// Begins the archive "a.zip".
    void begin() {
        m_file.reset(::open(path("a.zip").c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600));
        ASSERT_TRUE(m_archive.open(m_file.get()));
    }

    FileDescriptor m_file;
    ZipArchive m_archive;
};

TEST_F(ZipArchiveTest, EntriesWithRoomForLargeSizesOpenEverywhere) {
    begin();
    ASSERT_EQ(m_archive.openEntry({"plain", {}, true}), ZIP_OK);
    ASSERT_EQ(m_archive.write(asBytes("some text")), ZIP_OK);
    ASSERT_EQ(m_archive.closeEntry(), ZIP_OK);
    appendEncrypted({"encrypted", {}, true}, "other text", "secret");
    ASSERT_EQ(m_archive.close(), ZIP_OK);
    expectOpensEverywhere(path("a.zip"), "secret", {{"plain", "some text"}, {"encrypted", "other text"}});
}

TEST_F(ZipArchiveTest, NamesUpTo65535BytesAreTaken) {
    begin();
    EXPECT_EQ(m_archive.openEntry({std::string(65536, 'n'), {}, false}), ZIP_PARAMERROR);
    EXPECT_EQ(m_archive.openReadyEntry({std::string(65536, 'n'), {}, false}, true), ZIP_PARAMERROR);
    ASSERT_EQ(m_archive.openEntry({std::string(65535, 'n'), {}, false}), ZIP_OK);
    ASSERT_EQ(m_archive.closeEntry(), ZIP_OK);
    ASSERT_EQ(m_archive.close(), ZIP_OK);
    EXPECT_EQ(readArchive(path("a.zip")).count(std::string(65535, 'n')), 1U);
}

TEST_F(ZipArchiveTest, LeavesRoomForLargeSizesWithAndWithoutAPassword) {
    begin();
    ASSERT_EQ(m_archive.openEntry({"plain", {}, true}), ZIP_OK);
    ASSERT_EQ(m_archive.closeEntry(), ZIP_OK);
    appendEncrypted({"encrypted", {}, true}, "text", "secret");
    appendEncrypted({"small", {}, false}, "text", "secret");
    ASSERT_EQ(m_archive.close(), ZIP_OK);
    const std::string archive = readFile("a.zip");
    const auto versionNeeded = [&](const std::string& name) {
        const std::size_t place = archive.find(name);
        return place == std::string::npos ? 0 : static_cast<int>(archive[place - 26]);
    };
    const auto extraBytes = [&](const std::string& name) {
        const std::size_t place = archive.find(name);
        return place == std::string::npos ? 0 : static_cast<int>(archive[place - 2]);
    };
    for (const char* name : {"plain", "encrypted"}) {
        EXPECT_EQ(versionNeeded(name), 45) << name;
        EXPECT_EQ(extraBytes(name), 20) << name;
    }
    EXPECT_EQ(versionNeeded("small"), 20);
    EXPECT_EQ(extraBytes("small"), 0);
}

TEST_F(ZipArchiveTest, CountsTheEntriesThatWereEnded) {
    begin();
    EXPECT_EQ(m_archive.entryCount(), 0U);
    ASSERT_EQ(m_archive.openEntry({"plain", {}, false}), ZIP_OK);
    EXPECT_EQ(m_archive.entryCount(), 0U);
    ASSERT_EQ(m_archive.closeEntry(), ZIP_OK);
    appendEncrypted({"encrypted", {}, false}, "text", "secret");
    EXPECT_EQ(m_archive.entryCount(), 2U);
    ASSERT_EQ(m_archive.close(), ZIP_OK);
}

TEST_F(ZipArchiveTest, AFileThatCannotBeWrittenFailsWhenTheArchiveIsClosed) {
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    ASSERT_TRUE(m_archive.open(full.get()));
    ASSERT_EQ(m_archive.openEntry({"plain", {}, false}), ZIP_OK);
    ASSERT_EQ(m_archive.closeEntry(), ZIP_OK);
    EXPECT_EQ(m_archive.close(), ZIP_ERRNO);
}

TEST_F(ZipArchiveTest, AnArchiveThatIsDroppedIsWrittenToItsEnd) {
    const FileDescriptor file(::open(path("a.zip").c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600));
    {
        ZipArchive dropped;
        ASSERT_TRUE(dropped.open(file.get()));
        ASSERT_EQ(dropped.openEntry({"entry", {}, false}), ZIP_OK);
    }
    expectOpensEverywhere(path("a.zip"), "", {{"entry", ""}});
}

} // namespace
