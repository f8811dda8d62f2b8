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

    /// Packs the regular files of a folder. Links and other kinds of files are left out, and folders have no
    /// entries of their own.
    /// @param sourceDirectory  folder to pack; entry names are relative to it, in the order of the folder.
    /// @param zipPath          the archive, replaced if it exists.
    /// @param password         empty for no encryption.
    /// @param recursive        packs sub-folders too.
    /// @return 0, GLOBAL_ERROR_BAD_PARAMETER for an empty path, or what createZipFile returns.
    [[nodiscard]] uint32_t Zip(const std::string& sourceDirectory, const std::string& zipPath,
                               std::string_view password, bool recursive);
    /// Writes the archive: file fullNames[i] under the name entryNames[i].
    /// A file that can't be read has an entry without data. A file with a CRC of 0, so every empty one, is
    /// not encrypted even if there is a password. An entry that can't be begun ends the archive with the
    /// entries before it, which counts as success. An encrypted file that is changed while it is packed,
    /// other than by growing, is logged, and its entry shows as damaged to whoever unpacks it with the
    /// password.
    /// @return 0; GLOBAL_ERROR_BAD_PARAMETER if the archive can't be made, or if the lists differ in length;
    /// GLOBAL_ERROR_UNEXPECTED without memory or random numbers; the library's negative number if the archive
    /// could not be written to its end. No regular file is left behind at `zipPath` after a failure.
    [[nodiscard]] uint32_t createZipFile(const std::vector<std::string>& fullNames,
                                         const std::string& zipPath,
                                         const std::vector<std::string>& entryNames,
                                         std::string_view password);
    /// Appends the regular files of a folder, depth first, in the order of the folder. A folder that can't be
    /// read gives its own path, with a trailing "/", as the only entry.
    void getFileList(std::vector<std::string>& fullNames, const std::string& directory, bool recursive);
    /// True from 4,294,967,295 bytes up; false, logged, if it is no regular file or can't be opened.
    [[nodiscard]] bool isLargeFile(const std::string& path);
    /// CRC-32 of the content; 0, logged, if it is no regular file or can't be opened.
    [[nodiscard]] unsigned long getCrc(const std::string& path);
    /// Makes an absolute folder path with all its parents. @return false if it is not absolute or can't be
    /// made.
    [[nodiscard]] bool createDirectoryPath(const char* path);
};
