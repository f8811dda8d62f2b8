#include "tools/MERO/MEROEngine/implementations/WorkerPool.h"

#include <boost/asio/post.hpp>
#include <utility>

WorkerPool::WorkerPool(uint32_t threads) {
    m_threads.start("WorkerPool", threads, [this] { m_pool.attach(); });
}

WorkerPool::~WorkerPool() {
    m_pool.stop();
    m_threads.join();
}

void WorkerPool::post(std::function<void()> task) {
    boost::asio::post(m_pool, std::move(task));
}

void WorkerPool::join() {
    // Without threads of its own it only takes note that no more work will come, so that those that have
    // joined it end when there is none left.
    m_pool.wait();
    if (m_threads.size() == 0) {
        m_pool.attach();
    }
    m_threads.join();
}
