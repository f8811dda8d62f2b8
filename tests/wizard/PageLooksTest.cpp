#include "Common/Utility/ReturnCodes.h"
#include "tests/wizard/Appearance.h"
#include "tests/wizard/WindowDrawing.h"
#include "tests/wizard/WizardFixture.h"
#include "tools/MERO/MEROOffline/Linux/GtkHandles.h"

#include <gmock/gmock.h>

namespace {

using testing::SizeIs;

constexpr int kCommentLines = 8;

/// Whether a line of the text as it is laid out has more glyphs than characters. Letters that are drawn as
/// one may make it fewer.
bool hasAddedGlyphs(GtkLabel* label) {
    PangoLayout* const layout = gtk_label_get_layout(label);
    const char* const text = pango_layout_get_text(layout);
    for (int number = 0; number < pango_layout_get_line_count(layout); ++number) {
        const PangoLayoutLine* const line = pango_layout_get_line_readonly(layout, number);
        glong glyphs = 0;
        for (const GSList* run = line->runs; run != nullptr; run = run->next) {
            glyphs += static_cast<const PangoGlyphItem*>(run->data)->glyphs->num_glyphs;
        }
        if (glyphs > g_utf8_strlen(text + line->start_index, line->length)) {
            return true;
        }
    }
    return false;
}

GtkWidget* window() {
    return LookUpWidget("windowMain", GTK_TYPE_WINDOW);
}

int linesOf(GtkLabel* label) {
    return pango_layout_get_line_count(gtk_label_get_layout(label));
}

class PageLooks : public Wizard {
public:
    ~PageLooks() override {
        m_window.reset();
        takeOff();
    }

protected:
    void openIn(const char* font) {
        putOn(Appearance{.name = font, .font = font});
        open();
    }
    /// What of the comment can be seen, in lines of its font.
    static int shownCommentLines() {
        GtkWidget* const view = LookUpWidget("textviewComment", GTK_TYPE_TEXT_VIEW);
        const auto layout = adoptRef(gtk_widget_create_pango_layout(view, "X"));
        int line = 0;
        pango_layout_get_pixel_size(layout.get(), nullptr, &line);
        GdkRectangle shown{};
        gtk_text_view_get_visible_rect(GTK_TEXT_VIEW(view), &shown);
        return (shown.height - gtk_text_view_get_top_margin(GTK_TEXT_VIEW(view))) / line;
    }
    void goToTarget() {
        setActive("radiobuttonBundleCustom", true);
        next();
        next();
        next();
        ASSERT_EQ(page(), static_cast<int>(WizardPage::Target));
        waitUntil([] { return gtk_widget_get_allocated_height(LookUpWidget("textviewComment")) > 1; });
        settle();
    }
};

TEST_F(PageLooks, HaveALargerMarkOnTheFirstPage) {
    open();
    GtkWidget* const mark = LookUpWidget("imageWelcome", GTK_TYPE_IMAGE);
    ASSERT_NE(mark, nullptr);
    EXPECT_TRUE(gtk_widget_get_mapped(mark));
    EXPECT_FALSE(visible("imageHeader"));
    const int size = gtk_image_get_pixel_size(GTK_IMAGE(mark));
    const int top = gtk_widget_get_allocated_height(LookUpWidget("boxHeader"));
    next();
    EXPECT_FALSE(gtk_widget_get_mapped(mark));
    EXPECT_TRUE(visible("imageHeader"));
    EXPECT_GT(size, gtk_image_get_pixel_size(GTK_IMAGE(LookUpWidget("imageHeader", GTK_TYPE_IMAGE))));
    settle();
    EXPECT_EQ(gtk_widget_get_allocated_height(LookUpWidget("boxHeader")), top);
    click("buttonBack");
    EXPECT_FALSE(visible("imageHeader"));
}

TEST_F(PageLooks, HaveAMarkAsSharpAsTheScreen) {
    open();
    for (const char* id : {"imageWelcome", "imageHeader"}) {
        GtkWidget* const mark = LookUpWidget(id, GTK_TYPE_IMAGE);
        const int pixels = gtk_image_get_pixel_size(GTK_IMAGE(mark)) * gtk_widget_get_scale_factor(mark);
        cairo_surface_t* shown = nullptr;
        g_object_get(mark, "surface", &shown, nullptr);
        const SurfaceHandle surface(shown);
        ASSERT_NE(surface, nullptr) << id;
        EXPECT_GE(cairo_image_surface_get_width(shown), pixels) << id;
        double scale = 0;
        cairo_surface_get_device_scale(shown, &scale, &scale);
        EXPECT_EQ(cairo_image_surface_get_width(shown) / scale, gtk_image_get_pixel_size(GTK_IMAGE(mark)))
            << id;
    }
}

TEST_F(PageLooks, HaveTheMarkOfTheIconThemeWhereTheirOwnIsMissing) {
    writeUIFile(realUIFile());
    open(path() + "/");
    const char* name = nullptr;
    gtk_image_get_icon_name(GTK_IMAGE(LookUpWidget("imageWelcome", GTK_TYPE_IMAGE)), &name, nullptr);
    EXPECT_STREQ(name, "com.varnel.corvane.mero");
}

TEST_F(PageLooks, HaveTheSameMarginAndBeginAtTheTop) {
    open();
    GtkWidget* const pages = LookUpWidget("notebookPages", GTK_TYPE_NOTEBOOK);
    const auto margin = [pages](int number) {
        return gtk_container_get_border_width(
            GTK_CONTAINER(gtk_notebook_get_nth_page(GTK_NOTEBOOK(pages), number)));
    };
    for (int number = 1; number < gtk_notebook_get_n_pages(GTK_NOTEBOOK(pages)); ++number) {
        EXPECT_EQ(margin(number), margin(0)) << number;
    }
    m_window->changePage(static_cast<uint32_t>(WizardPage::Progress));
    m_window->updateStatus(nullptr, 0);
    settle();
    GtkWidget* const result = LookUpWidget("boxResult");
    waitUntil([result] { return gtk_widget_get_allocated_height(result) > 1; });
    EXPECT_LT(gtk_widget_get_allocated_height(result), gtk_widget_get_allocated_height(pages) / 2);
}

TEST_F(PageLooks, HaveExplanationsThatAreLighterThanTheOptionsAndLegible) {
    walkTo(WizardPage::BundleType);
    for (const Look& look : kLooks) {
        // Themes take both back alike in a window that is not in use.
        if (look.isBehind) {
            continue;
        }
        putOn(window(), look);
        for (const auto& [option, explanation] :
             {std::pair("radiobuttonBundleTypical", "labelTypicalOption"),
              std::pair("radiobuttonBundleCustom", "labelCustomOption")}) {
            const double contrast = contrastOf(window(), LookUpWidget(explanation));
            EXPECT_GE(contrast, kLegibleContrast) << nameOf(look) << ", " << explanation;
            EXPECT_LT(contrast, contrastOf(window(), gtk_bin_get_child(GTK_BIN(LookUpWidget(option)))))
                << nameOf(look) << ", " << explanation;
        }
    }
}

TEST_F(PageLooks, ShowTheTargetAsTextWithoutAFrame) {
    walkTo(WizardPage::Target, false);
    GtkWidget* const label = LookUpWidget("labelFileLocation", GTK_TYPE_LABEL);
    waitUntil([label] { return gtk_widget_get_allocated_width(label) > 1; });
    GdkRectangle left{0, 0, 0, 0};
    gtk_widget_translate_coordinates(label, window(), 0, 0, &left.x, &left.y);
    // The margin of the page, and what stands between it and the text.
    left.width = left.x;
    left.x = 0;
    left.height = gtk_widget_get_allocated_height(label);
    EXPECT_THAT(Drawing(window()).coloursIn(left), SizeIs(1));
    GdkRectangle above{0, 0, gtk_widget_get_allocated_width(label), 1};
    GtkWidget* const box = LookUpWidget("boxLocation");
    gtk_widget_translate_coordinates(box, window(), 0, 0, &above.x, &above.y);
    EXPECT_THAT(Drawing(window()).coloursIn(above), SizeIs(1));
}

TEST_F(PageLooks, BreakAPathWithoutHyphens) {
    walkTo(WizardPage::Progress);
    const MEROStatusInfo info{.m_progress = 50, .m_message = "Processing " + std::string(200, 'x') + "..."};
    m_window->updateStatus(&info, MEROOFFLINE_ERROR_PROCESSING);
    settle();
    auto* const report = GTK_LABEL(LookUpWidget("labelFileCollected", GTK_TYPE_LABEL));
    waitUntil([report] { return linesOf(report) > 1; });
    EXPECT_FALSE(hasAddedGlyphs(report));

    m_window.reset();
    const std::string home(200, 'x');
    makeFolder(home + "/Desktop");
    setEnvironment("HOME", path(home));
    open();
    m_window->changePage(static_cast<uint32_t>(WizardPage::Progress));
    m_window->updateStatus(nullptr, 0);
    settle();
    auto* const result = GTK_LABEL(LookUpWidget("labelResultMsg", GTK_TYPE_LABEL));
    waitUntil([result] { return linesOf(result) > 2; });
    EXPECT_THAT(label("labelResultMsg"), testing::HasSubstr(home));
    EXPECT_FALSE(hasAddedGlyphs(result));
}

TEST_F(PageLooks, KeepEightLinesOfTheCommentInEveryFont) {
    for (const char* font : {"Cantarell 8", "Cantarell 11", "DejaVu Sans 14", "Cantarell 22"}) {
        m_window.reset();
        openIn(font);
        goToTarget();
        EXPECT_GE(shownCommentLines(), kCommentLines) << font;
    }
}

// A window's least height is that at its least width: a header that is broken there would make it grow.
TEST_F(PageLooks, HaveRoomForTheLongestHeaderAtTheLeastWidth) {
    for (const char* font : {"Cantarell 11", "Cantarell 14", "Cantarell 22"}) {
        m_window.reset();
        openIn(font);
        goToTarget();
        const auto header = adoptRef(pango_layout_copy(
            gtk_label_get_layout(GTK_LABEL(LookUpWidget("labelHeaderTitle", GTK_TYPE_LABEL)))));
        pango_layout_set_width(header.get(), -1);
        int width = 0;
        pango_layout_get_pixel_size(header.get(), &width, nullptr);
        int left = 0;
        int top = 0;
        gtk_widget_translate_coordinates(LookUpWidget("labelHeaderTitle"), window(), 0, 0, &left, &top);
        int least = 0;
        gtk_widget_get_preferred_width(window(), &least, nullptr);
        EXPECT_LE(left + width, least) << font;
    }
}

TEST_F(PageLooks, GrowWithAFontThatIsSetWhileTheWindowIsOpen) {
    openIn("Cantarell 11");
    goToTarget();
    const int width = gtk_widget_get_allocated_width(window());
    putOn(Appearance{.name = "larger", .font = "Cantarell 22"});
    waitUntil([] { return shownCommentLines() >= kCommentLines; });
    waitUntil([width] { return gtk_widget_get_allocated_width(window()) > width; });
}

TEST_F(PageLooks, KeepTheWindowOnTheScreenInTheLargestFont) {
    openIn("Cantarell 50");
    goToTarget();
    GdkRectangle screen{};
    gdk_monitor_get_workarea(gdk_display_get_monitor(gdk_display_get_default(), 0), &screen);
    EXPECT_LE(gtk_widget_get_allocated_width(window()), screen.width);
    EXPECT_LE(gtk_widget_get_allocated_height(window()), screen.height);
}

} // namespace
