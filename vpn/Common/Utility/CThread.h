#pragma once

#include <cstdint>
#include <memory>
#include <pthread.h>

/// Body of a CThread.
class IRunnable {
public:
    /// @return the thread's exit code.
    virtual uint32_t Run() = 0;
    virtual ~IRunnable() = default;
    /// A heap copy for a fire-and-forget start; null if the class offers none, as here.
    [[nodiscard]] virtual IRunnable* clone(void* argument);
    /// Frees a fire-and-forget copy when its body has ended. Here it only logs that nobody does.
    virtual void Destroy();
};
