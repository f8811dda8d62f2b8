#include "tests/wizard/Contrast.h"

#include <algorithm>
#include <cmath>

namespace {

double linear(uint32_t byte) {
    const double value = byte / 255.0;
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double luminance(Colour colour) {
    return 0.2126 * linear(colour >> 16U & 0xFFU) + 0.7152 * linear(colour >> 8U & 0xFFU) +
           0.0722 * linear(colour & 0xFFU);
}

double contrast(Colour one, Colour other) {
    const double first = luminance(one);
    const double second = luminance(other);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

} // namespace

std::string nameOf(const Look& look) {
    return std::string(look.theme) + (look.isDark ? ", dark" : "") + (look.isBehind ? ", behind" : "");
}

void putOn(GtkWidget* window, const Look& look) {
    g_object_set(gtk_settings_get_default(), "gtk-theme-name", look.theme,
                 "gtk-application-prefer-dark-theme", look.isDark ? TRUE : FALSE, "gtk-enable-animations",
                 FALSE, nullptr);
    if (look.isBehind) {
        gtk_widget_set_state_flags(window, GTK_STATE_FLAG_BACKDROP, FALSE);
    } else {
        gtk_widget_unset_state_flags(window, GTK_STATE_FLAG_BACKDROP);
    }
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
}

double contrastOf(GtkWidget* window, GtkWidget* widget, const GdkRectangle* part) {
    return contrastIn(Drawing(window), window, widget, part);
}

double contrastIn(const Drawing& drawing, GtkWidget* window, GtkWidget* widget, const GdkRectangle* part) {
    GdkRectangle place = part != nullptr ? *part
                                         : GdkRectangle{0, 0, gtk_widget_get_allocated_width(widget),
                                                        gtk_widget_get_allocated_height(widget)};
    gtk_widget_translate_coordinates(widget, window, place.x, place.y, &place.x, &place.y);
    const std::map<Colour, int> colours = drawing.coloursIn(place);
    if (colours.empty()) {
        return 1;
    }
    const auto ground =
        std::max_element(colours.begin(), colours.end(),
                         [](const auto& one, const auto& other) { return one.second < other.second; });
    double most = 1;
    for (const auto& [colour, count] : colours) {
        most = std::max(most, contrast(colour, ground->first));
    }
    return most;
}
