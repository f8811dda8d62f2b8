#pragma once

#include "Files.h"
#include "MEROAction.h"

/// Brings an item's files into the bundle, below the item's folder. A file that can't be found or copied
/// becomes a row of the summary's omitted files, and the others go on.
class MEROCollectLogsAction : public MEROAction {
public:
    MEROCollectLogsAction(const MEROActionInfo& info, MEROComponent* reader, bool adminRun);

    [[nodiscard]] uint32_t performFileAction(MEROXmlObject& subtree,
                                             std::list<MEROCollectedFile>& found) override;
    [[nodiscard]] uint32_t performDirectoryAction(MEROXmlObject& subtree,
                                                  std::list<MEROCollectedFile>& found) override;
    /// Running tools is not available yet: a log line and a row of the summary say so, nothing is run.
    /// @return MEROENGINE_ERROR_NOT_IMPLEMENTED, or the parser's code for an instruction that it refuses.
    [[nodiscard]] uint32_t performExternalAction(MEROXmlObject& subtree, std::list<MEROCollectedFile>& found,
                                                 std::list<std::string>& tempFiles) override;

    /// Copies the file of a path, or all matches of a wildcard in its last component. A path without a folder
    /// matches nothing.
    /// @param found  gets a record per copy; holds those made so far when the result isn't 0.
    /// @return 0, also when nothing matched (the summary says so); with gather_newest the listing's code when
    ///         nothing matched; MEROENGINE_ERROR_UNEXPECTED when a folder can't be made: no row then, and
    ///         the rest is not tried.
    [[nodiscard]] uint32_t deepFileCopy(const FileActionAttrs& attrs, std::list<MEROCollectedFile>& found);
    /// Copies the matching files of a folder's whole tree, which is rebuilt below the item's folder. The list
    /// of files is made before the first copy.
    /// @return 0 or MEROENGINE_ERROR_UNEXPECTED, as above.
    [[nodiscard]] uint32_t deepDirectoryCopy(const DirectoryActionAttrs& attrs,
                                             std::list<MEROCollectedFile>& found);

    /// The summary's words for a failed copy; they begin with a blank.
    [[nodiscard]] static const char* getCopyFailureText(uint32_t code);

private:
    /// Puts the newest match of `pattern` in the list. @return 0 or the code of there being none.
    [[nodiscard]] static uint32_t findNewest(const std::string& folder, const std::string& pattern,
                                             std::list<helperUtil::FoundFile>& matches);
    /// Copies one file and appends its record to `found`.
    /// @return empty, or the summary's words for the failure.
    [[nodiscard]] std::string copyIntoBundle(const std::string& source, const std::string& target,
                                             std::list<MEROCollectedFile>& found) const;
    /// Adds a row to the summary's omitted files.
    void recordOmitted(const std::string& fileText, const std::string& reason) const;
};
