#include "tools/MERO/MEROEngine/implementations/ClearPreview.h"

#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"
#include "tools/MERO/MEROEngine/implementations/ItemWalk.h"
#include "tools/MERO/MEROEngine/implementations/NotedClearing.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"

#include <memory>
#include <utility>

namespace {

std::string textBelow(const MEROComponent& component, const char* name) {
    const MEROComponent* child = component.FindChild(name);
    return child == nullptr ? std::string() : child->getValue();
}

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
