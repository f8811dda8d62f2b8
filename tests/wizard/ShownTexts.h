#pragma once

#include <gtk/gtk.h>
#include <string>
#include <vector>

// What a person sees of a window, as it is laid out now. GTK main thread only.

/// Everything on the screen below a widget and itself, in the order of the window.
[[nodiscard]] std::vector<GtkWidget*> shownWidgets(GtkWidget* widget);

/// The texts that don't fit into their places. One that ends in dots fits if its tooltip has it whole.
[[nodiscard]] std::vector<std::string> cutTexts(GtkWidget* window);

/// The texts with letters that no font has.
[[nodiscard]] std::vector<std::string> textsWithoutLetters(GtkWidget* window);

/// The texts that are not disabled and stand out too little to be legible, each with its contrast.
[[nodiscard]] std::vector<std::string> faintTexts(GtkWidget* window);
