#pragma once

#include <cerrno>
#include <cstddef>
#include <vector>

/// Calls a look-up in the user or group database until the buffer for the entry's texts is large enough.
/// @param query  gets the buffer and its size and gives 0 or an errno, as the C library's getpwnam_r.
/// @return 0, also if there is no such entry, or an errno.
template <typename Query> [[nodiscard]] int lookUp(std::vector<char>& texts, const Query& query) {
    constexpr std::size_t kFirstBytes = 4096;
    // Groups with tens of thousands of members stay below this.
    constexpr std::size_t kMostBytes = std::size_t{16} << 20U;
    int failure = ERANGE;
    for (std::size_t size = kFirstBytes; failure == ERANGE && size <= kMostBytes; size *= 2) {
        texts.resize(size);
        do {
            failure = query(texts.data(), texts.size());
        } while (failure == EINTR);
    }
    return failure;
}
