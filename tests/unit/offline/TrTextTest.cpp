#include "tools/MERO/MEROOffline/Common/TrText.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

TEST(TrText, GivesTheMarkedText) {
    EXPECT_EQ(extractTrText("_tr(\"Text\")"), "Text");
    EXPECT_EQ(extractTrText("_tr(\"Two words, and a comma\")"), "Two words, and a comma");
}

TEST(TrText, LeavesAnUnmarkedTextAsItStands) {
    EXPECT_EQ(extractTrText("Text"), "Text");
    EXPECT_EQ(extractTrText("tr(Text)"), "tr(Text)");
    EXPECT_EQ(extractTrText(" "), " ");
    EXPECT_EQ(extractTrText(""), "");
}

TEST(TrText, KeepsAnOpeningMarkWithoutAClosingOne) {
    EXPECT_EQ(extractTrText("_tr(\"Text"), "_tr(\"Text");
    EXPECT_EQ(extractTrText("_tr(\""), "_tr(\"");
    EXPECT_EQ(extractTrText("_tr(\"Text)"), "_tr(\"Text)");
    EXPECT_EQ(extractTrText("_tr(\"Text\" )"), "_tr(\"Text\" )");
}

TEST(TrText, KeepsAClosingMarkWithoutAnOpeningOne) {
    EXPECT_EQ(extractTrText("Text\")"), "Text\")");
    EXPECT_EQ(extractTrText("\")"), "\")");
    EXPECT_EQ(extractTrText("tr(\"Text\")"), "tr(\"Text\")");
    EXPECT_EQ(extractTrText("_tr( \"Text\")"), "_tr( \"Text\")");
}

TEST(TrText, KnowsTheMarksInThisSpellingOnly) {
    EXPECT_EQ(extractTrText("_TR(\"Text\")"), "_TR(\"Text\")");
    EXPECT_EQ(extractTrText("_tr('Text')"), "_tr('Text')");
    EXPECT_EQ(extractTrText("_tr(Text)"), "_tr(Text)");
}

TEST(TrText, KeepsATextWhoseClosingMarkComesFirst) {
    EXPECT_EQ(extractTrText("a\") _tr(\"b"), "a\") _tr(\"b");
    EXPECT_EQ(extractTrText("\")_tr(\""), "\")_tr(\"");
    // The first closing mark counts, though a fitting one follows.
    EXPECT_EQ(extractTrText("a\")_tr(\"b\")"), "a\")_tr(\"b\")");
}

TEST(TrText, KeepsATextWhoseMarksShareAQuote) {
    EXPECT_EQ(extractTrText("_tr(\")"), "_tr(\")");
    EXPECT_EQ(extractTrText("x_tr(\")y"), "x_tr(\")y");
    EXPECT_EQ(extractTrText("_tr(\")Text\")"), "_tr(\")Text\")");
}

TEST(TrText, GivesAnEmptyTextForEmptyMarks) {
    EXPECT_EQ(extractTrText("_tr(\"\")"), "");
    EXPECT_EQ(extractTrText("before _tr(\"\") behind"), "");
}

TEST(TrText, EndsAtTheFirstClosingMark) {
    EXPECT_EQ(extractTrText("_tr(\"A\")B\")"), "A");
}

TEST(TrText, DropsWhatStandsAroundTheMarks) {
    EXPECT_EQ(extractTrText("before _tr(\"Text\") behind"), "Text");
    EXPECT_EQ(extractTrText("_tr(\" Text \")"), " Text ");
}

TEST(TrText, GivesTheFirstOfTwoMarkedTexts) {
    EXPECT_EQ(extractTrText("_tr(\"A\")_tr(\"B\")"), "A");
    EXPECT_EQ(extractTrText("_tr(\"A _tr(\"B\")"), "A _tr(\"B");
}

TEST(TrText, KeepsQuotesAndBracketsInside) {
    EXPECT_EQ(extractTrText("_tr(\"a \"b\" (c)\")"), "a \"b\" (c)");
}

TEST(TrText, TakesAllBytesAsTheyAre) {
    EXPECT_EQ(extractTrText("_tr(\"\xC3\x9C"
                            "ber \xE2\x82\xAC\")"),
              "\xC3\x9C"
              "ber \xE2\x82\xAC");
    EXPECT_EQ(extractTrText("_tr(\"a\0b\")"s), "a\0b"s);
    EXPECT_EQ(extractTrText("a\0_tr(\"b\")"s), "b");
    EXPECT_EQ(extractTrText("a\0b"s), "a\0b"s);
    EXPECT_EQ(extractTrText("_tr(\"\xFF\xFE\n\t\")"), "\xFF\xFE\n\t");
}

TEST(TrText, LeavesItsArgumentAlone) {
    const std::string text = "_tr(\"Text\")";
    EXPECT_EQ(extractTrText(text), "Text");
    EXPECT_EQ(text, "_tr(\"Text\")");
}

} // namespace
