#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlMgr.h"

#include "tests/unit/documents/DocumentTest.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlParser.h"

namespace {

class MEROXmlMgrTest : public DocumentTest {
protected:
    /// The root of a good document; stays the manager's.
    const MEROComponent& parse(const std::string& text) {
        EXPECT_EQ(MEROXmlParser(&m_manager).parse(text), 0u) << m_log.dump();
        return *m_manager.getXmlObject()->GetRoot();
    }

    MEROXmlMgr m_manager;
};

TEST_F(MEROXmlMgrTest, StartsWithAnEmptyObject) {
    ASSERT_NE(m_manager.getXmlObject(), nullptr);
    EXPECT_EQ(m_manager.getXmlObject()->GetRoot(), nullptr);
}

TEST_F(MEROXmlMgrTest, BuildsTheTreeOfADocument) {
    const MEROComponent& root = parse("<r a=\"1\" b=\"2\"><x>t</x><y><z/></y></r>");
    EXPECT_EQ(root.getName(), "r");
    EXPECT_EQ(root.getParent(), nullptr);
    EXPECT_EQ(root.getCount(), 4u);
    EXPECT_EQ(m_manager.getXmlObject()->getCount(), 4u);
    ASSERT_EQ(root.getAttributes().size(), 2u);
    EXPECT_EQ(root.getAttributes().front()->getName(), "a");
    EXPECT_EQ(root.getAttributes().back()->getValue(), "2");
    ASSERT_EQ(root.getChildren().size(), 2u);
    EXPECT_EQ(root.getChildren().front()->getValue(), "t");
    EXPECT_TRUE(root.getChildren().front()->isLeaf());
    EXPECT_EQ(root.getChildren().back()->getChildren().front()->getParent(), root.getChildren().back());
}

TEST_F(MEROXmlMgrTest, TrimsAnAttributeValue) {
    EXPECT_EQ(parse("<r id=\"  a  b \"/>").FindAttribute("id")->getValue(), "a  b");
}

TEST_F(MEROXmlMgrTest, TrimsText) {
    EXPECT_EQ(parse("<r>  x  </r>").getValue(), "x");
}

TEST_F(MEROXmlMgrTest, TextOfWhiteSpaceOnlyLeavesTheValueEmpty) {
    EXPECT_EQ(parse("<r>\n \t<x/> \n</r>").getValue(), "");
}

TEST_F(MEROXmlMgrTest, JoinsTheTextBeforeAndBehindAChild) {
    const MEROComponent& root = parse("<r>a<c/>b</r>");
    EXPECT_EQ(root.getValue(), "ab");
    EXPECT_EQ(root.getChildren().front()->getValue(), "");
}

TEST_F(MEROXmlMgrTest, LosesTheBlanksAtTheSeamsOfPieces) {
    EXPECT_EQ(parse("<r>a &amp; b <![CDATA[ c ]]> d</r>").getValue(), "a&bcd");
}

TEST_F(MEROXmlMgrTest, KeepsMarkupCharactersOfMarkedText) {
    EXPECT_EQ(parse("<request><comments><![CDATA[a < b & c]]></comments></request>")
                  .FindChild("comments")
                  ->getValue(),
              "a < b & c");
}

TEST_F(MEROXmlMgrTest, AnEmptyMarkedSectionGivesAnEmptyValue) {
    const MEROComponent& root = parse("<request><comments><![CDATA[]]></comments></request>");
    ASSERT_NE(root.FindChild("comments"), nullptr);
    EXPECT_EQ(root.FindChild("comments")->getValue(), "");
}

TEST_F(MEROXmlMgrTest, TheEndOfAMarkedSectionInACommentMakesARequestMalformed) {
    EXPECT_NE(MEROXmlParser(&m_manager).parse("<request><comments><![CDATA[a]]>&b]]></comments></request>"),
              0u);
}

TEST_F(MEROXmlMgrTest, TrimsADefaultBeforeItIsCompared) {
    const MEROComponent& root = parse("<file><default> true </default></file>");
    EXPECT_EQ(root.FindChild("default")->getValue(), "true");
}

TEST_F(MEROXmlMgrTest, KeepsTheCaseOfNamesAndValues) {
    const MEROComponent& root = parse("<file><Default>True</Default></file>");
    EXPECT_EQ(root.FindChild("default"), nullptr);
    EXPECT_EQ(root.FindChild("Default")->getValue(), "True");
}

TEST_F(MEROXmlMgrTest, KeepsAMarkedUpTranslationAsItStands) {
    EXPECT_EQ(parse("<title>_tr(\"text</title>").getValue(), "_tr(\"text");
}

TEST_F(MEROXmlMgrTest, FindsTheFirstMatchInDocumentOrderAtAnyDepth) {
    const MEROComponent& root = parse("<r><a><x>deep</x></a><x>direct</x></r>");
    EXPECT_EQ(root.FindChild("x")->getValue(), "deep");
}

TEST_F(MEROXmlMgrTest, EventsWithoutAnOpenElementDoNothing) {
    m_manager.endElement("r");
    m_manager.setElementValue("text");
    m_manager.addAttribute("a", "1");
    EXPECT_EQ(m_manager.getXmlObject()->GetRoot(), nullptr);
    m_manager.startElement("r");
    m_manager.endElement("r");
    m_manager.endElement("r");
    m_manager.setElementValue("text");
    m_manager.addAttribute("a", "1");
    ASSERT_NE(m_manager.getXmlObject()->GetRoot(), nullptr);
    EXPECT_EQ(m_manager.getXmlObject()->GetRoot()->getValue(), "");
    EXPECT_TRUE(m_manager.getXmlObject()->GetRoot()->getAttributes().empty());
}

TEST_F(MEROXmlMgrTest, DoesNotCompareTheNameOfAClosingElement) {
    m_manager.startElement("r");
    m_manager.startElement("c");
    m_manager.endElement("other");
    m_manager.setElementValue("text");
    EXPECT_EQ(m_manager.getXmlObject()->GetRoot()->getValue(), "text");
}

TEST_F(MEROXmlMgrTest, APieceOfTextEndsAtANul) {
    m_manager.startElement("r");
    m_manager.setElementValue(std::string("a\0b", 3));
    m_manager.setElementValue("c");
    EXPECT_EQ(m_manager.getXmlObject()->GetRoot()->getValue(), "ac");
}

TEST_F(MEROXmlMgrTest, KeepsThePartialTreeOfAFailedParse) {
    EXPECT_NE(MEROXmlParser(&m_manager).parse("<r><a>t</a><b></r>"), 0u);
    const MEROComponent* root = m_manager.getXmlObject()->GetRoot();
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->FindChild("a")->getValue(), "t");
    EXPECT_EQ(root->getCount(), 3u);
}

TEST_F(MEROXmlMgrTest, ASecondDocumentTakesThePlaceOfTheFirst) {
    static_cast<void>(parse("<first><x/></first>"));
    EXPECT_EQ(parse("<second/>").getName(), "second");
    EXPECT_EQ(m_manager.getXmlObject()->getCount(), 1u);
}

} // namespace
