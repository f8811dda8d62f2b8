#pragma once

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <gtk/gtk.h>

/// A new GtkCellRendererToggle that tells a screen reader when it is mixed. The plain one draws its property
/// "inconsistent", and keeps it to itself. GTK main thread only.
///
/// A mixed cell has the state INDETERMINATE and not CHECKED, as screen readers that find the second do not
/// ask for the first.
[[nodiscard]] GObjectHandle<GtkCellRenderer> makeCheckBoxRenderer();
