#pragma once

#include "Common/Utility/memory/Handles.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <sys/stat.h>

/// Fills the start of a block with content from an offset on. @return the filled part, empty at the end.
using BlockReader =
    std::function<std::span<const unsigned char>(uint64_t offset, std::span<unsigned char> block)>;

/// Length and CRC-32 of what was read.
struct ContentSum {
    uint64_t sizeBytes = 0;
    uint32_t crc = 0;

    void add(std::span<const unsigned char> part);
    /// Adds what follows, by its sum. Up to 2 GiB of it.
    void append(const ContentSum& next);
};

/// Reads a content to its end.
[[nodiscard]] ContentSum sumOf(const BlockReader& read);

/// A file on its way into an archive, read in blocks. What has been added to it since it was opened is not
/// read, so that a file that somebody goes on writing to comes to an end. One thread, but for the reading
/// itself: several may read at once.
class SourceFile {
public:
    static constexpr size_t kBlockSize = 16384;
    using Block = std::array<unsigned char, kBlockSize>;

    /// Opens a regular file; waits for nothing and follows no link. @return 0 or errno.
    [[nodiscard]] int open(const std::string& path);
    /// Lets the file go; what is known of it stays.
    void close() { m_file.reset(); }
    [[nodiscard]] bool isOpen() const { return static_cast<bool>(m_file); }
    [[nodiscard]] bool wasOpened() const { return m_wasOpened; }
    /// As it was when it was opened.
    [[nodiscard]] uint64_t sizeBytes() const { return static_cast<uint64_t>(m_status.st_size); }
    [[nodiscard]] time_t changeTime() const { return m_status.st_mtime; }
    /// Reads the next block at an offset. @return the part of the block that was filled; empty at the end
    /// that the file had when it was opened, and on a failure, which is logged and remembered.
    [[nodiscard]] std::span<const unsigned char> readBlock(uint64_t offset, std::span<unsigned char> block);
    /// readBlock as a function, which must not outlive this object. Without an open file it gives nothing.
    [[nodiscard]] BlockReader reader();
    /// Why the bytes that were read are not the file as it was opened, as the end of a sentence that begins
    /// with its name; empty if they are.
    /// @param readBytes  how many were read.
    [[nodiscard]] std::string faultOf(uint64_t readBytes) const;

private:
    FileDescriptor m_file;
    bool m_wasOpened = false;
    struct stat m_status {};
    std::atomic<int> m_readError = 0;
    /// There was more behind the end that the file had when it was opened, whatever its size says.
    std::atomic<bool> m_hasGrown = false;
};

/// The reason of a file of which not the same was read twice.
inline constexpr const char* kChangedWhilePacked = "was changed while it was packed";
