#include "Common/Utility/log/MessageTable.h"

#include <array>

namespace {

constexpr uint32_t kNoticePriority = 5;
constexpr uint32_t kPriorityOfSeverity = 7;

constexpr MessageRecord kDefaultRow = {"UNKNOWN", kPriorityOfSeverity, ""};

constexpr std::array kDebugMessages = {
    MessageRecord{"MID_UNKNOWN", kNoticePriority, "%s"},
    MessageRecord{"MID_DEBUG_MESSAGE", kPriorityOfSeverity, "[TID=%d]\nFunction: %s\nFile: %s\nLine: %d\n%s"},
    MessageRecord{"MID_DEBUG_MESSAGE_WITH_PID", kPriorityOfSeverity,
                  "[TID=%d PID=%d]\nFunction: %s\nFile: %s\nLine: %d\n%s"},
    MessageRecord{"MID_DEBUG_RETURN_CODE", kPriorityOfSeverity,
                  "[TID=%d]\nFunction: %s\nFile: %s\nLine: %d\nInvoked Function: %s\n"
                  "Return Code: %d (0x%.8X)\nDescription: %s\n%s"},
    MessageRecord{"MID_DEBUG_RETURN_CODE_WITH_PID", kPriorityOfSeverity,
                  "[TID=%d PID=%d]\nFunction: %s\nFile: %s\nLine: %d\nInvoked Function: %s\n"
                  "Return Code: %d (0x%.8X)\nDescription: %s\n%s"},
    MessageRecord{"MID_VERBOSE_MESSAGE", kPriorityOfSeverity, "[%s] %s:%d(%s) %s"},
};

/// The numbers of all programs of the suite; those of other programs stay reserved and have no rows here.
constexpr std::array kRanges = {
    MessageRange{kDebugMessages.data(), 0, static_cast<uint32_t>(kDebugMessages.size())},
    MessageRange{nullptr, 10, 6},     // tunnel key material dumps
    MessageRange{nullptr, 2000, 162}, // tunnel agent
    MessageRange{nullptr, 3000, 38},  // client programming interface
    MessageRange{nullptr, 4000, 2},   // user interface
    MessageRange{nullptr, 5000, 23},  // downloader
    MessageRange{nullptr, 5900, 23},  // downloader plug-ins
    MessageRange{nullptr, 6100, 18},  // tunnel parameters
    MessageRange{nullptr, 6200, 7},   // cryptography
    MessageRange{nullptr, 6300, 1},   // telemetry
    MessageRange{nullptr, 7000, 8},   // network access module
};

} // namespace

const MessageRecord* getMessageRecord(uint32_t messageId) {
    for (const MessageRange& range : kRanges) {
        if (messageId < range.firstMessage || messageId - range.firstMessage >= range.rowCount) {
            continue;
        }
        return range.rows == nullptr ? &kDefaultRow : &range.rows[messageId - range.firstMessage];
    }
    return &kDefaultRow;
}

const MessageRange* getMessageRanges(uint32_t& countOut) {
    countOut = static_cast<uint32_t>(kRanges.size());
    return kRanges.data();
}

const MessageRecord* getDebugMessages(uint32_t& countOut) {
    countOut = static_cast<uint32_t>(kDebugMessages.size());
    return kDebugMessages.data();
}
