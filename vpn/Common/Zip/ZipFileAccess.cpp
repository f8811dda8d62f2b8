#include "Common/Zip/ZipFileAccess.h"

#include "Common/Utility/log/Log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// There is one file behind each object, whatever the name that the library passes on.
voidpf openNothing(voidpf self, const void* /*name*/, int /*mode*/) {
    return self;
}

uLong readNothing(voidpf /*self*/, voidpf /*stream*/, void* /*bytes*/, uLong /*size*/) {
    return 0;
}

uLong writeNothing(voidpf /*self*/, voidpf /*stream*/, const void* /*bytes*/, uLong /*size*/) {
    return 0;
}

int closeNothing(voidpf /*self*/, voidpf /*stream*/) {
    return 0;
}

std::optional<uint64_t> placeOf(int origin, uint64_t offset, uint64_t current, uint64_t end) {
    switch (origin) {
    case ZLIB_FILEFUNC_SEEK_SET:
        return offset;
    case ZLIB_FILEFUNC_SEEK_CUR:
        return current + offset;
    case ZLIB_FILEFUNC_SEEK_END:
        return end + offset;
    default:
        return std::nullopt;
    }
}

} // namespace

zlib_filefunc64_def ZipOutput::functions() {
    return {openNothing, readNothing, write, tell, seek, finish, error, this};
}

uLong ZipOutput::write(voidpf self, voidpf /*stream*/, const void* bytes, uLong size) {
    const std::span content(static_cast<const unsigned char*>(bytes), size);
    return static_cast<ZipOutput*>(self)->put(content) ? size : 0;
}

ZPOS64_T ZipOutput::tell(voidpf self, voidpf /*stream*/) {
    return static_cast<ZipOutput*>(self)->m_position;
}

long ZipOutput::seek(voidpf self, voidpf /*stream*/, ZPOS64_T offset, int origin) {
    auto& output = *static_cast<ZipOutput*>(self);
    const auto place = placeOf(origin, offset, output.m_position, output.m_endBytes);
    if (!place) {
        return -1;
    }
    output.m_position = *place;
    return 0;
}

int ZipOutput::finish(voidpf self, voidpf /*stream*/) {
    return static_cast<ZipOutput*>(self)->flush() ? 0 : -1;
}

int ZipOutput::error(voidpf self, voidpf /*stream*/) {
    return static_cast<ZipOutput*>(self)->m_hasFailed ? 1 : 0;
}

bool ZipOutput::put(std::span<const unsigned char> bytes) {
    while (!bytes.empty()) {
        const uint64_t offset = m_position - m_bufferPosition;
        if (m_position < m_bufferPosition || offset > m_bufferedBytes || offset == m_buffer.size()) {
            if (!flush()) {
                return false;
            }
            m_bufferPosition = m_position;
            continue;
        }
        const size_t count = std::min<size_t>(bytes.size(), m_buffer.size() - offset);
        std::memcpy(m_buffer.data() + offset, bytes.data(), count);
        m_bufferedBytes = std::max<size_t>(m_bufferedBytes, offset + count);
        m_position += count;
        m_endBytes = std::max(m_endBytes, m_position);
        bytes = bytes.subspan(count);
    }
    return !m_hasFailed;
}

bool ZipOutput::flush() {
    size_t written = 0;
    while (!m_hasFailed && written < m_bufferedBytes) {
        const ssize_t count = ::pwrite(m_file, m_buffer.data() + written, m_bufferedBytes - written,
                                       static_cast<off_t>(m_bufferPosition + written));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            const int error = count < 0 ? errno : EIO;
            ZRN_LOG_CODE('E', "pwrite", error);
            m_hasFailed = true; // for good: room that there is again doesn't bring back what is missing
            break;
        }
        written += static_cast<size_t>(count);
    }
    m_bufferedBytes = 0;
    return !m_hasFailed;
}

UnzipFileHandle ZipInput::open(const char* function) {
    struct stat status {};
    if (::fstat(m_file, &status) != 0) {
        ZRN_LOG_CODE_FOR(function, 'E', "fstat", errno, nullptr);
        return nullptr;
    }
    m_sizeBytes = static_cast<uint64_t>(status.st_size);
    zlib_filefunc64_def functions{openNothing, read, writeNothing, tell, seek, closeNothing, error, this};
    UnzipFileHandle archive(unzOpen2_64("", &functions));
    if (!archive) {
        ZRN_LOG_FOR(function, 'E', "The archive that was written can't be opened.");
    }
    return archive;
}

uLong ZipInput::read(voidpf self, voidpf /*stream*/, void* bytes, uLong size) {
    auto& input = *static_cast<ZipInput*>(self);
    uLong done = 0;
    while (done < size && input.fill()) {
        const uint64_t offset = input.m_position - input.m_bufferPosition;
        const size_t count = std::min<size_t>(size - done, input.m_bufferedBytes - offset);
        std::memcpy(static_cast<unsigned char*>(bytes) + done, input.m_buffer.data() + offset, count);
        input.m_position += count;
        done += count;
    }
    return done;
}

ZPOS64_T ZipInput::tell(voidpf self, voidpf /*stream*/) {
    return static_cast<ZipInput*>(self)->m_position;
}

long ZipInput::seek(voidpf self, voidpf /*stream*/, ZPOS64_T offset, int origin) {
    auto& input = *static_cast<ZipInput*>(self);
    const auto place = placeOf(origin, offset, input.m_position, input.m_sizeBytes);
    if (!place) {
        return -1;
    }
    input.m_position = *place;
    return 0;
}

int ZipInput::error(voidpf self, voidpf /*stream*/) {
    return static_cast<ZipInput*>(self)->m_hasFailed ? 1 : 0;
}

/// Has the byte at the position in the buffer. @return false at the end and on a failure.
bool ZipInput::fill() {
    if (m_position >= m_bufferPosition && m_position - m_bufferPosition < m_bufferedBytes) {
        return true;
    }
    ssize_t count = 0;
    do {
        count = ::pread(m_file, m_buffer.data(), m_buffer.size(), static_cast<off_t>(m_position));
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        ZRN_LOG_ERRNO('E', "pread");
        m_hasFailed = true;
        return false;
    }
    m_bufferPosition = m_position;
    m_bufferedBytes = static_cast<size_t>(count);
    return count > 0;
}
