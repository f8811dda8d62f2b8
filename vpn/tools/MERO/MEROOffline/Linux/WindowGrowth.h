#pragma once

#include <gtk/gtk.h>

/// How the window grows with the font of its texts, also with one that is set while it is open. As far as the
/// screen allows. On the GTK main thread.

/// Has a window wide enough for long lines. What the user makes of its width stays until the font changes.
/// @param window  not shown yet; not owned.
void widenWithText(GtkWindow* window);
/// Has a comment's field keep room for eight of its own lines.
/// @param comment  the field, in a scrolled window; not owned.
void growWithText(GtkTextView* comment);
