#include "Common/i18n/MsgWithArg.h"

#include "tests/unit/common/i18n/MsgCatalogTest.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <string>

namespace {

std::string formatted(const MsgWithArg& message, bool translate = false) {
    WipedString text("former");
    message.getFormattedMessage(text, translate);
    return text.str();
}

std::string formatted(std::string_view message, std::initializer_list<std::string_view> arguments) {
    MsgWithArg whole(message);
    for (const std::string_view argument : arguments) {
        whole.addArgument(argument);
    }
    return formatted(whole);
}

TEST(MsgWithArg, IsEmptyUntilItHasAMessage) {
    MsgWithArg message;
    EXPECT_TRUE(message.isEmpty());
    message.addArgument("1");
    EXPECT_EQ(formatted(message), "");
    message.setMessage("Item %s");
    EXPECT_FALSE(message.isEmpty());
    EXPECT_EQ(message.getMessageKey().view(), "Item %s");
    EXPECT_EQ(formatted(message), "Item 1");
}

TEST(MsgWithArg, PutsArgumentsInByTheirOrder) {
    EXPECT_EQ(formatted("%d of %d", {"1", "2"}), "1 of 2");
    EXPECT_EQ(formatted("%s, %s and %s", {"a", "b", "c"}), "a, b and c");
}

TEST(MsgWithArg, PutsArgumentsInByTheirPosition) {
    EXPECT_EQ(formatted("%2$s %1$s", {"a", "b"}), "b a");
    EXPECT_EQ(formatted("%1$d %1$s", {"a"}), "a a");
    EXPECT_EQ(formatted("%10$s%9$s", {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"}), "109");
}

TEST(MsgWithArg, TakesEveryConversionForText) {
    EXPECT_EQ(formatted("%d %x %c %n %f %%", {"1", "2", "3", "4", "5", "6"}), "1 2 3 4 5 6");
    EXPECT_EQ(formatted("%-5d", {"1"}), "15d");
    EXPECT_EQ(formatted("100 % sure", {"-"}), "100 -sure");
}

TEST(MsgWithArg, LeavesAMessageWithoutArgumentsAsItStands) {
    EXPECT_EQ(formatted("100 % of %s %d", {}), "100 % of %s %d");
    const std::string longText(5000, 'x');
    EXPECT_EQ(formatted(longText, {}), longText);
}

TEST(MsgWithArg, HasEmptyTextsForArgumentsThatAreMissing) {
    EXPECT_EQ(formatted("<%s><%s><%s>", {"a"}), "<a><><>");
    EXPECT_EQ(formatted("<%3$s>", {"a"}), "<>");
}

TEST(MsgWithArg, ShowsTenArguments) {
    EXPECT_EQ(
        formatted("%s%s%s%s%s%s%s%s%s%s<%s>", {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "eleven"}),
        "12345678910<>");
    EXPECT_EQ(formatted("<%11$s>", {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "eleven"}), "<>");
}

TEST(MsgWithArg, SurvivesPositionsThatAreNone) {
    for (const char* placeholder : {"%0$s", "%$s", "%$$s", "%99$s", "%4294967297$s",
                                    "%18446744073709551617$s", "%99999999999999999999999999$s"}) {
        EXPECT_EQ(formatted("<" + std::string(placeholder) + ">", {"a"}), "<>") << placeholder;
    }
    EXPECT_EQ(formatted("<%1$2$s>", {"a"}), "< a>");
}

TEST(MsgWithArg, KeepsTheWidthOfAPlaceholder) {
    EXPECT_EQ(formatted("<%1$5s><%1$1s>", {"ab"}), "<   ab><ab>");
    EXPECT_EQ(formatted("<%3d> of %d", {"7", "12"}), "<  7> of 12");
    EXPECT_EQ(formatted("<%1$4000000000s", {"ab"}), "<" + std::string(2046, ' '));
}

TEST(MsgWithArg, LeavesAConversionWithoutALetter) {
    EXPECT_EQ(formatted("50 %", {"a"}), "50 %");
    EXPECT_EQ(formatted("%s %1$", {"a"}), "a %1$");
}

TEST(MsgWithArg, NeverLooksForPlaceholdersInArguments) {
    EXPECT_EQ(formatted("%s %s", {"%s", "%2$s"}), "%s %2$s");
}

TEST(MsgWithArg, IsCutAt2047Bytes) {
    EXPECT_EQ(formatted("%s", {std::string(2047, 'x')}), std::string(2047, 'x'));
    EXPECT_EQ(formatted("<%s>", {std::string(5000, 'x')}), "<" + std::string(2046, 'x'));
}

TEST(MsgWithArg, DecodesReferences) {
    EXPECT_EQ(formatted("a&#38;b", {}), "a&b");
    EXPECT_EQ(formatted("&#x41;&#X41;&#x00004a;&#0065;", {}), "A&#X41;JA");
    EXPECT_EQ(formatted("%s", {"a&#38;b"}), "a&b");
}

TEST(MsgWithArg, DecodesReferencesBeyond127ToUtf8) {
    EXPECT_EQ(formatted("&#127;&#128;&#228;", {}), "\x7F\xC2\x80\xC3\xA4");
    EXPECT_EQ(formatted("&#xd7ff;&#xE000;&#x20AC;", {}), "\xED\x9F\xBF\xEE\x80\x80\xE2\x82\xAC");
    EXPECT_EQ(formatted("&#x10000;&#x1F600;&#x10FFFF;", {}),
              "\xF0\x90\x80\x80\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF");
}

TEST(MsgWithArg, LeavesReferencesToWhatIsNoCharacter) {
    for (const char* text : {"&#0;", "&#x0;", "&#000;", "&#xD800;", "&#xDFFF;", "&#55296;", "&#x110000;",
                             "&#1114112;", "&#4294967334;", "&#x100000026;", "&#99999999999999999999999;"}) {
        EXPECT_EQ(formatted(text, {}), text);
    }
}

TEST(MsgWithArg, LeavesReferencesThatDoNotParse) {
    for (const char* text :
         {"a&#xyz;b", "&#;", "&#x;", "&#", "&#x", "&#38", "&#3 8;", "&# 38;", "&#38 ;", "&#-38;", "&#+38;",
          "&#0x26;", "&#xx26;", "&#26a;", "&amp;", "&", "&;", "&&#;", "#38;"}) {
        EXPECT_EQ(formatted(text, {}), text);
    }
}

TEST(MsgWithArg, FindsAReferenceBehindABrokenOne) {
    EXPECT_EQ(formatted("&#&#38;", {}), "&#&");
    EXPECT_EQ(formatted("&#12&#38;", {}), "&#12&");
}

TEST(MsgWithArg, NeverDecodesTwice) {
    EXPECT_EQ(formatted("&#38;#38;", {}), "&#38;");
    EXPECT_EQ(formatted("&#38;amp;", {}), "&amp;");
    EXPECT_EQ(formatted("&#x26;&#35;65;", {}), "&#65;");
}

class TranslatedMsgWithArg : public MsgCatalogTest {};

TEST_F(TranslatedMsgWithArg, LooksItsMessageUp) {
    setLanguage("de_DE.UTF-8");
    compileCatalogue("de", "Trellink", {{"%d of %d", "von %2$d &#228;ndert %1$d"}});
    MsgWithArg message("%d of %d");
    message.addArgument("1");
    message.addArgument("2");
    EXPECT_EQ(formatted(message, true), "von 2 ändert 1");
    EXPECT_EQ(formatted(message, false), "1 of 2");
    message.setMessage("Unknown %s");
    EXPECT_EQ(formatted(message, true), "Unknown 1");
}

} // namespace
