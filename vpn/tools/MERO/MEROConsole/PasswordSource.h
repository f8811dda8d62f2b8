#pragma once

#include "Common/Utility/memory/WipedString.h"

#include <cstddef>
#include <string>

/// Longest password taken, in bytes.
inline constexpr std::size_t kMaximumPasswordBytes = 1024;

/// Reads a password: the first line of a file without its line end. A terminal is asked with its echo off and
/// a prompt on standard error; a pipe is read until the line is there.
/// @param source       a path, or "-" for standard input.
/// @param passwordOut  set on success, never to an empty password.
/// @param reasonOut    on failure, what is wrong and what to do, with the name of the source.
[[nodiscard]] bool readPassword(const std::string& source, WipedString& passwordOut, std::string& reasonOut);
