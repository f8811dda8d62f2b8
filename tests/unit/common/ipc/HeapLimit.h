#pragma once

#include <cstddef>

/// The heap gives no block larger than this while the object lives. One object at a time. For a program whose
/// sources hold HeapLimit.cpp, which replaces the heap's operators.
class HeapLimit {
public:
    explicit HeapLimit(std::size_t largestBlockBytes);
    ~HeapLimit();
    HeapLimit(const HeapLimit&) = delete;
    HeapLimit& operator=(const HeapLimit&) = delete;
};
