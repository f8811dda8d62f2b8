#pragma once

#include "Common/Zip/ZipFileAccess.h"
#include "Common/Zip/ZipHandles.h"

#include <cstdint>
#include <ctime>
#include <memory>
#include <span>
#include <string>

/// How an entry is announced.
struct ZipEntry {
    /// Raw bytes, with "/" between folders. A name that is UTF-8 beyond ASCII is marked as such.
    std::string name;
    /// Local time of the last change.
    std::tm time{};
    /// Leaves room for sizes from 4,294,967,295 bytes up.
    bool isLarge = false;
    /// Marks the content as text, where it doesn't come in the clear and is not looked at here.
    bool isText = false;
};

/// A zip archive that is being written, entry after entry. One thread. Results are those of the library: 0
/// (ZIP_OK) is success, ZIP_ERRNO says that the archive could not be written. Nothing is logged here but a
/// write that the system has refused.
class ZipArchive {
public:
    /// The format counts a name's bytes in 16 bits.
    static constexpr size_t kLongestName = 0xFFFF;
    /// Sizes above this need the large form of an entry.
    static constexpr uint64_t kLargestPlainSize = 0xFFFFFFFE;

    /// Begins a new archive.
    /// @param file  empty file, open for writing; must stay open as long as the archive is.
    /// @return false if the library has no memory for it.
    [[nodiscard]] bool open(int file);
    /// Begins an entry whose data is deflated on its way in. @return ZIP_PARAMERROR for a name
    /// that is too long.
    [[nodiscard]] int openEntry(const ZipEntry& entry);
    /// Begins an entry whose data comes ready: deflated, and where it is encrypted behind its header.
    /// @return as openEntry.
    [[nodiscard]] int openReadyEntry(const ZipEntry& entry, bool isEncrypted);
    /// Appends data to the open entry.
    [[nodiscard]] int write(std::span<const unsigned char> bytes);
    /// Ends an entry begun by openEntry.
    [[nodiscard]] int closeEntry();
    /// Ends an entry begun by openReadyEntry.
    /// @param sizeBytes  length of the content as it was before deflating.
    /// @param crc        CRC-32 of that content. Its high byte must be the one that an encryption
    ///                   header has, or the password won't open the entry.
    [[nodiscard]] int closeReadyEntry(uint64_t sizeBytes, uint32_t crc);
    /// Writes the directory and closes the file. The archive is whole only if this and all else gave 0.
    [[nodiscard]] int close();
    /// Entries that were ended so far.
    [[nodiscard]] uint64_t entryCount() const { return m_entryCount; }
    /// Whether an entry has a name that is not UTF-8; unmarkForeignNames looks after these, once the archive
    /// is closed.
    [[nodiscard]] bool hasForeignNames() const { return m_hasForeignNames; }

private:
    [[nodiscard]] int counted(int closeResult);

    /// Behind the file's handle, which writes through it to the last.
    std::unique_ptr<ZipOutput> m_output;
    ZipFileHandle m_file;
    uint64_t m_entryCount = 0;
    bool m_hasForeignNames = false;
};
