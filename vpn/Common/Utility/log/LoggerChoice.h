#pragma once

#include "Common/Utility/log/Logger.h"

#include <memory>

/// The logger that the first claim installs if it brings none: standard output if ZRN_LOGGING_OUTPUT is
/// exactly "STDOUT", else the systemd journal.
/// @param identifier  the program's name in the log.
[[nodiscard]] std::unique_ptr<ILogger> chooseLogger(const char* identifier);
