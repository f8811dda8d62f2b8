#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"

#include "tests/support/SystemCallFilter.h"
#include "tests/unit/files/FileTest.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace helperUtil;
namespace fs = std::filesystem;

namespace {

using Patterns = std::list<std::string>;
using Sorted = std::multiset<std::string>;

/// A listing with its code.
struct Listing {
    uint32_t code = 0;
    std::list<FoundFile> files;
    /// Path and reason of what was left out.
    Sorted omitted;
    [[nodiscard]] std::vector<std::string> paths() const {
        std::vector<std::string> all;
        for (const FoundFile& file : files) {
            all.push_back(file.directory + file.name);
        }
        return all;
    }
    [[nodiscard]] Sorted sortedPaths() const {
        const std::vector<std::string> all = paths();
        return {all.begin(), all.end()};
    }
};

Listing list(std::string directory, Patterns patterns, bool recursive = false) {
    Listing listing;
    listing.code = fileFindAll(
        directory, patterns, recursive, listing.files,
        [&](const std::string& path, const std::string& reason) { listing.omitted.insert(path + reason); });
    return listing;
}

using FileFindAll = FileTest;
using NewestMatch = FileTest;

TEST_F(FileFindAll, RefusesAnEmptyFolderOrNoPatternsSilently) {
    EXPECT_EQ(list("", {"*"}).code, 0xFEB00002u);
    EXPECT_EQ(list(path(), {}).code, 0xFEB00002u);
    std::string folder = "folder";
    Patterns none;
    std::list<FoundFile> files;
    EXPECT_EQ(fileFindAll(folder, none, false, files), 0xFEB00002u);
    EXPECT_EQ(folder, "folder");
    EXPECT_EQ(lineCount(), 0u);
}

TEST_F(FileFindAll, AddsTheSlashAndLowersThePatternsInPlace) {
    writeFile("f/a.log", "");
    std::string folder = path("f");
    Patterns patterns{"A*.LOG", "\xc3\x84.X"};
    std::list<FoundFile> files;
    EXPECT_EQ(fileFindAll(folder, patterns, false, files), 0u);
    EXPECT_EQ(folder, path("f") + "/");
    EXPECT_EQ(patterns, (Patterns{"a*.log", "\xc3\x84.x"}));
    EXPECT_EQ(fileFindAll(folder, patterns, false, files), 0u);
    EXPECT_EQ(folder, path("f") + "/");
}

TEST_F(FileFindAll, FillsTheFieldsOfAHit) {
    setModificationTime(writeFile("f/App.LOG", ""), 1'234'567'890);
    const Listing listing = list(path("f"), {"*"});
    ASSERT_EQ(listing.files.size(), 1u);
    EXPECT_EQ(listing.files.front().name, "App.LOG");
    EXPECT_EQ(listing.files.front().directory, path("f") + "/");
    EXPECT_FALSE(listing.files.front().isDirectory);
    EXPECT_EQ(listing.files.front().modificationTime, 1'234'567'890);
}

TEST_F(FileFindAll, TellsThatTheFolderIsMissing) {
    EXPECT_EQ(list(path("none"), {"*"}).code, 0xFEB0000Cu);
    EXPECT_EQ(countMessages('I', "fileFindAll", "\"" + path("none") + "/\" is not a directory"), 1)
        << log.dump();
    EXPECT_EQ(lineCount(), 1u);
}

TEST_F(FileFindAll, TellsSilentlyThatAFileIsNoFolder) {
    EXPECT_EQ(list(writeFile("a.log", ""), {"*"}).code, 0xFEB0000Du);
    EXPECT_EQ(lineCount(), 0u) << log.dump();
}

TEST_F(FileFindAll, TellsSilentlyThatTheFolderMayNotBeRead) {
    makeFolder("f");
    ASSERT_EQ(::chmod(path("f").c_str(), 0000), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        EXPECT_EQ(list("f", {"*"}).code, 0xFEB0000Du);
        EXPECT_EQ(lineCount(), 0u) << log.dump();
    }));
}

TEST_F(FileFindAll, TellsThatDescriptorsHaveRunOut) {
    makeFolder("f");
    EXPECT_TRUE(holdsInChild([&] {
        const LowLimit limit(RLIMIT_NOFILE, 0);
        EXPECT_EQ(list("f", {"*"}).code, 0xFEB0000Du);
    }));
}

TEST_F(FileFindAll, IgnoresCase) {
    writeFile("f/system1.log", "");
    writeFile("f/SYSTEM2.Log", "");
    writeFile("f/other.log", "");
    const Listing listing = list(path("f"), {"SYSTEM*.LOG"});
    EXPECT_EQ(listing.code, 0u);
    EXPECT_EQ(listing.sortedPaths(), (Sorted{path("f/system1.log"), path("f/SYSTEM2.Log")}));
}

TEST_F(FileFindAll, ListsAFileOnceForSeveralPatterns) {
    writeFile("f/a.log", "");
    EXPECT_EQ(list(path("f"), {"*.log", "*.LOG", "*"}).files.size(), 1u);
}

TEST_F(FileFindAll, TakesAnyOfThePatterns) {
    writeFile("f/a.log", "");
    writeFile("f/b.txt", "");
    writeFile("f/c.bin", "");
    EXPECT_EQ(list(path("f"), {"*.log", "b.*"}).sortedPaths(), (Sorted{path("f/a.log"), path("f/b.txt")}));
}

TEST_F(FileFindAll, KeepsTheOrderOfTheFolder) {
    for (int i = 0; i < 50; ++i) {
        writeFile("f/" + std::to_string(i * 7919 % 1000) + ".log", "");
    }
    std::vector<std::string> expected;
    for (const std::string& name : folderOrder(path("f"))) {
        if (name != "." && name != "..") {
            expected.push_back(path("f/" + name));
        }
    }
    EXPECT_EQ(list(path("f"), {"*"}).paths(), expected);
}

TEST_F(FileFindAll, PutsTheHitsOfASubFolderAtItsPlace) {
    for (const char* name : {"a", "b", "c", "d"}) {
        writeFile(std::string("f/") + name + ".log", "");
        writeFile(std::string("f/sub_") + name + "/x.log", "");
    }
    std::vector<std::string> expected;
    for (const std::string& name : folderOrder(path("f"))) {
        if (name.starts_with("sub_")) {
            expected.push_back(path("f/" + name + "/x.log"));
        } else if (name != "." && name != "..") {
            expected.push_back(path("f/" + name));
        }
    }
    ASSERT_EQ(expected.size(), 8u);
    EXPECT_EQ(list(path("f"), {"*.log"}, true).paths(), expected);
}

TEST_F(FileFindAll, FollowsSubFoldersOnlyWhenRecursive) {
    writeFile("f/a.log", "");
    writeFile("f/sub/deeper/b.log", "");
    EXPECT_EQ(list(path("f"), {"*.log"}, false).sortedPaths(), Sorted{path("f/a.log")});
    EXPECT_EQ(list(path("f"), {"*.log"}, true).sortedPaths(),
              (Sorted{path("f/a.log"), path("f/sub/deeper/b.log")}));
}

TEST_F(FileFindAll, NeverListsAFolder) {
    makeFolder("f/folder.log");
    for (const bool recursive : {false, true}) {
        const Listing listing = list(path("f"), {"*"}, recursive);
        EXPECT_EQ(listing.code, 0xFEB0000Cu);
        EXPECT_TRUE(listing.files.empty());
    }
}

TEST_F(FileFindAll, FindsHiddenFilesButNotTheDotEntries) {
    writeFile("f/.hidden", "");
    writeFile("f/...", "");
    EXPECT_EQ(list(path("f"), {".*"}).sortedPaths(), (Sorted{path("f/.hidden"), path("f/...")}));
}

TEST_F(FileFindAll, LogsASubFolderWithoutHitsAndGoesOn) {
    makeFolder("f/empty");
    writeFile("f/empty/other.txt", "");
    EXPECT_EQ(list(path("f"), {"*.log"}, true).code, 0xFEB0000Cu);
    EXPECT_TRUE(log.containsCode('E', "fileFindAll", "helperUtil::fileFindAll", 0xFEB0000C)) << log.dump();
    EXPECT_EQ(lineCount(), 1u);
}

TEST_F(FileFindAll, LogsASubFolderThatMayNotBeReadAndGoesOn) {
    makeFolder("f/locked");
    writeFile("f/open/a.log", "");
    ASSERT_EQ(::chmod(path("f").c_str(), 0755), 0);
    ASSERT_EQ(::chmod(path("f/open").c_str(), 0755), 0);
    ASSERT_EQ(::chmod(path("f/locked").c_str(), 0000), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        const Listing listing = list("f", {"*.log"}, true);
        EXPECT_EQ(listing.code, 0u);
        EXPECT_EQ(listing.sortedPaths(), Sorted{"f/open/a.log"});
        EXPECT_TRUE(log.containsCode('E', "fileFindAll", "helperUtil::fileFindAll", 0xFEB0000D))
            << log.dump();
    }));
}

TEST_F(FileFindAll, JudgesTheCallersWholeList) {
    makeFolder("f");
    std::string folder = path("f");
    Patterns patterns{"*"};
    std::list<FoundFile> files{FoundFile{"before", "/", false, 1}};
    EXPECT_EQ(fileFindAll(folder, patterns, false, files), 0u);
    EXPECT_EQ(files.size(), 1u);
    files.clear();
    EXPECT_EQ(fileFindAll(folder, patterns, false, files), 0xFEB0000Cu);
}

TEST_F(FileFindAll, ListsSpecialFilesWithoutOpeningThem) {
    makeFolder("f");
    ASSERT_EQ(::mkfifo(path("f/pipe").c_str(), 0600), 0);
    EXPECT_EQ(list(path("f"), {"*"}).sortedPaths(), Sorted{path("f/pipe")});
}

TEST_F(FileFindAll, GivesALinkKindAndTimeOfItsTarget) {
    setModificationTime(writeFile("target.log", ""), 1'000'000);
    writeFile("other/b.log", "");
    makeFolder("f");
    fs::create_symlink("../target.log", path("f/link.log"));
    fs::create_symlink("../other", path("f/folder"));
    const Listing listing = list(path("f"), {"*.log"}, true);
    EXPECT_EQ(listing.sortedPaths(), (Sorted{path("f/link.log"), path("f/folder/b.log")}));
    const auto hit = std::find_if(listing.files.begin(), listing.files.end(),
                                  [](const FoundFile& file) { return file.name == "link.log"; });
    ASSERT_NE(hit, listing.files.end());
    EXPECT_EQ(hit->modificationTime, 1'000'000);
}

TEST_F(FileFindAll, ListsALinkToNowhereAsAFileWhateverStandsBeforeIt) {
    makeFolder("f");
    Sorted expected;
    for (int i = 0; i < 6; ++i) {
        const std::string number = std::to_string(i);
        writeFile("f/sub" + number + "/other.txt", "");
        fs::create_symlink("nowhere", path("f/link" + number));
        fs::create_symlink("loop" + number, path("f/loop" + number));
        expected.insert({path("f/link" + number), path("f/loop" + number)});
    }
    for (const bool recursive : {false, true}) {
        const Listing listing = list(path("f"), {"l*"}, recursive);
        EXPECT_EQ(listing.sortedPaths(), expected);
        EXPECT_TRUE(std::all_of(listing.files.begin(), listing.files.end(),
                                [](const FoundFile& file) { return file.modificationTime == 0; }));
        EXPECT_TRUE(listing.omitted.empty());
    }
    EXPECT_EQ(log.count('I', "is not a directory"), 0) << log.dump();
}

TEST_F(FileFindAll, EndsWithLinksThatLeadBackUp) {
    writeFile("f/sub/a.log", "");
    fs::create_symlink(".", path("f/self"));
    fs::create_symlink("..", path("f/sub/up"));
    fs::create_symlink("../../f/sub", path("f/sub/around"));
    const Listing listing = list(path("f"), {"*.log"}, true);
    EXPECT_EQ(listing.code, 0u);
    EXPECT_EQ(listing.sortedPaths(), Sorted{path("f/sub/a.log")});
}

TEST_F(FileFindAll, EndsWithALinkThatNamesItself) {
    makeFolder("f");
    fs::create_symlink("loop", path("f/loop"));
    writeFile("f/a.log", "");
    EXPECT_EQ(list(path("f"), {"*.log"}, true).sortedPaths(), Sorted{path("f/a.log")});
}

TEST_F(FileFindAll, VisitsAFolderTwiceThatTwoLinksLeadTo) {
    writeFile("target/a.log", "");
    makeFolder("f");
    fs::create_symlink("../target", path("f/one"));
    fs::create_symlink("../target", path("f/two"));
    EXPECT_EQ(list(path("f"), {"*"}, true).sortedPaths(), (Sorted{path("f/one/a.log"), path("f/two/a.log")}));
}

TEST_F(FileFindAll, TellsWhichSubFolderCouldNotBeRead) {
    writeFile("f/locked/a.log", "");
    writeFile("f/open/b.log", "");
    ASSERT_EQ(::chmod("f", 0755), 0);
    ASSERT_EQ(::chmod("f/open", 0755), 0);
    ASSERT_EQ(::chmod("f/locked", 0000), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        const Listing listing = list("f", {"*"}, true);
        EXPECT_EQ(listing.code, 0u);
        EXPECT_EQ(listing.sortedPaths(), Sorted{"f/open/b.log"});
        EXPECT_EQ(listing.omitted, Sorted{"f/locked could not be listed: Permission denied"});
        EXPECT_EQ(list("f/locked", {"*"}).omitted, Sorted{"f/locked could not be listed: Permission denied"});
    }));
}

TEST_F(FileFindAll, LeavesItToTheCodeToTellThatTheFolderIsMissing) {
    EXPECT_TRUE(list(path("none"), {"*"}).omitted.empty());
    EXPECT_TRUE(list(writeFile("a.log", ""), {"*"}).omitted.empty());
}

TEST_F(FileFindAll, TellsWhichEntriesCouldNotBeExamined) {
    writeFile("names/a.log", "");
    writeFile("names/b.txt", "");
    makeFolder("names/sub.txt");
    fs::create_symlink("closed/inner", path("link.txt"));
    writeFile("closed/inner/c.log", "");
    // The names of the one folder can be read and nothing more; a link leads through the other.
    ASSERT_EQ(::chmod("names", 0444), 0);
    ASSERT_EQ(::chmod("closed", 0000), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        const Listing names = list("names", {"*.log"}, true);
        EXPECT_EQ(names.sortedPaths(), Sorted{"names/a.log"});
        EXPECT_EQ(names.omitted, (Sorted{"names/a.log could not be listed: Permission denied",
                                         "names/sub.txt could not be listed: Permission denied"}));
        EXPECT_TRUE(
            list(".", {"*.log"}, true).omitted.contains("./link.txt could not be listed: Permission denied"));
        EXPECT_TRUE(list(".", {"*.log"}, false).omitted.empty());
    }));
}

TEST_F(FileFindAll, TellsThatReadingAFolderBrokeOff) {
    writeFile("f/a.log", "");
    EXPECT_TRUE(holdsInChild([&] {
        replaceSystemCall(SYS_getdents64, EIO);
        const Listing listing = list("f", {"*"}, true);
        EXPECT_EQ(listing.omitted, Sorted{"f could not be listed: Input/output error"});
        EXPECT_TRUE(log.containsCode('E', "fileFindAll", "readdir", EIO)) << log.dump();
        FoundFile newest;
        Sorted omitted;
        EXPECT_EQ(fileGetNewestMatchingFile("f", "*", false, newest,
                                            [&](const std::string& path, const std::string& reason) {
                                                omitted.insert(path + reason);
                                            }),
                  0xFEB0000Cu);
        EXPECT_EQ(omitted, listing.omitted);
    }));
}

TEST_F(FileFindAll, EntersAFolderSixteenTimesAndTellsOfItOnce) {
    writeFile("target/a.log", "");
    makeFolder("f");
    for (int i = 0; i < 20; ++i) {
        fs::create_symlink("../target", path("f/link" + std::to_string(i)));
    }
    const Listing listing = list("f", {"*"}, true);
    EXPECT_EQ(listing.files.size(), 16u);
    ASSERT_EQ(listing.omitted.size(), 1u);
    EXPECT_TRUE(listing.omitted.begin()->starts_with("f/link"));
    EXPECT_TRUE(listing.omitted.begin()->ends_with(" was met more than 16 times and is not entered again"));
    // Each listing counts for itself.
    EXPECT_EQ(list("f", {"*"}, true).files.size(), 16u);
}

TEST_F(FileFindAll, EndsWhereEachFolderHoldsTwoLinksToTheNext) {
    // Twice as many ways at each level: more than there are seconds in the life of a star.
    constexpr int kLevels = 100;
    for (int level = 0; level < kLevels; ++level) {
        const std::string folder = path("level" + std::to_string(level));
        makeFolder(folder);
        const std::string next = "../level" + std::to_string(level + 1);
        fs::create_symlink(next, folder + "/one");
        fs::create_symlink(next, folder + "/two");
    }
    writeFile("level" + std::to_string(kLevels) + "/a.log", "");
    const Listing listing = list("level0", {"*.log"}, true);
    EXPECT_LE(listing.files.size(), 16u);
    EXPECT_FALSE(listing.files.empty() && listing.omitted.empty());
}

TEST_F(FileFindAll, ReachesTheBottomOfATreeOfTwoThousandLevels) {
    const DeepTree tree("deep", 2000);
    const LowLimit limit(RLIMIT_NOFILE, 64);
    const Listing listing = list("deep", {"*.log"}, true);
    EXPECT_EQ(listing.code, 0u);
    ASSERT_EQ(listing.files.size(), 1u);
    EXPECT_EQ(listing.files.front().directory.size(), 5 + 2 * 2000u);
}

TEST_F(FileFindAll, TakesAnyBytesForAName) {
    Sorted expected;
    for (const std::string& name : nastyNames()) {
        expected.insert(writeFile("f/" + name, ""));
    }
    EXPECT_EQ(list(path("f"), {"*.LOG"}).sortedPaths(), expected);
}

TEST_F(FileFindAll, ClosesItsFolders) {
    writeFile("f/sub/a.log", "");
    const size_t before = openDescriptors();
    EXPECT_EQ(list(path("f"), {"*"}, true).code, 0u);
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(NewestMatch, TakesTheLatestTime) {
    setModificationTime(writeFile("f/a.log", ""), 2000);
    setModificationTime(writeFile("f/b.log", ""), 3000);
    setModificationTime(writeFile("f/c.log", ""), 1000);
    setModificationTime(writeFile("f/d.txt", ""), 9000);
    FoundFile newest;
    const std::string folder = path("f");
    EXPECT_EQ(fileGetNewestMatchingFile(folder, "*.LOG", false, newest), 0u);
    EXPECT_EQ(newest.name, "b.log");
    EXPECT_EQ(newest.directory, path("f") + "/");
    EXPECT_EQ(newest.modificationTime, 3000);
    EXPECT_FALSE(newest.isDirectory);
    EXPECT_EQ(folder, path("f"));
}

TEST_F(NewestMatch, TakesTheLastOfTheFolderAmongEqualTimes) {
    for (const char* name : {"a", "b", "c", "d", "e"}) {
        setModificationTime(writeFile(std::string("f/") + name, ""), 5000);
    }
    std::string last;
    for (const std::string& name : folderOrder(path("f"))) {
        last = name == "." || name == ".." ? last : name;
    }
    FoundFile newest;
    EXPECT_EQ(fileGetNewestMatchingFile(path("f"), "*", false, newest), 0u);
    EXPECT_EQ(newest.name, last);
}

TEST_F(NewestMatch, NeverTakesANegativeTime) {
    setModificationTime(writeFile("f/a", ""), -1);
    FoundFile newest{"before", "/", true, 7};
    EXPECT_EQ(fileGetNewestMatchingFile(path("f"), "*", false, newest), 0u);
    EXPECT_EQ(newest.name, "");
    EXPECT_EQ(newest.directory, "");
    EXPECT_FALSE(newest.isDirectory);
    EXPECT_EQ(newest.modificationTime, 0);
    setModificationTime(writeFile("f/b", ""), 0);
    EXPECT_EQ(fileGetNewestMatchingFile(path("f"), "*", false, newest), 0u);
    EXPECT_EQ(newest.name, "b");
}

TEST_F(NewestMatch, SearchesSubFoldersWhenRecursive) {
    setModificationTime(writeFile("f/a.log", ""), 1000);
    setModificationTime(writeFile("f/sub/b.log", ""), 2000);
    FoundFile newest;
    EXPECT_EQ(fileGetNewestMatchingFile(path("f"), "*.log", false, newest), 0u);
    EXPECT_EQ(newest.name, "a.log");
    EXPECT_EQ(fileGetNewestMatchingFile(path("f"), "*.log", true, newest), 0u);
    EXPECT_EQ(newest.directory + newest.name, path("f/sub/b.log"));
}

TEST_F(NewestMatch, IsEmptyAndSilentWhenNothingMatches) {
    makeFolder("f");
    FoundFile newest{"before", "/", true, 7};
    EXPECT_EQ(fileGetNewestMatchingFile(path("f"), "*", false, newest), 0xFEB0000Cu);
    EXPECT_EQ(newest.name + newest.directory, "");
    EXPECT_FALSE(newest.isDirectory);
    EXPECT_EQ(newest.modificationTime, 0);
    EXPECT_EQ(fileGetNewestMatchingFile(path("f"), "", false, newest), 0xFEB0000Cu);
    EXPECT_EQ(lineCount(), 0u) << log.dump();
}

TEST_F(NewestMatch, LogsAnyOtherFailureOfTheListing) {
    FoundFile newest;
    EXPECT_EQ(fileGetNewestMatchingFile("", "*", false, newest), 0xFEB00002u);
    EXPECT_TRUE(log.containsCode('E', "fileGetNewestMatchingFile", "helperUtil::fileFindAll", 0xFEB00002));
    EXPECT_EQ(fileGetNewestMatchingFile(writeFile("a", ""), "*", false, newest), 0xFEB0000Du);
    EXPECT_TRUE(log.containsCode('E', "fileGetNewestMatchingFile", "helperUtil::fileFindAll", 0xFEB0000D))
        << log.dump();
}

/// The meaning of a pattern, spelled out.
bool matchesByDefinition(const std::string& pattern, const std::string& text) {
    if (pattern.empty()) {
        return text.empty();
    }
    if (pattern[0] == '*') {
        return matchesByDefinition(pattern.substr(1), text) ||
               (!text.empty() && matchesByDefinition(pattern, text.substr(1)));
    }
    return !text.empty() && (pattern[0] == '?' || pattern[0] == text[0]) &&
           matchesByDefinition(pattern.substr(1), text.substr(1));
}

/// All words over `letters` up to a length.
std::vector<std::string> words(const std::string& letters, size_t longest) {
    std::vector<std::string> all{""};
    for (size_t i = 0; i < all.size(); ++i) {
        for (const char letter : letters) {
            if (all[i].size() < longest) {
                all.push_back(all[i] + letter);
            }
        }
    }
    return all;
}

TEST(MatchWildcard, MatchesNothingForNull) {
    EXPECT_FALSE(matchWildcard(nullptr, "a"));
    EXPECT_FALSE(matchWildcard("*", nullptr));
    EXPECT_FALSE(matchWildcard(nullptr, nullptr));
}

TEST(MatchWildcard, AgreesWithTheMeaningForAllShortTexts) {
    const std::vector<std::string> texts = words("ab", 5);
    for (const std::string& pattern : words("ab*?", 5)) {
        for (const std::string& text : texts) {
            ASSERT_EQ(matchWildcard(pattern.c_str(), text.c_str()), matchesByDefinition(pattern, text))
                << "\"" << pattern << "\" on \"" << text << "\"";
        }
    }
}

TEST(MatchWildcard, TellsCaseApart) {
    EXPECT_TRUE(matchWildcard("system*.log", "system1.log"));
    EXPECT_FALSE(matchWildcard("SYSTEM*.LOG", "system1.log"));
}

TEST(MatchWildcard, TakesEverythingElseForItself) {
    EXPECT_TRUE(matchWildcard("a[b].\\x", "a[b].\\x"));
    EXPECT_FALSE(matchWildcard("a[b]", "ab"));
    EXPECT_TRUE(matchWildcard("\xff?\n", "\xff\xfe\n"));
    EXPECT_TRUE(matchWildcard("*\n*", "line\nfeed"));
    EXPECT_TRUE(matchWildcard("*x", "*?x"));
}

TEST(MatchWildcard, CountsBytesNotCharacters) {
    EXPECT_FALSE(matchWildcard("?", "\xc3\xa4"));
    EXPECT_TRUE(matchWildcard("??", "\xc3\xa4"));
}

TEST(MatchWildcard, StaysFastOnPatternsFullOfStars) {
    std::string pattern;
    for (int i = 0; i < 50; ++i) {
        pattern += "a*";
    }
    pattern += "b";
    std::string text(10000, 'a');
    // Trying every way to share out the stars would not end in this life.
    EXPECT_FALSE(matchWildcard(pattern.c_str(), text.c_str()));
    text.back() = 'b';
    EXPECT_TRUE(matchWildcard(pattern.c_str(), text.c_str()));
}

} // namespace
