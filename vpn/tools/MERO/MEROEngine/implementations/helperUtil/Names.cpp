#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"

#include <cstdlib>
#include <ctime>

namespace helperUtil {

namespace {

/// Where the delimiter stands, or npos. An empty delimiter stands nowhere.
size_t findFirst(std::string_view text, std::string_view delimiter) {
    return delimiter.empty() ? std::string_view::npos : text.find(delimiter);
}

size_t findLast(std::string_view text, std::string_view delimiter) {
    return delimiter.empty() ? std::string_view::npos : text.rfind(delimiter);
}

} // namespace

std::string stringAfterLast(std::string_view text, std::string_view delimiter) {
    const size_t position = findLast(text, delimiter);
    if (position == std::string_view::npos) {
        return std::string(text);
    }
    return std::string(text.substr(position + delimiter.size()));
}

std::string stringBeforeLast(std::string_view text, std::string_view delimiter, bool keepDelimiter) {
    const size_t position = findLast(text, delimiter);
    if (position == std::string_view::npos) {
        return std::string(text);
    }
    if (keepDelimiter) {
        return std::string(text.substr(0, position + delimiter.size()));
    }
    std::string_view before = text.substr(0, position);
    while (before.ends_with(delimiter)) {
        before.remove_suffix(delimiter.size());
    }
    return std::string(before);
}

std::string stringBeforeFirst(std::string_view text, std::string_view delimiter) {
    return std::string(text.substr(0, findFirst(text, delimiter)));
}

std::string stringAfterFirst(std::string_view text, std::string_view delimiter, bool keepDelimiter) {
    const size_t position = findFirst(text, delimiter);
    if (position == std::string_view::npos) {
        return std::string(text);
    }
    std::string_view behind = text.substr(position);
    while (!keepDelimiter && behind.starts_with(delimiter)) {
        behind.remove_prefix(delimiter.size());
    }
    return std::string(behind);
}

std::string folderPartOf(const std::string& path) {
    return path.find('/') == std::string::npos ? std::string() : stringBeforeLast(path, "/", true);
}

std::string trimLeadingBlanks(std::string_view text) {
    const size_t start = text.find_first_not_of(" \t");
    return start == std::string_view::npos ? std::string() : std::string(text.substr(start));
}

std::string mergeFileNames(const std::string& first, const std::string& second) {
    const std::string firstBase = stringBeforeLast(first, ".", false);
    const std::string firstExtension = stringAfterLast(first, ".");
    const std::string secondBase = stringBeforeLast(second, ".", false);
    const std::string secondExtension = stringAfterLast(second, ".");

    if (first.empty()) {
        // A hidden file must not stay hidden in the bundle, so it loses its dot.
        return secondBase.empty() ? secondExtension : second;
    }
    if (firstBase.empty() && secondBase.empty()) {
        // The closing "__" keeps the name apart from that of a file whose base is the other's extension.
        return "." + firstExtension + "__" + secondExtension + "__";
    }
    if (firstBase.empty()) {
        return "." + firstExtension + "__" + secondBase + "__" + secondExtension;
    }
    if (firstExtension.empty()) {
        return firstBase + "__" + secondBase + "." + secondExtension;
    }
    return firstBase + "__" + secondBase + "__" + secondExtension + "." + firstExtension;
}

std::string withZipExtension(const std::string& path) {
    return stringAfterLast(path, ".") == "zip" ? path : path + ".zip";
}

uint32_t getRandomNumber() {
    // NOLINTNEXTLINE(bugprone-random-generator-seed): as below
    std::srand(static_cast<unsigned int>(std::time(nullptr)));
    // NOLINTNEXTLINE(misc-predictable-rand): the number only tells folder names apart, it keeps no secret.
    return static_cast<uint32_t>(std::rand() % 100000);
}

} // namespace helperUtil
