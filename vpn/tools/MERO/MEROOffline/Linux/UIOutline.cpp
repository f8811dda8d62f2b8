#include "tools/MERO/MEROOffline/Linux/UIOutline.h"

#include "Common/Utility/memory/Handles.h"
#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <glib.h>
#include <string_view>

namespace {

using ParserHandle = std::unique_ptr<GMarkupParseContext, Releaser<&g_markup_parse_context_free>>;

/// What an element is to its children.
enum class Place { Elsewhere, Notebook, PagePlace, Page, LeftOut, Within };

struct Writer {
    const std::string& notebookId;
    UIOutline outline;
    std::vector<Place> open{Place::Elsewhere};
    uint32_t pages = 0;

    PageContent& page() { return outline.pages.rbegin()->second; }
    /// Where what is at hand goes; null for nowhere.
    std::string* text() {
        switch (open.back()) {
        case Place::LeftOut:
            return nullptr;
        case Place::Within:
            return &page().text;
        default:
            return &outline.text;
        }
    }
};

struct Element {
    std::string_view name;
    std::string_view id;
    bool isInternalChild = false;
};

Element elementOf(const char* name, const char** attributes, const char** values) {
    Element element{.name = name, .id = {}};
    for (; *attributes != nullptr; ++attributes, ++values) {
        const std::string_view attribute = *attributes;
        if (attribute == "id") {
            element.id = *values;
        }
        element.isInternalChild = element.isInternalChild || attribute == "internal-child";
    }
    return element;
}

/// The first page counts as any other box: it is there from the start.
Place placeOf(const Element& element, Writer& writer) {
    const Place parent = writer.open.back();
    if (parent == Place::LeftOut) {
        writer.page().children.emplace_back(element.id);
    }
    if (parent == Place::LeftOut || parent == Place::Within) {
        return Place::Within;
    }
    if (parent == Place::Page && element.name == "child" && !element.isInternalChild) {
        return Place::LeftOut;
    }
    if (parent == Place::Notebook && element.name == "child") {
        return Place::PagePlace;
    }
    if (element.name != "object") {
        return Place::Elsewhere;
    }
    if (parent == Place::PagePlace && writer.pages++ > 0) {
        writer.outline.pages[writer.pages - 1].id = element.id;
        return Place::Page;
    }
    return element.id == writer.notebookId ? Place::Notebook : Place::Elsewhere;
}

void onStart(GMarkupParseContext* /*parser*/, const char* name, const char** attributes, const char** values,
             gpointer data, GError** /*error*/) {
    Writer& writer = *static_cast<Writer*>(data);
    writer.open.push_back(placeOf(elementOf(name, attributes, values), writer));
    if (std::string* const text = writer.text()) {
        text->append("<").append(name);
        for (; *attributes != nullptr; ++attributes, ++values) {
            *text += TextHandle(g_markup_printf_escaped(" %s=\"%s\"", *attributes, *values)).get();
        }
        *text += '>';
    }
}

void onEnd(GMarkupParseContext* /*parser*/, const char* name, gpointer data, GError** /*error*/) {
    Writer& writer = *static_cast<Writer*>(data);
    if (std::string* const text = writer.text()) {
        text->append("</").append(name).append(">");
    }
    writer.open.pop_back();
}

void onText(GMarkupParseContext* /*parser*/, const char* content, gsize size, gpointer data,
            GError** /*error*/) {
    if (std::string* const text = static_cast<Writer*>(data)->text()) {
        *text += TextHandle(g_markup_escape_text(content, static_cast<gssize>(size))).get();
    }
}

} // namespace

std::optional<UIOutline> outlineOf(const std::string& text, const std::string& notebookId) {
    static constexpr GMarkupParser kParser = {&onStart, &onEnd, &onText, nullptr, nullptr};
    Writer writer{.notebookId = notebookId, .outline = {}};
    const ParserHandle parser(
        g_markup_parse_context_new(&kParser, static_cast<GMarkupParseFlags>(0), &writer, nullptr));
    if (g_markup_parse_context_parse(parser.get(), text.data(), static_cast<gssize>(text.size()), nullptr) ==
            FALSE ||
        g_markup_parse_context_end_parse(parser.get(), nullptr) == FALSE) {
        return std::nullopt;
    }
    for (auto& [number, page] : writer.outline.pages) {
        page.text = "<interface>" + page.text + "</interface>";
    }
    return std::move(writer.outline);
}
