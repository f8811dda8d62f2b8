#include "tests/unit/zip/ArchiveTools.h"

#include <array>
#include <cstdlib>
#include <random>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

unsigned fromDigit(char digit) {
    return static_cast<unsigned>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
}

std::string fromHex(std::string_view hex) {
    std::string bytes(hex.size() / 2, '\0');
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(fromDigit(hex[2 * i]) << 4U | fromDigit(hex[2 * i + 1]));
    }
    return bytes;
}

[[noreturn]] void becomeTool(std::vector<std::string> arguments, int outputEnd) {
    ::dup2(outputEnd, STDOUT_FILENO);
    ::dup2(outputEnd, STDERR_FILENO);
    ::close(STDIN_FILENO);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    ::execvp(pointers[0], pointers.data());
    ::_exit(127);
}

std::vector<std::string> splitFields(const std::string& line) {
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, '\t');) {
        fields.push_back(field);
    }
    return fields;
}

ReadEntry makeEntry(const std::vector<std::string>& fields) {
    ReadEntry entry;
    if (fields[1].starts_with("error")) {
        entry.error = fields[1];
    } else {
        entry.content = fromHex(fields[1]);
    }
    entry.flags = static_cast<unsigned>(std::stoul(fields[2]));
    entry.method = static_cast<unsigned>(std::stoul(fields[3]));
    entry.versionNeeded = static_cast<unsigned>(std::stoul(fields[4]));
    entry.externalAttributes = std::stoul(fields[5]);
    entry.time = fields[6];
    return entry;
}

/// 7z asks for a missing password, so it always gets one.
ToolRun testWith7z(const std::string& archive, const std::string& password) {
    return runTool({"7z", "t", "-p" + password, archive});
}

ToolRun testWithUnzip(const std::string& archive, const std::string& password) {
    if (password.empty()) {
        return runTool({"unzip", "-tq", archive});
    }
    return runTool(
        {"unzip", "-tq", "-P" + password, archive}); // in one word, for passwords that look like options
}

} // namespace

ToolRun runTool(const std::vector<std::string>& arguments) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        ADD_FAILURE() << "pipe: " << errno;
        return {};
    }
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(ends[0]);
        becomeTool(arguments, ends[1]);
    }
    ::close(ends[1]);
    ToolRun run;
    std::array<char, 65536> part{};
    for (ssize_t count = 0; (count = ::read(ends[0], part.data(), part.size())) > 0;) {
        run.output.append(part.data(), static_cast<size_t>(count));
    }
    ::close(ends[0]);
    int status = 0;
    if (::waitpid(child, &status, 0) == child && WIFEXITED(status)) {
        run.status = WEXITSTATUS(status);
    }
    EXPECT_NE(run.status, 127) << arguments.front() << " is missing";
    return run;
}

ReadEntries readArchive(const std::string& archive, const std::string& password) {
    std::vector<std::string> arguments{"python3", READ_ARCHIVE_SCRIPT, archive};
    if (!password.empty()) {
        arguments.push_back(password);
    }
    const ToolRun run = runTool(arguments);
    EXPECT_EQ(run.status, 0) << run.output;
    ReadEntries entries;
    std::istringstream stream(run.output);
    for (std::string line; run.status == 0 && std::getline(stream, line);) {
        const std::vector<std::string> fields = splitFields(line);
        EXPECT_TRUE(entries.emplace(fromHex(fields[0]), makeEntry(fields)).second) << line;
    }
    return entries;
}

void expectOpensEverywhere(const std::string& archive, const std::string& password,
                           const Contents& expected) {
    Contents found;
    for (const auto& [name, entry] : readArchive(archive, password)) {
        EXPECT_EQ(entry.error, "") << name;
        found[name] = entry.content;
    }
    EXPECT_TRUE(found == expected) << "Python reads " << found.size() << " entries, " << expected.size()
                                   << " are expected, or contents differ";
    const ToolRun unzip = testWithUnzip(archive, password);
    EXPECT_EQ(unzip.status, 0) << unzip.output;
    const ToolRun sevenZip = testWith7z(archive, password);
    EXPECT_EQ(sevenZip.status, 0) << sevenZip.output;
}

void expectOpensNowhere(const std::string& archive, const std::string& wrongPassword) {
    bool isRefused = false;
    for (const auto& [name, entry] : readArchive(archive, wrongPassword)) {
        isRefused = isRefused || !entry.error.empty();
    }
    EXPECT_TRUE(isRefused);
    EXPECT_NE(testWithUnzip(archive, wrongPassword).status, 0);
    EXPECT_NE(testWith7z(archive, wrongPassword).status, 0);
}

std::string unzipped(const std::string& archive, const std::string& entry, const std::string& password) {
    return runTool({"unzip", "-p", "-P" + (password.empty() ? "none" : password), archive, entry}).output;
}

std::string noise(size_t size) {
    std::mt19937 generator(20240517); // NOLINT(bugprone-random-generator-seed): the bytes have to be known
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(generator());
    }
    return bytes;
}
