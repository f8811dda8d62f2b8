#include "Common/Xml/ZMTSaxWriter.h"

#include "Common/Utility/ReturnCodes.h"
#include "Common/Xml/XmlParser.h"
#include "tests/support/InChild.h"
#include "tests/unit/documents/DocumentTest.h"

#include <cerrno>
#include <sys/stat.h>

namespace {

constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

class SaxWriter : public DocumentTest {
protected:
    [[nodiscard]] std::string document() const { return std::string(m_writer.getDocumentBuffer()->view()); }
    /// What `text` adds to the document.
    std::string written(const std::string& text) {
        const std::size_t before = document().size();
        EXPECT_EQ(m_writer.characters(text), 0U);
        return document().substr(before);
    }
    /// A document with nothing but its root.
    static void fill(SaxWriterIfc& writer) {
        EXPECT_EQ(writer.startDocument(nullptr), 0U);
        EXPECT_EQ(writer.endDocument(), 0U);
    }
    void expectFailure(const std::string& call, uint32_t code, const std::string& text) const {
        EXPECT_TRUE(m_log.containsCode('E', "writeDocument", call, code)) << m_log.dump();
        EXPECT_TRUE(m_log.contains('E', text)) << m_log.dump();
    }
    void expectFailedDirectory(const std::string& directory) const {
        ZMTSaxWriter writer(directory, "file.xml", "root");
        fill(writer);
        EXPECT_EQ(writer.writeDocument(), GLOBAL_ERROR_UNEXPECTED);
        expectFailure("ZMTSaxWriter::writeDocument", GLOBAL_ERROR_UNEXPECTED,
                      "Error creating needed directory");
    }

    ZMTSaxWriter m_writer{path() + "/", "file.xml", "root"};
};

const std::string kEmptyDocument = std::string(kDeclaration) + "\n<root>\n</root>\n";

TEST_F(SaxWriter, BeginsWithAnEmptyBuffer) {
    EXPECT_EQ(document(), "");
    EXPECT_FALSE(exists("file.xml"));
}

TEST_F(SaxWriter, OpensEachElementOnALineOfItsOwnAndClosesItBehindTheLastThingWritten) {
    const XmlAttributes attributes = {{"b", "1"}, {"a", "<&>'"}};
    const XmlAttributes none;
    EXPECT_EQ(m_writer.startDocument(&attributes), 0U);
    EXPECT_EQ(m_writer.startElement("outer", &none), 0U);
    EXPECT_EQ(m_writer.startElement("inner", nullptr), 0U);
    EXPECT_EQ(m_writer.characters("text"), 0U);
    EXPECT_EQ(m_writer.endElement("inner"), 0U);
    EXPECT_EQ(m_writer.startElement("empty", &attributes), 0U);
    EXPECT_EQ(m_writer.endElement("empty"), 0U);
    EXPECT_EQ(m_writer.endElement("outer"), 0U);
    EXPECT_EQ(m_writer.endDocument(), 0U);
    EXPECT_EQ(document(), std::string(kDeclaration) +
                              "\n<root b=\"1\" a=\"<&>'\">\n<outer>\n<inner>text</inner>"
                              "\n<empty b=\"1\" a=\"<&>'\"></empty></outer>\n</root>\n");
}

TEST_F(SaxWriter, EmptyTextAddsNothing) {
    EXPECT_EQ(written(""), "");
}

TEST_F(SaxWriter, TextWithoutMarkupIsWrittenPlainly) {
    for (const char* text : {"]]>", "a > b", "\"'", "a]]>b"}) {
        EXPECT_EQ(written(text), text);
    }
}

TEST_F(SaxWriter, TextWithMarkupStandsInOneSection) {
    EXPECT_EQ(written("<"), "<![CDATA[<]]>");
    EXPECT_EQ(written("a&amp;b"), "<![CDATA[a&amp;b]]>");
    EXPECT_EQ(written("<]]"), "<![CDATA[<]]]]>");
}

TEST_F(SaxWriter, EndOfASectionInTheTextIsSplitBetweenTwoSections) {
    EXPECT_EQ(written("<]]>"), "<![CDATA[<]]]]><![CDATA[>]]>");
    EXPECT_EQ(written("a<]]>b"), "<![CDATA[a<]]]]><![CDATA[>b]]>");
    EXPECT_EQ(written("]]>&]]>"), "<![CDATA[]]]]><![CDATA[>&]]]]><![CDATA[>]]>");
}

TEST_F(SaxWriter, TextComesBackFromTheParserAsItWas) {
    for (const std::string& text : {std::string("<]]>"), std::string("a<]]>b]]>]]>"), std::string("&lt;")}) {
        EXPECT_EQ(m_writer.startDocument(nullptr), 0U);
        EXPECT_EQ(m_writer.characters(text), 0U);
        EXPECT_EQ(m_writer.endDocument(), 0U);
        RecordingMgr read;
        EXPECT_EQ(XmlParser(&read).parse(document()), 0U) << m_log.dump();
        std::string joined;
        for (const std::string& event : read.m_events) {
            joined += event.front() == '\'' ? event.substr(1, event.size() - 2) : "";
        }
        EXPECT_EQ(joined, text);
    }
}

TEST_F(SaxWriter, QuoteInAnAttributeBreaksTheDocument) {
    const XmlAttributes attributes = {{"a", "\""}};
    EXPECT_EQ(m_writer.startDocument(&attributes), 0U);
    EXPECT_EQ(m_writer.endDocument(), 0U);
    EXPECT_EQ(document(), std::string(kDeclaration) + "\n<root a=\"\"\">\n</root>\n");
    RecordingMgr read;
    EXPECT_EQ(XmlParser(&read).parse(document()), GLOBAL_ERROR_UNEXPECTED);
}

TEST_F(SaxWriter, SecondStartBeginsAfresh) {
    EXPECT_EQ(m_writer.startDocument(nullptr), 0U);
    const std::string secret(200, 's');
    EXPECT_EQ(m_writer.characters(secret), 0U);
    EXPECT_EQ(m_writer.startDocument(nullptr), 0U);
    EXPECT_EQ(document(), std::string(kDeclaration) + "\n<root>");
    // The storage stays, and behind the new text there are zeros.
    const char* const storage = m_writer.getDocumentBuffer()->c_str();
    EXPECT_EQ(std::string(storage + document().size(), 100), std::string(100, '\0'));
}

TEST_F(SaxWriter, WritesTheWholeBufferAndKeepsIt) {
    fill(m_writer);
    EXPECT_EQ(m_writer.writeDocument(), 0U);
    EXPECT_EQ(readFile("file.xml"), kEmptyDocument);
    EXPECT_EQ(document(), kEmptyDocument);
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(SaxWriter, EmptiesAFileThatIsThere) {
    writeFile("file.xml", std::string(10000, 'x'));
    fill(m_writer);
    EXPECT_EQ(m_writer.writeDocument(), 0U);
    EXPECT_EQ(readFile("file.xml"), kEmptyDocument);
}

TEST_F(SaxWriter, FollowsALinkToAFile) {
    writeFile("target.xml", "former");
    ASSERT_EQ(::symlink("target.xml", "file.xml"), 0);
    fill(m_writer);
    EXPECT_EQ(m_writer.writeDocument(), 0U);
    EXPECT_EQ(readFile("target.xml"), kEmptyDocument);
}

TEST_F(SaxWriter, MakesTheFolderWithItsParentsAsTheUmaskAllows) {
    ZMTSaxWriter writer(path("a/b/"), "file.xml", "root");
    fill(writer);
    const mode_t former = ::umask(S_IWOTH);
    EXPECT_EQ(writer.writeDocument(), 0U);
    static_cast<void>(::umask(former));
    EXPECT_EQ(readFile("a/b/file.xml"), kEmptyDocument);
    struct stat status {};
    ASSERT_EQ(::stat("a", &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0775U);
    ASSERT_EQ(::stat("a/b/file.xml", &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0664U);
}

TEST_F(SaxWriter, FolderWithoutItsFinalSlashGivesAnotherName) {
    makeFolder("folder");
    ZMTSaxWriter writer(path("folder"), "file.xml", "root");
    fill(writer);
    EXPECT_EQ(writer.writeDocument(), 0U);
    EXPECT_EQ(readFile("folderfile.xml"), kEmptyDocument);
    EXPECT_FALSE(exists("folder/file.xml"));
}

TEST_F(SaxWriter, RelativeFolderFailsWithoutAFile) {
    expectFailedDirectory("relative/");
    EXPECT_FALSE(exists("relative"));
    EXPECT_FALSE(exists("relative/file.xml"));
    expectFailedDirectory("./");
    EXPECT_FALSE(exists("file.xml"));
}

TEST_F(SaxWriter, EmptyFolderFailsWithoutAFile) {
    expectFailedDirectory("");
    EXPECT_FALSE(exists("file.xml"));
}

TEST_F(SaxWriter, FileInTheFoldersPlaceFails) {
    writeFile("file", "text");
    expectFailedDirectory(path("file/"));
    expectFailedDirectory(path("file/below/"));
    EXPECT_EQ(readFile("file"), "text");
}

TEST_F(SaxWriter, FolderThatCannotBeMadeFails) {
    expectFailedDirectory("/proc/self/fd/nothing/");
    EXPECT_TRUE(m_log.contains('E', "Invoked Function: mkdir")) << m_log.dump();
}

TEST_F(SaxWriter, FolderInTheFilesPlaceCannotBeOpened) {
    makeFolder("file.xml");
    fill(m_writer);
    EXPECT_EQ(m_writer.writeDocument(), GLOBAL_ERROR_UNEXPECTED);
    expectFailure("std::ofstream::open", EISDIR, "Is a directory");
}

TEST_F(SaxWriter, PipeInTheFilesPlaceIsRefusedAtOnce) {
    ASSERT_EQ(::mkfifo("file.xml", 0600), 0);
    fill(m_writer);
    EXPECT_EQ(m_writer.writeDocument(), GLOBAL_ERROR_UNEXPECTED);
    expectFailure("std::ofstream::open", EINVAL, "Invalid argument");
}

TEST_F(SaxWriter, ProtectedFolderIsAFailedOpen) {
    ASSERT_EQ(::mkdir("protected", 0555), 0);
    asOrdinaryUser([this] {
        ZMTSaxWriter writer(path("protected/"), "file.xml", "root");
        fill(writer);
        EXPECT_EQ(writer.writeDocument(), GLOBAL_ERROR_UNEXPECTED);
        expectFailure("std::ofstream::open", EACCES, "Permission denied");
    });
}

TEST_F(SaxWriter, FailedWriteLeavesWhatItHasWrittenAndCanBeTriedAgain) {
    fill(m_writer);
    withFileSizeLimit(20, [this] {
        EXPECT_EQ(m_writer.writeDocument(), GLOBAL_ERROR_UNEXPECTED);
        expectFailure("std::ofstream::operator<<", EFBIG, "File too large");
        EXPECT_EQ(document(), kEmptyDocument);
    });
    EXPECT_EQ(readFile("file.xml"), kEmptyDocument.substr(0, 20));
    EXPECT_EQ(m_writer.writeDocument(), 0U);
    EXPECT_EQ(readFile("file.xml"), kEmptyDocument);
}

} // namespace
