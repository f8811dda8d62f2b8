#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// A page of a notebook, as a UI file describes it.
struct PageContent {
    std::string id;
    /// The ids of what stands directly in it, in order.
    std::vector<std::string> children;
    /// A UI definition of those alone.
    std::string text;
};

/// A UI file without what stands on the pages of a notebook behind the first.
struct UIOutline {
    std::string text;
    /// By number, what was left out; the pages themselves are there, empty.
    std::map<uint32_t, PageContent> pages;
};

/// @param text        of a UI file. What stands directly on a page has an id, and no `<packing>`.
/// @param notebookId  of the notebook.
/// @return nothing if the text is not well-formed.
[[nodiscard]] std::optional<UIOutline> outlineOf(const std::string& text, const std::string& notebookId);
