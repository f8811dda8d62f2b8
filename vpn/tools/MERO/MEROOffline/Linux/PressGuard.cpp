#include "tools/MERO/MEROOffline/Linux/PressGuard.h"

namespace {

/// A held key repeats sooner than this, however the keyboard is set. One of which nothing was heard for
/// longer was let go in somebody else's window.
constexpr int64_t kLongestRepeatMs = 3000;

} // namespace

bool PressGuard::admitsPress(int64_t nowMs, int64_t doubleClickMs) const {
    return m_inViewSince.has_value() && nowMs - *m_inViewSince > doubleClickMs;
}

bool PressGuard::admitsKey(uint16_t keycode, int64_t nowMs, int64_t doubleClickMs) {
    const auto [held, isNew] = m_heldKeys.try_emplace(keycode, nowMs);
    const bool isRepeat = !isNew && nowMs - held->second <= kLongestRepeatMs;
    held->second = nowMs;
    return !isRepeat && admitsPress(nowMs, doubleClickMs);
}
