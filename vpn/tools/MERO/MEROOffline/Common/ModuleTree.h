#pragma once

#include <cstdint>
#include <list>
#include <string>

/// The levels of the selection tree. Names may carry the _tr("...") marker of the configuration files.

/// One selectable file.
struct FileItem {
    std::string m_id;
    std::string m_label;
    std::string m_description;
    uint32_t m_default = 0;
    uint32_t m_selected = 0;
};

/// One group of files with a title.
struct ModuleItem {
    std::string m_name;
    uint32_t m_default = 0;
    uint32_t m_selected = 0;
    std::list<FileItem> m_files;
};

/// One branch of the tree.
struct RootItem {
    std::string m_name;
    uint32_t m_default = 0;
    uint32_t m_selected = 0;
    std::list<ModuleItem> m_modules;
};
