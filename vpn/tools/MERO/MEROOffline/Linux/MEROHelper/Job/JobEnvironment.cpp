#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobEnvironment.h"

namespace {

constexpr std::size_t kLongestLocaleName = 64;
constexpr std::string_view kLocaleNameBytes =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.@-";

} // namespace

bool isLocaleName(std::string_view text) {
    return !text.empty() && text.size() <= kLongestLocaleName && !text.starts_with('.') &&
           text.find_first_not_of(kLocaleNameBytes) == std::string_view::npos;
}
