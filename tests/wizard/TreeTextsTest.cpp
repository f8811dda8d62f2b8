#include "tests/wizard/UsedLanguage.h"
#include "tests/wizard/WizardFixture.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

/// The texts of the rows of a tree, from top to bottom, each below its parent.
void addTexts(GtkTreeModel* model, GtkTreeIter* parent, std::vector<std::string>& textsOut) {
    constexpr int kTextColumn = 1;
    GtkTreeIter row{};
    for (gboolean more = gtk_tree_model_iter_children(model, &row, parent); more != FALSE;
         more = gtk_tree_model_iter_next(model, &row)) {
        char* text = nullptr;
        gtk_tree_model_get(model, &row, kTextColumn, &text, -1);
        textsOut.emplace_back(TextHandle(text).get());
        addTexts(model, &row, textsOut);
    }
}

/// The texts of the file selection in German.
class TreeTexts : public Wizard {
public:
    ~TreeTexts() override { m_window.reset(); }

protected:
    /// Goes to the page as if the scan had found one item of these names.
    void show(const std::string& root, const std::string& module, const std::string& file) {
        open();
        ModuleItem found;
        found.m_name = module;
        found.m_files.emplace_back().m_label = file;
        m_window->addModule(root, found);
        setActive("radiobuttonBundleCustom", true);
        next();
        next();
        ASSERT_EQ(page(), static_cast<int>(WizardPage::FileSelection));
    }

    [[nodiscard]] static std::vector<std::string> shown() {
        GtkWidget* place = LookUpWidget("scrolledwindowFileSelDlg", GTK_TYPE_BIN);
        GtkWidget* view = place == nullptr ? nullptr : gtk_bin_get_child(GTK_BIN(place));
        std::vector<std::string> texts;
        if (GTK_IS_TREE_VIEW(view)) {
            addTexts(gtk_tree_view_get_model(GTK_TREE_VIEW(view)), nullptr, texts);
        }
        return texts;
    }

private:
    const UsedLanguage m_language{"de"};
};

TEST_F(TreeTexts, AreTranslatedOnEachLevel) {
    show("_tr(\"Boot\")", "_tr(\"Operating system\")", "_tr(\"Boot logs\")");
    EXPECT_THAT(shown(), ElementsAre("Systemstart", "Betriebssystem", "Startprotokolle"));
}

TEST_F(TreeTexts, AreTranslatedWithoutAMarkToo) {
    show("Boot", "Operating system", "Boot logs");
    EXPECT_THAT(shown(), ElementsAre("Systemstart", "Betriebssystem", "Startprotokolle"));
}

TEST_F(TreeTexts, StayAsTheyAreWithoutATranslation) {
    show("_tr(\"Of nobody\")", "Of nobody", "");
    EXPECT_THAT(shown(), ElementsAre("Of nobody", "Of nobody", ""));
}

// It repeats the caption of the page, and only what looks for it by its name wants it.
TEST_F(TreeTexts, HeaderOfThePageIsTranslatedAndStaysHidden) {
    open();
    const std::string instruction = label("labelFileSelect");
    EXPECT_NE(instruction, "Select the files to be collected.");
    EXPECT_EQ(label("labelCustomHeader"), instruction);
    setLabelText("labelCustomHeader", "");
    m_window.reset();
    walkTo(WizardPage::FileSelection, false);
    EXPECT_EQ(label("labelCustomHeader"), instruction);
    EXPECT_TRUE(visible("labelFileSelect"));
    EXPECT_FALSE(visible("labelCustomHeader"));
    // Nor does it come with all the others.
    gtk_widget_show_all(LookUpWidget("windowMain", GTK_TYPE_WINDOW));
    EXPECT_FALSE(visible("labelCustomHeader"));
}

} // namespace
