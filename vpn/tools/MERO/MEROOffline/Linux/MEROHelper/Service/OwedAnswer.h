#pragma once

#include <gio/gio.h>
#include <utility>

/// The answer to one call of StartMERO, which is given once in any case: false by the end of this object, if
/// not before. Main thread.
class OwedAnswer {
public:
    /// @param invocation  taken over.
    explicit OwedAnswer(GDBusMethodInvocation* invocation) : m_invocation(invocation) {}
    OwedAnswer(OwedAnswer&& other) noexcept : m_invocation(std::exchange(other.m_invocation, nullptr)) {}
    ~OwedAnswer() { give(false); }
    OwedAnswer& operator=(OwedAnswer&&) = delete;
    OwedAnswer(const OwedAnswer&) = delete;
    OwedAnswer& operator=(const OwedAnswer&) = delete;

    /// Unique name of the caller; null once the answer was given. Lives as long as this object.
    [[nodiscard]] const char* getCaller() const;
    /// Only the first answer counts.
    void give(bool taken);

private:
    GDBusMethodInvocation* m_invocation;
};
