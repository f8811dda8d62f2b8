#include "Common/Utility/text/BoundedString.h"

#include <array>
#include <clocale>
#include <gtest/gtest.h>
#include <string>

namespace {

/// A buffer with guard bytes behind its end, which nothing may touch.
class Buffer {
public:
    explicit Buffer(uint32_t size, const std::string& content = {}) : m_size(size), m_bytes(size + 4U, '#') {
        m_bytes.replace(0, content.size() + 1, content.c_str(), content.size() + 1);
    }
    char* data() { return m_bytes.data(); }
    [[nodiscard]] uint32_t size() const { return m_size; }
    [[nodiscard]] std::string text() const {
        EXPECT_NE(std::string_view(m_bytes).substr(0, m_size).find('\0'), std::string_view::npos);
        return m_bytes.substr(0, m_bytes.find('\0'));
    }
    [[nodiscard]] bool guardIsIntact() const { return m_bytes.substr(m_size) == "####"; }

private:
    uint32_t m_size;
    std::string m_bytes;
};

TEST(BoundedLength, StopsAtTheZeroOrTheMaximum) {
    EXPECT_EQ(boundedLength("abc", 10), 3U);
    EXPECT_EQ(boundedLength("abc", 3), 3U);
    EXPECT_EQ(boundedLength("abc", 2), 2U);
    EXPECT_EQ(boundedLength("", 10), 0U);
}

TEST(BoundedLength, IsZeroForNullAndForZeroSize) {
    EXPECT_EQ(boundedLength(nullptr, 10), 0U);
    EXPECT_EQ(boundedLength("abc", 0), 0U);
}

TEST(BoundedLength, ReadsNothingBehindTheMaximum) {
    const std::array<char, 3> unterminated = {'a', 'b', 'c'};
    EXPECT_EQ(boundedLength(unterminated.data(), unterminated.size()), 3U);
}

TEST(BoundedCopy, CopiesWithTheTerminatingZero) {
    Buffer buffer(8);
    EXPECT_EQ(boundedCopy(buffer.data(), buffer.size(), "abc"), 3U);
    EXPECT_EQ(buffer.text(), "abc");
}

TEST(BoundedCopy, FillsTheBufferToItsLastByte) {
    Buffer buffer(4);
    EXPECT_EQ(boundedCopy(buffer.data(), buffer.size(), "abc"), 3U);
    EXPECT_EQ(buffer.text(), "abc");
    EXPECT_TRUE(buffer.guardIsIntact());
}

TEST(BoundedCopy, CutsAndGivesTheSourcesLength) {
    Buffer buffer(4);
    EXPECT_EQ(boundedCopy(buffer.data(), buffer.size(), "abcdefgh"), 8U);
    EXPECT_EQ(buffer.text(), "abc");
    EXPECT_TRUE(buffer.guardIsIntact());
}

TEST(BoundedCopy, IntoOneByteLeavesAnEmptyText) {
    Buffer buffer(1);
    EXPECT_EQ(boundedCopy(buffer.data(), buffer.size(), "abc"), 3U);
    EXPECT_EQ(buffer.text(), "");
    EXPECT_TRUE(buffer.guardIsIntact());
}

TEST(BoundedCopy, OnlyMeasuresWithoutDestinationOrSize) {
    Buffer buffer(8, "kept");
    EXPECT_EQ(boundedCopy(nullptr, 8, "abc"), 3U);
    EXPECT_EQ(boundedCopy(buffer.data(), 0, "abcde"), 5U);
    EXPECT_EQ(buffer.text(), "kept");
}

TEST(BoundedCopy, OfNullEmptiesTheDestination) {
    Buffer buffer(8, "old");
    EXPECT_EQ(boundedCopy(buffer.data(), buffer.size(), nullptr), 0U);
    EXPECT_EQ(buffer.text(), "");
    EXPECT_EQ(boundedCopy(nullptr, 0, nullptr), 0U);
}

TEST(BoundedAppend, AppendsBehindThePresentText) {
    Buffer buffer(8, "ab");
    EXPECT_EQ(boundedAppend(buffer.data(), buffer.size(), "cde"), 5U);
    EXPECT_EQ(buffer.text(), "abcde");
    EXPECT_EQ(boundedAppend(buffer.data(), buffer.size(), "fg"), 7U);
    EXPECT_EQ(buffer.text(), "abcdefg");
    EXPECT_TRUE(buffer.guardIsIntact());
}

TEST(BoundedAppend, CutsAndGivesTheLengthOfTheWhole) {
    Buffer buffer(6, "abc");
    EXPECT_EQ(boundedAppend(buffer.data(), buffer.size(), "defgh"), 8U);
    EXPECT_EQ(buffer.text(), "abcde");
    EXPECT_TRUE(buffer.guardIsIntact());
}

TEST(BoundedAppend, ToAFullBufferChangesNothing) {
    Buffer buffer(4, "abc");
    EXPECT_EQ(boundedAppend(buffer.data(), buffer.size(), "d"), 4U);
    EXPECT_EQ(buffer.text(), "abc");
    EXPECT_TRUE(buffer.guardIsIntact());
}

TEST(BoundedAppend, LeavesAnUnterminatedDestinationAlone) {
    std::array<char, 5> buffer = {'a', 'b', 'c', 'd', '#'};
    EXPECT_EQ(boundedAppend(buffer.data(), 4, "ef"), 6U);
    EXPECT_EQ(std::string(buffer.data(), buffer.size()), "abcd#");
}

TEST(BoundedAppend, OnlyMeasuresWithoutDestinationOrSize) {
    Buffer buffer(8, "kept");
    EXPECT_EQ(boundedAppend(nullptr, 8, "abc"), 3U);
    EXPECT_EQ(boundedAppend(buffer.data(), 0, "abc"), 3U);
    EXPECT_EQ(buffer.text(), "kept");
}

TEST(BoundedAppend, OfNullChangesNothing) {
    Buffer buffer(8, "kept");
    EXPECT_EQ(boundedAppend(buffer.data(), buffer.size(), nullptr), 4U);
    EXPECT_EQ(buffer.text(), "kept");
}

TEST(BoundedFindAny, FindsTheFirstOfTheCharacters) {
    const char* const text = "path/to\\file";
    EXPECT_EQ(boundedFindAny(text, "\\/", 64), text + 4);
    EXPECT_EQ(boundedFindAny(text, "p", 64), text);
    EXPECT_EQ(boundedFindAny(text, "e", 64), text + 11);
}

TEST(BoundedFindAny, LooksNoFurtherThanTheMaximum) {
    const std::array<char, 4> unterminated = {'a', 'b', 'c', '/'};
    EXPECT_EQ(boundedFindAny(unterminated.data(), "/", 3), nullptr);
    EXPECT_EQ(boundedFindAny(unterminated.data(), "/", 4), &unterminated[3]);
    EXPECT_EQ(boundedFindAny(unterminated.data(), "xyz", 4), nullptr);
    EXPECT_EQ(boundedFindAny("abc", "a", 0), nullptr);
}

TEST(BoundedFindAny, FindsNothingForNullAndEmptyArguments) {
    EXPECT_EQ(boundedFindAny(nullptr, "a", 4), nullptr);
    EXPECT_EQ(boundedFindAny("abc", nullptr, 4), nullptr);
    EXPECT_EQ(boundedFindAny("abc", "", 4), nullptr);
    EXPECT_EQ(boundedFindAny("", "a", 4), nullptr);
}

TEST(FormatBounded, FormatsAndGivesTheLength) {
    Buffer buffer(16);
    EXPECT_EQ(formatBounded(buffer.data(), buffer.size(), "%s-%04d", "ab", 42), 7);
    EXPECT_EQ(buffer.text(), "ab-0042");
}

TEST(FormatBounded, CutsAndGivesTheLengthOfTheWhole) {
    Buffer buffer(5);
    EXPECT_EQ(formatBounded(buffer.data(), buffer.size(), "%s", "abcdefgh"), 8);
    EXPECT_EQ(buffer.text(), "abcd");
    EXPECT_TRUE(buffer.guardIsIntact());
}

TEST(FormatBounded, GivesTheSizeWhenFormattingFails) {
    ASSERT_NE(std::setlocale(LC_ALL, "C"), nullptr);
    const std::array<wchar_t, 2> notInThisLocale = {0x20AC, 0};
    Buffer buffer(16, "old text of it");
    EXPECT_EQ(formatBounded(buffer.data(), buffer.size(), "%ls", notInThisLocale.data()), 16);
    EXPECT_LT(buffer.text().size(), 16U);
    EXPECT_TRUE(buffer.guardIsIntact());
}

TEST(FormatBounded, GivesTheSizeWithoutBufferOrSizeOrFormat) {
    Buffer buffer(8, "kept");
    const char* const noFormat = nullptr;
    EXPECT_EQ(formatBounded(nullptr, 8, "%d", 1), 8);
    EXPECT_EQ(formatBounded(buffer.data(), 0, "%d", 1), 0);
    EXPECT_EQ(formatBounded(buffer.data(), buffer.size(), noFormat), 8);
    EXPECT_EQ(buffer.text(), "kept");
}

} // namespace
