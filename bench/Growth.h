#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <functional>
#include <limits>
#include <map>
#include <string>

/// What bench/growth.py runs in sizes that double: programs of named steps.
namespace growth {

/// Seconds of processor time that the work takes.
inline double secondsOf(const std::function<void()>& work) {
    const auto now = [] {
        timespec time{};
        ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    };
    const double start = now();
    work();
    return now() - start;
}

/// One step: prepares all for a size, and gives what is measured, over and over.
using Step = std::function<std::function<double()>(std::size_t size)>;

/// The main function of such a program: PROGRAM STEP SIZE ROUNDS. Prints the seconds of the best round.
inline int runStep(const std::map<std::string, Step>& steps, int argc, char** argv) {
    try {
        if (argc != 4 || !steps.contains(argv[1])) {
            std::fputs("arguments: STEP SIZE ROUNDS\n", stderr);
            return EXIT_FAILURE;
        }
        const std::function<double()> round = steps.at(argv[1])(std::stoul(argv[2]));
        double best = std::numeric_limits<double>::max();
        for (unsigned long left = std::stoul(argv[3]); left > 0; --left) {
            best = std::min(best, round());
        }
        std::printf("%.6f\n", best);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}

/// What ends a bench that measures nothing.
[[noreturn]] inline void fail(const std::string& what) {
    std::fprintf(stderr, "%s\n", what.c_str());
    std::exit(EXIT_FAILURE);
}

} // namespace growth
