#pragma once

#include <gtk/gtk.h>

/// Makes the keys of a tree view do what they do in file managers.
///
/// Right opens the row of the keyboard's place, and goes to the first row in it if it is open; Left closes
/// it, and goes to the row around it if there is nothing to close. From right to left the two change places.
/// Typing looks for a row that has words beginning so; as long as there is none, the place stays highlighted.
/// @param view        not owned.
/// @param textColumn  the column of its rows' texts, which will be those of all of its models.
/// GTK main thread only.
void addSelectionKeys(GtkTreeView* view, int textColumn);
