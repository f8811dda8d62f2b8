#pragma once

#include "Common/Utility/files/ByteSpool.h"
#include "Common/Utility/memory/Handles.h"

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

/// Layout of the bundle's text files. All widths count bytes, as printf does.
namespace bundleText {

inline constexpr std::size_t kColumns = 4;
using Widths = std::array<std::size_t, kColumns>;
using Cells = std::array<std::string_view, kColumns>;

/// ID, Filename, Description and File Size; with the gaps a line of 101.
inline constexpr Widths kIncludedWidths{17, 28, 40, 10};
/// ID, Filename, Description and Reason Omitted; with the gaps a line of 141.
inline constexpr Widths kOmittedWidths{17, 28, 40, 50};

/// The text cut to `width` and filled up with blanks behind it.
[[nodiscard]] std::string cell(std::string_view text, std::size_t width);
/// Takes the next line of at most `width` bytes from the front of `text`: up to white space where
/// there is some, else cut hard. White space at the start of the line is dropped. The locale tells
/// what white space is. At the cost of the line, however long the text is.
/// @return a part of what `text` views.
[[nodiscard]] std::string_view takeLine(std::string_view& text, std::size_t width);
/// One row of a table: as many lines as the longest cell needs, at least one.
[[nodiscard]] std::string row(Cells cells, const Widths& widths);

/// Writes the whole text and closes the file.
/// @param file  an open stream; taken over.
/// @return 0 or the errno of the first call that failed, which is logged.
[[nodiscard]] int writeAndClose(FileHandle file, std::string_view text);

/// A part of a long text.
struct Piece {
    std::string text;
    /// What comes behind it, a view; null for nothing.
    const ByteSpool* spool = nullptr;
};
/// The same with the pieces one behind the other. The errno may be that of reading a spool.
[[nodiscard]] int writeAndClose(FileHandle file, std::span<const Piece> pieces);

} // namespace bundleText
