#include "Common/Utility/time/TimeVal.h"

#include "Common/Utility/log/Log.h"

#include <algorithm>
#include <compare>
#include <limits>
#include <sys/time.h>
#include <tuple>

namespace {

constexpr int64_t kMicrosecondsPerSecond = 1'000'000;
constexpr int64_t kMicrosecondsPerMillisecond = 1'000;
constexpr int64_t kMillisecondsPerSecond = 1'000;
constexpr uint32_t kInfiniteMs = 0xFFFFFFFF;

/// The limit that an addition or subtraction has run past, by the side on which it has.
int64_t limitOf(bool negative) {
    return negative ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
}

int64_t addSaturated(int64_t left, int64_t right) {
    int64_t sum = 0;
    return __builtin_add_overflow(left, right, &sum) ? limitOf(right < 0) : sum;
}

int64_t subtractSaturated(int64_t left, int64_t right) {
    int64_t difference = 0;
    return __builtin_sub_overflow(left, right, &difference) ? limitOf(right > 0) : difference;
}

std::strong_ordering order(const TimeVal& left, const TimeVal& right) {
    return std::tie(left.tv_sec, left.tv_usec) <=> std::tie(right.tv_sec, right.tv_usec);
}

/// Whole milliseconds, from 0 to the last value before the one that stands for no end.
uint32_t millisecondsOf(const TimeVal& length) {
    // Cut first, so that the product fits.
    const int64_t seconds = std::min<int64_t>(length.tv_sec, kInfiniteMs);
    const int64_t milliseconds =
        seconds * kMillisecondsPerSecond + length.tv_usec / kMicrosecondsPerMillisecond;
    return static_cast<uint32_t>(std::clamp<int64_t>(milliseconds, 0, kInfiniteMs - 1));
}

} // namespace

TimeVal& TimeVal::operator+=(const TimeVal& other) {
    tv_usec = addSaturated(tv_usec, other.tv_usec);
    int64_t carry = 0;
    if (tv_usec > kMicrosecondsPerSecond) {
        carry = tv_usec / kMicrosecondsPerSecond;
        tv_usec %= kMicrosecondsPerSecond;
    }
    tv_sec = addSaturated(addSaturated(tv_sec, other.tv_sec), carry);
    return *this;
}

TimeVal& TimeVal::operator-=(const TimeVal& other) {
    if (std::is_lteq(order(*this, other))) {
        *this = TimeVal();
        return *this;
    }
    tv_sec = subtractSaturated(tv_sec, other.tv_sec);
    if (tv_usec < other.tv_usec) {
        tv_usec = addSaturated(tv_usec, kMicrosecondsPerSecond);
        --tv_sec;
    }
    tv_usec = subtractSaturated(tv_usec, other.tv_usec);
    return *this;
}

int TimeVal::compare(const TimeVal& other) const {
    const std::strong_ordering result = order(*this, other);
    if (std::is_eq(result)) {
        return 0;
    }
    return std::is_lt(result) ? -1 : 1;
}

void TimeVal::setNow() {
    timeval now{};
    // It can't fail for a place that can be written to.
    static_cast<void>(::gettimeofday(&now, nullptr));
    tv_sec = now.tv_sec;
    tv_usec = now.tv_usec;
}

uint32_t TimeVal::GetMsecsRemaining(const char* label) const {
    if (compare(TimeVal()) == 0) {
        return kInfiniteMs;
    }
    TimeVal now;
    now.setNow();
    const int ahead = compare(now);
    uint32_t remainingMs = 0;
    const char* state = ahead == 0 ? "exact expiration" : "already expired";
    if (ahead > 0) {
        TimeVal left = *this;
        left -= now;
        remainingMs = millisecondsOf(left) + 1;
        state = remainingMs == 1 ? "less than one millisecond remaining" : "not done";
    }
    if (label != nullptr && *label != '\0') {
        logVerbose(__func__, __FILE__, __LINE__, 'I', label,
                   "Notification event wait timeout is '%u' milliseconds, '%s'", remainingMs, state);
    }
    return remainingMs;
}
