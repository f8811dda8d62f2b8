#pragma once

#include <cstdint>
#include <string>

/// The level of a line: `priority` itself below 7, otherwise by the severity letter. 'E' is 3, 'W' 4, 'I' and
/// 'T' 5, any other letter 7.
[[nodiscard]] int levelOfLine(uint32_t priority, int32_t severity);

/// "EMERGENCY" to "INFO" for 0 to 6, "DEBUG" for any other level.
[[nodiscard]] const char* levelName(int level);

/// Appends a text with every line feed in it as a blank, so that a line of the log stays one line.
void appendOnOneLine(std::string& line, const char* text);
