// The user's user-dirs.dirs, of which the desktop folder is read.

#include "tests/fuzz/FuzzFolder.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"

extern "C" int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    static const FuzzFolder folder;
    const std::string text = textOf(data, size);
    require(::setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1) == 0, "a variable can be set");
    folder.write("user-dirs.dirs", text);
    const std::string desktop = helperUtil::getXdgDesktopDirectory();
    require(desktop.empty() || desktop.ends_with('/'), "a desktop folder ends in a slash");
    require(desktop.size() <= text.size() + 1, "a desktop folder comes from the file");
    return 0;
}
