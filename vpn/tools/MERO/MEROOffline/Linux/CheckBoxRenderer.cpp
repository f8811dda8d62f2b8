#include "tools/MERO/MEROOffline/Linux/CheckBoxRenderer.h"

#include <gtk/gtk-a11y.h>

namespace {

/// What a screen reader knows of one check box; all zero at first.
struct CheckBoxAccessible {
    GtkBooleanCellAccessible parent;
    bool mixed;
    bool checked;
};

gpointer plainAccessibleClass() {
    return g_type_class_peek(GTK_TYPE_BOOLEAN_CELL_ACCESSIBLE);
}

CheckBoxAccessible& stateOf(gpointer accessible) {
    return *static_cast<CheckBoxAccessible*>(accessible);
}

AtkStateSet* refStateSet(AtkObject* accessible) {
    AtkStateSet* states = ATK_OBJECT_CLASS(plainAccessibleClass())->ref_state_set(accessible);
    if (stateOf(accessible).mixed) {
        atk_state_set_add_state(states, ATK_STATE_INDETERMINATE);
        atk_state_set_remove_state(states, ATK_STATE_CHECKED);
    }
    return states;
}

void updateCache(GtkCellAccessible* accessible, gboolean emitSignal) {
    // The plain class tells of a change of "active", which is not what is shown where the cell is mixed.
    GTK_CELL_ACCESSIBLE_CLASS(plainAccessibleClass())->update_cache(accessible, FALSE);
    GtkCellRenderer* renderer = nullptr;
    g_object_get(accessible, "renderer", &renderer, nullptr);
    const auto held = adoptRef(renderer);
    gboolean active = FALSE;
    gboolean inconsistent = FALSE;
    g_object_get(held.get(), "active", &active, "inconsistent", &inconsistent, nullptr);

    CheckBoxAccessible& state = stateOf(accessible);
    const bool mixed = inconsistent != FALSE;
    const bool checked = active != FALSE && !mixed;
    const bool mixedChanges = mixed != state.mixed;
    const bool checkedChanges = checked != state.checked;
    state.mixed = mixed;
    state.checked = checked;
    if (emitSignal != FALSE && mixedChanges) {
        atk_object_notify_state_change(ATK_OBJECT(accessible), ATK_STATE_INDETERMINATE, mixed ? TRUE : FALSE);
    }
    if (emitSignal != FALSE && checkedChanges) {
        atk_object_notify_state_change(ATK_OBJECT(accessible), ATK_STATE_CHECKED, checked ? TRUE : FALSE);
    }
}

void initAccessibleClass(gpointer type, gpointer /*data*/) {
    ATK_OBJECT_CLASS(type)->ref_state_set = &refStateSet;
    GTK_CELL_ACCESSIBLE_CLASS(type)->update_cache = &updateCache;
}

GType accessibleType() {
    static const GType type = g_type_register_static_simple(
        GTK_TYPE_BOOLEAN_CELL_ACCESSIBLE, "MEROCheckBoxAccessible", sizeof(GtkBooleanCellAccessibleClass),
        &initAccessibleClass, sizeof(CheckBoxAccessible), nullptr, GTypeFlags{});
    return type;
}

void initRendererClass(gpointer type, gpointer /*data*/) {
    gtk_cell_renderer_class_set_accessible_type(GTK_CELL_RENDERER_CLASS(type), accessibleType());
}

GType rendererType() {
    static const GType type = g_type_register_static_simple(
        GTK_TYPE_CELL_RENDERER_TOGGLE, "MEROCheckBoxRenderer", sizeof(GtkCellRendererToggleClass),
        &initRendererClass, sizeof(GtkCellRendererToggle), nullptr, GTypeFlags{});
    return type;
}

} // namespace

GObjectHandle<GtkCellRenderer> makeCheckBoxRenderer() {
    return shareRef(GTK_CELL_RENDERER(g_object_new(rendererType(), nullptr)));
}
