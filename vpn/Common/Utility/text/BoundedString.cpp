#include "Common/Utility/text/BoundedString.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

uint32_t boundedLength(const char* text, uint32_t maximum) {
    return text == nullptr ? 0 : static_cast<uint32_t>(::strnlen(text, maximum));
}

uint32_t boundedCopy(char* destination, uint32_t sizeBytes, const char* source) {
    if (source == nullptr) {
        source = "";
    }
    const std::size_t length = std::strlen(source);
    if (destination != nullptr && sizeBytes > 0) {
        const std::size_t kept = std::min<std::size_t>(length, sizeBytes - 1);
        std::memcpy(destination, source, kept);
        destination[kept] = '\0';
    }
    return static_cast<uint32_t>(length);
}

uint32_t boundedAppend(char* destination, uint32_t sizeBytes, const char* source) {
    const uint32_t present = boundedLength(destination, sizeBytes);
    if (destination == nullptr || present == sizeBytes) {
        return present + boundedCopy(nullptr, 0, source);
    }
    return present + boundedCopy(destination + present, sizeBytes - present, source);
}

const char* boundedFindAny(const char* text, const char* characters, uint32_t maximum) {
    if (text == nullptr || characters == nullptr) {
        return nullptr;
    }
    const char* const end = text + boundedLength(text, maximum);
    const char* const hit = std::find_first_of(text, end, characters, characters + std::strlen(characters));
    return hit == end ? nullptr : hit;
}

int formatBoundedV(char* buffer, uint32_t sizeBytes, const char* format, va_list arguments) {
    if (buffer == nullptr || sizeBytes == 0 || format == nullptr) {
        return static_cast<int>(sizeBytes);
    }
    // The callers have started the list; the analyzer loses that where it is handed on as a pointer.
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    const int length = std::vsnprintf(buffer, sizeBytes, format, arguments);
    buffer[sizeBytes - 1] = '\0';
    return length < 0 ? static_cast<int>(sizeBytes) : length;
}

int formatBounded(char* buffer, uint32_t sizeBytes, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = formatBoundedV(buffer, sizeBytes, format, arguments);
    va_end(arguments);
    return length;
}
