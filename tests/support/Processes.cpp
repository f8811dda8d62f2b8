#include "tests/support/Processes.h"

#include "Common/Utility/process/StopRequest.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::seconds kLimit{30};
constexpr std::chrono::milliseconds kInterval{5};

std::string contentOf(const std::string& path) {
    std::ifstream stream(path);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

} // namespace

std::string writeTool(const std::string& path, const std::string& script) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream stream(path, std::ios::trunc);
    stream << "#!/bin/sh\n" << script << "\n";
    stream.close();
    EXPECT_TRUE(stream) << "cannot write " << path;
    fs::permissions(path, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                              fs::perms::others_read | fs::perms::others_exec);
    return path;
}

bool eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + kLimit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(kInterval);
    }
    return true;
}

pid_t pidIn(const std::string& path) {
    std::string text;
    const bool complete = eventually([&] {
        text = contentOf(path);
        return text.ends_with('\n');
    });
    return complete ? static_cast<pid_t>(std::stol(text)) : 0;
}

char processState(pid_t pid) {
    const std::string status = contentOf("/proc/" + std::to_string(pid) + "/stat");
    const std::size_t name = status.rfind(") ");
    return name == std::string::npos || name + 2 >= status.size() ? '\0' : status[name + 2];
}

bool hasEnded(pid_t pid) {
    const char state = processState(pid);
    return state == '\0' || state == 'Z' || state == 'X';
}

bool hasChildren() {
    siginfo_t found{};
    return ::waitid(P_ALL, 0, &found, WEXITED | WNOHANG | WNOWAIT) == 0;
}

std::size_t openDescriptors() {
    // Made by the first who waits for a stop, and kept: it is in every count.
    static_cast<void>(stopDescriptor());
    std::size_t count = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        count += entry.path().empty() ? 0 : 1;
    }
    return count;
}

std::size_t peakMemoryBytes() {
    constexpr std::size_t kKiB = 1024;
    std::istringstream status(contentOf("/proc/self/status"));
    std::string word;
    while (status >> word) {
        std::size_t kibibytes = 0;
        if (word == "VmHWM:" && status >> kibibytes) {
            return kibibytes * kKiB;
        }
    }
    ADD_FAILURE() << "no peak in the status of this process";
    return 0;
}
