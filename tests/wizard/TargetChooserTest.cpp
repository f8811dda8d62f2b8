#include "tests/wizard/WizardFixture.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

namespace {

class TargetChooser : public Wizard {
protected:
    /// Presses Browse, prepares the file chooser that it opens until `prepare` is content, and presses one of
    /// its buttons. The chooser reads folders in the background and takes no press before it is done, so the
    /// press is repeated until it works.
    static void browse(gint button, const std::function<bool(GtkFileChooser*)>& prepare) {
        struct Answer {
            const std::function<bool(GtkFileChooser*)>& prepare;
            gint button;
            bool prepared = false;
        } answer{prepare, button};
        const guint poll = g_timeout_add(
            20,
            [](gpointer data) -> gboolean {
                auto* self = static_cast<Answer*>(data);
                if (GtkFileChooser* chooser = openChooser()) {
                    self->prepared = self->prepared || self->prepare(chooser);
                    if (self->prepared) {
                        gtk_dialog_response(GTK_DIALOG(chooser), self->button);
                    }
                }
                return G_SOURCE_CONTINUE;
            },
            &answer);
        // A chooser that is closed while it still lists a folder, as on a slow disk, complains about parts of
        // its own that have gone. It is GTK's and does no harm, so that it doesn't end the test.
        const GLogLevelFlags fatal = g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK));
        click("buttonBrowse");
        g_log_set_always_fatal(fatal);
        g_source_remove(poll);
        EXPECT_TRUE(answer.prepared);
    }

private:
    static GtkFileChooser* openChooser() {
        const std::unique_ptr<GList, Releaser<&g_list_free>> windows(gtk_window_list_toplevels());
        for (GList* item = windows.get(); item != nullptr; item = item->next) {
            if (GTK_IS_FILE_CHOOSER_DIALOG(item->data) && gtk_widget_get_mapped(GTK_WIDGET(item->data))) {
                return GTK_FILE_CHOOSER(item->data);
            }
        }
        return nullptr;
    }
};

TEST_F(TargetChooser, StartsAtTheDefaultAndCancelKeepsIt) {
    walkTo(WizardPage::Target, false);
    const std::string name = label("labelFileLocation");
    std::string folder;
    browse(GTK_RESPONSE_CANCEL, [&](GtkFileChooser* chooser) {
        EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(chooser)), "Please select the target bundle location");
        EXPECT_EQ(gtk_file_chooser_get_action(chooser), GTK_FILE_CHOOSER_ACTION_SAVE);
        EXPECT_FALSE(gtk_file_chooser_get_do_overwrite_confirmation(chooser));
        EXPECT_EQ(std::string(TextHandle(gtk_file_chooser_get_current_name(chooser)).get()), name);
        const TextHandle current(gtk_file_chooser_get_current_folder(chooser));
        folder = current == nullptr ? "" : current.get();
        return !folder.empty();
    });
    EXPECT_EQ(folder, path("Desktop"));
    EXPECT_EQ(label("labelFileLocation"), name);
}

TEST_F(TargetChooser, GivesTheTargetAsItStands) {
    walkTo(WizardPage::Target, false);
    makeFolder("elsewhere");
    browse(GTK_RESPONSE_ACCEPT, [&](GtkFileChooser* chooser) {
        gtk_file_chooser_set_current_folder(chooser, path("elsewhere").c_str());
        gtk_file_chooser_set_current_name(chooser, "no ending");
        return true;
    });
    EXPECT_EQ(label("labelFileLocation"), "no ending");
    EXPECT_EQ(tooltip("labelFileLocation"), "no ending");
    startMERO("");
    EXPECT_EQ(recordedJobs().at(0).bundlePath, path("elsewhere/no ending"));
}

TEST_F(TargetChooser, OpensTheRootFolderForATargetInIt) {
    walkTo(WizardPage::Target, false);
    browse(GTK_RESPONSE_ACCEPT, [](GtkFileChooser* chooser) {
        gtk_file_chooser_set_current_folder(chooser, "/");
        gtk_file_chooser_set_current_name(chooser, "in-root.zip");
        return true;
    });
    ASSERT_EQ(label("labelFileLocation"), "in-root.zip");
    std::string folder;
    browse(GTK_RESPONSE_CANCEL, [&](GtkFileChooser* chooser) {
        const TextHandle current(gtk_file_chooser_get_current_folder(chooser));
        folder = current == nullptr ? "" : current.get();
        return !folder.empty();
    });
    EXPECT_EQ(folder, "/");
}

TEST_F(TargetChooser, DoesNotAskAboutAnExistingFile) {
    walkTo(WizardPage::Target, false);
    writeFile("Desktop/there.zip", "old");
    browse(GTK_RESPONSE_ACCEPT, [](GtkFileChooser* chooser) {
        gtk_file_chooser_set_current_name(chooser, "there.zip");
        return true;
    });
    EXPECT_EQ(label("labelFileLocation"), "there.zip");
    EXPECT_EQ(readFile("Desktop/there.zip"), "old");
}

} // namespace
