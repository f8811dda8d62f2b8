#include "tools/MERO/MEROOffline/Linux/TargetPage.h"

#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"
#include "tools/MERO/MEROOffline/Linux/CommentView.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"
#include "tools/MERO/MEROOffline/Linux/WindowGrowth.h"
#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <cstdio>

namespace {

constexpr std::size_t kMaximumCommentBytes = 2048;
constexpr char kPlainName[] = "MEROBundle.zip";

/// Shows the name of the target file, without its folder.
void showTargetName(const std::string& name) {
    setLabelText("labelFileLocation", name);
    if (GtkWidget* label = LookUpWidget("labelFileLocation", GTK_TYPE_LABEL)) {
        gtk_widget_set_tooltip_text(label, displayText(name).c_str());
    }
}

} // namespace

void TargetPage::setUp() {
    showText("labelSelectFileLocation", UserText::SelectFileLocation);
    showButton("buttonBrowse", "labelBrowse", UserText::Browse);
    showText("labelComment", UserText::EnterComments);
    showTargetName(m_pBundlePath->find('/') == std::string::npos
                       ? kPlainName
                       : helperUtil::stringAfterLast(*m_pBundlePath, "/"));
    if (GtkWidget* comment = LookUpWidget("textviewComment", GTK_TYPE_TEXT_VIEW)) {
        keepCommentQuick(GTK_TEXT_VIEW(comment));
        growWithText(GTK_TEXT_VIEW(comment));
    }
    connectSignal("buttonBrowse", "clicked", G_CALLBACK(&onBrowseClicked), this);
}

// The limit is on bytes, although the message speaks of characters: a text of several bytes a character is
// refused earlier, and the number shown is its bytes.
std::optional<std::string> TargetPage::takeComment(std::string& commentOut) {
    GtkWidget* view = LookUpWidget("textviewComment", GTK_TYPE_TEXT_VIEW);
    GtkTextBuffer* buffer = view == nullptr ? nullptr : gtk_text_view_get_buffer(GTK_TEXT_VIEW(view));
    if (buffer == nullptr) {
        return std::nullopt;
    }
    const TextHandle text(wholeText(buffer));
    std::string comment(text.get());
    if (comment.size() <= kMaximumCommentBytes) {
        commentOut = std::move(comment);
        return std::nullopt;
    }
    char message[kMaximumCommentBytes + 1];
    const std::string format = translateText(UserText::CommentTooLong);
    std::snprintf(message, sizeof message, format.c_str(), static_cast<int>(comment.size()),
                  static_cast<int>(kMaximumCommentBytes));
    return message;
}

void TargetPage::onBrowseClicked(GtkButton* /*button*/, gpointer page) {
    runHandler(__func__, [&] { static_cast<TargetPage*>(page)->browse(); });
}

void TargetPage::browse() {
    GtkWidget* window = LookUpWidget("windowMain", GTK_TYPE_WINDOW);
    GtkWidget* dialog = gtk_file_chooser_dialog_new(
        "Please select the target bundle location", GTK_WINDOW(window), GTK_FILE_CHOOSER_ACTION_SAVE,
        "gtk-cancel", GTK_RESPONSE_CANCEL, "gtk-save", GTK_RESPONSE_ACCEPT, nullptr);
    if (dialog == nullptr) {
        return;
    }
    GtkFileChooser* chooser = GTK_FILE_CHOOSER(dialog);
    std::string folder = helperUtil::translatePath("DEFAULT_ON_USER_DESKTOP");
    std::string name = kPlainName;
    if (const std::size_t slash = m_pBundlePath->rfind('/'); slash != std::string::npos) {
        // A target in the root folder has nothing in front of its slash.
        folder = slash == 0 ? "/" : m_pBundlePath->substr(0, slash);
        name = m_pBundlePath->substr(slash + 1);
    }
    gtk_file_chooser_set_current_folder(chooser, folder.c_str());
    gtk_file_chooser_set_current_name(chooser, displayText(name).c_str());
    if (gtk_dialog_run(GTK_DIALOG(dialog)) == GTK_RESPONSE_ACCEPT) {
        if (const TextHandle chosen(gtk_file_chooser_get_filename(chooser)); chosen != nullptr) {
            *m_pBundlePath = chosen.get();
            if (m_pBundlePath->find('/') != std::string::npos) {
                showTargetName(helperUtil::stringAfterLast(*m_pBundlePath, "/"));
            }
        }
    }
    gtk_widget_destroy(dialog);
}
