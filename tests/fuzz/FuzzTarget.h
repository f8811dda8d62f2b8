#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

/// What libFuzzer, or the replay of the seeds, calls: once at the start, then once for each input.
extern "C" int LLVMFuzzerInitialize(int* argumentCount, char*** arguments);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);

/// The input as text.
inline std::string textOf(const uint8_t* data, std::size_t size) {
    return size == 0 ? std::string() : std::string(reinterpret_cast<const char*>(data), size);
}

/// Ends the run on an input that breaks a promise.
inline void require(bool holds, const char* promise) {
    if (!holds) {
        static_cast<void>(std::fprintf(stderr, "Broken promise: %s\n", promise));
        std::abort();
    }
}
