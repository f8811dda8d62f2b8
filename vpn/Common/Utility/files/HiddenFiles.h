#pragma once

/// Files that are being written out of sight under a name, for an end of the process that leaves no time for
/// anything but their removal.

/// Lists one such name, from listing it to dropping it or to the end of the object's life. One thread. Takes
/// no memory and makes no system calls.
class HiddenFile {
public:
    HiddenFile() = default;
    ~HiddenFile() { drop(); }
    HiddenFile(const HiddenFile&) = delete;
    HiddenFile& operator=(const HiddenFile&) = delete;

    /// Does nothing where many others are listed, or the name is longer than any of drawHiddenName: such a
    /// file stays if the process is ended at once.
    /// @param folder  an open folder, which stays open while the name is listed.
    /// @param name    of a file in it that nobody else has.
    void list(int folder, const char* name) noexcept;
    void drop() noexcept;

private:
    /// Place in the table; -1 for none.
    int m_place = -1;
};

/// Removes all that are listed. For the end of the process. Any thread; async-signal-safe.
void removeHiddenFiles() noexcept;
