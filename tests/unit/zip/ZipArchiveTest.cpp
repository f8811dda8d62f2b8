#include "ZipArchive.h"
#include "ArchiveTools.h"
#include "Sandbox.h"
#include "TraditionalCipher.h"
#include "ZipDeflater.h"

#include <zlib.h>

namespace {

std::span<const unsigned char> asBytes(const std::string& text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

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
        ASSERT_EQ(m_archive.openEncryptedEntry(entry), ZIP_OK);
        ASSERT_EQ(m_archive.write(asBytes(data)), ZIP_OK);
        ASSERT_EQ(m_archive.closeEncryptedEntry(content.size(), crc), ZIP_OK);
    }

    ZipArchive m_archive;
};

TEST_F(ZipArchiveTest, EntriesWithRoomForLargeSizesOpenEverywhere) {
    ASSERT_TRUE(m_archive.open(path("a.zip")));
    ASSERT_EQ(m_archive.openEntry({"plain", {}, true}), ZIP_OK);
    ASSERT_EQ(m_archive.write(asBytes("some text")), ZIP_OK);
    ASSERT_EQ(m_archive.closeEntry(), ZIP_OK);
    appendEncrypted({"encrypted", {}, true}, "other text", "secret");
    ASSERT_EQ(m_archive.close(), ZIP_OK);
    expectOpensEverywhere(path("a.zip"), "secret", {{"plain", "some text"}, {"encrypted", "other text"}});
}

TEST_F(ZipArchiveTest, NamesUpTo65535BytesAreTaken) {
    ASSERT_TRUE(m_archive.open(path("a.zip")));
    EXPECT_EQ(m_archive.openEntry({std::string(65536, 'n'), {}, false}), ZIP_PARAMERROR);
    EXPECT_EQ(m_archive.openEncryptedEntry({std::string(65536, 'n'), {}, false}), ZIP_PARAMERROR);
    ASSERT_EQ(m_archive.openEntry({std::string(65535, 'n'), {}, false}), ZIP_OK);
    ASSERT_EQ(m_archive.closeEntry(), ZIP_OK);
    ASSERT_EQ(m_archive.close(), ZIP_OK);
    EXPECT_EQ(readArchive(path("a.zip")).count(std::string(65535, 'n')), 1U);
}

TEST_F(ZipArchiveTest, IsNotMadeInAMissingFolder) {
    EXPECT_FALSE(m_archive.open(path("nowhere/a.zip")));
}

TEST_F(ZipArchiveTest, AnArchiveThatIsDroppedLeavesNoOpenFile) {
    {
        ZipArchive dropped;
        ASSERT_TRUE(dropped.open(path("a.zip")));
        ASSERT_EQ(dropped.openEntry({"entry", {}, false}), ZIP_OK);
    }
    expectOpensEverywhere(path("a.zip"), "", {{"entry", ""}});
}

} // namespace
