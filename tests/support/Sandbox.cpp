#include "tests/support/Sandbox.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

void assignEnvironment(const std::string& name, const std::optional<std::string>& value) {
    if (value) {
        ::setenv(name.c_str(), value->c_str(), 1);
    } else {
        ::unsetenv(name.c_str());
    }
}

fs::path makePrivateFolder() {
    std::string pattern = (fs::temp_directory_path() / "mero_test_XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "mkdtemp");
    }
    return fs::canonical(pattern);
}

} // namespace

Sandbox::Sandbox() : m_folder(makePrivateFolder()), m_formerFolder(fs::current_path()) {
    fs::current_path(m_folder);
    setEnvironment("HOME", m_folder.string());
    setEnvironment("XDG_CONFIG_HOME", (m_folder / ".config").string());
}

Sandbox::~Sandbox() {
    for (const auto& [name, value] : m_formerEnvironment) {
        assignEnvironment(name, value);
    }
    std::error_code ignored;
    fs::current_path(m_formerFolder, ignored);
    // Folders that a test has made unreadable would keep the rest alive.
    for (fs::recursive_directory_iterator
             it(m_folder, fs::directory_options::skip_permission_denied, ignored),
         end;
         it != end; it.increment(ignored)) {
        if (!it->is_symlink(ignored) && it->is_directory(ignored)) {
            fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
    }
    fs::remove_all(m_folder, ignored);
}

std::string Sandbox::path(std::string_view relative) const {
    return relative.empty() ? m_folder.string() : (m_folder / relative).string();
}

std::string Sandbox::writeFile(std::string_view relative, std::string_view content) const {
    const fs::path file = m_folder / relative;
    fs::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    EXPECT_TRUE(stream) << "cannot write " << file;
    return file.string();
}

std::string Sandbox::readFile(std::string_view relative) const {
    const fs::path file = m_folder / relative;
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream.is_open()) << "cannot read " << file;
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

bool Sandbox::exists(std::string_view relative) const {
    return fs::exists(fs::symlink_status(m_folder / relative));
}

std::string Sandbox::makeFolder(std::string_view relative) const {
    fs::create_directories(m_folder / relative);
    return (m_folder / relative).string();
}

void Sandbox::setEnvironment(const std::string& name, const std::optional<std::string>& value) {
    const char* former = ::getenv(name.c_str());
    m_formerEnvironment.try_emplace(name,
                                    former == nullptr ? std::nullopt : std::optional<std::string>(former));
    assignEnvironment(name, value);
}

bool runsAsRoot() {
    return ::geteuid() == 0;
}
