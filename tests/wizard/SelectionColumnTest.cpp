#include "tests/wizard/SelectionPage.h"
#include "tools/MERO/MEROOffline/Linux/GtkHandles.h"

#include <chrono>
#include <gdk/gdkx.h>
#include <set>

namespace {

constexpr char kArabic[] = "\xD8\xA7\xD9\x84\xD8\xB4\xD8\xA8\xD9\x83\xD8\xA9";
constexpr char kHebrew[] = "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D";
constexpr char kJapanese[] = "\xE3\x83\x8D\xE3\x83\x83\xE3\x83\x88";
constexpr char kDeepLetters[] = "gpyqj\xC3\x85\xC3\x87";

/// How the rows look.
class SelectionColumn : public SelectionPage {
public:
    ~SelectionColumn() override {
        gdk_x11_display_set_window_scale(gdk_display_get_default(), 1);
        gtk_settings_reset_property(gtk_settings_get_default(), "gtk-font-name");
    }

protected:
    void showTexts(const std::vector<std::string>& labels) {
        show(std::vector<Arrival>{{"A", moduleOf("m", labels)}});
        gtk_tree_view_expand_all(treeView());
        waitUntil([] { return gtk_tree_view_column_get_width(column()) > 1; });
        settle();
    }

    static void setFont(const std::string& font) {
        g_object_set(gtk_settings_get_default(), "gtk-font-name", font.c_str(), nullptr);
        settle();
    }

    static GdkRectangle cellOf(GtkTreePath* path) {
        GdkRectangle cell{};
        gtk_tree_view_get_cell_area(treeView(), path, column(), &cell);
        return cell;
    }

    /// Pixels that a row gives to its cells.
    static int rowHeight() {
        const PathHandle path(gtk_tree_path_new_first());
        return cellOf(path.get()).height;
    }

    /// Pixels that a text takes in the view's font, with its renderer's padding.
    static int neededHeight(const std::string& text) {
        const auto layout = adoptRef(gtk_widget_create_pango_layout(GTK_WIDGET(treeView()), text.c_str()));
        int height = 0;
        int padding = 0;
        pango_layout_get_pixel_size(layout.get(), nullptr, &height);
        gtk_cell_renderer_get_padding(renderer(1), nullptr, &padding);
        EXPECT_GT(padding, 0);
        return height + 2 * padding;
    }

    /// Expects each text that can be seen to have room in its row.
    static void expectRoomForAll(const std::string& circumstances) {
        forEachRow([&](GtkTreePath* path, const std::string& text) {
            EXPECT_GE(cellOf(path).height, neededHeight(text)) << circumstances << ": " << text;
        });
    }

    static void forEachRow(std::function<void(GtkTreePath*, const std::string&)> action) {
        gtk_tree_model_foreach(
            model(),
            [](GtkTreeModel* rows, GtkTreePath* path, GtkTreeIter* row, gpointer data) -> gboolean {
                char* text = nullptr;
                gtk_tree_model_get(rows, row, 1, &text, -1);
                const TextHandle held(text);
                (*static_cast<std::function<void(GtkTreePath*, const std::string&)>*>(data))(path, text);
                return FALSE;
            },
            &action);
    }

    /// Whether a tooltip is shown for the row, when it is asked for by key.
    static bool hasTooltip(const std::string& path) {
        setCursor(path);
        const auto tooltip = adoptRef(static_cast<GtkTooltip*>(g_object_new(GTK_TYPE_TOOLTIP, nullptr)));
        gboolean shown = FALSE;
        g_signal_emit_by_name(treeView(), "query-tooltip", 0, 0, TRUE, tooltip.get(), &shown);
        return shown != FALSE;
    }

    static bool isMixed(const std::string& path) {
        GtkTreeIter row{};
        EXPECT_TRUE(gtk_tree_model_get_iter_from_string(model(), &row, path.c_str())) << path;
        gtk_tree_view_column_cell_set_cell_data(column(), model(), &row, FALSE, FALSE);
        gboolean mixed = FALSE;
        g_object_get(renderer(0), "inconsistent", &mixed, nullptr);
        return mixed != FALSE;
    }

    /// A hundred roots with two thousand items, whose names are long, in several scripts.
    static std::vector<Arrival> manyLongTexts() {
        const std::vector<std::string> words = {"kernel ", std::string(kHebrew) + " ",
                                                std::string(kArabic) + " ", std::string(kJapanese) + " "};
        std::vector<Arrival> arrivals;
        int number = 0;
        const auto name = [&] {
            const std::string& word = words[static_cast<std::size_t>(++number) % words.size()];
            std::string text = number % 5 == 0 ? word : std::string();
            while (number % 5 != 0 && g_utf8_strlen(text.c_str(), -1) < 194) {
                text += word;
            }
            return text + std::to_string(100000 + number);
        };
        for (int root = 0; root < 100; ++root) {
            const std::string rootName = name();
            for (int module = 0; module < 2; ++module) {
                std::vector<std::string> labels(10);
                std::generate(labels.begin(), labels.end(), name);
                arrivals.push_back({rootName, moduleOf(name(), labels)});
            }
        }
        return arrivals;
    }
};

TEST_F(SelectionColumn, GivesItsTextsRoomInEveryFont) {
    // The one with which descenders were cut is there.
    const auto context = adoptRef(gdk_pango_context_get_for_screen(gdk_screen_get_default()));
    const std::unique_ptr<PangoFontDescription, Releaser<&pango_font_description_free>> description(
        pango_font_description_from_string("Cantarell 11"));
    const auto font = adoptRef(pango_context_load_font(context.get(), description.get()));
    const std::unique_ptr<PangoFontDescription, Releaser<&pango_font_description_free>> loaded(
        pango_font_describe(font.get()));
    ASSERT_STREQ(pango_font_description_get_family(loaded.get()), "Cantarell")
        << "fonts-cantarell is missing";
    for (const char* name : {"Cantarell 11", "Sans 10", "Serif 8", "Cantarell 24", "Monospace 40"}) {
        m_window.reset();
        setFont(name);
        showTexts({kDeepLetters, kArabic, kJapanese, kHebrew});
        expectRoomForAll(name);
    }
}

TEST_F(SelectionColumn, FollowsAFontThatIsSetWhileTheWindowIsOpen) {
    setFont("Cantarell 11");
    showTexts({kDeepLetters, kArabic});
    const int before = rowHeight();
    setFont("Cantarell 30");
    waitUntil([&] { return rowHeight() > before; });
    expectRoomForAll("larger");
    setFont("Cantarell 11");
    waitUntil([&] { return rowHeight() == before; });
    expectRoomForAll("as before");
}

TEST_F(SelectionColumn, FollowsAFontThatIsSetWhileAnotherPageIsShown) {
    setFont("Cantarell 11");
    showTexts({kDeepLetters, kArabic});
    click("buttonNext");
    setFont("Cantarell 30");
    click("buttonBack");
    waitUntil([] { return rowHeight() >= neededHeight(kDeepLetters); });
    expectRoomForAll("after the page");
}

TEST_F(SelectionColumn, FollowsTheSizeOfTextAndTheScaleOfTheScreen) {
    setFont("Cantarell 11");
    showTexts({kDeepLetters, kArabic});
    const int before = rowHeight();
    g_object_set(gtk_settings_get_default(), "gtk-xft-dpi", 192 * 1024, nullptr);
    waitUntil([&] { return rowHeight() > before; });
    expectRoomForAll("larger text");
    g_object_set(gtk_settings_get_default(), "gtk-xft-dpi", 96 * 1024, nullptr);
    gdk_x11_display_set_window_scale(gdk_display_get_default(), 2);
    waitUntil([&] { return gtk_widget_get_scale_factor(GTK_WIDGET(treeView())) == 2; });
    expectRoomForAll("scale 2");
    gtk_settings_reset_property(gtk_settings_get_default(), "gtk-xft-dpi");
}

TEST_F(SelectionColumn, LeavesFourPixelsBetweenBoxAndText) {
    showTexts({"f"});
    waitUntil([] { return gtk_tree_view_column_get_width(column()) > 0; });
    EXPECT_EQ(gtk_tree_view_column_get_spacing(column()), 4);
    int boxStart = 0;
    int boxWidth = 0;
    int textStart = 0;
    waitUntil([&] {
        return gtk_tree_view_column_cell_get_position(column(), renderer(0), &boxStart, &boxWidth) != FALSE &&
               boxWidth > 0;
    });
    ASSERT_TRUE(gtk_tree_view_column_cell_get_position(column(), renderer(1), &textStart, nullptr));
    EXPECT_EQ(textStart - (boxStart + boxWidth), 4);
}

TEST_F(SelectionColumn, ShowsWhichRowsAreCheckedInPart) {
    show("+A[+m[+f -g] +n[+h]] +B[+o[+i]]");
    EXPECT_TRUE(isMixed("0"));
    EXPECT_TRUE(isMixed("0:0"));
    EXPECT_FALSE(isMixed("0:1"));
    EXPECT_FALSE(isMixed("0:0:0"));
    EXPECT_FALSE(isMixed("1"));
    toggle({0, 0, 1});
    EXPECT_FALSE(isMixed("0"));
    EXPECT_FALSE(isMixed("0:0"));
    toggle({1, 0, 0});
    EXPECT_EQ(shown(), "+A[+m[+f +g] +n[+h]] -B[-o[-i]]");
    EXPECT_FALSE(isMixed("1"));
}

TEST_F(SelectionColumn, ShowsTheWholeOfACutTextAsATooltip) {
    showTexts({"short", std::string(200, 'w')});
    EXPECT_FALSE(hasTooltip("0:0:0"));
    EXPECT_TRUE(hasTooltip("0:0:1"));
}

TEST_F(SelectionColumn, GivesManyLongTextsInAllScriptsRoom) {
    setFont("Cantarell 11");
    show(manyLongTexts());
    gtk_tree_view_expand_all(treeView());
    // How much of a text fits is known once the page has its place.
    waitUntil([] { return gtk_widget_get_allocated_height(GTK_WIDGET(treeView())) > 1; });
    EXPECT_EQ(gtk_tree_model_iter_n_children(model(), nullptr), 100);
    int rows = 0;
    int cut = 0;
    std::set<int> heights;
    forEachRow([&](GtkTreePath* path, const std::string& text) {
        const GdkRectangle cell = cellOf(path);
        heights.insert(cell.height);
        EXPECT_GE(cell.height, neededHeight(text)) << text;
        ++rows;
        const TextHandle place(gtk_tree_path_to_string(path));
        cut += hasTooltip(place.get()) ? 1 : 0;
    });
    EXPECT_EQ(rows, 100 + 200 + 2000);
    EXPECT_EQ(cut, rows * 4 / 5);
    EXPECT_EQ(heights.size(), 1U);
}

TEST_F(SelectionColumn, NeverScrollsSideways) {
    show(manyLongTexts());
    waitUntil([] { return gtk_widget_get_allocated_height(GTK_WIDGET(treeView())) > 1; });
    GtkAdjustment* sideways = gtk_scrollable_get_hadjustment(GTK_SCROLLABLE(treeView()));
    bool moved = false;
    g_signal_connect(sideways, "value-changed", G_CALLBACK(+[](GtkAdjustment* /*sideways*/, gpointer flag) {
                         *static_cast<bool*>(flag) = true;
                     }),
                     &moved);
    for (const char* path : {"0", "1", "2", "3", "50", "99"}) {
        const PathHandle root(gtk_tree_path_new_from_string(path));
        gtk_tree_view_expand_row(treeView(), root.get(), TRUE);
        for (const char* below : {"", ":0", ":0:0", ":0:1", ":0:2", ":0:3", ":0:4", ":1:9"}) {
            const PathHandle place(gtk_tree_path_new_from_string((std::string(path) + below).c_str()));
            gtk_tree_view_set_cursor_on_cell(treeView(), place.get(), column(), renderer(1), FALSE);
            settle();
            EXPECT_EQ(gtk_adjustment_get_upper(sideways), gtk_adjustment_get_page_size(sideways));
        }
    }
    EXPECT_FALSE(moved);
    EXPECT_EQ(gtk_adjustment_get_value(sideways), gtk_adjustment_get_lower(sideways));
}

} // namespace
