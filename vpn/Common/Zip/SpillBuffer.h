#pragma once

#include "Common/Utility/memory/Handles.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

/// Bytes that wait for their place in an archive: the first of them in memory, and what goes beyond a limit
/// in a file without a name, which vanishes with the object. One thread at a time.
class SpillBuffer {
public:
    /// What of it stands in memory at most.
    static constexpr std::size_t kMemoryBytes = (std::size_t{1} << 20U) + 65536;
    /// Takes the next bytes, which it may change in place. Anything but 0 stops the call that is under way.
    using Consumer = std::function<int(std::span<unsigned char>)>;

    /// @param folder  where the file is made once it is needed; empty for nowhere.
    explicit SpillBuffer(std::string folder = {}) : m_folder(std::move(folder)) {}

    /// @return 0, or the errno of why it can't hold them, and nothing that is in it counts any more: ENOTSUP
    /// without a folder, and as a rule where the folder's file system has no files without a name.
    [[nodiscard]] int append(std::span<const unsigned char> bytes);
    [[nodiscard]] uint64_t sizeBytes() const { return m_memoryBytes + m_fileBytes; }
    /// What of it is in memory.
    [[nodiscard]] std::size_t heldBytes() const { return m_memoryBytes; }
    /// Hands all bytes on, in order and in pieces. Once, at the end.
    /// @return 0, the consumer's number, or -1, logged, where the file can't be read back.
    [[nodiscard]] int handOn(const Consumer& consumer);

private:
    /// Large ones are mapped by themselves, so that their memory goes back to the system whichever thread
    /// lets them go.
    struct Release {
        std::size_t mappedBytes = 0;
        void operator()(unsigned char* bytes) const noexcept;
    };
    struct Chunk {
        std::unique_ptr<unsigned char[], Release> bytes;
        std::size_t capacity = 0;
        std::size_t size = 0;
    };

    /// Throws std::bad_alloc.
    [[nodiscard]] static Chunk makeChunk(std::size_t capacity);
    [[nodiscard]] int spill(std::span<const unsigned char> bytes);
    [[nodiscard]] int handOnFile(const Consumer& consumer);

    std::string m_folder;
    std::vector<Chunk> m_chunks;
    std::size_t m_memoryBytes = 0;
    FileDescriptor m_file;
    uint64_t m_fileBytes = 0;
};
