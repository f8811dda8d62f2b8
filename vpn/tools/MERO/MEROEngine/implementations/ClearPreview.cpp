#include "tools/MERO/MEROEngine/implementations/ClearPreview.h"

#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"
#include "tools/MERO/MEROEngine/implementations/ItemWalk.h"
#include "tools/MERO/MEROEngine/implementations/MEROAction.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"

#include <memory>
#include <utility>

namespace {

std::string textBelow(const MEROComponent& component, const char* name) {
    const MEROComponent* child = component.FindChild(name);
    return child == nullptr ? std::string() : child->getValue();
}

/// Goes through an item's instructions as every action does, and notes what clearing would do instead of
/// doing it.
class NotedClearing : public MEROAction {
public:
    explicit NotedClearing(MEROComponent* instructions) : MEROAction(MEROActionInfo{}, instructions, false) {}

    [[nodiscard]] std::list<ClearStep> steps() {
        std::list<MEROCollectedFile> none;
        Perform(none);
        return std::move(m_steps);
    }

    [[nodiscard]] uint32_t performFileAction(MEROXmlObject& subtree,
                                             std::list<MEROCollectedFile>& /*found*/) override {
        FileActionAttrs attrs;
        const uint32_t code = parseFileActionAttributes(subtree, attrs);
        if (code == 0 && attrs.clearLog) {
            m_steps.push_back({.files = attrs.path, .translatedFiles = attrs.translatedPath, .command = {}});
        }
        return code;
    }

    [[nodiscard]] uint32_t performDirectoryAction(MEROXmlObject& /*subtree*/,
                                                  std::list<MEROCollectedFile>& /*found*/) override {
        return 0; // folders are never cleared
    }

    [[nodiscard]] uint32_t performExternalAction(MEROXmlObject& subtree,
                                                 std::list<MEROCollectedFile>& /*found*/,
                                                 std::list<std::string>& /*tempFiles*/) override {
        ExternalActionAttrs attrs;
        const uint32_t code = parseExternalActionAttributes(subtree, false, attrs);
        if (code == 0 && attrs.clearLog) {
            const std::string folder = helperUtil::translatePath(attrs.path);
            m_steps.push_back(
                {.files = {},
                 .translatedFiles = {},
                 .command = folder.empty() ? attrs.clearArguments : folder + "/" + attrs.clearArguments});
        }
        return code;
    }

private:
    std::list<ClearStep> m_steps;
};

void addItems(const MEROXmlObject& tree, ItemWalk& walk, ClearPreview& preview) {
    for (const MEROComponent* group : walk.groupsOf(tree)) {
        for (const WalkedItem& item : walk.itemsOf(*group)) {
            MEROComponent* section = item.isDefault ? walk.instructionsOf(*item.element).section : nullptr;
            if (section == nullptr) {
                continue;
            }
            if (std::list<ClearStep> steps = NotedClearing(section).steps(); !steps.empty()) {
                preview.items.push_back({.id = item.id,
                                         .description = textBelow(*item.element, "description"),
                                         .label = textBelow(*item.element, "label"),
                                         .steps = std::move(steps)});
            }
        }
    }
}

} // namespace

ClearPreview previewClearRun(const std::string& installDirectory) {
    MEROXmlLoader loader;
    std::list<MEROXmlObject*> trees;
    // How many trees there are tells whether it worked.
    static_cast<void>(loader.load(helperUtil::getConfigDirectory(installDirectory), kLoadFolder, trees));
    std::list<std::unique_ptr<MEROXmlObject>> owned;
    for (MEROXmlObject* tree : trees) {
        owned.emplace_back(tree);
    }
    ClearPreview preview{
        .hasConfiguration = !owned.empty(), .failedFiles = loader.getFailedFiles(), .items = {}};
    ItemWalk walk(kEngineRules);
    for (const auto& tree : owned) {
        addItems(*tree, walk, preview);
    }
    return preview;
}
