#pragma once

#include "tests/fuzz/FuzzTarget.h"

#include <filesystem>
#include <fstream>
#include <string>

/// A folder of its own for what a target reads from files, removed at the end of the process.
class FuzzFolder {
public:
    FuzzFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "mero_fuzz_XXXXXX").string();
        require(::mkdtemp(pattern.data()) != nullptr, "there is a temporary folder");
        m_folder = pattern;
    }
    ~FuzzFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    FuzzFolder(const FuzzFolder&) = delete;
    FuzzFolder& operator=(const FuzzFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_folder; }
    void write(const char* name, const std::string& text) const {
        std::ofstream stream(m_folder / name, std::ios::binary | std::ios::trunc);
        stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    }

private:
    std::filesystem::path m_folder;
};
