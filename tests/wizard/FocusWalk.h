#pragma once

#include <gtk/gtk.h>
#include <string>
#include <vector>

/// Goes through a window with the Tab key's steps, once round, and puts the focus back.
/// @param window  is the active one.
/// @return what is wrong: controls that can have the focus and don't get it, and such as have it without a
/// sign of it on the screen. Of radio buttons that belong together one is enough: arrows lead to the others.
[[nodiscard]] std::vector<std::string> focusFaults(GtkWidget* window);
