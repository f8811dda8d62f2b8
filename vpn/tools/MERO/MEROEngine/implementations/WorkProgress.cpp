#include "tools/MERO/MEROEngine/implementations/WorkProgress.h"

#include "Common/Utility/threads/Mutex.h"

#include <memory>

namespace {

struct Step {
    Mutex lock;
    std::string text ZRN_GUARDED_BY(lock);
};

/// Never destroyed, because a worker may still report while the process is ending.
Step& step() {
    static Step* const step = std::make_unique<Step>().release();
    return *step;
}

} // namespace

WorkProgress& workProgress() {
    static WorkProgress progress;
    return progress;
}

void countCopied(uint64_t bytes) {
    ++workProgress().filesCopied;
    workProgress().bytesCopied += bytes;
}

std::string consoleStep() {
    const LockGuard guard(step().lock);
    return step().text;
}

void setConsoleStep(const std::string& text) {
    const LockGuard guard(step().lock);
    step().text = text;
}
