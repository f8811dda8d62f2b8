#include "Common/Utility/text/StringUtils.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <type_traits>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string trimmed(std::string text) {
    CStringUtils::trim(text);
    return text;
}

std::string withoutLineEnd(std::string text) {
    CStringUtils::trimTrailingLineEnd(text);
    return text;
}

bool matches(std::string_view text, std::string_view pattern) {
    return CStringUtils::wildcardMatch(text, pattern);
}

TEST(StringUtils, HasAVirtualDestructor) {
    EXPECT_TRUE(std::has_virtual_destructor_v<CStringUtils>);
}

TEST(WildcardMatch, StarTakesAnyRun) {
    EXPECT_TRUE(matches("abc", "a*c"));
    EXPECT_TRUE(matches("abc", "*"));
    EXPECT_TRUE(matches("ac", "a*c"));
    EXPECT_TRUE(matches("abc", "abc*"));
    EXPECT_TRUE(matches("abc", "*abc"));
    EXPECT_TRUE(matches("abc", "**a**b**c**"));
    EXPECT_FALSE(matches("abc", "a*d"));
    EXPECT_FALSE(matches("abc", "b*"));
    EXPECT_FALSE(matches("abc", "*b"));
}

TEST(WildcardMatch, ComparesTheWholeText) {
    EXPECT_TRUE(matches("abc", "abc"));
    EXPECT_FALSE(matches("abc", "ab"));
    EXPECT_FALSE(matches("ab", "abc"));
    EXPECT_FALSE(matches("abc", ""));
}

TEST(WildcardMatch, ComparesCase) {
    EXPECT_FALSE(matches("ABC", "a*c"));
    EXPECT_FALSE(matches("abc", "A*"));
}

TEST(WildcardMatch, EmptyTextMatchesStarsOnly) {
    EXPECT_TRUE(matches("", ""));
    EXPECT_TRUE(matches("", "*"));
    EXPECT_TRUE(matches("", "***"));
    EXPECT_FALSE(matches("", "*a*"));
    EXPECT_FALSE(matches("", "a"));
}

TEST(WildcardMatch, TriesLaterPlacesForAStar) {
    EXPECT_TRUE(matches("aabaab", "*ab"));
    EXPECT_TRUE(matches("mississippi", "m*iss*ppi"));
    EXPECT_FALSE(matches("mississippi", "m*iss*ppx"));
    EXPECT_TRUE(matches("a.log.1.log", "*.log"));
}

TEST(WildcardMatch, HasNoOtherSpecialCharacters) {
    EXPECT_FALSE(matches("abc", "a?c"));
    EXPECT_TRUE(matches("a?c", "a?c"));
    EXPECT_FALSE(matches("b", "[abc]"));
    EXPECT_FALSE(matches("*", "\\*"));
    EXPECT_TRUE(matches("a*c", "a*c"));
}

TEST(WildcardMatch, StaysFastForManyStars) {
    std::string pattern;
    for (int i = 0; i < 40; ++i) {
        pattern += "*a";
    }
    EXPECT_FALSE(matches(std::string(2000, 'a'), pattern + "b"));
    EXPECT_TRUE(matches(std::string(2000, 'a'), pattern));
}

TEST(TrimTrailingLineEnd, RemovesAllLineFeedsAndCarriageReturnsAtTheEnd) {
    EXPECT_EQ(withoutLineEnd("text\n"), "text");
    EXPECT_EQ(withoutLineEnd("text\r\n"), "text");
    EXPECT_EQ(withoutLineEnd("text\n\r\r\n"), "text");
    EXPECT_EQ(withoutLineEnd("\r\n"), "");
    EXPECT_EQ(withoutLineEnd(""), "");
}

TEST(TrimTrailingLineEnd, LeavesEverythingElse) {
    EXPECT_EQ(withoutLineEnd("\ntwo\nlines \t\n"), "\ntwo\nlines \t");
}

TEST(Trim, RemovesWhiteSpaceAtBothEnds) {
    EXPECT_EQ(trimmed(" \t\r\n\v\ftwo words \t\r\n\v\f"), "two words");
    EXPECT_EQ(trimmed("text"), "text");
    EXPECT_EQ(trimmed(" x"), "x");
    EXPECT_EQ(trimmed("x "), "x");
}

TEST(Trim, LeavesNothingOfWhiteSpace) {
    EXPECT_EQ(trimmed(" \t\r\n\v\f"), "");
    EXPECT_EQ(trimmed(""), "");
}

TEST(Trim, LeavesBytesBeyondAscii) {
    EXPECT_EQ(trimmed(" \xC3\xA4\xFF "), "\xC3\xA4\xFF");
}

TEST(ToLower, LowersLettersAndNothingElse) {
    EXPECT_EQ(CStringUtils::toLower("Ab-CD_9[Z]"), "ab-cd_9[z]");
    EXPECT_EQ(CStringUtils::toLower(""), "");
    EXPECT_EQ(CStringUtils::toLower("\xC3\x84\xFF"), "\xC3\x84\xFF");
}

TEST(FormatString, Formats) {
    EXPECT_EQ(CStringUtils::formatString("%s=%d%%", "key", 7), "key=7%");
}

TEST(FormatString, KeepsAThousandAndTwentyThreeBytes) {
    const std::string fits(1023, 'x');
    EXPECT_EQ(CStringUtils::formatString("%s", fits.c_str()), fits);
    EXPECT_EQ(CStringUtils::formatString("%s+more", fits.c_str()), fits);
}

TEST(FormatString, IsEmptyForANullFormat) {
    const char* const noFormat = nullptr;
    EXPECT_EQ(CStringUtils::formatString(noFormat), "");
}

TEST(HasParentComponent, SeesTwoDotsThatAreAComponent) {
    for (const char* path : {"..", "/..", "../", "a/..", "a//../b", "/a/../b"}) {
        EXPECT_TRUE(CStringUtils::hasParentComponent(path)) << path;
    }
    for (const char* path : {"", ".", "/", "...", "a..", "..a", "a/..b/c", "/a/b../.c", "..\\x"}) {
        EXPECT_FALSE(CStringUtils::hasParentComponent(path)) << path;
    }
}

TEST(ReplaceAll, ReplacesEachOccurrence) {
    EXPECT_EQ(CStringUtils::replaceAll("a-b-c", "-", "::"), "a::b::c");
    EXPECT_EQ(CStringUtils::replaceAll("--", "-", ""), "");
    EXPECT_EQ(CStringUtils::replaceAll("text", "none", "x"), "text");
    EXPECT_EQ(CStringUtils::replaceAll("", "a", "x"), "");
}

TEST(ReplaceAll, DoesNotSearchWhatItPutIn) {
    EXPECT_EQ(CStringUtils::replaceAll("aa", "a", "aa"), "aaaa");
    EXPECT_EQ(CStringUtils::replaceAll("aaa", "aa", "a"), "aa");
}

TEST(ReplaceAll, GivesTheTextForAnEmptySearch) {
    EXPECT_EQ(CStringUtils::replaceAll("text", "", "x"), "text");
}

TEST(Tokenize, SplitsAtEachSeparator) {
    EXPECT_THAT(CStringUtils::tokenize("a,b,c", ','), ElementsAre("a", "b", "c"));
    EXPECT_THAT(CStringUtils::tokenize("abc", ','), ElementsAre("abc"));
}

TEST(Tokenize, KeepsEmptyPieces) {
    EXPECT_THAT(CStringUtils::tokenize(",a,,b,", ','), ElementsAre("", "a", "", "b", ""));
    EXPECT_THAT(CStringUtils::tokenize(",", ','), ElementsAre("", ""));
}

TEST(Tokenize, FindsNoPieceInAnEmptyText) {
    EXPECT_THAT(CStringUtils::tokenize("", ','), IsEmpty());
}

TEST(EscapeXml, ReplacesTheFiveCharacters) {
    EXPECT_EQ(CStringUtils::escapeXml("&'\"><"), "&amp;&apos;&quot;&gt;&lt;");
    EXPECT_EQ(CStringUtils::escapeXml("a&b"), "a&amp;b");
}

TEST(EscapeXml, EscapesWhatIsEscapedAlreadyOnceMore) {
    EXPECT_EQ(CStringUtils::escapeXml("&amp;&&"), "&amp;amp;&amp;&amp;");
}

TEST(EscapeXml, LeavesEverythingElse) {
    EXPECT_EQ(CStringUtils::escapeXml("plain; \xC3\xA4\n"), "plain; \xC3\xA4\n");
    EXPECT_EQ(CStringUtils::escapeXml(""), "");
}

} // namespace
