#pragma once

#include "Common/Zip/PackProgress.h"
#include "Common/Zip/PackReport.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Turns a folder into a zip archive, with the traditional zip encryption if there is a password. File names
/// and the archive's directory stay readable. Files are streamed, and little of them is held. Holds no state;
/// used by one thread.
/// An archive comes into being out of sight, is read back once it is written, and then takes the
/// place of what stands under its name, with the rights 0600. What can't be packed is named in
/// the archive's last entry. Works on all cores, for as long as a call lasts.
class CZip {
public:
    virtual ~CZip() = default;

    /// Packs the regular files of a folder. Links and other kinds of files are left out, and folders have no
    /// entries of their own, except for an empty one in place of a sub-folder that can't be opened.
    /// @param sourceDirectory  folder to pack; entry names are relative to it, in the order of the folder.
    /// @param zipPath          the archive, as for createZipFile.
    /// @param password         empty for no encryption.
    /// @param recursive        packs sub-folders too.
    /// @return 0, GLOBAL_ERROR_BAD_PARAMETER for an empty path, or what createZipFile returns.
    [[nodiscard]] uint32_t Zip(const std::string& sourceDirectory, const std::string& zipPath,
                               std::string_view password, bool recursive);
    /// @param reportOut  gets what the archive lacks, if there is one.
    /// @param progress   tells other threads how far it is; may be null.
    [[nodiscard]] uint32_t Zip(const std::string& sourceDirectory, const std::string& zipPath,
                               std::string_view password, bool recursive, PackReport& reportOut,
                               PackProgress* progress = nullptr);
    /// Writes the archive: file fullNames[i] under the name entryNames[i], which is changed where it would
    /// lead unpackers out of their folder (see safeEntryName).
    /// A file that can't be opened has an entry without data, and one whose name is too long has none. A file
    /// with a CRC of 0, so every empty one, is not encrypted even if there is a password. What is added to a
    /// file while it is packed stays out. Where there is no room for what is deflated of an encrypted file
    /// until its sum is known, the file is read twice, and one of which another content is there at the
    /// second reading shows as damaged to whoever unpacks it with the password. All these but the empty ones
    /// are reported, and listed in the last entry (see PackReport).
    /// @param zipPath  a file or a link of that name is replaced in one step at the end, and left as
    /// it is until then and after a failure; a folder, pipe, device or socket there, or behind a
    /// link there, is refused.
    /// @return 0; GLOBAL_ERROR_BAD_PARAMETER if the archive can't be made, or if the lists differ in length;
    /// GLOBAL_ERROR_UNEXPECTED without memory or random numbers, and for an archive that can't be read back;
    /// MEROENGINE_ERROR_ACTION_CANCELED_BY_USER where a stop was requested before the end;
    /// the library's negative number if the archive could not be written to its end or put in its place.
    [[nodiscard]] uint32_t createZipFile(const std::vector<std::string>& fullNames,
                                         const std::string& zipPath,
                                         const std::vector<std::string>& entryNames,
                                         std::string_view password);
    /// @param report  may hold items already; gets what the archive lacks.
    [[nodiscard]] uint32_t createZipFile(const std::vector<std::string>& fullNames,
                                         const std::string& zipPath,
                                         const std::vector<std::string>& entryNames,
                                         std::string_view password, PackReport& report);
    /// Appends the regular files of a folder, depth first, in the order of the folder. A folder that can't be
    /// opened gives its own path, with a trailing "/", as the only entry.
    void getFileList(std::vector<std::string>& fullNames, const std::string& directory, bool recursive);
    /// For callers outside of this system: true from 4,294,967,295 bytes up; false, logged, if it is no
    /// regular file or can't be opened.
    [[nodiscard]] bool isLargeFile(const std::string& path);
    /// For callers outside of this system: CRC-32 of the content; 0, logged, if it is no regular file or
    /// can't be opened.
    [[nodiscard]] unsigned long getCrc(const std::string& path);
    /// Makes an absolute folder path with all its parents. @return false if it is not absolute
    /// or can't be made.
    [[nodiscard]] bool createDirectoryPath(const char* path);
};
