#pragma once

#include <gtk/gtk.h>

/// Keeps a comment's field quick, whatever is pasted into it. GTK lays out a paragraph in one go, in a time
/// that grows with the square of its length where it has no blank: a hundred thousand characters took half a
/// minute. A paragraph much longer than any comment that is accepted is wrapped at any character, and only
/// its beginning is shown; its text stays whole. On the GTK main thread.
/// @param view  not owned; what is kept with it goes with its buffer.
void keepCommentQuick(GtkTextView* view);

/// The whole text of a buffer, also what is not shown of it.
/// @return owned by the caller.
[[nodiscard]] gchar* wholeText(GtkTextBuffer* buffer);
