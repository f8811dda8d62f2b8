// What the end-to-end bench measures beside `cp -r`: the engine's copy of a folder.   copy_tree SOURCE TARGET

#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char* argv[]) {
    if (argc != 3) {
        static_cast<void>(std::fputs("copy_tree SOURCE TARGET\n", stderr));
        return EXIT_FAILURE;
    }
    std::string errorText;
    return helperUtil::fileCopy(argv[1], argv[2], errorText) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
