#include "tools/MERO/MEROOffline/Linux/WindowGrowth.h"

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"

#include <algorithm>

namespace {

constexpr int kCommentLines = 8;
/// What the comment keeps on a screen that is too small for more.
constexpr int kLeastCommentHeight = 96;
/// Of the longest lines that the pages' texts are broken into, and what stands beside them.
constexpr int kLineCharacters = 68;
constexpr int kSidesWidth = 36;
/// What a page's header takes of such a line, in its larger font, and the mark beside it.
constexpr int kHeaderCharacters = 58;
constexpr int kMarkWidth = 60;
/// What the desktop draws above and below a window.
constexpr int kFrameHeight = 48;

using MetricsHandle = std::unique_ptr<PangoFontMetrics, Releaser<&pango_font_metrics_unref>>;

/// The width of a line of text of full length.
int lineWidth(GtkWidget* widget) {
    const MetricsHandle metrics(
        pango_context_get_metrics(gtk_widget_get_pango_context(widget), nullptr, nullptr));
    return PANGO_PIXELS(kLineCharacters * pango_font_metrics_get_approximate_char_width(metrics.get()));
}

int lineHeight(GtkWidget* widget) {
    const auto layout = adoptRef(gtk_widget_create_pango_layout(widget, "X"));
    int height = 0;
    pango_layout_get_pixel_size(layout.get(), nullptr, &height);
    return height;
}

/// The part of the screen that a window may take; false if nobody knows.
bool getScreenPart(GtkWidget* window, GdkRectangle* part) {
    GdkDisplay* const display = gtk_widget_get_display(window);
    GdkMonitor* monitor = gtk_widget_get_realized(window) != FALSE
                              ? gdk_display_get_monitor_at_window(display, gtk_widget_get_window(window))
                              : gdk_display_get_primary_monitor(display);
    if (monitor == nullptr) {
        monitor = gdk_display_get_monitor(display, 0);
    }
    if (monitor == nullptr) {
        return false;
    }
    gdk_monitor_get_workarea(monitor, part);
    return true;
}

void setCommentHeight(GtkScrolledWindow* around, int height) {
    gtk_scrolled_window_set_min_content_height(around, std::max(height, kLeastCommentHeight));
}

/// Takes from the comment's lines what the window would have beyond the screen.
void fitIntoScreen(GtkWidget* window, GtkScrolledWindow* around, const GdkRectangle& screen) {
    GtkRequisition least{};
    gtk_widget_get_preferred_size(window, &least, nullptr);
    const int excess = least.height + kFrameHeight - screen.height;
    if (excess > 0) {
        setCommentHeight(around, gtk_scrolled_window_get_min_content_height(around) - excess);
    }
}

void setWidth(GtkWindow* window, int wanted) {
    int width = 0;
    int height = 0;
    if (gtk_widget_get_realized(GTK_WIDGET(window)) == FALSE) {
        gtk_window_get_default_size(window, &width, &height);
        gtk_window_set_default_size(window, std::max(width, wanted), height);
        return;
    }
    gtk_window_get_size(window, &width, &height);
    gtk_window_resize(window, std::max(width, wanted), height);
}

void widen(GtkWidget* window) {
    const int line = lineWidth(window);
    int width = line + kSidesWidth;
    // The least height is that at the least width: were a header broken there, the window would
    // grow on its page.
    int leastWidth = line * kHeaderCharacters / kLineCharacters + kMarkWidth + kSidesWidth;
    GdkRectangle screen{};
    if (getScreenPart(window, &screen)) {
        width = std::min(width, screen.width);
        leastWidth = std::min(leastWidth, screen.width);
    }
    gtk_widget_set_size_request(window, leastWidth, -1);
    setWidth(GTK_WINDOW(window), width);
}

void grow(GtkWidget* comment) {
    auto* const view = GTK_TEXT_VIEW(comment);
    GtkWidget* const window = gtk_widget_get_toplevel(comment);
    GtkWidget* const parent = gtk_widget_get_parent(comment);
    if (!GTK_IS_SCROLLED_WINDOW(parent)) {
        return;
    }
    auto* const around = GTK_SCROLLED_WINDOW(parent);
    setCommentHeight(around, kCommentLines * lineHeight(comment) + gtk_text_view_get_top_margin(view) +
                                 gtk_text_view_get_bottom_margin(view));
    GdkRectangle screen{};
    if (getScreenPart(window, &screen)) {
        fitIntoScreen(window, around, screen);
    }
}

/// Adapts what depends on a widget's font when that is another one than before.
template <void (*Adapt)(GtkWidget*)> void onStyleChanged(GtkWidget* widget, gpointer /*data*/) {
    runHandler(__func__, [&] {
        // Styles change with the focus and the pointer, too.
        constexpr const char* kKnownFont = "mero-known-font";
        const TextHandle font(pango_font_description_to_string(
            pango_context_get_font_description(gtk_widget_get_pango_context(widget))));
        const auto* const known = static_cast<const char*>(g_object_get_data(G_OBJECT(widget), kKnownFont));
        if (g_strcmp0(font.get(), known) != 0) {
            g_object_set_data_full(G_OBJECT(widget), kKnownFont, g_strdup(font.get()), &g_free);
            Adapt(widget);
        }
    });
}

gboolean fitShownPage(gpointer comment) {
    runHandler(__func__, [&] {
        GtkWidget* const window = gtk_widget_get_toplevel(GTK_WIDGET(comment));
        GtkWidget* const around = gtk_widget_get_parent(GTK_WIDGET(comment));
        GdkRectangle screen{};
        if (GTK_IS_WINDOW(window) && GTK_IS_SCROLLED_WINDOW(around) && getScreenPart(window, &screen)) {
            fitIntoScreen(window, GTK_SCROLLED_WINDOW(around), screen);
        }
    });
    return G_SOURCE_REMOVE;
}

/// What its page takes besides the comment is known once that is shown under its header; the window gets its
/// size behind that.
void onMapped(GtkWidget* comment, gpointer /*data*/) {
    g_idle_add_full(G_PRIORITY_HIGH_IDLE, &fitShownPage, g_object_ref(comment), &g_object_unref);
}

} // namespace

void widenWithText(GtkWindow* window) {
    onStyleChanged<&widen>(GTK_WIDGET(window), nullptr);
    g_signal_connect(window, "style-updated", G_CALLBACK(&onStyleChanged<&widen>), nullptr);
}

void growWithText(GtkTextView* comment) {
    onStyleChanged<&grow>(GTK_WIDGET(comment), nullptr);
    g_signal_connect(comment, "style-updated", G_CALLBACK(&onStyleChanged<&grow>), nullptr);
    g_signal_connect(comment, "map", G_CALLBACK(&onMapped), nullptr);
}
