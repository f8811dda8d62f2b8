#pragma once

#include <cstdint>

/// One numbered log message: its name, its level (7 leaves the level to the severity letter)
/// and its printf format.
struct MessageRecord {
    const char* name;
    uint32_t priority;
    const char* format;
};

/// A run of message numbers. `rows` is null for a range whose messages only other programs of the suite have.
struct MessageRange {
    const MessageRecord* rows;
    uint32_t firstMessage;
    uint32_t rowCount;
};

inline constexpr uint32_t kMessageUnknown = 0;
inline constexpr uint32_t kMessageDebug = 1;
inline constexpr uint32_t kMessageDebugReturnCode = 3;

/// The row of a message number; for a number without one the default row "UNKNOWN" with an empty format.
/// Never null. The row is static.
[[nodiscard]] const MessageRecord* getMessageRecord(uint32_t messageId);

/// For callers outside of this system: all ranges of the suite's numbering, 11 in a static array.
[[nodiscard]] const MessageRange* getMessageRanges(uint32_t& countOut);

/// For callers outside of this system: the 6 rows of the first range, the only one with rows here.
[[nodiscard]] const MessageRecord* getDebugMessages(uint32_t& countOut);
