#include "Common/Zip/FilePacker.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Zip/DeflateAhead.h"
#include "Common/Zip/DeflatedPiece.h"
#include "Common/Zip/TraditionalCipher.h"
#include "Common/Zip/ZipDeflater.h"

#include <algorithm>
#include <ctime>
#include <sys/stat.h>
#include <zlib.h>

namespace {

using Block = SourceFile::Block;

/// Logs a failed step of an archive under the name of the function that makes it, wherever the step stands.
void logArchiveFailure(char severity, const char* invokedFunction, int result, const std::string& path) {
    ZRN_LOG_CODE_FOR("createZipFile", severity, invokedFunction, result, "%s", path.c_str());
}

std::tm localTime(time_t seconds) {
    std::tm local{};
    static_cast<void>(::localtime_r(&seconds, &local)); // null leaves zeros, which are as good as any time
    return local;
}

/// Time of a file's last change; what can't be told stays as the zero time makes it.
time_t changeTimeOf(const std::string& path, const SourceFile& source) {
    struct stat status {};
    if (path != "-" && source.wasOpened()) {
        return source.changeTime();
    }
    if (path != "-" && ::stat(path.c_str(), &status) == 0) {
        return status.st_mtime;
    }
    ZRN_LOG_FOR("createZipFile", 'W', "Failed to get file time attributes.");
    return 0;
}

void logWriteFailure(int writeResult, const std::string& path) {
    if (writeResult != ZIP_OK) {
        logArchiveFailure('E', "zipWriteInFileInZip", writeResult, path);
    }
}

/// The code of an entry that was ended. One that could not be written stays a failure, even if it could be
/// ended, because there was room again.
uint32_t endCode(int writeResult, const char* closeFunction, int closeResult, const std::string& path) {
    if (closeResult < 0) {
        logArchiveFailure('E', closeFunction, closeResult, path);
        return static_cast<uint32_t>(closeResult);
    }
    return static_cast<uint32_t>(writeResult);
}

ZipEntry entryOf(const std::string& entryName, const std::string& path, const SourceFile& source) {
    return {entryName, localTime(changeTimeOf(path, source)),
            source.sizeBytes() > ZipArchive::kLargestPlainSize};
}

std::string refusalOf(int openResult, const ZipEntry& entry) {
    return entry.name.size() > ZipArchive::kLongestName
               ? "has a longer name than an archive can hold"
               : "could not be given an entry: error " + std::to_string(openResult);
}

} // namespace

uint32_t FilePacker::pack(const std::string& path, const std::string& entryName) {
    SourceFile source;
    if (const int error = source.open(path); error != 0) {
        ZRN_LOG_FOR("createZipFile", 'E', "Could not open %s", path.c_str());
        logArchiveFailure('E', "open", error, path);
        m_report.add(entryName, reasonOf("could not be opened", error));
    }
    const Outcome outcome =
        append(entryOf(entryName, path, source), path, watched(source.reader(), m_progress));
    return conclude(outcome, entryName, source.isOpen() ? source.faultOf(outcome.sizeBytes) : std::string());
}

uint32_t FilePacker::packNext(DeflateAhead& ahead, const std::string& path, const std::string& entryName) {
    DeflatedFile file(ahead);
    if (!file.isGood()) {
        return pack(path, entryName);
    }
    DeflateAhead::Piece& first = file.first();
    ZipEntry entry = entryOf(entryName, path, *first.file);
    Outcome outcome;
    if (m_password.empty()) {
        entry.isText = first.content.isText;
        outcome = appendReady(entry, path, [&](const SpillBuffer::Consumer& consumer, ContentSum& sumOut) {
            return file.handOn(consumer, sumOut);
        });
    } else if (first.isLast) {
        outcome = appendSealed(entry, path, first.content.data, first.content.sum);
    } else {
        // The sum stands at the front of what is encrypted, so all of it has to be there.
        ContentSum sum;
        SpillBuffer whole(m_spillFolder);
        const auto keep = [&](std::span<unsigned char> deflated) { return whole.append(deflated); };
        if (file.handOn(keep, sum) != 0) {
            return pack(path, entryName);
        }
        outcome = appendSealed(entry, path, whole, sum);
    }
    return conclude(outcome, entryName, file.fault(outcome.sizeBytes));
}

/// What is told of an entry, and the code that ends the archive unless it is 0.
uint32_t FilePacker::conclude(const Outcome& outcome, const std::string& entryName,
                              const std::string& fault) {
    if (isStopRequested()) {
        return MEROENGINE_ERROR_ACTION_CANCELED_BY_USER;
    }
    if (m_progress != nullptr) {
        ++m_progress->filesDone;
    }
    if (!outcome.refusal.empty()) {
        m_report.add(entryName, outcome.refusal);
    } else if (outcome.isDamaged) {
        m_report.add(entryName, kChangedWhilePacked);
    } else if (!fault.empty()) {
        m_report.add(entryName, fault);
    }
    return outcome.code;
}

uint32_t FilePacker::packText(const std::string& entryName, std::string_view text) {
    const Outcome outcome = append({entryName, localTime(std::time(nullptr)), false}, entryName,
                                   [&](uint64_t offset, std::span<unsigned char> block) {
                                       const std::string_view part = text.substr(offset, block.size());
                                       std::ranges::copy(part, block.begin());
                                       return std::span<const unsigned char>(block.first(part.size()));
                                   });
    if (outcome.code == 0 && !outcome.refusal.empty()) {
        ZRN_LOG_FOR("createZipFile", 'E', "\"%s\" %s", entryName.c_str(), outcome.refusal.c_str());
        return GLOBAL_ERROR_UNEXPECTED;
    }
    return outcome.code;
}

FilePacker::Outcome FilePacker::append(const ZipEntry& entry, const std::string& path,
                                       const BlockReader& read) {
    if (m_password.empty()) {
        return appendPlain(entry, path, read);
    }
    DeflatedPiece content(m_spillFolder);
    if (PieceDeflater().deflateWhole(read, content)) {
        return appendSealed(entry, path, content.data, content.sum);
    }
    // There is no room for what has to wait for its sum: the content is read twice.
    const ContentSum sum = sumOf(read);
    if (sum.crc != 0) {
        return appendEncrypted(entry, path, read, sum);
    }
    // Without a sum there is nothing for the encryption header to be checked by. What could not be read for
    // it, or was not there yet, must not follow in the clear.
    return appendPlain(entry, path, [&](uint64_t offset, std::span<unsigned char> block) {
        const uint64_t left = sum.sizeBytes - std::min(offset, sum.sizeBytes);
        return left == 0 ? std::span<const unsigned char>()
                         : read(offset, block.first(std::min<uint64_t>(left, block.size())));
    });
}

/// A full disk must not pass for a finished archive; any other reason lies in the entry.
FilePacker::Outcome FilePacker::notBegun(const char* invokedFunction, int result, const ZipEntry& entry,
                                         const std::string& path) {
    logArchiveFailure(result == ZIP_ERRNO ? 'E' : 'W', invokedFunction, result, path);
    return {.code = result == ZIP_ERRNO ? static_cast<uint32_t>(result) : 0,
            .refusal = refusalOf(result, entry)};
}

/// Appends an entry of deflated bytes in the clear.
FilePacker::Outcome FilePacker::appendReady(const ZipEntry& entry, const std::string& path,
                                            const HandOn& handOn) {
    if (const int result = m_archive.openReadyEntry(entry, false); result != ZIP_OK) {
        return notBegun("zipOpenNewFileInZip4_64", result, entry, path);
    }
    ContentSum sum;
    const int writeResult =
        handOn([&](std::span<unsigned char> deflated) { return m_archive.write(deflated); }, sum);
    logWriteFailure(writeResult, path);
    const int closeResult = m_archive.closeReadyEntry(sum.sizeBytes, sum.crc);
    return {.code = endCode(writeResult, "zipCloseFileInZip", closeResult, path),
            .refusal = {},
            .sizeBytes = sum.sizeBytes};
}

/// Appends an entry of deflated bytes, encrypted unless their content has a sum of 0: there is nothing then
/// for the encryption header to be checked by.
FilePacker::Outcome FilePacker::appendSealed(const ZipEntry& entry, const std::string& path,
                                             SpillBuffer& data, const ContentSum& sum) {
    if (sum.crc == 0) {
        return appendReady(entry, path, [&](const SpillBuffer::Consumer& consumer, ContentSum& sumOut) {
            sumOut = sum;
            return data.handOn(consumer);
        });
    }
    TraditionalCipher cipher(m_password);
    TraditionalCipher::Header header{};
    if (const int error = cipher.makeHeader(sum.crc, header); error != 0) {
        logArchiveFailure('E', "getrandom", error, path);
        return {.code = GLOBAL_ERROR_UNEXPECTED, .refusal = {}};
    }
    if (const int result = m_archive.openReadyEntry(entry, true); result != ZIP_OK) {
        return notBegun("zipOpenNewFileInZip4_64", result, entry, path);
    }
    int writeResult = m_archive.write(header);
    if (writeResult == ZIP_OK) {
        writeResult = data.handOn([&](std::span<unsigned char> deflated) {
            cipher.encrypt(deflated);
            return m_archive.write(deflated);
        });
    }
    logWriteFailure(writeResult, path);
    const int closeResult = m_archive.closeReadyEntry(sum.sizeBytes, sum.crc);
    return {.code = endCode(writeResult, "zipCloseFileInZipRaw64", closeResult, path),
            .refusal = {},
            .sizeBytes = sum.sizeBytes};
}

FilePacker::Outcome FilePacker::appendPlain(const ZipEntry& entry, const std::string& path,
                                            const BlockReader& read) {
    if (const int result = m_archive.openEntry(entry); result != ZIP_OK) {
        return notBegun("zipOpenNewFileInZip3_64", result, entry, path);
    }
    Outcome outcome;
    int writeResult = ZIP_OK;
    Block block;
    for (auto part = read(0, block); !part.empty() && writeResult == ZIP_OK;
         part = read(outcome.sizeBytes, block)) {
        writeResult = m_archive.write(part);
        outcome.sizeBytes += part.size();
    }
    logWriteFailure(writeResult, path);
    outcome.code = endCode(writeResult, "zipCloseFileInZip", m_archive.closeEntry(), path);
    return outcome;
}

/// Deflates and encrypts the first `expected.sizeBytes` bytes of a content into the open entry, so that the
/// sum still holds where something was added meanwhile.
/// @param actualOut  sum of what was read now.
/// @return 0 or a failure of the library or of zlib.
int FilePacker::writeEncrypted(TraditionalCipher& cipher, ZipDeflater& deflater, const BlockReader& read,
                               const ContentSum& expected, ContentSum& actualOut) {
    const auto encryptAndAppend = [&](std::span<unsigned char> deflated) {
        cipher.encrypt(deflated);
        return m_archive.write(deflated);
    };
    Block block;
    while (actualOut.sizeBytes < expected.sizeBytes) {
        const auto wanted = std::min<uint64_t>(block.size(), expected.sizeBytes - actualOut.sizeBytes);
        const auto part = read(actualOut.sizeBytes, std::span(block).first(wanted));
        if (part.empty()) {
            break;
        }
        actualOut.add(part);
        if (const int result = deflater.add(part, encryptAndAppend); result != 0) {
            return result;
        }
    }
    return deflater.finish(encryptAndAppend);
}

FilePacker::Outcome FilePacker::appendEncrypted(const ZipEntry& entry, const std::string& path,
                                                const BlockReader& read, const ContentSum& expected) {
    TraditionalCipher cipher(m_password);
    TraditionalCipher::Header header{};
    if (const int error = cipher.makeHeader(expected.crc, header); error != 0) {
        logArchiveFailure('E', "getrandom", error, path);
        return {.code = GLOBAL_ERROR_UNEXPECTED, .refusal = {}};
    }
    ZipDeflater deflater;
    if (const int result = deflater.start(); result != Z_OK) {
        logArchiveFailure('E', "deflateInit2", result, path);
        return {.code = GLOBAL_ERROR_UNEXPECTED, .refusal = {}};
    }
    if (const int result = m_archive.openReadyEntry(entry, true); result != ZIP_OK) {
        return notBegun("zipOpenNewFileInZip4_64", result, entry, path);
    }
    ContentSum actual;
    int writeResult = m_archive.write(header);
    if (writeResult == ZIP_OK) {
        writeResult = writeEncrypted(cipher, deflater, read, expected, actual);
    }
    logWriteFailure(writeResult, path);
    const bool isDamaged = writeResult == ZIP_OK && actual.crc != expected.crc;
    if (isDamaged) {
        ZRN_LOG_FOR("createZipFile", 'E', "\"%s\" was changed while it was packed; its entry is damaged.",
                    path.c_str());
    }
    // The entry states the expected sum in any case: with another one the header would refuse the right
    // password, while so the entry opens and unpackers report the damage.
    const int closeResult = m_archive.closeReadyEntry(actual.sizeBytes, expected.crc);
    return {.code = endCode(writeResult, "zipCloseFileInZipRaw64", closeResult, path),
            .refusal = {},
            .sizeBytes = actual.sizeBytes,
            .isDamaged = isDamaged};
}
