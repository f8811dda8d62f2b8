#include "tools/MERO/MEROEngine/implementations/BundleText.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/text/WhiteSpace.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>

namespace bundleText {

namespace {

constexpr std::string_view kGap = "  ";

std::string tableLine(const Cells& cells, const Widths& widths) {
    std::string line;
    for (std::size_t column = 0; column < kColumns; ++column) {
        line += column == 0 ? std::string_view() : kGap;
        line += cell(cells[column], widths[column]);
    }
    return line + "\n";
}

} // namespace

std::string cell(std::string_view text, std::size_t width) {
    std::string result(text.substr(0, width));
    result.resize(width, ' ');
    return result;
}

std::string_view takeLine(std::string_view& text, std::size_t width) {
    text = trimmedAtStart(text);
    std::string_view line = text.substr(0, width);
    text.remove_prefix(line.size());
    if (text.empty()) {
        return line;
    }
    const auto space = std::find_if(line.rbegin(), line.rend(), isWhiteSpace);
    if (space != line.rend()) {
        const std::string_view behind(space.base(), text.end());
        line = line.substr(0, static_cast<std::size_t>(line.rend() - space) - 1);
        text = behind;
        return line;
    }
    // Otherwise blanks behind a word that fills the column would cost a line of their own.
    text = trimmedAtStart(text);
    return line;
}

std::string row(Cells cells, const Widths& widths) {
    std::string lines;
    do {
        Cells parts;
        for (std::size_t column = 0; column < kColumns; ++column) {
            parts[column] = takeLine(cells[column], widths[column]);
        }
        lines += tableLine(parts, widths);
    } while (!std::all_of(cells.begin(), cells.end(), [](std::string_view rest) { return rest.empty(); }));
    return lines;
}

int writeAndClose(FileHandle file, std::string_view text) {
    int error = 0;
    if (std::fwrite(text.data(), 1, text.size(), file.get()) != text.size()) {
        error = errno;
        ZRN_LOG_CODE('E', "fwrite", error);
    }
    // A buffered stream meets a full disk only here.
    if (std::fclose(file.release()) != 0 && error == 0) {
        error = errno;
        ZRN_LOG_CODE('E', "fclose", error);
    }
    return error;
}

} // namespace bundleText
