#pragma once

#include <cstddef>
#include <string>

/// Longest comment taken, in bytes: as much as the wizard takes.
inline constexpr std::size_t kMaximumCommentBytes = 2048;

/// What keeps a text from being the comment of a request, and what to do about it; empty if nothing does.
[[nodiscard]] std::string faultOfComment(const std::string& comment);
