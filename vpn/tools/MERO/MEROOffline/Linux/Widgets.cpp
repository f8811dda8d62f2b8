#include "tools/MERO/MEROOffline/Linux/Widgets.h"

#include "Common/Utility/log/Log.h"
#include <utility>

namespace {

using AttributesHandle = std::unique_ptr<PangoAttrList, Releaser<&pango_attr_list_unref>>;

/// The UI definition of the process. GTK main thread only.
std::unique_ptr<UIDefinition> g_definition;

// The theme's own red and orange can't be read in both its light and its dark form; mixed with the colour of
// text they can.
constexpr char kStyle[] =
    ".mero-failure { color: mix(@theme_fg_color, #e01b24, 0.45); }"
    ".mero-success { color: mix(@theme_fg_color, #26a269, 0.7); }"
    // Themes draw the share in a grey that can't be read on their own background.
    ".mero-progress > text { color: @theme_fg_color; }"
    // Lighter than what they explain, as themes have it, but not as faint.
    ".mero-explanation:not(:backdrop) { color: mix(@theme_fg_color, @theme_bg_color, 0.25); }"
    // Nor can white be read on what themes take for the main button and for selections.
    ".mero-main:not(:disabled) { background-image: none;"
    " background-color: mix(@theme_selected_bg_color, @theme_fg_color, 0.23); }"
    ".mero-main:hover:not(:active) {"
    " background-color: mix(@theme_selected_bg_color, @theme_fg_color, 0.2); }"
    "treeview:selected, entry selection, text selection, label selection {"
    " background-color: mix(@theme_selected_bg_color, @theme_fg_color, 0.23); }";

} // namespace

ErrorHandle loadUIDefinition(const std::string& path, UIDefinition::BuiltHandler onBuilt) {
    g_definition = std::make_unique<UIDefinition>(std::move(onBuilt));
    return g_definition->load(path);
}

void releaseUIDefinition() {
    g_definition.reset();
}

void buildPage(uint32_t page) {
    if (g_definition != nullptr) {
        g_definition->buildPage(page);
    }
}

bool isPagePostponed(uint32_t page) {
    return g_definition != nullptr && g_definition->isPostponed(page);
}

bool isBuilt(const char* id) {
    return id != nullptr && g_definition != nullptr && g_definition->findBuilt(id) != nullptr;
}

GtkWidget* LookUpWidget(const char* id, GType type) {
    if (id == nullptr) {
        return nullptr;
    }
    if (g_definition == nullptr) {
        ZRN_LOG('E', "Failed to look up the widget because UI XML is not found.");
        return nullptr;
    }
    GObject* object = g_definition->find(id);
    if (object == nullptr || !g_type_is_a(G_OBJECT_TYPE(object), type)) {
        return nullptr;
    }
    return GTK_WIDGET(object);
}

void addWizardStyle() {
    GdkScreen* screen = gdk_screen_get_default();
    const auto provider = adoptRef(gtk_css_provider_new());
    if (screen == nullptr ||
        gtk_css_provider_load_from_data(provider.get(), kStyle, sizeof kStyle - 1, nullptr) == FALSE) {
        return;
    }
    gtk_style_context_add_provider_for_screen(screen, GTK_STYLE_PROVIDER(provider.get()),
                                              GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
}

void setLabelText(const char* id, const std::string& text) {
    if (GtkWidget* label = LookUpWidget(id, GTK_TYPE_LABEL)) {
        gtk_label_set_text(GTK_LABEL(label), displayText(text).c_str());
    }
}

void breakWithoutHyphens(const char* id) {
    if (GtkWidget* label = LookUpWidget(id, GTK_TYPE_LABEL)) {
        const AttributesHandle attributes(pango_attr_list_new());
        pango_attr_list_insert(attributes.get(), pango_attr_insert_hyphens_new(FALSE));
        gtk_label_set_attributes(GTK_LABEL(label), attributes.get());
    }
}

void setButtonLabel(const char* id, const std::string& text) {
    if (GtkWidget* button = LookUpWidget(id, GTK_TYPE_BUTTON)) {
        gtk_button_set_label(GTK_BUTTON(button), displayText(text).c_str());
    }
}

void setSensitive(const char* id, bool sensitive) {
    if (GtkWidget* widget = LookUpWidget(id)) {
        gtk_widget_set_sensitive(widget, sensitive ? TRUE : FALSE);
    }
}

void setVisible(const char* id, bool visible) {
    if (GtkWidget* widget = LookUpWidget(id)) {
        gtk_widget_set_visible(widget, visible ? TRUE : FALSE);
    }
}

void giveFocus(const char* id) {
    if (GtkWidget* widget = LookUpWidget(id)) {
        gtk_widget_grab_focus(widget);
    }
}

void setIcon(const char* id, const char* iconName, const char* styleClass) {
    if (GtkWidget* image = LookUpWidget(id, GTK_TYPE_IMAGE)) {
        GtkStyleContext* style = gtk_widget_get_style_context(image);
        gtk_style_context_remove_class(style, kStyleSuccess);
        gtk_style_context_remove_class(style, kStyleFailure);
        gtk_style_context_add_class(style, styleClass);
        g_object_set(image, "icon-name", iconName, nullptr);
    }
}

void setSpinning(const char* id, bool spinning) {
    if (GtkWidget* spinner = LookUpWidget(id, GTK_TYPE_SPINNER)) {
        g_object_set(spinner, "active", spinning ? TRUE : FALSE, nullptr);
    }
}

void setEntryVisibility(const char* id, bool visible) {
    if (GtkWidget* entry = LookUpWidget(id, GTK_TYPE_ENTRY)) {
        gtk_entry_set_visibility(GTK_ENTRY(entry), visible ? TRUE : FALSE);
    }
}

void connectSignal(const char* id, const char* signal, GCallback handler, gpointer data) {
    if (GtkWidget* widget = LookUpWidget(id)) {
        g_signal_connect(widget, signal, handler, data);
    }
}

std::optional<bool> isActive(const char* id) {
    GtkWidget* const toggle = LookUpWidget(id, GTK_TYPE_TOGGLE_BUTTON);
    return toggle == nullptr
               ? std::nullopt
               : std::optional(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(toggle)) != FALSE);
}

bool hasFocus(const char* id) {
    GtkWidget* const widget = LookUpWidget(id);
    return widget != nullptr && gtk_widget_is_focus(widget) != FALSE;
}

std::string displayText(const std::string& text) {
    const TextHandle valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
    return valid.get();
}
