#include "Common/Zip/ZipArchive.h"

#include "Common/Zip/NameMarks.h"

#include <string_view>
#include <zlib.h>

namespace {

constexpr int kLevel = 9;
constexpr int kWindowBits = -15;
constexpr int kMemoryLevel = 8;
/// The version field that the library's shorter calls write. A host system other than 0 would make unpackers
/// look for permissions in the file attributes, which stay 0.
constexpr uLong kVersionMadeBy = 0;
constexpr uLong kEncryptedFlag = 0x0001;
constexpr uLong kUtf8NameFlag = 0x0800;
constexpr uLong kTextAttribute = 1;

[[nodiscard]] bool needsUtf8Flag(std::string_view name) {
    return !isAsciiName(name) && isUtf8Name(name);
}

zip_fileinfo makeFileInfo(const std::tm& time) {
    zip_fileinfo info{};
    info.tmz_date.tm_sec = static_cast<uInt>(time.tm_sec);
    info.tmz_date.tm_min = static_cast<uInt>(time.tm_min);
    info.tmz_date.tm_hour = static_cast<uInt>(time.tm_hour);
    info.tmz_date.tm_mday = static_cast<uInt>(time.tm_mday);
    info.tmz_date.tm_mon = static_cast<uInt>(time.tm_mon);
    info.tmz_date.tm_year = static_cast<uInt>(time.tm_year);
    return info;
}

} // namespace

bool ZipArchive::open(int file) {
    m_file.reset();
    m_output = std::make_unique<ZipOutput>(file);
    zlib_filefunc64_def functions = m_output->functions();
    m_file.reset(zipOpen2_64("", APPEND_STATUS_CREATE, nullptr, &functions));
    m_entryCount = 0;
    m_hasForeignNames = false;
    return m_file != nullptr;
}

int ZipArchive::openEntry(const ZipEntry& entry) {
    if (entry.name.size() > kLongestName) { // not every release of the library looks
        return ZIP_PARAMERROR;
    }
    m_hasForeignNames = m_hasForeignNames || !isUtf8Name(entry.name);
    const zip_fileinfo info = makeFileInfo(entry.time);
    if (!needsUtf8Flag(entry.name)) {
        return zipOpenNewFileInZip3_64(m_file.get(), entry.name.c_str(), &info, nullptr, 0, nullptr, 0,
                                       nullptr, Z_DEFLATED, kLevel, 0, kWindowBits, kMemoryLevel,
                                       Z_DEFAULT_STRATEGY, nullptr, 0, entry.isLarge ? 1 : 0);
    }
    return zipOpenNewFileInZip4_64(m_file.get(), entry.name.c_str(), &info, nullptr, 0, nullptr, 0, nullptr,
                                   Z_DEFLATED, kLevel, 0, kWindowBits, kMemoryLevel, Z_DEFAULT_STRATEGY,
                                   nullptr, 0, kVersionMadeBy, kUtf8NameFlag, entry.isLarge ? 1 : 0);
}

int ZipArchive::openReadyEntry(const ZipEntry& entry, bool isEncrypted) {
    if (entry.name.size() > kLongestName) {
        return ZIP_PARAMERROR;
    }
    m_hasForeignNames = m_hasForeignNames || !isUtf8Name(entry.name);
    zip_fileinfo info = makeFileInfo(entry.time);
    info.internal_fa = entry.isText ? kTextAttribute : 0;
    const uLong flags = (isEncrypted ? kEncryptedFlag : 0) | (needsUtf8Flag(entry.name) ? kUtf8NameFlag : 0);
    // Raw and without a password: releases of the library that are in use read zlib's table of 32-bit numbers
    // as one of 64-bit numbers, and no unpacker opens what they encrypt.
    return zipOpenNewFileInZip4_64(m_file.get(), entry.name.c_str(), &info, nullptr, 0, nullptr, 0, nullptr,
                                   Z_DEFLATED, kLevel, 1, kWindowBits, kMemoryLevel, Z_DEFAULT_STRATEGY,
                                   nullptr, 0, kVersionMadeBy, flags, entry.isLarge ? 1 : 0);
}

int ZipArchive::write(std::span<const unsigned char> bytes) {
    return zipWriteInFileInZip(m_file.get(), bytes.data(), static_cast<unsigned>(bytes.size()));
}

int ZipArchive::counted(int closeResult) {
    m_entryCount += closeResult == ZIP_OK ? 1 : 0;
    return closeResult;
}

int ZipArchive::closeEntry() {
    return counted(zipCloseFileInZip(m_file.get()));
}

int ZipArchive::closeReadyEntry(uint64_t sizeBytes, uint32_t crc) {
    return counted(zipCloseFileInZipRaw64(m_file.get(), sizeBytes, crc));
}

int ZipArchive::close() {
    return zipClose(m_file.release(), nullptr);
}
