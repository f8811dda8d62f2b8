#pragma once

#include "MEROAction.h"

/// Brings an item's files into the bundle.
class MEROCollectLogsAction : public MEROAction {
public:
    MEROCollectLogsAction(const MEROActionInfo& info, MEROComponent* reader, bool adminRun);

    [[nodiscard]] uint32_t performFileAction(MEROXmlObject& subtree,
                                             std::list<MEROCollectedFile>& found) override;
    [[nodiscard]] uint32_t performDirectoryAction(MEROXmlObject& subtree,
                                                  std::list<MEROCollectedFile>& found) override;
    /// Running tools is not available yet: logged, nothing is run, MEROENGINE_ERROR_NOT_IMPLEMENTED.
    [[nodiscard]] uint32_t performExternalAction(MEROXmlObject& subtree, std::list<MEROCollectedFile>& found,
                                                 std::list<std::string>& tempFiles) override;

    /// Copies the file of a path, or all matches of a wildcard in its last component.
    /// @return 0, also when nothing matched (the summary says so); the listing's code with gather_newest;
    ///         MEROENGINE_ERROR_UNEXPECTED when a folder can't be made.
    [[nodiscard]] uint32_t deepFileCopy(const FileActionAttrs& attrs, std::list<MEROCollectedFile>& found);
    /// Copies the matching files of a folder's whole tree.
    /// @return 0 or MEROENGINE_ERROR_UNEXPECTED, as above.
    [[nodiscard]] uint32_t deepDirectoryCopy(const DirectoryActionAttrs& attrs,
                                             std::list<MEROCollectedFile>& found);

    /// The summary's words for a failed copy; they begin with a blank.
    [[nodiscard]] static const char* getCopyFailureText(uint32_t code);
};
