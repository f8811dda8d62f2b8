#pragma once

#include "tools/MERO/MEROEngine/implementations/parser/MEROComponent.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"

#include <list>
#include <string>
#include <vector>

/// How a walk reads what a configuration file may hold in several ways. The engine and the scan for the
/// selection tree differ in these points, on which files in use rely.
struct ItemWalkRules {
    /// Each child of the root that names a tree is a group, instead of each named "fileGroup".
    bool groupsByTree = false;
    /// Items come as they stand in the file, instead of by their ids.
    bool inFileOrder = false;
    /// Of several marks or instructions of one item the last counts, instead of the first.
    bool lastCounts = false;
    /// An item without instructions has those of the item that was asked for before it.
    bool instructionsPassOn = true;
};

inline constexpr ItemWalkRules kEngineRules{};
inline constexpr ItemWalkRules kScanRules{
    .groupsByTree = true, .inFileOrder = true, .lastCounts = true, .instructionsPassOn = false};

/// An item of a group.
struct WalkedItem {
    /// Stays the tree's.
    MEROComponent* element;
    /// Empty for an item without one.
    std::string id;
    /// Whether it is marked as part of a typical bundle.
    bool isDefault;
};

/// What an item says of its instructions.
struct ItemInstructions {
    /// Whether there are any, for whatever platform.
    bool areGiven = false;
    /// Those for this platform, or null; stay the tree's.
    MEROComponent* section = nullptr;
};

/// The way through configuration files: which groups and items are in them, in which order, which of them are
/// default, and where their instructions stand. All that collects, clears or lists items goes this way. Used
/// by one thread; its views are good as long as the trees are.
class ItemWalk {
public:
    explicit ItemWalk(const ItemWalkRules& rules) : m_rules(rules) {}

    /// The groups of a file, in its order; none for an object without a root.
    [[nodiscard]] std::list<MEROComponent*> groupsOf(const MEROXmlObject& config) const;
    /// The items of a group, in the order in which they are taken.
    [[nodiscard]] std::vector<WalkedItem> itemsOf(const MEROComponent& group) const;
    [[nodiscard]] bool isDefault(const MEROComponent& item) const;
    /// The instructions of an item. Where instructions pass on it matters for which items this is asked, and
    /// in which order.
    [[nodiscard]] ItemInstructions instructionsOf(const MEROComponent& item);

    /// The children that items, or the entries of a request, are: those named "file", in the
    /// order of the file.
    [[nodiscard]] static std::list<MEROComponent*> fileElements(const MEROComponent& parent);
    /// Sorts by the ids, as the engine takes items and entries.
    static void sortById(std::list<MEROComponent*>& files);

private:
    /// The child of an item that counts; null if there is none of the name.
    [[nodiscard]] MEROComponent* childThatCounts(const MEROComponent& item, const char* name) const;

    ItemWalkRules m_rules;
    /// Where the last instructions were looked for.
    MEROComponent* m_reader = nullptr;
};
