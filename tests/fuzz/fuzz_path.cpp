// A configured path with references to the environment.

#include "tests/fuzz/FuzzTarget.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"

extern "C" int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    // Values that name each other and themselves, one that is empty and one that is long.
    const std::string longValue(5000, 'l');
    const bool isSet = ::setenv("A", "$B/$A", 1) == 0 && ::setenv("B", "$A/$A/$B", 1) == 0 &&
                       ::setenv("E", "", 1) == 0 && ::setenv("L", longValue.c_str(), 1) == 0 &&
                       ::setenv("HOME", "/home/user", 1) == 0;
    require(isSet, "variables can be set");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    const std::string path = textOf(data, size);
    const std::string translated = helperUtil::translatePath(path);
    require(path.find('$') != std::string::npos || translated == path, "a path without references stays");
    return 0;
}
