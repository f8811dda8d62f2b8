// The scan, the request writer and the engine's reader one after the other.

#include "tests/unit/offline/GenerateReqXMLTest.h"
#include "tests/unit/offline/RequestFile.h"
#include "tools/MERO/MEROOffline/Common/ParseConfigXML.h"

#include <gmock/gmock.h>
#include <set>

using ::testing::ElementsAre;

namespace {

using namespace std::string_literals;

class RequestRoundTrip : public RequestWriterTest {
protected:
    /// Scans a configuration of one item with this text as its id, and selects everything.
    void scanId(const std::string& id) {
        writeFile("inst/xml/config/a.xml",
                  "<configure><fileGroup treeRootName=\"r\"><title>m</title><file id=\"" + id +
                      "\"/></fileGroup></configure>");
        scan(path("inst"));
    }

    void scan(const std::string& installPath) {
        ParseConfigXML parser(&m_window, nullptr, installPath);
        parser.run();
        EXPECT_THAT(parser.getFailedFiles(), ::testing::IsEmpty());
        for (RootItem& root : m_window.m_roots) {
            for (ModuleItem& module : root.m_modules) {
                module.m_selected = 1;
                for (FileItem& file : module.m_files) {
                    file.m_selected = 1;
                }
            }
        }
    }

    /// The id as the engine has it from the configuration that was scanned.
    [[nodiscard]] std::string idOfEngine() const {
        MEROXmlLoader loader;
        std::list<MEROXmlObject*> trees;
        if (loader.load(path("inst/xml/config/a.xml"), kLoadFile, trees) == nullptr) {
            return "not loaded";
        }
        return trees.front()->GetRoot()->FindChild("file")->FindAttribute("id")->getValue();
    }

    [[nodiscard]] std::optional<ReadRequest> roundTrip() {
        makeWriter().run();
        return readRequest(m_path);
    }

    /// The comment as the engine gets it.
    [[nodiscard]] std::string commentAfter(const std::string& comment) {
        m_window.m_comments = comment;
        const std::optional<ReadRequest> request = roundTrip();
        EXPECT_TRUE(request) << m_log.dump();
        return request ? request->comment : "refused";
    }

    [[nodiscard]] bool refusesComment(const std::string& comment) {
        m_window.m_comments = comment;
        return !roundTrip();
    }

    [[nodiscard]] bool refusesId(const std::string& id) {
        addModule();
        addFile(id);
        return !roundTrip();
    }
};

TEST_F(RequestRoundTrip, KeepsIdsAndComment) {
    addModule();
    addFile("client-log");
    addFile("not wanted", 0);
    addFile("two words");
    addFile("\xC3\x9C'>;#");
    m_window.m_comments = "5 < 6 & \"so on\"";
    const std::optional<ReadRequest> request = roundTrip();
    ASSERT_TRUE(request) << m_log.dump();
    EXPECT_THAT(request->ids, ElementsAre("client-log", "two words", "\xC3\x9C'>;#"));
    EXPECT_EQ(request->comment, "5 < 6 & \"so on\"");
}

TEST_F(RequestRoundTrip, KeepsEveryShippedId) {
    scan(SHIPPED_DATA);
    std::vector<std::string> expected;
    for (const FileItem& file : m_window.files()) {
        expected.push_back(file.m_id);
    }
    EXPECT_GT(expected.size(), 10u);
    const std::optional<ReadRequest> request = roundTrip();
    ASSERT_TRUE(request) << m_log.dump();
    EXPECT_EQ(request->ids, expected);
    EXPECT_EQ(std::set<std::string>(expected.begin(), expected.end()).count(""), 0u);
}

TEST_F(RequestRoundTrip, AsksForNothingWithoutAConfiguration) {
    scan(path("none"));
    const std::optional<ReadRequest> request = roundTrip();
    ASSERT_TRUE(request) << m_log.dump();
    EXPECT_THAT(request->ids, ElementsAre());
    EXPECT_EQ(request->comment, "");
}

// An ampersand keeps its reference in an attribute's value, so the id that is written raw is well-formed and
// comes back as the engine has it from its configuration.
TEST_F(RequestRoundTrip, KeepsAnIdWithAnAmpersand) {
    scanId("a&amp;b");
    ASSERT_EQ(m_window.files().size(), 1u);
    EXPECT_EQ(m_window.files().front().m_id, "a&#38;b");
    const std::optional<ReadRequest> request = roundTrip();
    EXPECT_NE(readFile(m_path).find("<file id=\"a&#38;b\"></file>"), std::string::npos);
    ASSERT_TRUE(request) << m_log.dump();
    EXPECT_THAT(request->ids, ElementsAre(idOfEngine()));
}

TEST_F(RequestRoundTrip, KeepsAnIdWithADoublyEscapedAmpersand) {
    scanId("a&amp;amp;b&#38;lt;c");
    const std::optional<ReadRequest> request = roundTrip();
    ASSERT_TRUE(request) << m_log.dump();
    EXPECT_THAT(request->ids, ElementsAre(idOfEngine()));
}

TEST_F(RequestRoundTrip, KeepsAnIdWithAClosingBracketOrAnApostrophe) {
    scanId("a&gt;b&apos;c");
    EXPECT_EQ(m_window.files().front().m_id, "a>b'c");
    const std::optional<ReadRequest> request = roundTrip();
    ASSERT_TRUE(request) << m_log.dump();
    EXPECT_THAT(request->ids, ElementsAre(idOfEngine()));
}

// What the configuration has to escape comes out of it bare and goes into the request like that.
TEST_F(RequestRoundTrip, IsRefusedForAnIdWithAnEscapedOpeningBracket) {
    scanId("a&lt;b");
    EXPECT_EQ(m_window.files().front().m_id, "a<b");
    EXPECT_FALSE(roundTrip());
}

TEST_F(RequestRoundTrip, IsRefusedForAnIdWithAnEscapedQuote) {
    scanId("a&quot;b");
    EXPECT_EQ(m_window.files().front().m_id, "a\"b");
    EXPECT_FALSE(roundTrip());
}

TEST_F(RequestRoundTrip, IsRefusedForAnIdWithAQuote) {
    EXPECT_TRUE(refusesId("a\"b"));
}

TEST_F(RequestRoundTrip, IsRefusedForAnIdWithAnOpeningBracket) {
    EXPECT_TRUE(refusesId("a<b"));
}

TEST_F(RequestRoundTrip, IsRefusedForAnIdWithABareAmpersand) {
    EXPECT_TRUE(refusesId("a & b"));
}

TEST_F(RequestRoundTrip, IsRefusedForAnIdWithANul) {
    EXPECT_TRUE(refusesId("a\0b"s));
}

TEST_F(RequestRoundTrip, IsRefusedForACommentThatEndsItsSection) {
    EXPECT_TRUE(refusesComment("a]]>b"));
    EXPECT_TRUE(m_log.containsCode('E', "startParser", "xmlParseDocument", 0xFFFFFFFF)) << m_log.dump();
}

TEST_F(RequestRoundTrip, IsRefusedForACommentThatIsTheEndOfASection) {
    EXPECT_TRUE(refusesComment("]]>"));
}

TEST_F(RequestRoundTrip, IsRefusedForACommentCutAtANul) {
    EXPECT_TRUE(refusesComment("a\0b"s));
}

TEST_F(RequestRoundTrip, IsRefusedForACommentWithAControlCharacter) {
    EXPECT_TRUE(refusesComment("a\x01"
                               "b"));
}

TEST_F(RequestRoundTrip, IsRefusedForACommentWithBytesThatAreNoText) {
    EXPECT_TRUE(refusesComment("a\xFF"
                               "b"));
}

TEST_F(RequestRoundTrip, KeepsBracketsThatEndNoSection) {
    for (const char* comment :
         {"a]b", "a]]b", "a]>b", "a] ]>b", "a]]", "]", "]]]", "<![CDATA[a", "</comments>"}) {
        EXPECT_EQ(commentAfter(comment), comment);
    }
}

// Whoever writes the comment chooses the items too, so nothing is gained by it.
TEST_F(RequestRoundTrip, LetsACommentNameFurtherItems) {
    m_window.m_comments = "a]]></comments><file id=\"further\"/><comments><![CDATA[b";
    const std::optional<ReadRequest> request = roundTrip();
    ASSERT_TRUE(request) << m_log.dump();
    EXPECT_THAT(request->ids, ElementsAre("further"));
    EXPECT_EQ(request->comment, "a");
}

TEST_F(RequestRoundTrip, KeepsReferencesInACommentAsTheyWereTyped) {
    EXPECT_EQ(commentAfter("&lt;b&gt; &amp; &#65; &unknown;"), "&lt;b&gt; &amp; &#65; &unknown;");
}

TEST_F(RequestRoundTrip, KeepsTheLinesOfAComment) {
    EXPECT_EQ(commentAfter("one\n\n  two\tthree\n four"), "one\n\n  two\tthree\n four");
}

TEST_F(RequestRoundTrip, TrimsAComment) {
    EXPECT_EQ(commentAfter(" \n text \n\t"), "text");
    EXPECT_EQ(commentAfter(" \n "), "");
}

TEST_F(RequestRoundTrip, GivesEachLineOfACommentOneLineFeed) {
    EXPECT_EQ(commentAfter("one\r\ntwo\rthree"), "one\ntwo\nthree");
}

TEST_F(RequestRoundTrip, KeepsALongCommentOfCharactersOfSeveralBytes) {
    std::string comment = "x"; // so that no block of an even size ends with a character
    for (int i = 0; i < 2048; ++i) {
        comment += i % 2 == 0 ? "\xE2\x82\xAC" : "\xF0\x9F\x92\xA1";
    }
    EXPECT_EQ(commentAfter(comment), comment);
}

TEST_F(RequestRoundTrip, KeepsAVeryLongComment) {
    std::string comment;
    for (int i = 0; comment.size() < 1'000'000; ++i) {
        comment.append(std::to_string(i)).append(" ]] ");
    }
    comment += "end";
    EXPECT_TRUE(commentAfter(comment) == comment);
}

} // namespace
