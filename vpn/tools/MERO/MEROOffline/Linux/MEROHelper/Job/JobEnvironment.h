#pragma once

#include <string_view>

/// What a job's processes get of the environment.

/// PATH of everything that runs for a job.
inline constexpr const char* kJobPath = "/usr/sbin:/usr/bin:/sbin:/bin";

/// Whether a text may be handed on as LANG: a name as in "de_DE.UTF-8@euro", of at most 64 bytes, that leads
/// to no file of somebody's choice.
[[nodiscard]] bool isLocaleName(std::string_view text);
