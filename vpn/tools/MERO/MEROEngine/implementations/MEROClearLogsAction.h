#pragma once

#include "MEROAction.h"

/// Clears an item's logs. Not available yet: each instruction is logged, nothing is deleted or run, and the
/// result is MEROENGINE_ERROR_NOT_IMPLEMENTED.
class MEROClearLogsAction : public MEROAction {
public:
    /// @param adminRun  ignored: clearing never uses administrator arguments.
    MEROClearLogsAction(const MEROActionInfo& info, MEROComponent* reader, bool adminRun);

    [[nodiscard]] uint32_t performFileAction(MEROXmlObject& subtree,
                                             std::list<MEROCollectedFile>& found) override;
    /// Folders are never cleared: 0 at once.
    [[nodiscard]] uint32_t performDirectoryAction(MEROXmlObject& subtree,
                                                  std::list<MEROCollectedFile>& found) override;
    [[nodiscard]] uint32_t performExternalAction(MEROXmlObject& subtree, std::list<MEROCollectedFile>& found,
                                                 std::list<std::string>& tempFiles) override;
};
