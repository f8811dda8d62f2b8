#pragma once

#include "tests/unit/selection/ReferenceSelection.h"
#include "tests/wizard/WizardFixture.h"

#include <list>
#include <string>
#include <string_view>
#include <vector>

// What the file selection page of the open window shows.

/// The view on the page; null if there is none.
[[nodiscard]] GtkTreeView* treeView();
[[nodiscard]] GtkTreeModel* model();
[[nodiscard]] GtkTreeViewColumn* column();
/// The renderer at this place of the column; null if there is none.
[[nodiscard]] GtkCellRenderer* renderer(guint place);
[[nodiscard]] std::vector<ReferenceRow> rowsBelow(GtkTreeIter* parent);
/// A picture of all rows.
[[nodiscard]] std::string shown();
/// The path of the keyboard's place, as "1:0"; empty if there is none.
[[nodiscard]] std::string cursor();
void setCursor(const std::string& path);
/// Lets the check box renderer report a toggle while it shows `old`.
void emitToggled(const std::string& path, bool old);
/// A click on the check box of a row, which must exist.
void toggle(const std::vector<int>& place);

/// A module as the scan hands it over.
struct Arrival {
    std::string rootName;
    ModuleItem module;
};

/// A module with files of these labels, all of them selected or none.
[[nodiscard]] ModuleItem moduleOf(const std::string& name, const std::vector<std::string>& labels,
                                  bool selected = true);
/// The modules of a tree, root by root.
[[nodiscard]] std::vector<Arrival> arrivalsOf(const std::list<RootItem>& records);

/// A wizard whose scan has found what a test says, on the file selection page.
class SelectionPage : public Wizard {
protected:
    /// Opens the window as if its scan had found these, and goes to the page.
    void show(const std::vector<Arrival>& arrivals);
    void show(std::string_view picture);
    /// From the first page of an open window; waits until the scan has ended.
    static void goToPage();
};
