#include "tools/MERO/MEROConsole/ItemListing.h"

#include "tools/MERO/MEROConsole/Utf8Text.h"
#include "tools/MERO/MEROOffline/Common/TrText.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace {

constexpr int kJsonIndent = 2;

std::string printable(const std::string& text, const char* whenBlank) {
    std::string line = onOneLine(text);
    return line.find_first_not_of(' ') == std::string::npos ? whenBlank : line;
}

std::string shownId(const FileItem& file) {
    return printable(file.m_id, "(no id)");
}

std::string fileLine(const FileItem& file, std::size_t idWidth) {
    const std::string id = shownId(file);
    const std::string padding(idWidth - characterCount(id), ' ');
    std::string line = std::string("    ") + (file.m_default != 0 ? "[x] " : "[ ] ");
    line += id;
    line += padding;
    line += "  " + printable(extractTrText(file.m_label), "(no label)");
    if (file.m_platform.empty()) {
        line += "  (any platform)";
    }
    return line + "\n";
}

std::string moduleLines(const ModuleItem& module) {
    std::size_t idWidth = 0;
    for (const FileItem& file : module.m_files) {
        idWidth = std::max(idWidth, characterCount(shownId(file)));
    }
    std::string lines = "  " + printable(extractTrText(module.m_name), "(no title)") + "\n";
    for (const FileItem& file : module.m_files) {
        lines += fileLine(file, idWidth);
    }
    return lines;
}

// Keeps its members in the order in which they are set.
using Json = nlohmann::ordered_json;

Json jsonOf(const ModuleItem& module);
Json jsonOf(const RootItem& root);

Json jsonOf(const FileItem& file) {
    Json json;
    json["id"] = file.m_id;
    json["label"] = extractTrText(file.m_label);
    json["description"] = extractTrText(file.m_description);
    json["default"] = file.m_default != 0;
    json["platform"] = file.m_platform.empty() ? Json(nullptr) : Json(file.m_platform);
    return json;
}

/// A module or a root without what is in it.
template <typename Branch> Json jsonOfBranch(const Branch& branch) {
    Json json;
    json["name"] = extractTrText(branch.m_name);
    json["default"] = branch.m_default != 0;
    return json;
}

template <typename Item> Json jsonOfAll(const std::list<Item>& items) {
    Json json = Json::array();
    for (const Item& item : items) {
        json.push_back(jsonOf(item));
    }
    return json;
}

Json jsonOf(const ModuleItem& module) {
    Json json = jsonOfBranch(module);
    json["files"] = jsonOfAll(module.m_files);
    return json;
}

Json jsonOf(const RootItem& root) {
    Json json = jsonOfBranch(root);
    json["modules"] = jsonOfAll(root.m_modules);
    return json;
}

} // namespace

std::string textListing(const std::list<RootItem>& roots) {
    std::string text;
    for (const RootItem& root : roots) {
        text += printable(extractTrText(root.m_name), "(no name)") + "\n";
        for (const ModuleItem& module : root.m_modules) {
            text += moduleLines(module);
        }
    }
    return text;
}

std::string jsonListing(const std::list<RootItem>& roots) {
    Json json;
    json["roots"] = jsonOfAll(roots);
    // Bytes that are no UTF-8 give a replacement character and not an exception.
    return json.dump(kJsonIndent, ' ', false, Json::error_handler_t::replace) + "\n";
}
