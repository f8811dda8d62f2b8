#pragma once

#include "Common/Utility/files/HiddenFiles.h"
#include "Common/Utility/memory/Handles.h"

#include <string>
#include <sys/types.h>

/// The kinds of file that somebody may want to write a file in the place of.
/// @return 0 for a regular file, a link and for none at all, and for a kind that can't be told; EISDIR for a
/// folder; ENXIO for a pipe, a device or a socket. A link counts as what it leads to; one that leads nowhere
/// may be replaced. Takes no memory; may wait for the file system of the path.
[[nodiscard]] int refusalOfTarget(int folder, const char* path) noexcept;

/// A new hidden name for a file on its way, different each time. @return an empty text if there
/// are no random numbers.
[[nodiscard]] std::string drawHiddenName();

/// A file that is written out of sight and then takes its place in one step, so that nothing half stands
/// under its final name and what stood there is untouched until then. Its rights are 0600, whatever the
/// umask. Where the file system and /proc allow it the file has no name before the last step and vanishes
/// with the process; otherwise it has a hidden one beside its place. What was not put in its place is removed
/// at the end of the object's life, and by removeHiddenFiles. One thread. Nothing here logs, and once made it
/// takes no memory and makes plain system calls only, so that a forked child may use it.
class ReplacementFile {
public:
    /// The calls that can fail.
    enum class Call : unsigned char { None, OpenFolder, CreateFile, SetMode, Synchronize, Link, Rename };

    /// What went wrong; Call::None is success.
    struct Failure {
        Call call = Call::None;
        int error = 0;

        [[nodiscard]] bool happened() const noexcept { return call != Call::None; }
    };

    /// @param path        the place; empty and those that end in "/" name none, and fail when the
    /// file is put there.
    /// @param hiddenName  name of the file until then, where it needs one; see drawHiddenName.
    ReplacementFile(const std::string& path, std::string hiddenName);
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;

    /// Makes the file, empty. Once.
    [[nodiscard]] Failure create() noexcept;
    /// The file, open for reading and writing; -1 before create.
    [[nodiscard]] int descriptor() const noexcept { return m_file.get(); }
    /// Writes the file out to the disk and puts it in its place. A file or a link of that name goes, a folder
    /// stays and is a failure. Once, after create.
    [[nodiscard]] Failure place() noexcept;
    /// Removes the file unless it is in its place.
    void discard() noexcept;

private:
    [[nodiscard]] bool createNameless() noexcept;
    [[nodiscard]] Failure giveName() noexcept;

    std::string m_folderPath;
    std::string m_name;
    std::string m_hiddenName;
    FileDescriptor m_folder;
    FileDescriptor m_file;
    /// A file of the hidden name is there, and ours.
    bool m_isNamed = false;
    /// Listed for as long as it may be there.
    HiddenFile m_listed;
};

/// The system call behind a failure, for a line of the log.
[[nodiscard]] const char* nameOf(ReplacementFile::Call call);
