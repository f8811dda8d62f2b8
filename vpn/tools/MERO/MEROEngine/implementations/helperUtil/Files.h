#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <string>

/// The engine's file work. Paths are byte strings and are used as they stand, unless told
/// otherwise. Every failure is a return code of the engine, logged where it is found. Re-entrant,
/// but for the two truncating functions.
namespace helperUtil {

/// One hit of a folder listing.
struct FoundFile {
    /// As readdir gave it.
    std::string name;
    /// The folder searched, with a trailing "/".
    std::string directory;
    /// False in every entry of a listing, because folders are never listed.
    bool isDirectory = false;
    /// Seconds since the epoch.
    int64_t modificationTime = 0;
};

/// Is told what a listing or the copy of a folder has to leave out.
/// @param path    the file or folder; a folder has no trailing "/".
/// @param reason  in the words of the summary, which begin with a blank and belong behind the path.
using OmissionSink = std::function<void(const std::string& path, const std::string& reason)>;
/// Is handed one hit of a listing after the other.
using FileSink = std::function<void(const FoundFile& file)>;

/// Keeps the first bytes of a file and drops the rest.
/// @param keepBytes  bytes to keep; more than the file holds adds one byte 0xFF, a negative count keeps none.
/// @param fileName   a regular file; null is refused.
/// @return 0, also when the cut file could not be written (logged);
/// MEROENGINE_ERROR_BAD_PARAMETER or MEROENGINE_ERROR_FILE_OPEN_FAILURE.
/// Writes "temp_out.txt" in the current folder and leaves it there: never two calls at a time. While that
/// file is not whole, for example on a full disk, `fileName` is left as it is.
[[nodiscard]] uint32_t fileTruncateEnd(int32_t keepBytes, const char* fileName);
/// Keeps the last bytes of a file and adds one byte 0xFF, every time. More bytes than the file holds give an
/// empty file. The rest is as for fileTruncateEnd.
[[nodiscard]] uint32_t fileTruncateFront(int32_t keepBytes, const char* fileName);

/// Copies a regular file, or a folder with all that is in it. Mode, owner and times of the source are not
/// carried over. An existing destination is removed first, and always made new. Nothing but regular files and
/// folders is ever opened for reading. Links are followed, but not into a folder that is just being copied,
/// and into no folder more than 16 times.
/// @param errorText  emptied; gets the C library's text when the source can't be examined or read, or the
/// destination can't be written to its end.
/// @return 0, for a folder also when a part of it could not be copied (logged);
/// MEROENGINE_ERROR_FILE_NOT_FOUND (no source, or none that can be examined); MEROENGINE_ERROR_UNEXPECTED
/// (the destination can't be removed, or reading broke off); MEROENGINE_ERROR_FILE_OPEN_FAILURE;
/// MEROENGINE_ERROR_WRITE_FAILURE. A failed copy may leave a part of the destination.
[[nodiscard]] uint32_t fileCopy(const std::string& source, const std::string& destination,
                                std::string& errorText);
/// The same.
/// @param omitted  is told of each part of a folder that could not be copied. A source that can't be copied
/// at all is told by the code alone.
[[nodiscard]] uint32_t fileCopy(const std::string& source, const std::string& destination,
                                std::string& errorText, const OmissionSink& omitted);
/// The summary's words for the code of a failed copy; they begin with a blank. Static.
[[nodiscard]] const char* copyFailureText(uint32_t code);
/// These words with the error text behind them, if there is one.
[[nodiscard]] std::string copyFailureReason(uint32_t code, const std::string& errorText);
/// @return 0, also for a missing file, or MEROENGINE_ERROR_UNEXPECTED.
[[nodiscard]] uint32_t fileDelete(const std::string& path);
/// Makes a folder with mode 0777 less the umask.
/// @return MEROENGINE_ERROR_ACCESS_DENIED when refused for lack of rights, else 0, so also for a folder that
/// exists and for a missing parent.
[[nodiscard]] uint32_t MakeDirectory(const std::string& path);

/// Lists the files of a folder whose names match one of the patterns, whatever their case.
/// @param directory  gets a trailing "/" in place.
/// @param patterns   are made lower-case in place; `*` and `?` are wildcards.
/// @param recursive  follows sub-folders too, but no folder that is its own ancestor, and none
/// more than 16 times.
/// @param results    gets the hits appended, in the order of the folder. A link to nowhere is one, with time
/// 0, and so is a file that can't be examined.
/// @return 0; MEROENGINE_ERROR_BAD_PARAMETER for an empty argument; MEROENGINE_ERROR_FILE_NOT_FOUND for a
/// missing folder, and when `results` is still empty; MEROENGINE_ERROR_FILE_OPEN_FAILURE. Trouble with a
/// sub-folder is only logged.
[[nodiscard]] uint32_t fileFindAll(std::string& directory, std::list<std::string>& patterns, bool recursive,
                                   std::list<FoundFile>& results);
/// The same.
/// @param omitted  is told of each folder that could not be read, or not to its end, and of each entry that
/// might be of interest and could not be examined. That the first folder is missing, or is none, is told by
/// the code alone.
[[nodiscard]] uint32_t fileFindAll(std::string& directory, std::list<std::string>& patterns, bool recursive,
                                   std::list<FoundFile>& results, const OmissionSink& omitted);
/// Lists as fileFindAll does, and hands each hit on instead of making a list: the memory that it takes
/// doesn't grow with the number of files. A folder is read to its end, and closed, before its first hit is
/// handed on.
/// @param spoolFolder  where more than some entries are kept meanwhile, see ByteSpool; empty for memory.
/// @return as fileFindAll with an empty list.
[[nodiscard]] uint32_t walkFiles(std::string directory, std::list<std::string> patterns, bool recursive,
                                 const std::string& spoolFolder, const FileSink& hit,
                                 const OmissionSink& omitted);
/// For callers outside of this system: deletes the files directly in a folder.
/// @param directory  gets a trailing "/" in place.
/// @return 0; MEROENGINE_ERROR_BAD_PARAMETER; the listing's code; MEROENGINE_ERROR_UNEXPECTED
/// if a file stays.
[[nodiscard]] uint32_t fileDeleteAll(std::string& directory);
/// Deletes the files directly in a folder and then the folder. Sub-folders are not touched and keep the
/// folder alive.
/// @return 0; MEROENGINE_ERROR_BAD_PARAMETER; MEROENGINE_ERROR_ACCESS_DENIED (no such folder); the listing's
/// code; MEROENGINE_ERROR_UNEXPECTED.
[[nodiscard]] uint32_t fileDeleteDirectory(const std::string& directory);
/// The match with the latest modification time; among equals the last one of the folder's order.
/// @return 0 or the listing's code; `newest` is empty then.
[[nodiscard]] uint32_t fileGetNewestMatchingFile(const std::string& directory, const std::string& pattern,
                                                 bool recursive, FoundFile& newest);
/// The same, with the listing's omissions.
[[nodiscard]] uint32_t fileGetNewestMatchingFile(const std::string& directory, const std::string& pattern,
                                                 bool recursive, FoundFile& newest,
                                                 const OmissionSink& omitted);
/// Size in bytes of a file whose path is translated first; -1.0 if unknown.
[[nodiscard]] double getFileSize(const std::string& path);
/// Matches the whole text; `*` is any run of bytes, `?` any one byte. False for null.
[[nodiscard]] bool matchWildcard(const char* pattern, const char* text);

} // namespace helperUtil
