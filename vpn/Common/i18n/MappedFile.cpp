#include "Common/i18n/MappedFile.h"

#include "Common/Utility/files/RegularFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <utility>

std::optional<MappedFile> MappedFile::open(const char* path, std::size_t maximumBytes) {
    FileDescriptor file;
    struct stat status = {};
    // The size is that of the file which is open, whatever has taken its name by now.
    if (openRegularFile(path, O_RDONLY, file) != 0 || ::fstat(file.get(), &status) != 0) {
        return std::nullopt;
    }
    const auto sizeBytes = static_cast<std::size_t>(status.st_size);
    if (sizeBytes == 0 || sizeBytes > maximumBytes) {
        return std::nullopt;
    }
    void* const start = ::mmap(nullptr, sizeBytes, PROT_READ, MAP_SHARED, file.get(), 0);
    if (start == MAP_FAILED) {
        return std::nullopt;
    }
    return MappedFile(std::string_view(static_cast<const char*>(start), sizeBytes));
}

MappedFile::MappedFile(MappedFile&& other) noexcept : m_bytes(std::exchange(other.m_bytes, {})) {}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
    std::swap(m_bytes, other.m_bytes);
    return *this;
}

MappedFile::~MappedFile() {
    if (!m_bytes.empty()) {
        // The call takes a pointer to what may be written; this is not.
        static_cast<void>(::munmap(const_cast<char*>(m_bytes.data()), // NOLINT(*-const-cast): see above
                                   m_bytes.size()));
    }
}
