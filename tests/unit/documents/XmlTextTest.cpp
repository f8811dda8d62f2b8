#include "Common/Xml/XmlText.h"

#include <gtest/gtest.h>

namespace {

TEST(XmlText, RootsBeginWithTheNamespacesAndTheSchema) {
    const XmlAttributes expected = {
        {"xmlns", "http://schemas.xmlsoap.org/encoding/"},
        {"xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance"},
        {"xsi:schemaLocation", "http://schemas.xmlsoap.org/encoding/ Some.xsd"},
    };
    EXPECT_EQ(schemaAttributes("Some.xsd"), expected);
}

TEST(XmlText, HoldsAnyCharacterThatADocumentCan) {
    for (const char* text : {"", "a<&>]]>\"'", "\t\r\n", "\x7F", "\xC2\x85", "\xC3\xA4", "\xE2\x82\xAC",
                             "\xEF\xBF\xBD", "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_TRUE(isXmlText(text)) << text;
    }
}

TEST(XmlText, RefusesControlCharactersAndNonCharacters) {
    for (const char* text : {"\x01", "a\x1F", "\x0B", "\xEF\xBF\xBE", "\xEF\xBF\xBF"}) {
        EXPECT_FALSE(isXmlText(text)) << text;
    }
    EXPECT_FALSE(isXmlText(std::string("a\0b", 3)));
}

TEST(XmlText, RefusesWhatIsNoUtf8) {
    for (const char* text :
         {"\x80", "\xFF", "a\xC3", "\xE2\x82", "\xF0\x9F\x98", "\xED\xA0\x80", "\xC1\x81", "\xE0\x81\x81",
          "\xF0\x80\x81\x81", "\xF4\x90\x80\x80", "\xC3\xA4\xA4", "\xAF\xAF", "\xF8\x88\x80\x80\x80"}) {
        EXPECT_FALSE(isXmlText(text)) << text;
    }
}

} // namespace
