#pragma once

#include <cstdint>

/// For callers outside of this system: a time or a length of time in seconds and microseconds; 0, 0 means
/// that nothing is set. A plain value. Its microseconds are 0 to 1000000.
class TimeVal {
public:
    TimeVal() = default;
    TimeVal(int64_t seconds, int64_t microseconds) : tv_sec(seconds), tv_usec(microseconds) {}

    /// Carries whole seconds only from 1000001 microseconds on, so that a sum of exactly 1000000 stays as it
    /// is. Seconds stop at the largest value.
    TimeVal& operator+=(const TimeVal& other);
    /// Never gives less than 0, 0.
    TimeVal& operator-=(const TimeVal& other);
    /// By the seconds and then by the microseconds, each as it stands.
    /// @return -1, 0 or 1.
    [[nodiscard]] int compare(const TimeVal& other) const;
    /// Takes the wall clock's time.
    void setNow();
    /// The time left until this value as an end time: the whole milliseconds and one more, so that a wait for
    /// it never ends early; 0 when it has come; 0xFFFFFFFF when nothing is set or when it is further away
    /// than that.
    /// @param label  says in a verbose line what waits; null or empty for no line.
    [[nodiscard]] uint32_t GetMsecsRemaining(const char* label) const;

    int64_t tv_sec = 0;
    int64_t tv_usec = 0;
};
