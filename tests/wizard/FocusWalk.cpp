#include "tests/wizard/FocusWalk.h"

#include "tests/wizard/ShownTexts.h"
#include "tests/wizard/WindowDrawing.h"

#include <memory>
#include <set>

namespace {

/// More than any window has controls.
constexpr int kMostSteps = 100;
/// How far around a control the theme may draw the sign of its focus.
constexpr int kSignMargin = 4;

std::string nameOf(GtkWidget* widget) {
    return std::string(GTK_IS_BUILDABLE(widget) && gtk_buildable_get_name(GTK_BUILDABLE(widget)) != nullptr
                           ? gtk_buildable_get_name(GTK_BUILDABLE(widget))
                           : G_OBJECT_TYPE_NAME(widget));
}

bool takesFocus(GtkWidget* widget) {
    return gtk_widget_get_can_focus(widget) != FALSE && gtk_widget_is_sensitive(widget) != FALSE;
}

bool hasActiveSister(GtkWidget* widget) {
    return GTK_IS_RADIO_BUTTON(widget) && gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(widget)) == FALSE;
}

/// The place of a control in its window, with what its theme may draw around it.
GdkRectangle placeOf(GtkWidget* window, GtkWidget* widget) {
    GdkRectangle place{-kSignMargin, -kSignMargin, gtk_widget_get_allocated_width(widget) + 2 * kSignMargin,
                       gtk_widget_get_allocated_height(widget) + 2 * kSignMargin};
    gtk_widget_translate_coordinates(widget, window, place.x, place.y, &place.x, &place.y);
    return place;
}

/// What stands at the place of a control.
std::map<Colour, int> signAt(const Drawing& drawing, GtkWidget* window, GtkWidget* widget) {
    return drawing.coloursIn(placeOf(window, widget));
}

} // namespace

std::vector<std::string> focusFaults(GtkWidget* window) {
    GtkWidget* const before = gtk_window_get_focus(GTK_WINDOW(window));
    gtk_window_set_focus_visible(GTK_WINDOW(window), TRUE);
    std::vector<std::string> faults;
    std::set<GtkWidget*> reached;
    gtk_window_set_focus(GTK_WINDOW(window), nullptr);
    auto drawing = std::make_unique<Drawing>(window);
    for (int step = 0; step < kMostSteps; ++step) {
        gtk_widget_child_focus(window, GTK_DIR_TAB_FORWARD);
        GtkWidget* const focused = gtk_window_get_focus(GTK_WINDOW(window));
        if (focused == nullptr || !reached.insert(focused).second) {
            break;
        }
        auto next = std::make_unique<Drawing>(window);
        if (signAt(*drawing, window, focused) == signAt(*next, window, focused)) {
            faults.push_back(nameOf(focused) + " does not show that the focus has come to it");
        }
        drawing = std::move(next);
    }
    for (GtkWidget* widget : shownWidgets(window)) {
        if (takesFocus(widget) && !hasActiveSister(widget) && !reached.contains(widget)) {
            faults.push_back(nameOf(widget) + " is not reached by Tab");
        }
    }
    gtk_window_set_focus(GTK_WINDOW(window), before);
    return faults;
}
