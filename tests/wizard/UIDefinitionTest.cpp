#include "tests/wizard/WizardFixture.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <array>

namespace {

using UIDefinition = Wizard;

struct Expected {
    const char* id;
    GType type;
    /// The notebook's page that it stands on; -1 for none.
    int page;
};

std::vector<Expected> expectedWidgets() {
    return {
        {"windowMain", GTK_TYPE_WINDOW, -1},
        {"labelHeaderTitle", GTK_TYPE_LABEL, -1},
        {"notebookPages", GTK_TYPE_NOTEBOOK, -1},
        {"buttonBack", GTK_TYPE_BUTTON, -1},
        {"buttonNext", GTK_TYPE_BUTTON, -1},
        {"buttonCancel", GTK_TYPE_BUTTON, -1},
        {"labelButtonBack", GTK_TYPE_LABEL, -1},
        {"labelButtonNext", GTK_TYPE_LABEL, -1},
        {"labelButtonCancel", GTK_TYPE_LABEL, -1},
        {"labelMEROIntro", GTK_TYPE_LABEL, 0},
        {"labelWizardPurpose", GTK_TYPE_LABEL, 0},
        {"labelSelectBundleType", GTK_TYPE_LABEL, 1},
        {"radiobuttonBundleTypical", GTK_TYPE_RADIO_BUTTON, 1},
        {"radiobuttonBundleCustom", GTK_TYPE_RADIO_BUTTON, 1},
        {"labelTypicalOption", GTK_TYPE_LABEL, 1},
        {"labelCustomOption", GTK_TYPE_LABEL, 1},
        {"checkbuttonEncryption", GTK_TYPE_CHECK_BUTTON, 2},
        {"checkbuttonMaskPassword", GTK_TYPE_CHECK_BUTTON, 2},
        {"labelPassword", GTK_TYPE_LABEL, 2},
        {"labelConfirmPassword", GTK_TYPE_LABEL, 2},
        {"entryPassword", GTK_TYPE_ENTRY, 2},
        {"entryConfirmPassword", GTK_TYPE_ENTRY, 2},
        {"labelPasswordNotMatch", GTK_TYPE_LABEL, 2},
        {"labelProgressMsg", GTK_TYPE_LABEL, 3},
        {"progressBar", GTK_TYPE_PROGRESS_BAR, 3},
        {"labelFileCollected", GTK_TYPE_LABEL, 3},
        {"labelResultMsg", GTK_TYPE_LABEL, 4},
        {"labelFileSelect", GTK_TYPE_LABEL, 5},
        {"labelCustomHeader", GTK_TYPE_LABEL, 5},
        {"scrolledwindowFileSelDlg", GTK_TYPE_SCROLLED_WINDOW, 5},
        {"labelSelectFileLocation", GTK_TYPE_LABEL, 6},
        {"labelFileLocation", GTK_TYPE_LABEL, 6},
        {"buttonBrowse", GTK_TYPE_BUTTON, 6},
        {"labelBrowse", GTK_TYPE_LABEL, 6},
        {"labelComment", GTK_TYPE_LABEL, 6},
        {"textviewComment", GTK_TYPE_TEXT_VIEW, 6},
    };
}

TEST_F(UIDefinition, HasEachWidgetWithItsClassOnItsPage) {
    open();
    GtkWidget* notebook = LookUpWidget("notebookPages", GTK_TYPE_NOTEBOOK);
    ASSERT_NE(notebook, nullptr);
    EXPECT_EQ(gtk_notebook_get_n_pages(GTK_NOTEBOOK(notebook)), 7);
    for (const Expected& expected : expectedWidgets()) {
        GtkWidget* widget = LookUpWidget(expected.id, expected.type);
        ASSERT_NE(widget, nullptr) << expected.id;
        if (expected.page >= 0) {
            GtkWidget* page = gtk_notebook_get_nth_page(GTK_NOTEBOOK(notebook), expected.page);
            EXPECT_TRUE(gtk_widget_is_ancestor(widget, page)) << expected.id;
        } else {
            EXPECT_FALSE(gtk_widget_is_ancestor(widget, notebook)) << expected.id;
        }
    }
}

TEST_F(UIDefinition, HasTheLabelsOfButtonsInsideThem) {
    open();
    const std::pair<const char*, const char*> labels[] = {{"labelButtonBack", "buttonBack"},
                                                          {"labelButtonNext", "buttonNext"},
                                                          {"labelButtonCancel", "buttonCancel"},
                                                          {"labelBrowse", "buttonBrowse"}};
    for (const auto& [inner, outer] : labels) {
        EXPECT_TRUE(gtk_widget_is_ancestor(LookUpWidget(inner), LookUpWidget(outer))) << inner;
    }
}

TEST_F(UIDefinition, TiesCaptionsToTheirFields) {
    open();
    const std::pair<const char*, const char*> captions[] = {{"labelPassword", "entryPassword"},
                                                            {"labelConfirmPassword", "entryConfirmPassword"},
                                                            {"labelComment", "textviewComment"}};
    for (const auto& [caption, field] : captions) {
        EXPECT_EQ(gtk_label_get_mnemonic_widget(GTK_LABEL(LookUpWidget(caption))), LookUpWidget(field))
            << caption;
    }
}

TEST_F(UIDefinition, MakesPasswordFieldsOfTheEntries) {
    open();
    for (const char* id : {"entryPassword", "entryConfirmPassword"}) {
        EXPECT_EQ(gtk_entry_get_input_purpose(GTK_ENTRY(LookUpWidget(id))), GTK_INPUT_PURPOSE_PASSWORD) << id;
    }
}

TEST_F(UIDefinition, RunsWithoutAnyOneOfItsWidgets) {
    for (const Expected& expected : expectedWidgets()) {
        if (std::string(expected.id) == "windowMain") {
            continue;
        }
        SCOPED_TRACE(expected.id);
        openWithout(expected.id);
        ASSERT_FALSE(m_window->isExitRequested());
        for (uint32_t number = 0; number < 7; ++number) {
            m_window->changePage(number);
        }
        EXPECT_TRUE(m_window->validateComments());
        m_window->updateStatus(nullptr, 0xFEB1000BU);
        m_window->updateStatus(nullptr, 0);
        settle();
        const std::string part = std::string(expected.id) == "notebookPages" ? "notebook" : "";
        EXPECT_EQ(m_log->count('*', ""), m_log->count('E', "Failed to load the notebook")) << m_log->dump();
        EXPECT_EQ(m_log->count('*', "") > 0, !part.empty()) << m_log->dump();
        m_window.reset();
        m_log.reset();
        m_log = std::make_unique<CapturedLog>();
    }
}

/// The kinds and ids of a widget and what is in it, a line each.
std::string treeOf(GtkWidget* widget, const std::string& indent = {}) {
    // GTK names what it makes by itself after its kind.
    std::string tree =
        indent + gtk_buildable_get_name(GTK_BUILDABLE(widget)) + ' ' + G_OBJECT_TYPE_NAME(widget) + '\n';
    if (GTK_IS_NOTEBOOK(widget) || GTK_IS_BOX(widget) || GTK_IS_GRID(widget) || GTK_IS_WINDOW(widget) ||
        GTK_IS_SCROLLED_WINDOW(widget)) {
        const ListHandle children(gtk_container_get_children(GTK_CONTAINER(widget)));
        for (const GList* child = children.get(); child != nullptr; child = child->next) {
            tree += treeOf(GTK_WIDGET(child->data), indent + "  ");
        }
    }
    return tree;
}

TEST_F(UIDefinition, BuildsAPageWhenItIsReached) {
    open();
    const std::pair<uint32_t, const char*> pages[] = {
        {1, "radiobuttonBundleTypical"}, {2, "entryPassword"},   {3, "progressBar"},
        {4, "labelResultMsg"},           {5, "labelFileSelect"}, {6, "textviewComment"}};
    EXPECT_TRUE(isBuilt("labelMEROIntro"));
    for (const auto& [page, widget] : pages) {
        EXPECT_FALSE(isBuilt(widget)) << widget;
    }
    for (const auto& [page, widget] : pages) {
        m_window->changePage(page);
        EXPECT_TRUE(isBuilt(widget)) << widget;
        EXPECT_EQ(page == 6, isBuilt("textviewComment")) << page;
    }
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
}

TEST_F(UIDefinition, IsInTheEndWhatTheFileSays) {
    const auto whole = adoptRef(gtk_builder_new_from_string(realUIFile().c_str(), -1));
    const std::string expected = treeOf(GTK_WIDGET(gtk_builder_get_object(whole.get(), "windowMain")));
    open();
    EXPECT_NE(treeOf(LookUpWidget("windowMain")), expected);
    ASSERT_NE(LookUpWidget("textviewComment"), nullptr);
    EXPECT_EQ(treeOf(LookUpWidget("windowMain")), expected);
    gtk_widget_destroy(GTK_WIDGET(gtk_builder_get_object(whole.get(), "windowMain")));
}

TEST_F(UIDefinition, IsReadOnce) {
    writeUIFile(realUIFile());
    open(path() + "/");
    writeUIFile("<interface/>");
    EXPECT_NE(LookUpWidget("textviewComment"), nullptr);
}

TEST_F(UIDefinition, ThatIsWrongOnALaterPageIsToldOnceThatIsReached) {
    std::string content = realUIFile();
    const std::string known = "\"GtkProgressBar\"";
    content.replace(content.find(known), known.size(), "\"GtkNothing\"");
    writeUIFile(content);
    open(path() + "/");
    EXPECT_FALSE(m_window->isExitRequested());
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
    m_window->changePage(static_cast<uint32_t>(WizardPage::Progress));
    EXPECT_EQ(m_log->count('E', "Failed to load the UI XML: "), 1) << m_log->dump();
    EXPECT_EQ(page(), 3);
}

TEST_F(UIDefinition, ThatIsMissingAsksForTheExit) {
    open(path() + "/");
    EXPECT_TRUE(m_window->isExitRequested());
    EXPECT_EQ(m_log->count('E', "Failed to load the UI XML: "), 1) << m_log->dump();
    EXPECT_TRUE(m_log->contains('E', path("resources/MEROGUI.glade"))) << m_log->dump();
    EXPECT_EQ(m_log->count('*', ""), 1) << m_log->dump();
    EXPECT_EQ(LookUpWidget("windowMain"), nullptr);
}

TEST_F(UIDefinition, ThatDoesNotParseAsksForTheExit) {
    writeUIFile("<interface><object class=\"GtkWindow\" id=\"windowMain\"></interface>");
    open(path() + "/");
    EXPECT_TRUE(m_window->isExitRequested());
    EXPECT_EQ(m_log->count('E', "Failed to load the UI XML: "), 1) << m_log->dump();
    EXPECT_EQ(m_log->count('*', ""), 1) << m_log->dump();
}

// GTK takes a file that just ends for one with less in it.
TEST_F(UIDefinition, ThatIsCutOffAsksForTheExit) {
    writeUIFile("<interface><object class=\"GtkWindow\" id=\"windowMain\">");
    open(path() + "/");
    EXPECT_TRUE(m_window->isExitRequested());
    EXPECT_EQ(m_log->count('E', "Failed to load the main GUI window for MERO"), 1) << m_log->dump();
    EXPECT_EQ(m_log->count('*', ""), 1) << m_log->dump();
}

TEST_F(UIDefinition, WithoutTheWindowAsksForTheExit) {
    openWithout("windowMain");
    EXPECT_TRUE(m_window->isExitRequested());
    EXPECT_EQ(m_log->count('E', "Failed to load the main GUI window for MERO"), 1) << m_log->dump();
    EXPECT_EQ(m_log->count('*', ""), 1) << m_log->dump();
}

TEST_F(UIDefinition, WithAnotherClassForTheWindowAsksForTheExit) {
    writeUIFile("<interface><object class=\"GtkBox\" id=\"windowMain\"/></interface>");
    open(path() + "/");
    EXPECT_TRUE(m_window->isExitRequested());
    EXPECT_TRUE(m_log->contains('E', "Failed to load the main GUI window for MERO")) << m_log->dump();
}

TEST_F(UIDefinition, FailingInsideAMainLoopQuitsIt) {
    expectQuits([this] { open(path() + "/"); });
}

TEST_F(UIDefinition, LessWizardIgnoresItsButtonsAndStatus) {
    open(path() + "/");
    m_window->updateStatus(nullptr, 0xFEB1000CU);
    settle();
    EXPECT_EQ(m_log->count('*', ""), 1) << m_log->dump();
}

TEST_F(UIDefinition, LookUpFindsNothingForANullOrUnknownIdOrAnotherClass) {
    open();
    EXPECT_EQ(LookUpWidget(nullptr), nullptr);
    EXPECT_EQ(LookUpWidget("labelNowhere"), nullptr);
    EXPECT_EQ(LookUpWidget("buttonNext", GTK_TYPE_LABEL), nullptr);
    EXPECT_EQ(LookUpWidget("sizegroupButtons"), nullptr);
    EXPECT_NE(LookUpWidget("buttonNext", GTK_TYPE_BUTTON), nullptr);
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
}

TEST_F(UIDefinition, LookUpWithoutItLogs) {
    EXPECT_EQ(LookUpWidget("buttonNext"), nullptr);
    EXPECT_TRUE(m_log->contains('E', "Failed to look up the widget because UI XML is not found."))
        << m_log->dump();
    EXPECT_TRUE(m_log->contains('E', "Function: LookUpWidget\n")) << m_log->dump();
    EXPECT_EQ(LookUpWidget(nullptr), nullptr);
    EXPECT_EQ(m_log->count('*', ""), 1) << m_log->dump();
}

TEST_F(UIDefinition, IsGoneWithTheWindow) {
    open();
    m_window.reset();
    EXPECT_EQ(LookUpWidget("windowMain"), nullptr);
}

TEST_F(UIDefinition, CanBeLoadedAgain) {
    open();
    m_window.reset();
    open();
    EXPECT_EQ(page(), 0);
}

} // namespace
