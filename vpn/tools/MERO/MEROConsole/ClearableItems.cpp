#include "ClearableItems.h"

#include "MEROAction.h"
#include "MEROXmlLoader.h"
#include "Paths.h"
#include "PlatformSection.h"
#include "TrText.h"

#include <memory>
#include <utility>

namespace {

std::string idOf(const MEROComponent& component) {
    const MEROAttribute* attribute = component.FindAttribute("id");
    return attribute == nullptr ? std::string() : attribute->getValue();
}

std::string textBelow(const MEROComponent& component, const char* name) {
    const MEROComponent* child = component.FindChild(name);
    return child == nullptr ? std::string() : extractTrText(child->getValue());
}

/// Items without an id are neither less nor greater than any other, so only the list's own sort, which is the
/// engine's, gives its order.
bool hasLowerId(const MEROComponent* left, const MEROComponent* right) {
    const MEROAttribute* leftId = left->FindAttribute("id");
    const MEROAttribute* rightId = right->FindAttribute("id");
    return leftId != nullptr && rightId != nullptr && leftId->getValue() < rightId->getValue();
}

/// Goes through an item's instructions as every action does, and notes what clearing would do instead of
/// doing it.
class ClearPreview : public MEROAction {
public:
    explicit ClearPreview(MEROComponent* instructions) : MEROAction(MEROActionInfo{}, instructions, false) {}

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

} // namespace

void ClearableItems::scan(const std::string& installDirectory) {
    *this = ClearableItems();
    MEROXmlLoader loader;
    std::list<MEROXmlObject*> trees;
    // How many trees there are tells whether it worked.
    static_cast<void>(loader.load(helperUtil::getConfigDirectory(installDirectory), kLoadFolder, trees));
    std::list<std::unique_ptr<MEROXmlObject>> owned;
    for (MEROXmlObject* tree : trees) {
        owned.emplace_back(tree);
    }
    m_hasConfiguration = !owned.empty();
    m_failedFiles = loader.getFailedFiles();
    for (const auto& tree : owned) {
        if (tree->GetRoot() == nullptr) {
            continue;
        }
        for (const MEROComponent* group : tree->GetRoot()->getChildren()) {
            if (group->getName() == "fileGroup") {
                addGroup(*group);
            }
        }
    }
    m_reader = nullptr;
}

void ClearableItems::addGroup(const MEROComponent& group) {
    std::list<MEROComponent*> files = group.getChildren();
    files.remove_if([](const MEROComponent* child) { return child->getName() != "file"; });
    files.sort(hasLowerId);
    for (const MEROComponent* file : files) {
        addItem(*file);
    }
}

void ClearableItems::addItem(const MEROComponent& file) {
    const MEROComponent* mark = file.FindChild("default");
    if (mark == nullptr || mark->getValue() != "true") {
        return;
    }
    MEROComponent* instructions = instructionsOf(file);
    if (instructions == nullptr) {
        return;
    }
    std::list<ClearStep> steps = ClearPreview(instructions).steps();
    if (steps.empty()) {
        return;
    }
    const std::string description = textBelow(file, "description");
    m_items.push_back({.id = idOf(file),
                       .text = description.empty() ? textBelow(file, "label") : description,
                       .steps = std::move(steps)});
}

// An item without instructions is looked for below those of the item before it, as the engine does.
MEROComponent* ClearableItems::instructionsOf(const MEROComponent& file) {
    if (MEROComponent* instructions = file.FindChild("mero"); instructions != nullptr) {
        m_reader = instructions;
    }
    MEROComponent* section = m_reader == nullptr ? nullptr : findPlatformSection(*m_reader);
    if (section != nullptr) {
        m_reader = section;
    }
    return section;
}
