#pragma once

#include "Common/Utility/memory/WipedString.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// What a caller asks the helper for. Everything in here was sent by that caller: nothing is believed before
/// it has been checked.

/// Bounds of one call.
inline constexpr std::size_t kMostJobEntries = 64;
inline constexpr std::size_t kLongestJobValue = 4096;
/// Most bytes of a caller's text in one log line.
inline constexpr std::size_t kLongestLoggedText = 200;

/// One key with its value, as sent. Any value may turn out to be the password, so each is wiped.
struct JobEntry {
    std::string key;
    WipedString value;
};

/// The arguments of a job, checked.
struct JobArguments {
    /// MERORequestDir: absolute path of the request file, despite the key's name. Empty: the usual items.
    /// Whether the caller may read that file is not known yet.
    std::string requestPath;
    /// MEROConfigDir: absolute path of the configuration folder. Empty: the installed one.
    std::string configFolder;
    /// MEROBundlePath: absolute path of the bundle, with a usable file name as its last component.
    std::string bundlePath;
    /// MEROBundlePassword: any bytes but NUL. Empty: none.
    WipedString bundlePassword;
};

/// Why a call is refused, for the log of this machine. It names keys and never holds a value.
struct JobRefusal {
    std::string reason;
};

using CheckedJob = std::variant<JobArguments, JobRefusal>;

/// Checks what a caller has sent. A missing key counts as empty, an unknown one is ignored but for the size
/// of its value, and one that is known may be given once only. Any thread.
/// @param callerIsRoot  nobody else may choose the configuration.
[[nodiscard]] CheckedJob checkJobArguments(const std::vector<JobEntry>& entries, bool callerIsRoot);

/// The start of a caller's text, at most kLongestLoggedText bytes of it. No character of UTF-8 is cut in two.
[[nodiscard]] std::string shortForLog(std::string_view text);
