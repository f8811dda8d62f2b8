#include "tests/unit/selection/ReferenceSelection.h"

#include <cstring>
#include <utility>

namespace {

bool anyChecked(const std::vector<ReferenceRow>& rows) {
    for (const ReferenceRow& row : rows) {
        if (row.checked) {
            return true;
        }
    }
    return false;
}

/// Whether `left` stands before `right` in the order of their bytes, a beginning before what goes on.
bool standsBefore(const std::string& left, const std::string& right) {
    const std::size_t common = left.size() < right.size() ? left.size() : right.size();
    const int order = std::memcmp(left.data(), right.data(), common);
    return order == 0 ? left.size() < right.size() : order < 0;
}

ReferenceRow* rowAt(std::vector<ReferenceRow>& rows, int position) {
    return position >= 0 && static_cast<std::size_t>(position) < rows.size()
               ? &rows[static_cast<std::size_t>(position)]
               : nullptr;
}

} // namespace

ReferenceSelection::ReferenceSelection(ShownText shownText, std::list<RootItem> records)
    : m_shownText(std::move(shownText)), m_roots(std::move(records)) {}

void ReferenceSelection::addModule(const std::string& rootName, const ModuleItem& module) {
    RootItem* target = nullptr;
    for (RootItem& root : m_roots) {
        if (target == nullptr && root.m_name == rootName) {
            target = &root;
        }
    }
    if (target == nullptr) {
        target = &m_roots.emplace_back();
        target->m_name = rootName;
    }
    target->m_modules.push_back(module);
    if (module.m_selected != 0) {
        target->m_selected = 1;
    }
    if (module.m_default != 0) {
        target->m_default = 1;
    }
}

void ReferenceSelection::populate() {
    std::list<RootItem> sorted;
    for (const RootItem& root : m_roots) {
        auto place = sorted.begin();
        while (place != sorted.end() && !standsBefore(root.m_name, place->m_name)) {
            ++place;
        }
        sorted.insert(place, root);
    }
    m_roots = sorted;

    m_rows.clear();
    for (const RootItem& root : m_roots) {
        ReferenceRow rootRow{m_shownText(root.m_name), root.m_selected != 0, {}};
        for (const ModuleItem& module : root.m_modules) {
            ReferenceRow moduleRow{m_shownText(module.m_name), module.m_selected != 0, {}};
            for (const FileItem& file : module.m_files) {
                moduleRow.below.push_back({m_shownText(file.m_label), file.m_selected != 0, {}});
            }
            rootRow.below.push_back(moduleRow);
        }
        m_rows.push_back(rootRow);
    }
}

void ReferenceSelection::onCheckToggled(const std::vector<int>& path, bool old) {
    ReferenceRow* above = nullptr;
    ReferenceRow* parent = nullptr;
    ReferenceRow* row = nullptr;
    std::vector<ReferenceRow>* level = &m_rows;
    for (const int position : path) {
        above = parent;
        parent = row;
        row = rowAt(*level, position);
        if (row == nullptr) {
            return;
        }
        level = &row->below;
    }
    if (row == nullptr) {
        return;
    }
    row->checked = !old;
    if (parent == nullptr) {
        clickRoot(*row, old);
    } else if (!row->below.empty()) {
        clickModule(*parent, *row, old);
    } else {
        clickFile(above, *parent, old);
    }
}

void ReferenceSelection::clickRoot(ReferenceRow& row, bool old) {
    if (!old) {
        applyToModules(row, nullptr, isNothingStored(row, 0) ? Mode::CheckAll : Mode::Restore);
    } else {
        applyToModules(row, nullptr, Mode::Clear);
        applyToModules(row, nullptr, Mode::Store);
    }
}

void ReferenceSelection::clickModule(ReferenceRow& root, ReferenceRow& row, bool old) {
    if (!old) {
        applyToFiles(row, isNothingStored(row, 1) ? Mode::CheckAll : Mode::Restore);
        root.checked = true;
    } else {
        applyToFiles(row, Mode::Clear);
        applyToModules(root, &row, Mode::Store);
        if (!anyChecked(root.below)) {
            root.checked = false;
        }
    }
}

void ReferenceSelection::clickFile(ReferenceRow* root, ReferenceRow& module, bool old) {
    if (!old) {
        module.checked = true;
    } else if (!anyChecked(module.below)) {
        module.checked = false;
    }
    if (root != nullptr) {
        root->checked = anyChecked(root->below);
    }
}

bool ReferenceSelection::isNothingStored(const ReferenceRow& row, int level) const {
    for (const RootItem& root : m_roots) {
        if (level == 0 && m_shownText(root.m_name) == row.text) {
            for (const ModuleItem& module : root.m_modules) {
                if (module.m_selected != 0) {
                    return false;
                }
            }
        }
        for (const ModuleItem& module : root.m_modules) {
            if (level == 1 && m_shownText(module.m_name) == row.text) {
                for (const FileItem& file : module.m_files) {
                    if (file.m_selected != 0) {
                        return false;
                    }
                }
            }
        }
    }
    return true;
}

void ReferenceSelection::apply(ReferenceRow& row, uint32_t& selected, Mode mode) {
    switch (mode) {
    case Mode::Restore:
        row.checked = selected != 0;
        break;
    case Mode::Store:
        selected = row.checked ? 1 : 0;
        break;
    case Mode::Clear:
        row.checked = false;
        break;
    case Mode::CheckAll:
        row.checked = true;
        break;
    }
}

void ReferenceSelection::applyToModules(ReferenceRow& rootRow, const ReferenceRow* moduleRow, Mode mode) {
    for (RootItem& root : m_roots) {
        if (m_shownText(root.m_name) != rootRow.text) {
            continue;
        }
        for (ReferenceRow& child : rootRow.below) {
            if (mode == Mode::Clear) {
                child.checked = false;
                continue;
            }
            for (ModuleItem& module : root.m_modules) {
                if (m_shownText(module.m_name) == child.text) {
                    apply(child, module.m_selected, mode);
                    break;
                }
            }
        }
    }
    if (moduleRow != nullptr && mode == Mode::Store) {
        for (ReferenceRow& child : rootRow.below) {
            if (child.text == moduleRow->text) {
                applyToFiles(child, Mode::Store);
            }
        }
        return;
    }
    for (ReferenceRow& child : rootRow.below) {
        applyToFiles(child, mode);
    }
}

void ReferenceSelection::applyToFiles(ReferenceRow& moduleRow, Mode mode) {
    for (RootItem& root : m_roots) {
        for (ModuleItem& module : root.m_modules) {
            if (m_shownText(module.m_name) != moduleRow.text) {
                continue;
            }
            for (ReferenceRow& child : moduleRow.below) {
                if (mode == Mode::Clear) {
                    child.checked = false;
                    continue;
                }
                for (FileItem& file : module.m_files) {
                    if (m_shownText(file.m_label) == child.text) {
                        apply(child, file.m_selected, mode);
                        break;
                    }
                }
            }
        }
    }
}

void ReferenceSelection::SaveTreeViewToList() {
    for (ReferenceRow& rootRow : m_rows) {
        RootItem* found = nullptr;
        for (RootItem& root : m_roots) {
            if (found == nullptr && m_shownText(root.m_name) == rootRow.text) {
                found = &root;
            }
        }
        if (found == nullptr) {
            continue;
        }
        found->m_selected = rootRow.checked ? 1 : 0;
        for (ReferenceRow& child : rootRow.below) {
            for (ModuleItem& module : found->m_modules) {
                if (m_shownText(module.m_name) == child.text) {
                    module.m_selected = child.checked ? 1 : 0;
                    applyToFiles(child, Mode::Store);
                }
            }
        }
    }
}

std::string textWithoutMarker(const std::string& text) {
    const std::string opening = "_tr(\"";
    const std::size_t from = text.find(opening);
    const std::size_t to = text.find("\")");
    if (from == std::string::npos || to == std::string::npos || to < from + opening.size()) {
        return text;
    }
    return text.substr(from + opening.size(), to - from - opening.size());
}
