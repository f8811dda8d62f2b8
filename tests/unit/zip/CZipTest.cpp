#include "Common/Zip/CZip.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"
#include "tests/support/Sanitizers.h"
#include "tests/unit/zip/ArchiveTools.h"

#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class CZipTest : public Sandbox {
protected:
    /// Packs the folder "bundle" into "bundle.zip" without a password and gives the archive's path.
    std::string packBundle(bool recursive = true) {
        EXPECT_EQ(m_zip.Zip(path("bundle"), path("bundle.zip"), {}, recursive), 0U) << m_log.dump();
        return path("bundle.zip");
    }
    void setModificationTime(const std::string& file, time_t seconds) {
        const timespec times[2] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    }

    CapturedLog m_log;
    CZip m_zip;
};

std::vector<std::string> namesInFolderOrder(const std::string& folder) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> handle(::opendir(folder.c_str()), &::closedir);
    while (const dirent* entry = ::readdir(handle.get())) {
        if (entry->d_type == DT_REG) {
            names.push_back(folder + "/" + entry->d_name);
        }
    }
    return names;
}

TEST_F(CZipTest, PacksTheTreeUnderNamesRelativeToTheFolder) {
    writeFile("bundle/summary.txt", "head\n");
    writeFile("bundle/logs/vpn/a.log", "one line\n");
    writeFile("bundle/logs/b.log", noise(100000));
    expectOpensEverywhere(packBundle(), "",
                          {{"summary.txt", "head\n"},
                           {"logs/vpn/a.log", "one line\n"},
                           {"logs/b.log", readFile("bundle/logs/b.log")}});
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(CZipTest, TakesAFolderWithATrailingSlashForTheSame) {
    writeFile("bundle/sub/a.log", "text");
    ASSERT_EQ(m_zip.Zip(path("bundle") + "/", path("bundle.zip"), {}, true), 0U);
    expectOpensEverywhere(path("bundle.zip"), "", {{"sub/a.log", "text"}});
}

TEST_F(CZipTest, LeavesSubFoldersOutUnlessRecursive) {
    writeFile("bundle/top.log", "top");
    writeFile("bundle/sub/a.log", "text");
    expectOpensEverywhere(packBundle(false), "", {{"top.log", "top"}});
}

TEST_F(CZipTest, DeflatesAtTheHighestLevelWithAttributesOfZero) {
    writeFile("bundle/a.log", std::string(100000, 'a'));
    const ReadEntry entry = readArchive(packBundle()).at("a.log");
    EXPECT_EQ(entry.method, 8U);
    EXPECT_EQ(entry.flags, 2U) << "maximum compression, no encryption, no UTF-8";
    EXPECT_EQ(entry.versionNeeded, 20U);
    EXPECT_EQ(entry.externalAttributes, 0U);
    EXPECT_LT(fs::file_size(path("bundle.zip")), 1000U);
}

TEST_F(CZipTest, ReplacesAFileOfTheArchivesName) {
    writeFile("bundle.zip", noise(50000));
    writeFile("bundle/a.log", "text");
    expectOpensEverywhere(packBundle(), "", {{"a.log", "text"}});
    EXPECT_LT(fs::file_size(path("bundle.zip")), 1000U);
}

TEST_F(CZipTest, RefusesEmptyPaths) {
    EXPECT_EQ(m_zip.Zip("", path("bundle.zip"), {}, true), GLOBAL_ERROR_BAD_PARAMETER);
    EXPECT_EQ(m_zip.Zip(path(), "", {}, true), GLOBAL_ERROR_BAD_PARAMETER);
    EXPECT_EQ(m_log.count('E', "Bad parameter(s), parameter(s) is equal to NULL."), 2);
    EXPECT_FALSE(exists("bundle.zip"));
}

TEST_F(CZipTest, RefusesListsOfDifferentLength) {
    EXPECT_EQ(m_zip.createZipFile({writeFile("a", "1")}, path("bundle.zip"), {}, {}),
              GLOBAL_ERROR_BAD_PARAMETER);
    EXPECT_TRUE(m_log.contains('E', "1 files have 0 names."));
    EXPECT_FALSE(exists("bundle.zip"));
}

TEST_F(CZipTest, AnEmptyListGivesAnArchiveWithoutEntries) {
    ASSERT_EQ(m_zip.createZipFile({}, path("bundle.zip"), {}, "secret"), 0U);
    EXPECT_TRUE(readArchive(path("bundle.zip")).empty());
}

TEST_F(CZipTest, AFolderHoldingOnlyALinkGivesAnArchiveWithoutEntries) {
    fs::create_symlink(writeFile("outside.log", "secret"), makeFolder("bundle") + "/link.log");
    fs::create_directory_symlink(makeFolder("elsewhere"), path("bundle/folder"));
    EXPECT_TRUE(readArchive(packBundle()).empty());
}

TEST_F(CZipTest, AnEmptyFolderHasNoEntry) {
    makeFolder("bundle/empty/deeper");
    writeFile("bundle/a.log", "text");
    expectOpensEverywhere(packBundle(), "", {{"a.log", "text"}});
}

TEST_F(CZipTest, PassesOverPipesAndSockets) {
    makeFolder("bundle");
    ASSERT_EQ(::mkfifo(path("bundle/pipe").c_str(), 0600), 0);
    writeFile("bundle/a.log", "text");
    expectOpensEverywhere(packBundle(), "", {{"a.log", "text"}});
}

TEST_F(CZipTest, AFolderThatCannotBeReadIsItsOwnOnlyEntry) {
    std::vector<std::string> names;
    m_zip.getFileList(names, path("nowhere"), true);
    EXPECT_EQ(names, std::vector<std::string>{path("nowhere") + "/"});
    EXPECT_TRUE(m_log.containsCode('W', "getFileList", "opendir", ENOENT)) << m_log.dump();
}

TEST_F(CZipTest, AMissingSourceFolderGivesAnArchiveThatSaysSoAndNothingElse) {
    ASSERT_EQ(m_zip.Zip(path("nowhere"), path("bundle.zip"), {}, true), 0U);
    const ReadEntries entries = readArchive(path("bundle.zip"));
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_THAT(entries.at("not-packed.txt").content,
                ::testing::HasSubstr("\n./: could not be listed: No such file or directory\n"));
    EXPECT_TRUE(m_log.contains('E', "\"./\" could not be packed: it could not be listed"));
}

TEST_F(CZipTest, AnUnreadableSubFolderLeavesTheOthersAlone) {
    if (runsAsRoot()) {
        GTEST_SKIP() << "permissions don't keep root out";
    }
    writeFile("bundle/a.log", "text");
    writeFile("bundle/closed/b.log", "text");
    fs::permissions(path("bundle/closed"), fs::perms::none);
    const ReadEntries entries = readArchive(packBundle());
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries.at("a.log").content, "text");
    EXPECT_EQ(entries.at("closed/").content, "");
    EXPECT_THAT(entries.at("not-packed.txt").content,
                ::testing::HasSubstr("\nclosed/: could not be listed: Permission denied\n"));
}

TEST_F(CZipTest, ListsFilesInTheOrderOfTheFolder) {
    for (int i = 0; i < 50; ++i) {
        writeFile("bundle/" + std::to_string(i * 7919 % 1000) + ".log", "x");
    }
    std::vector<std::string> names{"kept"};
    m_zip.getFileList(names, path("bundle"), true);
    std::vector<std::string> expected = namesInFolderOrder(path("bundle"));
    expected.insert(expected.begin(), "kept");
    EXPECT_EQ(names, expected);
}

TEST_F(CZipTest, DescendsWhereTheFolderIsMet) {
    writeFile("bundle/sub/inner.log", "x");
    writeFile("bundle/sub/deep/innermost.log", "x");
    std::vector<std::string> names;
    m_zip.getFileList(names, path("bundle/"), true);
    EXPECT_THAT(names, ::testing::UnorderedElementsAre(path("bundle/sub/inner.log"),
                                                       path("bundle/sub/deep/innermost.log")));
}

TEST_F(CZipTest, KeepsNamesByteForByte) {
    const std::string longName(255, 'n');
    const Contents expected{{"line\nfeed.log", "1"},
                            {"quotes'\"`.log", "2"},
                            {"Gr\xC3\xBC\xC3\x9F"
                             "e.log",
                             "3"},
                            {"\xE6\x97\xA5\xE8\xAA\x8C/\xF0\x9F\x90\xA7", "4"},
                            {longName, "5"},
                            {" leading and trailing ", "6"},
                            {"-", "7"},
                            {"100%s.log", "8"}};
    for (const auto& [name, content] : expected) {
        writeFile("bundle/" + name, content);
    }
    expectOpensEverywhere(packBundle(), "", expected);
    expectOpensEverywhere(packBundle(), "", expected);
    const ReadEntries entries = readArchive(path("bundle.zip"));
    EXPECT_TRUE(entries
                    .at("Gr\xC3\xBC\xC3\x9F"
                        "e.log")
                    .isUtf8());
    EXPECT_TRUE(entries.at("\xE6\x97\xA5\xE8\xAA\x8C/\xF0\x9F\x90\xA7").isUtf8());
    EXPECT_FALSE(entries.at("quotes'\"`.log").isUtf8());
    EXPECT_FALSE(entries.at(longName).isUtf8());
}

TEST_F(CZipTest, DoesNotMarkNamesThatAreNoUtf8) {
    const std::vector<std::string> names{"latin\xFC.log",
                                         "cut\xC3",
                                         "overlong\xC0\xAF",
                                         "overlong\xE0\x80\x80",
                                         "surrogate\xED\xA0\x80",
                                         "beyond\xF4\x90\x80\x80",
                                         "overlong\xF0\x80\x80\x80",
                                         "lone\x80",
                                         "cut\xF0\x9F\x90",
                                         "never\xFF"};
    Contents expected;
    for (const std::string& name : names) {
        writeFile("bundle/" + name, name);
        expected[name] = name;
    }
    expectOpensEverywhere(packBundle(), "", expected);
    for (const auto& [name, entry] : readArchive(path("bundle.zip"))) {
        EXPECT_FALSE(entry.isUtf8()) << name;
    }
}

TEST_F(CZipTest, StampsEntriesWithLocalTime) {
    std::tm local{};
    local.tm_year = 119;
    local.tm_mon = 10;
    local.tm_mday = 23;
    local.tm_hour = 4;
    local.tm_min = 56;
    local.tm_sec = 42;
    local.tm_isdst = -1;
    setModificationTime(writeFile("bundle/a.log", "text"), std::mktime(&local));
    EXPECT_EQ(readArchive(packBundle()).at("a.log").time, "2019-11-23 4:56:42");
}

TEST_F(CZipTest, KeepsTheEntryOfAFileWhoseTimeCannotBeRead) {
    ASSERT_EQ(m_zip.createZipFile({path("gone")}, path("bundle.zip"), {"gone.log"}, {}), 0U);
    EXPECT_EQ(m_log.count('W', "Failed to get file time attributes."), 1);
    const time_t unset = 0;
    std::tm local{};
    ::localtime_r(&unset, &local);
    // The format counts years from 1980 in seven bits and takes the two digits of an earlier year for such a
    // count.
    const std::string date = std::to_string(1980 + local.tm_year) + "-" + std::to_string(local.tm_mon + 1) +
                             "-" + std::to_string(local.tm_mday) + " " + std::to_string(local.tm_hour) + ":" +
                             std::to_string(local.tm_min) + ":0";
    EXPECT_EQ(readArchive(path("bundle.zip")).at("gone.log").time, date);
}

TEST_F(CZipTest, TakesNoTimeFromAFileNamedDash) {
    writeFile("-", "text");
    ASSERT_EQ(m_zip.createZipFile({"-"}, path("bundle.zip"), {"dash"}, {}), 0U);
    EXPECT_EQ(m_log.count('W', "Failed to get file time attributes."), 1);
    expectOpensEverywhere(path("bundle.zip"), "", {{"dash", "text"}});
}

TEST_F(CZipTest, AVanishedFileHasAnEntryWithoutData) {
    const std::string kept = writeFile("kept", "text");
    for (const std::string password : {"", "secret"}) {
        ASSERT_EQ(m_zip.createZipFile({path("gone"), kept}, path("bundle.zip"), {"gone", "kept"}, password),
                  0U);
        expectOpensEverywhere(
            path("bundle.zip"), password,
            {{"gone", ""},
             {"kept", "text"},
             {"not-packed.txt", "What could not be packed into this archive, or not whole:\n\n"
                                "gone: could not be opened: No such file or directory\n"}});
    }
    EXPECT_TRUE(m_log.containsCode('E', "createZipFile", "open", ENOENT)) << m_log.dump();
}

TEST_F(CZipTest, WaitsForNoPipeAndFollowsNoLink) {
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    fs::create_symlink(writeFile("outside", "secret"), path("link"));
    const std::string folder = makeFolder("folder");
    ASSERT_EQ(m_zip.createZipFile({path("pipe"), path("link"), folder}, path("bundle.zip"),
                                  {"pipe", "link", "folder"}, "password"),
              0U);
    const ReadEntries entries = readArchive(path("bundle.zip"), "password");
    ASSERT_EQ(entries.size(), 4U);
    for (const char* name : {"pipe", "link", "folder"}) {
        EXPECT_EQ(entries.at(name).content, "") << name;
    }
    EXPECT_THAT(entries.at("not-packed.txt").content,
                ::testing::HasSubstr("\npipe: could not be opened: Invalid argument\n"
                                     "link: could not be opened: Too many levels of symbolic links\n"
                                     "folder: could not be opened: Is a directory\n"));
    EXPECT_TRUE(m_log.containsCode('E', "createZipFile", "open", EINVAL));
    EXPECT_TRUE(m_log.containsCode('E', "createZipFile", "open", ELOOP));
    EXPECT_TRUE(m_log.containsCode('E', "createZipFile", "open", EISDIR));
}

TEST_F(CZipTest, AFileWhoseReadingFailsKeepsWhatWasRead) {
    // The process's memory is a regular file that can be opened, and has nothing at its start.
    ASSERT_EQ(m_zip.createZipFile({"/proc/self/mem"}, path("bundle.zip"), {"mem"}, {}), 0U);
    const ReadEntries entries = readArchive(path("bundle.zip"));
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries.at("mem").content, "");
    EXPECT_THAT(entries.at("not-packed.txt").content,
                ::testing::HasSubstr("\nmem: could not be read whole: Input/output error\n"));
    EXPECT_TRUE(m_log.containsCode('E', "readBlock", "pread", EIO)) << m_log.dump();
}

TEST_F(CZipTest, AnEntryThatCannotBeBegunIsLeftOutAndNamed) {
    const std::string file = writeFile("a", "text");
    const std::string tooLong(65536, 'x');
    for (const std::string password : {"", "secret"}) {
        ASSERT_EQ(m_zip.createZipFile({file, file, file}, path("bundle.zip"), {"first", tooLong, "third"},
                                      password),
                  0U);
        expectOpensEverywhere(
            path("bundle.zip"), password,
            {{"first", "text"},
             {"third", "text"},
             {"not-packed.txt", "What could not be packed into this archive, or not whole:\n\n" + tooLong +
                                    ": has a longer name than an archive can hold\n"}});
    }
}

TEST_F(CZipTest, MoreEntriesThanSixteenBitsCountStillOpen) {
    constexpr size_t count = 65540;
    const std::string file = writeFile("a", "");
    std::vector<std::string> names;
    names.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        names.push_back(std::to_string(i));
    }
    ASSERT_EQ(m_zip.createZipFile(std::vector(count, file), path("bundle.zip"), names, {}), 0U);
    EXPECT_EQ(readArchive(path("bundle.zip")).size(), count);
}

TEST_F(CZipTest, StreamsFilesThroughASmallBuffer) {
    if (kAddressSanitizer) {
        GTEST_SKIP() << "the sanitizer keeps memory that was let go, and more beside it";
    }
    const std::string file = writeFile("bundle/big.log", "");
    ASSERT_EQ(::truncate(file.c_str(), 64 << 20), 0);
    rusage before{};
    ASSERT_EQ(::getrusage(RUSAGE_SELF, &before), 0);
    ASSERT_EQ(m_zip.Zip(path("bundle"), path("bundle.zip"), "secret", true), 0U);
    rusage after{};
    ASSERT_EQ(::getrusage(RUSAGE_SELF, &after), 0);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 4096) << "kilobytes, of which zlib alone takes some 300";
}

TEST_F(CZipTest, LargeFilesBeginAt4294967295Bytes) {
    const std::string file = writeFile("sparse", "");
    ASSERT_EQ(::truncate(file.c_str(), 4294967294), 0);
    EXPECT_FALSE(m_zip.isLargeFile(file));
    ASSERT_EQ(::truncate(file.c_str(), 4294967295), 0);
    EXPECT_TRUE(m_zip.isLargeFile(file));
    EXPECT_FALSE(m_zip.isLargeFile(writeFile("empty", "")));
    EXPECT_TRUE(m_log.lines().empty());
}

TEST_F(CZipTest, AFileThatCannotBeOpenedIsNotLarge) {
    EXPECT_FALSE(m_zip.isLargeFile(path("gone")));
    EXPECT_FALSE(m_zip.isLargeFile(path()));
    EXPECT_TRUE(m_log.contains('E', "Could not open " + path("gone")));
    EXPECT_TRUE(m_log.contains('E', "Function: isLargeFile")) << m_log.dump();
    EXPECT_EQ(m_log.count('E', "Could not open "), 2);
}

TEST_F(CZipTest, SumsTheContentOfAFile) {
    EXPECT_EQ(m_zip.getCrc(writeFile("a", "123456789")), 0xCBF43926UL);
    EXPECT_EQ(m_zip.getCrc(writeFile("empty", "")), 0UL);
    EXPECT_EQ(m_zip.getCrc(writeFile("zeros", std::string(40000, '\0'))), 0xE6A94479UL);
    EXPECT_TRUE(m_log.lines().empty());
}

TEST_F(CZipTest, TheSumOfAFileThatCannotBeOpenedIsZero) {
    EXPECT_EQ(m_zip.getCrc(path("gone")), 0UL);
    EXPECT_TRUE(m_log.contains('E', "Could not open " + path("gone")));
    EXPECT_TRUE(m_log.contains('E', "Function: getCrc")) << m_log.dump();
}

TEST_F(CZipTest, MakesAFolderPathWithItsParents) {
    EXPECT_TRUE(m_zip.createDirectoryPath((path() + "//a/b///c/").c_str()));
    EXPECT_TRUE(fs::is_directory(path("a/b/c")));
    EXPECT_TRUE(m_zip.createDirectoryPath(path("a/b/c").c_str())) << "an existing path is fine";
    EXPECT_TRUE(m_zip.createDirectoryPath("/"));
}

TEST_F(CZipTest, RefusesAFolderPathThatIsNotAbsolute) {
    EXPECT_FALSE(m_zip.createDirectoryPath(nullptr));
    EXPECT_FALSE(m_zip.createDirectoryPath(""));
    EXPECT_FALSE(m_zip.createDirectoryPath("a/b"));
    EXPECT_FALSE(m_zip.createDirectoryPath("./a"));
    EXPECT_FALSE(exists("a"));
}

TEST_F(CZipTest, RefusesAFolderPathThroughAFile) {
    const std::string file = writeFile("file", "text");
    EXPECT_FALSE(m_zip.createDirectoryPath(file.c_str()));
    EXPECT_FALSE(m_zip.createDirectoryPath((file + "/below").c_str()));
}

TEST_F(CZipTest, LogsAFolderThatCannotBeMade) {
    EXPECT_FALSE(m_zip.createDirectoryPath("/proc/self/fd/nothing"));
    EXPECT_TRUE(m_log.contains('E', "Invoked Function: mkdir")) << m_log.dump();
}

} // namespace
