#include "Common/Utility/ReturnCodes.h"

#include <array>

namespace {

using Table = std::array<ReturnCodeModule, kReturnCodeModuleCount>;

constexpr std::size_t kLongestName = 63;

/// A module's names of the common rows, put together and ended with a NUL.
template <const auto& Module> constexpr auto namesOfCommonRows() {
    std::array<std::array<char, kLongestName + 1>, returnCodes::kCommonRows.size()> names{};
    for (std::size_t row = 0; row < names.size(); ++row) {
        std::size_t length = 0;
        for (const std::string_view part :
             {Module.name, std::string_view("_"), returnCodes::kCommonRows[row]}) {
            for (const char letter : part) {
                names[row][length++] = letter;
            }
        }
    }
    return names;
}

template <const auto& Module> constexpr auto kCommonNames = namesOfCommonRows<Module>();

/// The texts of a module by their numbers; null for a row that is left out.
template <const auto& Module> constexpr auto textsOf() {
    static_assert(Module.isInOrder());
    std::array<const char*, Module.rowCount()> texts{};
    for (std::size_t row = 0; row < returnCodes::kCommonRows.size(); ++row) {
        texts[row] = kCommonNames<Module>[row].data();
    }
    for (const returnCodes::Row& row : Module.ownRows) {
        texts[row.number] = row.text.data();
    }
    return texts;
}

template <const auto& Module> constexpr auto kTexts = textsOf<Module>();

template <const auto&... Modules> constexpr Table tableOf(returnCodes::ModuleList<Modules...> /*all*/) {
    Table table{};
    ((table[Modules.number] = {Modules.rowCount(), kTexts<Modules>.data()}), ...);
    return table;
}

constexpr Table kTable = tableOf(returnCodes::AllModules());

} // namespace

const ReturnCodeModule* getReturnCodeTable() {
    return kTable.data();
}

const char* getReturnCodeDescription(uint32_t returnCode, const ReturnCodeModule* table,
                                     uint32_t moduleCount) {
    if (returnCode < returnCodes::kFirstCode || table == nullptr) {
        return nullptr;
    }
    const uint32_t module = (returnCode >> 16) & 0xFFU;
    if (module >= moduleCount || table[module].rows == nullptr || table[module].rowCount == 0) {
        return nullptr;
    }
    const ReturnCodeModule& slot = table[module];
    const uint32_t index = returnCode & 0xFFFFU;
    const char* const lastRow = slot.rows[slot.rowCount - 1];
    if (index >= slot.rowCount || slot.rows[index] == nullptr) {
        return lastRow;
    }
    return slot.rows[index];
}

const char* getReturnCodeDescription(uint32_t returnCode) {
    return getReturnCodeDescription(returnCode, kTable.data(), kReturnCodeModuleCount);
}
