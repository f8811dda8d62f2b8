#include "Common/Zip/EntryNames.h"

#include "Common/Utility/log/Log.h"

#include <algorithm>
#include <unordered_set>

namespace {

constexpr std::string_view kSeparators = "/\\";

bool isLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool namesDrive(std::string_view name) {
    return name.size() >= 2 && isLetter(name[0]) && name[1] == ':';
}

bool climbs(std::string_view name) {
    if (!name.empty() && kSeparators.find(name.front()) != std::string_view::npos) {
        return true;
    }
    while (true) {
        const std::size_t end = name.find_first_of(kSeparators);
        if (name.substr(0, end) == "..") {
            return true;
        }
        if (end == std::string_view::npos) {
            return false;
        }
        name.remove_prefix(end + 1);
    }
}

bool leadsAstray(std::string_view name) {
    return safeEntryName(name) != name;
}

} // namespace

std::string safeEntryName(std::string_view name) {
    std::string safe(name);
    const bool isDrive = namesDrive(name);
    if (isDrive || climbs(name)) {
        std::ranges::replace(safe, '\\', '_');
    }
    if (isDrive) {
        safe[1] = '_';
    }
    return safe;
}

std::optional<NameList> safeEntryNames(const NameList& names) {
    if (std::all_of(names.begin(), names.end(), [](std::string_view name) { return !leadsAstray(name); })) {
        return std::nullopt;
    }
    std::unordered_set<std::string> taken;
    for (const std::string_view name : names) {
        taken.emplace(name);
    }
    NameList safeNames;
    for (const std::string_view name : names) {
        if (!leadsAstray(name)) {
            safeNames.add(name);
            continue;
        }
        std::string safe = safeEntryName(name);
        while (!taken.insert(safe).second) {
            safe += '_';
        }
        ZRN_LOG('W', "An entry gets the name \"%s\", as its own would lead unpackers astray", safe.c_str());
        safeNames.add(safe);
    }
    return safeNames;
}
