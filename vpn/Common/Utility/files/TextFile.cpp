#include "Common/Utility/files/TextFile.h"

#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/text/StringUtils.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

using Lines = std::list<std::string>;

constexpr mode_t kNewFileMode = 0666; // before the umask

struct TextReleaser {
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): getline takes its memory from malloc.
    void operator()(char* text) const { std::free(text); }
};

/// Buffer that getline grows, which may move it.
class LineBuffer {
public:
    /// @return false at the end and on a read error.
    [[nodiscard]] bool read(std::FILE* stream, std::string& lineOut) {
        char* text = m_text.release();
        const ssize_t length = ::getline(&text, &m_size, stream);
        m_text.reset(text);
        if (length < 0) {
            return false;
        }
        lineOut.assign(text, static_cast<std::size_t>(length));
        CStringUtils::trimTrailingLineEnd(lineOut);
        return true;
    }

private:
    std::unique_ptr<char, TextReleaser> m_text;
    std::size_t m_size = 0;
};

bool logFailure(const char* function, uint32_t line, const char* message) {
    logMessage(function, __FILE__, line, 'E', "%s", message);
    return false;
}

bool logFailure(const char* function, uint32_t line, const char* message, const std::string& file) {
    return logFailure(function, line, (message + file).c_str());
}

constexpr const char* kBadArgument = "At least one argument is invalid";
constexpr const char* kBadFileName = "File name argument is invalid";
constexpr const char* kOpenFailed = "Failed to open file ";
constexpr const char* kReadFailed = "Failed to inspect all lines in file ";
constexpr const char* kInsertReadFailed = "Failed to fully inspect file ";
constexpr const char* kUpdateFailed = "Failed to update file ";

/// Opens a regular file; null with errno set if it is anything else.
FileHandle openRegular(const char* path, int flags, const char* mode) {
    FileDescriptor fd;
    if (const int error = openRegularFile(path, flags, fd, kNewFileMode); error != 0) {
        errno = error;
        return nullptr;
    }
    FileHandle stream(::fdopen(fd.get(), mode));
    if (stream != nullptr) {
        static_cast<void>(fd.release()); // the stream closes it from here on
    }
    return stream;
}

/// Reads a whole file and logs what goes wrong in the name of the caller.
bool readFile(const char* function, const std::string& file, const char* readFailed, Lines& linesOut) {
    const FileHandle stream = openTextFile(file.c_str());
    if (stream == nullptr) {
        return logFailure(function, __LINE__, kOpenFailed, file);
    }
    return readTextLines(stream.get(), linesOut) || logFailure(function, __LINE__, readFailed, file);
}

/// Writes and closes. A full disk may show as late as in the close.
bool writeAndClose(FileHandle stream, const std::string& text) {
    const bool written = std::fwrite(text.data(), 1, text.size(), stream.get()) == text.size();
    return std::fclose(stream.release()) == 0 && written;
}

/// Empties a regular file and gives it new content.
bool writeLines(const std::string& file, const Lines& lines) {
    FileHandle stream = openRegular(file.c_str(), O_WRONLY | O_TRUNC, "w");
    if (stream == nullptr) {
        return false;
    }
    std::string text;
    for (const std::string& line : lines) {
        text.append(line).append("\n");
    }
    return writeAndClose(std::move(stream), text);
}

auto matcher(const std::string& matchText) {
    return [&matchText](const std::string& line) { return line.starts_with(matchText); };
}

/// Whether the stream's file has a last line without an end.
bool endsInsideLine(std::FILE* stream) {
    return std::fseek(stream, -1, SEEK_END) == 0 && std::fgetc(stream) != '\n';
}

} // namespace

FileHandle openTextFile(const char* path) {
    return openRegular(path, O_RDONLY, "r");
}

bool readTextLines(std::FILE* stream, std::list<std::string>& linesOut) {
    LineBuffer buffer;
    std::string line;
    while (buffer.read(stream, line)) {
        linesOut.push_back(line);
    }
    return std::feof(stream) != 0;
}

bool insertIntoFilePrePostMatchingLine(const std::string& file, const std::string& newLine,
                                       const std::string& matchText, bool before) {
    if (file.empty() || newLine.empty() || matchText.empty()) {
        return logFailure(__func__, __LINE__, kBadArgument);
    }
    Lines lines;
    if (!readFile(__func__, file, kInsertReadFailed, lines)) {
        return false;
    }
    auto place = std::find_if(lines.begin(), lines.end(), matcher(matchText));
    if (place != lines.end() && !before) {
        ++place;
    }
    lines.insert(place, newLine);
    return writeLines(file, lines) || logFailure(__func__, __LINE__, kUpdateFailed, file);
}

bool insertIntoFileBeforeMatchingLine(const std::string& file, const std::string& newLine,
                                      const std::string& matchText) {
    return insertIntoFilePrePostMatchingLine(file, newLine, matchText, true);
}

bool insertIntoFileAfterMatchingLine(const std::string& file, const std::string& newLine,
                                     const std::string& matchText) {
    return insertIntoFilePrePostMatchingLine(file, newLine, matchText, false);
}

bool SetTextFileContents(const std::string& file, const std::string& text) {
    if (file.empty() || text.empty()) {
        return logFailure(__func__, __LINE__, kBadArgument);
    }
    FileHandle stream = openRegular(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, "w");
    if (stream == nullptr) {
        return logFailure(__func__, __LINE__, kOpenFailed, file);
    }
    return writeAndClose(std::move(stream), text) || logFailure(__func__, __LINE__, kUpdateFailed, file);
}

bool RemoveFromFileMatchingLine(const std::string& file, const std::string& matchText) {
    if (file.empty() || matchText.empty()) {
        return logFailure(__func__, __LINE__, kBadArgument);
    }
    Lines lines;
    if (!readFile(__func__, file, kReadFailed, lines)) {
        return false;
    }
    if (lines.remove_if(matcher(matchText)) == 0) {
        return true;
    }
    return writeLines(file, lines) || logFailure(__func__, __LINE__, kUpdateFailed, file);
}

bool SeachFileForMatchingLine(const std::string& file, const std::string& matchText) {
    if (file.empty() || matchText.empty()) {
        return logFailure(__func__, __LINE__, kBadArgument);
    }
    Lines lines;
    return readFile(__func__, file, kReadFailed, lines) &&
           std::any_of(lines.begin(), lines.end(), matcher(matchText));
}

bool AppendLineToFile(const std::string& file, const std::string& line) {
    if (file.empty() || line.empty()) {
        return logFailure(__func__, __LINE__, kBadArgument);
    }
    FileHandle stream = openRegular(file.c_str(), O_RDWR | O_CREAT | O_APPEND, "a+");
    if (stream == nullptr) {
        return logFailure(__func__, __LINE__, kOpenFailed, file);
    }
    const std::string start = endsInsideLine(stream.get()) ? "\n" : "";
    // Between reading and writing one stream the position must be set anew.
    const bool appended =
        std::fseek(stream.get(), 0, SEEK_END) == 0 && writeAndClose(std::move(stream), start + line + "\n");
    return appended || logFailure(__func__, __LINE__, kUpdateFailed, file);
}

bool FileHasOnlyWhiteSpace(const std::string& file) {
    if (file.empty()) {
        return logFailure(__func__, __LINE__, kBadFileName);
    }
    Lines lines;
    return readFile(__func__, file, kReadFailed, lines) &&
           std::all_of(lines.begin(), lines.end(), [](const std::string& line) {
               return line.find_first_not_of(" \t\n\r\v\f") == std::string::npos;
           });
}

bool ReadTextFile(const std::string& file, std::list<std::string>& linesOut) {
    linesOut.clear();
    if (file.empty()) {
        return logFailure(__func__, __LINE__, kBadFileName);
    }
    return readFile(__func__, file, kReadFailed, linesOut);
}
