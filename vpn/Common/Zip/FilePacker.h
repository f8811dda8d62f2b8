#pragma once

#include "Common/Zip/PackProgress.h"
#include "Common/Zip/PackReport.h"
#include "Common/Zip/SourceFile.h"
#include "Common/Zip/SpillBuffer.h"
#include "Common/Zip/ZipArchive.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

class DeflateAhead;
class DeflatedFile;
class TraditionalCipher;
class ZipDeflater;

/// Puts files into an archive, one after the other. What is wrong with a file goes into the report and ends
/// nothing; a code ends the archive, and is logged. One thread.
class FilePacker {
public:
    /// All must outlive this object.
    /// @param password     empty for no encryption.
    /// @param spillFolder  where what is too much for memory is kept until its place in the archive is known;
    /// empty for nowhere.
    /// @param progress     gets what was read and appended; may be null.
    FilePacker(ZipArchive& archive, std::string_view password, const std::string& spillFolder,
               PackReport& report, PackProgress* progress = nullptr)
        : m_archive(archive), m_password(password), m_spillFolder(spillFolder), m_report(report),
          m_progress(progress) {}

    /// Appends a file. One that can't be opened has an entry without data.
    /// @return 0, MEROENGINE_ERROR_ACTION_CANCELED_BY_USER once a stop is requested,
    /// GLOBAL_ERROR_UNEXPECTED without random numbers or memory, or the library's negative number if the
    /// archive could not be written.
    [[nodiscard]] uint32_t pack(const std::string& path, const std::string& entryName);
    /// The same, of a file whose content is deflated elsewhere.
    /// @param ahead  whose next piece is this file's first.
    [[nodiscard]] uint32_t packNext(DeflateAhead& ahead, const std::string& path,
                                    const std::string& entryName);
    /// Appends an entry of this time with a text.
    /// @return as pack; GLOBAL_ERROR_UNEXPECTED as well for an entry that can't be begun.
    [[nodiscard]] uint32_t packText(const std::string& entryName, std::string_view text);

private:
    /// How an entry went.
    struct Outcome {
        /// Ends the archive unless it is 0.
        uint32_t code = 0;
        /// Why the entry is not there, as the end of a sentence; empty if it is.
        std::string refusal;
        /// Bytes that are in the entry.
        uint64_t sizeBytes = 0;
        /// The content was another one when it was read again, and the entry doesn't open.
        bool isDamaged = false;
    };

    /// @param path  names the content in the log.
    /// Gives deflated bytes to a consumer, and the sum of their content.
    using HandOn = std::function<int(const SpillBuffer::Consumer&, ContentSum&)>;

    [[nodiscard]] uint32_t conclude(const Outcome& outcome, const std::string& entryName,
                                    const std::string& fault);
    [[nodiscard]] Outcome append(const ZipEntry& entry, const std::string& path, const BlockReader& read);
    [[nodiscard]] Outcome appendReady(const ZipEntry& entry, const std::string& path, const HandOn& handOn);
    [[nodiscard]] Outcome appendSealed(const ZipEntry& entry, const std::string& path, SpillBuffer& data,
                                       const ContentSum& sum);
    [[nodiscard]] Outcome appendPlain(const ZipEntry& entry, const std::string& path,
                                      const BlockReader& read);
    [[nodiscard]] Outcome appendEncrypted(const ZipEntry& entry, const std::string& path,
                                          const BlockReader& read, const ContentSum& expected);

    [[nodiscard]] int writeEncrypted(TraditionalCipher& cipher, ZipDeflater& deflater,
                                     const BlockReader& read, const ContentSum& expected,
                                     ContentSum& actualOut);
    [[nodiscard]] static Outcome notBegun(const char* invokedFunction, int result, const ZipEntry& entry,
                                          const std::string& path);

    ZipArchive& m_archive;
    std::string_view m_password;
    const std::string& m_spillFolder;
    PackReport& m_report;
    PackProgress* m_progress;
};
