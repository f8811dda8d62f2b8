#pragma once

#include <gtest/gtest.h>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// An entry as Python's zipfile sees it.
struct ReadEntry {
    std::string content;
    /// Why the content can't be read; empty if it can.
    std::string error;
    unsigned flags = 0;
    unsigned method = 0;
    unsigned versionNeeded = 0;
    unsigned long externalAttributes = 0;
    /// "year-month-day hour:minute:second", without leading zeros.
    std::string time;

    [[nodiscard]] bool isEncrypted() const { return (flags & 1U) != 0; }
    [[nodiscard]] bool isUtf8() const { return (flags & 0x800U) != 0; }
};

using ReadEntries = std::map<std::string, ReadEntry>;
using Contents = std::map<std::string, std::string>;

/// How a started program ended.
struct ToolRun {
    /// Exit status, or -1 if it did not exit by itself.
    int status = -1;
    /// Standard output and error.
    std::string output;
};

/// Runs a program found by PATH in a UTF-8 locale, with nothing on standard input.
ToolRun runTool(const std::vector<std::string>& arguments);
/// What Python's zipfile finds; fails the test if it can't open the archive. Names occur once in our
/// archives.
ReadEntries readArchive(const std::string& archive, const std::string& password = {});
/// The archive's entries must be exactly these, and unzip, 7z and Python must all read them, with this
/// password unless it is empty.
void expectOpensEverywhere(const std::string& archive, const std::string& password, const Contents& expected);
/// unzip, 7z and Python must all refuse some entry of the archive.
void expectOpensNowhere(const std::string& archive, const std::string& wrongPassword);
/// An entry's content as unzip gives it, which takes a large encrypted one faster than the others; where it
/// is damaged, unzip's words follow.
std::string unzipped(const std::string& archive, const std::string& entry, const std::string& password);
/// A text as what goes into an archive.
inline std::span<const unsigned char> asBytes(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}
/// Bytes that deflate can't make smaller, the same at each call.
std::string noise(size_t size);
