#include "tools/MERO/MEROOffline/Linux/Mark.h"

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/GtkHandles.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"

#include <algorithm>
#include <array>
#include <vector>

namespace {

/// The sizes of the pictures, in pixels.
constexpr std::array kSizes = {16, 24, 32, 48, 64, 96, 128, 256};
/// Those that desktops show in lists of windows.
constexpr std::array kWindowSizes = {16, 24, 32, 48, 64, 96, 128};

/// @return null if there is none of this size.
SurfaceHandle readPicture(const std::string& programFolder, int size) {
    const std::string side = std::to_string(size);
    SurfaceHandle picture(cairo_image_surface_create_from_png(
        (programFolder + "resources/icons/hicolor/" + side + "x" + side + "/apps/com.varnel.corvane.mero.png")
            .c_str()));
    if (cairo_surface_status(picture.get()) != CAIRO_STATUS_SUCCESS) {
        picture.reset();
    }
    return picture;
}

void showPicture(GtkImage* image, const std::string& programFolder) {
    const int size = gtk_image_get_pixel_size(image);
    const int pixels = size * gtk_widget_get_scale_factor(GTK_WIDGET(image));
    const auto* const best =
        std::find_if(kSizes.begin(), kSizes.end() - 1, [pixels](int side) { return side >= pixels; });
    if (const SurfaceHandle picture = readPicture(programFolder, *best)) {
        const double scale = static_cast<double>(*best) / size;
        cairo_surface_set_device_scale(picture.get(), scale, scale);
        gtk_image_set_from_surface(image, picture.get());
    }
}

/// Under which an image keeps the program's folder.
constexpr char kFolder[] = "mero-program-folder";

void onScaleChanged(GtkWidget* image, GParamSpec* /*property*/, gpointer /*data*/) {
    runHandler(__func__, [&] {
        showPicture(GTK_IMAGE(image), static_cast<const char*>(g_object_get_data(G_OBJECT(image), kFolder)));
    });
}

} // namespace

void showMark(const char* imageId, const std::string& programFolder) {
    if (GtkWidget* const image = LookUpWidget(imageId, GTK_TYPE_IMAGE)) {
        showPicture(GTK_IMAGE(image), programFolder);
        g_object_set_data_full(G_OBJECT(image), kFolder, g_strdup(programFolder.c_str()), &g_free);
        g_signal_connect(image, "notify::scale-factor", G_CALLBACK(&onScaleChanged), nullptr);
    }
}

void setWindowMark(GtkWindow* window, const std::string& programFolder) {
    std::vector<GObjectHandle<GdkPixbuf>> pictures;
    ListHandle list;
    for (const int size : kWindowSizes) {
        if (const SurfaceHandle picture = readPicture(programFolder, size)) {
            pictures.push_back(adoptRef(gdk_pixbuf_get_from_surface(picture.get(), 0, 0, size, size)));
            list.reset(g_list_prepend(list.release(), pictures.back().get()));
        }
    }
    gtk_window_set_icon_list(window, list.get());
}
