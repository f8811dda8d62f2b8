#include "tools/MERO/MEROEngine/implementations/BundleText.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <vector>

using bundleText::takeLine;
using ::testing::ElementsAre;

namespace {

/// All lines of a text.
std::vector<std::string> linesOf(std::string_view text, std::size_t width) {
    std::vector<std::string> lines;
    do {
        lines.emplace_back(takeLine(text, width));
    } while (!text.empty());
    return lines;
}

} // namespace

TEST(TakeLine, GivesAShortTextWhole) {
    EXPECT_THAT(linesOf("short", 10), ElementsAre("short"));
    EXPECT_THAT(linesOf("exactly ten", 11), ElementsAre("exactly ten"));
    EXPECT_THAT(linesOf("", 10), ElementsAre(""));
}

TEST(TakeLine, DropsWhiteSpaceAtTheStart) {
    EXPECT_THAT(linesOf(" \t\n\r\f\vtext", 4), ElementsAre("text"));
    EXPECT_THAT(linesOf("   ", 4), ElementsAre(""));
}

TEST(TakeLine, BreaksAtTheLastWhiteSpaceInTheWidth) {
    EXPECT_THAT(linesOf("one two three", 9), ElementsAre("one two", "three"));
    EXPECT_THAT(linesOf("one\ttwo", 4), ElementsAre("one", "two"));
}

TEST(TakeLine, DoesNotLookAtTheBytesBehindTheWidth) {
    // The blank stands just behind the width, so the word that fills it is cut off as if it were longer.
    EXPECT_THAT(linesOf("ab cdef ghi", 7), ElementsAre("ab", "cdef", "ghi"));
    EXPECT_THAT(linesOf("abcd efg", 4), ElementsAre("abcd", "efg"));
}

TEST(TakeLine, KeepsWhiteSpaceInFrontOfTheBreak) {
    EXPECT_THAT(linesOf("ab  cd", 4), ElementsAre("ab ", "cd"));
}

TEST(TakeLine, LeavesWhiteSpaceBehindTheBreakToTheNextLine) {
    EXPECT_THAT(linesOf("ab    ", 4), ElementsAre("ab ", ""));
}

TEST(TakeLine, CutsAWordThatIsTooLong) {
    EXPECT_THAT(linesOf(std::string(60, 'w'), 40), ElementsAre(std::string(40, 'w'), std::string(20, 'w')));
    EXPECT_THAT(linesOf("abcdefgh", 3), ElementsAre("abc", "def", "gh"));
}

TEST(TakeLine, DropsWhiteSpaceBehindAHardCut) {
    EXPECT_THAT(linesOf("abc   ", 3), ElementsAre("abc"));
}

TEST(TakeLine, CountsBytesAndSplitsCharacters) {
    EXPECT_THAT(linesOf("\xC3\xA4\xC3\xB6\xC3\xBC", 3), ElementsAre("\xC3\xA4\xC3", "\xB6\xC3\xBC"));
}

TEST(SummaryCell, IsCutOrFilledToItsWidth) {
    EXPECT_EQ(bundleText::cell("ab", 4), "ab  ");
    EXPECT_EQ(bundleText::cell("abcdef", 4), "abcd");
    EXPECT_EQ(bundleText::cell("", 2), "  ");
}

TEST(SummaryRow, PrintsALineOfBlanksForEmptyCells) {
    EXPECT_EQ(bundleText::row({}, bundleText::kIncludedWidths), std::string(101, ' ').append("\n"));
    EXPECT_EQ(bundleText::row({}, bundleText::kOmittedWidths), std::string(141, ' ').append("\n"));
}

TEST(SummaryRow, LeavesTheOtherColumnsBlankFromTheSecondLineOn) {
    EXPECT_EQ(bundleText::row({"a", "bb bb", "c", ""}, {2, 3, 2, 1}), "a   bb   c    \n    bb        \n");
}

TEST(SummaryRow, PrintsThreeLinesForAHundredCharacters) {
    const std::string description = "The quick brown fox jumps over the lazy dog and then rests in the shade "
                                    "of the old oak tree by the r";
    ASSERT_EQ(description.size(), 100u);
    const std::string gap(17 + 2 + 28 + 2, ' ');
    EXPECT_EQ(
        bundleText::row({"id", "file.log", description, "4 bytes"}, bundleText::kIncludedWidths),
        "id                 file.log                      The quick brown fox jumps over the lazy   4 bytes"
        "   \n" +
            gap + "dog and then rests in the shade of the" + std::string(2 + 2 + 10, ' ') + "\n" + gap +
            "old oak tree by the r" + std::string(19 + 2 + 10, ' ') + "\n");
}

class WriteAndClose : public Sandbox {
protected:
    CapturedLog m_log;
};

TEST_F(WriteAndClose, WritesTheWholeText) {
    EXPECT_EQ(bundleText::writeAndClose(FileHandle(std::fopen("file", "w")), "text"), 0);
    EXPECT_EQ(readFile("file"), "text");
}

TEST_F(WriteAndClose, TellsOfAFullDiskAtTheClose) {
    EXPECT_EQ(bundleText::writeAndClose(FileHandle(std::fopen("/dev/full", "w")), "text"), ENOSPC);
    EXPECT_TRUE(m_log.containsCode('E', "writeAndClose", "fclose", ENOSPC)) << m_log.dump();
}

TEST_F(WriteAndClose, TellsOfAFullDiskAtTheWrite) {
    EXPECT_EQ(bundleText::writeAndClose(FileHandle(std::fopen("/dev/full", "w")), std::string(100000, 'x')),
              ENOSPC);
    EXPECT_TRUE(m_log.containsCode('E', "writeAndClose", "fwrite", ENOSPC)) << m_log.dump();
}
