#pragma once

#include "Common/Utility/memory/Handles.h"

#include <cstdint>
#include <string>

/// Lists a folder, entry by entry, and makes folders. Not shared between threads.
class Directory {
public:
    Directory() = default;
    /// Closes; a failure is logged.
    ~Directory();
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    /// Opens a folder; one that is open is closed first.
    /// @return 0; DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED for an empty path, DIRECTORY_ERROR_UNEXPECTED when
    /// the former one can't be closed, DIRECTORY_ERROR_DIRECTORY_NOT_FOUND when it can't be opened.
    [[nodiscard]] uint32_t Open(const std::string& path);
    /// Closes the folder; with none open it does nothing. @return 0 or DIRECTORY_ERROR_UNEXPECTED.
    [[nodiscard]] uint32_t close();
    /// For callers outside of this system: the next entry's name, "." and ".." included.
    /// @return 0; DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED with none open, DIRECTORY_ERROR_NO_MORE_FILES at
    /// the end, DIRECTORY_ERROR_UNEXPECTED on a read error.
    [[nodiscard]] uint32_t getNextEntry(std::string& nameOut);
    /// Makes a folder with its parents, with mode 0770 less the umask.
    /// @return 0; DIRECTORY_ERROR_BAD_PARAMETER for an empty path, DIRECTORY_ERROR_DIRECTORY_ALREADY_EXISTS
    /// if it exists and `failIfExists` is set, DIRECTORY_ERROR_FAILED_TO_CREATE_DIR.
    [[nodiscard]] static uint32_t CreateNewDirectory(const std::string& path, bool failIfExists);

private:
    DirHandle m_dir;
};

/// Makes a folder with its parents, with mode 0777 less the umask.
/// @param path  absolute; null, an empty and a relative path are refused without a word.
/// @return false if a part of the path is no folder or can't be made; a failed mkdir is logged.
[[nodiscard]] bool createDirectoryPath(const char* path);
