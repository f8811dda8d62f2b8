#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"

#include "Common/Utility/memory/Handles.h"
#include "tests/unit/files/FileTest.h"

#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <random>
#include <sys/stat.h>
#include <vector>

using namespace helperUtil;
using ::testing::ElementsAre;

namespace {

/// The names in a folder, in its order.
std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    const DirHandle stream(::opendir(folder.c_str()));
    while (const dirent* entry = ::readdir(stream.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    }
    return names;
}

/// Paths of the files below a folder whose names end as told, each where its folder has it.
void listPlainly(const std::string& folder, const std::string& end, std::vector<std::string>& paths) {
    for (const std::string& name : namesIn(folder)) {
        if (std::filesystem::is_directory(folder + name)) {
            listPlainly(folder + name + "/", end, paths);
        } else if (name.ends_with(end)) {
            paths.push_back(folder + name);
        }
    }
}

} // namespace

class FileWalk : public FileTest {
protected:
    /// Files and folders at random, more names than a spool keeps in memory.
    void makeTree() {
        std::mt19937 random(20260101);
        std::vector<std::string> folders{"tree"};
        for (int number = 0; number < 3000; ++number) {
            const std::string name = folders[random() % folders.size()] + "/" + std::to_string(number) +
                                     std::string(random() % 60, 'n');
            if (random() % 40 == 0) {
                folders.push_back(name);
                makeFolder(name);
            } else {
                writeFile(name + (random() % 8 == 0 ? ".txt" : ".log"), "");
            }
        }
    }
    std::vector<std::string> walked(bool recursive, const std::string& end) {
        std::vector<std::string> paths;
        const auto note = [&](const FoundFile& file) { paths.push_back(file.directory + file.name); };
        EXPECT_EQ(walkFiles(path("tree"), {"*" + end}, recursive, path("tree"), note, OmissionSink()), 0U);
        return paths;
    }
};

TEST_F(FileWalk, HasTheOrderOfTheFolders) {
    makeTree();
    std::vector<std::string> expected;
    listPlainly(path("tree") + "/", ".log", expected);
    EXPECT_GT(expected.size(), 2000U);
    EXPECT_EQ(walked(true, ".log"), expected);
    std::erase_if(expected, [this](const std::string& file) {
        return file.find('/', path("tree").size() + 1) != std::string::npos;
    });
    EXPECT_EQ(walked(false, ".log"), expected);
}

TEST_F(FileWalk, HandsOnWhatAListHolds) {
    makeTree();
    std::string folder = path("tree");
    std::list<std::string> patterns{"*.TXT"};
    std::list<FoundFile> listed;
    ASSERT_EQ(fileFindAll(folder, patterns, true, listed), 0U);
    const auto compare = [&](const FoundFile& file) {
        ASSERT_FALSE(listed.empty());
        const FoundFile expected = listed.front();
        listed.pop_front();
        EXPECT_EQ(file.directory + file.name, expected.directory + expected.name);
        EXPECT_EQ(file.modificationTime, expected.modificationTime);
        EXPECT_FALSE(file.isDirectory);
    };
    EXPECT_EQ(walkFiles(path("tree"), {"*.txt"}, true, path("tree"), compare, OmissionSink()), 0U);
    EXPECT_TRUE(listed.empty());
}

TEST_F(FileWalk, HasReadAFolderBeforeItsFirstFile) {
    writeFile("f/a", "");
    writeFile("f/b", "");
    std::vector<std::string> names;
    const auto addMore = [&](const FoundFile& file) {
        names.push_back(file.name);
        writeFile("f/more" + std::to_string(names.size()), "");
    };
    EXPECT_EQ(walkFiles(path("f"), {"*"}, true, path("f"), addMore, OmissionSink()), 0U);
    EXPECT_EQ(names.size(), 2U);
}

TEST_F(FileWalk, KnowsTimesBefore1970AndOddNames) {
    const std::string name = "-1 d\n\xFF'*";
    writeFile("f/" + name, "");
    const timespec times[2] = {{-5, 0}, {-5, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path("f/" + name).c_str(), times, 0), 0);
    std::vector<std::string> found;
    const auto note = [&](const FoundFile& file) {
        found.push_back(file.name + std::to_string(file.modificationTime));
    };
    EXPECT_EQ(walkFiles(path("f"), {"*"}, false, {}, note, OmissionSink()), 0U);
    EXPECT_THAT(found, ElementsAre(name + "-5"));
}

TEST_F(FileWalk, RefusesWhatAListRefuses) {
    const auto none = [](const FoundFile&) { FAIL(); };
    EXPECT_EQ(walkFiles("", {"*"}, false, {}, none, OmissionSink()), 0xFEB00002U);
    EXPECT_EQ(walkFiles(path(), {}, false, {}, none, OmissionSink()), 0xFEB00002U);
    EXPECT_EQ(walkFiles(path("missing"), {"*"}, false, {}, none, OmissionSink()), 0xFEB0000CU);
    EXPECT_EQ(walkFiles(makeFolder("empty"), {"*"}, false, {}, none, OmissionSink()), 0xFEB0000CU);
}
