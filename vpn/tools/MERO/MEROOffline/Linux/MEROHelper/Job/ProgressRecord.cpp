#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ProgressRecord.h"

#include "Common/Utility/files/WholeWrite.h"
#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/Utf8Cut.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

namespace {

/// Tells records from anything else that gets into the pipe.
constexpr uint32_t kRecordMark = 0x4D50524F;

/// What stands before the text, in the byte order of the machine: it doesn't leave it.
struct RecordHead {
    uint32_t mark;
    uint32_t status;
    uint32_t progress;
    uint32_t textBytes;
};

constexpr std::size_t kLongestRecord = sizeof(RecordHead) + kLongestProgressText;
// The kernel writes so much into a pipe as a whole or not at all.
static_assert(kLongestRecord <= PIPE_BUF);

} // namespace

bool writeProgress(int descriptor, const ProgressRecord& record) {
    const std::string_view text = cutUtf8(record.message, kLongestProgressText);
    const RecordHead head{.mark = kRecordMark,
                          .status = record.status,
                          .progress = record.progress,
                          .textBytes = static_cast<uint32_t>(text.size())};
    std::array<char, kLongestRecord> bytes{};
    std::memcpy(bytes.data(), &head, sizeof head);
    std::ranges::copy(text, bytes.data() + sizeof head);
    const std::size_t size = sizeof head + text.size();
    const int error = writeWhole(descriptor, bytes.data(), size);
    if (error != 0) {
        ZRN_LOG_CODE('W', "write", error);
    }
    return error == 0;
}

void ProgressReader::append(std::string_view bytes) {
    if (!m_broken) {
        m_pending.append(bytes);
    }
}

std::optional<ProgressRecord> ProgressReader::next() {
    RecordHead head{};
    if (m_broken || m_pending.size() < sizeof head) {
        return std::nullopt;
    }
    std::memcpy(&head, m_pending.data(), sizeof head);
    if (head.mark != kRecordMark || head.textBytes > kLongestProgressText) {
        m_broken = true;
        m_pending.clear();
        return std::nullopt;
    }
    const std::size_t size = sizeof head + head.textBytes;
    if (m_pending.size() < size) {
        return std::nullopt;
    }
    ProgressRecord record{.status = head.status,
                          .progress = head.progress,
                          .message = m_pending.substr(sizeof head, head.textBytes)};
    m_pending.erase(0, size);
    return record;
}
