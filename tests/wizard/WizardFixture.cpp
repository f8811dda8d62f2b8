#include "tests/wizard/WizardFixture.h"

#include "Common/i18n/MsgCatalog.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <utility>

namespace {

GtkWidget* openDialog() {
    const std::unique_ptr<GList, Releaser<&g_list_free>> windows(gtk_window_list_toplevels());
    for (GList* item = windows.get(); item != nullptr; item = item->next) {
        if (GTK_IS_MESSAGE_DIALOG(item->data) && gtk_widget_get_visible(GTK_WIDGET(item->data))) {
            return GTK_WIDGET(item->data);
        }
    }
    return nullptr;
}

} // namespace

void Wizard::SetUpTestSuite() {
    static bool started = false;
    if (!started) {
        ASSERT_TRUE(gtk_init_check(nullptr, nullptr)) << "no display";
        g_log_set_always_fatal(
            static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
        // Once in a process the catalogue tells how it is set up: before a test looks at the log. English.
        MsgCatalog::initMsgCatalog("c");
        started = true;
    }
}

Wizard::Wizard() {
    s_current = this;
    recordedJobs().clear();
    makeFolder("Desktop");
}

Wizard::~Wizard() {
    m_window.reset();
    settle();
}

void Wizard::open(const std::string& programFolder) {
    m_window =
        std::make_unique<CMEROGtkMainWindow>(programFolder.empty() ? WIZARD_PROGRAM_FOLDER : programFolder);
    settle();
}

std::string Wizard::realUIFile() const {
    return readFile(WIZARD_PROGRAM_FOLDER "resources/MEROGUI.glade");
}

void Wizard::writeUIFile(const std::string& content) const {
    writeFile("resources/MEROGUI.glade", content);
}

void Wizard::openWithout(const std::string& id) {
    std::string content = realUIFile();
    ASSERT_NE(content.find('"' + id + '"'), std::string::npos) << id;
    // As an attribute, and as the text of a property that refers to the widget.
    for (const auto& [before, after] : {std::pair('"', '"'), std::pair('>', '<')}) {
        const std::string quoted = before + id + after;
        for (std::size_t at = content.find(quoted); at != std::string::npos; at = content.find(quoted, at)) {
            content.replace(at + 1, id.size(), "gone");
        }
    }
    writeUIFile(content);
    open(path() + "/");
}

void Wizard::settle() {
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
}

void Wizard::waitUntil(const std::function<bool()>& condition) {
    bool expired = false;
    const guint limit = g_timeout_add_seconds(
        10,
        [](gpointer flag) -> gboolean {
            *static_cast<bool*>(flag) = true;
            return G_SOURCE_CONTINUE;
        },
        &expired);
    while (!condition() && !expired) {
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(limit);
    ASSERT_FALSE(expired) << "waited ten seconds in vain";
}

void Wizard::expectQuits(const std::function<void()>& action) {
    struct Round {
        const std::function<void()>& action;
        bool expired = false;
    } round{action};
    g_idle_add(
        [](gpointer data) -> gboolean {
            static_cast<Round*>(data)->action();
            return G_SOURCE_REMOVE;
        },
        &round);
    const guint limit = g_timeout_add_seconds(
        10,
        [](gpointer data) -> gboolean {
            static_cast<Round*>(data)->expired = true;
            gtk_main_quit();
            return G_SOURCE_CONTINUE;
        },
        &round);
    gtk_main();
    g_source_remove(limit);
    EXPECT_FALSE(round.expired) << "the main loop went on";
}

void Wizard::click(const char* button) {
    GtkWidget* widget = LookUpWidget(button, GTK_TYPE_BUTTON);
    ASSERT_NE(widget, nullptr) << button;
    gtk_button_clicked(GTK_BUTTON(widget));
    settle();
    awaitHelper();
}

void Wizard::awaitHelper() {
    waitUntil([] { return s_current->m_window == nullptr || !s_current->m_window->isAskingHelper(); });
}

void Wizard::startMERO(const std::string& requestPath) {
    m_window->startMERO(requestPath);
    awaitHelper();
}

void Wizard::next() {
    click("buttonNext");
    if (page() == static_cast<int>(WizardPage::FileSelection)) {
        waitUntil([] { return sensitive("buttonNext"); });
    }
}

void Wizard::press(const char* id, guint key) {
    GtkWidget* widget = LookUpWidget(id);
    ASSERT_NE(widget, nullptr) << id;
    const std::unique_ptr<GdkEvent, Releaser<&gdk_event_free>> event(gdk_event_new(GDK_KEY_PRESS));
    event->key.window = static_cast<GdkWindow*>(g_object_ref(gtk_widget_get_window(widget)));
    event->key.keyval = key;
    event->key.time = GDK_CURRENT_TIME;
    gdk_event_set_device(event.get(),
                         gdk_seat_get_keyboard(gdk_display_get_default_seat(gdk_display_get_default())));
    static_cast<void>(gtk_widget_event(widget, event.get()));
    settle();
    awaitHelper();
}

void Wizard::setActive(const char* toggle, bool active) {
    GtkWidget* widget = LookUpWidget(toggle, GTK_TYPE_TOGGLE_BUTTON);
    ASSERT_NE(widget, nullptr) << toggle;
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(widget), active ? TRUE : FALSE);
    settle();
}

void Wizard::type(const char* entry, const std::string& text) {
    GtkWidget* widget = LookUpWidget(entry, GTK_TYPE_ENTRY);
    ASSERT_NE(widget, nullptr) << entry;
    gtk_entry_set_text(GTK_ENTRY(widget), text.c_str());
}

void Wizard::setComment(const std::string& text) {
    GtkWidget* view = LookUpWidget("textviewComment", GTK_TYPE_TEXT_VIEW);
    ASSERT_NE(view, nullptr);
    gtk_text_buffer_set_text(gtk_text_view_get_buffer(GTK_TEXT_VIEW(view)), text.data(),
                             static_cast<gint>(text.size()));
}

void Wizard::walkTo(WizardPage target, bool typical) {
    open();
    setActive("radiobuttonBundleCustom", !typical);
    for (int steps = 0; page() != static_cast<int>(target) && steps < 6; ++steps) {
        next();
    }
    ASSERT_EQ(page(), static_cast<int>(target));
}

int Wizard::page() {
    GtkWidget* notebook = LookUpWidget("notebookPages", GTK_TYPE_NOTEBOOK);
    return notebook == nullptr ? -1 : gtk_notebook_get_current_page(GTK_NOTEBOOK(notebook));
}

std::string Wizard::label(const char* id) {
    GtkWidget* widget = LookUpWidget(id);
    if (GTK_IS_LABEL(widget)) {
        return gtk_label_get_text(GTK_LABEL(widget));
    }
    return GTK_IS_BUTTON(widget) ? gtk_button_get_label(GTK_BUTTON(widget)) : "no widget";
}

std::string Wizard::tooltip(const char* id) {
    const TextHandle text(gtk_widget_get_tooltip_text(LookUpWidget(id)));
    return text == nullptr ? "" : text.get();
}

bool Wizard::sensitive(const char* id) {
    GtkWidget* widget = LookUpWidget(id);
    return widget != nullptr && gtk_widget_get_sensitive(widget) != FALSE;
}

bool Wizard::visible(const char* id) {
    GtkWidget* widget = LookUpWidget(id);
    return widget != nullptr && gtk_widget_get_visible(widget) != FALSE;
}

bool Wizard::masked(const char* entry) {
    return gtk_entry_get_visibility(GTK_ENTRY(LookUpWidget(entry, GTK_TYPE_ENTRY))) == FALSE;
}

GtkWidget* Wizard::messageDialog() {
    return openDialog();
}

std::string Wizard::dialogText() {
    GtkWidget* dialog = openDialog();
    if (dialog == nullptr) {
        return "no dialog";
    }
    char* text = nullptr;
    g_object_get(dialog, "text", &text, nullptr);
    return TextHandle(text).get();
}
