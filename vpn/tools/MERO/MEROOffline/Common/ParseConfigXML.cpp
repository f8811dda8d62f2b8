#include "tools/MERO/MEROOffline/Common/ParseConfigXML.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"
#include "tools/MERO/MEROEngine/implementations/ItemWalk.h"
#include "tools/MERO/MEROEngine/implementations/parser/AttributeText.h"

#include <algorithm>
#include <exception>
#include <optional>

namespace {

void readLabel(const MEROComponent& gui, FileItem& item) {
    for (const MEROComponent* child : gui.getChildren()) {
        if (child->getName() == "label") {
            item.m_label = child->getValue();
        }
    }
}

FileItem fileItemOf(const WalkedItem& item) {
    FileItem file;
    file.m_id = item.id;
    file.m_default = item.isDefault ? 1 : 0;
    file.m_selected = file.m_default;
    for (const MEROComponent* child : item.element->getChildren()) {
        if (child->getName() == "gui") {
            readLabel(*child, file);
        } else if (child->getName() == "description") {
            file.m_description = child->getValue();
        }
    }
    return file;
}

/// The title of a group, if it has one.
std::optional<std::string> titleOf(const MEROComponent& group) {
    std::optional<std::string> title;
    for (const MEROComponent* child : group.getChildren()) {
        if (child->getName() == "title") {
            title = child->getValue();
        }
    }
    return title;
}

} // namespace

ParseConfigXML::ParseConfigXML(CMEROClientIfc* client, CMEROOfflineIfc* /*offline*/,
                               const std::string& installPath)
    : m_pClient(client), m_pOfflineIfc(dynamic_cast<CMEROOfflineIfc*>(client)), m_installPath(installPath) {}

ParseConfigXML::~ParseConfigXML() {
    for (MEROXmlObject* tree : m_trees) {
        delete tree;
    }
}

// The status says success whatever was found: an empty tree is then what the user sees.
void ParseConfigXML::run() {
    try {
        scan();
    } catch (const std::exception& error) {
        ZRN_LOG('E', "The scan of the configuration can't go on: %s", error.what());
    }
    if (m_pClient != nullptr) {
        m_pClient->updateStatus(nullptr, MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS);
    }
}

std::list<std::string> ParseConfigXML::getFailedFiles() const {
    return m_pLoader == nullptr ? std::list<std::string>() : m_pLoader->getFailedFiles();
}

void ParseConfigXML::scan() {
    m_pLoader = std::make_unique<MEROXmlLoader>();
    // Whichever files are good are in the list, however many failed.
    static_cast<void>(m_pLoader->load(helperUtil::getConfigDirectory(m_installPath), kLoadFolder, m_trees));
    for (const MEROXmlObject* tree : m_trees) {
        scanTree(*tree);
    }
}

void ParseConfigXML::scanTree(const MEROXmlObject& tree) {
    if (m_pOfflineIfc == nullptr) {
        return;
    }
    ItemWalk walk(kScanRules);
    for (const MEROComponent* group : walk.groupsOf(tree)) {
        scanGroup(*group, walk);
    }
}

void ParseConfigXML::scanGroup(const MEROComponent& group, ItemWalk& walk) {
    ModuleItem module;
    for (const WalkedItem& item : walk.itemsOf(group)) {
        const ItemInstructions instructions = walk.instructionsOf(*item.element);
        if (instructions.areGiven && instructions.section == nullptr) {
            continue; // meant for other platforms
        }
        FileItem& file = module.m_files.emplace_back(fileItemOf(item));
        if (instructions.section != nullptr) {
            file.m_platform = attributeOf(*instructions.section, "opsys");
        }
        module.m_default = std::max(module.m_default, file.m_default);
    }
    const std::optional<std::string> title = titleOf(group);
    if (!title || module.m_files.empty()) {
        return;
    }
    module.m_name = *title;
    module.m_selected = module.m_default;
    m_pOfflineIfc->addModule(attributeOf(group, "treeRootName"), module);
}
