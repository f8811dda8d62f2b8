#include "tests/wizard/WindowPictures.h"

#include "tests/wizard/WindowDrawing.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace {

constexpr int kColumns = 4;
/// What one picture may take on the sheet, and what stands around it.
constexpr int kCellWidth = 480;
constexpr int kCellHeight = 440;
constexpr int kMargin = 12;
constexpr int kNameHeight = 20;
constexpr double kNameSize = 14;

/// Draws a picture as large as it is, or as small as its cell.
void drawInto(cairo_t* sheet, GdkPixbuf* picture, int left, int top) {
    const double scale = std::min({1.0, static_cast<double>(kCellWidth) / gdk_pixbuf_get_width(picture),
                                   static_cast<double>(kCellHeight) / gdk_pixbuf_get_height(picture)});
    cairo_save(sheet);
    cairo_translate(sheet, left, top);
    cairo_scale(sheet, scale, scale);
    gdk_cairo_set_source_pixbuf(sheet, picture, 0, 0);
    cairo_paint(sheet);
    cairo_restore(sheet);
}

} // namespace

WindowPictures::WindowPictures(std::string folder) : m_folder(std::move(folder)) {
    std::filesystem::create_directories(m_folder);
}

bool WindowPictures::take(GtkWidget* window, const std::string& name) {
    gdk_display_sync(gtk_widget_get_display(window));
    GdkWindow* const shown = gtk_widget_get_window(window);
    int left = 0;
    int top = 0;
    gdk_window_get_origin(shown, &left, &top);
    auto pixels =
        adoptRef(gdk_pixbuf_get_from_window(gdk_screen_get_root_window(gtk_widget_get_screen(window)), left,
                                            top, gdk_window_get_width(shown), gdk_window_get_height(shown)));
    if (pixels == nullptr || gdk_pixbuf_save(pixels.get(), (m_folder + "/" + name + ".png").c_str(), "png",
                                             nullptr, "compression", "9", nullptr) == FALSE) {
        return false;
    }
    m_pictures.push_back({name, std::move(pixels)});
    return true;
}

bool WindowPictures::writeSheet() const {
    const int rows = (static_cast<int>(m_pictures.size()) + kColumns - 1) / kColumns;
    const int columnWidth = kCellWidth + kMargin;
    const int rowHeight = kCellHeight + kNameHeight + kMargin;
    const SurfaceHandle sheet(cairo_image_surface_create(CAIRO_FORMAT_RGB24, kColumns * columnWidth + kMargin,
                                                         rows * rowHeight + kMargin));
    const CairoHandle cairo(cairo_create(sheet.get()));
    cairo_set_source_rgb(cairo.get(), 0.5, 0.5, 0.5);
    cairo_paint(cairo.get());
    cairo_set_font_size(cairo.get(), kNameSize);
    int number = 0;
    for (const Picture& picture : m_pictures) {
        const int left = kMargin + number % kColumns * columnWidth;
        const int top = kMargin + number / kColumns * rowHeight;
        cairo_set_source_rgb(cairo.get(), 1, 1, 1);
        cairo_move_to(cairo.get(), left, top + kNameSize);
        cairo_show_text(cairo.get(), picture.name.c_str());
        drawInto(cairo.get(), picture.pixels.get(), left, top + kNameHeight);
        ++number;
    }
    return cairo_surface_write_to_png(sheet.get(), (m_folder + "/sheet.png").c_str()) == CAIRO_STATUS_SUCCESS;
}
