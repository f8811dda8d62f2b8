#include "Common/Utility/files/LongPath.h"

#include "Common/Utility/files/RegularFile.h"
#include "tests/support/InChild.h"
#include "tests/support/Processes.h"
#include "tests/support/Sandbox.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class LongPathTest : public Sandbox {
protected:
    /// Makes folders of long names below each other, with a file in the last one, and gives the file's path.
    std::string makeDeepFile(int depth) {
        const std::string name(200, 'n');
        std::string deep = path();
        FileDescriptor level(::open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        for (int i = 0; i < depth; ++i) {
            EXPECT_EQ(::mkdirat(level.get(), name.c_str(), 0700), 0);
            level.reset(::openat(level.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            deep += "/" + name;
        }
        const FileDescriptor file(::openat(level.get(), "file", O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
        EXPECT_EQ(::write(file.get(), "found", 5), 5);
        return deep + "/file";
    }
    static std::string contentOf(const LongPath& way) {
        FileDescriptor file;
        EXPECT_EQ(openRegularFileAt(way.folder(), way.rest(), O_RDONLY | O_NOFOLLOW, file), 0);
        std::string content(16, '\0');
        content.resize(static_cast<std::size_t>(::read(file.get(), content.data(), content.size())));
        return content;
    }
};

TEST_F(LongPathTest, LeavesAShortPathAsItIs) {
    for (const std::string shortPath : {"", "a", "/", "/a/b", "a/b/"}) {
        const LongPath way(shortPath);
        EXPECT_EQ(way.error(), 0);
        EXPECT_EQ(way.folder(), AT_FDCWD);
        EXPECT_EQ(way.rest(), shortPath.c_str());
    }
}

TEST_F(LongPathTest, LeadsToFilesThatNoPathReaches) {
    const std::string deep = makeDeepFile(100);
    ASSERT_GT(deep.size(), std::size_t{4} * PATH_MAX);
    FileDescriptor file;
    ASSERT_EQ(openRegularFile(deep.c_str(), O_RDONLY, file), ENAMETOOLONG);
    const std::size_t before = openDescriptors();
    {
        const LongPath way(deep);
        ASSERT_EQ(way.error(), 0);
        EXPECT_EQ(contentOf(way), "found");
        EXPECT_EQ(openDescriptors(), before + 1);
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(LongPathTest, StartsFromTheCurrentFolderIfItIsRelative) {
    const std::string deep = makeDeepFile(50).substr(path().size() + 1);
    const LongPath way(deep);
    ASSERT_EQ(way.error(), 0);
    EXPECT_EQ(contentOf(way), "found");
}

TEST_F(LongPathTest, MayHaveManySlashesAnywhere) {
    std::string slashes = makeDeepFile(1);
    slashes.insert(path().size(), std::string(std::size_t{3} * PATH_MAX, '/'));
    const LongPath way(slashes);
    ASSERT_EQ(way.error(), 0);
    EXPECT_EQ(contentOf(way), "found");
}

TEST_F(LongPathTest, TellsWhyItEndsOnTheWay) {
    const std::string deep = makeDeepFile(50);
    const std::string missing = path("gone") + deep.substr(path().size());
    EXPECT_EQ(LongPath(missing).error(), ENOENT);
    const std::string part(PATH_MAX, 'x');
    FileDescriptor file;
    const LongPath way(part);
    EXPECT_EQ(openRegularFileAt(way.folder(), way.rest(), O_RDONLY, file), ENAMETOOLONG);
}

} // namespace
