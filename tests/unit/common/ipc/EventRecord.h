#pragma once

#include "Common/IPC/event.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

/// A wait that only a fault lets end by time.
constexpr uint32_t kLongMs = 60'000;

/// The arguments of the callbacks of a function, in the order of the calls. A test has one at a time.
class FunctionRecord {
public:
    using Call = std::pair<uint64_t, uint64_t>;

    FunctionRecord() { s_calls.clear(); }
    [[nodiscard]] static const std::vector<Call>& calls() { return s_calls; }
    /// The callback.
    static void note(uint64_t arg1, uint32_t arg2) { s_calls.emplace_back(arg1, arg2); }

private:
    static inline std::vector<Call> s_calls;
};

/// An object as callback, which keeps the first arguments in the order of the calls and does what the test
/// wants besides.
class ObjectRecord : public IEventCallback {
public:
    void onEvent(uint64_t arg1, uint64_t arg2) override {
        m_calls.push_back(arg1);
        m_lastArg2 = arg2;
        // It may put another one in its place.
        const auto action = m_action;
        if (action) {
            action(arg1);
        }
    }
    /// Does this at each call from now on, with the first argument.
    void doAtEachCall(std::function<void(uint64_t arg1)> action) { m_action = std::move(action); }
    [[nodiscard]] const std::vector<uint64_t>& calls() const { return m_calls; }
    [[nodiscard]] uint64_t lastArg2() const { return m_lastArg2; }
    /// What was called since the last time.
    [[nodiscard]] std::vector<uint64_t> takeCalls() { return std::exchange(m_calls, {}); }

private:
    std::vector<uint64_t> m_calls;
    uint64_t m_lastArg2 = 0;
    std::function<void(uint64_t)> m_action;
};
