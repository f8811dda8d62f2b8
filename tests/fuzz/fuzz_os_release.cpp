// A text of os-release form, and the first line of the input as the key that is looked up in the rest.

#include "Common/Utility/SystemIdentity.h"
#include "tests/fuzz/FuzzTarget.h"

namespace {

void lookUp(const std::string& text, const std::string& key) {
    std::string value;
    if (getNamedValue(text, key, value)) {
        require(text.find(value) != std::string::npos, "a value is a part of the text");
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    const std::string input = textOf(data, size);
    const std::size_t line = input.find('\n');
    if (line != std::string::npos) {
        lookUp(input.substr(line + 1), input.substr(0, line));
    }
    for (const char* key : {"NAME", "VERSION", "VERSION_ID", "ID"}) {
        lookUp(input, key);
    }
    static_cast<void>(parseVersion(input, "."));
    return 0;
}
