#pragma once

#include "Common/Utility/memory/Handles.h"

#include <gtk/gtk.h>
#include <memory>

/// A place in a tree model.
using PathHandle = std::unique_ptr<GtkTreePath, Releaser<&gtk_tree_path_free>>;
/// A copy of an event.
using EventHandle = std::unique_ptr<GdkEvent, Releaser<&gdk_event_free>>;
