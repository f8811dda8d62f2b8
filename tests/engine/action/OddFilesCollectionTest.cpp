#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/action/ActionTest.h"

#include <csignal>
#include <cstring>
#include <dirent.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// Names and kinds of files that a collected folder may hold and nobody has planned for.
class OddFilesCollection : public ActionTest {
protected:
    std::list<MEROCollectedFile> collectLogs() {
        return collect("<directory_copy_action><action><loc>" + path("logs") +
                       "</loc><pattern>*</pattern></action></directory_copy_action>");
    }
    std::list<MEROCollectedFile> collectFile(const std::string& loc) {
        return collect("<file_copy_action><action><loc>" + loc + "</loc></action></file_copy_action>");
    }
    /// The row of a file in the collected folder that could not be copied.
    [[nodiscard]] OmittedFile failedRow(const std::string& name, const std::string& reason) const {
        return row(name, path("logs/" + name) + reason);
    }
    [[nodiscard]] static std::string textOf(int error) { return std::generic_category().message(error); }
};

TEST_F(OddFilesCollection, CopiesFilesOfAnyName) {
    const std::vector<std::string> names = {"two\nlines",
                                            "quote\"d 'name'",
                                            "bad \xFF\xC0 utf-8",
                                            std::string(255, 'n'),
                                            "%s%n%d",
                                            "-rf",
                                            "a\\b",
                                            "$HOME",
                                            "caf\xC3\xA9 \xF0\x9F\x90\xA7"};
    std::vector<std::string> expected;
    for (const std::string& name : names) {
        writeFile("logs/" + name, name);
        expected.push_back(path("bundle") + "/" + name);
    }
    EXPECT_THAT(pathsOf(collectLogs()), ::testing::UnorderedElementsAreArray(expected));
    for (const std::string& name : names) {
        EXPECT_EQ(readFile("bundle/" + name), name);
    }
    EXPECT_THAT(omitted(), IsEmpty());
}

TEST_F(OddFilesCollection, CopiesFilesOfAnyNameByWildcardToo) {
    const std::vector<std::string> names = {"two\nlines", "quote\"d 'name'", "bad \xFF\xC0 utf-8",
                                            std::string(255, 'n')};
    std::vector<std::string> expected;
    for (const std::string& name : names) {
        writeFile("logs/" + name, name);
        expected.push_back(path("bundle") + "//" + name);
    }
    EXPECT_THAT(pathsOf(collectFile(path("logs") + "/*")), ::testing::UnorderedElementsAreArray(expected));
    EXPECT_THAT(omitted(), IsEmpty());
}

TEST_F(OddFilesCollection, ReportsANameThatGrowsTooLongByTheItemsName) {
    m_info.name = "vpn.txt";
    const std::string name(255, 'n');
    writeFile("logs/" + name, "1");
    EXPECT_THAT(collectFile(path("logs") + "/*"), IsEmpty());
    EXPECT_THAT(omitted(), ElementsAre(row(path("logs") + "/*", " Unexpected error occurred")));
}

TEST_F(OddFilesCollection, ReportsAPipeWithoutWaitingForItsWriter) {
    writeFile("logs/a.log", "1");
    ASSERT_EQ(::mkfifo(path("logs/pipe").c_str(), 0600), 0);
    EXPECT_THAT(pathsOf(collectLogs()), ElementsAre(path("bundle") + "/a.log"));
    EXPECT_THAT(omitted(),
                ElementsAre(failedRow("pipe", " Error occurred opening the file: " + textOf(ENOTDIR))));
    EXPECT_THAT(collectFile(path("logs/pipe")), IsEmpty());
    EXPECT_THAT(omitted(),
                Contains(row(path("logs/pipe"), " Error occurred opening the file: " + textOf(ENOTDIR))));
    EXPECT_FALSE(exists("bundle/pipe"));
}

TEST_F(OddFilesCollection, ReportsASocket) {
    makeFolder("logs");
    // A relative name, since the room for a socket's path is small.
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, "logs/socket", sizeof address.sun_path - 1);
    const FileDescriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_THAT(collectLogs(), IsEmpty());
    EXPECT_THAT(omitted(),
                ElementsAre(failedRow("socket", " Error occurred opening the file: " + textOf(ENOTDIR))));
}

TEST_F(OddFilesCollection, ReportsDevicesEvenThoseThatNeverEnd) {
    writeFile("logs/a.log", "1");
    ASSERT_EQ(::symlink("/dev/zero", path("logs/zero").c_str()), 0);
    ASSERT_EQ(::symlink("/dev/null", path("logs/null").c_str()), 0);
    EXPECT_THAT(pathsOf(collectLogs()), ElementsAre(path("bundle") + "/a.log"));
    EXPECT_THAT(omitted(), UnorderedElementsAre(
                               failedRow("zero", " Error occurred opening the file: " + textOf(ENOTDIR)),
                               failedRow("null", " Error occurred opening the file: " + textOf(ENOTDIR))));
}

TEST_F(OddFilesCollection, CopiesWhatALinkLeadsTo) {
    writeFile("elsewhere/a.log", "far");
    makeFolder("logs");
    ASSERT_EQ(::symlink("../elsewhere/a.log", path("logs/near").c_str()), 0);
    EXPECT_THAT(pathsOf(collectLogs()), ElementsAre(path("bundle") + "/near"));
    EXPECT_FALSE(std::filesystem::is_symlink(path("bundle/near")));
    EXPECT_EQ(readFile("bundle/near"), "far");
}

TEST_F(OddFilesCollection, ReportsLinksToNowhereWhateverStandsBeforeThem) {
    std::vector<OmittedFile> expected;
    for (const std::string& number : std::vector<std::string>{"1", "2", "3", "4"}) {
        makeFolder("logs/folder" + number);
        for (const std::string& name : {"link" + number, "loop" + number}) {
            const std::string target = name.starts_with("loop") ? name : "nowhere";
            ASSERT_EQ(::symlink(target.c_str(), path("logs/" + name).c_str()), 0);
            expected.push_back(failedRow(name, " File not found"));
        }
    }
    EXPECT_THAT(collectLogs(), IsEmpty());
    EXPECT_THAT(omitted(), ::testing::UnorderedElementsAreArray(expected));
}

TEST_F(OddFilesCollection, ReportsALinkToNowhereThatIsNamed) {
    makeFolder("logs");
    ASSERT_EQ(::symlink("nowhere", path("logs/current.log").c_str()), 0);
    EXPECT_THAT(collectFile(path("logs/current.log")), IsEmpty());
    ASSERT_EQ(omitted().size(), 1u);
    EXPECT_EQ(omitted().front().fileName, path("logs/current.log"));
}

TEST_F(OddFilesCollection, NeverFollowsALinkInTheBundle) {
    const std::string victim = writeFile("victim", "untouched");
    makeFolder("bundle");
    ASSERT_EQ(::symlink(victim.c_str(), path("bundle/a.log").c_str()), 0);
    writeFile("logs/a.log", "copied");
    EXPECT_EQ(collectLogs().size(), 1u);
    EXPECT_EQ(readFile("victim"), "untouched");
    EXPECT_EQ(readFile("bundle/a.log"), "copied");
}

TEST_F(OddFilesCollection, ReportsACopyThatTheDiskHasNoRoomFor) {
    writeFile("logs/big.log", std::string(65536, 'x'));
    writeFile("logs/small.log", "fits");
    // The largest size a file may have stands for a full disk.
    ASSERT_NE(std::signal(SIGXFSZ, SIG_IGN), SIG_ERR);
    rlimit former{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &former), 0);
    const rlimit small{8192, former.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const auto collected = collectLogs();
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &former), 0);
    EXPECT_THAT(pathsOf(collected), ElementsAre(path("bundle") + "/small.log"));
    EXPECT_THAT(omitted(), ElementsAre(failedRow("big.log", " Unexpected error occurred: " + textOf(EFBIG))));
}
