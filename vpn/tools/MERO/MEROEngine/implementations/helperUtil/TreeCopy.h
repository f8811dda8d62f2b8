#pragma once

#include "tools/MERO/MEROEngine/implementations/helperUtil/FileAccess.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"

#include <cstdint>
#include <string>
#include <vector>

namespace helperUtil {

/// A folder under copy, and the ones above it in the same copy.
struct FolderCopy {
    FolderId source;
    FolderId destination;
    const FolderCopy* above = nullptr;
};

/// How the copy of one path failed, or that it didn't.
struct CopyFailure {
    uint32_t code = 0;
    std::string errorText;
    /// It is a folder that could not be read.
    bool isUnlistedFolder = false;
};

/// One copy with all folders that it goes through, whose log lines are those of fileCopy. Lives for one use,
/// on one thread.
class TreeCopy {
public:
    /// @param omitted  outlives this object.
    explicit TreeCopy(const OmissionSink& omitted) : m_omitted(omitted) {}

    /// Copies a file, or a folder with what is in it, over whatever stands at the destination.
    /// @param above  the folder that is being copied and `source` is in, or null.
    [[nodiscard]] CopyFailure copyPath(const std::string& source, const std::string& destination,
                                       const FolderCopy* above);

private:
    [[nodiscard]] CopyFailure copyFolder(const std::string& source, const std::string& destination,
                                         const FolderCopy* above);
    [[nodiscard]] CopyFailure beginFolder(const std::string& source, const std::string& destination,
                                          FolderCopy& here, std::vector<std::string>& namesOut);
    void readNames(DIR* folder, const std::string& source, std::vector<std::string>& namesOut) const;
    void copyEntry(const std::string& source, const std::string& destination, const FolderCopy& folder);
    void leaveOut(const std::string& path, const std::string& reason) const;

    const OmissionSink& m_omitted;
    FolderVisits m_visits;
};

} // namespace helperUtil
