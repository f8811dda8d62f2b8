#pragma once

#include <gtk/gtk.h>
#include <optional>
#include <string>

/// The page that asks where to put the bundle, and for a comment on it. GTK main thread only.
class TargetPage {
public:
    /// @param bundlePath  the target, which the page shows and changes; not owned, must outlive this object,
    /// which its widgets must not outlive.
    explicit TargetPage(std::string* bundlePath) : m_pBundlePath(bundlePath) {}

    void setUp();
    /// Takes the comment over if it has at most 2048 bytes, or leaves the former one.
    /// @return what to tell the user of a comment that is too long; nothing otherwise, also when there is no
    /// comment field.
    [[nodiscard]] static std::optional<std::string> takeComment(std::string& commentOut);

private:
    void browse();
    /// `page` is the TargetPage.
    static void onBrowseClicked(GtkButton* button, gpointer page);

    std::string* m_pBundlePath;
};
