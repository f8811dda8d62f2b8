#include "tests/wizard/SelectionPage.h"

#include "tests/unit/selection/SelectionPicture.h"
#include "tests/unit/selection/SelectionWalk.h"
#include "tools/MERO/MEROOffline/Linux/GtkHandles.h"

namespace {

PathHandle pathOf(const std::string& text) {
    return PathHandle(gtk_tree_path_new_from_string(text.c_str()));
}

std::string pathText(const std::vector<int>& place) {
    std::string text;
    for (const int position : place) {
        text.append(text.empty() ? "" : ":").append(std::to_string(position));
    }
    return text;
}

} // namespace

GtkTreeView* treeView() {
    GtkWidget* page = LookUpWidget("scrolledwindowFileSelDlg", GTK_TYPE_BIN);
    GtkWidget* child = page == nullptr ? nullptr : gtk_bin_get_child(GTK_BIN(page));
    return GTK_IS_TREE_VIEW(child) ? GTK_TREE_VIEW(child) : nullptr;
}

GtkTreeModel* model() {
    return gtk_tree_view_get_model(treeView());
}

GtkTreeViewColumn* column() {
    return gtk_tree_view_get_column(treeView(), 0);
}

GtkCellRenderer* renderer(guint place) {
    const ListHandle all(gtk_cell_layout_get_cells(GTK_CELL_LAYOUT(column())));
    return static_cast<GtkCellRenderer*>(g_list_nth_data(all.get(), place));
}

std::vector<ReferenceRow> rowsBelow(GtkTreeIter* parent) {
    std::vector<ReferenceRow> rows;
    GtkTreeIter iterator{};
    for (gboolean more = gtk_tree_model_iter_children(model(), &iterator, parent); more != FALSE;
         more = gtk_tree_model_iter_next(model(), &iterator)) {
        gboolean checked = FALSE;
        char* text = nullptr;
        gtk_tree_model_get(model(), &iterator, 0, &checked, 1, &text, -1);
        rows.push_back({TextHandle(text).get(), checked != FALSE, rowsBelow(&iterator)});
    }
    return rows;
}

std::string shown() {
    return pictureOf(rowsBelow(nullptr));
}

std::string cursor() {
    GtkTreePath* path = nullptr;
    gtk_tree_view_get_cursor(treeView(), &path, nullptr);
    const PathHandle held(path);
    const TextHandle text(path == nullptr ? nullptr : gtk_tree_path_to_string(path));
    return text == nullptr ? "" : text.get();
}

void setCursor(const std::string& path) {
    gtk_tree_view_set_cursor(treeView(), pathOf(path).get(), nullptr, FALSE);
}

void emitToggled(const std::string& path, bool old) {
    g_object_set(renderer(0), "active", old ? TRUE : FALSE, nullptr);
    g_signal_emit_by_name(renderer(0), "toggled", path.c_str());
}

void toggle(const std::vector<int>& place) {
    emitToggled(pathText(place), rowAt(rowsBelow(nullptr), place).checked);
}

ModuleItem moduleOf(const std::string& name, const std::vector<std::string>& labels, bool selected) {
    ModuleItem module;
    module.m_name = name;
    module.m_default = module.m_selected = selected ? 1 : 0;
    for (const std::string& label : labels) {
        FileItem& file = module.m_files.emplace_back();
        file.m_label = label;
        file.m_default = file.m_selected = module.m_selected;
    }
    return module;
}

std::vector<Arrival> arrivalsOf(const std::list<RootItem>& records) {
    std::vector<Arrival> arrivals;
    for (const RootItem& root : records) {
        for (const ModuleItem& module : root.m_modules) {
            arrivals.push_back({root.m_name, module});
        }
    }
    return arrivals;
}

void SelectionPage::show(const std::vector<Arrival>& arrivals) {
    open();
    for (const Arrival& arrival : arrivals) {
        m_window->addModule(arrival.rootName, arrival.module);
    }
    goToPage();
}

void SelectionPage::show(std::string_view picture) {
    show(arrivalsOf(recordsOf(picture)));
}

void SelectionPage::goToPage() {
    setActive("radiobuttonBundleCustom", true);
    next();
    next();
    ASSERT_EQ(page(), 5);
    ASSERT_NE(treeView(), nullptr);
}
