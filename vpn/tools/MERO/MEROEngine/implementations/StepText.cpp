#include "tools/MERO/MEROEngine/implementations/StepText.h"

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

std::string lackText(std::string_view pattern, const LackText& lack) {
    // From the back, since a value may hold what looks like a place.
    std::string text(pattern);
    if (const std::size_t place = text.rfind(kPlace); place != std::string::npos) {
        text.replace(place, kPlace.size(), lack.listName);
        text.replace(0, place, stepText(text.substr(0, place), lack.count));
    }
    return text;
}

std::optional<LackText> lackDescribedBy(std::string_view pattern, std::string_view text) {
    const std::size_t second = pattern.rfind(kPlace);
    const std::size_t first = pattern.find(kPlace);
    if (first == second) { // also where there is none
        return std::nullopt;
    }
    const std::string_view between = pattern.substr(first + kPlace.size(), second - first - kPlace.size());
    const std::size_t place = text.find(between, first);
    if (place == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t split = place + between.size();
    const std::optional<std::string> count =
        describedBy(pattern.substr(0, first + kPlace.size()), text.substr(0, place));
    const std::optional<std::string> listName = describedBy(pattern.substr(second), text.substr(split));
    return count && listName ? std::optional(LackText{*count, *listName}) : std::nullopt;
}
