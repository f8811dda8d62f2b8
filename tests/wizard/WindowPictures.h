#pragma once

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <gtk/gtk.h>
#include <string>
#include <vector>

/// Pictures of windows as they stand on the screen, without what the window manager puts around them, in a
/// folder of their own, and a sheet with all of them. GTK main thread only.
class WindowPictures {
public:
    /// @param folder  made if it does not exist.
    explicit WindowPictures(std::string folder);

    /// Takes a picture of a window that is painted and that nothing covers, and writes it as "<name>.png".
    /// @return whether it was written.
    [[nodiscard]] bool take(GtkWidget* window, const std::string& name);
    /// Writes "sheet.png", on which all that were taken stand small, each below its name.
    [[nodiscard]] bool writeSheet() const;

private:
    struct Picture {
        std::string name;
        GObjectHandle<GdkPixbuf> pixels;
    };
    std::string m_folder;
    std::vector<Picture> m_pictures;
};
