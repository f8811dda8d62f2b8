// Gives every file of the folders named on the command line to the target, and one empty input. Exit status
// 1 if there was no file.

#include "tests/fuzz/FuzzTarget.h"

#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

void replay(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    static_cast<void>(std::printf("%s (%zu bytes)\n", file.c_str(), text.size()));
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

int replayFolders(int count, char** folders) {
    int files = 0;
    for (int i = 1; i < count; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(folders[i])) {
            replay(entry.path());
            ++files;
        }
    }
    LLVMFuzzerTestOneInput(nullptr, 0);
    static_cast<void>(std::printf("%d inputs replayed\n", files));
    return files == 0 ? 1 : 0;
}

} // namespace

int main(int count, char** arguments) {
    try {
        LLVMFuzzerInitialize(&count, &arguments);
        return replayFolders(count, arguments);
    } catch (const std::exception& exception) {
        static_cast<void>(std::fprintf(stderr, "%s\n", exception.what()));
        return 1;
    }
}
