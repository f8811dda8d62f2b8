#include "Common/Zip/SourceFile.h"

#include "Common/Utility/files/LongPath.h"
#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/log/Log.h"
#include "Common/Zip/PackReport.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

namespace {

bool isSameTime(const timespec& one, const timespec& other) {
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

} // namespace

void ContentSum::add(std::span<const unsigned char> part) {
    crc = static_cast<uint32_t>(::crc32(crc, part.data(), static_cast<uInt>(part.size())));
    sizeBytes += part.size();
}

void ContentSum::append(const ContentSum& next) {
    crc = static_cast<uint32_t>(::crc32_combine(crc, next.crc, static_cast<z_off_t>(next.sizeBytes)));
    sizeBytes += next.sizeBytes;
}

ContentSum sumOf(const BlockReader& read) {
    ContentSum sum;
    SourceFile::Block block;
    for (auto part = read(0, block); !part.empty(); part = read(sum.sizeBytes, block)) {
        sum.add(part);
    }
    return sum;
}

int SourceFile::open(const std::string& path) {
    const LongPath way(path);
    if (way.error() != 0) {
        return way.error();
    }
    FileDescriptor file;
    if (const int error = openRegularFileAt(way.folder(), way.rest(), O_RDONLY | O_NOFOLLOW, file);
        error != 0) {
        return error;
    }
    if (::fstat(file.get(), &m_status) != 0) {
        return errno;
    }
    m_file = std::move(file);
    m_wasOpened = true;
    return 0;
}

std::span<const unsigned char> SourceFile::readBlock(uint64_t offset, std::span<unsigned char> block) {
    // At the end there is still a look for more: a failure may stand there, as in files of the kernel.
    const uint64_t left = offset < sizeBytes() ? sizeBytes() - offset : 1;
    const size_t wanted = static_cast<size_t>(std::min<uint64_t>(left, block.size()));
    ssize_t count = 0;
    do {
        count = ::pread(m_file.get(), block.data(), wanted, static_cast<off_t>(offset));
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        const int error = errno;
        m_readError = error;
        ZRN_LOG_CODE('E', "pread", error);
        return {};
    }
    if (offset >= sizeBytes()) {
        if (count > 0) {
            m_hasGrown = true;
        }
        return {};
    }
    return block.first(static_cast<size_t>(count));
}

BlockReader SourceFile::reader() {
    return [this](uint64_t offset, std::span<unsigned char> block) {
        return isOpen() ? readBlock(offset, block) : std::span<const unsigned char>();
    };
}

std::string SourceFile::faultOf(uint64_t readBytes) const {
    if (m_readError != 0) {
        return reasonOf("could not be read whole", m_readError);
    }
    struct stat now {};
    if (::fstat(m_file.get(), &now) != 0) {
        return reasonOf("could not be examined", errno);
    }
    const bool isAsItWas = !m_hasGrown && readBytes == sizeBytes() && now.st_size == m_status.st_size &&
                           isSameTime(now.st_mtim, m_status.st_mtim);
    return isAsItWas ? std::string() : kChangedWhilePacked;
}
