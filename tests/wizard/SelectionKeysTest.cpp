#include "tests/wizard/SelectionPage.h"
#include "tools/MERO/MEROOffline/Linux/GtkHandles.h"

#include <vector>

namespace {

class SelectionKeys : public SelectionPage {
protected:
    /// Hands a key to the view. What its bindings make of keys is left out: they want a real keyboard.
    static bool press(guint key, GdkModifierType modifiers = {}) {
        const EventHandle event(gdk_event_new(GDK_KEY_PRESS));
        event->key.window =
            static_cast<GdkWindow*>(g_object_ref(gtk_widget_get_window(GTK_WIDGET(treeView()))));
        event->key.keyval = key;
        event->key.state = modifiers;
        event->key.time = GDK_CURRENT_TIME;
        gdk_event_set_device(event.get(),
                             gdk_seat_get_keyboard(gdk_display_get_default_seat(gdk_display_get_default())));
        gboolean taken = FALSE;
        g_signal_emit_by_name(treeView(), "key-press-event", event.get(), &taken);
        settle();
        return taken != FALSE;
    }

    static bool isOpen(const std::string& path) {
        const PathHandle place(gtk_tree_path_new_from_string(path.c_str()));
        return gtk_tree_view_row_expanded(treeView(), place.get()) != FALSE;
    }

    /// Paths of the roots that a search for this goes through.
    static std::string found(const std::string& typed) {
        std::string paths;
        GtkTreeIter row{};
        for (gboolean more = gtk_tree_model_get_iter_first(model(), &row); more != FALSE;
             more = gtk_tree_model_iter_next(model(), &row)) {
            const auto isOther = gtk_tree_view_get_search_equal_func(treeView());
            const int place = gtk_tree_view_get_search_column(treeView());
            if (isOther(model(), place, typed.c_str(), &row, nullptr) == FALSE) {
                const TextHandle path(gtk_tree_model_get_string_from_iter(model(), &row));
                paths.append(paths.empty() ? "" : " ").append(path.get());
            }
        }
        return paths;
    }
};

TEST_F(SelectionKeys, RightOpensARowThenGoesIntoIt) {
    show("+A[+m[+f -g] -n[-h]] -B[-o[-i]]");
    setCursor("0");
    EXPECT_TRUE(press(GDK_KEY_Right));
    EXPECT_TRUE(isOpen("0"));
    EXPECT_FALSE(isOpen("0:0"));
    EXPECT_EQ(cursor(), "0");
    EXPECT_TRUE(press(GDK_KEY_KP_Right));
    EXPECT_EQ(cursor(), "0:0");
    EXPECT_TRUE(press(GDK_KEY_Right));
    EXPECT_TRUE(isOpen("0:0"));
    EXPECT_TRUE(press(GDK_KEY_Right));
    EXPECT_EQ(cursor(), "0:0:0");
    EXPECT_TRUE(press(GDK_KEY_Right));
    EXPECT_EQ(cursor(), "0:0:0");
    EXPECT_EQ(shown(), "+A[+m[+f -g] -n[-h]] -B[-o[-i]]");
}

TEST_F(SelectionKeys, LeftGoesOutOfARowAndClosesIt) {
    show("+A[+m[+f -g] -n[-h]] -B[-o[-i]]");
    gtk_tree_view_expand_all(treeView());
    setCursor("0:0:1");
    EXPECT_TRUE(press(GDK_KEY_Left));
    EXPECT_EQ(cursor(), "0:0");
    EXPECT_TRUE(isOpen("0:0"));
    EXPECT_TRUE(press(GDK_KEY_KP_Left));
    EXPECT_EQ(cursor(), "0:0");
    EXPECT_FALSE(isOpen("0:0"));
    EXPECT_TRUE(press(GDK_KEY_Left));
    EXPECT_EQ(cursor(), "0");
    EXPECT_TRUE(press(GDK_KEY_Left));
    EXPECT_FALSE(isOpen("0"));
    EXPECT_TRUE(press(GDK_KEY_Left));
    EXPECT_EQ(cursor(), "0");
    EXPECT_EQ(shown(), "+A[+m[+f -g] -n[-h]] -B[-o[-i]]");
}

TEST_F(SelectionKeys, RightAndLeftChangePlacesWhereTextRunsFromRightToLeft) {
    show("+A[+m[+f]]");
    gtk_widget_set_direction(GTK_WIDGET(treeView()), GTK_TEXT_DIR_RTL);
    setCursor("0");
    press(GDK_KEY_Right);
    EXPECT_FALSE(isOpen("0"));
    press(GDK_KEY_Left);
    EXPECT_TRUE(isOpen("0"));
    press(GDK_KEY_Right);
    EXPECT_FALSE(isOpen("0"));
}

TEST_F(SelectionKeys, RightWithAModifierIsLeftToTheView) {
    show("+A[+m[+f]]");
    setCursor("0");
    for (const GdkModifierType modifier : {GDK_CONTROL_MASK, GDK_MOD1_MASK}) {
        press(GDK_KEY_Right, modifier);
        EXPECT_FALSE(isOpen("0"));
    }
    press(GDK_KEY_Right, GDK_LOCK_MASK);
    EXPECT_TRUE(isOpen("0"));
}

TEST_F(SelectionKeys, OfAnEmptyTreeDoNothing) {
    show("");
    EXPECT_EQ(cursor(), "");
    press(GDK_KEY_Right);
    press(GDK_KEY_Left);
    EXPECT_EQ(page(), 5);
}

TEST_F(SelectionKeys, TypingFindsRowsThatHaveWordsBeginningSo) {
    open();
    for (const char* root : {"1 Network state", "2 Name resolution", "3 \xC3\x89tat du syst\xC3\xA8me",
                             "4 \xD8\xA7\xD9\x84\xD8\xB4\xD8\xA8\xD9\x83\xD8\xA9"}) {
        m_window->addModule(root, moduleOf("m", {"f"}));
    }
    goToPage();
    EXPECT_EQ(found("n"), "0 1");
    EXPECT_EQ(found("NETW"), "0");
    EXPECT_EQ(found("state"), "0");
    EXPECT_EQ(found("network st"), "0");
    EXPECT_EQ(found("twork"), "");
    EXPECT_EQ(found("\xC3\xA9tat"), "2");
    EXPECT_EQ(found("systeme"), "2");
    EXPECT_EQ(found("\xD8\xA7\xD9\x84"), "3");
    EXPECT_EQ(found("1"), "0");
    EXPECT_EQ(found("nothing"), "");
}

TEST_F(SelectionKeys, KeepTheHighlightedRowWhileNothingIsFound) {
    show("+A[+m[+f]] +B[+n[+g]]");
    setCursor("1");
    GtkTreeSelection* selection = gtk_tree_view_get_selection(treeView());
    gtk_tree_selection_unselect_all(selection);
    const PathHandle path(gtk_tree_path_new_from_indices(1, -1));
    EXPECT_TRUE(gtk_tree_selection_path_is_selected(selection, path.get()));
    EXPECT_EQ(cursor(), "1");
}

TEST_F(SelectionKeys, BeginAtTheFirstCheckedRoot) {
    show("-A[-m[-f]] +B[+n[+g]] +C[+o[+h]]");
    EXPECT_EQ(cursor(), "1");
    const PathHandle path(gtk_tree_path_new_from_indices(1, -1));
    EXPECT_TRUE(gtk_tree_selection_path_is_selected(gtk_tree_view_get_selection(treeView()), path.get()));
    EXPECT_TRUE(gtk_widget_is_focus(GTK_WIDGET(treeView())));
}

TEST_F(SelectionKeys, BeginAtTheFirstRootWhereNoneIsChecked) {
    show("-A[-m[-f]] -B[-n[-g]]");
    const std::string place = cursor();
    EXPECT_TRUE(place.empty() || place == "0") << place;
}

TEST_F(SelectionKeys, BeginAtARootThatIsInSight) {
    for (const int first : {0, 60}) {
        m_window.reset();
        open();
        for (int root = 0; root < 100; ++root) {
            m_window->addModule(std::to_string(1000 + root), moduleOf("m", {"f"}, root >= first));
        }
        goToPage();
        waitUntil([] { return gtk_widget_get_allocated_height(GTK_WIDGET(treeView())) > 1; });
        EXPECT_EQ(cursor(), std::to_string(first));
        GtkTreePath* start = nullptr;
        GtkTreePath* end = nullptr;
        gtk_tree_view_get_visible_range(treeView(), &start, &end);
        const PathHandle top(start);
        const PathHandle bottom(end);
        ASSERT_NE(start, nullptr);
        EXPECT_LE(gtk_tree_path_get_indices(start)[0], first);
        EXPECT_GE(gtk_tree_path_get_indices(end)[0], first);
    }
}

TEST_F(SelectionKeys, BeginAtTheTopOfTheTreeWhereItsFirstRootIsChecked) {
    std::string picture;
    for (char root = 'A'; root <= 'Z'; ++root) {
        picture += std::string("+") + root + "[+m" + root + "[+f]] ";
    }
    picture.pop_back();
    show(picture);
    waitUntil([] { return gtk_widget_get_allocated_height(GTK_WIDGET(treeView())) > 1; });
    EXPECT_EQ(gtk_adjustment_get_value(gtk_scrollable_get_vadjustment(GTK_SCROLLABLE(treeView()))), 0);
}

} // namespace
