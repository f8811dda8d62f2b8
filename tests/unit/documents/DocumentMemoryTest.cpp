#include "Common/Xml/XmlParser.h"
#include "Common/Xml/ZMTSaxWriter.h"
#include "tests/support/HeapWatch.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlParser.h"

#include <gtest/gtest.h>
#include <string>

namespace {

/// Longer than what fits into a string object, and nowhere but in the documents of these tests.
constexpr const char* kSecret = "correct horse battery staple";

/// Looks at what a parser hands it and keeps nothing.
class LookingMgr : public MEROXmlMgr {
public:
    void startElement(const std::string& /*name*/) override {}
    void endElement(const std::string& /*name*/) override {}
    void setElementValue(const std::string& value) override { m_seen += value == kSecret ? 1 : 0; }
    void addAttribute(const std::string& /*name*/, const std::string& value) override {
        m_seen += value == kSecret ? 1 : 0;
    }
    [[nodiscard]] int seen() const { return m_seen; }

private:
    int m_seen = 0;
};

const std::string& document() {
    static const std::string text =
        std::string("\n <a b=' ") + kSecret + " '> " + kSecret + " <c> " + kSecret + "\n</c></a>";
    return text;
}

template <typename Parser> void expectWiped() {
    LookingMgr manager;
    ASSERT_FALSE(document().empty());
    const HeapWatch watch(kSecret);
    {
        Parser parser(&manager);
        EXPECT_EQ(parser.parse(document()), 0U);
        EXPECT_EQ(parser.parse(document(), 0), 0U);
    }
    EXPECT_EQ(manager.seen(), 6);
    EXPECT_GE(HeapWatch::blocksFreed(), 10);
    EXPECT_EQ(HeapWatch::secretsFreed(), 0);
}

TEST(DocumentMemory, OfTheCommonParserIsWiped) {
    expectWiped<XmlParser>();
}

TEST(DocumentMemory, OfTheEnginesParserIsWiped) {
    expectWiped<MEROXmlParser>();
}

} // namespace
