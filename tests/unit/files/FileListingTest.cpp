#include "Files.h"

#include "FileTest.h"

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

/// A listing with its code.
struct Listing {
    uint32_t code = 0;
    std::list<FoundFile> files;
    [[nodiscard]] std::vector<std::string> paths() const {
        std::vector<std::string> all;
        for (const FoundFile& file : files) {
            all.push_back(file.directory + file.name);
        }
        return all;
    }
    [[nodiscard]] std::multiset<std::string> sortedPaths() const {
        const std::vector<std::string> all = paths();
        return {all.begin(), all.end()};
    }
};

Listing list(std::string directory, Patterns patterns, bool recursive = false) {
    Listing listing;
    listing.code = fileFindAll(directory, patterns, recursive, listing.files);
    return listing;
}

using FileFindAll = FileTest;
using NewestMatch = FileTest;
using Sorted = std::multiset<std::string>;

} // namespace

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

TEST_F(FileFindAll, GivesALinkToNowhereKindAndTimeOfTheEntryBefore) {
    makeFolder("f");
    for (int i = 0; i < 6; ++i) {
        setModificationTime(writeFile("f/file" + std::to_string(i), ""), 1000 + i);
        fs::create_symlink("nowhere", path("f/link" + std::to_string(i)));
        makeFolder("f/sub" + std::to_string(i));
    }
    // The order belongs to the file system, so the expectation is made from it.
    std::vector<std::pair<std::string, int64_t>> expected;
    struct stat status = {};
    for (const std::string& name : folderOrder(path("f"))) {
        static_cast<void>(::stat(path("f/" + name).c_str(), &status));
        if (!S_ISDIR(status.st_mode) && name != "." && name != "..") {
            expected.emplace_back(name, status.st_mtime);
        }
    }
    std::vector<std::pair<std::string, int64_t>> found;
    for (const FoundFile& file : list(path("f"), {"*"}).files) {
        found.emplace_back(file.name, file.modificationTime);
    }
    EXPECT_EQ(found, expected);
}

TEST_F(FileFindAll, TriesALinkToNowhereBehindAFolderAsAFolder) {
    makeFolder("f");
    for (int i = 0; i < 6; ++i) {
        fs::create_symlink("nowhere", path("f/link" + std::to_string(i)));
    }
    int expected = 0;
    bool likeFolder = false;
    for (const std::string& name : folderOrder(path("f"))) {
        likeFolder = likeFolder || name == "." || name == "..";
        expected += likeFolder && name.starts_with("link") ? 1 : 0;
    }
    static_cast<void>(list(path("f"), {"*"}, true)); // only its log lines count here
    EXPECT_EQ(log.count('I', "/\" is not a directory"), expected) << log.dump();
    EXPECT_EQ(log.count('E', "Invoked Function: helperUtil::fileFindAll\n"), expected) << log.dump();
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

namespace {

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

} // namespace

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
