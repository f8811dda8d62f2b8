#include "tools/MERO/MEROOffline/Common/TrText.h"

#include <string_view>

namespace {

constexpr std::string_view kOpeningMark = "_tr(\"";
constexpr std::string_view kClosingMark = "\")";

} // namespace

// Both marks are looked for from the front, so a closing one inside the text ends it early.
std::string extractTrText(const std::string& text) {
    const std::size_t opening = text.find(kOpeningMark);
    const std::size_t closing = text.find(kClosingMark);
    if (opening == std::string::npos || closing == std::string::npos) {
        return text;
    }
    const std::size_t start = opening + kOpeningMark.size();
    return start <= closing ? text.substr(start, closing - start) : text;
}
