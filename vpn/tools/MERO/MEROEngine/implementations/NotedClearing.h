#pragma once

#include "tools/MERO/MEROEngine/implementations/ClearStep.h"
#include "tools/MERO/MEROEngine/implementations/MEROAction.h"

#include <list>
#include <string>

/// Goes through an item's instructions as every action does, and notes what clearing would do instead of
/// doing it. Lives for one use, on one thread.
class NotedClearing : public MEROAction {
public:
    /// @param instructions  the item's os element; a view.
    explicit NotedClearing(MEROComponent* instructions) : MEROAction(MEROActionInfo{}, instructions, false) {}

    /// The steps in the order in which they would be done. Once per object.
    [[nodiscard]] std::list<ClearStep> steps();

    [[nodiscard]] uint32_t performFileAction(MEROXmlObject& subtree,
                                             std::list<MEROCollectedFile>& found) override;
    [[nodiscard]] uint32_t performDirectoryAction(MEROXmlObject& subtree,
                                                  std::list<MEROCollectedFile>& found) override;
    [[nodiscard]] uint32_t performExternalAction(MEROXmlObject& subtree, std::list<MEROCollectedFile>& found,
                                                 std::list<std::string>& tempFiles) override;

private:
    std::list<ClearStep> m_steps;
};
