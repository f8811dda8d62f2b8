#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"

#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/files/WholeWrite.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/files/FileTest.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/FileAccess.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <sched.h>
#include <set>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace helperUtil;
namespace fs = std::filesystem;

namespace {

class FileCopy : public FileTest {
protected:
    /// Copies by names relative to the current folder; the error text stays in `errorText`.
    uint32_t copy(const std::string& source, const std::string& destination) {
        errorText = "from before";
        omitted.clear();
        return fileCopy(
            source, destination, errorText,
            [this](const std::string& path, const std::string& reason) { omitted.insert(path + reason); });
    }
    std::string errorText;
    /// Path and reason of what the last copy left out.
    std::multiset<std::string> omitted;
};

using FileAccess = FileTest;

mode_t modeOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode;
}

TEST_F(FileCopy, CopiesEveryByteAcrossBlocks) {
    for (const size_t count : {0u, 1u, 4095u, 4096u, 4097u, 8192u, 1'000'003u}) {
        const std::string content = bytes(count);
        writeFile("a", content);
        EXPECT_EQ(copy("a", "b"), 0u);
        EXPECT_EQ(errorText, "");
        EXPECT_TRUE(readFile("b") == content) << count;
    }
    EXPECT_EQ(lineCount(), 0u) << log.dump();
}

TEST_F(FileCopy, TellsSilentlyThatTheSourceIsMissing) {
    writeFile("b", "old");
    EXPECT_EQ(copy("none", "b"), 0xFEB0000Cu);
    EXPECT_EQ(errorText, "");
    EXPECT_EQ(readFile("b"), "old");
    EXPECT_EQ(copy("", "b"), 0xFEB0000Cu);
    EXPECT_EQ(copy("", ""), 0xFEB0000Cu);
    EXPECT_EQ(lineCount(), 0u) << log.dump();
}

TEST_F(FileCopy, TakesALinkToNowhereForAMissingSource) {
    fs::create_symlink("nowhere", "link");
    EXPECT_EQ(copy("link", "b"), 0xFEB0000Cu);
}

TEST_F(FileCopy, LeavesAFileAloneThatIsCopiedOntoItself) {
    writeFile("a", "content");
    makeFolder("f");
    EXPECT_EQ(copy("a", "a"), 0u);
    EXPECT_EQ(copy("f", "f"), 0u);
    EXPECT_EQ(readFile("a"), "content");
    EXPECT_EQ(lineCount(), 0u) << log.dump();
}

TEST_F(FileCopy, LosesAFileThatIsNamedInTwoSpellings) {
    writeFile("a", "content");
    EXPECT_EQ(copy("a", "./a"), 0xFEB0000Du);
    EXPECT_EQ(errorText, "No such file or directory");
    EXPECT_FALSE(exists("a"));
}

TEST_F(FileCopy, AlwaysMakesANewDestination) {
    writeFile("a", "new");
    writeFile("b", "old and longer");
    fs::create_hard_link("b", "other name of b");
    EXPECT_EQ(copy("a", "b"), 0u);
    EXPECT_EQ(readFile("b"), "new");
    EXPECT_EQ(readFile("other name of b"), "old and longer");
}

TEST_F(FileCopy, ReplacesALinkAndKeepsItsTarget) {
    writeFile("a", "new");
    writeFile("target", "old");
    fs::create_symlink("target", "link");
    fs::create_symlink("nowhere", "dangling");
    EXPECT_EQ(copy("a", "link"), 0u);
    EXPECT_EQ(copy("a", "dangling"), 0u);
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status("link")));
    EXPECT_EQ(readFile("link"), "new");
    EXPECT_EQ(readFile("target"), "old");
    EXPECT_FALSE(exists("nowhere"));
}

TEST_F(FileCopy, CopiesTheTargetOfALink) {
    writeFile("target", "content");
    fs::create_symlink("target", "link");
    EXPECT_EQ(copy("link", "b"), 0u);
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status("b")));
    EXPECT_EQ(readFile("b"), "content");
}

TEST_F(FileCopy, DoesNotCarryModeAndTimeOver) {
    writeFile("a", "content");
    setModificationTime(path("a"), 1000);
    ASSERT_EQ(::chmod("a", 04755), 0);
    EXPECT_TRUE(holdsInChild([&] {
        ::umask(0);
        EXPECT_EQ(copy("a", "b"), 0u);
        ::umask(027);
        EXPECT_EQ(copy("a", "c"), 0u);
    }));
    EXPECT_EQ(modeOf("b"), S_IFREG | 0666u);
    EXPECT_EQ(modeOf("c"), S_IFREG | 0640u);
    struct stat status = {};
    ASSERT_EQ(::stat("b", &status), 0);
    EXPECT_GT(status.st_mtime, 1000);
}

TEST_F(FileCopy, TellsThatAFolderStandsInTheWay) {
    writeFile("a", "content");
    makeFolder("b");
    EXPECT_EQ(copy("a", "b"), 0xFEB00009u);
    EXPECT_EQ(errorText, "");
    EXPECT_TRUE(log.containsCode('E', "fileDelete", "unlink_file", EISDIR)) << log.dump();
    EXPECT_TRUE(log.containsCode('E', "fileCopy", "helperUtil::fileDelete", 0xFEB00009)) << log.dump();
    EXPECT_EQ(lineCount(), 2u);
}

TEST_F(FileCopy, KeepsAnOldDestinationThatCantBeDeleted) {
    writeFile("a", "new");
    writeFile("locked/b", "old");
    ASSERT_EQ(::chmod("a", 0644), 0);
    ASSERT_EQ(::chmod("locked", 0555), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        EXPECT_EQ(copy("a", "locked/b"), 0xFEB00009u);
        EXPECT_TRUE(log.containsCode('E', "fileDelete", "unlink_file", EACCES)) << log.dump();
        EXPECT_TRUE(log.containsCode('E', "fileCopy", "helperUtil::fileDelete", 0xFEB00009));
    }));
    EXPECT_EQ(readFile("locked/b"), "old");
}

TEST_F(FileCopy, TellsWhyTheSourceCantBeReadAfterRemovingTheDestination) {
    writeFile("a", "secret");
    ASSERT_EQ(::chmod("a", 0000), 0);
    writeFile("b", "old");
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        EXPECT_EQ(copy("a", "b"), 0xFEB0000Du);
        EXPECT_EQ(errorText, "Permission denied");
        EXPECT_EQ(lineCount(), 0u) << log.dump();
    }));
    EXPECT_FALSE(exists("b"));
}

TEST_F(FileCopy, NamesTheSourceWhenTheDestinationCantBeMade) {
    writeFile("a", "content");
    EXPECT_EQ(copy("a", "no/such/b"), 0xFEB0000Du);
    EXPECT_EQ(countMessages('E', "fileCopy", "Failed to open file \"a\""), 1) << log.dump();
    EXPECT_EQ(errorText, "");
    EXPECT_EQ(lineCount(), 1u);
}

TEST_F(FileCopy, TellsThatTheDestinationsNameIsTooLong) {
    writeFile("a", "content");
    EXPECT_EQ(copy("a", std::string(256, 'x')), 0xFEB00009u);
    EXPECT_TRUE(log.containsCode('E', "fileDelete", "unlink_file", ENAMETOOLONG)) << log.dump();
}

TEST_F(FileCopy, TellsThatTheSizeLimitIsReachedAndKeepsThePart) {
    const std::string content = bytes(20000);
    writeFile("a", content);
    EXPECT_TRUE(holdsInChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        uint32_t code = 0;
        {
            const LowLimit limit(RLIMIT_FSIZE, 10000);
            code = copy("a", "b");
        }
        EXPECT_EQ(code, 0xFEB0000Bu);
        EXPECT_EQ(errorText, "File too large");
        EXPECT_TRUE(log.containsCode('E', "fileCopy", "write", EFBIG)) << log.dump();
        EXPECT_TRUE(log.contains('E', "File: b\nError: File too large")) << log.dump();
        EXPECT_EQ(lineCount(), 1u);
    }));
    EXPECT_TRUE(readFile("b") == content.substr(0, 10000));
}

TEST_F(FileCopy, TellsThatTheDiskIsFull) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root may mount the small disk that is to be filled";
    }
    writeFile("a", bytes(200'000));
    makeFolder("disk");
    EXPECT_TRUE(holdsInChild([&] {
        if (::unshare(CLONE_NEWNS) != 0 ||
            ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("tmpfs", "disk", "tmpfs", 0, "size=64k") != 0) {
            return;
        }
        writeFile("mounted", "");
        EXPECT_EQ(copy("a", "disk/b"), 0xFEB0000Bu);
        EXPECT_EQ(errorText, "No space left on device");
        EXPECT_TRUE(log.containsCode('E', "fileCopy", "write", ENOSPC)) << log.dump();
    }));
    if (!exists("mounted")) {
        GTEST_SKIP() << "a container may forbid mounts even to root; the size limit covers the same road";
    }
}

TEST_F(FileCopy, TellsThatReadingBrokeOff) {
    // The memory of the process is a regular file whose first bytes belong to nobody.
    EXPECT_EQ(copy("/proc/self/mem", "b"), 0xFEB00009u);
    EXPECT_EQ(errorText, "Input/output error");
    EXPECT_TRUE(log.containsCode('E', "fileCopy", "read", EIO)) << log.dump();
    EXPECT_TRUE(log.contains('E', "File: /proc/self/mem\nError: Input/output error")) << log.dump();
    EXPECT_EQ(readFile("b"), "");
}

TEST_F(FileCopy, CopiesAFileThatTellsNoSize) {
    EXPECT_EQ(copy("/proc/self/cmdline", "b"), 0u);
    EXPECT_EQ(readFile("b"), readFile("/proc/self/cmdline"));
    EXPECT_NE(readFile("b"), "");
}

TEST_F(FileCopy, OpensNoPipeSocketOrDevice) {
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    const FileDescriptor server(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "socket");
    ASSERT_EQ(::bind(server.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    for (const std::string special : {"pipe", "socket", "/dev/zero", "/dev/null"}) {
        writeFile("b", "old");
        EXPECT_EQ(copy(special, "b"), 0xFEB0000Du) << special;
        EXPECT_EQ(errorText, "Not a directory") << special;
        EXPECT_FALSE(exists("b")) << special;
    }
    EXPECT_EQ(lineCount(), 0u) << log.dump();
}

TEST_F(FileCopy, CopiesAFolderWithAllThatIsInIt) {
    writeFile("f/a.log", "a");
    writeFile("f/.hidden", "h");
    writeFile("f/sub/deeper/b.log", "b");
    makeFolder("f/empty");
    EXPECT_EQ(copy("f", "g"), 0u);
    EXPECT_EQ(errorText, "");
    EXPECT_EQ(readFile("g/a.log"), "a");
    EXPECT_EQ(readFile("g/.hidden"), "h");
    EXPECT_EQ(readFile("g/sub/deeper/b.log"), "b");
    EXPECT_TRUE(fs::is_directory("g/empty"));
    EXPECT_EQ(lineCount(), 0u) << log.dump();
}

TEST_F(FileCopy, RefusesAnExistingFolderAsDestinationOfAFolder) {
    writeFile("f/a", "a");
    makeFolder("g");
    EXPECT_EQ(copy("f", "g"), 0xFEB00009u);
    EXPECT_TRUE(fs::is_empty("g"));
}

TEST_F(FileCopy, LogsWhatFailsInAFolderAndGoesOn) {
    writeFile("f/a", "a");
    writeFile("f/b", "b");
    ASSERT_EQ(::mkfifo("f/pipe", 0600), 0);
    fs::create_symlink("nowhere", "f/link");
    EXPECT_EQ(copy("f", "g"), 0u);
    EXPECT_EQ(errorText, "");
    EXPECT_EQ(readFile("g/a") + readFile("g/b"), "ab");
    EXPECT_TRUE(log.containsCode('W', "fileCopy", "helperUtil::fileCopy", 0xFEB0000D)) << log.dump();
    EXPECT_TRUE(log.containsCode('W', "fileCopy", "helperUtil::fileCopy", 0xFEB0000C)) << log.dump();
    EXPECT_EQ(log.count('W', "\nNot a directory"), 1) << log.dump();
    EXPECT_EQ(lineCount(), 2u);
}

TEST_F(FileCopy, TellsEachPartOfAFolderThatItLeavesOut) {
    writeFile("f/locked/b", "b");
    writeFile("f/secret", "s");
    writeFile("f/sub/a", "a");
    ASSERT_EQ(::mkfifo("f/sub/pipe", 0600), 0);
    fs::create_symlink("nowhere", "f/link");
    ASSERT_EQ(::chmod("f", 0755), 0);
    ASSERT_EQ(::chmod("f/sub", 0755), 0);
    ASSERT_EQ(::chmod("f/sub/a", 0644), 0);
    ASSERT_EQ(::chmod("f/locked", 0000), 0);
    ASSERT_EQ(::chmod("f/secret", 0000), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        EXPECT_EQ(copy("f", "g"), 0u);
        EXPECT_EQ(readFile("g/sub/a"), "a");
        EXPECT_EQ(omitted, (std::multiset<std::string>{
                               "f/link File not found", "f/locked could not be listed: Permission denied",
                               "f/secret Error occurred opening the file: Permission denied",
                               "f/sub/pipe Error occurred opening the file: Not a directory"}));
    }));
}

TEST_F(FileCopy, TellsThatReadingAFolderBrokeOff) {
    writeFile("f/a", "a");
    EXPECT_TRUE(holdsInChild([&] {
        replaceSystemCall(SYS_getdents64, EIO);
        EXPECT_EQ(copy("f", "g"), 0u);
        EXPECT_EQ(omitted, std::multiset<std::string>{"f could not be listed: Input/output error"});
        EXPECT_TRUE(log.containsCode('E', "fileCopy", "readdir", EIO)) << log.dump();
    }));
}

TEST_F(FileCopy, TellsWhyASourceCantBeExamined) {
    writeFile("locked/a", "a");
    ASSERT_EQ(::chmod("locked", 0000), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        EXPECT_EQ(copy("locked/a", "b"), 0xFEB0000Cu);
        EXPECT_EQ(errorText, "Permission denied");
    }));
}

TEST_F(FileCopy, EntersAFolderSixteenTimesAndTellsOfItOnce) {
    writeFile("target/a", "a");
    makeFolder("f");
    for (int i = 0; i < 20; ++i) {
        fs::create_symlink("../target", "f/link" + std::to_string(i));
    }
    EXPECT_EQ(copy("f", "g"), 0u);
    EXPECT_EQ(std::distance(fs::directory_iterator("g"), fs::directory_iterator()), 16);
    ASSERT_EQ(omitted.size(), 1u);
    EXPECT_TRUE(omitted.begin()->starts_with("f/link"));
    EXPECT_TRUE(omitted.begin()->ends_with(" was met more than 16 times and is not entered again"));
}

TEST_F(FileCopy, EndsWhereEachFolderHoldsTwoLinksToTheNext) {
    constexpr int kLevels = 30;
    for (int level = 0; level < kLevels; ++level) {
        const std::string folder = "level" + std::to_string(level);
        const std::string next = "../level" + std::to_string(level + 1);
        makeFolder(folder);
        fs::create_symlink(next, folder + "/one");
        fs::create_symlink(next, folder + "/two");
    }
    writeFile("level" + std::to_string(kLevels) + "/a", "a");
    EXPECT_EQ(copy("level0", "g"), 0u);
    EXPECT_FALSE(omitted.empty());
}

TEST_F(FileCopy, TellsWhyAFolderCantBeRead) {
    makeFolder("f");
    ASSERT_EQ(::chmod("f", 0000), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        EXPECT_EQ(copy("f", "g"), 0xFEB0000Du);
        EXPECT_EQ(errorText, "Permission denied");
    }));
    EXPECT_FALSE(exists("g"));
}

TEST_F(FileCopy, SucceedsThoughAFolderMayNotBeMadeAndTellsOfIt) {
    writeFile("f/a", "a");
    makeFolder("locked");
    ASSERT_EQ(::chmod("f", 0755), 0);
    ASSERT_EQ(::chmod("locked", 0555), 0);
    openToAll();
    EXPECT_TRUE(holdsUnprivileged([&] {
        EXPECT_EQ(copy("f", "locked/g"), 0u);
        EXPECT_TRUE(log.containsCode('E', "MakeDirectory", "mkdir", EACCES)) << log.dump();
        EXPECT_TRUE(log.containsCode('E', "fileCopy", "helperUtils::MakeDirectory", 0xFEB0000E))
            << log.dump();
        EXPECT_EQ(lineCount(), 2u);
        EXPECT_EQ(omitted, std::multiset<std::string>{"f could not be copied: Permission denied"});
    }));
    EXPECT_FALSE(exists("locked/g"));
}

TEST_F(FileCopy, LogsEveryFileOfAFolderWhoseDestinationHasNoParent) {
    writeFile("f/a", "a");
    EXPECT_EQ(copy("f", "no/such"), 0u);
    EXPECT_TRUE(log.containsCode('E', "MakeDirectory", "mkdir", ENOENT)) << log.dump();
    EXPECT_EQ(countMessages('E', "fileCopy", "Failed to open file \"f/a\""), 1) << log.dump();
    EXPECT_TRUE(log.containsCode('W', "fileCopy", "helperUtil::fileCopy", 0xFEB0000D)) << log.dump();
}

TEST_F(FileCopy, FollowsALinkToAFolder) {
    writeFile("target/a", "a");
    makeFolder("f");
    fs::create_symlink("../target", "f/link");
    EXPECT_EQ(copy("f", "g"), 0u);
    EXPECT_TRUE(fs::is_directory(fs::symlink_status("g/link")));
    EXPECT_EQ(readFile("g/link/a"), "a");
}

TEST_F(FileCopy, EndsWithLinksThatLeadBackUp) {
    writeFile("f/sub/a", "a");
    fs::create_symlink(".", "f/self");
    fs::create_symlink("..", "f/sub/up");
    EXPECT_EQ(copy("f", "g"), 0u);
    EXPECT_EQ(readFile("g/sub/a"), "a");
    EXPECT_FALSE(exists("g/self"));
    EXPECT_FALSE(exists("g/sub/up"));
    EXPECT_EQ(log.count('W', "\nToo many levels of symbolic links"), 2) << log.dump();
    EXPECT_TRUE(log.containsCode('W', "fileCopy", "helperUtil::fileCopy", 0xFEB0000D)) << log.dump();
}

TEST_F(FileCopy, EndsWhenAFolderIsCopiedIntoItself) {
    writeFile("f/a", "a");
    makeFolder("f/x");
    EXPECT_EQ(copy("f", "f/g"), 0u);
    EXPECT_EQ(readFile("f/g/a"), "a");
    EXPECT_FALSE(exists("f/g/g"));
    EXPECT_EQ(copy("f", "f/x/h"), 0u);
    EXPECT_EQ(readFile("f/x/h/a"), "a");
    EXPECT_FALSE(exists("f/x/h/x/h"));
}

TEST_F(FileCopy, EndsWhenALinkLeadsIntoTheCopyItself) {
    // Once f/g/s is made, f/s/link leads into it, and every copy of the link would add another level.
    makeFolder("f/s");
    writeFile("f/s/a", "a");
    fs::create_symlink("../g/s", "f/s/link");
    EXPECT_EQ(copy("f", "f/g"), 0u);
    EXPECT_EQ(readFile("f/g/s/a"), "a");
    EXPECT_FALSE(exists("f/g/s/link"));
}

TEST_F(FileCopy, ReachesTheBottomOfATreeOfTwoThousandLevels) {
    const DeepTree tree("s", 2000);
    uint32_t code = 1;
    {
        const LowLimit limit(RLIMIT_NOFILE, 64);
        code = copy("s", "t");
    }
    EXPECT_EQ(code, 0u);
    std::string bottom = "t/";
    for (int level = 0; level < 2000; ++level) {
        bottom += "d/";
    }
    const FileDescriptor file(::open((bottom + "bottom.log").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_TRUE(file) << std::strerror(errno);
    EXPECT_EQ(lineCount(), 0u);
    DeepTree::remove("t");
}

TEST_F(FileCopy, TakesAnyBytesForAName) {
    for (const std::string& name : nastyNames()) {
        writeFile("f/" + name, name);
    }
    EXPECT_EQ(copy("f", "g"), 0u);
    for (const std::string& name : nastyNames()) {
        EXPECT_EQ(readFile("g/" + name), name);
    }
}

TEST_F(FileCopy, ClosesItsFiles) {
    writeFile("f/sub/a", "a");
    const size_t before = openDescriptors();
    EXPECT_EQ(copy("f", "g"), 0u);
    EXPECT_EQ(copy("/proc/self/mem", "b"), 0xFEB00009u);
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(FileAccess, TellsAFailedWrite) {
    FileDescriptor file;
    ASSERT_EQ(openRegularFile(writeFile("a", "x").c_str(), O_RDONLY, file), 0);
    EXPECT_EQ(writeWhole(file.get(), "x", 1), EBADF);
    EXPECT_EQ(writeWhole(file.get(), "", 0), 0);
    EXPECT_EQ(closeWritten(file), 0);
    EXPECT_FALSE(file);
    EXPECT_EQ(closeWritten(file), EBADF);
}

TEST_F(FileAccess, KnowsAFolderUnderTwoNames) {
    makeFolder("f");
    makeFolder("other");
    fs::create_symlink("f", "link");
    const FileDescriptor folder(::open("f", O_RDONLY | O_CLOEXEC));
    const FileDescriptor link(::open("link", O_RDONLY | O_CLOEXEC));
    const FileDescriptor other(::open("other", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(folderIdOf(folder.get()), folderIdOf(link.get()));
    EXPECT_FALSE(folderIdOf(folder.get()) == folderIdOf(other.get()));
    EXPECT_EQ(folderIdOf(-1), FolderId{});
}

} // namespace
