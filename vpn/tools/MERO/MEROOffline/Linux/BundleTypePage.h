#pragma once

#include <optional>

/// The page that asks for a typical or a custom bundle. GTK main thread only.
struct BundleTypePage {
    /// Shows the page's texts, with the typical bundle chosen.
    static void setUp();
    /// The choice. Nothing when its widget is missing.
    [[nodiscard]] static std::optional<bool> isTypical();
};
