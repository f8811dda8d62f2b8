#pragma once

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/UIOutline.h"

#include <cstdint>
#include <functional>
#include <gtk/gtk.h>
#include <map>
#include <string>

/// The widgets that a UI file describes. What stands on the pages of its notebook behind the first is built
/// when one of those widgets is first asked for: the start of the window doesn't wait for what is not seen
/// yet. On the GTK main thread only.
class UIDefinition {
public:
    /// Is called with the number of a page that was postponed, once its widgets are there.
    using BuiltHandler = std::function<void(uint32_t page)>;

    explicit UIDefinition(BuiltHandler onBuilt);

    /// Builds what is needed at once. To be called once, before anything is looked for.
    /// @return null on success, else the error; what was built until then stays in both cases.
    [[nodiscard]] ErrorHandle load(const std::string& path);
    /// The object of this id, owned by this; null if there is none. Builds the postponed pages in turn until
    /// one has it.
    [[nodiscard]] GObject* find(const char* id);
    /// The object of this id if it is built already, else null.
    [[nodiscard]] GObject* findBuilt(const char* id) const;
    [[nodiscard]] bool isPostponed(uint32_t page) const { return m_postponed.contains(page); }
    /// Builds what stands on a page if that was postponed.
    void buildPage(uint32_t page);

private:
    [[nodiscard]] bool loadOutline(const std::string& path);

    GObjectHandle<GtkBuilder> m_builder;
    BuiltHandler m_onBuilt;
    /// By number, as the UI file had them at the start: an update of the program may replace it meanwhile.
    std::map<uint32_t, PageContent> m_postponed;
};
