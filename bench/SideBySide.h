#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

/// Two ways to do the same take turns in short batches, and the ratio is the median over the pairs of
/// batches, so that a busy machine troubles both alike. The times are those of the measuring thread's own
/// work, in nanoseconds a call.
namespace sideBySide {

inline double nowNs() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

template <typename Work> double batchNsPerCall(const Work& work) {
    constexpr int kCallsPerBatch = 200;
    const double start = nowNs();
    for (int count = 0; count < kCallsPerBatch; ++count) {
        work();
    }
    return (nowNs() - start) / kCallsPerBatch;
}

inline double median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Reports "<ownName>_ns", "<otherName>_ns" and the ratio of the first to the second.
template <typename Own, typename Other>
void compare(benchmark::State& state, const std::string& ownName, const Own& own,
             const std::string& otherName, const Other& other) {
    std::vector<double> ownNs;
    std::vector<double> otherNs;
    std::vector<double> ratios;
    for ([[maybe_unused]] auto round : state) {
        ownNs.push_back(batchNsPerCall(own));
        otherNs.push_back(batchNsPerCall(other));
        ratios.push_back(ownNs.back() / otherNs.back());
    }
    state.counters[ownName + "_ns"] = median(ownNs);
    state.counters[otherName + "_ns"] = median(otherNs);
    state.counters["ratio"] = median(ratios);
}

} // namespace sideBySide
