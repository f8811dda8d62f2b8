#include "tools/MERO/MEROOffline/Linux/EncryptionPage.h"

#include "tools/MERO/MEROOffline/Linux/Accessibility.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <utility>

namespace {

constexpr auto kEntries = {"entryPassword", "entryConfirmPassword"};

WipedString entryText(const char* id) {
    GtkWidget* entry = LookUpWidget(id, GTK_TYPE_ENTRY);
    return entry == nullptr ? WipedString() : WipedString(gtk_entry_get_text(GTK_ENTRY(entry)));
}

void showMismatch(bool shown) {
    // A screen reader says it each time that it appears: also to who presses Next again.
    setVisible("labelPasswordNotMatch", false);
    setVisible("labelPasswordNotMatch", shown);
    for (const char* entry : kEntries) {
        setDescribed(entry, "labelPasswordNotMatch", shown);
    }
}

void setConfirmable(bool confirmable) {
    setSensitive("entryConfirmPassword", confirmable);
    setSensitive("labelConfirmPassword", confirmable);
}

void setUsable(bool usable) {
    for (const char* id : {"checkbuttonMaskPassword", "entryPassword", "labelPassword"}) {
        setSensitive(id, usable);
    }
    // Without the mask button the confirmation counts, so it must be possible to type it.
    setConfirmable(usable && isActive("checkbuttonMaskPassword").value_or(true));
}

void setMasked(bool masked) {
    for (const char* entry : kEntries) {
        setEntryVisibility(entry, !masked);
    }
}

void onEncryptionToggled(GtkToggleButton* button, gpointer /*data*/) {
    setUsable(gtk_toggle_button_get_active(button) != FALSE);
    showMismatch(false);
}

void onMaskPasswordToggled(GtkToggleButton* button, gpointer /*data*/) {
    const bool active = gtk_toggle_button_get_active(button) != FALSE;
    setMasked(active);
    setConfirmable(active);
    GtkWidget* confirmation = LookUpWidget("entryConfirmPassword", GTK_TYPE_ENTRY);
    if (!active && confirmation != nullptr) {
        gtk_entry_set_text(GTK_ENTRY(confirmation), "");
    }
}

/// `next` is the page's function of that name.
gboolean onPasswordKeyPress(GtkWidget* /*widget*/, GdkEvent* event, gpointer next) {
    guint key = 0;
    // The keypad's Enter is a key of its own and counts as any other.
    if (gdk_event_get_keyval(event, &key) != FALSE && key == GDK_KEY_Return) {
        (*static_cast<std::function<void()>*>(next))();
    } else {
        showMismatch(false);
    }
    return GDK_EVENT_PROPAGATE;
}

} // namespace

void EncryptionPage::setUp(std::function<void()> next) {
    m_next = std::move(next);
    showOption("checkbuttonEncryption", UserText::EnableEncryption);
    showOption("checkbuttonMaskPassword", UserText::MaskPassword);
    showText("labelPassword", UserText::Password);
    showText("labelConfirmPassword", UserText::ConfirmPassword);
    showText("labelPasswordNotMatch", UserText::PasswordNotMatch);

    setSensitive("checkbuttonEncryption", true);
    if (GtkWidget* mask = LookUpWidget("checkbuttonMaskPassword", GTK_TYPE_TOGGLE_BUTTON)) {
        gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(mask), TRUE);
    }
    setUsable(false);
    setMasked(true);
    setVisible("labelPasswordNotMatch", false);

    connectSignal("checkbuttonEncryption", "toggled", G_CALLBACK(&onEncryptionToggled), nullptr);
    connectSignal("checkbuttonMaskPassword", "toggled", G_CALLBACK(&onMaskPasswordToggled), nullptr);
    for (const char* entry : kEntries) {
        connectSignal(entry, "key-press-event", G_CALLBACK(&onPasswordKeyPress), &m_next);
    }
}

std::optional<WipedString> EncryptionPage::acceptedPassword() {
    if (!isActive("checkbuttonEncryption").value_or(false)) {
        return WipedString();
    }
    WipedString password = entryText("entryPassword");
    const WipedString confirmation = entryText("entryConfirmPassword");
    // Who can read what is typed need not confirm it.
    const bool readable = !isActive("checkbuttonMaskPassword").value_or(true);
    if (password.view() != confirmation.view() && !readable) {
        showMismatch(true);
        return std::nullopt;
    }
    return password;
}
