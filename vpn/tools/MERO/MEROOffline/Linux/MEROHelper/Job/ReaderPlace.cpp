#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ReaderPlace.h"

#include <mutex>
#include <set>
#include <utility>

namespace {

std::mutex g_placesLock;
/// The user of each place that is taken. Guarded by g_placesLock.
std::multiset<uid_t> g_taken;

} // namespace

std::optional<ReaderPlace> ReaderPlace::take(uid_t user) {
    const std::lock_guard<std::mutex> guard(g_placesLock);
    if (g_taken.count(user) >= kMostReadersOfUser || g_taken.size() >= kMostReaders) {
        return std::nullopt;
    }
    g_taken.insert(user);
    return ReaderPlace(user);
}

ReaderPlace::ReaderPlace(ReaderPlace&& other) noexcept : m_user(std::exchange(other.m_user, std::nullopt)) {}

ReaderPlace::~ReaderPlace() {
    if (m_user) {
        const std::lock_guard<std::mutex> guard(g_placesLock);
        g_taken.erase(g_taken.find(*m_user));
    }
}

uid_t ReaderPlace::release() noexcept {
    return *std::exchange(m_user, std::nullopt);
}
