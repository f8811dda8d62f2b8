#include "tests/wizard/SelectionPage.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What a screen reader is told of the check boxes.
class CheckBoxRenderer : public SelectionPage {
public:
    ~CheckBoxRenderer() override {
        for (const auto& checkBox : m_heard) {
            g_signal_handlers_disconnect_by_data(checkBox.get(), &m_changes);
        }
    }

protected:
    /// The check box of a row, counted over all that can be seen.
    static GObjectHandle<AtkObject> checkBox(int row) {
        AtkObject* view = gtk_widget_get_accessible(GTK_WIDGET(treeView()));
        const auto cell = adoptRef(atk_table_ref_at(ATK_TABLE(view), row, 0));
        return adoptRef(atk_object_ref_accessible_child(cell.get(), 0));
    }

    static std::string stateOf(AtkObject* checkBox) {
        const auto states = adoptRef(atk_object_ref_state_set(checkBox));
        const bool mixed = atk_state_set_contains_state(states.get(), ATK_STATE_INDETERMINATE) != FALSE;
        const bool checked = atk_state_set_contains_state(states.get(), ATK_STATE_CHECKED) != FALSE;
        return std::string(mixed ? "mixed" : "") + (checked ? "checked" : "");
    }

    /// Notes each change of a state, as "checked 1", from now on.
    void listen(AtkObject* checkBox) {
        m_heard.push_back(shareRef(checkBox));
        g_signal_connect(
            checkBox, "state-change",
            G_CALLBACK(+[](AtkObject* /*object*/, const char* state, gboolean set, gpointer changes) {
                static_cast<std::vector<std::string>*>(changes)->push_back(std::string(state) +
                                                                           (set == FALSE ? " 0" : " 1"));
            }),
            &m_changes);
    }

    /// The changes since the last call.
    std::vector<std::string> changes() { return std::exchange(m_changes, {}); }

private:
    /// Kept, because rows that go with their window tell of it.
    std::vector<GObjectHandle<AtkObject>> m_heard;
    std::vector<std::string> m_changes;
};

TEST_F(CheckBoxRenderer, TellsWhetherARowIsCheckedInPart) {
    show("+A[+m[+f -g]] +B[+n[+h]] -C[-o[-i]]");
    gtk_tree_view_expand_all(treeView());
    settle();
    EXPECT_EQ(stateOf(checkBox(0).get()), "mixed");
    EXPECT_EQ(stateOf(checkBox(1).get()), "mixed");
    EXPECT_EQ(stateOf(checkBox(2).get()), "checked");
    EXPECT_EQ(stateOf(checkBox(3).get()), "");
    EXPECT_EQ(stateOf(checkBox(4).get()), "checked");
    EXPECT_EQ(stateOf(checkBox(7).get()), "");
}

TEST_F(CheckBoxRenderer, TellsOfEachChangeInTheRowsAboveAClick) {
    show("+A[+m[+f +g]]");
    gtk_tree_view_expand_all(treeView());
    settle();
    const auto root = checkBox(0);
    EXPECT_EQ(stateOf(root.get()), "checked");
    listen(root.get());
    toggle({0, 0, 0});
    EXPECT_EQ(stateOf(root.get()), "mixed");
    EXPECT_THAT(changes(), ElementsAre("indeterminate 1", "checked 0"));
    toggle({0, 0, 1});
    EXPECT_EQ(stateOf(root.get()), "");
    EXPECT_EQ(changes().front(), "indeterminate 0");
    toggle({0, 0, 1});
    EXPECT_EQ(stateOf(root.get()), "mixed");
    EXPECT_EQ(changes().back(), "indeterminate 1");
    toggle({0, 0, 0});
    EXPECT_EQ(stateOf(root.get()), "checked");
    EXPECT_THAT(changes(), ElementsAre("indeterminate 0", "checked 1"));
}

TEST_F(CheckBoxRenderer, IsSilentWhereNothingChanges) {
    show("+A[+m[+f -g -h]] +B[+n[+i]]");
    gtk_tree_view_expand_all(treeView());
    settle();
    const auto root = checkBox(0);
    listen(root.get());
    toggle({0, 0, 1});
    toggle({1, 0, 0});
    EXPECT_EQ(stateOf(root.get()), "mixed");
    EXPECT_THAT(changes(), IsEmpty());
}

} // namespace
