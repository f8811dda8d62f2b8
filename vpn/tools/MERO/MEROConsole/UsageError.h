#pragma once

#include <string>

/// A wrong argument, told in one sentence that begins with the option's name. Thrown while the command line
/// is read.
struct UsageError {
    std::string text;
};
