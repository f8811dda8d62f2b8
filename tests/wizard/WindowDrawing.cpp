#include "tests/wizard/WindowDrawing.h"

#include <cstddef>

Drawing::Drawing(GtkWidget* window)
    : m_picture(cairo_image_surface_create(CAIRO_FORMAT_RGB24, gtk_widget_get_allocated_width(window),
                                           gtk_widget_get_allocated_height(window))) {
    // What has just changed may not have got its place yet.
    gtk_container_check_resize(GTK_CONTAINER(window));
    const CairoHandle cairo(cairo_create(m_picture.get()));
    gtk_widget_draw(window, cairo.get());
}

std::map<Colour, int> Drawing::coloursIn(const GdkRectangle& part) const {
    cairo_surface_flush(m_picture.get());
    const unsigned char* const data = cairo_image_surface_get_data(m_picture.get());
    const std::ptrdiff_t stride = cairo_image_surface_get_stride(m_picture.get());
    const GdkRectangle all{0, 0, cairo_image_surface_get_width(m_picture.get()),
                           cairo_image_surface_get_height(m_picture.get())};
    GdkRectangle inside{};
    gdk_rectangle_intersect(&part, &all, &inside);
    std::map<Colour, int> colours;
    for (int row = inside.y; row < inside.y + inside.height; ++row) {
        const auto* const pixels = reinterpret_cast<const uint32_t*>(data + row * stride);
        for (int column = inside.x; column < inside.x + inside.width; ++column) {
            ++colours[pixels[column] & 0xFFFFFFU];
        }
    }
    return colours;
}
