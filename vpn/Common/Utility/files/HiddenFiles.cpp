#include "Common/Utility/files/HiddenFiles.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <unistd.h>

namespace {

constexpr std::size_t kMostFiles = 16;
constexpr std::size_t kNameBytes = 64;

/// Whoever changes the state of an entry from Free or Listed has the rest of it for himself.
enum class State : int { Free, Taken, Listed, Removed };

struct Entry {
    std::atomic<State> state{State::Free};
    int folder = -1;
    std::array<char, kNameBytes> name{};
};

static_assert(std::atomic<State>::is_always_lock_free, "a signal handler can wait for no lock");

std::array<Entry, kMostFiles> g_entries;

bool change(Entry& entry, State from, State to) noexcept {
    return entry.state.compare_exchange_strong(from, to);
}

} // namespace

void HiddenFile::list(int folder, const char* name) noexcept {
    drop();
    if (std::strlen(name) >= kNameBytes) {
        return;
    }
    for (std::size_t place = 0; place < g_entries.size(); ++place) {
        Entry& entry = g_entries[place];
        if (change(entry, State::Free, State::Taken)) {
            entry.folder = folder;
            std::strncpy(entry.name.data(), name, kNameBytes - 1);
            entry.state = State::Listed;
            m_place = static_cast<int>(place);
            return;
        }
    }
}

void HiddenFile::drop() noexcept {
    if (m_place >= 0) {
        // One that is being removed stays as it is, as the process ends.
        change(g_entries[static_cast<std::size_t>(m_place)], State::Listed, State::Free);
        m_place = -1;
    }
}

void removeHiddenFiles() noexcept {
    for (Entry& entry : g_entries) {
        if (change(entry, State::Listed, State::Removed)) {
            // It may have got its place or gone just now, and there is nobody left to tell.
            static_cast<void>(::unlinkat(entry.folder, entry.name.data(), 0));
        }
    }
}
