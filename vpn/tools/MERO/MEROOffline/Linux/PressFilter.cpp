#include "tools/MERO/MEROOffline/Linux/PressFilter.h"

#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"

#include <algorithm>
#include <array>

namespace {

int64_t nowMs() {
    return g_get_monotonic_time() / G_TIME_SPAN_MILLISECOND;
}

int64_t doubleClickMs() {
    gint time = 0;
    g_object_get(gtk_settings_get_default(), "gtk-double-click-time", &time, nullptr);
    return time;
}

/// Buttons that lead on. Check boxes and options lead nowhere, and the button's own kind of label or icon may
/// be what lies under the pointer.
bool leadsOn(GtkWidget* widget) {
    GtkWidget* const button = widget == nullptr ? nullptr : gtk_widget_get_ancestor(widget, GTK_TYPE_BUTTON);
    if (button == nullptr || GTK_IS_TOGGLE_BUTTON(button)) {
        return false;
    }
    static constexpr std::array kNames = {"buttonNext", "buttonBack"};
    const char* const name = gtk_buildable_get_name(GTK_BUILDABLE(button));
    return GTK_IS_MESSAGE_DIALOG(gtk_widget_get_toplevel(button)) ||
           std::any_of(kNames.begin(), kNames.end(),
                       [name](const char* known) { return g_strcmp0(name, known) == 0; });
}

/// Whether a key would press a button that leads on, given what has the focus in its window.
bool pressesAButton(const GdkEventKey& key, GtkWindow* window) {
    GtkWidget* const focus = gtk_window_get_focus(window);
    switch (key.keyval) {
    case GDK_KEY_Return:
    case GDK_KEY_ISO_Enter:
    case GDK_KEY_KP_Enter:
        // In the comment it is a new line.
        return !GTK_IS_TEXT_VIEW(focus);
    case GDK_KEY_space:
    case GDK_KEY_KP_Space:
        return leadsOn(focus);
    case GDK_KEY_Escape:
        return true;
    default:
        return (key.state & gtk_window_get_mnemonic_modifier(window)) != 0;
    }
}

} // namespace

PressFilter::PressFilter() {
    gdk_event_handler_set(&onEvent, this, nullptr);
}

PressFilter::~PressFilter() {
    stopWaitingForPaint();
    gdk_event_handler_set([](GdkEvent* event, gpointer /*data*/) { gtk_main_do_event(event); }, nullptr,
                          nullptr);
}

void PressFilter::changePage(GtkWidget* window) {
    stopWaitingForPaint();
    m_guard.changePage();
    if (gtk_widget_get_mapped(window) == FALSE) {
        m_guard.showPage(nowMs());
        return;
    }
    m_clock = shareRef(gtk_widget_get_frame_clock(window));
    g_signal_connect(m_clock.get(), "after-paint", G_CALLBACK(&onPainted), this);
    gtk_widget_queue_draw(window);
}

void PressFilter::stopWaitingForPaint() {
    if (m_clock != nullptr) {
        g_signal_handlers_disconnect_by_data(m_clock.get(), this);
        m_clock.reset();
    }
}

void PressFilter::onPainted(GdkFrameClock* /*clock*/, gpointer self) {
    auto& filter = *static_cast<PressFilter*>(self);
    filter.stopWaitingForPaint();
    filter.m_guard.showPage(nowMs());
}

void PressFilter::onEvent(GdkEvent* event, gpointer self) {
    bool isDropped = false;
    runHandler(__func__, [&] { isDropped = static_cast<PressFilter*>(self)->drops(*event); });
    if (!isDropped) {
        gtk_main_do_event(event);
    }
}

bool PressFilter::drops(GdkEvent& event) {
    switch (event.type) {
    case GDK_KEY_PRESS:
        return dropsKey(event.key);
    case GDK_KEY_RELEASE:
        m_guard.releaseKey(event.key.hardware_keycode);
        return false;
    case GDK_BUTTON_PRESS:
    case GDK_2BUTTON_PRESS:
    case GDK_3BUTTON_PRESS:
    case GDK_TOUCH_BEGIN:
        return !m_guard.admitsPress(nowMs(), doubleClickMs()) && leadsOn(gtk_get_event_widget(&event));
    default:
        return false;
    }
}

bool PressFilter::dropsKey(const GdkEventKey& key) {
    // Each press is noted, also one that presses no button here: its repeats may, once a page has changed.
    const bool isAdmitted = m_guard.admitsKey(key.hardware_keycode, nowMs(), doubleClickMs());
    gpointer widget = nullptr;
    gdk_window_get_user_data(key.window, &widget);
    GtkWidget* const window = widget == nullptr ? nullptr : gtk_widget_get_toplevel(GTK_WIDGET(widget));
    return !isAdmitted && GTK_IS_WINDOW(window) && pressesAButton(key, GTK_WINDOW(window));
}
