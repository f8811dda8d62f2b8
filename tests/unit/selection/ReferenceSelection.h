#pragma once

#include "tools/MERO/MEROOffline/Common/ModuleTree.h"

#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <vector>

/// One row of the selection tree, with the rows below it.
struct ReferenceRow {
    std::string text;
    bool checked = false;
    std::vector<ReferenceRow> below;
    bool operator==(const ReferenceRow&) const = default;
};

/// The file selection as it can be told in a few sentences: rows and records are walked at each click, and
/// what belongs together is found by comparing texts, looked up anew each time. Slow and plain on purpose,
/// and nothing of it is taken from the code that it is compared with.
class ReferenceSelection {
public:
    using ShownText = std::function<std::string(const std::string&)>;

    /// @param shownText  gives the text that is shown for a record's name or label.
    explicit ReferenceSelection(ShownText shownText, std::list<RootItem> records = {});

    void addModule(const std::string& rootName, const ModuleItem& module);
    /// Sorts the roots and makes the rows.
    void populate();
    /// A click on the row at this place; nothing happens if there is none.
    /// @param old  what the check box showed.
    void onCheckToggled(const std::vector<int>& path, bool old);
    void SaveTreeViewToList();

    [[nodiscard]] const std::vector<ReferenceRow>& rows() const { return m_rows; }
    [[nodiscard]] const std::list<RootItem>& records() const { return m_roots; }

private:
    enum class Mode { Restore, Store, Clear, CheckAll };

    static void apply(ReferenceRow& row, uint32_t& selected, Mode mode);
    void clickRoot(ReferenceRow& row, bool old);
    void clickModule(ReferenceRow& root, ReferenceRow& row, bool old);
    static void clickFile(ReferenceRow* root, ReferenceRow& module, bool old);
    [[nodiscard]] bool isNothingStored(const ReferenceRow& row, int level) const;
    void applyToModules(ReferenceRow& rootRow, const ReferenceRow* moduleRow, Mode mode);
    void applyToFiles(ReferenceRow& moduleRow, Mode mode);

    ShownText m_shownText;
    std::list<RootItem> m_roots;
    std::vector<ReferenceRow> m_rows;
};

/// The text between the marks of _tr("..."), or the text itself if it has none.
[[nodiscard]] std::string textWithoutMarker(const std::string& text);
