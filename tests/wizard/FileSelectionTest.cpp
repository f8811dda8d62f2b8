#include "Common/Utility/ReturnCodes.h"
#include "tests/support/NoNewThreads.h"
#include "tests/unit/selection/SelectionPicture.h"
#include "tests/unit/selection/SelectionWalk.h"
#include "tests/wizard/SelectionPage.h"
#include "tools/MERO/MEROOffline/Linux/BackgroundRun.h"

#include <algorithm>
#include <thread>

namespace {

/// Whether GTK is to fail to make a tree view.
bool g_failTreeView = false;
/// The tree view that was made last. Not owned.
GtkWidget* g_lastTreeView = nullptr;

} // namespace

// Stands before the library's function of this name.
GtkWidget* gtk_tree_view_new() {
    g_lastTreeView = g_failTreeView ? nullptr : GTK_WIDGET(g_object_new(GTK_TYPE_TREE_VIEW, nullptr));
    return g_lastTreeView;
}

namespace {

using TreePathHandle = std::unique_ptr<GtkTreePath, Releaser<&gtk_tree_path_free>>;

void pressButton(const char* button) {
    gtk_button_clicked(GTK_BUTTON(LookUpWidget(button, GTK_TYPE_BUTTON)));
}

/// The page of an open window. To store is to press Next; Back leads here again.
class ShownSelection : public WalkedSelection {
public:
    explicit ShownSelection(CMEROGtkMainWindow& window) : m_window(window) {}
    void click(const std::vector<int>& path) override { toggle(path); }
    void store() override {
        pressButton("buttonNext");
        pressButton("buttonBack");
    }
    [[nodiscard]] std::vector<ReferenceRow> rows() const override { return rowsBelow(nullptr); }
    [[nodiscard]] const std::list<RootItem>& records() const override { return m_window.getModuleTree(); }

private:
    CMEROGtkMainWindow& m_window;
};

class FileSelection : public SelectionPage {
public:
    ~FileSelection() override { g_failTreeView = false; }

protected:
    /// From the first page of an open window, without a look at what the scan reports.
    static void goToScanningPage() {
        setActive("radiobuttonBundleCustom", true);
        pressButton("buttonNext");
        pressButton("buttonNext");
        ASSERT_EQ(page(), 5);
    }

    /// The events of a mouse button at a place among the rows, in pixels from their start.
    static void clickMouse(int x, int y) {
        GdkWindow* rows = gtk_tree_view_get_bin_window(treeView());
        int left = 0;
        int top = 0;
        gdk_window_get_origin(rows, &left, &top);
        GdkDevice* mouse = gdk_seat_get_pointer(gdk_display_get_default_seat(gdk_display_get_default()));
        for (const GdkEventType type : {GDK_BUTTON_PRESS, GDK_BUTTON_RELEASE}) {
            const std::unique_ptr<GdkEvent, Releaser<&gdk_event_free>> event(gdk_event_new(type));
            event->button.window = static_cast<GdkWindow*>(g_object_ref(rows));
            event->button.time = GDK_CURRENT_TIME;
            event->button.button = GDK_BUTTON_PRIMARY;
            event->button.x = x;
            event->button.y = y;
            event->button.x_root = left + x;
            event->button.y_root = top + y;
            gdk_event_set_device(event.get(), mouse);
            gdk_event_set_source_device(event.get(), mouse);
            gtk_main_do_event(event.get());
        }
        settle();
    }

    [[nodiscard]] std::string stored() const { return pictureOf(m_window->getModuleTree()); }
};

TEST_F(FileSelection, NamesItselfWhenItIsMade) {
    open();
    setLabelText("labelCustomHeader", "");
    goToPage();
    EXPECT_EQ(label("labelCustomHeader"), "Select the files to be collected.");
}

TEST_F(FileSelection, ShowsACheckBoxAndATextInOneColumnWithoutHeader) {
    show("+A[+m[+f]]");
    EXPECT_FALSE(gtk_tree_view_get_headers_visible(treeView()));
    EXPECT_EQ(gtk_tree_view_get_n_columns(treeView()), 1U);
    ASSERT_TRUE(GTK_IS_CELL_RENDERER_TOGGLE(renderer(0)));
    ASSERT_TRUE(GTK_IS_CELL_RENDERER_TEXT(renderer(1)));
    EXPECT_EQ(renderer(2), nullptr);

    GtkCellArea* area = gtk_cell_layout_get_area(GTK_CELL_LAYOUT(column()));
    EXPECT_EQ(gtk_cell_area_attribute_get_column(area, renderer(0), "active"), 0);
    EXPECT_EQ(gtk_cell_area_attribute_get_column(area, renderer(1), "text"), 1);
    for (const guint place : {0U, 1U}) {
        gboolean expands = TRUE;
        GtkPackType pack = GTK_PACK_END;
        gtk_cell_area_cell_get(area, renderer(place), "expand", &expands, "pack-type", &pack, nullptr);
        EXPECT_FALSE(expands) << place;
        EXPECT_EQ(pack, GTK_PACK_START) << place;
    }
    EXPECT_TRUE(GTK_IS_TREE_STORE(model()));
    ASSERT_EQ(gtk_tree_model_get_n_columns(model()), 2);
    EXPECT_EQ(gtk_tree_model_get_column_type(model(), 0), G_TYPE_BOOLEAN);
    EXPECT_EQ(gtk_tree_model_get_column_type(model(), 1), G_TYPE_STRING);
}

TEST_F(FileSelection, StartsWithTheChecksOfItsRecords) {
    const std::string picture = "+A[+m[+f -g] -n[-h]] -B[-o[-i]]";
    show(picture);
    EXPECT_EQ(shown(), picture);
    EXPECT_EQ(stored(), picture);
}

TEST_F(FileSelection, GathersTheModulesOfOneRootName) {
    open();
    for (const auto& [root, module] :
         {std::pair("A", "+m"), {"B", "-n"}, {"A", "-o"}, {"B", "-m"}, {"A", "-m"}}) {
        m_window->addModule(root, recordsOf("+x[" + std::string(module) + "]").front().m_modules.front());
    }
    goToPage();
    EXPECT_EQ(shown(), "+A[+m -o -m] -B[-n -m]");
}

TEST_F(FileSelection, KeepsRootsApartThatDifferInTheMarkerAlone) {
    show("-A[-m[-f]] +_tr(\"A\")[+m[+f]]");
    EXPECT_EQ(shown(), "-A[-m[-f]] +A[+m[+f]]");
}

TEST_F(FileSelection, SortsRootsByTheBytesOfTheirNamesAndNothingBelow) {
    show("-b[-z -a] -_tr(\"a\")[-m[-z -_tr(\"a\") -B]] -a[-m] -B[-m] -\xC3\xA4[-m] -ab[-m] -[-m] -Z[-m]");
    EXPECT_EQ(shown(), "-[-m] -B[-m] -Z[-m] -a[-m[-z -a -B]] -a[-m] -ab[-m] -b[-z -a] -\xC3\xA4[-m]");
}

TEST_F(FileSelection, ShowsTextsWithoutTheirMarkers) {
    show("+_tr(\"Logs\")[+_tr(\"Client\")[+_tr(\"main\") -trace]] -Other[-x_tr(\"Inner\")y[-_tr(\"open]]");
    EXPECT_EQ(shown(), "-Other[-Inner[-_tr(\"open]] +Logs[+Client[+main -trace]]");
    EXPECT_EQ(stored(), "-Other[-x_tr(\"Inner\")y[-_tr(\"open]] "
                        "+_tr(\"Logs\")[+_tr(\"Client\")[+_tr(\"main\") -trace]]");
}

TEST_F(FileSelection, ShowsTextsThatAreNoUTF8AllTheSame) {
    show("-A[+caf\xE9[+f\xFF]] -B[+caf\xE8[+f\xFF]]");
    EXPECT_EQ(shown(), "+A[+caf\xEF\xBF\xBD[+f\xEF\xBF\xBD]] +B[+caf\xEF\xBF\xBD[+f\xEF\xBF\xBD]]");
    // They still are two texts.
    toggle({0, 0});
    EXPECT_EQ(stored(), "+A[-caf\xE9[-f\xFF]] +B[+caf\xE8[+f\xFF]]");
}

TEST_F(FileSelection, BlocksBackAndNextButNotCancelWhileItScans) {
    open();
    goToScanningPage();
    EXPECT_FALSE(sensitive("buttonBack"));
    EXPECT_FALSE(sensitive("buttonNext"));
    EXPECT_TRUE(sensitive("buttonCancel"));
    EXPECT_EQ(treeView(), nullptr);
    waitUntil([] { return sensitive("buttonNext"); });
    EXPECT_TRUE(sensitive("buttonBack"));
    ASSERT_NE(treeView(), nullptr);
    EXPECT_TRUE(gtk_widget_get_mapped(GTK_WIDGET(treeView())));
}

TEST_F(FileSelection, ScansWithoutAThreadOfItsOwnToo) {
    open();
    {
        const NoNewThreads limit;
        goToScanningPage();
    }
    EXPECT_FALSE(BackgroundRun::anyUnderWay());
    settle();
    EXPECT_TRUE(sensitive("buttonBack"));
    EXPECT_TRUE(sensitive("buttonNext"));
    EXPECT_NE(treeView(), nullptr);
}

TEST_F(FileSelection, WithoutConfigurationIsEmptyAndMayBePassed) {
    open();
    goToPage();
    EXPECT_EQ(shown(), "");
    EXPECT_EQ(gtk_tree_model_iter_n_children(model(), nullptr), 0);
    click("buttonNext");
    EXPECT_EQ(page(), 6);
    EXPECT_EQ(stored(), "");
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
}

TEST_F(FileSelection, MayBePassedWithNothingSelected) {
    show("+A[+m[+f]]");
    toggle({0});
    click("buttonNext");
    EXPECT_EQ(page(), 6);
    EXPECT_EQ(stored(), "-A[-m[-f]]");
    EXPECT_EQ(messageDialog(), nullptr);
}

TEST_F(FileSelection, FollowsClicksAsThePlainRulesSay) {
    std::size_t clicks = 0;
    for (unsigned seed = 1; seed <= 24 && !HasFailure(); ++seed) {
        std::mt19937 random(seed);
        std::vector<Arrival> arrivals;
        while (arrivals.empty()) {
            arrivals = arrivalsOf(randomTree(random));
        }
        std::shuffle(arrivals.begin(), arrivals.end(), random);
        ReferenceSelection reference(&textWithoutMarker);
        for (const Arrival& arrival : arrivals) {
            reference.addModule(arrival.rootName, arrival.module);
        }
        reference.populate();
        m_window.reset();
        show(arrivals);
        ShownSelection selection(*m_window);
        clicks += walk(selection, reference, random, 500, "seed " + std::to_string(seed));
        settle();
    }
    EXPECT_GE(clicks, 10000U);
}

TEST_F(FileSelection, RestoresTheStoredChoiceAfterItsFilesWereUncheckedOneByOne) {
    show("+A[+m[+f -g +h]]");
    toggle({0, 0, 0});
    toggle({0, 0, 2});
    EXPECT_EQ(shown(), "-A[-m[-f -g -h]]");
    EXPECT_EQ(stored(), "+A[+m[+f -g +h]]");
    toggle({0});
    EXPECT_EQ(shown(), "+A[+m[+f -g +h]]");
}

TEST_F(FileSelection, ChecksEverythingAtTheFirstClickWhereNothingIsByDefault) {
    show("-A[-m[-f -g] -n[-h]]");
    toggle({0});
    EXPECT_EQ(shown(), "+A[+m[+f +g] +n[+h]]");
    EXPECT_EQ(stored(), "-A[-m[-f -g] -n[-h]]");
}

TEST_F(FileSelection, GoesByWhatTheCheckBoxShowed) {
    show("+A[+m[+f -g]]");
    emitToggled("0:0:0", false);
    emitToggled("0:0:1", true);
    EXPECT_EQ(shown(), "+A[+m[+f -g]]");
}

TEST_F(FileSelection, IgnoresAClickOnAMissingRow) {
    show("+A[+m[+f]]");
    for (const char* path : {"1", "0:1", "0:0:1", "0:0:0:0", "2147483647", "0:0:0:0:0:0:0"}) {
        emitToggled(path, true);
        emitToggled(path, false);
        EXPECT_EQ(shown(), "+A[+m[+f]]") << path;
    }
    EXPECT_EQ(stored(), "+A[+m[+f]]");
}

TEST_F(FileSelection, IgnoresAMalformedPath) {
    show("+A[+m[+f]]");
    // GTK warns of each.
    const GLogLevelFlags fatal = g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK));
    for (const char* path : {"", "x", "0x", "0:x", ":", "0::0", "-1", "0:-1"}) {
        emitToggled(path, true);
        EXPECT_EQ(shown(), "+A[+m[+f]]") << path;
    }
    g_log_set_always_fatal(fatal);
    EXPECT_EQ(stored(), "+A[+m[+f]]");
}

TEST_F(FileSelection, KeepsItsRowsUnsavedWhenItIsLeftByBackAndStoresThemOnALaterNext) {
    show("+A[+m[+f -g]]");
    toggle({0, 0, 0});
    toggle({0, 0, 1});
    const std::string changed = "+A[+m[-f +g]]";
    click("buttonBack");
    click("buttonBack");
    EXPECT_EQ(page(), 0);
    EXPECT_EQ(stored(), "+A[+m[+f -g]]");
    click("buttonNext");
    click("buttonNext");
    EXPECT_EQ(page(), 5);
    EXPECT_EQ(shown(), changed);
    EXPECT_EQ(stored(), "+A[+m[+f -g]]");
    click("buttonNext");
    EXPECT_EQ(page(), 6);
    EXPECT_EQ(stored(), changed);
    EXPECT_EQ(shown(), changed);
}

TEST_F(FileSelection, KeepsItsStoredRowsWhenItIsSeenAgain) {
    show("-A[-m[-f -g]]");
    toggle({0, 0, 1});
    click("buttonNext");
    click("buttonBack");
    EXPECT_EQ(page(), 5);
    EXPECT_EQ(shown(), "+A[+m[-f +g]]");
    EXPECT_TRUE(sensitive("buttonBack"));
    EXPECT_TRUE(sensitive("buttonNext"));
}

TEST_F(FileSelection, StaysAsItIsWhenTheScanReportsASecondTime) {
    show("+B[+m[+f -g]] -A[-n[-h]]");
    toggle({1, 0, 1});
    GtkTreeModel* const before = model();
    m_window->updateStatus(nullptr, MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS);
    settle();
    EXPECT_EQ(model(), before);
    EXPECT_EQ(gtk_tree_view_get_n_columns(treeView()), 1U);
    EXPECT_EQ(shown(), "-A[-n[-h]] +B[+m[+f +g]]");
    EXPECT_EQ(stored(), "-A[-n[-h]] +B[+m[+f -g]]");
    toggle({0});
    EXPECT_EQ(shown(), "+A[+n[+h]] +B[+m[+f +g]]");
}

TEST_F(FileSelection, FindsNoModelToStoreBeforeTheScanHasEnded) {
    open();
    goToScanningPage();
    m_window->addModule("A", recordsOf("+A[+m[+f -g]]").front().m_modules.front());
    pressButton("buttonNext");
    EXPECT_EQ(page(), 6);
    EXPECT_EQ(m_log->count('E', "Unable to locate the tree model where data are being stored."), 1)
        << m_log->dump();
    EXPECT_TRUE(m_log->contains('E', "Function: SaveTreeViewToList\n")) << m_log->dump();
    EXPECT_EQ(stored(), "+A[+m[+f -g]]");
    // What the scan has found is there to come back to.
    waitUntil([] { return sensitive("buttonBack"); });
    click("buttonBack");
    EXPECT_EQ(shown(), "+A[+m[+f -g]]");
}

TEST_F(FileSelection, WithoutAViewScansNothing) {
    open();
    g_failTreeView = true;
    goToScanningPage();
    EXPECT_EQ(m_log->count('E', "Failed to instantiate a TreeView object"), 1) << m_log->dump();
    EXPECT_TRUE(m_log->contains('E', "Function: CMEROGtkFileSelDlg\n")) << m_log->dump();
    EXPECT_FALSE(BackgroundRun::anyUnderWay());
    EXPECT_TRUE(sensitive("buttonBack"));
    EXPECT_TRUE(sensitive("buttonNext"));
    m_window->updateStatus(nullptr, MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS);
    settle();
    EXPECT_EQ(treeView(), nullptr);
    click("buttonNext");
    EXPECT_EQ(page(), 6);
    EXPECT_TRUE(m_log->contains('E', "Unable to locate the tree model where data are being stored."))
        << m_log->dump();
}

TEST_F(FileSelection, WithoutAPlaceForItsViewIsStoredAllTheSame) {
    openWithout("scrolledwindowFileSelDlg");
    m_window->addModule("A", recordsOf("+A[+m[+f -g]]").front().m_modules.front());
    setActive("radiobuttonBundleCustom", true);
    next();
    next();
    click("buttonNext");
    EXPECT_EQ(page(), 6);
    EXPECT_EQ(stored(), "+A[+m[+f -g]]");
    EXPECT_EQ(m_log->count('*', ""), 0) << m_log->dump();
}

TEST_F(FileSelection, DestroysAViewThatWasNeverShown) {
    open();
    goToScanningPage();
    ASSERT_EQ(treeView(), nullptr);
    // A reference of somebody else keeps the object, but not the widget.
    const GObjectHandle<GtkWidget> view = shareRef(g_lastTreeView);
    bool destroyed = false;
    g_signal_connect(view.get(), "destroy", G_CALLBACK(+[](GtkWidget* /*widget*/, gpointer flag) {
                         *static_cast<bool*>(flag) = true;
                     }),
                     &destroyed);
    m_window.reset();
    EXPECT_TRUE(destroyed);
}

TEST_F(FileSelection, NoLongerTakesTogglesWhenItsWindowHasGone) {
    show("+A[+m[+f]]");
    const GObjectHandle<GtkCellRenderer> toggles = shareRef(renderer(0));
    m_window.reset();
    g_signal_emit_by_name(toggles.get(), "toggled", "0");
    EXPECT_EQ(g_signal_handler_find(toggles.get(), G_SIGNAL_MATCH_ID,
                                    g_signal_lookup("toggled", GTK_TYPE_CELL_RENDERER_TOGGLE), 0, nullptr,
                                    nullptr, nullptr),
              0U);
}

TEST_F(FileSelection, GoesAwayWithItsWindowWhileItScans) {
    for (int round = 0; round < 20; ++round) {
        open();
        goToScanningPage();
        m_window->addModule("A", recordsOf("+A[+m[+f]]").front().m_modules.front());
        m_window.reset();
        settle();
    }
    while (BackgroundRun::anyUnderWay()) {
        std::this_thread::yield();
    }
    settle();
}

TEST_F(FileSelection, TakesAClickOfTheMouse) {
    show("-A[-m[-f]] -B[-n[-g]]");
    int start = 0;
    int width = 0;
    // Nothing has a place before it was drawn.
    waitUntil([&] {
        return gtk_tree_view_column_cell_get_position(column(), renderer(0), &start, &width) != FALSE &&
               width > 0;
    });
    const TreePathHandle path(gtk_tree_path_new_from_indices(1, -1));
    GdkRectangle cell{};
    gtk_tree_view_get_cell_area(treeView(), path.get(), column(), &cell);
    for (const char* expected : {"-A[-m[-f]] +B[+n[+g]]", "-A[-m[-f]] -B[-n[-g]]"}) {
        clickMouse(cell.x + start + width / 2, cell.y + cell.height / 2);
        EXPECT_EQ(shown(), expected);
    }
    // Beside the check box, on the text.
    clickMouse(cell.x + start + width + 10, cell.y + cell.height / 2);
    EXPECT_EQ(shown(), "-A[-m[-f]] -B[-n[-g]]");
}

TEST_F(FileSelection, TakesTheSpaceKey) {
    show("-A[-m[-f]] -B[-n[-g]]");
    gdk_window_focus(gtk_widget_get_window(LookUpWidget("windowMain")), GDK_CURRENT_TIME);
    gtk_widget_grab_focus(GTK_WIDGET(treeView()));
    waitUntil([] { return gtk_widget_has_focus(GTK_WIDGET(treeView())) != FALSE; });
    const TreePathHandle path(gtk_tree_path_new_from_indices(1, -1));
    gtk_tree_view_set_cursor(treeView(), path.get(), nullptr, FALSE);
    for (const char* expected : {"-A[-m[-f]] +B[+n[+g]]", "-A[-m[-f]] -B[-n[-g]]"}) {
        EXPECT_TRUE(gtk_bindings_activate(G_OBJECT(treeView()), GDK_KEY_space, GdkModifierType{}));
        EXPECT_EQ(shown(), expected);
    }
}

} // namespace
