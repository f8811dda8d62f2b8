#include "Common/Utility/files/ReplacementFile.h"

#include "tests/support/InChild.h"
#include "tests/support/Sandbox.h"
#include "tests/support/SystemCallFilter.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using Call = ReplacementFile::Call;

class ReplacementFileTest : public Sandbox {
protected:
    std::set<std::string> names() const {
        std::set<std::string> found;
        for (const fs::directory_entry& entry : fs::directory_iterator(path())) {
            found.insert(entry.path().filename());
        }
        return found;
    }
    static void fill(ReplacementFile& file) {
        ASSERT_FALSE(file.create().happened());
        ASSERT_EQ(::write(file.descriptor(), "new", 3), 3);
    }
    /// No file without a name can be made from here on.
    static void needNames() { replaceSystemCallWith(SYS_openat, EOPNOTSUPP, 2, O_TMPFILE & ~O_DIRECTORY); }
};

TEST_F(ReplacementFileTest, IsNowhereUntilItIsInItsPlace) {
    writeFile("a", "old");
    ReplacementFile file(path("a"), ".hidden");
    fill(file);
    EXPECT_EQ(readFile("a"), "old");
    EXPECT_THAT(names(), UnorderedElementsAre("a"));
    ASSERT_FALSE(file.place().happened());
    EXPECT_EQ(readFile("a"), "new");
    EXPECT_THAT(names(), UnorderedElementsAre("a"));
}

TEST_F(ReplacementFileTest, HasAHiddenNameWhereItNeedsOne) {
    inChild([this] {
        needNames();
        ReplacementFile file(path("a"), ".hidden");
        fill(file);
        EXPECT_THAT(names(), UnorderedElementsAre(".hidden"));
        ASSERT_FALSE(file.place().happened());
        EXPECT_THAT(names(), UnorderedElementsAre("a"));
    });
    EXPECT_EQ(readFile("a"), "new");
}

TEST_F(ReplacementFileTest, GoesWithItsObjectOrBefore) {
    inChild([this] {
        needNames();
        {
            ReplacementFile file(path("a"), ".hidden");
            fill(file);
        }
        EXPECT_THAT(names(), IsEmpty());
        ReplacementFile file(path("a"), ".hidden");
        fill(file);
        file.discard();
        EXPECT_THAT(names(), IsEmpty());
        EXPECT_EQ(file.descriptor(), -1);
    });
}

TEST_F(ReplacementFileTest, GoesWithTheHiddenFilesUntilItIsInItsPlace) {
    inChild([this] {
        needNames();
        {
            ReplacementFile file(path("a"), ".hidden");
            fill(file);
            ASSERT_FALSE(file.place().happened());
            writeFile(".hidden", "somebody else's");
            removeHiddenFiles();
            EXPECT_THAT(names(), UnorderedElementsAre("a", ".hidden"));
            fs::remove(path(".hidden"));
        }
        ReplacementFile file(path("b"), ".hidden");
        fill(file);
        removeHiddenFiles();
        EXPECT_THAT(names(), UnorderedElementsAre("a"));
    });
}

TEST_F(ReplacementFileTest, IsForItsOwnerAloneInAnyFolder) {
    const mode_t former = ::umask(0);
    {
        ReplacementFile file("a", ".hidden"); // in the current folder
        fill(file);
        EXPECT_FALSE(file.place().happened());
    }
    ::umask(former);
    struct stat status {};
    ASSERT_EQ(::stat(path("a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(ReplacementFileTest, TakesNoFileForItsOwnThatIsThere) {
    writeFile(".hidden", "another's");
    inChild([this] {
        ReplacementFile nameless(path("a"), ".hidden");
        fill(nameless);
        const auto failure = nameless.place();
        EXPECT_EQ(failure.call, Call::Link);
        EXPECT_EQ(failure.error, EEXIST);
        needNames();
        ReplacementFile file(path("a"), ".hidden");
        EXPECT_EQ(file.create().call, Call::CreateFile);
    });
    EXPECT_EQ(readFile(".hidden"), "another's");
    EXPECT_THAT(names(), UnorderedElementsAre(".hidden"));
}

TEST_F(ReplacementFileTest, NeedsItsFolderAndAName) {
    ReplacementFile nowhere(path("nowhere/a"), ".hidden");
    const auto failure = nowhere.create();
    EXPECT_EQ(failure.call, Call::OpenFolder);
    EXPECT_EQ(failure.error, ENOENT);
    EXPECT_STREQ(nameOf(failure.call), "open");
    ReplacementFile unnamed(path() + "/", ".hidden");
    fill(unnamed);
    EXPECT_EQ(unnamed.place().call, Call::Rename);
    unnamed.discard();
    EXPECT_THAT(names(), IsEmpty());
}

TEST(HiddenNames, DifferEachTimeAndStartWithADot) {
    const std::string name = drawHiddenName();
    EXPECT_EQ(name.size(), 38U);
    EXPECT_TRUE(name.starts_with(".part_"));
    EXPECT_NE(drawHiddenName(), name);
}

using RefusalOfTarget = Sandbox;

TEST_F(RefusalOfTarget, GoesByTheKindOfFile) {
    const auto refusal = [this](const char* name) { return refusalOfTarget(AT_FDCWD, path(name).c_str()); };
    writeFile("file", "");
    makeFolder("folder");
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    fs::create_symlink("file", path("to file"));
    fs::create_symlink("missing", path("to nothing"));
    fs::create_symlink("pipe", path("to pipe"));
    fs::create_symlink("folder", path("to folder"));
    fs::create_symlink("/dev/null", path("to device"));
    for (const char* name : {"file", "missing", "to file", "to nothing", "file/below"}) {
        EXPECT_EQ(refusal(name), 0) << name;
    }
    EXPECT_EQ(refusal("folder"), EISDIR);
    EXPECT_EQ(refusal("to folder"), EISDIR);
    EXPECT_EQ(refusal("pipe"), ENXIO);
    EXPECT_EQ(refusal("to pipe"), ENXIO);
    EXPECT_EQ(refusal("to device"), ENXIO);
}

} // namespace
