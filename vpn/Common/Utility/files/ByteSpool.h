#pragma once

#include "Common/Utility/memory/Handles.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

/// Bytes that are kept for later, however many: the last of them in memory, those before in a file without a
/// name, which goes with this object and with the process. Where there can be no such file, all stay in
/// memory. Used by one thread.
class ByteSpool {
public:
    /// So many bytes stay in memory.
    static constexpr std::size_t kMemoryBytes = std::size_t{64} * 1024;

    /// @param folder  where the file is made once it is needed. Empty for none.
    explicit ByteSpool(std::string folder) : m_folder(std::move(folder)) {}

    void append(std::string_view bytes);
    [[nodiscard]] uint64_t size() const { return m_fileBytes + m_tail.size(); }
    /// Forgets all bytes but the first `sizeBytes`; size() at most.
    void cut(uint64_t sizeBytes);
    /// Copies up to `count` bytes from `offset` on.
    /// @param countOut  how many there were: fewer than asked for, but some, also before the end; 0 at the
    /// end.
    /// @return 0 or the errno of the read, which is logged.
    [[nodiscard]] int read(uint64_t offset, char* bytes, std::size_t count, std::size_t& countOut) const;

private:
    void spill();

    std::string m_folder;
    FileDescriptor m_file;
    uint64_t m_fileBytes = 0;
    std::string m_tail;
};

/// Reads texts one by one that were appended to a spool with a NUL behind each. More may be appended, and cut
/// off again, meanwhile.
class SpoolReader {
public:
    /// @param spool  not owned.
    /// @param start  where the first text starts.
    /// @param end    behind the NUL of the last.
    SpoolReader(const ByteSpool& spool, uint64_t start, uint64_t end)
        : m_spool(spool), m_offset(start), m_end(end) {}

    /// @return false at the end, and when reading failed.
    [[nodiscard]] bool next(std::string& textOut);
    /// The errno of the read that failed, or 0.
    [[nodiscard]] int error() const { return m_error; }
    /// Gives back the memory that was read ahead into; the next text is read anew.
    void rest();

private:
    [[nodiscard]] bool fill();

    const ByteSpool& m_spool;
    /// Where m_ahead starts.
    uint64_t m_offset;
    uint64_t m_end;
    std::string m_ahead;
    /// What of m_ahead has been given out.
    std::size_t m_taken = 0;
    int m_error = 0;
};
