#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Xml/ZMTSaxParser.h"
#include "tests/support/InChild.h"
#include "tests/support/LeaseHolder.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/documents/DocumentTest.h"

#include <arpa/inet.h>
#include <cerrno>
#include <filesystem>
#include <libxml/parser.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <zlib.h>

namespace {

using Events = std::vector<std::string>;
const Events kOneElement{"<a", ">a"};

class DocumentSourceTest : public DocumentTest {
protected:
    uint32_t parseFile(const std::string& file) {
        return ZMTSaxParser(&m_manager).startParser(file, kParseFile);
    }
    uint32_t parseText(const std::string& text) {
        return ZMTSaxParser(&m_manager).startParser(text, kParseText);
    }
    void expectNoContext(const std::string& file) {
        EXPECT_EQ(parseFile(file), GLOBAL_ERROR_UNEXPECTED) << file;
        EXPECT_TRUE(
            m_log.containsCode('E', "startParser", "xmlCreateFileParserCtxt", GLOBAL_ERROR_NULL_POINTER))
            << m_log.dump();
        EXPECT_TRUE(m_manager.m_events.empty());
    }

    RecordingMgr m_manager;
};

TEST_F(DocumentSourceTest, AMissingFileIsLoggedWithItsCause) {
    expectNoContext(path("none.xml"));
    EXPECT_TRUE(m_log.containsCode('E', "openFile", "open", ENOENT)) << m_log.dump();
    EXPECT_TRUE(m_log.contains('E', "File: " + path("none.xml") + "\nError: No such file or directory"));
}

TEST_F(DocumentSourceTest, AnUnreadableFileIsLoggedWithItsCause) {
    if (runsAsRoot()) {
        GTEST_SKIP() << "root reads every file";
    }
    const std::string file = writeFile("a.xml", "<a/>");
    ASSERT_EQ(::chmod(file.c_str(), 0), 0);
    expectNoContext(file);
    EXPECT_TRUE(m_log.containsCode('E', "openFile", "open", EACCES)) << m_log.dump();
}

TEST_F(DocumentSourceTest, AFolderIsRefused) {
    const std::string folder = makeFolder("x.xml");
    expectNoContext(folder);
    EXPECT_TRUE(logged('E', "openFile", "Not a regular file: " + folder)) << m_log.dump();
}

TEST_F(DocumentSourceTest, AFifoIsRefusedAtOnce) {
    const std::string fifo = path("x.xml");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    expectNoContext(fifo);
    EXPECT_TRUE(logged('E', "openFile", "Not a regular file: " + fifo)) << m_log.dump();
}

TEST_F(DocumentSourceTest, ADeviceIsRefused) {
    expectNoContext("/dev/zero");
    EXPECT_TRUE(logged('E', "openFile", "Not a regular file: /dev/zero")) << m_log.dump();
}

TEST_F(DocumentSourceTest, ASocketIsRefused) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path("x.xml").size(), sizeof address.sun_path);
    path("x.xml").copy(address.sun_path, sizeof address.sun_path - 1);
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    expectNoContext(path("x.xml"));
    EXPECT_TRUE(logged('E', "openFile", "Not a regular file: " + path("x.xml"))) << m_log.dump();
}

TEST_F(DocumentSourceTest, AFileIsWaitedForWhileSomebodyHoldsALeaseOnIt) {
    const std::string file = writeFile("x.xml", "<a/>");
    const LeaseHolder holder(file);
    if (!holder.isHeld()) {
        GTEST_SKIP() << "this file system knows no leases";
    }
    EXPECT_EQ(parseFile(file), 0U) << m_log.dump();
    EXPECT_EQ(m_manager.m_events, kOneElement);
}

TEST_F(DocumentSourceTest, AnEmptyFileIsMalformed) {
    EXPECT_EQ(parseFile(writeFile("a.xml", "")), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(logged('E', "errorCB", "xml errorCB: Document is empty\n")) << m_log.dump();
    EXPECT_TRUE(m_log.containsCode('E', "startParser", "xmlParseDocument", 0xFFFFFFFF));
}

// A regular file whose first byte can't be read.
TEST_F(DocumentSourceTest, AReadErrorIsLoggedAndFails) {
    EXPECT_EQ(parseFile("/proc/self/mem"), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(m_log.containsCode('E', "readFile", "read", EIO)) << m_log.dump();
}

/// Has every read fail from the end of the root element on; for a process of the test's own.
class UnreadableTailMgr : public RecordingMgr {
public:
    void endElement(const std::string& name) override {
        RecordingMgr::endElement(name);
        replaceSystemCall(SYS_read, EIO);
    }
};

TEST_F(DocumentSourceTest, AReadErrorBehindAWholeRootFails) {
    // Far more than is read at a time.
    const std::string file = writeFile("a.xml", "<a/>" + std::string(1'000'000, '\n'));
    inChild([&] {
        UnreadableTailMgr manager;
        EXPECT_EQ(ZMTSaxParser(&manager).startParser(file, kParseFile), GLOBAL_ERROR_UNEXPECTED);
        EXPECT_EQ(manager.m_events, kOneElement);
        EXPECT_TRUE(m_log.containsCode('E', "readFile", "read", EIO)) << m_log.dump();
    });
    EXPECT_EQ(parseFile(file), 0U) << "where all of it can be read";
}

TEST_F(DocumentSourceTest, APathWithANulByteNamesNoFile) {
    const std::string file = writeFile("a.xml", "<a/>");
    expectNoContext(file + std::string("\0b", 2));
    EXPECT_TRUE(logged('E', "openFile", "A path with a NUL byte in it names no file: " + file));
}

TEST_F(DocumentSourceTest, FollowsALinkToAFile) {
    std::filesystem::create_symlink(writeFile("real", "<a/>"), path("a.xml"));
    EXPECT_EQ(parseFile(path("a.xml")), 0u);
    EXPECT_EQ(m_manager.m_events, kOneElement);
}

class LiteralPath : public DocumentSourceTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(LiteralPath, NamesTheFileOfExactlyThatName) {
    const std::string file = writeFile(GetParam(), "<a/>");
    EXPECT_EQ(parseFile(file), 0u) << m_log.dump();
    EXPECT_EQ(m_manager.m_events, kOneElement);
    m_manager.m_events.clear();
    // The same relative to the current folder, where the name stands at the start of the path.
    EXPECT_EQ(parseFile(GetParam()), 0u) << m_log.dump();
    EXPECT_EQ(m_manager.m_events, kOneElement);
}

INSTANTIATE_TEST_SUITE_P(Names, LiteralPath,
                         ::testing::Values("a%41.xml", "a b&c#d?e=f.xml", "%2e%2e.xml", "http:/x.xml",
                                           "ftp:/h/x.xml", "file:x.xml", "-", "c:\\x.xml", "\xFF.xml",
                                           "é.xml"));

TEST_F(DocumentSourceTest, DoesNotTakeAnEscapedNameForAnother) {
    writeFile("aA.xml", "<a/>");
    expectNoContext(path("a%41.xml"));
}

TEST_F(DocumentSourceTest, DoesNotTakeAFileUrlForAPath) {
    const std::string file = writeFile("a.xml", "<a/>");
    expectNoContext("file://" + file);
}

TEST_F(DocumentSourceTest, ACompressedFileIsNotUnpacked) {
    const std::string file = path("a.xml");
    gzFile stream = ::gzopen(file.c_str(), "wb");
    ASSERT_NE(stream, nullptr);
    ASSERT_EQ(::gzputs(stream, "<a/>"), 4);
    ASSERT_EQ(::gzclose(stream), Z_OK);
    EXPECT_EQ(parseFile(file), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(logged('E', "errorCB", "xml errorCB: Start tag expected, '<' not found\n")) << m_log.dump();
    EXPECT_TRUE(m_manager.m_events.empty());
}

/// A file beside the document, whose opening is noticed.
class WatchedFile {
public:
    explicit WatchedFile(const std::string& file) : m_watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        EXPECT_GE(::inotify_add_watch(m_watch.get(), file.c_str(), IN_OPEN | IN_ACCESS), 0);
    }
    [[nodiscard]] bool wasOpened() const {
        char events[1024];
        return ::read(m_watch.get(), events, sizeof events) > 0;
    }

private:
    FileDescriptor m_watch;
};

/// A server on this machine that notices a caller.
class ListeningServer {
public:
    ListeningServer() : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(m_socket.get(), 1), 0);
        socklen_t size = sizeof address;
        EXPECT_EQ(::getsockname(m_socket.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
        m_port = ntohs(address.sin_port);
    }
    [[nodiscard]] std::string url(const std::string& scheme) const {
        return scheme + "://127.0.0.1:" + std::to_string(m_port) + "/x.dtd";
    }
    [[nodiscard]] bool wasCalled() const {
        pollfd wait = {m_socket.get(), POLLIN, 0};
        return ::poll(&wait, 1, 0) != 0;
    }
    [[nodiscard]] int port() const { return m_port; }

private:
    FileDescriptor m_socket;
    int m_port = 0;
};

TEST_F(DocumentSourceTest, TheWatchSeesAnOpening) {
    const std::string file = writeFile("secret", "x");
    const WatchedFile watched(file);
    EXPECT_EQ(readFile(file), "x");
    EXPECT_TRUE(watched.wasOpened());
}

/// Documents that ask for `uri` in every way that the language knows.
std::vector<std::string> documentsAskingFor(const std::string& uri) {
    const std::string quoted = "\"" + uri + "\"";
    return {"<!DOCTYPE a SYSTEM " + quoted + "><a/>",
            "<!DOCTYPE a PUBLIC \"-//x//y\" " + quoted + "><a>&e;</a>",
            "<!DOCTYPE a [<!ENTITY e SYSTEM " + quoted + ">]><a>&e;</a>",
            "<!DOCTYPE a [<!ENTITY e SYSTEM " + quoted + ">]><a x=\"&e;\"/>",
            "<!DOCTYPE a [<!ENTITY % e SYSTEM " + quoted + "> %e;]><a/>",
            "<!DOCTYPE a [<!ENTITY e PUBLIC \"p\" " + quoted + "><!ENTITY f \"&e;\">]><a>&f;</a>",
            "<a xmlns:xi=\"http://www.w3.org/2001/XInclude\"><xi:include href=" + quoted + "/></a>",
            "<?xml-model href=" + quoted + "?><?xml-stylesheet href=" + quoted + "?><a/>",
            "<a xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:noNamespaceSchemaLocation=" +
                quoted + "/>"};
}

TEST_F(DocumentSourceTest, NeverOpensAFileThatADocumentNames) {
    const std::string secret = writeFile("secret", "<!ENTITY e \"leaked\">leaked");
    const WatchedFile watched(secret);
    for (const std::string& uri : {secret, "file://" + secret, std::string("secret")}) {
        for (const std::string& document : documentsAskingFor(uri)) {
            static_cast<void>(parseText(document));
            static_cast<void>(parseFile(writeFile("a.xml", document)));
        }
    }
    EXPECT_FALSE(watched.wasOpened());
    for (const std::string& event : m_manager.m_events) {
        EXPECT_EQ(event.find("leaked"), std::string::npos);
    }
}

TEST_F(DocumentSourceTest, NeverCallsAServerThatADocumentNames) {
    const ListeningServer server;
    for (const char* scheme : {"http", "ftp"}) {
        for (const std::string& document : documentsAskingFor(server.url(scheme))) {
            static_cast<void>(parseText(document));
            static_cast<void>(parseFile(writeFile("a.xml", document)));
        }
    }
    EXPECT_FALSE(server.wasCalled());
}

TEST_F(DocumentSourceTest, NeverCallsAServerThatAPathNames) {
    const ListeningServer server;
    expectNoContext(server.url("http"));
    expectNoContext(server.url("ftp"));
    EXPECT_FALSE(server.wasCalled());
    // A folder of that name is what such a path stands for.
    const std::string relative = "http:/127.0.0.1:" + std::to_string(server.port()) + "/x.dtd";
    writeFile(relative, "<a/>");
    EXPECT_EQ(parseFile(server.url("http")), 0u) << m_log.dump();
    EXPECT_FALSE(server.wasCalled());
}

TEST_F(DocumentSourceTest, AnExternalEntityInTextIsUndefined) {
    const std::string secret = writeFile("secret", "leaked");
    EXPECT_EQ(parseText("<!DOCTYPE a [<!ENTITY e SYSTEM \"" + secret + "\">]><a>&e;</a>"),
              GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(logged('E', "errorCB", "xml errorCB: Entity 'e' not defined\n")) << m_log.dump();
}

TEST_F(DocumentSourceTest, AnEntityOfTheDocumentItselfIsUndefined) {
    EXPECT_EQ(parseText("<!DOCTYPE a [<!ENTITY e \"x\">]><a>&e;</a>"), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(logged('E', "errorCB", "xml errorCB: Entity 'e' not defined\n")) << m_log.dump();
    EXPECT_EQ(parseText("<!DOCTYPE a [<!ENTITY e \"x\">]><a y=\"&e;\"/>"), GLOBAL_ERROR_UNEXPECTED);
}

TEST_F(DocumentSourceTest, ADeclaredEntityThatIsNotUsedDoesNoHarm) {
    EXPECT_EQ(parseText("<!DOCTYPE a [<!ENTITY e \"x\">]><a/>"), 0u) << m_log.dump();
    EXPECT_EQ(m_manager.m_events, kOneElement);
}

TEST_F(DocumentSourceTest, OtherUsersOfTheLibraryStillGetTheirFiles) {
    EXPECT_EQ(parseText("<a/>"), 0u);
    const std::string file = writeFile("b.xml", "<b/>");
    xmlDocPtr document = xmlReadFile(file.c_str(), nullptr, 0);
    EXPECT_NE(document, nullptr);
    xmlFreeDoc(document);
}

} // namespace
