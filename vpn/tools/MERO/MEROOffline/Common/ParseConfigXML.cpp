#include "ParseConfigXML.h"

#include "AttributeText.h"
#include "Log.h"
#include "Paths.h"
#include "PlatformSection.h"
#include "ReturnCodes.h"

#include <exception>

namespace {

void readLabel(const MEROComponent& gui, FileItem& item) {
    for (const MEROComponent* child : gui.getChildren()) {
        if (child->getName() == "label") {
            item.m_label = child->getValue();
        }
    }
}

/// @return whether the item is meant for this platform.
bool readPlatform(const MEROComponent& instructions, FileItem& item) {
    const MEROComponent* section = findPlatformSection(instructions);
    item.m_platform = section == nullptr ? std::string() : attributeOf(*section, "opsys");
    return section != nullptr;
}

/// @return nothing for an item of another platform.
std::optional<FileItem> readFile(const MEROComponent& file) {
    FileItem item;
    item.m_id = attributeOf(file, "id");
    bool keep = true;
    for (const MEROComponent* child : file.getChildren()) {
        const std::string& name = child->getName();
        if (name == "gui") {
            readLabel(*child, item);
        } else if (name == "default") {
            item.m_default = child->getValue() == "true" ? 1 : 0;
            item.m_selected = item.m_default;
        } else if (name == "description") {
            item.m_description = child->getValue();
        } else if (name == "mero") {
            keep = readPlatform(*child, item);
        }
    }
    return keep ? std::optional(item) : std::nullopt;
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
    if (m_pOfflineIfc == nullptr || tree.GetRoot() == nullptr) {
        return;
    }
    for (const MEROComponent* group : tree.GetRoot()->getChildren()) {
        scanGroup(*group);
    }
}

void ParseConfigXML::scanGroup(const MEROComponent& group) {
    const MEROAttribute* rootName = group.FindAttribute("treeRootName");
    if (rootName == nullptr) {
        return;
    }
    ModuleItem module;
    bool seenTitle = false;
    bool anyDefault = false;
    for (const MEROComponent* child : group.getChildren()) {
        if (child->getName() == "title") {
            module.m_name = child->getValue();
            seenTitle = true;
        } else if (child->getName() == "file") {
            if (std::optional<FileItem> item = readFile(*child)) {
                anyDefault = anyDefault || item->m_default != 0;
                module.m_files.push_back(std::move(*item));
            }
        }
    }
    if (!seenTitle || module.m_files.empty()) {
        return;
    }
    module.m_default = anyDefault ? 1 : 0;
    module.m_selected = module.m_default;
    m_pOfflineIfc->addModule(rootName->getValue(), module);
}
