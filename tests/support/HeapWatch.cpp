#include "tests/support/HeapWatch.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>

namespace {

std::string_view g_secret;
std::atomic<bool> g_watching = false;
std::atomic<int> g_blocksFreed = 0;
std::atomic<int> g_secretsFreed = 0;

/// Looks at the whole of a block that is about to be freed.
void inspect(const void* block) {
    if (block == nullptr || !g_watching) {
        return;
    }
    ++g_blocksFreed;
    if (::memmem(block, ::malloc_usable_size(const_cast<void*>(block)), // NOLINT(*-const-cast): C's signature
                 g_secret.data(), g_secret.size()) != nullptr) {
        ++g_secretsFreed;
    }
}

} // namespace

HeapWatch::HeapWatch(std::string_view secret) {
    g_secret = secret;
    g_blocksFreed = 0;
    g_secretsFreed = 0;
    g_watching = true;
}

HeapWatch::~HeapWatch() {
    g_watching = false;
}

int HeapWatch::blocksFreed() {
    return g_blocksFreed;
}

int HeapWatch::secretsFreed() {
    return g_secretsFreed;
}

// The heap of this program tells what stands in the blocks that it gets back. The C functions below are what
// such operators are made of.
// NOLINTBEGIN(cppcoreguidelines-no-malloc,misc-new-delete-overloads)
void* operator new(std::size_t size) {
    if (void* const block = std::malloc(size == 0 ? 1 : size)) {
        return block;
    }
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
    inspect(block);
    std::free(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
    inspect(block);
    std::free(block);
}
// NOLINTEND(cppcoreguidelines-no-malloc,misc-new-delete-overloads)
