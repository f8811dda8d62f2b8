#include "Common/Zip/SpillBuffer.h"

#include "Common/Utility/files/WholeWrite.h"
#include "Common/Utility/log/Log.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>

namespace {

/// Chunks grow with what there is, so that a thousand small files take little, and from a size on the rest is
/// one chunk, of which only what is written to takes memory.
constexpr std::size_t kSmallestChunk = 2048;
constexpr std::size_t kSmallBytes = 32768;

} // namespace

void SpillBuffer::Release::operator()(unsigned char* bytes) const noexcept {
    if (mappedBytes > 0) {
        static_cast<void>(::munmap(bytes, mappedBytes));
    } else {
        std::default_delete<unsigned char[]>()(bytes);
    }
}

SpillBuffer::Chunk SpillBuffer::makeChunk(std::size_t capacity) {
    if (capacity <= kSmallBytes) {
        return {{std::make_unique_for_overwrite<unsigned char[]>(capacity).release(), Release{}}, capacity};
    }
    void* const bytes = ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (bytes == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return {{static_cast<unsigned char*>(bytes), Release{capacity}}, capacity};
}

int SpillBuffer::append(std::span<const unsigned char> bytes) {
    while (!bytes.empty() && m_memoryBytes < kMemoryBytes) {
        if (m_chunks.empty() || m_chunks.back().size == m_chunks.back().capacity) {
            m_chunks.push_back(makeChunk(m_memoryBytes < kSmallBytes ? std::max(m_memoryBytes, kSmallestChunk)
                                                                     : kMemoryBytes - m_memoryBytes));
        }
        Chunk& last = m_chunks.back();
        const std::size_t count = std::min(bytes.size(), last.capacity - last.size);
        std::memcpy(last.bytes.get() + last.size, bytes.data(), count);
        last.size += count;
        m_memoryBytes += count;
        bytes = bytes.subspan(count);
    }
    return bytes.empty() ? 0 : spill(bytes);
}

int SpillBuffer::spill(std::span<const unsigned char> bytes) {
    if (!m_file) {
        if (m_folder.empty()) {
            return ENOTSUP;
        }
        m_file.reset(::open(m_folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
        if (!m_file) {
            return errno;
        }
    }
    const int error = writeWhole(m_file.get(), bytes.data(), bytes.size());
    m_fileBytes += error == 0 ? bytes.size() : 0;
    return error;
}

int SpillBuffer::handOn(const Consumer& consumer) {
    for (Chunk& chunk : m_chunks) {
        if (const int result = consumer(std::span(chunk.bytes.get(), chunk.size)); result != 0) {
            return result;
        }
        chunk.bytes.reset();
    }
    return handOnFile(consumer);
}

int SpillBuffer::handOnFile(const Consumer& consumer) {
    std::array<unsigned char, 16384> block;
    for (uint64_t done = 0; done < m_fileBytes;) {
        const ssize_t count = ::pread(m_file.get(), block.data(), block.size(), static_cast<off_t>(done));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            ZRN_LOG_CODE('E', "pread", count < 0 ? errno : EIO);
            return -1;
        }
        if (const int result = consumer(std::span(block).first(static_cast<std::size_t>(count)));
            result != 0) {
            return result;
        }
        done += static_cast<uint64_t>(count);
    }
    return 0;
}
