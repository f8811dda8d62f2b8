// What may stand at the request's place, put there by somebody who wants the writer to go astray, and what
// may be wrong with that place.

#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/support/InChild.h"
#include "tests/unit/offline/GenerateReqXMLTest.h"
#include "tests/unit/offline/RequestFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace fs = std::filesystem;

namespace {

class GenerateReqXMLFaults : public RequestWriterTest {
protected:
    GenerateReqXMLFaults() {
        addModule();
        addFile("a");
        addFile("b");
        m_window.m_comments = "secret";
    }

    /// Runs the writer; the file at its place must be refused for this reason, and the run end as usual.
    void expectRefused(int error) {
        m_writer->run();
        EXPECT_TRUE(m_log.containsCode('W', "run", "std::fstream::open", 0)) << m_log.dump();
        EXPECT_TRUE(m_log.contains('W', m_path + ": " + std::strerror(error))) << m_log.dump();
        EXPECT_EQ(m_log.count('W', ""), 1);
        // The head, two files, three pieces of the comment and the end.
        EXPECT_TRUE(m_log.containsCode('E', "ReqXMLWriteString", "std::fstream::write", 0)) << m_log.dump();
        EXPECT_EQ(failedWrites(), 7);
        EXPECT_EQ(m_log.lines().size(), 8u) << m_log.dump();
        EXPECT_TRUE(m_window.gotOnly(MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS));
        EXPECT_FALSE(m_writer->isOwn());
    }

    /// Ends the writer, which must have been able to clear its place.
    void expectCleared() {
        m_writer.reset();
        EXPECT_FALSE(exists(m_path));
        EXPECT_EQ(m_log.count('W', "Invoked Function: remove\n"), 0) << m_log.dump();
    }
};

TEST_F(GenerateReqXMLFaults, FollowsNoLinkToAnotherFileOfTheUser) {
    const std::string target = writeFile("precious", "content");
    fs::create_symlink(target, makeWriter().getRequestPath());
    expectRefused(ELOOP);
    EXPECT_EQ(readFile(target), "content");
    expectCleared();
    EXPECT_EQ(readFile(target), "content");
}

TEST_F(GenerateReqXMLFaults, MakesNoFileAtTheEndOfALink) {
    fs::create_symlink(path("new"), makeWriter().getRequestPath());
    expectRefused(ELOOP);
    EXPECT_FALSE(exists("new"));
    expectCleared();
    EXPECT_FALSE(exists("new"));
}

TEST_F(GenerateReqXMLFaults, FollowsNoLinkToItself) {
    const std::string link = makeWriter().getRequestPath();
    fs::create_symlink(link, link);
    expectRefused(ELOOP);
    expectCleared();
}

TEST_F(GenerateReqXMLFaults, FollowsNoLinkToADevice) {
    fs::create_symlink("/dev/full", makeWriter().getRequestPath());
    expectRefused(ELOOP);
    expectCleared();
    EXPECT_TRUE(fs::exists("/dev/full"));
}

TEST_F(GenerateReqXMLFaults, WritesToNoFileWithASecondName) {
    const std::string target = writeFile("precious", "content");
    ASSERT_EQ(::link(target.c_str(), makeWriter().getRequestPath().c_str()), 0);
    expectRefused(EPERM);
    EXPECT_EQ(readFile(target), "content");
    expectCleared();
    EXPECT_EQ(readFile(target), "content");
}

TEST_F(GenerateReqXMLFaults, WritesToNoFileOfSomebodyElse) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root can give a file to another user";
    }
    writeFile(makeWriter().getRequestPath(), "theirs");
    ASSERT_EQ(::chown(m_path.c_str(), 65534, 65534), 0);
    expectRefused(EPERM);
    m_writer.reset();
    EXPECT_EQ(readFile(m_path), "theirs");
    EXPECT_TRUE(m_log.containsCode('W', "~GenerateReqXML", "remove", EPERM)) << m_log.dump();
}

TEST_F(GenerateReqXMLFaults, WritesToNoFileThatSomebodyElseOpensToAll) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root can act as two users";
    }
    writeFile(makeWriter().getRequestPath(), "theirs");
    ASSERT_EQ(::chmod(m_path.c_str(), 0666), 0);
    asOrdinaryUser([this] { expectRefused(EPERM); });
    EXPECT_EQ(readFile(m_path), "theirs");
}

TEST_F(GenerateReqXMLFaults, DoesNotWaitAtAPipe) {
    ASSERT_EQ(::mkfifo(makeWriter().getRequestPath().c_str(), 0600), 0);
    expectRefused(EINVAL);
    expectCleared();
}

TEST_F(GenerateReqXMLFaults, TellsNothingToTheReaderOfAPipe) {
    ASSERT_EQ(::mkfifo(makeWriter().getRequestPath().c_str(), 0600), 0);
    const FileDescriptor reader(::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    ASSERT_TRUE(reader);
    expectRefused(EINVAL);
    char byte = 0;
    EXPECT_EQ(::read(reader.get(), &byte, 1), 0);
}

TEST_F(GenerateReqXMLFaults, TellsNothingToASocket) {
    const FileDescriptor server(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string name = makeWriter().getRequestPath();
    ASSERT_LT(name.size(), sizeof address.sun_path);
    name.copy(address.sun_path, name.size());
    ASSERT_EQ(::bind(server.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    expectRefused(EINVAL);
    expectCleared();
}

TEST_F(GenerateReqXMLFaults, RefusesAFolder) {
    makeFolder(makeWriter().getRequestPath());
    expectRefused(EISDIR);
    expectCleared();
}

TEST_F(GenerateReqXMLFaults, LeavesAFolderThatHoldsSomething) {
    writeFile(makeWriter().getRequestPath() + "/precious", "content");
    expectRefused(EISDIR);
    m_writer.reset();
    EXPECT_TRUE(m_log.containsCode('W', "~GenerateReqXML", "remove", ENOTEMPTY)) << m_log.dump();
    EXPECT_EQ(readFile(m_path + "/precious"), "content");
}

TEST_F(GenerateReqXMLFaults, FailsWithoutAFolder) {
    makeWriter(&m_window, path("none/Request"));
    expectRefused(ENOENT);
    EXPECT_FALSE(exists("none"));
    m_writer.reset();
    EXPECT_TRUE(m_log.containsCode('W', "~GenerateReqXML", "remove", ENOENT)) << m_log.dump();
}

TEST_F(GenerateReqXMLFaults, FailsBelowAFile) {
    writeFile("file", "content");
    makeWriter(&m_window, path("file/Request"));
    expectRefused(ENOTDIR);
    m_writer.reset();
    EXPECT_TRUE(m_log.containsCode('W', "~GenerateReqXML", "remove", ENOTDIR)) << m_log.dump();
}

TEST_F(GenerateReqXMLFaults, FailsWithTooLongAName) {
    makeWriter(&m_window, path(std::string(250, 'x')));
    expectRefused(ENAMETOOLONG);
}

TEST_F(GenerateReqXMLFaults, FailsWhereTheUserMayNotWrite) {
    makeFolder("closed");
    ASSERT_EQ(::chmod(path("closed").c_str(), 0555), 0);
    makeWriter(&m_window, path("closed/Request"));
    asOrdinaryUser([this] { expectRefused(EACCES); });
    EXPECT_FALSE(exists(m_path));
}

TEST_F(GenerateReqXMLFaults, WarnsWhenItMayNotRemoveItsFile) {
    const std::string folder = makeFolder("closed");
    makeWriter(&m_window, path("closed/Request"));
    writeFile(m_path, "ours");
    if (runsAsRoot()) {
        ASSERT_EQ(::chown(m_path.c_str(), 65534, 65534), 0);
    }
    ASSERT_EQ(::chmod(folder.c_str(), 0555), 0);
    asOrdinaryUser([this] {
        m_writer.reset();
        EXPECT_TRUE(m_log.containsCode('W', "~GenerateReqXML", "remove", EACCES)) << m_log.dump();
    });
    EXPECT_EQ(readFile(m_path), "ours");
    ASSERT_EQ(::chmod(folder.c_str(), 0755), 0);
}

// A full disk, for which a limit on the size of files stands in.

TEST_F(GenerateReqXMLFaults, ReportsEachPieceFromTheFirstThatFails) {
    m_window.m_comments = std::string(100'000, 'x');
    makeWriter();
    withFileSizeLimit(300, [this] {
        m_writer->run();
        // The comment doesn't fit; the two closing tags behind it fail with it.
        EXPECT_EQ(failedWrites(), 3) << m_log.dump();
        EXPECT_TRUE(m_window.gotOnly(MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS));
    });
    EXPECT_LE(readFile(m_path).size(), 300u);
    EXPECT_FALSE(readRequest(m_path));
}

TEST_F(GenerateReqXMLFaults, ReportsADocumentThatFailsAtTheClose) {
    makeWriter();
    withFileSizeLimit(100, [this] {
        m_writer->run();
        // All of it was in the stream's buffer until then.
        EXPECT_EQ(failedWrites(), 0) << m_log.dump();
        EXPECT_TRUE(m_log.containsCode('E', "close", "fclose", EFBIG)) << m_log.dump();
        EXPECT_TRUE(m_window.gotOnly(MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS));
    });
    EXPECT_EQ(readFile(m_path).size(), 100u);
    EXPECT_FALSE(readRequest(m_path));
}

TEST_F(GenerateReqXMLFaults, LeavesAnEmptyFileWhereNothingFits) {
    makeWriter();
    withFileSizeLimit(0, [this] {
        m_writer->run();
        EXPECT_TRUE(m_window.gotOnly(MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS));
    });
    EXPECT_EQ(readFile(m_path), "");
    EXPECT_FALSE(readRequest(m_path));
    expectCleared();
}

TEST_F(GenerateReqXMLFaults, FailsWhenNoDescriptorIsLeft) {
    makeWriter();
    inChild([this] {
        rlimit limit{};
        ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
        limit.rlim_cur = 0;
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
        expectRefused(EMFILE);
    });
    EXPECT_FALSE(exists(m_path));
}

} // namespace
