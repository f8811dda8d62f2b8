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
constexpr const char* kWriting = "writeAndClose";
constexpr std::size_t kCopyBytes = 16384;

/// @return 0 or an errno, logged as the next ones are.
int write(std::FILE* file, std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), file) == text.size()) {
        return 0;
    }
    const int error = errno;
    ZRN_LOG_CODE_FOR(kWriting, 'E', "fwrite", error, nullptr);
    return error;
}

int copy(const ByteSpool& spool, std::FILE* file) {
    std::array<char, kCopyBytes> block{};
    std::size_t count = 0;
    for (uint64_t offset = 0; offset < spool.size(); offset += count) {
        if (const int error = spool.read(offset, block.data(), block.size(), count); error != 0) {
            return error;
        }
        if (const int error = write(file, {block.data(), count}); error != 0) {
            return error;
        }
    }
    return 0;
}

/// @param error  of the writes before.
int finish(FileHandle file, int error) {
    // A buffered stream meets a full disk only here.
    if (std::fclose(file.release()) != 0 && error == 0) {
        error = errno;
        ZRN_LOG_CODE_FOR(kWriting, 'E', "fclose", error, nullptr);
    }
    return error;
}

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
    const int error = write(file.get(), text);
    return finish(std::move(file), error);
}

int writeAndClose(FileHandle file, std::span<const Piece> pieces) {
    int error = 0;
    for (const Piece& piece : pieces) {
        error = error != 0 ? error : write(file.get(), piece.text);
        if (error == 0 && piece.spool != nullptr) {
            error = copy(*piece.spool, file.get());
        }
    }
    return finish(std::move(file), error);
}

} // namespace bundleText
