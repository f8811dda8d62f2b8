#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/files/WholeWrite.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/FileAccess.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace helperUtil {

namespace {

/// One name for all: the truncations of a run follow each other and overwrite it.
constexpr const char* kScratchName = "temp_out.txt";

/// Stands behind the kept bytes wherever the end of the file was met. The size limits of the summary count
/// with exactly these bytes, so it is part of what the truncating functions promise.
constexpr char kEndByte = '\xFF';

/// Writes what is kept of `input` to `output`.
using KeepFunction = CopyOutcome (*)(int32_t keepBytes, int input, int output);

CopyOutcome writeEndByte(int output, CopyOutcome outcome) {
    if (outcome.failedCall == nullptr) {
        outcome.error = writeWhole(output, &kEndByte, 1);
        outcome.failedCall = outcome.error == 0 ? nullptr : "write";
    }
    return outcome;
}

CopyOutcome keepFirstBytes(int32_t keepBytes, int input, int output) {
    // A negative count is no place in a file: nothing is kept.
    if (keepBytes < 0) {
        return {};
    }
    const uint64_t wanted = static_cast<uint64_t>(keepBytes);
    const CopyOutcome outcome = copyBytes(input, output, wanted);
    return outcome.bytes < wanted ? writeEndByte(output, outcome) : outcome;
}

CopyOutcome keepLastBytes(int32_t keepBytes, int input, int output) {
    // Negated in the wider type, where the smallest count has its counterpart too. A start before the file's
    // first byte is refused: nothing is kept then, and no end is met.
    if (::lseek(input, -static_cast<off_t>(keepBytes), SEEK_END) < 0) {
        return {};
    }
    return writeEndByte(output, copyBytes(input, output));
}

/// Opens the scratch file and empties it, unless it is the input itself, or no regular file.
bool openScratch(int input, FileDescriptor& scratchOut) {
    FileDescriptor scratch;
    if (openRegularFile(kScratchName, O_WRONLY | O_CREAT | O_NOFOLLOW, scratch, 0666) != 0 ||
        folderIdOf(scratch.get()) == folderIdOf(input) || ::ftruncate(scratch.get(), 0) != 0) {
        return false;
    }
    scratchOut = std::move(scratch);
    return true;
}

/// Writes the scratch file to its end. False, and logged, if it is not whole.
bool fillScratch(const char* function, KeepFunction keep, int32_t keepBytes, int input,
                 FileDescriptor& scratch) {
    CopyOutcome outcome = keep(keepBytes, input, scratch.get());
    const int closeError = closeWritten(scratch);
    if (outcome.failedCall == nullptr && closeError != 0) {
        outcome.failedCall = "close";
        outcome.error = closeError;
    }
    if (outcome.failedCall == nullptr) {
        return true;
    }
    ZRN_LOG_CODE_FOR(function, 'E', outcome.failedCall, outcome.error, "File: %s\nError: %s", kScratchName,
                     std::strerror(outcome.error));
    return false;
}

uint32_t truncateFile(const char* function, KeepFunction keep, int32_t keepBytes, const char* fileName) {
    if (fileName == nullptr) {
        ZRN_LOG_FOR(function, 'E', "pszFilename is NULL");
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    FileDescriptor input;
    if (openRegularFile(fileName, O_RDONLY, input) != 0) {
        ZRN_LOG_FOR(function, 'E', "Failed to open \"%s\"", fileName);
        return MEROENGINE_ERROR_FILE_OPEN_FAILURE;
    }
    FileDescriptor scratch;
    if (!openScratch(input.get(), scratch)) {
        ZRN_LOG_FOR(function, 'E', "Failed to open \"%s\"", kScratchName);
        return MEROENGINE_ERROR_FILE_OPEN_FAILURE;
    }
    // A scratch file that lacks a part must never take the file's place: the file then stays as it is.
    if (!fillScratch(function, keep, keepBytes, input.get(), scratch)) {
        return 0;
    }
    input.reset();
    std::string errorText;
    const uint32_t code = fileCopy(kScratchName, fileName, errorText);
    if (code != 0) {
        // The caller lists the file as it stands, so this is no failure of the truncation.
        ZRN_LOG_CODE_FOR(function, 'E', "helperUtil::fileCopy", code, "%s", errorText.c_str());
    }
    return 0;
}

} // namespace

uint32_t fileTruncateEnd(int32_t keepBytes, const char* fileName) {
    return truncateFile(__func__, keepFirstBytes, keepBytes, fileName);
}

uint32_t fileTruncateFront(int32_t keepBytes, const char* fileName) {
    return truncateFile(__func__, keepLastBytes, keepBytes, fileName);
}

} // namespace helperUtil
