#pragma once

#include "tools/MERO/MEROEngine/implementations/Progress.h"

#include <thread>

/// Whether somebody holds the lock of the progress at this moment.
[[nodiscard]] inline bool isProgressLocked() {
    bool locked = true;
    // Another thread has to try: a lock that this one holds already may not be tried by it.
    std::thread([&locked] {
        locked = !g_progressLock.try_lock();
        if (!locked) {
            g_progressLock.unlock();
        }
    }).join();
    return locked;
}
