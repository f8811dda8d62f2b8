#include "tools/MERO/MEROConsole/CommentCheck.h"

#include "tools/MERO/MEROConsole/Utf8Text.h"

#include <algorithm>
#include <optional>

namespace {

/// The characters of XML 1.0.
bool isXmlCharacter(char32_t c) {
    return c == U'\t' || c == U'\n' || c == U'\r' || (c >= 0x20 && c <= 0xD7FF) ||
           (c >= 0xE000 && c <= 0xFFFD) || c >= 0x10000;
}

} // namespace

std::string faultOfComment(const std::string& comment) {
    if (comment.size() > kMaximumCommentBytes) {
        return "the comment has " + std::to_string(comment.size()) + " bytes and may have " +
               std::to_string(kMaximumCommentBytes) + "; shorten it";
    }
    const std::optional<std::u32string> characters = charactersOf(comment);
    if (!characters) {
        return "the comment is not UTF-8; convert it";
    }
    if (!std::all_of(characters->begin(), characters->end(), isXmlCharacter)) {
        return "the comment holds a control character that a request can't carry; take it out";
    }
    if (comment.find("]]>") != std::string::npos) {
        return "the comment holds \"]]>\", which a request can't carry; put a blank into it";
    }
    return {};
}
