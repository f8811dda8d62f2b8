#include "tests/unit/selection/SelectionPicture.h"

#include <stdexcept>

namespace {

/// A node of a picture before it is known what it stands for.
using Node = ReferenceRow;

std::vector<Node> readNodes(std::string_view& rest) {
    std::vector<Node> nodes;
    while (!rest.empty() && rest.front() != ']') {
        if (rest.front() == ' ') {
            rest.remove_prefix(1);
            continue;
        }
        if (rest.front() != '+' && rest.front() != '-') {
            throw std::invalid_argument("no sign at " + std::string(rest));
        }
        Node node;
        node.checked = rest.front() == '+';
        rest.remove_prefix(1);
        const std::size_t end = std::min(rest.find_first_of("[] "), rest.size());
        node.text = rest.substr(0, end);
        rest.remove_prefix(end);
        if (!rest.empty() && rest.front() == '[') {
            rest.remove_prefix(1);
            node.below = readNodes(rest);
            if (rest.empty()) {
                throw std::invalid_argument("a bracket stays open");
            }
            rest.remove_prefix(1);
        }
        nodes.push_back(node);
    }
    return nodes;
}

} // namespace

std::list<RootItem> recordsOf(std::string_view picture) {
    std::list<RootItem> records;
    for (const Node& rootNode : readNodes(picture)) {
        RootItem& root = records.emplace_back();
        root.m_name = rootNode.text;
        root.m_selected = rootNode.checked ? 1 : 0;
        for (const Node& moduleNode : rootNode.below) {
            ModuleItem& module = root.m_modules.emplace_back();
            module.m_name = moduleNode.text;
            module.m_selected = moduleNode.checked ? 1 : 0;
            for (const Node& fileNode : moduleNode.below) {
                FileItem& file = module.m_files.emplace_back();
                file.m_id = "id-" + fileNode.text;
                file.m_label = fileNode.text;
                file.m_selected = fileNode.checked ? 1 : 0;
            }
        }
    }
    return records;
}

std::vector<ReferenceRow> rowsOf(const std::list<RootItem>& records) {
    std::vector<ReferenceRow> roots;
    for (const RootItem& root : records) {
        ReferenceRow& rootRow = roots.emplace_back(ReferenceRow{root.m_name, root.m_selected != 0, {}});
        for (const ModuleItem& module : root.m_modules) {
            ReferenceRow& moduleRow =
                rootRow.below.emplace_back(ReferenceRow{module.m_name, module.m_selected != 0, {}});
            for (const FileItem& file : module.m_files) {
                moduleRow.below.push_back({file.m_label, file.m_selected != 0, {}});
            }
        }
    }
    return roots;
}

void PrintTo(const ReferenceRow& row, std::ostream* out) {
    *out << pictureOf(std::vector<ReferenceRow>{row});
}

std::string pictureOf(const std::list<RootItem>& records) {
    return pictureOf(rowsOf(records));
}

std::string pictureOf(const std::vector<ReferenceRow>& rows) {
    std::string picture;
    for (const ReferenceRow& row : rows) {
        picture += picture.empty() ? "" : " ";
        picture += row.checked ? '+' : '-';
        picture += row.text;
        if (!row.below.empty()) {
            picture.append("[").append(pictureOf(row.below)).append("]");
        }
    }
    return picture;
}
