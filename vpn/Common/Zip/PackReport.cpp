#include "Common/Zip/PackReport.h"

#include "Common/Utility/log/Log.h"

#include <algorithm>
#include <system_error>

namespace {

constexpr std::string_view kWholeFolder = "./";

char lowerCase(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool isSameToAnUnpacker(std::string_view one, std::string_view other) {
    return std::ranges::equal(one, other, {}, lowerCase, lowerCase);
}

/// A name in one line, whatever it holds.
std::string shownName(std::string_view name) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string shown;
    for (const char byte : name.empty() ? kWholeFolder : name) {
        const auto code = static_cast<unsigned char>(byte);
        if (code < 0x20 || code == 0x7F) {
            shown.append("\\x").append(1, kDigits[code >> 4U]).append(1, kDigits[code & 0xFU]);
        } else {
            shown += byte;
        }
    }
    return shown;
}

} // namespace

void PackReport::add(const std::string& name, const std::string& reason) {
    if (m_names.insert(name).second) {
        m_items.push_back({name, reason});
        ZRN_LOG('E', "\"%s\" could not be packed: it %s", shownName(name).c_str(), reason.c_str());
    }
}

void PackReport::chooseEntryName(const NameList& takenNames) {
    const auto isTaken = [&](const std::string& candidate) {
        return std::any_of(takenNames.begin(), takenNames.end(),
                           [&](std::string_view name) { return isSameToAnUnpacker(name, candidate); });
    };
    m_entryName = "not-packed.txt";
    for (int number = 2; isTaken(m_entryName); ++number) {
        m_entryName = "not-packed-" + std::to_string(number) + ".txt";
    }
}

std::string PackReport::text() const {
    std::string lines = "What could not be packed into this archive, or not whole:\n\n";
    for (const Item& item : m_items) {
        lines += shownName(item.name) + ": " + item.reason + "\n";
    }
    return lines;
}

std::string reasonOf(std::string_view what, int error) {
    return std::string(what) + ": " + std::generic_category().message(error);
}
