#include "CZip.h"

#include "Directory.h"
#include "Handles.h"
#include "Log.h"
#include "RegularFile.h"
#include "ReturnCodes.h"
#include "TraditionalCipher.h"
#include "ZipArchive.h"
#include "ZipDeflater.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <new>
#include <span>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace {

constexpr size_t kBlockSize = 16384;
using Block = std::array<unsigned char, kBlockSize>;

/// Sizes above this need the large form of an entry.
constexpr uint64_t kLargestPlainSize = 0xFFFFFFFE;

/// What a first reading found out about a file.
struct ContentSum {
    uint64_t sizeBytes = 0;
    uint32_t crc = 0;
};

/// One file on its way into the archive.
struct PackedFile {
    const std::string& path;
    const ZipEntry& entry;
};

/// How an entry went. Without a failure the archive may still end here.
struct EntryResult {
    uint32_t code = 0;
    bool endsArchive = false;
};

/// Logs a failed step of an archive under the name of the function that makes it, wherever the step stands.
void logArchiveFailure(char severity, const char* invokedFunction, int result, const std::string& path) {
    logReturnCode("createZipFile", __FILE__, __LINE__, severity, invokedFunction,
                  static_cast<uint32_t>(result), nullptr, "%s", path.c_str());
}

/// Reads a block at an offset, as much as there is up to the block's size.
/// @return the part of the block that was filled, empty at the end of the file and, logged, on a failure.
std::span<const unsigned char> readBlock(int file, uint64_t offset, std::span<unsigned char> block) {
    ssize_t count = 0;
    do {
        count = ::pread(file, block.data(), block.size(), static_cast<off_t>(offset));
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        const int error = errno;
        ZRN_LOG_CODE('E', "pread", error);
        return {};
    }
    return block.first(static_cast<size_t>(count));
}

ContentSum sumContent(int file) {
    ContentSum sum;
    Block block;
    for (auto part = readBlock(file, 0, block); !part.empty(); part = readBlock(file, sum.sizeBytes, block)) {
        sum.crc = static_cast<uint32_t>(::crc32(sum.crc, part.data(), static_cast<uInt>(part.size())));
        sum.sizeBytes += part.size();
    }
    return sum;
}

/// Opens and sums a file in the name of getCrc.
ContentSum openAndSum(const std::string& path, FileDescriptor& fileOut) {
    if (openRegularFile(path.c_str(), O_RDONLY | O_NOFOLLOW, fileOut) != 0) {
        logMessage("getCrc", __FILE__, __LINE__, 'E', "Could not open %s", path.c_str());
        return {};
    }
    return sumContent(fileOut.get());
}

/// Local time of a file's last change; what can't be told stays as the zero time makes it.
std::tm modificationTime(const std::string& path) {
    time_t seconds = 0;
    struct stat status {};
    if (path != "-" && ::stat(path.c_str(), &status) == 0) {
        seconds = status.st_mtime;
    } else {
        logMessage("createZipFile", __FILE__, __LINE__, 'W', "Failed to get file time attributes.");
    }
    std::tm local{};
    static_cast<void>(::localtime_r(&seconds, &local)); // null leaves zeros, which are as good as any time
    return local;
}

/// What follows from an entry that could not be begun. A full disk must not pass for a finished archive; any
/// other reason lies in the entry, and the archive ends with those before it.
EntryResult entryNotBegun(const char* invokedFunction, int result, const std::string& path) {
    if (result == ZIP_ERRNO) {
        logArchiveFailure('E', invokedFunction, result, path);
        return {static_cast<uint32_t>(result), true};
    }
    logArchiveFailure('W', invokedFunction, result, path);
    return {0, true};
}

void logWriteFailure(int writeResult, const std::string& path) {
    if (writeResult != ZIP_OK) {
        logArchiveFailure('E', "zipWriteInFileInZip", writeResult, path);
    }
}

/// What follows from the end of an entry. One that could not be written stays a failure, even if it could be
/// ended, because there was room again.
EntryResult entryEnded(int writeResult, const char* closeFunction, int closeResult, const std::string& path) {
    if (closeResult < 0) {
        logArchiveFailure('E', closeFunction, closeResult, path);
        return {static_cast<uint32_t>(closeResult), true};
    }
    return {static_cast<uint32_t>(writeResult), writeResult != ZIP_OK};
}

EntryResult appendPlain(ZipArchive& archive, const PackedFile& file) {
    if (const int result = archive.openEntry(file.entry); result != ZIP_OK) {
        return entryNotBegun("zipOpenNewFileInZip3_64", result, file.path);
    }
    int writeResult = ZIP_OK;
    FileDescriptor source;
    if (const int error = openRegularFile(file.path.c_str(), O_RDONLY | O_NOFOLLOW, source); error != 0) {
        logArchiveFailure('E', "open", error, file.path);
    } else {
        Block block;
        uint64_t offset = 0;
        for (auto part = readBlock(source.get(), offset, block); !part.empty() && writeResult == ZIP_OK;
             part = readBlock(source.get(), offset, block)) {
            writeResult = archive.write(part);
            offset += part.size();
        }
    }
    logWriteFailure(writeResult, file.path);
    return entryEnded(writeResult, "zipCloseFileInZip", archive.closeEntry(), file.path);
}

/// Deflates and encrypts the first `expected.sizeBytes` bytes of a file into the open entry. What has been
/// added to the file since it was summed stays out, so that the sum still holds.
/// @param actualOut  sum of what was read now.
/// @return 0 or a failure of the library or of zlib.
int packEncrypted(ZipArchive& archive, TraditionalCipher& cipher, ZipDeflater& deflater, int source,
                  const ContentSum& expected, ContentSum& actualOut) {
    const auto encryptAndAppend = [&](std::span<unsigned char> deflated) {
        cipher.encrypt(deflated);
        return archive.write(deflated);
    };
    Block block;
    while (actualOut.sizeBytes < expected.sizeBytes) {
        const auto wanted = std::min<uint64_t>(kBlockSize, expected.sizeBytes - actualOut.sizeBytes);
        const auto part = readBlock(source, actualOut.sizeBytes, std::span(block).first(wanted));
        if (part.empty()) {
            break;
        }
        actualOut.crc =
            static_cast<uint32_t>(::crc32(actualOut.crc, part.data(), static_cast<uInt>(part.size())));
        actualOut.sizeBytes += part.size();
        if (const int result = deflater.add(part, encryptAndAppend); result != 0) {
            return result;
        }
    }
    return deflater.finish(encryptAndAppend);
}

EntryResult appendEncrypted(ZipArchive& archive, const PackedFile& file, int source,
                            const ContentSum& expected, std::string_view password) {
    TraditionalCipher cipher(password);
    TraditionalCipher::Header header{};
    if (const int error = cipher.makeHeader(expected.crc, header); error != 0) {
        logArchiveFailure('E', "getrandom", error, file.path);
        return {GLOBAL_ERROR_UNEXPECTED, true};
    }
    ZipDeflater deflater;
    if (const int result = deflater.start(); result != Z_OK) {
        logArchiveFailure('E', "deflateInit2", result, file.path);
        return {GLOBAL_ERROR_UNEXPECTED, true};
    }
    if (const int result = archive.openEncryptedEntry(file.entry); result != ZIP_OK) {
        return entryNotBegun("zipOpenNewFileInZip4_64", result, file.path);
    }
    ContentSum actual;
    int writeResult = archive.write(header);
    if (writeResult == ZIP_OK) {
        writeResult = packEncrypted(archive, cipher, deflater, source, expected, actual);
    }
    logWriteFailure(writeResult, file.path);
    if (writeResult == ZIP_OK && actual.crc != expected.crc) {
        logMessage("createZipFile", __FILE__, __LINE__, 'E',
                   "\"%s\" was changed while it was packed; its entry is damaged.", file.path.c_str());
    }
    // The entry states the expected sum in any case: with another one the header would refuse the right
    // password, while so the entry opens and unpackers report the damage.
    const int closeResult = archive.closeEncryptedEntry(actual.sizeBytes, expected.crc);
    return entryEnded(writeResult, "zipCloseFileInZipRaw64", closeResult, file.path);
}

EntryResult appendFile(ZipArchive& archive, const PackedFile& file, std::string_view password) {
    FileDescriptor source;
    const ContentSum sum = password.empty() ? ContentSum{} : openAndSum(file.path, source);
    // Without a sum there is nothing for the header to be checked by.
    return sum.crc == 0 ? appendPlain(archive, file)
                        : appendEncrypted(archive, file, source.get(), sum, password);
}

/// Removes an archive that isn't whole, but nothing else that may stand under the name, such as a device.
void removeBrokenArchive(const std::string& zipPath) {
    struct stat status {};
    if (::lstat(zipPath.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return;
    }
    if (::unlink(zipPath.c_str()) != 0) {
        const int error = errno;
        logArchiveFailure('E', "unlink", error, zipPath);
    }
}

} // namespace

uint32_t CZip::Zip(const std::string& sourceDirectory, const std::string& zipPath, std::string_view password,
                   bool recursive) {
    if (sourceDirectory.empty() || zipPath.empty()) {
        ZRN_LOG('E', "Bad parameter(s), parameter(s) is equal to NULL.");
        return GLOBAL_ERROR_BAD_PARAMETER;
    }
    std::vector<std::string> fullNames;
    std::vector<std::string> entryNames;
    try {
        getFileList(fullNames, sourceDirectory, recursive);
        const size_t prefixLength = sourceDirectory.size() + (sourceDirectory.back() == '/' ? 0 : 1);
        entryNames.reserve(fullNames.size());
        for (const std::string& fullName : fullNames) {
            entryNames.push_back(fullName.substr(prefixLength));
        }
    } catch (const std::bad_alloc& error) {
        ZRN_LOG_CODE_TEXT('E', "CZip::getFileList", GLOBAL_ERROR_UNEXPECTED, "%s", error.what());
        return GLOBAL_ERROR_UNEXPECTED;
    }
    const uint32_t code = createZipFile(fullNames, zipPath, entryNames, password);
    if (code != 0) {
        ZRN_LOG_CODE('E', "CZip::createZipFile", code);
    }
    return code;
}

uint32_t CZip::createZipFile(const std::vector<std::string>& fullNames, const std::string& zipPath,
                             const std::vector<std::string>& entryNames, std::string_view password) {
    if (fullNames.size() != entryNames.size()) {
        ZRN_LOG('E', "%zu files have %zu names.", fullNames.size(), entryNames.size());
        return GLOBAL_ERROR_BAD_PARAMETER;
    }
    ZipArchive archive;
    if (!archive.open(zipPath)) {
        ZRN_LOG_CODE('E', "zipOpen64", GLOBAL_ERROR_BAD_PARAMETER);
        return GLOBAL_ERROR_BAD_PARAMETER;
    }
    EntryResult result;
    try {
        for (size_t i = 0; i < fullNames.size() && !result.endsArchive; ++i) {
            const ZipEntry entry{entryNames[i], modificationTime(fullNames[i]), isLargeFile(fullNames[i])};
            result = appendFile(archive, {fullNames[i], entry}, password);
        }
    } catch (const std::bad_alloc& error) {
        ZRN_LOG_CODE_TEXT('E', "appendFile", GLOBAL_ERROR_UNEXPECTED, "%s", error.what());
        result.code = GLOBAL_ERROR_UNEXPECTED;
    }
    if (const int closeResult = archive.close(); closeResult != ZIP_OK) {
        ZRN_LOG_CODE('E', "zipClose", closeResult);
        result.code = result.code != 0 ? result.code : static_cast<uint32_t>(closeResult);
    }
    if (result.code != 0) {
        removeBrokenArchive(zipPath);
    }
    return result.code;
}

void CZip::getFileList(std::vector<std::string>& fullNames, const std::string& directory, bool recursive) {
    const std::string folder = directory.ends_with('/') ? directory : directory + "/";
    const DirHandle handle(::opendir(folder.c_str()));
    if (!handle) {
        const int error = errno;
        ZRN_LOG_CODE_TEXT('W', "opendir", error, "%s", folder.c_str());
        fullNames.push_back(folder);
        return;
    }
    errno = 0;
    while (const dirent* entry = ::readdir(handle.get())) {
        const std::string_view name = entry->d_name;
        if (entry->d_type == DT_REG) {
            fullNames.push_back(folder + entry->d_name);
        } else if (entry->d_type == DT_DIR && recursive && name != "." && name != "..") {
            getFileList(fullNames, folder + entry->d_name, recursive);
        }
        errno = 0;
    }
    if (const int error = errno; error != 0) {
        ZRN_LOG_CODE_TEXT('W', "readdir", error, "%s", folder.c_str());
    }
}

bool CZip::isLargeFile(const std::string& path) {
    FileDescriptor file;
    if (openRegularFile(path.c_str(), O_RDONLY | O_NOFOLLOW, file) != 0) {
        ZRN_LOG('E', "Could not open %s", path.c_str());
        return false;
    }
    const off_t end = ::lseek(file.get(), 0, SEEK_END);
    if (end < 0) {
        const int error = errno;
        ZRN_LOG_CODE('E', "lseek", error);
        return false;
    }
    return static_cast<uint64_t>(end) > kLargestPlainSize;
}

unsigned long CZip::getCrc(const std::string& path) {
    FileDescriptor file;
    return openAndSum(path, file).crc;
}

bool CZip::createDirectoryPath(const char* path) {
    return ::createDirectoryPath(path);
}
