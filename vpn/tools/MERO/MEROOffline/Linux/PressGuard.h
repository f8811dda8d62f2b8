#pragma once

#include <cstdint>
#include <map>
#include <optional>

/// Tells the presses that are meant for the page in view from those that were meant for the one before it:
/// the second press of a double click, and the repeats of a key that is held. One thread at a time.
///
/// Times are milliseconds of any clock that never goes back, the same one in all calls.
class PressGuard {
public:
    /// Another page, or a dialog, is on its way to the screen. Until it is in view no press can
    /// be meant for it.
    void changePage() { m_inViewSince.reset(); }
    /// It is in view now.
    void showPage(int64_t nowMs) { m_inViewSince = nowMs; }

    /// @param doubleClickMs  how long after a press another one still belongs to it.
    /// @return whether a press of a button is meant for the page in view.
    [[nodiscard]] bool admitsPress(int64_t nowMs, int64_t doubleClickMs) const;
    /// The same of a key, whose press this notes. A key that is held doesn't press anything a second time.
    [[nodiscard]] bool admitsKey(uint16_t keycode, int64_t nowMs, int64_t doubleClickMs);
    /// Notes that a key was let go.
    void releaseKey(uint16_t keycode) { m_heldKeys.erase(keycode); }

private:
    /// Unset until the page is in view.
    std::optional<int64_t> m_inViewSince;
    /// When each of them was pressed or repeated last.
    std::map<uint16_t, int64_t> m_heldKeys;
};
