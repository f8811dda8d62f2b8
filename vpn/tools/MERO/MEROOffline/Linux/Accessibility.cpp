#include "tools/MERO/MEROOffline/Linux/Accessibility.h"

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"

#include <array>

namespace {

/// What a page begins with, by page number.
constexpr std::array<std::array<const char*, 2>, 7> kLeadingTexts = {{
    {"labelMEROIntro", "labelWizardPurpose"},
    {"labelSelectBundleType"},
    {},
    {"labelProgressMsg"},
    {"labelResultMsg"},
    {"labelFileSelect"},
    {"labelSelectFileLocation"},
}};
constexpr std::array<uint32_t, 2> kPagesWithNothingButNext = {0, 4};

AtkObject* accessibleOf(const char* id) {
    GtkWidget* const widget = LookUpWidget(id);
    return widget == nullptr ? nullptr : gtk_widget_get_accessible(widget);
}

void setDescribedBy(AtkObject* object, AtkObject* text, bool described) {
    if (object == nullptr || text == nullptr) {
        return;
    }
    // Whether it was described so before makes no difference.
    if (described) {
        static_cast<void>(atk_object_add_relationship(object, ATK_RELATION_DESCRIBED_BY, text));
    } else {
        static_cast<void>(atk_object_remove_relationship(object, ATK_RELATION_DESCRIBED_BY, text));
    }
}

void describeNext(uint32_t page) {
    for (const uint32_t other : kPagesWithNothingButNext) {
        for (const char* text : kLeadingTexts.at(other)) {
            setDescribed("buttonNext", text, other == page);
        }
    }
}

} // namespace

void tellPage(uint32_t page, const std::string& name) {
    if (page >= kLeadingTexts.size()) {
        return;
    }
    describeNext(page);
    GtkWidget* const notebook = LookUpWidget("notebookPages", GTK_TYPE_NOTEBOOK);
    // GTK takes no names from the tabs' labels while it doesn't show them.
    const auto tab =
        adoptRef(notebook == nullptr ? nullptr
                                     : atk_object_ref_accessible_child(gtk_widget_get_accessible(notebook),
                                                                       static_cast<gint>(page)));
    if (tab == nullptr) {
        return;
    }
    atk_object_set_name(tab.get(), displayText(name).c_str());
    for (const char* text : kLeadingTexts.at(page)) {
        setDescribedBy(tab.get(), accessibleOf(text), true);
    }
}

void setDescribed(const char* id, const char* describingId, bool described) {
    // What is not built yet describes nothing.
    if (described || isBuilt(describingId)) {
        setDescribedBy(accessibleOf(id), accessibleOf(describingId), described);
    }
}

void announce(const char* id, const std::string& text) {
    static constexpr char kSignal[] = "announcement";
    AtkObject* const object = accessibleOf(id);
    // ATK has it from version 2.46 on.
    if (object != nullptr && !text.empty() && g_signal_lookup(kSignal, ATK_TYPE_OBJECT) != 0) {
        g_signal_emit_by_name(object, kSignal, displayText(text).c_str());
    }
}
