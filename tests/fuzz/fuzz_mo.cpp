// A message catalogue: whatever it says of itself, no text comes from outside it. The pieces of the input
// between NUL bytes are the texts that are looked up.

#include "Common/i18n/MoFile.h"
#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

namespace {

constexpr int kMostKeys = 100;

void lookUpPieces(const MoFile& catalogue, std::string_view file) {
    std::size_t start = 0;
    for (int keys = 0; keys < kMostKeys && start < file.size(); ++keys) {
        const std::size_t end = file.find('\0', start);
        const std::string key(file.substr(start, end == std::string_view::npos ? end : end - start));
        if (const char* const text = catalogue.find(key.c_str())) {
            require(text >= file.data() && text < file.data() + file.size(), "a text lies in the file");
            require(text + std::strlen(text) < file.data() + file.size(), "a text ends in the file");
        }
        start = end == std::string_view::npos ? file.size() : end + 1;
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    // A block of exactly the file's size shows every byte too many.
    const auto block = std::make_unique<char[]>(size);
    std::copy_n(data, size, block.get());
    const std::string_view file(block.get(), size);
    if (const std::optional<MoFile> catalogue = MoFile::read(file)) {
        lookUpPieces(*catalogue, file);
        require(!catalogue->charset() || file.find(*catalogue->charset()) != std::string_view::npos,
                "a character set comes from the file");
    }
    return 0;
}
