#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"
#include "tools/MERO/MEROOffline/Linux/CommentView.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/MEROGtkMainWindow.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <cstdio>

namespace {

constexpr std::size_t kMaximumCommentBytes = 2048;

} // namespace

// The limit is on bytes, although the message speaks of characters: a text of several bytes a character is
// refused earlier, and the number shown is its bytes.
bool CMEROGtkMainWindow::validateComments() {
    GtkWidget* view = LookUpWidget("textviewComment", GTK_TYPE_TEXT_VIEW);
    GtkTextBuffer* buffer = view == nullptr ? nullptr : gtk_text_view_get_buffer(GTK_TEXT_VIEW(view));
    if (buffer == nullptr) {
        return true;
    }
    const TextHandle text(wholeText(buffer));
    std::string comment(text.get());
    if (comment.size() <= kMaximumCommentBytes) {
        m_comments = std::move(comment);
        return true;
    }
    static char message[kMaximumCommentBytes + 1];
    const std::string format = translateText(UserText::CommentTooLong);
    std::snprintf(message, sizeof message, format.c_str(), static_cast<int>(comment.size()),
                  static_cast<int>(kMaximumCommentBytes));
    showMessageDialog(GTK_MESSAGE_ERROR, translateText(UserText::TitleError), message);
    return false;
}

void CMEROGtkMainWindow::showMessageDialog(GtkMessageType type, const std::string& title, const char* text) {
    GtkWidget* dialog = gtk_message_dialog_new(GTK_WINDOW(m_pWindow), GTK_DIALOG_DESTROY_WITH_PARENT, type,
                                               GTK_BUTTONS_OK, "%s", displayText(text).c_str());
    gtk_window_set_title(GTK_WINDOW(dialog), displayText(title).c_str());
    gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
    g_signal_connect_swapped(dialog, "response", G_CALLBACK(gtk_widget_destroy), dialog);
    g_signal_connect(dialog, "destroy", G_CALLBACK(&onDialogClosed), this);
    gtk_widget_show(dialog);
    if (m_pPressFilter != nullptr) {
        m_pPressFilter->changePage(dialog);
    }
}

void CMEROGtkMainWindow::onDialogClosed(GtkWidget* /*dialog*/, gpointer window) {
    runHandler(__func__, [&] { static_cast<CMEROGtkMainWindow*>(window)->guardPresses(); });
}

void CMEROGtkMainWindow::onBrowseClicked(GtkButton* /*button*/, gpointer window) {
    runHandler(__func__, [&] { static_cast<CMEROGtkMainWindow*>(window)->browse(); });
}

void CMEROGtkMainWindow::browse() {
    GtkWidget* dialog = gtk_file_chooser_dialog_new(
        "Please select the target bundle location", GTK_WINDOW(m_pWindow), GTK_FILE_CHOOSER_ACTION_SAVE,
        "gtk-cancel", GTK_RESPONSE_CANCEL, "gtk-save", GTK_RESPONSE_ACCEPT, nullptr);
    if (dialog == nullptr) {
        return;
    }
    GtkFileChooser* chooser = GTK_FILE_CHOOSER(dialog);
    std::string folder = helperUtil::translatePath("DEFAULT_ON_USER_DESKTOP");
    std::string name = "MEROBundle.zip";
    if (const std::size_t slash = m_bundlePath.rfind('/'); slash != std::string::npos) {
        // A target in the root folder has nothing in front of its slash.
        folder = slash == 0 ? "/" : m_bundlePath.substr(0, slash);
        name = m_bundlePath.substr(slash + 1);
    }
    gtk_file_chooser_set_current_folder(chooser, folder.c_str());
    gtk_file_chooser_set_current_name(chooser, displayText(name).c_str());
    if (gtk_dialog_run(GTK_DIALOG(dialog)) == GTK_RESPONSE_ACCEPT) {
        if (const TextHandle chosen(gtk_file_chooser_get_filename(chooser)); chosen != nullptr) {
            setTarget(chosen.get());
        }
    }
    gtk_widget_destroy(dialog);
}
