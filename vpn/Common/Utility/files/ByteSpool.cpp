#include "Common/Utility/files/ByteSpool.h"

#include "Common/Utility/log/Log.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t kReadAheadBytes = 4096;

/// @return none, with errno set, if there can't be one.
FileDescriptor openNamelessFile(const std::string& folder) {
    FileDescriptor file(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (file || (errno != EOPNOTSUPP && errno != EISDIR)) {
        return file;
    }
    // Some file systems have none without a name from the start.
    std::string path = folder + "/.spool_XXXXXX";
    file.reset(::mkostemp(path.data(), O_CLOEXEC));
    if (file && ::unlink(path.c_str()) != 0) {
        file.reset();
    }
    return file;
}

/// @return 0 or an errno.
int writeAt(int file, std::string_view bytes, uint64_t offset) {
    while (!bytes.empty()) {
        const ssize_t length = ::pwrite(file, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (length < 0 && errno != EINTR) {
            return errno;
        }
        const std::size_t written = static_cast<std::size_t>(std::max<ssize_t>(length, 0));
        bytes.remove_prefix(written);
        offset += written;
    }
    return 0;
}

} // namespace

void ByteSpool::append(std::string_view bytes) {
    m_tail += bytes;
    if (m_tail.size() > kMemoryBytes && !m_folder.empty()) {
        spill();
    }
}

void ByteSpool::spill() {
    if (!m_file) {
        m_file = openNamelessFile(m_folder);
    }
    const char* call = m_file ? "pwrite" : "open";
    const int error = m_file ? writeAt(m_file.get(), m_tail, m_fileBytes) : errno;
    if (error != 0) {
        // Memory is there for all of them, where it must be.
        ZRN_LOG_CODE_TEXT('W', call, error, "Folder: %s\nError: %s", m_folder.c_str(), std::strerror(error));
        m_folder.clear();
        return;
    }
    m_fileBytes += m_tail.size();
    m_tail.clear();
}

void ByteSpool::cut(uint64_t sizeBytes) {
    m_tail.resize(static_cast<std::size_t>(std::max(sizeBytes, m_fileBytes) - m_fileBytes));
    m_fileBytes = std::min(sizeBytes, m_fileBytes);
}

int ByteSpool::read(uint64_t offset, char* bytes, std::size_t count, std::size_t& countOut) const {
    countOut = 0;
    if (offset >= m_fileBytes) {
        const std::size_t start = static_cast<std::size_t>(std::min(offset, size()) - m_fileBytes);
        countOut = m_tail.copy(bytes, count, start);
        return 0;
    }
    const std::size_t wanted = static_cast<std::size_t>(std::min<uint64_t>(count, m_fileBytes - offset));
    ssize_t length = 0;
    do {
        length = ::pread(m_file.get(), bytes, wanted, static_cast<off_t>(offset));
    } while (length < 0 && errno == EINTR);
    if (length <= 0) {
        // Nobody else can have made the file shorter.
        const int error = length < 0 ? errno : EIO;
        ZRN_LOG_CODE('E', "pread", error);
        return error;
    }
    countOut = static_cast<std::size_t>(length);
    return 0;
}

bool SpoolReader::next(std::string& textOut) {
    std::size_t end = m_ahead.find('\0', m_taken);
    while (end == std::string::npos) {
        if (!fill()) {
            return false;
        }
        end = m_ahead.find('\0', m_taken);
    }
    textOut.assign(m_ahead, m_taken, end - m_taken);
    m_taken = end + 1;
    return true;
}

void SpoolReader::rest() {
    m_offset += m_taken;
    m_taken = 0;
    m_ahead = std::string();
}

bool SpoolReader::fill() {
    m_ahead.erase(0, m_taken);
    m_offset += m_taken;
    m_taken = 0;
    const std::size_t held = m_ahead.size();
    const std::size_t wanted =
        static_cast<std::size_t>(std::min<uint64_t>(kReadAheadBytes, m_end - m_offset - held));
    m_ahead.resize(held + wanted);
    std::size_t count = 0;
    m_error = m_spool.read(m_offset + held, m_ahead.data() + held, wanted, count);
    m_ahead.resize(held + count);
    return count > 0;
}
