#pragma once

#include <string_view>

/// Looks, for as long as it lives, for a secret in each block of the heap that is freed, by whatever thread.
/// One at a time. It replaces the heap's operators, so only programs of their own are linked to it.
class HeapWatch {
public:
    /// @param secret  must stand in constant memory.
    explicit HeapWatch(std::string_view secret);
    ~HeapWatch();
    HeapWatch(const HeapWatch&) = delete;
    HeapWatch& operator=(const HeapWatch&) = delete;

    /// Since the last one was made.
    [[nodiscard]] static int blocksFreed();
    /// How many of them still held the secret.
    [[nodiscard]] static int secretsFreed();
};
