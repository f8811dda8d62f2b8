#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>
#include <string_view>

/// Fixture with a private folder, which is the current folder, HOME and (below it) XDG_CONFIG_HOME of the
/// test. Everything is put back and removed at the end.
class Sandbox : public ::testing::Test {
public:
    ~Sandbox() override;

protected:
    Sandbox();

    /// Absolute path of `relative` in the private folder.
    [[nodiscard]] std::string path(std::string_view relative = {}) const;
    /// Writes a file with its parent folders and gives its absolute path.
    std::string writeFile(std::string_view relative, std::string_view content) const;
    /// The content of a file, by absolute path or relative to the private folder; fails the test if it can't
    /// be read.
    [[nodiscard]] std::string readFile(std::string_view relative) const;
    [[nodiscard]] bool exists(std::string_view relative) const;
    /// Makes a folder with its parents and gives its absolute path.
    std::string makeFolder(std::string_view relative) const;
    /// Sets a variable for the length of the test; nullopt unsets it.
    void setEnvironment(const std::string& name, const std::optional<std::string>& value);

private:
    std::filesystem::path m_folder;
    std::filesystem::path m_formerFolder;
    std::map<std::string, std::optional<std::string>> m_formerEnvironment;
};

/// True when the test runs with root's rights, for which permission bits are no obstacle.
[[nodiscard]] bool runsAsRoot();
