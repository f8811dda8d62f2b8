#pragma once

#include <gtk/gtk.h>

/// Has the window that a comment's field stands in grow with the font of its texts, also with one that is
/// set while it is open: it is wide enough for long lines, and the comment has room for eight of its own,
/// both as far as the screen allows. What the user makes of its width stays until the font changes. On
/// the GTK main thread.
/// @param around   what the comment's field scrolls in, in a window that is not shown yet; not owned.
/// @param comment  the field; not owned.
void growWithText(GtkScrolledWindow* around, GtkTextView* comment);
