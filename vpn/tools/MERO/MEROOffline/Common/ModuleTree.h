#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <unordered_map>

/// The levels of the selection tree. Names may carry the _tr("...") marker of the configuration files.

/// One selectable file.
struct FileItem {
    std::string m_id;
    std::string m_label;
    std::string m_description;
    uint32_t m_default = 0;
    uint32_t m_selected = 0;
    /// The platform for which the item is meant on this machine, as the configuration names it; empty for an
    /// item that isn't tied to any.
    std::string m_platform;
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

/// Puts modules into a tree, whose roots it finds without a look at each of them. Used by one thread at a
/// time.
class RootsByName {
public:
    /// @param roots  not owned; must outlive this object. May be sorted and emptied meanwhile.
    explicit RootsByName(std::list<RootItem>& roots) : m_roots(roots) {}
    RootsByName(const RootsByName&) = delete;
    RootsByName& operator=(const RootsByName&) = delete;

    /// Appends a copy of the module to the first root of exactly this name, which is made at the end if there
    /// is none. The root takes over the module's flags that are set.
    void append(const std::string& rootName, const ModuleItem& module);

private:
    std::list<RootItem>& m_roots;
    std::unordered_map<std::string, RootItem*> m_byName;
};

/// Puts the roots into the order in which they are shown: by the bytes of their names, marker included. Roots
/// of one name, modules and files keep the order of their arrival.
void sortRoots(std::list<RootItem>& roots);
