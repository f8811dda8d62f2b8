#pragma once

#include "tests/wizard/WindowDrawing.h"

#include <gtk/gtk.h>
#include <string>

/// What text needs to be read by everybody.
inline constexpr double kLegibleContrast = 4.5;

/// A look that GTK itself brings.
struct Look {
    const char* theme;
    bool isDark;
    /// Whether the window looks as one without the focus does.
    bool isBehind;
};

/// For tests that go through them all.
inline constexpr Look kLooks[] = {
    {"Adwaita", false, false},
    {"Adwaita", false, true},
    {"Adwaita", true, false},
    {"Adwaita", true, true},
    {"HighContrast", false, false},
    {"HighContrast", false, true},
    {"HighContrastInverse", false, false},
    {"HighContrastInverse", false, true},
};

[[nodiscard]] std::string nameOf(const Look& look);

/// Shows a window in a look.
void putOn(GtkWidget* window, const Look& look);

/// Draws a window and measures what stands in a part of a widget in it.
/// @param part  in the widget's own coordinates; null for the whole widget.
/// @return the contrast of the colour that stands out most against the one that covers most, from 1 to 21.
[[nodiscard]] double contrastOf(GtkWidget* window, GtkWidget* widget, const GdkRectangle* part = nullptr);
/// Likewise, of a window that has been drawn.
[[nodiscard]] double contrastIn(const Drawing& drawing, GtkWidget* window, GtkWidget* widget,
                                const GdkRectangle* part = nullptr);
