#pragma once

#include <gtk/gtk.h>
#include <string>

/// The program's mark, read from its pictures in resources/icons. The icon theme, which knows them too, takes
/// the start of the window longer and as much memory as all of its pages. On the GTK main thread only.

/// Shows the mark in a GtkImage, in the image's pixel size and as sharp as the screen. Where there is no
/// picture, the image keeps what it shows.
/// @param programFolder  folder, with a trailing "/", that holds resources/.
void showMark(const char* imageId, const std::string& programFolder);
/// Gives the mark to a window for the desktop's lists of windows.
void setWindowMark(GtkWindow* window, const std::string& programFolder);
