#include "Common/Xml/ZMTSaxParser.h"

#include "Common/Utility/ReturnCodes.h"
#include "Common/Xml/XmlParser.h"
#include "tests/unit/documents/DocumentTest.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlParser.h"

#include <new>
#include <stdexcept>

namespace {

using Events = std::vector<std::string>;

class SaxParserTest : public DocumentTest {
protected:
    uint32_t parseText(const std::string& text) {
        return ZMTSaxParser(&m_manager).startParser(text, kParseText);
    }
    /// The events of a good document.
    Events eventsOf(const std::string& text) {
        EXPECT_EQ(parseText(text), 0u) << m_log.dump();
        return m_manager.m_events;
    }
    void expectMalformed(const std::string& text, const std::string& message) {
        EXPECT_EQ(parseText(text), GLOBAL_ERROR_UNEXPECTED);
        EXPECT_TRUE(logged('E', "errorCB", "xml errorCB: " + message)) << m_log.dump();
        EXPECT_TRUE(m_log.containsCode('E', "startParser", "xmlParseDocument", 0xFFFFFFFF)) << m_log.dump();
    }

    RecordingMgr m_manager;
};

TEST_F(SaxParserTest, DeliversElementsAttributesAndTextInDocumentOrder) {
    EXPECT_EQ(eventsOf("<a x=\"1\" y=\"2\">t<b/>u</a>"),
              (Events{"<a", "@x=1", "@y=2", "'t'", "<b", ">b", "'u'", ">a"}));
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(SaxParserTest, DropsCommentsInstructionsAndTheDocumentType) {
    EXPECT_EQ(
        eventsOf("<?xml version=\"1.0\"?><!DOCTYPE a [<!ELEMENT a ANY>]><?pi x?><a><!-- c --><?pi y?></a>"),
        (Events{"<a", ">a"}));
}

TEST_F(SaxParserTest, EmptyInputFailsWithoutALine) {
    EXPECT_EQ(parseText(""), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_EQ(ZMTSaxParser(&m_manager).startParser("", kParseFile), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(SaxParserTest, BlankTextFailsWithoutALine) {
    EXPECT_EQ(parseText(" \n\t"), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_EQ(parseText("\r \n\r\t\t"), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(SaxParserTest, AnotherModeFailsWithoutALine) {
    EXPECT_EQ(ZMTSaxParser(&m_manager).startParser("<a/>", 2), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_EQ(ZMTSaxParser(&m_manager).startParser("<a/>", 0xFFFFFFFF), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(m_manager.m_events.empty());
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(SaxParserTest, SkipsBlanksBeforeTheXmlDeclaration) {
    EXPECT_EQ(eventsOf(" \r\n\t<?xml version=\"1.0\"?><a/>"), (Events{"<a", ">a"}));
}

TEST_F(SaxParserTest, TrimsAttributesAtBothEnds) {
    EXPECT_EQ(eventsOf("<a id=\"  a  b  \" tab=\"&#9;&#10;x&#13;\" none=\"  \"/>"),
              (Events{"<a", "@id=a  b", "@tab=x", "@none=", ">a"}));
}

TEST_F(SaxParserTest, TrimsTextAtBothEnds) {
    EXPECT_EQ(eventsOf("<a>\n\t  x y \r </a>").at(1), "'x y'");
}

TEST_F(SaxParserTest, WhiteSpaceAloneArrivesAsAnEmptyPiece) {
    EXPECT_EQ(eventsOf("<a> \n\t </a>"), (Events{"<a", "''", ">a"}));
}

TEST_F(SaxParserTest, TrimsEachPieceByItself) {
    EXPECT_EQ(eventsOf("<a>p &amp; q</a>"), (Events{"<a", "'p'", "'&'", "'q'", ">a"}));
}

TEST_F(SaxParserTest, TrimsMarkedTextAlike) {
    EXPECT_EQ(eventsOf("<a><![CDATA[  <b> & ]]></a>"), (Events{"<a", "'<b> &'", ">a"}));
}

TEST_F(SaxParserTest, ReadsPredefinedAndNumberedCharactersOfText) {
    EXPECT_EQ(eventsOf("<a>&lt;&#65;&#x20AC;&gt;</a>"), (Events{"<a", "'<'", "'A'", "'€'", "'>'", ">a"}));
}

// The flat attribute callback hands "&" on in this form. An id taken from here can be written into a request
// as it stands.
TEST_F(SaxParserTest, AnAmpersandInAnAttributeStaysACharacterReference) {
    EXPECT_EQ(eventsOf("<a x=\"1 &amp; 2 &lt; 3\"/>").at(1), "@x=1 &#38; 2 < 3");
}

TEST_F(SaxParserTest, KeepsPrefixesAndNamespaceDeclarationsAsTheyStand) {
    EXPECT_EQ(eventsOf("<n:a xmlns:n=\"u\" n:x=\"1\"/>"), (Events{"<n:a", "@xmlns:n=u", "@n:x=1", ">n:a"}));
}

TEST_F(SaxParserTest, DeliversOtherEncodingsAsUtf8) {
    EXPECT_EQ(eventsOf("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a x=\"\xE4\">\xF6</a>"),
              (Events{"<a", "@x=ä", "'ö'", ">a"}));
}

TEST_F(SaxParserTest, SkipsAByteOrderMark) {
    EXPECT_EQ(eventsOf("\xEF\xBB\xBF<a/>"), (Events{"<a", ">a"}));
}

TEST_F(SaxParserTest, WrongNestingIsMalformed) {
    expectMalformed("<a><b></a>", "Opening and ending tag mismatch: b line 0 and a\n");
    // Of errors that follow from the first one newer libraries say nothing.
    EXPECT_EQ(logged('E', "errorCB", "xml errorCB: Premature end of data in tag a line 1\n"), kOlderLibrary);
}

TEST_F(SaxParserTest, ATruncatedDocumentIsMalformedWhereverItEnds) {
    const std::string whole = "<?xml version=\"1.0\"?><a x=\"1\"><b>t</b><![CDATA[c]]></a>";
    for (std::size_t size = 1; size < whole.size(); ++size) {
        EXPECT_EQ(parseText(whole.substr(0, size)), GLOBAL_ERROR_UNEXPECTED) << size;
    }
    EXPECT_EQ(m_log.count('E', "Invoked Function: xmlParseDocument\n"), static_cast<int>(whole.size()) - 1);
    EXPECT_EQ(parseText(whole), 0u);
}

TEST_F(SaxParserTest, TextThatIsNoXmlIsMalformed) {
    expectMalformed("hello", "Start tag expected, '<' not found\n");
    EXPECT_TRUE(m_manager.m_events.empty());
}

TEST_F(SaxParserTest, TheSameAttributeTwiceIsMalformed) {
    expectMalformed("<a x=\"1\" x=\"2\"/>", "Attribute x redefined\n");
}

TEST_F(SaxParserTest, SomethingBehindTheRootIsMalformed) {
    expectMalformed("<a/><b/>", "Extra content at the end of the document\n");
}

TEST_F(SaxParserTest, BytesThatAreNotUtf8AreMalformed) {
    expectMalformed("<a>\xFF</a>", kOlderLibrary ? "Input is not proper UTF-8, indicate encoding !\n"
                                                   "Bytes: 0xFF 0x3C 0x2F 0x61\n"
                                                 : "Invalid bytes in character encoding\n");
}

TEST_F(SaxParserTest, AnOverlongUtf8SequenceIsMalformed) {
    EXPECT_EQ(parseText("<a x=\"\xC0\xAF\"/>"), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(m_log.contains('E', "xml errorCB: ")) << m_log.dump();
}

TEST_F(SaxParserTest, NulBytesAreMalformedInEveryPlace) {
    for (const char* around : {"<a?></a>", "<a>?</a>", "<a x=\"?\"/>", "<a?b/>"}) {
        std::string text = around;
        text[text.find('?')] = '\0';
        EXPECT_EQ(parseText(text), GLOBAL_ERROR_UNEXPECTED) << around;
    }
    EXPECT_EQ(m_log.count('E', "Invoked Function: xmlParseDocument\n"), 4);
}

TEST_F(SaxParserTest, ANulByteBehindTheRootIsNoPartOfTheDocument) {
    const std::string text("<a/>\0<b>", 8);
    if (kOlderLibrary) {
        EXPECT_EQ(eventsOf(text), (Events{"<a", ">a"}));
    } else {
        expectMalformed(text, "Extra content at the end of the document\n");
    }
}

TEST_F(SaxParserTest, ACharacterReferenceToNulIsMalformed) {
    expectMalformed("<a>&#0;</a>", "xmlParseCharRef: invalid xmlChar value 0\n");
}

TEST_F(SaxParserTest, AnUnknownEncodingIsMalformed) {
    EXPECT_EQ(parseText("<?xml version=\"1.0\" encoding=\"none-such\"?><a/>"), GLOBAL_ERROR_UNEXPECTED);
    const std::string text =
        kOlderLibrary ? "Unsupported encoding none-such\n" : "Unsupported encoding: none-such\n";
    EXPECT_TRUE(logged('E', "errorCB", "xml errorCB: " + text)) << m_log.dump();
}

TEST_F(SaxParserTest, MessagesOfTheLibraryGoToTheLogAndNotToStandardError) {
    ::testing::internal::CaptureStderr();
    static_cast<void>(parseText("<a><b></a>"));
    static_cast<void>(parseText("<?xml version=\"1.0\" encoding=\"UTF-16\"?><a>\xD8</a>"));
    static_cast<void>(parseText("<?xml version=\"1.0\" encoding=\"EUC-JP\"?><a>\xFF\xFF</a>"));
    static_cast<void>(ZMTSaxParser(&m_manager).startParser(path("none.xml"), kParseFile));
    static_cast<void>(ZMTSaxParser(&m_manager).startParser(makeFolder("folder.xml"), kParseFile));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    const std::string text =
        kOlderLibrary ? "input conversion failed" : "Invalid bytes in character encoding";
    EXPECT_TRUE(m_log.contains('E', "xml errorCB: " + text)) << m_log.dump();
}

TEST_F(SaxParserTest, WithoutAManagerEachCallbackSaysSo) {
    EXPECT_EQ(ZMTSaxParser(nullptr).startParser("<a x=\"1\">t</a>", kParseText), 0u);
    for (const char* callback : {"startElementCB", "elementValueCB", "endElementCB"}) {
        EXPECT_TRUE(logged('E', callback, "No XML Manager provided.")) << callback << m_log.dump();
    }
    EXPECT_EQ(m_log.count('*', ""), 3);
}

TEST_F(SaxParserTest, TakesAFileByItsPath) {
    const std::string file = writeFile("a.xml", "<?xml version=\"1.0\"?>\n<a x=\"1\">t</a>\n");
    EXPECT_EQ(ZMTSaxParser(&m_manager).startParser(file, kParseFile), 0u);
    EXPECT_EQ(m_manager.m_events, (Events{"<a", "@x=1", "'t'", ">a"}));
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(SaxParserTest, AFileMayNotStartWithBlanksBeforeItsDeclaration) {
    const std::string file = writeFile("a.xml", " <?xml version=\"1.0\"?><a/>");
    EXPECT_EQ(ZMTSaxParser(&m_manager).startParser(file, kParseFile), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(
        logged('E', "errorCB", "xml errorCB: XML declaration allowed only at the start of the document\n"))
        << m_log.dump();
}

/// Throws from the event whose name it is given.
class ThrowingMgr : public RecordingMgr {
public:
    explicit ThrowingMgr(std::string event) : m_event(std::move(event)) {}
    void startElement(const std::string& name) override {
        RecordingMgr::startElement(name);
        throwAt("start");
    }
    void endElement(const std::string& name) override {
        RecordingMgr::endElement(name);
        throwAt("end");
    }
    void setElementValue(const std::string& value) override {
        RecordingMgr::setElementValue(value);
        throwAt("text");
    }
    void addAttribute(const std::string& name, const std::string& value) override {
        RecordingMgr::addAttribute(name, value);
        throwAt("attribute");
    }

private:
    void throwAt(const std::string& event) const {
        if (event == m_event) {
            throw std::bad_alloc();
        }
    }
    std::string m_event;
};

class ThrowingManager : public SaxParserTest,
                        public ::testing::WithParamInterface<std::pair<const char*, const char*>> {};

TEST_P(ThrowingManager, EndsTheParseWithAFailure) {
    ThrowingMgr manager(GetParam().first);
    EXPECT_EQ(ZMTSaxParser(&manager).startParser("<a x=\"1\" y=\"2\">t</a>", kParseText),
              GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(logged('E', GetParam().second, "The document can't be taken in; parsing stops."))
        << m_log.dump();
    EXPECT_TRUE(m_log.containsCode('E', "startParser", "xmlParseDocument", 0xFFFFFFFF)) << m_log.dump();
}

TEST_P(ThrowingManager, GetsNoFurtherEvent) {
    ThrowingMgr manager(GetParam().first);
    static_cast<void>(ZMTSaxParser(&manager).startParser("<r><a x=\"1\">t</a><a/></r>", kParseText));
    const Events all{"<r", "<a", "@x=1", "'t'", ">a"};
    ASSERT_FALSE(manager.m_events.empty());
    ASSERT_LE(manager.m_events.size(), all.size());
    EXPECT_EQ(manager.m_events,
              Events(all.begin(), all.begin() + static_cast<long>(manager.m_events.size())));
}

INSTANTIATE_TEST_SUITE_P(Events, ThrowingManager,
                         ::testing::Values(std::pair("start", "startElementCB"),
                                           std::pair("attribute", "startElementCB"),
                                           std::pair("text", "elementValueCB"),
                                           std::pair("end", "endElementCB")),
                         [](const auto& entry) { return std::string(entry.param.first); });

TEST_F(SaxParserTest, AParserCanBeUsedAgainAfterAFailure) {
    ZMTSaxParser parser(&m_manager);
    EXPECT_EQ(parser.startParser("<a", kParseText), GLOBAL_ERROR_UNEXPECTED);
    m_manager.m_events.clear();
    EXPECT_EQ(parser.startParser("<b/>", kParseText), 0u);
    EXPECT_EQ(m_manager.m_events, (Events{"<b", ">b"}));
}

TEST_F(SaxParserTest, LeavesTheInputUntouched) {
    const std::string input = "  <a>secret</a>";
    static_cast<void>(parseText(input));
    EXPECT_EQ(input, "  <a>secret</a>");
}

class XmlParserTest : public SaxParserTest {};

TEST_F(XmlParserTest, ParsesTextAndFiles) {
    XmlParser parser(&m_manager);
    EXPECT_EQ(parser.parse("<a/>"), 0u);
    EXPECT_EQ(parser.parse("<b/>", kParseText), 0u);
    EXPECT_EQ(parser.parse(writeFile("c.xml", "<c/>"), kParseFile), 0u);
    EXPECT_EQ(parser.parseFile(writeFile("d.xml", "<d/>")), 0u);
    EXPECT_EQ(m_manager.m_events, (Events{"<a", ">a", "<b", ">b", "<c", ">c", "<d", ">d"}));
}

TEST_F(XmlParserTest, RefusesOtherModes) {
    EXPECT_EQ(XmlParser(&m_manager).parse("<a/>", 2), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(m_manager.m_events.empty());
}

TEST_F(XmlParserTest, EachCallWithoutAManagerSaysSo) {
    XmlParser parser(nullptr);
    EXPECT_EQ(parser.parse("<a/>"), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_EQ(parser.parse("<a/>", kParseText), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_EQ(parser.parseFile(writeFile("a.xml", "<a/>")), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_TRUE(logged('E', "invokeParser", "XML Manager not provided")) << m_log.dump();
    EXPECT_EQ(m_log.count('E', "XML Manager not provided"), 3);
    EXPECT_EQ(m_log.count('*', ""), 3);
}

class MEROXmlParserTest : public DocumentTest {
protected:
    /// Name of the root that a fresh manager gets from this parse.
    template <typename Parse> std::string rootOf(Parse parse) {
        MEROXmlMgr manager;
        MEROXmlParser parser(&manager);
        EXPECT_EQ(parse(parser), 0u) << m_log.dump();
        const MEROComponent* root = manager.getXmlObject()->GetRoot();
        return root == nullptr ? "" : root->getName();
    }
};

TEST_F(MEROXmlParserTest, ParsesTextAndFiles) {
    const std::string file = writeFile("f.xml", "<f/>");
    EXPECT_EQ(rootOf([](MEROXmlParser& parser) { return parser.parse("<a/>"); }), "a");
    EXPECT_EQ(rootOf([](MEROXmlParser& parser) { return parser.parse("<b/>", kParseText); }), "b");
    EXPECT_EQ(rootOf([&](MEROXmlParser& parser) { return parser.parseFile(file); }), "f");
}

TEST_F(MEROXmlParserTest, TakesEveryModeButZeroAsAPath) {
    const std::string file = writeFile("f.xml", "<f/>");
    EXPECT_EQ(rootOf([&](MEROXmlParser& parser) { return parser.parse(file, 1); }), "f");
    EXPECT_EQ(rootOf([&](MEROXmlParser& parser) { return parser.parse(file, 7); }), "f");
}

TEST_F(MEROXmlParserTest, WithoutAManagerTheCallbacksSaySo) {
    EXPECT_EQ(MEROXmlParser(nullptr).parse("<a/>"), 0u);
    EXPECT_TRUE(logged('E', "startElementCB", "No XML Manager provided."));
    EXPECT_TRUE(logged('E', "endElementCB", "No XML Manager provided."));
    EXPECT_FALSE(m_log.contains('E', "XML Manager not provided"));
}

TEST_F(MEROXmlParserTest, GivesUnexpectedForAMalformedDocument) {
    MEROXmlMgr manager;
    EXPECT_EQ(MEROXmlParser(&manager).parse("<a>"), GLOBAL_ERROR_UNEXPECTED);
    // What was read so far stays in the manager.
    ASSERT_NE(manager.getXmlObject()->GetRoot(), nullptr);
    EXPECT_EQ(manager.getXmlObject()->GetRoot()->getName(), "a");
}

} // namespace
