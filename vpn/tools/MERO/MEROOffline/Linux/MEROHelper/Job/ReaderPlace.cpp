#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ReaderPlace.h"

#include "Common/Utility/threads/Mutex.h"

#include <set>
#include <utility>

namespace {

Mutex g_placesLock;
/// The user of each place that is taken.
std::multiset<uid_t> g_taken ZRN_GUARDED_BY(g_placesLock);

} // namespace

std::optional<ReaderPlace> ReaderPlace::take(uid_t user) {
    const LockGuard guard(g_placesLock);
    if (g_taken.count(user) >= kMostReadersOfUser || g_taken.size() >= kMostReaders) {
        return std::nullopt;
    }
    g_taken.insert(user);
    return ReaderPlace(user);
}

ReaderPlace::ReaderPlace(ReaderPlace&& other) noexcept : m_user(std::exchange(other.m_user, std::nullopt)) {}

ReaderPlace::~ReaderPlace() {
    if (m_user) {
        const LockGuard guard(g_placesLock);
        g_taken.erase(g_taken.find(*m_user));
    }
}

uid_t ReaderPlace::release() noexcept {
    return *std::exchange(m_user, std::nullopt);
}
