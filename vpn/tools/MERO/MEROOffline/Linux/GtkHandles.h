#pragma once

#include "Common/Utility/memory/Handles.h"

#include <gtk/gtk.h>
#include <memory>

/// A place in a tree model.
using PathHandle = std::unique_ptr<GtkTreePath, Releaser<&gtk_tree_path_free>>;
/// A copy of an event.
using EventHandle = std::unique_ptr<GdkEvent, Releaser<&gdk_event_free>>;
/// One reference to a picture of cairo's.
using SurfaceHandle = std::unique_ptr<cairo_surface_t, Releaser<&cairo_surface_destroy>>;
