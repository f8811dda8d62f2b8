#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Path text and file names.
namespace helperUtil {

/// Text behind the last delimiter; the whole text if there is none.
[[nodiscard]] std::string stringAfterLast(std::string_view text, std::string_view delimiter);
/// With `keepDelimiter` the text up to and including the last delimiter, else the text before the run of
/// delimiters that ends at the last one. The whole text if there is none.
[[nodiscard]] std::string stringBeforeLast(std::string_view text, std::string_view delimiter,
                                           bool keepDelimiter);
/// Text before the first delimiter; the whole text if there is none.
[[nodiscard]] std::string stringBeforeFirst(std::string_view text, std::string_view delimiter);
/// For callers outside of this system: with `keepDelimiter` the text from the first delimiter on, else the
/// text behind the run of delimiters that starts at the first one. The whole text if there is none.
[[nodiscard]] std::string stringAfterFirst(std::string_view text, std::string_view delimiter,
                                           bool keepDelimiter);
/// Folder of a configured path with its trailing "/", or empty for a path that names none: a bare file name
/// is not looked for in whatever the current folder happens to be.
[[nodiscard]] std::string folderPartOf(const std::string& path);
/// For callers outside of this system: text from its first byte that is neither blank nor tab.
[[nodiscard]] std::string trimLeadingBlanks(std::string_view text);
/// Bundle name of a collected file, from the name that the configuration gives and the one found on disk:
/// "bundle.log" and "messages.1" give "bundle__messages__1.log".
[[nodiscard]] std::string mergeFileNames(const std::string& first, const std::string& second);
/// The path that an archive gets: ".zip" is added unless exactly "zip" stands behind the last dot, or the
/// whole path is "zip".
[[nodiscard]] std::string withZipExtension(const std::string& path);
/// A number below 100000. Reseeds the C library's generator with the time at each call.
[[nodiscard]] uint32_t getRandomNumber();

} // namespace helperUtil
