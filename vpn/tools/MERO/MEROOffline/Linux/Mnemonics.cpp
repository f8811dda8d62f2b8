#include "tools/MERO/MEROOffline/Linux/Mnemonics.h"

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"

#include <gtk/gtk.h>

namespace {

/// Under which a control keeps the key that presses it although its text does not show it.
constexpr char kOwnKey[] = "mero-key";

/// The label of an option is made by GTK, that of a button stands in the UI file.
GtkLabel* labelIn(GtkWidget* control) {
    GtkWidget* const child = gtk_bin_get_child(GTK_BIN(control));
    return GTK_IS_LABEL(child) ? GTK_LABEL(child) : nullptr;
}

guint ownKey(GtkWidget* control) {
    return GPOINTER_TO_UINT(g_object_get_data(G_OBJECT(control), kOwnKey));
}

/// A window must not keep keys of what has gone.
void onDestroyed(GtkWidget* control, gpointer window) {
    if (const guint key = ownKey(control); key != 0) {
        gtk_window_remove_mnemonic(GTK_WINDOW(window), key, control);
    }
}

/// Has a key press a control whose text does not show it; 0 for none.
void setOwnKey(GtkWidget* control, guint key) {
    auto* const window = GTK_WINDOW(LookUpWidget("windowMain", GTK_TYPE_WINDOW));
    if (window == nullptr) {
        return;
    }
    if (g_signal_handlers_disconnect_by_func(control, reinterpret_cast<gpointer>(&onDestroyed), window) !=
        0) {
        onDestroyed(control, window);
    }
    g_object_set_data(G_OBJECT(control), kOwnKey, GUINT_TO_POINTER(key));
    if (key == 0) {
        gtk_widget_set_tooltip_text(control, nullptr);
        return;
    }
    gtk_window_add_mnemonic(window, key, control);
    g_signal_connect(control, "destroy", G_CALLBACK(&onDestroyed), window);
    const TextHandle keys(gtk_accelerator_get_label(gdk_keyval_to_upper(key), GDK_MOD1_MASK));
    gtk_widget_set_tooltip_text(control, keys.get());
}

} // namespace

Mnemonic mnemonicOf(const std::string& shown, const std::string& marked) {
    const std::size_t mark = marked.find('_');
    if (mark == std::string::npos) {
        return {};
    }
    // What is no character counts as none here.
    const gunichar letter = g_utf8_get_char_validated(marked.c_str() + mark + 1, -1);
    if (g_unichar_isalnum(letter) == FALSE) {
        return {};
    }
    std::string text = marked;
    text.erase(mark, 1);
    // A label would take another mark for one as well.
    const bool fits = text == shown && shown.find('_') == std::string::npos;
    return {.key = gdk_keyval_to_lower(gdk_unicode_to_keyval(letter)),
            .underlined = fits ? marked : std::string()};
}

void setMnemonic(const char* controlId, const std::string& marked) {
    GtkWidget* const control = LookUpWidget(controlId, GTK_TYPE_BUTTON);
    GtkLabel* const label = control == nullptr ? nullptr : labelIn(control);
    if (label == nullptr) {
        return;
    }
    const Mnemonic mnemonic = mnemonicOf(gtk_label_get_text(label), marked);
    const bool isUnderlined = !mnemonic.underlined.empty();
    if (isUnderlined) {
        gtk_label_set_text_with_mnemonic(label, mnemonic.underlined.c_str());
    }
    setOwnKey(control, isUnderlined ? 0 : mnemonic.key);
}
