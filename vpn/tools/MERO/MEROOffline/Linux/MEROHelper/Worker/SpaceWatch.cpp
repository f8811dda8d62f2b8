#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/SpaceWatch.h"

#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROEngine/implementations/EngineMessages.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/SpaceUse.h"

#include <algorithm>
#include <cinttypes>
#include <exception>
#include <optional>
#include <system_error>
#include <utility>

namespace {

/// What a job can write meanwhile into memory is far less than what is kept free.
constexpr std::chrono::milliseconds kInterval{20};
/// Counting files costs more: it takes at most a tenth of a processor's time.
constexpr std::chrono::milliseconds kCountInterval{200};
constexpr int kCountShare = 10;

} // namespace

SpaceWatch::SpaceWatch(const SpaceLimits& limits, const std::vector<std::string>& folders,
                       std::function<void()> breached)
    : m_limits(limits), m_breached(std::move(breached)) {
    for (const std::string& folder : folders) {
        m_places.push_back({.folder = folder});
    }
}

SpaceWatch::~SpaceWatch() {
    end();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

bool SpaceWatch::start() {
    m_breach = lookAtFreeSpace();
    if (m_breach != nullptr) {
        return true;
    }
    try {
        m_thread = std::thread(&SpaceWatch::run, this);
        return true;
    } catch (const std::system_error& error) {
        ZRN_LOG_CODE('E', "std::thread", error.code().value());
        return false;
    }
}

void SpaceWatch::count(const std::string& folder) {
    const LockGuard guard(m_lock);
    m_counted.push_back(folder);
}

void SpaceWatch::run() noexcept {
    try {
        watch();
    } catch (const std::exception& error) {
        // Nobody looks any more, so that the job can't go on either.
        ZRN_LOG('E', "The watch over the space was ended by an error: %s", error.what());
        m_breach = kEncounteredError;
    }
    if (m_breach != nullptr) {
        m_breached();
    }
}

void SpaceWatch::watch() {
    while (m_breach == nullptr && !awaitEnd()) {
        m_breach = look();
    }
}

bool SpaceWatch::awaitEnd() {
    const LockGuard guard(m_lock);
    return m_end.waitFor(m_lock, kInterval, [this]() ZRN_REQUIRES(m_lock) { return m_ended; });
}

void SpaceWatch::end() {
    const LockGuard guard(m_lock);
    m_ended = true;
    m_end.tellAll();
}

const char* SpaceWatch::look() {
    const char* const reason = lookAtFreeSpace();
    return reason != nullptr ? reason : lookAtFiles();
}

const char* SpaceWatch::lookAtFreeSpace() {
    for (Place& place : m_places) {
        const std::optional<FreeSpace> space = freeSpaceOf(place.folder, m_limits);
        if (!space) {
            continue;
        }
        // It may go on to fall as fast before the next look.
        const uint64_t fall = place.freeBytes > space->bytes ? place.freeBytes - space->bytes : 0;
        if (!space->hasRoomForFiles || space->bytes < space->keptBytes ||
            space->bytes - space->keptBytes < fall) {
            ZRN_LOG('E', "In \"%s\" %" PRIu64 " bytes are free, of which %" PRIu64 " are kept for others%s",
                    place.folder.c_str(), space->bytes, space->keptBytes,
                    space->hasRoomForFiles ? "" : ", and too few files");
            return kTooLittleSpace;
        }
        place.freeBytes = space->bytes;
    }
    return nullptr;
}

const char* SpaceWatch::lookAtFiles() {
    const Clock::time_point start = Clock::now();
    if (start < m_nextCount) {
        return nullptr;
    }
    std::vector<std::string> folders;
    {
        const LockGuard guard(m_lock);
        folders = m_counted;
    }
    uint64_t bytes = 0;
    for (const std::string& folder : folders) {
        bytes += bytesBelow(folder);
    }
    const Clock::time_point end = Clock::now();
    m_nextCount = end + std::max<Clock::duration>(kCountInterval, (end - start) * (kCountShare - 1));
    if (bytes <= m_limits.mostBytes) {
        return nullptr;
    }
    ZRN_LOG('E', "The job's files take %" PRIu64 " bytes, more than the %" PRIu64 " that they may", bytes,
            m_limits.mostBytes);
    return kTooMuchCollected;
}
