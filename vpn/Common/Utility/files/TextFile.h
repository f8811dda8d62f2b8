#pragma once

#include "Common/Utility/memory/Handles.h"

#include <cstdio>
#include <list>
#include <string>

/// For callers outside of this system, all but the first two: line edits of small text files. Each reads the
/// whole file line by line, without the line ends ("\n" or "\r\n"), and writes lines with "\n"; a file keeps
/// its place, owner and mode. A line matches that begins with the text looked for. Only regular files are
/// read and written. A failure is logged and gives false, as does an empty argument. Never two on one file.

/// Opens a regular file for reading and never waits for anything: a pipe or a device is refused.
/// @return the stream, or null with errno set.
[[nodiscard]] FileHandle openTextFile(const char* path);
/// Appends the lines of a stream, without their ends. Logs nothing. @return false on a read error.
[[nodiscard]] bool readTextLines(std::FILE* stream, std::list<std::string>& linesOut);

/// Inserts `newLine` once, before or behind the first matching line, or at the end if none matches.
[[nodiscard]] bool insertIntoFilePrePostMatchingLine(const std::string& file, const std::string& newLine,
                                                     const std::string& matchText, bool before);
[[nodiscard]] bool insertIntoFileBeforeMatchingLine(const std::string& file, const std::string& newLine,
                                                    const std::string& matchText);
[[nodiscard]] bool insertIntoFileAfterMatchingLine(const std::string& file, const std::string& newLine,
                                                   const std::string& matchText);
/// Replaces the file's content by `text` as it stands; the file is made if it is missing.
[[nodiscard]] bool SetTextFileContents(const std::string& file, const std::string& text);
/// Drops the matching lines. A file without one is left untouched.
[[nodiscard]] bool RemoveFromFileMatchingLine(const std::string& file, const std::string& matchText);
/// Whether there is a matching line. The name is spelled so in all programs of the suite.
[[nodiscard]] bool SeachFileForMatchingLine(const std::string& file, const std::string& matchText);
/// Appends a line of its own, also behind a last line without an end; the file is made if it is missing.
[[nodiscard]] bool AppendLineToFile(const std::string& file, const std::string& line);
/// True if no line holds anything but blanks, tabs, line feeds, carriage returns, vertical
/// tabs and form feeds.
[[nodiscard]] bool FileHasOnlyWhiteSpace(const std::string& file);
/// Gives the lines. After a read error it holds those that could be read.
[[nodiscard]] bool ReadTextFile(const std::string& file, std::list<std::string>& linesOut);
