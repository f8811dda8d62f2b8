#include "Common/Utility/log/MessageTable.h"

#include <array>
#include <gtest/gtest.h>
#include <string>

namespace {

void expectRow(uint32_t messageId, const char* name, uint32_t priority, const char* format) {
    const MessageRecord* const row = getMessageRecord(messageId);
    ASSERT_NE(row, nullptr) << messageId;
    EXPECT_STREQ(row->name, name);
    EXPECT_EQ(row->priority, priority) << messageId;
    EXPECT_STREQ(row->format, format);
}

TEST(MessageTable, DebugRowsHaveTheirFormats) {
    expectRow(0, "MID_UNKNOWN", 5, "%s");
    expectRow(1, "MID_DEBUG_MESSAGE", 7, "[TID=%d]\nFunction: %s\nFile: %s\nLine: %d\n%s");
    expectRow(2, "MID_DEBUG_MESSAGE_WITH_PID", 7, "[TID=%d PID=%d]\nFunction: %s\nFile: %s\nLine: %d\n%s");
    expectRow(3, "MID_DEBUG_RETURN_CODE", 7,
              "[TID=%d]\nFunction: %s\nFile: %s\nLine: %d\nInvoked Function: %s\n"
              "Return Code: %d (0x%.8X)\nDescription: %s\n%s");
    expectRow(4, "MID_DEBUG_RETURN_CODE_WITH_PID", 7,
              "[TID=%d PID=%d]\nFunction: %s\nFile: %s\nLine: %d\nInvoked Function: %s\n"
              "Return Code: %d (0x%.8X)\nDescription: %s\n%s");
    expectRow(5, "MID_VERBOSE_MESSAGE", 7, "[%s] %s:%d(%s) %s");
}

TEST(MessageTable, NumbersHaveNames) {
    EXPECT_EQ(kMessageUnknown, 0U);
    EXPECT_EQ(kMessageDebug, 1U);
    EXPECT_EQ(kMessageDebugReturnCode, 3U);
}

TEST(MessageTable, NumberInAGapGivesTheDefaultRow) {
    for (const uint32_t messageId : {6U, 9U, 16U, 1999U, 2162U, 6301U, 7008U, 0xFFFFFFFFU}) {
        expectRow(messageId, "UNKNOWN", 7, "");
    }
}

TEST(MessageTable, NumberOfAnotherProgramGivesTheDefaultRow) {
    for (const uint32_t messageId : {10U, 15U, 2000U, 2161U, 4000U, 6300U, 7007U}) {
        expectRow(messageId, "UNKNOWN", 7, "");
    }
}

TEST(MessageTable, HasElevenRangesInTheirOrder) {
    struct Bounds {
        uint32_t first;
        uint32_t count;
    };
    constexpr std::array kBounds = {Bounds{0, 6},    Bounds{10, 6},    Bounds{2000, 162}, Bounds{3000, 38},
                                    Bounds{4000, 2}, Bounds{5000, 23}, Bounds{5900, 23},  Bounds{6100, 18},
                                    Bounds{6200, 7}, Bounds{6300, 1},  Bounds{7000, 8}};
    uint32_t count = 0;
    const MessageRange* const ranges = getMessageRanges(count);
    ASSERT_EQ(count, 11U);
    for (uint32_t index = 0; index < count; ++index) {
        EXPECT_EQ(ranges[index].firstMessage, kBounds[index].first);
        EXPECT_EQ(ranges[index].rowCount, kBounds[index].count);
    }
}

TEST(MessageTable, FirstRangeHoldsTheDebugRows) {
    uint32_t rangeCount = 0;
    uint32_t rowCount = 0;
    const MessageRecord* const rows = getDebugMessages(rowCount);
    EXPECT_EQ(rowCount, 6U);
    EXPECT_EQ(getMessageRanges(rangeCount)[0].rows, rows);
    for (uint32_t messageId = 0; messageId < rowCount; ++messageId) {
        EXPECT_EQ(getMessageRecord(messageId), &rows[messageId]);
    }
}

} // namespace
