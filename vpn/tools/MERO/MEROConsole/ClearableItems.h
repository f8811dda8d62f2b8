#pragma once

#include <list>
#include <string>

class MEROComponent;
class MEROXmlObject;

/// One thing that clearing an item does: it deletes files or runs a command.
struct ClearStep {
    /// The files as the configuration names them, wildcards and variables included; empty for a command.
    std::string files;
    /// The same with the variables replaced.
    std::string translatedFiles;
    /// The command with its folder, for a step without files.
    std::string command;
};

/// An item on which the engine acts when it clears logs.
struct ClearableItem {
    std::string id;
    /// The item's description, its label if it has none.
    std::string text;
    /// Never empty; in the order in which they are done.
    std::list<ClearStep> steps;
};

/// What a clear run would act on, found in the configuration files by the rules of the engine. Used by one
/// thread.
class ClearableItems {
public:
    /// Reads the configuration files; former items are dropped.
    /// @param installDirectory  folder that holds xml/config/; empty for the one of the executable.
    void scan(const std::string& installDirectory);
    /// Whether the last scan found a good configuration file.
    [[nodiscard]] bool hasConfiguration() const { return m_hasConfiguration; }
    /// Full paths of the files that the last scan could not read.
    [[nodiscard]] const std::list<std::string>& failedFiles() const { return m_failedFiles; }
    /// In the order in which the engine takes them.
    [[nodiscard]] const std::list<ClearableItem>& items() const { return m_items; }

private:
    void addGroup(const MEROComponent& group);
    void addItem(const MEROComponent& file);
    /// The instructions of an item for this platform, or null.
    [[nodiscard]] MEROComponent* instructionsOf(const MEROComponent& file);

    std::list<ClearableItem> m_items;
    std::list<std::string> m_failedFiles;
    bool m_hasConfiguration = false;
    /// Where the last item's instructions were looked for; a view into a tree, of use during a scan only.
    MEROComponent* m_reader = nullptr;
};
