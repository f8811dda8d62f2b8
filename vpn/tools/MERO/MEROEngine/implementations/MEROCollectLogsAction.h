#pragma once

#include "Common/Utility/files/ByteSpool.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"
#include "tools/MERO/MEROEngine/implementations/MEROAction.h"

/// Brings an item's files into the bundle, below the item's folder. A file that can't be found or copied
/// becomes a row of the summary's omitted files, and the others go on.
class MEROCollectLogsAction : public MEROAction {
public:
    MEROCollectLogsAction(const MEROActionInfo& info, MEROComponent* reader, bool adminRun);

    [[nodiscard]] uint32_t performFileAction(MEROXmlObject& subtree,
                                             std::list<MEROCollectedFile>& found) override;
    [[nodiscard]] uint32_t performDirectoryAction(MEROXmlObject& subtree,
                                                  std::list<MEROCollectedFile>& found) override;
    /// Runs a tool. What it prints goes to a file of the item's folder if that is asked for; a file that it
    /// writes elsewhere is fetched. There is a record also for an output that the tool has not made.
    /// @return 0; the parser's code for an instruction that it refuses; MEROENGINE_ERROR_NOT_IMPLEMENTED for
    /// a command line with the session's user in it; the code of running the tool or of fetching its output.
    [[nodiscard]] uint32_t performExternalAction(MEROXmlObject& subtree, std::list<MEROCollectedFile>& found,
                                                 std::list<std::string>& tempFiles) override;

    /// Copies the file of a path, or all matches of a wildcard in its last component. A path without a folder
    /// matches nothing.
    /// @param found  gets a record per copy.
    /// @return 0, also when nothing matched or could be copied (the summary says so); with gather_newest the
    ///         listing's code when nothing matched.
    [[nodiscard]] uint32_t deepFileCopy(const FileActionAttrs& attrs, std::list<MEROCollectedFile>& found);
    /// Copies the matching files of a folder's whole tree, which is rebuilt below the item's folder. The list
    /// of files is made before the first copy. What could not be listed becomes a row of the summary as well.
    /// @return 0.
    [[nodiscard]] uint32_t deepDirectoryCopy(const DirectoryActionAttrs& attrs,
                                             std::list<MEROCollectedFile>& found);

    /// For callers outside of this system: the summary's words for a failed copy; they begin with a blank.
    [[nodiscard]] static const char* getCopyFailureText(uint32_t code);

private:
    /// Puts the path of the newest match of `pattern` in the spool. @return 0 or the code of there being
    /// none.
    [[nodiscard]] static uint32_t findNewest(const std::string& folder, const std::string& pattern,
                                             ByteSpool& matches, const helperUtil::OmissionSink& omitted);
    /// Makes a row of each thing that a listing or a copy leaves out. Not to outlive this object.
    [[nodiscard]] helperUtil::OmissionSink omissionSink() const;
    /// A row under the last part of the path, with the whole path before the reason.
    void recordOmittedPath(const std::string& path, const std::string& reason) const;
    /// Copies one file and appends its record to `found`.
    /// @return empty, or the summary's words for the failure.
    [[nodiscard]] std::string copyIntoBundle(const std::string& source, const std::string& target,
                                             std::list<MEROCollectedFile>& found) const;

    /// Where a tool's output is.
    struct ToolOutput {
        /// Empty for a tool whose output nobody asked for.
        std::string path;
        /// It is written to the item's folder; else it is fetched from where the tool puts it.
        bool inBundle = false;
    };
    [[nodiscard]] ToolOutput outputOf(const ExternalActionAttrs& attrs) const;
    /// Puts values in the place of the tokens of a command line.
    /// @return 0, or the code of a value that can't be had.
    [[nodiscard]] uint32_t replaceTokens(std::string& commandLine) const;
    /// Copies a tool's output into the item's folder. A failure becomes a row of the summary.
    /// @param targetOut  where it is then.
    /// @return 0 or the code of the copy.
    [[nodiscard]] uint32_t fetchOutput(const std::string& source, std::string& targetOut) const;
};
