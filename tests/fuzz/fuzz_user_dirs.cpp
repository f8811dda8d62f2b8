// The user's user-dirs.dirs, of which the desktop folder is read.

#include "FuzzTarget.h"
#include "Paths.h"

#include <filesystem>
#include <fstream>

namespace {

/// A folder of its own for the file, removed at the end of the process.
class ConfigFolder {
public:
    ConfigFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "mero_fuzz_XXXXXX").string();
        require(::mkdtemp(pattern.data()) != nullptr, "there is a temporary folder");
        m_folder = pattern;
        require(::setenv("XDG_CONFIG_HOME", m_folder.c_str(), 1) == 0, "a variable can be set");
    }
    ~ConfigFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    ConfigFolder(const ConfigFolder&) = delete;
    ConfigFolder& operator=(const ConfigFolder&) = delete;

    void write(const std::string& text) const {
        std::ofstream stream(m_folder / "user-dirs.dirs", std::ios::binary | std::ios::trunc);
        stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    }

private:
    std::filesystem::path m_folder;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    static const ConfigFolder folder;
    const std::string text = textOf(data, size);
    folder.write(text);
    const std::string desktop = helperUtil::getXdgDesktopDirectory();
    require(desktop.empty() || desktop.ends_with('/'), "a desktop folder ends in a slash");
    require(desktop.size() <= text.size() + 1, "a desktop folder comes from the file");
    return 0;
}
