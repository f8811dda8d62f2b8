#include "StepText.h"

namespace {

constexpr std::string_view kPlace = "%s";

} // namespace

std::string stepText(std::string_view pattern, std::string_view description) {
    std::string text(pattern);
    if (const std::size_t place = text.find(kPlace); place != std::string::npos) {
        text.replace(place, kPlace.size(), description);
    }
    return text;
}

std::optional<std::string> describedBy(std::string_view pattern, std::string_view text) {
    const std::size_t place = pattern.find(kPlace);
    if (place == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view before = pattern.substr(0, place);
    const std::string_view behind = pattern.substr(place + kPlace.size());
    if (text.size() < before.size() + behind.size() || !text.starts_with(before) || !text.ends_with(behind)) {
        return std::nullopt;
    }
    return std::string(text.substr(before.size(), text.size() - before.size() - behind.size()));
}
