#include "tests/unit/offline/GenerateReqXMLTest.h"

#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/sysutils.h"
#include "tests/support/InChild.h"

#include <cerrno>
#include <functional>
#include <gmock/gmock.h>
#include <stdexcept>
#include <sys/stat.h>

using ::testing::AnyOf;
using ::testing::IsEmpty;

namespace {

using namespace std::string_literals;

constexpr const char* kEmptyComment = "<comments><![CDATA[]]></comments></request>";

class GenerateReqXMLTest : public RequestWriterTest {
protected:
    [[nodiscard]] mode_t modeOfRequest() const {
        struct stat status {};
        EXPECT_EQ(::stat(m_path.c_str(), &status), 0);
        return status.st_mode & 07777;
    }
};

TEST_F(GenerateReqXMLTest, WritesTheWholeDocumentInOneLine) {
    addModule();
    addFile("client-log");
    addFile("not wanted", 0);
    addFile("system-logs");
    addModule();
    addFile("routes");
    m_window.m_comments = "It broke at 5 < 6 & I saw it.";
    EXPECT_EQ(written(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
                         "<request xmlns=\"http://schemas.xmlsoap.org/encoding/\" "
                         "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
                         "xsi:schemaLocation=\"http://schemas.xmlsoap.org/encoding/ RequestXMLSchema.xsd\">"
                         "<file id=\"client-log\"></file>"
                         "<file id=\"system-logs\"></file>"
                         "<file id=\"routes\"></file>"
                         "<comments><![CDATA[It broke at 5 < 6 & I saw it.]]></comments>"
                         "</request>");
    EXPECT_TRUE(m_writer->isOwn());
    EXPECT_TRUE(m_window.gotOnly(MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS));
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(GenerateReqXMLTest, HasAHeadOf225Bytes) {
    EXPECT_EQ(written().find("<comments>"), 225u);
}

TEST_F(GenerateReqXMLTest, WritesAnEmptyComment) {
    EXPECT_EQ(body(), kEmptyComment);
}

TEST_F(GenerateReqXMLTest, IsCompleteWhenTheStatusArrives) {
    class Reader : public RecordingWindow {
    public:
        void updateStatus(const MEROStatusInfo* info, uint64_t status) override {
            m_seen = m_read(m_path);
            RecordingWindow::updateStatus(info, status);
        }
        std::function<std::string(const std::string&)> m_read;
        std::string m_path;
        std::string m_seen;
    } reader;
    reader.m_read = [this](const std::string& file) { return readFile(file); };
    GenerateReqXML writer(&reader, nullptr, path("Request"));
    reader.m_path = writer.getRequestPath();
    writer.run();
    EXPECT_TRUE(reader.m_seen.ends_with("></comments></request>")) << reader.m_seen;
    EXPECT_EQ(reader.m_seen, readFile(reader.m_path));
}

// What is selected.

TEST_F(GenerateReqXMLTest, SkipsAModuleThatIsNotSelectedWithAllItsFiles) {
    addModule(0);
    addFile("a");
    addFile("b");
    addModule();
    addFile("c");
    EXPECT_EQ(body(), "<file id=\"c\"></file>"s.append(kEmptyComment));
}

TEST_F(GenerateReqXMLTest, NamesNothingOfASelectedModuleWithoutSelectedFiles) {
    addModule();
    addFile("a", 0);
    addModule();
    EXPECT_EQ(body(), kEmptyComment);
}

TEST_F(GenerateReqXMLTest, DoesNotLookAtTheFlagsOfARoot) {
    addModule();
    addFile("under an unselected root");
    addModule(0);
    addFile("under a selected root");
    m_window.m_roots.back().m_selected = 1;
    EXPECT_EQ(body(), "<file id=\"under an unselected root\"></file>"s.append(kEmptyComment));
}

TEST_F(GenerateReqXMLTest, DoesNotLookAtTheDefaults) {
    addModule(0);
    addFile("a");
    m_window.m_roots.back().m_modules.back().m_default = 1;
    addModule();
    addFile("b", 0);
    m_window.m_roots.back().m_modules.back().m_files.back().m_default = 1;
    EXPECT_EQ(body(), kEmptyComment);
}

TEST_F(GenerateReqXMLTest, DoesNotLookAtThePlatform) {
    addModule();
    addFile("a");
    m_window.m_roots.back().m_modules.back().m_files.back().m_platform = "win";
    EXPECT_EQ(body(), "<file id=\"a\"></file>"s.append(kEmptyComment));
}

TEST_F(GenerateReqXMLTest, TakesAnyValueButZeroAsSelected) {
    addModule(2);
    addFile("a", 0x80000000);
    EXPECT_EQ(body(), "<file id=\"a\"></file>"s.append(kEmptyComment));
}

TEST_F(GenerateReqXMLTest, KeepsTheOrderOfTheTree) {
    addModule();
    addFile("z");
    addFile("a");
    m_window.m_roots.back().m_modules.push_back({.m_name = "next", .m_selected = 1, .m_files = {}});
    addFile("m");
    addModule();
    addFile("b");
    EXPECT_EQ(body(), "<file id=\"z\"></file><file id=\"a\"></file><file id=\"m\"></file>"
                      "<file id=\"b\"></file>"s.append(kEmptyComment));
}

TEST_F(GenerateReqXMLTest, NamesAnIdAsOftenAsItIsSelected) {
    addModule();
    addFile("a");
    addFile("a");
    EXPECT_EQ(body(), "<file id=\"a\"></file><file id=\"a\"></file>"s.append(kEmptyComment));
}

TEST_F(GenerateReqXMLTest, LeavesTheTreeAsItIs) {
    addModule();
    addFile("a");
    addFile("b", 0);
    const std::string before = m_window.outline();
    static_cast<void>(written());
    EXPECT_EQ(m_window.outline(), before);
}

// What is written as it stands.

TEST_F(GenerateReqXMLTest, WritesIdsAsTheyStand) {
    addModule();
    addFile("a\"b<c>&d'e]]>");
    addFile("");
    addFile(" \xC3\x9C\n\t");
    EXPECT_EQ(body(), "<file id=\"a\"b<c>&d'e]]>\"></file><file id=\"\"></file>"
                      "<file id=\" \xC3\x9C\n\t\"></file>"s.append(kEmptyComment));
}

TEST_F(GenerateReqXMLTest, CutsAPieceAtItsFirstNul) {
    addModule();
    addFile("a\0b"s);
    addFile("c");
    m_window.m_comments = "text\0more"s;
    EXPECT_EQ(body(), "<file id=\"a<file id=\"c\"></file><comments><![CDATA[text</comments></request>");
}

TEST_F(GenerateReqXMLTest, WritesMarkupInACommentAsItStands) {
    m_window.m_comments = "<b>&amp; & \"quoted\" 'text'</b>";
    EXPECT_EQ(body(), "<comments><![CDATA[<b>&amp; & \"quoted\" 'text'</b>]]></comments></request>");
}

TEST_F(GenerateReqXMLTest, NeitherEscapesNorSplitsTheEndOfASection) {
    m_window.m_comments = "a]]>b";
    EXPECT_EQ(body(), "<comments><![CDATA[a]]>b]]></comments></request>");
}

TEST_F(GenerateReqXMLTest, KeepsTheLinesOfAComment) {
    m_window.m_comments = "one\ntwo\r\n\n  three \n";
    EXPECT_EQ(body(), "<comments><![CDATA[one\ntwo\r\n\n  three \n]]></comments></request>");
}

TEST_F(GenerateReqXMLTest, WritesALongComment) {
    m_window.m_comments = std::string(2048, 'x');
    EXPECT_EQ(body(), "<comments><![CDATA["s.append(2048, 'x').append("]]></comments></request>"));
}

TEST_F(GenerateReqXMLTest, CutsNoCharacterOfSeveralBytes) {
    for (int i = 0; i < 2048; ++i) {
        m_window.m_comments += i % 2 == 0 ? "\xE2\x82\xAC" : "\xF0\x9F\x92\xA1";
    }
    EXPECT_EQ(body(), "<comments><![CDATA["s.append(m_window.m_comments).append("]]></comments></request>"));
}

// Other clients.

TEST_F(GenerateReqXMLTest, WritesAnEmptyRequestForNobody) {
    makeWriter(nullptr, path("Request")).run();
    EXPECT_EQ(readFile(m_path).substr(225), "<comments></comments></request>");
}

TEST_F(GenerateReqXMLTest, WritesAnEmptyRequestForAClientWithoutATree) {
    addModule();
    addFile("a");
    m_window.m_comments = "text";
    RecordingClient client;
    // The second argument counts for nothing.
    const auto writer = std::make_unique<GenerateReqXML>(&client, &m_window, path("Request"));
    writer->run();
    EXPECT_EQ(readFile(writer->getRequestPath()).substr(225), "<comments></comments></request>");
    EXPECT_TRUE(client.gotOnly(MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS));
    EXPECT_THAT(m_window.statuses(), IsEmpty());
}

/// Has no comment to give.
class BrokenWindow : public RecordingWindow {
public:
    std::string getComments() override { throw std::length_error("no comment"); }
};

TEST_F(GenerateReqXMLTest, EndsAsUsualWhenTheClientFails) {
    BrokenWindow window;
    makeWriter(&window, path("Request")).run();
    EXPECT_TRUE(window.gotOnly(MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS));
    EXPECT_TRUE(m_log.contains('E', "The request can't be written: no comment")) << m_log.dump();
    m_writer.reset();
    EXPECT_FALSE(exists(m_path));
}

// The path.

TEST_F(GenerateReqXMLTest, NamesItsFileByTheTime) {
    const std::string before = getTimeString(1);
    makeWriter();
    const std::string after = getTimeString(1);
    EXPECT_THAT(m_path, AnyOf(path("Request") + before + ".xml", path("Request") + after + ".xml"));
    EXPECT_THAT(m_path.substr(path("Request").size()),
                ::testing::MatchesRegex("_[01][0-9][0-3][0-9]_[0-2][0-9][0-5][0-9]\\.xml"));
}

TEST_F(GenerateReqXMLTest, StandsInTheFolderForTemporaryFilesByDefault) {
    inChild([this] {
        const GenerateReqXML writer(&m_window);
        EXPECT_THAT(
            writer.getRequestPath(),
            ::testing::MatchesRegex("/tmp/BundleRequest_[0-9][0-9][0-9][0-9]_[0-9][0-9][0-9][0-9]\\.xml"));
        // Without the destructor, which would remove the request that another process has there.
        std::fflush(nullptr);
        ::_exit(HasFailure() ? 1 : 0);
    });
}

TEST_F(GenerateReqXMLTest, ReplacesVariablesInTheStem) {
    makeFolder("sub");
    EXPECT_TRUE(makeWriter(&m_window, "$HOME/sub/R").getRequestPath().starts_with(path("sub/R_")));
    m_writer->run();
    EXPECT_TRUE(exists(m_path));
}

TEST_F(GenerateReqXMLTest, MakesNoFileUntilItIsRun) {
    makeWriter();
    EXPECT_FALSE(exists(m_path));
    EXPECT_THAT(m_window.statuses(), IsEmpty());
}

// The file.

TEST_F(GenerateReqXMLTest, IsForItsOwnerAloneWhateverTheMask) {
    const mode_t former = ::umask(0);
    static_cast<void>(written());
    static_cast<void>(::umask(former));
    EXPECT_EQ(modeOfRequest(), 0600u);
}

TEST_F(GenerateReqXMLTest, EmptiesAFileThatIsThere) {
    makeWriter();
    writeFile(m_path, std::string(5000, 'x'));
    m_writer->run();
    EXPECT_EQ(readFile(m_path).substr(225), kEmptyComment);
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(GenerateReqXMLTest, TakesAFileThatIsThereFromAllOthers) {
    makeWriter();
    writeFile(m_path, "");
    ASSERT_EQ(::chmod(m_path.c_str(), 0666), 0);
    m_writer->run();
    EXPECT_EQ(modeOfRequest(), 0600u);
}

TEST_F(GenerateReqXMLTest, RemovesItsFileAtTheEnd) {
    static_cast<void>(written());
    ASSERT_TRUE(exists(m_path));
    m_writer.reset();
    EXPECT_FALSE(exists(m_path));
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(GenerateReqXMLTest, WarnsAtTheEndWhenThereIsNoFile) {
    makeWriter();
    m_writer.reset();
    EXPECT_TRUE(m_log.containsCode('W', "~GenerateReqXML", "remove", ENOENT)) << m_log.dump();
    EXPECT_EQ(m_log.lines().size(), 1u);
}

TEST_F(GenerateReqXMLTest, SharesItsPathWithTheOthersOfTheMinute) {
    std::unique_ptr<GenerateReqXML> second;
    do { // once more if a minute ends in between
        makeWriter();
        second = std::make_unique<GenerateReqXML>(&m_window, nullptr, path("Request"));
    } while (second->getRequestPath() != m_path);
    m_window.m_comments = "the first and longer comment";
    m_writer->run();
    m_window.m_comments = "the second";
    second->run();
    EXPECT_EQ(readFile(m_path).substr(225), "<comments><![CDATA[the second]]></comments></request>");
    EXPECT_TRUE(m_window.gotOnly(MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS, 2));
    const int before = m_log.count('W', "Invoked Function: remove\n");
    m_writer.reset();
    EXPECT_FALSE(exists(m_path));
    second.reset();
    EXPECT_TRUE(m_log.containsCode('W', "~GenerateReqXML", "remove", ENOENT)) << m_log.dump();
    EXPECT_EQ(m_log.count('W', "Invoked Function: remove\n"), before + 1);
}

TEST_F(GenerateReqXMLTest, SendsItsStatusFromTheCallersThread) {
    static_cast<void>(written());
    ASSERT_EQ(m_window.statuses().size(), 1u);
    EXPECT_EQ(m_window.statuses().front().thread, std::this_thread::get_id());
}

} // namespace
