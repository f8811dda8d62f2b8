#include "ZipArchive.h"

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

/// Length of the well-formed UTF-8 sequence at the start of `text`, or 0.
size_t utf8SequenceLength(std::string_view text) {
    const auto byteAt = [&](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    const unsigned lead = byteAt(0);
    if (lead < 0x80) {
        return 1;
    }
    // The second byte's range is what shuts out overlong forms, surrogates and values above U+10FFFF.
    unsigned lowest = 0x80;
    unsigned highest = 0xBF;
    size_t length = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        lowest = lead == 0xE0 ? 0xA0 : lowest;
        highest = lead == 0xED ? 0x9F : highest;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        lowest = lead == 0xF0 ? 0x90 : lowest;
        highest = lead == 0xF4 ? 0x8F : highest;
    } else {
        return 0;
    }
    if (byteAt(1) < lowest || byteAt(1) > highest) {
        return 0;
    }
    for (size_t i = 2; i < length; ++i) {
        if ((byteAt(i) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    return length;
}

/// True for valid UTF-8 that isn't plain ASCII.
bool needsUtf8Flag(std::string_view name) {
    bool isAscii = true;
    while (!name.empty()) {
        const size_t length = utf8SequenceLength(name);
        if (length == 0) {
            return false;
        }
        isAscii = isAscii && length == 1;
        name.remove_prefix(length);
    }
    return !isAscii;
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
    return m_file != nullptr;
}

int ZipArchive::openEntry(const ZipEntry& entry) {
    if (entry.name.size() > kLongestName) { // not every release of the library looks
        return ZIP_PARAMERROR;
    }
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

int ZipArchive::openEncryptedEntry(const ZipEntry& entry) {
    if (entry.name.size() > kLongestName) {
        return ZIP_PARAMERROR;
    }
    const zip_fileinfo info = makeFileInfo(entry.time);
    const uLong flags = kEncryptedFlag | (needsUtf8Flag(entry.name) ? kUtf8NameFlag : 0);
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

int ZipArchive::closeEncryptedEntry(uint64_t sizeBytes, uint32_t crc) {
    return counted(zipCloseFileInZipRaw64(m_file.get(), sizeBytes, crc));
}

int ZipArchive::close() {
    return zipClose(m_file.release(), nullptr);
}
