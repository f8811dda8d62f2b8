#include "tests/wizard/ShownTexts.h"

#include "tests/wizard/Contrast.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include "tools/MERO/MEROOffline/Linux/GtkHandles.h"
#include <utility>

namespace {

void addShown(GtkWidget* widget, gpointer shown) {
    if (gtk_widget_get_mapped(widget) == FALSE) {
        return;
    }
    static_cast<std::vector<GtkWidget*>*>(shown)->push_back(widget);
    if (GTK_IS_CONTAINER(widget)) {
        gtk_container_forall(GTK_CONTAINER(widget), &addShown, shown);
    }
}

std::vector<GtkLabel*> shownLabels(GtkWidget* window) {
    std::vector<GtkLabel*> labels;
    for (GtkWidget* widget : shownWidgets(window)) {
        if (GTK_IS_LABEL(widget) && *gtk_label_get_text(GTK_LABEL(widget)) != '\0') {
            labels.push_back(GTK_LABEL(widget));
        }
    }
    return labels;
}

bool isWholeInTooltip(GtkLabel* label) {
    const TextHandle tooltip(gtk_widget_get_tooltip_text(GTK_WIDGET(label)));
    return tooltip != nullptr &&
           std::string(tooltip.get()).find(gtk_label_get_text(label)) != std::string::npos;
}

/// Whether a part of the label lies outside the window.
bool isPushedOut(GtkWidget* window, GtkWidget* label) {
    int left = 0;
    int top = 0;
    if (gtk_widget_translate_coordinates(label, window, 0, 0, &left, &top) == FALSE) {
        return false;
    }
    return left < 0 || top < 0 ||
           left + gtk_widget_get_allocated_width(label) > gtk_widget_get_allocated_width(window) ||
           top + gtk_widget_get_allocated_height(label) > gtk_widget_get_allocated_height(window);
}

bool isCut(GtkWidget* window, GtkLabel* label) {
    PangoLayout* const layout = gtk_label_get_layout(label);
    int width = 0;
    int height = 0;
    pango_layout_get_pixel_size(layout, &width, &height);
    GtkWidget* const widget = GTK_WIDGET(label);
    return (pango_layout_is_ellipsized(layout) != FALSE && !isWholeInTooltip(label)) ||
           width > gtk_widget_get_allocated_width(widget) ||
           height > gtk_widget_get_allocated_height(widget) || isPushedOut(window, widget);
}

/// Collects what can't be read well in a window as it is drawn now.
class FaintTexts {
public:
    explicit FaintTexts(GtkWidget* window) : m_window(window), m_drawing(window) {}

    void look(GtkWidget* widget, const std::string& text, const GdkRectangle* part = nullptr) {
        const double contrast = contrastIn(m_drawing, m_window, widget, part);
        if (contrast < kLegibleContrast) {
            m_texts.push_back(std::to_string(contrast) + ": " + text);
        }
    }
    [[nodiscard]] std::vector<std::string> take() { return std::move(m_texts); }

private:
    GtkWidget* m_window;
    Drawing m_drawing;
    std::vector<std::string> m_texts;
};

/// The place of a row's text on the screen, in the view's coordinates.
GdkRectangle textCell(GtkTreeView* view, GtkTreePath* path) {
    GtkTreeViewColumn* const column = gtk_tree_view_get_column(view, 0);
    GdkRectangle cell{};
    gtk_tree_view_get_cell_area(view, path, column, &cell);
    const ListHandle renderers(gtk_cell_layout_get_cells(GTK_CELL_LAYOUT(column)));
    int start = 0;
    gtk_tree_view_column_cell_get_position(
        column, static_cast<GtkCellRenderer*>(g_list_last(renderers.get())->data), &start, &cell.width);
    cell.x += start;
    gtk_tree_view_convert_bin_window_to_widget_coords(view, cell.x, cell.y, &cell.x, &cell.y);
    const GdkRectangle all{0, 0, gtk_widget_get_allocated_width(GTK_WIDGET(view)),
                           gtk_widget_get_allocated_height(GTK_WIDGET(view))};
    gdk_rectangle_intersect(&cell, &all, &cell);
    return cell;
}

void lookAtRows(FaintTexts& faint, GtkTreeView* view) {
    GtkTreePath* first = nullptr;
    GtkTreePath* last = nullptr;
    if (gtk_tree_view_get_visible_range(view, &first, &last) == FALSE) {
        return;
    }
    const PathHandle from(first);
    const PathHandle to(last);
    for (; gtk_tree_path_compare(from.get(), to.get()) < 0; gtk_tree_path_next(from.get())) {
        GtkTreeIter row{};
        if (gtk_tree_model_get_iter(gtk_tree_view_get_model(view), &row, from.get()) == FALSE) {
            return;
        }
        const TextHandle text(gtk_tree_path_to_string(from.get()));
        const GdkRectangle place = textCell(view, from.get());
        if (place.width == 0 || place.height == 0) {
            continue;
        }
        faint.look(GTK_WIDGET(view), std::string("row ") + text.get(), &place);
    }
}

} // namespace

std::vector<GtkWidget*> shownWidgets(GtkWidget* widget) {
    std::vector<GtkWidget*> shown;
    addShown(widget, &shown);
    return shown;
}

std::vector<std::string> cutTexts(GtkWidget* window) {
    std::vector<std::string> cut;
    for (GtkLabel* label : shownLabels(window)) {
        if (isCut(window, label)) {
            cut.emplace_back(gtk_label_get_text(label));
        }
    }
    return cut;
}

std::vector<std::string> textsWithoutLetters(GtkWidget* window) {
    std::vector<std::string> texts;
    for (GtkLabel* label : shownLabels(window)) {
        if (pango_layout_get_unknown_glyphs_count(gtk_label_get_layout(label)) != 0) {
            texts.emplace_back(gtk_label_get_text(label));
        }
    }
    return texts;
}

std::vector<std::string> faintTexts(GtkWidget* window) {
    FaintTexts faint(window);
    for (GtkWidget* widget : shownWidgets(window)) {
        if (gtk_widget_is_sensitive(widget) == FALSE) {
            continue;
        }
        if (GTK_IS_LABEL(widget) && *gtk_label_get_text(GTK_LABEL(widget)) != '\0') {
            faint.look(widget, gtk_label_get_text(GTK_LABEL(widget)));
        } else if (GTK_IS_ENTRY(widget) && gtk_entry_get_text_length(GTK_ENTRY(widget)) != 0) {
            faint.look(widget, "entry");
        } else if (GTK_IS_TEXT_VIEW(widget) &&
                   gtk_text_buffer_get_char_count(gtk_text_view_get_buffer(GTK_TEXT_VIEW(widget))) != 0) {
            faint.look(widget, "comment");
        } else if (GTK_IS_TREE_VIEW(widget)) {
            lookAtRows(faint, GTK_TREE_VIEW(widget));
        }
    }
    return faint.take();
}
