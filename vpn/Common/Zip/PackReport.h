#pragma once

#include "Common/Zip/NameList.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

/// What an archive lacks.
class PackReport {
public:
    /// A file, or a folder with all that is in it, that is not in the archive or not as it was.
    struct Item {
        /// Of its entry. Folders end in "/"; an empty name is the packed folder itself.
        std::string name;
        /// Why, as the end of a sentence that begins with the name.
        std::string reason;
    };

    /// Takes an item in and logs it. Of several reasons for one name the first counts.
    void add(const std::string& name, const std::string& reason);
    [[nodiscard]] const std::vector<Item>& items() const { return m_items; }
    /// Name of the entry that lists the items; empty if everything was packed.
    [[nodiscard]] const std::string& entryName() const { return m_entryName; }
    /// Chooses the entry's name: not-packed.txt, or where a file of the bundle has that name,
    /// not-packed-2.txt and so on. Upper and lower case count as the same.
    void chooseEntryName(const NameList& takenNames);
    /// The entry's content: a line an item, with control characters written as \xHH.
    [[nodiscard]] std::string text() const;

private:
    std::vector<Item> m_items;
    std::set<std::string, std::less<>> m_names;
    std::string m_entryName;
};

/// "what: reason of the errno", for the reason of an item.
[[nodiscard]] std::string reasonOf(std::string_view what, int error);
