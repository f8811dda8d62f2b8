#include "Common/Zip/EntryNames.h"

#include "Common/Zip/CZip.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"
#include "tests/unit/zip/ArchiveTools.h"

#include <gmock/gmock.h>

namespace {

TEST(EntryNames, ThoseThatClimbLoseTheirBackslashes) {
    EXPECT_EQ(safeEntryName("..\\..\\evil.log"), ".._.._evil.log");
    EXPECT_EQ(safeEntryName("logs\\..\\..\\evil.log"), "logs_.._.._evil.log");
    EXPECT_EQ(safeEntryName("logs/..\\evil.log"), "logs/.._evil.log");
    EXPECT_EQ(safeEntryName("logs\\.."), "logs_..");
    EXPECT_EQ(safeEntryName("a\\b/..\\c\\d"), "a_b/.._c_d");
}

TEST(EntryNames, ThoseThatStartAtTheRootLoseTheirBackslashes) {
    EXPECT_EQ(safeEntryName("\\evil.log"), "_evil.log");
    EXPECT_EQ(safeEntryName("\\\\host\\share"), "__host_share");
}

TEST(EntryNames, ThoseThatNameADriveLoseItsColonToo) {
    EXPECT_EQ(safeEntryName("C:\\evil.log"), "C__evil.log");
    EXPECT_EQ(safeEntryName("z:evil:log"), "z_evil:log");
    EXPECT_EQ(safeEntryName("C:"), "C_");
}

TEST(EntryNames, AllOthersStayByteForByte) {
    for (const char* name :
         {"", "a", "a/b.log", "a\\b.log", "a\\\\b", "logs/C:\\x", "...", "..a\\b", "a..\\b", "12:30.log",
          "\xC3\xA4:\\x", "a\\", ":\\x", "closed/", "Gr\xC3\xBC\xC3\x9F\\e"}) {
        EXPECT_EQ(safeEntryName(name), name);
    }
}

TEST(EntryNames, AChangedOneNeverMeetsAnother) {
    const CapturedLog log;
    const auto safe =
        safeEntryNames(NameList(std::vector<std::string>{"..\\a", ".._a", ".._a_", "\\b", "c"}));
    ASSERT_TRUE(safe);
    EXPECT_EQ(std::vector<std::string>(safe->begin(), safe->end()),
              (std::vector<std::string>{".._a__", ".._a", ".._a_", "_b", "c"}));
    EXPECT_EQ(log.count('W', "An entry gets the name "), 2) << log.dump();
}

TEST(EntryNames, AreLeftAloneWhereAllAreGood) {
    EXPECT_FALSE(safeEntryNames(NameList(std::vector<std::string>{"a", "b\\c"})));
    EXPECT_FALSE(safeEntryNames(NameList()));
}

using EntryNamesInArchive = Sandbox;

TEST_F(EntryNamesInArchive, LeadNoUnpackerOutOfItsFolder) {
    writeFile("bundle/logs/..\\..\\evil.log", "1");
    writeFile("bundle/C:\\evil.log", "2");
    writeFile("bundle/plain\\name.log", "3");
    for (const std::string password : {"", "secret"}) {
        ASSERT_EQ(CZip().Zip(path("bundle"), path("bundle.zip"), password, true), 0U);
        const ReadEntries entries = readArchive(path("bundle.zip"), password);
        ASSERT_EQ(entries.size(), 3U);
        EXPECT_EQ(entries.at("logs/.._.._evil.log").content, "1");
        EXPECT_EQ(entries.at("C__evil.log").content, "2");
        EXPECT_EQ(entries.at("plain\\name.log").content, "3");
    }
}

} // namespace
