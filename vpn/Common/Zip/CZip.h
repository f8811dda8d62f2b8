#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Turns a folder into a zip archive, with the traditional zip encryption if there is a password. File names
/// and the archive's directory stay readable. Files are streamed and never held whole. Holds no state; used
/// by one thread.
class CZip {
public:
    virtual ~CZip() = default;

    /// @param sourceDirectory  folder to pack; entry names are relative to it.
    /// @param zipPath          the archive, replaced if it exists.
    /// @param password         empty for no encryption.
    /// @return 0, GLOBAL_ERROR_BAD_PARAMETER for an empty path, or what createZipFile returns.
    [[nodiscard]] uint32_t Zip(const std::string& sourceDirectory, const std::string& zipPath,
                               std::string_view password, bool recursive);
    /// Writes the archive: file fullNames[i] under the name entryNames[i].
    [[nodiscard]] uint32_t createZipFile(const std::vector<std::string>& fullNames,
                                         const std::string& zipPath,
                                         const std::vector<std::string>& entryNames,
                                         std::string_view password);
    /// Appends the regular files of a folder, depth first, in the order of the folder. A folder that can't be
    /// read gives its own path as the only entry.
    void getFileList(std::vector<std::string>& fullNames, const std::string& directory, bool recursive);
    /// True from 4,294,967,295 bytes up; false, logged, if the file can't be opened.
    [[nodiscard]] bool isLargeFile(const std::string& path);
    /// CRC-32 of the content; 0, logged, if the file can't be opened.
    [[nodiscard]] unsigned long getCrc(const std::string& path);
    /// Makes an absolute folder path with all its parents. @return false if it is not absolute or can't be
    /// made.
    [[nodiscard]] bool createDirectoryPath(const char* path);
};
