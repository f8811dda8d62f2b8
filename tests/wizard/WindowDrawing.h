#pragma once

#include "Common/Utility/memory/Handles.h"

#include <cstdint>
#include <gtk/gtk.h>
#include <map>
#include <memory>

using SurfaceHandle = std::unique_ptr<cairo_surface_t, Releaser<&cairo_surface_destroy>>;
using CairoHandle = std::unique_ptr<cairo_t, Releaser<&cairo_destroy>>;

/// Red, green and blue, a byte each.
using Colour = uint32_t;

/// A window as it draws itself at one moment, a pixel for each of its units.
class Drawing {
public:
    explicit Drawing(GtkWidget* window);

    /// How many pixels each colour has in a part of the window; what lies outside has none.
    [[nodiscard]] std::map<Colour, int> coloursIn(const GdkRectangle& part) const;

private:
    SurfaceHandle m_picture;
};
