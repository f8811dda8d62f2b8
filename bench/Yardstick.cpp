// What the end-to-end bench measures the console front against: a bare loop that packs a folder with minizip
// at level 9, single-threaded, with no checks beyond errors.   yardstick FOLDER TARGET.zip

#include "Common/Utility/memory/Handles.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <minizip/zip.h>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
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

int runMeasured(char* const* command) {
    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    if (posix_spawnp(&child, command[0], nullptr, nullptr, command, environ) != 0) {
        return EXIT_FAILURE;
    }
    int status = 0;
    rusage usage{};
    while (wait4(child, &status, 0, &usage) < 0) {
        if (errno != EINTR) {
            return EXIT_FAILURE;
        }
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    static_cast<void>(std::fprintf(stderr, "%.6f %ld\n", elapsed.count(), usage.ru_maxrss));
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE;
}

} // namespace

int main(int argc, char* argv[]) {
    const std::string_view task = argc > 2 ? argv[1] : "";
    try {
        if (task == "pack" && argc == 4) {
            return packFolder(argv[2], argv[3]) ? EXIT_SUCCESS : EXIT_FAILURE;
        }
        if (task == "run") {
            return runMeasured(argv + 2);
        }
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "yardstick: %s\n", error.what()));
        return EXIT_FAILURE;
    }
    static_cast<void>(std::fputs("yardstick pack FOLDER TARGET.zip | run PROGRAM ARGUMENT...\n", stderr));
    return EXIT_FAILURE;
}
