#include "tests/unit/common/ipc/HeapLimit.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();
std::atomic<std::size_t> g_largestBlockBytes = kNoLimit;

} // namespace

HeapLimit::HeapLimit(std::size_t largestBlockBytes) {
    g_largestBlockBytes = largestBlockBytes;
}

HeapLimit::~HeapLimit() {
    g_largestBlockBytes = kNoLimit;
}

// NOLINTBEGIN(cppcoreguidelines-no-malloc,misc-new-delete-overloads): what such operators are made of
void* operator new(std::size_t size) {
    void* const block = size > g_largestBlockBytes ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}
// NOLINTEND(cppcoreguidelines-no-malloc,misc-new-delete-overloads)
