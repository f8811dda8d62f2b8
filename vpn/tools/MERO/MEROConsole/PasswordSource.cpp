#include "tools/MERO/MEROConsole/PasswordSource.h"

#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"
#include "tools/MERO/MEROConsole/TerminalEcho.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// A password of the full length with "\r\n" behind it.
constexpr std::size_t kReadBytes = kMaximumPasswordBytes + 2;

/// Stack storage for bytes of a password, zeroed at its end.
struct WipedBuffer {
    WipedBuffer() = default;
    ~WipedBuffer() { explicit_bzero(bytes.data(), bytes.size()); }
    WipedBuffer(const WipedBuffer&) = delete;
    WipedBuffer& operator=(const WipedBuffer&) = delete;

    std::array<char, kReadBytes> bytes{};
};

/// Reads until the first line feed, the end of the input or a full buffer.
/// @return the bytes read, or -1 with errno set.
ssize_t readFirstLine(int fd, const TerminalEcho& terminal, WipedBuffer& buffer) {
    std::size_t filled = 0;
    while (filled < buffer.bytes.size()) {
        if (!terminal.waitForInput()) {
            errno = EINTR;
            return -1;
        }
        const ssize_t count = read(fd, buffer.bytes.data() + filled, buffer.bytes.size() - filled);
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            return -1;
        }
        const std::string_view part(buffer.bytes.data() + filled, static_cast<std::size_t>(count));
        filled += part.size();
        if (part.empty() || part.find('\n') != std::string_view::npos) {
            break;
        }
    }
    return static_cast<ssize_t>(filled);
}

/// Cuts the first line out of what was read and checks it as a password.
bool takePassword(std::string_view text, const std::string& name, WipedString& passwordOut,
                  std::string& reasonOut) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    if (end != std::string_view::npos && line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    if (line.empty()) {
        reasonOut =
            "the first line of " + name +
            " is empty; put the password there, or leave the option out for a bundle that is not encrypted";
        return false;
    }
    if (line.size() > kMaximumPasswordBytes) {
        reasonOut = "the password in " + name + " is longer than " + std::to_string(kMaximumPasswordBytes) +
                    " bytes; take a shorter one";
        return false;
    }
    if (line.find('\0') != std::string_view::npos) {
        reasonOut = "the password in " + name + " holds a NUL byte; put plain text on the first line";
        return false;
    }
    passwordOut = line;
    return true;
}

bool readFrom(int fd, const std::string& name, WipedString& passwordOut, std::string& reasonOut) {
    struct stat status {};
    if (fstat(fd, &status) == 0 && S_ISDIR(status.st_mode)) {
        reasonOut = name + " is a folder; name a file whose first line is the password";
        return false;
    }
    WipedBuffer buffer;
    ssize_t count = -1;
    int error = 0;
    {
        const TerminalEcho terminal(fd, "Password for the bundle: ");
        count = readFirstLine(fd, terminal, buffer);
        error = errno;
    }
    if (count < 0) {
        ZRN_LOG_CODE('E', "read", error);
        reasonOut = "can't read " + name + ": " + std::strerror(error);
        return false;
    }
    return takePassword({buffer.bytes.data(), static_cast<std::size_t>(count)}, name, passwordOut, reasonOut);
}

/// A pipe that nobody has opened yet is waited for where a stop request is seen, and not here.
/// @return 0 or an errno.
int openSource(const std::string& source, FileDescriptor& fileOut) {
    fileOut.reset(open(source.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!fileOut && errno == EWOULDBLOCK) {
        // A file on which somebody holds a lease.
        return openRegularFile(source.c_str(), O_RDONLY, fileOut);
    }
    return fileOut && fcntl(fileOut.get(), F_SETFL, 0) == 0 ? 0 : errno;
}

} // namespace

bool readPassword(const std::string& source, WipedString& passwordOut, std::string& reasonOut) {
    if (source == "-") {
        return readFrom(STDIN_FILENO, "standard input", passwordOut, reasonOut);
    }
    const std::string name = "'" + source + "'";
    FileDescriptor file;
    if (const int error = openSource(source, file); error != 0) {
        ZRN_LOG_CODE_TEXT('E', "open", error, "File: %s\nError: %s", source.c_str(), std::strerror(error));
        reasonOut = "can't open " + name + ": " + std::strerror(error) +
                    "; name a file whose first line is the password";
        return false;
    }
    return readFrom(file.get(), name, passwordOut, reasonOut);
}
