// Matching of file names against wildcard patterns, beside the C library's fnmatch on the same input.
//
// Typical: the names of a log folder against the patterns of an ordinary configuration; one round is every
// name against every pattern, so the rate is that of single matches.
// Stars:   a pattern full of stars on a text that it just fails to match, where a careless matcher tries
// every way of sharing the text out among the stars. The argument is the length of the text.
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"

#include <array>
#include <benchmark/benchmark.h>
#include <fnmatch.h>
#include <string>

namespace {

constexpr std::array kNames = {
    "syslog",
    "syslog.1",
    "messages-20240131.gz",
    "vpnagent.log",
    "vpnagent.log.1",
    "vpnui_2024_01_31_session.log",
    ".hidden",
    "system1.log",
    "core.12345",
    "a_rather_long_file_name_that_ends_in_something_else_than_the_pattern_wants.txt",
};
constexpr std::array kPatterns = {"*", "*.log", "*.log*", "system*.log", "vpn*_2???_*.log", "messages"};

bool matchOwn(const char* pattern, const char* text) {
    return helperUtil::matchWildcard(pattern, text);
}

bool matchLibrary(const char* pattern, const char* text) {
    return ::fnmatch(pattern, text, FNM_NOESCAPE) == 0;
}

/// Each try to fit the end compares all of it before it fails at the last byte.
constexpr const char* kStars = "a*a*a*a*a*a*a*a*aaaaaaaaaaaaaaab";

using Matcher = bool (*)(const char* pattern, const char* text);

void typical(benchmark::State& state, Matcher matches) {
    for ([[maybe_unused]] auto round : state) {
        int hits = 0;
        for (const char* pattern : kPatterns) {
            for (const char* name : kNames) {
                hits += matches(pattern, name) ? 1 : 0;
            }
        }
        benchmark::DoNotOptimize(hits);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kPatterns.size() * kNames.size()));
}

void stars(benchmark::State& state, Matcher matches) {
    const std::string text(static_cast<size_t>(state.range(0)), 'a');
    for ([[maybe_unused]] auto round : state) {
        benchmark::DoNotOptimize(matches(kStars, text.c_str()));
    }
    state.SetComplexityN(state.range(0));
}

BENCHMARK_CAPTURE(typical, matchWildcard, matchOwn);
BENCHMARK_CAPTURE(typical, fnmatch, matchLibrary);
BENCHMARK_CAPTURE(stars, matchWildcard, matchOwn)->RangeMultiplier(4)->Range(16, 4096)->Complexity();
BENCHMARK_CAPTURE(stars, fnmatch, matchLibrary)->RangeMultiplier(4)->Range(16, 4096)->Complexity();

} // namespace

BENCHMARK_MAIN();
