#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Texts of steps that name an item or a tool, and of the result that names a file.

/// A pattern of EngineMessages.h, or its translation, with what is to stand in place of its "%s". A pattern
/// without one comes back as it is.
[[nodiscard]] std::string stepText(std::string_view pattern, std::string_view description);

/// The way back: what stands in place of the "%s" of a pattern.
/// @return nothing if the text isn't made from that pattern.
[[nodiscard]] std::optional<std::string> describedBy(std::string_view pattern, std::string_view text);

/// What the end of a run says about a bundle that lacks files.
struct LackText {
    std::string count;
    /// The file of the bundle that names them.
    std::string listName;
};

/// kIncomplete, or its translation, with both values in their places.
[[nodiscard]] std::string lackText(std::string_view pattern, const LackText& lack);

/// The way back. @return nothing if the text isn't made from that pattern.
[[nodiscard]] std::optional<LackText> lackDescribedBy(std::string_view pattern, std::string_view text);
