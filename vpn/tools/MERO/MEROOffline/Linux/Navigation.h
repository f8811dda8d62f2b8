#pragma once

#include <cstdint>
#include <gtk/gtk.h>

/// Pages of the notebook. The numbers are their places in it, not the order of the walks:
/// typical bundle  Welcome, BundleType, Encryption, Progress, Result
/// custom bundle   Welcome, BundleType, FileSelection, Target, Encryption, Progress, Result
enum class WizardPage : uint32_t {
    Welcome = 0,
    BundleType = 1,
    Encryption = 2,
    Progress = 3,
    Result = 4,
    FileSelection = 5,
    Target = 6,
};

// What stands around the pages: their header, and the buttons and keys that lead from one to the other. GTK
// main thread only.

/// Shows the buttons' texts and connects them and the keys.
/// @param window  the top-level window; not owned.
/// @param data    what the handlers of Next's and Back's "clicked" get.
void setUpNavigation(GtkWidget* window, GCallback next, GCallback back, gpointer data);
/// Sets what belongs to the page that is shown now.
void setNavigation(WizardPage page);
