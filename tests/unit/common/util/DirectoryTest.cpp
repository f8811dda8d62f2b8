#include "Common/Utility/files/Directory.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <optional>
#include <vector>

namespace {

using ::testing::UnorderedElementsAre;

class Directories : public Sandbox {
protected:
    CapturedLog m_log;

    void expectSilence() const { EXPECT_TRUE(m_log.lines().empty()) << m_log.dump(); }
    void expectMkdirFailure(uint32_t failure, const std::string& text) const {
        EXPECT_TRUE(m_log.containsCode('E', "CreateNewDirectory", "mkdir", failure)) << m_log.dump();
        EXPECT_TRUE(m_log.contains('E', text)) << m_log.dump();
    }
    /// Closes, behind the back of whoever opened it, the descriptor of an open folder.
    void closeDescriptorOf(const std::string& folder) const {
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code gone;
            if (std::filesystem::read_symlink(entry.path(), gone) == folder) {
                ASSERT_EQ(::close(std::stoi(entry.path().filename())), 0);
                return;
            }
        }
        FAIL() << folder << " isn't open";
    }
    static std::vector<std::string> entriesOf(Directory& directory) {
        std::vector<std::string> names;
        std::string name;
        uint32_t code = 0;
        while ((code = directory.getNextEntry(name)) == 0) {
            names.push_back(name);
        }
        EXPECT_EQ(code, DIRECTORY_ERROR_NO_MORE_FILES);
        return names;
    }
    static mode_t modeOf(const char* folder) {
        struct stat attributes {};
        EXPECT_EQ(::stat(folder, &attributes), 0);
        return attributes.st_mode & 07777U;
    }
};

TEST(DirectoryCodes, HaveTheirNumbers) {
    EXPECT_EQ(DIRECTORY_ERROR_BAD_PARAMETER, 0xFE580002U);
    EXPECT_EQ(DIRECTORY_ERROR_UNEXPECTED, 0xFE580009U);
    EXPECT_EQ(DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED, 0xFE58000AU);
    EXPECT_EQ(DIRECTORY_ERROR_DIRECTORY_NOT_FOUND, 0xFE58000BU);
    EXPECT_EQ(DIRECTORY_ERROR_NO_MORE_FILES, 0xFE58000CU);
    EXPECT_EQ(DIRECTORY_ERROR_FAILED_TO_CREATE_DIR, 0xFE58000DU);
    EXPECT_EQ(DIRECTORY_ERROR_DIRECTORY_ALREADY_EXISTS, 0xFE58000EU);
}

TEST_F(Directories, ListEveryEntryWithTheDots) {
    writeFile("folder/file", "");
    writeFile("folder/.hidden", "");
    makeFolder("folder/below");
    Directory directory;
    ASSERT_EQ(directory.Open("folder"), 0U);
    EXPECT_THAT(entriesOf(directory), UnorderedElementsAre(".", "..", "file", ".hidden", "below"));
    expectSilence();
}

TEST_F(Directories, StayAtTheEndAndKeepTheLastName) {
    makeFolder("folder");
    Directory directory;
    ASSERT_EQ(directory.Open("folder"), 0U);
    EXPECT_EQ(entriesOf(directory).size(), 2U);
    std::string name = "kept";
    EXPECT_EQ(directory.getNextEntry(name), DIRECTORY_ERROR_NO_MORE_FILES);
    EXPECT_EQ(name, "kept");
    expectSilence();
}

TEST_F(Directories, GiveNoEntryWithNoneOpen) {
    Directory directory;
    std::string name = "kept";
    EXPECT_EQ(directory.getNextEntry(name), DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED);
    makeFolder("folder");
    ASSERT_EQ(directory.Open("folder"), 0U);
    ASSERT_EQ(directory.close(), 0U);
    EXPECT_EQ(directory.getNextEntry(name), DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED);
    EXPECT_EQ(name, "kept");
    expectSilence();
}

TEST_F(Directories, RefuseAnEmptyPathAndStayOpen) {
    makeFolder("folder");
    Directory directory;
    EXPECT_EQ(directory.Open(""), DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED);
    ASSERT_EQ(directory.Open("folder"), 0U);
    EXPECT_EQ(directory.Open(""), DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED);
    EXPECT_EQ(entriesOf(directory).size(), 2U);
    expectSilence();
}

TEST_F(Directories, OpenAnotherFolderInPlaceOfTheFirst) {
    writeFile("first/one", "");
    writeFile("second/two", "");
    Directory directory;
    ASSERT_EQ(directory.Open("first"), 0U);
    ASSERT_EQ(directory.Open("second"), 0U);
    EXPECT_THAT(entriesOf(directory), UnorderedElementsAre(".", "..", "two"));
    ASSERT_EQ(directory.Open("second"), 0U);
    EXPECT_EQ(entriesOf(directory).size(), 3U);
}

TEST_F(Directories, LeaveNoDescriptorOpen) {
    const std::string folder = makeFolder("folder");
    const auto openCount = [] {
        const std::filesystem::directory_iterator descriptors("/proc/self/fd");
        return std::distance(begin(descriptors), end(descriptors));
    };
    const auto before = openCount();
    {
        Directory directory;
        ASSERT_EQ(directory.Open(folder), 0U);
        ASSERT_EQ(directory.Open(folder), 0U);
        EXPECT_EQ(openCount(), before + 1);
    }
    EXPECT_EQ(openCount(), before);
}

TEST_F(Directories, DoNotOpenWhatIsMissingOrNoFolder) {
    writeFile("file", "");
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    Directory directory;
    EXPECT_EQ(directory.Open("missing"), DIRECTORY_ERROR_DIRECTORY_NOT_FOUND);
    EXPECT_TRUE(m_log.containsCode('E', "Open", "opendir", ENOENT)) << m_log.dump();
    EXPECT_TRUE(m_log.contains('E', "Directory: missing\nError: No such file or directory"));
    EXPECT_EQ(directory.Open("file"), DIRECTORY_ERROR_DIRECTORY_NOT_FOUND);
    EXPECT_EQ(directory.Open("pipe"), DIRECTORY_ERROR_DIRECTORY_NOT_FOUND);
    EXPECT_TRUE(m_log.containsCode('E', "Open", "opendir", ENOTDIR)) << m_log.dump();
    std::string name;
    EXPECT_EQ(directory.getNextEntry(name), DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED);
}

TEST_F(Directories, DoNotOpenAFolderThatIsClosedToTheUser) {
    makeFolder("closed");
    ASSERT_EQ(::chmod("closed", 0), 0);
    asOrdinaryUser([this] {
        Directory directory;
        EXPECT_EQ(directory.Open("closed"), DIRECTORY_ERROR_DIRECTORY_NOT_FOUND);
        EXPECT_TRUE(m_log.containsCode('E', "Open", "opendir", EACCES)) << m_log.dump();
    });
    ASSERT_EQ(::chmod("closed", 0700), 0);
}

TEST_F(Directories, CloseAsOftenAsOneLikes) {
    Directory directory;
    EXPECT_EQ(directory.close(), 0U);
    ASSERT_EQ(directory.Open("."), 0U);
    EXPECT_EQ(directory.close(), 0U);
    EXPECT_EQ(directory.close(), 0U);
    expectSilence();
}

TEST_F(Directories, AFailedCloseIsReported) {
    const std::string folder = makeFolder("folder");
    Directory directory;
    ASSERT_EQ(directory.Open(folder), 0U);
    closeDescriptorOf(folder);
    EXPECT_EQ(directory.close(), DIRECTORY_ERROR_UNEXPECTED);
    EXPECT_TRUE(m_log.containsCode('E', "close", "closedir", EBADF)) << m_log.dump();
    EXPECT_EQ(directory.close(), 0U) << "it counts as closed";
}

TEST_F(Directories, AFailedCloseBeforeTheNextOpenIsReportedTwice) {
    const std::string folder = makeFolder("folder");
    Directory directory;
    ASSERT_EQ(directory.Open(folder), 0U);
    closeDescriptorOf(folder);
    EXPECT_EQ(directory.Open(folder), DIRECTORY_ERROR_UNEXPECTED);
    ASSERT_EQ(m_log.lines().size(), 2U) << m_log.dump();
    EXPECT_NE(m_log.lines()[0].text.find("Invoked Function: closedir\n"), std::string::npos);
    EXPECT_NE(m_log.lines()[1].text.find("Invoked Function: Directory::close\n"), std::string::npos);
    EXPECT_TRUE(m_log.containsCode('E', "Open", "Directory::close", DIRECTORY_ERROR_UNEXPECTED))
        << m_log.dump();
    EXPECT_EQ(directory.Open(folder), 0U);
}

TEST_F(Directories, AFailedCloseAtTheEndIsAWarning) {
    const std::string folder = makeFolder("folder");
    std::optional<Directory> directory(std::in_place);
    ASSERT_EQ(directory->Open(folder), 0U);
    closeDescriptorOf(folder);
    directory.reset();
    EXPECT_TRUE(m_log.containsCode('W', "~Directory", "Directory::close", DIRECTORY_ERROR_UNEXPECTED))
        << m_log.dump();
}

TEST_F(Directories, AFailedReadIsNotTakenForTheEnd) {
    const std::string folder = makeFolder("folder");
    Directory directory;
    ASSERT_EQ(directory.Open(folder), 0U);
    closeDescriptorOf(folder);
    std::string name = "kept";
    EXPECT_EQ(directory.getNextEntry(name), DIRECTORY_ERROR_UNEXPECTED);
    EXPECT_EQ(name, "kept");
    EXPECT_TRUE(m_log.containsCode('E', "getNextEntry", "readdir", EBADF)) << m_log.dump();
    EXPECT_EQ(directory.close(), DIRECTORY_ERROR_UNEXPECTED);
}

TEST_F(Directories, AreMadeWithAllTheirParents) {
    EXPECT_EQ(Directory::CreateNewDirectory(path("a/b/c"), false), 0U);
    EXPECT_TRUE(std::filesystem::is_directory(path("a/b/c")));
    expectSilence();
}

TEST_F(Directories, AreMadeFromARelativePathAndWithSlashesToSpare) {
    EXPECT_EQ(Directory::CreateNewDirectory("one", true), 0U);
    EXPECT_EQ(Directory::CreateNewDirectory("two/below/", true), 0U);
    EXPECT_EQ(Directory::CreateNewDirectory("three//below", true), 0U);
    for (const char* const folder : {"one", "two/below", "three/below"}) {
        EXPECT_TRUE(std::filesystem::is_directory(folder)) << folder;
    }
    expectSilence();
}

TEST_F(Directories, AreMadeForOwnerAndGroup) {
    const mode_t former = ::umask(0);
    EXPECT_EQ(Directory::CreateNewDirectory("open/below", false), 0U);
    ::umask(077);
    EXPECT_EQ(Directory::CreateNewDirectory("masked", false), 0U);
    ::umask(former);
    EXPECT_EQ(modeOf("open"), 0770U);
    EXPECT_EQ(modeOf("open/below"), 0770U);
    EXPECT_EQ(modeOf("masked"), 0700U);
}

TEST_F(Directories, AreNotMadeOfAnEmptyPath) {
    EXPECT_EQ(Directory::CreateNewDirectory("", false), DIRECTORY_ERROR_BAD_PARAMETER);
    EXPECT_EQ(Directory::CreateNewDirectory("", true), DIRECTORY_ERROR_BAD_PARAMETER);
    expectSilence();
}

TEST_F(Directories, MayExistAlreadyUnlessThatIsAFailure) {
    writeFile("folder/file", "text");
    EXPECT_EQ(Directory::CreateNewDirectory("folder", false), 0U);
    EXPECT_EQ(Directory::CreateNewDirectory("folder", true), DIRECTORY_ERROR_DIRECTORY_ALREADY_EXISTS);
    EXPECT_EQ(readFile("folder/file"), "text");
    EXPECT_EQ(Directory::CreateNewDirectory("/", false), 0U);
    EXPECT_EQ(Directory::CreateNewDirectory("/", true), DIRECTORY_ERROR_DIRECTORY_ALREADY_EXISTS);
    expectSilence();
}

TEST_F(Directories, ExistingParentsAreNoFailure) {
    makeFolder("a/b");
    EXPECT_EQ(Directory::CreateNewDirectory("a/b/c", true), 0U);
    EXPECT_TRUE(std::filesystem::is_directory("a/b/c"));
    expectSilence();
}

TEST_F(Directories, AreNotMadeOverAFile) {
    writeFile("file", "text");
    EXPECT_EQ(Directory::CreateNewDirectory("file", false), DIRECTORY_ERROR_FAILED_TO_CREATE_DIR);
    expectMkdirFailure(EEXIST, "Directory: file\nError: File exists");
    EXPECT_EQ(readFile("file"), "text");
}

TEST_F(Directories, AreNotMadeBelowAFile) {
    writeFile("file", "text");
    EXPECT_EQ(Directory::CreateNewDirectory("file/a/b", false), DIRECTORY_ERROR_FAILED_TO_CREATE_DIR);
    expectMkdirFailure(ENOTDIR, "Directory: file/a/b\nError: Not a directory");
}

TEST_F(Directories, AreNotMadeOverALinkToNothing) {
    ASSERT_EQ(::symlink("missing", "link"), 0);
    EXPECT_EQ(Directory::CreateNewDirectory("link", false), DIRECTORY_ERROR_FAILED_TO_CREATE_DIR);
    expectMkdirFailure(EEXIST, "Directory: link\nError: File exists");
    EXPECT_FALSE(exists("missing"));
}

TEST_F(Directories, AreNotMadeInAProtectedFolder) {
    makeFolder("protected");
    ASSERT_EQ(::chmod("protected", 0555), 0);
    asOrdinaryUser([this] {
        EXPECT_EQ(Directory::CreateNewDirectory("protected/a/b", false),
                  DIRECTORY_ERROR_FAILED_TO_CREATE_DIR);
        expectMkdirFailure(EACCES, "Directory: protected/a/b\nError: Permission denied");
    });
    EXPECT_FALSE(exists("protected/a"));
    ASSERT_EQ(::chmod("protected", 0755), 0);
}

} // namespace
