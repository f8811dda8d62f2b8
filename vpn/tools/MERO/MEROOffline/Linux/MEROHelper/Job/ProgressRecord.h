#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Longest text of a record, in bytes; a longer one is cut between two characters.
inline constexpr std::size_t kLongestProgressText = 2000;

/// What a worker tells the service, through a pipe.
struct ProgressRecord {
    /// MEROOFFLINE_ERROR_PROCESSING for a step. Anything else is the job's outcome and the last record.
    uint32_t status = 0;
    /// Percent.
    uint32_t progress = 0;
    std::string message;
};

/// Writes a record in one piece, so that several threads may write to one pipe. Waits while the pipe is full.
/// @return false, logged, if it could not be written, as when nobody reads any more; SIGPIPE is to be ignored
/// for that.
[[nodiscard]] bool writeProgress(int descriptor, const ProgressRecord& record);

/// Takes records out of the bytes of a pipe, in whatever portions they come. Used by one thread.
class ProgressReader {
public:
    /// Adds what was read.
    void append(std::string_view bytes);
    /// @return the next whole record; nothing if there is none yet, or none to be had any more.
    [[nodiscard]] std::optional<ProgressRecord> next();
    /// The bytes are no records; there will be none from here on.
    [[nodiscard]] bool isBroken() const { return m_broken; }

private:
    std::string m_pending;
    bool m_broken = false;
};
