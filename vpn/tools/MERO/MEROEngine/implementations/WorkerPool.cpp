#include "tools/MERO/MEROEngine/implementations/WorkerPool.h"

#include "Common/Utility/log/Log.h"

#include <boost/asio/post.hpp>
#include <cerrno>
#include <new>
#include <system_error>
#include <utility>

WorkerPool::WorkerPool(uint32_t threads) {
    m_threads.reserve(threads);
    int failure = 0;
    try {
        while (m_threads.size() < threads) {
            m_threads.emplace_back([this] { m_pool.attach(); });
        }
    } catch (const std::system_error& error) {
        failure = error.code().value();
    } catch (const std::bad_alloc&) {
        failure = ENOMEM;
    }
    if (failure != 0) {
        ZRN_LOG_CODE_TEXT('W', "pthread_create", failure, "The work is done by %u threads",
                          static_cast<uint32_t>(m_threads.size()));
    }
}

WorkerPool::~WorkerPool() {
    m_pool.stop();
    joinThreads();
}

void WorkerPool::post(std::function<void()> task) {
    boost::asio::post(m_pool, std::move(task));
}

void WorkerPool::join() {
    // Without threads of its own it only takes note that no more work will come, so that those that have
    // joined it end when there is none left.
    m_pool.wait();
    if (m_threads.empty()) {
        m_pool.attach();
    }
    joinThreads();
}

void WorkerPool::joinThreads() {
    for (std::thread& thread : m_threads) {
        if (thread.joinable()) {
            thread.join();
        }
    }
}
