#pragma once

#include "tools/MERO/MEROEngine/implementations/MEROAction.h"

/// Clears an item's logs: acts on the instructions that carry clear_log with apply "true", and on no other.
/// Nothing is recorded and nothing stops the run.
class MEROClearLogsAction : public MEROAction {
public:
    /// @param adminRun  ignored: clearing never uses administrator arguments.
    MEROClearLogsAction(const MEROActionInfo& info, MEROComponent* reader, bool adminRun);

    /// Deletes the files that the instruction names.
    /// @return the parser's code.
    [[nodiscard]] uint32_t performFileAction(MEROXmlObject& subtree,
                                             std::list<MEROCollectedFile>& found) override;
    /// Folders are never cleared: 0 at once.
    [[nodiscard]] uint32_t performDirectoryAction(MEROXmlObject& subtree,
                                                  std::list<MEROCollectedFile>& found) override;
    /// Runs the clear command of the instruction, whose own command line is not run.
    /// @return the parser's code.
    [[nodiscard]] uint32_t performExternalAction(MEROXmlObject& subtree, std::list<MEROCollectedFile>& found,
                                                 std::list<std::string>& tempFiles) override;

    /// Deletes every match directly in the folder, not only the newest. What can't be deleted is logged.
    /// @return 0.
    [[nodiscard]] static uint32_t clearFileLogs(const FileActionAttrs& attrs);
};
