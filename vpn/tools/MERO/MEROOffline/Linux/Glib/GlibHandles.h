#pragma once

#include "Common/Utility/memory/Handles.h"

#include <glib-object.h>
#include <memory>

/// A GLib error that its holder frees.
using ErrorHandle = std::unique_ptr<GError, Releaser<&g_error_free>>;
/// Text from a GLib or GTK call that its caller frees.
using TextHandle = std::unique_ptr<char, Releaser<&g_free>>;
/// A list whose elements belong to others.
using ListHandle = std::unique_ptr<GList, Releaser<&g_list_free>>;
/// One reference to a value that travels on the bus.
using VariantHandle = std::unique_ptr<GVariant, Releaser<&g_variant_unref>>;
/// One reference to an object of GObject's kind.
template <typename T> using GObjectHandle = std::unique_ptr<T, Releaser<&g_object_unref>>;

/// Takes over the caller's reference ("transfer full").
template <typename T> [[nodiscard]] GObjectHandle<T> adoptRef(T* object) {
    return GObjectHandle<T>(object);
}

/// Makes a new object's floating reference the holder's own; adds a reference to any other ("transfer none").
template <typename T> [[nodiscard]] GObjectHandle<T> shareRef(T* object) {
    return GObjectHandle<T>(object == nullptr ? nullptr : static_cast<T*>(g_object_ref_sink(object)));
}
