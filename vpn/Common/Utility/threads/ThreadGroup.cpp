#include "Common/Utility/threads/ThreadGroup.h"

#include "Common/Utility/log/Log.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <sched.h>
#include <system_error>

uint32_t usableCores() {
    cpu_set_t cores;
    if (::sched_getaffinity(0, sizeof cores, &cores) != 0) { // more cores than the set has room for
        return std::max(std::thread::hardware_concurrency(), 1U);
    }
    return static_cast<uint32_t>(CPU_COUNT(&cores));
}

void ThreadGroup::start(const char* function, uint32_t count, const std::function<void()>& body) {
    int failure = 0;
    try {
        m_threads.reserve(count);
        while (m_threads.size() < count) {
            m_threads.emplace_back(body);
        }
    } catch (const std::system_error& error) {
        failure = error.code().value();
    } catch (const std::bad_alloc&) {
        failure = ENOMEM;
    }
    if (failure != 0) {
        ZRN_LOG_CODE_FOR(function, 'W', "pthread_create", failure, "The work is done by %u threads",
                         static_cast<uint32_t>(m_threads.size()));
    }
}

void ThreadGroup::join() {
    for (std::thread& thread : m_threads) {
        if (thread.joinable()) {
            thread.join();
        }
    }
}
