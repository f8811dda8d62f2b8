// What the end-to-end bench measures the console front against: a bare loop that packs a folder with minizip
// at level 9, single-threaded, with no checks beyond errors.   yardstick FOLDER TARGET.zip

#include "Handles.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <minizip/zip.h>
#include <string>
#include <vector>

namespace {

constexpr int kLevel = 9;
constexpr std::size_t kBlockBytes = 65536;

bool packFile(zipFile archive, const std::filesystem::path& path, const std::string& name,
              std::vector<char>& block) {
    const FileHandle file(std::fopen(path.c_str(), "rbe"));
    const zip_fileinfo info{};
    if (!file || zipOpenNewFileInZip64(archive, name.c_str(), &info, nullptr, 0, nullptr, 0, nullptr,
                                       Z_DEFLATED, kLevel, 1) != ZIP_OK) {
        return false;
    }
    std::size_t count = 0;
    while ((count = std::fread(block.data(), 1, block.size(), file.get())) > 0) {
        if (zipWriteInFileInZip(archive, block.data(), static_cast<unsigned>(count)) != ZIP_OK) {
            return false;
        }
    }
    return std::ferror(file.get()) == 0 && zipCloseFileInZip(archive) == ZIP_OK;
}

bool packFolder(const std::filesystem::path& folder, const char* target) {
    zipFile archive = zipOpen64(target, APPEND_STATUS_CREATE);
    if (!archive) {
        return false;
    }
    std::vector<char> block(kBlockBytes);
    bool good = true;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            good = good &&
                   packFile(archive, entry.path(), entry.path().lexically_relative(folder).string(), block);
        }
    }
    return zipClose(archive, nullptr) == ZIP_OK && good;
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc != 3) {
        static_cast<void>(std::fputs("yardstick FOLDER TARGET.zip\n", stderr));
        return EXIT_FAILURE;
    }
    try {
        return packFolder(argv[1], argv[2]) ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "yardstick: %s\n", error.what()));
        return EXIT_FAILURE;
    }
}
