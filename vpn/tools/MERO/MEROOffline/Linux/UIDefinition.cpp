#include "tools/MERO/MEROOffline/Linux/UIDefinition.h"

#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROOffline/Linux/Glib/ErrorOut.h"

#include <utility>

UIDefinition::UIDefinition(BuiltHandler onBuilt)
    : m_builder(adoptRef(gtk_builder_new())), m_onBuilt(std::move(onBuilt)) {}

ErrorHandle UIDefinition::load(const std::string& path) {
    ErrorHandle error;
    if (!loadOutline(path)) {
        // Whole, for what is there and for an error that names the file.
        m_builder = adoptRef(gtk_builder_new());
        gtk_builder_add_from_file(m_builder.get(), path.c_str(), ErrorOut(error));
    }
    return error;
}

bool UIDefinition::loadOutline(const std::string& path) {
    char* content = nullptr;
    gsize size = 0;
    const bool isRead = g_file_get_contents(path.c_str(), &content, &size, nullptr) != FALSE;
    const TextHandle text(content);
    if (!isRead) {
        return false;
    }
    std::optional<UIOutline> outline = outlineOf(std::string(text.get(), size), "notebookPages");
    if (!outline || gtk_builder_add_from_string(m_builder.get(), outline->text.data(), outline->text.size(),
                                                nullptr) == 0) {
        return false;
    }
    m_postponed = std::move(outline->pages);
    return true;
}

GObject* UIDefinition::findBuilt(const char* id) const {
    return gtk_builder_get_object(m_builder.get(), id);
}

GObject* UIDefinition::find(const char* id) {
    GObject* object = findBuilt(id);
    while (object == nullptr && !m_postponed.empty()) {
        buildPage(m_postponed.begin()->first);
        object = findBuilt(id);
    }
    return object;
}

void UIDefinition::buildPage(uint32_t page) {
    // It counts as built from here on: what is done behind that looks for its widgets.
    const auto content = m_postponed.extract(page);
    if (content.empty()) {
        return;
    }
    const PageContent& wanted = content.mapped();
    ErrorHandle error;
    if (gtk_builder_add_from_string(m_builder.get(), wanted.text.data(), wanted.text.size(),
                                    ErrorOut(error)) == 0) {
        ZRN_LOG('E', "Failed to load the UI XML: %s", error->message);
    }
    GObject* const box = findBuilt(wanted.id.c_str());
    for (const std::string& id : wanted.children) {
        GObject* const child = findBuilt(id.c_str());
        if (GTK_IS_CONTAINER(box) && GTK_IS_WIDGET(child)) {
            gtk_container_add(GTK_CONTAINER(box), GTK_WIDGET(child));
        }
    }
    m_onBuilt(page);
}
