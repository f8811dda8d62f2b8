// The program that the process tests start: it does what its first argument says.
//
//   print N            N bytes of a repeating pattern to standard output
//   binary N           the bytes 0 to 255, N times
//   exit CODE          ends with the code
//   exit-after MS CODE the same after a while
//   die SIGNAL         ends by the signal
//   report FILE        writes facts about itself, "name=value" a line; "-" is standard output
//   wait FILE          writes FILE and waits for its end
//   ignore-sigterm FILE
//   note-sigterm FILE NOTE   writes FILE, stops itself; ends with 0 on SIGTERM after writing NOTE
//   close-output NOTE  prints "early", closes standard output, works for a while and writes NOTE
//   hold-pipe          prints "done" and ends; its child keeps standard output, in the same process group
//   hold-pipe-apart    the same with the child in a session of its own; prints its process id in front
//   flood-apart        the same with a child that writes without end
//   family FILE        writes FILE with the id of a child of the same group, which ignores SIGTERM; both wait

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <sys/prctl.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Arguments = std::vector<std::string>;
namespace fs = std::filesystem;

/// Whoever waits for the file finds it whole.
void writeWhole(const std::string& file, const std::string& content) {
    if (file == "-") {
        std::cout << content << std::flush;
        return;
    }
    const std::string draft = file + ".draft";
    std::ofstream(draft, std::ios::binary) << content;
    fs::rename(draft, file);
}

/// Whatever a test forgets ends by itself.
constexpr unsigned kLongestLifeSeconds = 120;

[[noreturn]] void waitForEnd() {
    ::alarm(kLongestLifeSeconds);
    for (;;) {
        ::pause();
    }
}

/// Writes this process's id, which says that it is ready.
void writeProcessId(const std::string& file) {
    writeWhole(file, std::to_string(::getpid()) + "\n");
}

std::string linkTarget(const std::string& link) {
    std::error_code missing;
    const fs::path target = fs::read_symlink(link, missing);
    return missing ? "none" : target.string();
}

/// A line of /proc/self/status without its name.
std::string statusField(const std::string& name) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with(name + ":\t")) {
            return line.substr(name.size() + 2);
        }
    }
    return "none";
}

/// The numbers of the descriptors that are open, in order.
std::string openDescriptors() {
    std::string list;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0) {
            list.append(list.empty() ? "" : " ").append(std::to_string(descriptor));
        }
    }
    return list;
}

bool hasTerminal() {
    const int terminal = ::open("/dev/tty", O_RDWR | O_CLOEXEC);
    return terminal >= 0 && ::close(terminal) == 0;
}

std::string groupList() {
    std::array<gid_t, 256> groups{};
    const int count = ::getgroups(static_cast<int>(groups.size()), groups.data());
    std::string list;
    for (int i = 0; i < count; ++i) {
        list.append(list.empty() ? "" : " ").append(std::to_string(groups[static_cast<std::size_t>(i)]));
    }
    return list;
}

void report(const Arguments& arguments) {
    // First, as writing the report opens a descriptor.
    const std::string descriptors = openDescriptors();
    int deathSignal = -1;
    ::prctl(PR_GET_PDEATHSIG, &deathSignal);
    std::ostringstream facts;
    facts << "descriptors=" << descriptors << '\n';
    for (const char* const number : {"0", "1", "2"}) {
        facts << "fd" << number << '=' << linkTarget(std::string("/proc/self/fd/") + number) << '\n';
    }
    facts << "blocked=" << statusField("SigBlk") << "\nignored=" << statusField("SigIgn")
          << "\ncwd=" << linkTarget("/proc/self/cwd") << "\npid=" << ::getpid() << "\nppid=" << ::getppid()
          << "\ngroup=" << ::getpgrp() << "\ndeathsig=" << deathSignal << "\nterminal=" << hasTerminal()
          << "\nuid=" << statusField("Uid") << "\ngid=" << statusField("Gid") << "\ngroups=" << groupList()
          << '\n';
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        facts << "argument" << i << '=' << arguments[i] << '\n';
    }
    for (char** entry = ::environ; *entry != nullptr; ++entry) {
        facts << "environment=" << *entry << '\n';
    }
    writeWhole(arguments.at(2), facts.str());
}

void print(const Arguments& arguments) {
    std::string block(65536, ' ');
    for (std::size_t i = 0; i < block.size(); ++i) {
        block[i] = static_cast<char>('a' + i % 26);
    }
    std::size_t left = std::stoul(arguments.at(2));
    while (left > 0) {
        const std::size_t length = std::min(left, block.size());
        std::cout.write(block.data(), static_cast<std::streamsize>(length));
        left -= length;
    }
}

void printBinary(const Arguments& arguments) {
    for (int round = std::stoi(arguments.at(2)); round > 0; --round) {
        for (int value = 0; value < 256; ++value) {
            std::cout.put(static_cast<char>(value));
        }
    }
}

[[noreturn]] void exitAfter(const Arguments& arguments) {
    std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(arguments.at(2))));
    ::_exit(std::stoi(arguments.at(3)));
}

[[noreturn]] void waitIgnoringSigterm(const Arguments& arguments) {
    std::signal(SIGTERM, SIG_IGN);
    writeProcessId(arguments.at(2));
    waitForEnd();
}

void noteSigterm(const Arguments& arguments) {
    sigset_t awaited;
    ::sigemptyset(&awaited);
    ::sigaddset(&awaited, SIGTERM);
    ::sigprocmask(SIG_BLOCK, &awaited, nullptr);
    writeProcessId(arguments.at(2));
    ::raise(SIGSTOP);
    int found = 0;
    ::sigwait(&awaited, &found);
    writeWhole(arguments.at(3), "noted");
}

void closeOutput(const Arguments& arguments) {
    std::cout << "early" << std::flush;
    ::close(STDOUT_FILENO);
    std::this_thread::sleep_for(std::chrono::milliseconds(300)); // the work
    writeWhole(arguments.at(2), "late");
}

[[noreturn]] void flood() {
    ::alarm(kLongestLifeSeconds);
    const std::string block(4096, 'x');
    while (::write(STDOUT_FILENO, block.data(), block.size()) > 0) {
    }
    ::_exit(0);
}

/// Leaves a child behind and ends. The child is in its own session by the time its id is printed.
void leaveBehind(bool apart, const std::function<void()>& work) {
    std::array<int, 2> ready{};
    if (::pipe(ready.data()) != 0) {
        std::abort();
    }
    const pid_t child = ::fork();
    if (child == 0) {
        if (apart) {
            ::setsid();
        }
        ::close(ready[0]);
        ::close(ready[1]);
        work();
        ::_exit(0);
    }
    ::close(ready[1]);
    char end = 0;
    static_cast<void>(!::read(ready[0], &end, 1)); // returns when the child has closed its end
    if (apart) {
        std::cout << child << '\n';
    }
    std::cout << "done\n";
}

[[noreturn]] void family(const Arguments& arguments) {
    const pid_t child = ::fork();
    if (child == 0) {
        waitIgnoringSigterm({"", "", arguments.at(2)});
    }
    waitForEnd();
}

const std::map<std::string, std::function<void(const Arguments&)>>& behaviours() {
    static const std::map<std::string, std::function<void(const Arguments&)>> all = {
        {"print", print},
        {"binary", printBinary},
        {"exit", [](const Arguments& arguments) { ::_exit(std::stoi(arguments.at(2))); }},
        {"exit-after", exitAfter},
        {"die", [](const Arguments& arguments) { ::raise(std::stoi(arguments.at(2))); }},
        {"report", report},
        {"wait",
         [](const Arguments& arguments) {
             writeProcessId(arguments.at(2));
             waitForEnd();
         }},
        {"ignore-sigterm", waitIgnoringSigterm},
        {"note-sigterm", noteSigterm},
        {"close-output", closeOutput},
        {"hold-pipe", [](const Arguments&) { leaveBehind(false, waitForEnd); }},
        {"hold-pipe-apart", [](const Arguments&) { leaveBehind(true, waitForEnd); }},
        {"flood-apart", [](const Arguments&) { leaveBehind(true, flood); }},
        {"family", family},
    };
    return all;
}

} // namespace

int main(int argumentCount, char** arguments) {
    const Arguments all(arguments, arguments + argumentCount);
    const auto found = all.size() < 2 ? behaviours().end() : behaviours().find(all[1]);
    if (found == behaviours().end()) {
        std::cerr << "child_behaviours: no such behaviour\n";
        return 2;
    }
    found->second(all);
    return 0;
}
