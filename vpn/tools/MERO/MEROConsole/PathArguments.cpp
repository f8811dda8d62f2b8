#include "tools/MERO/MEROConsole/PathArguments.h"

#include "Common/Utility/sysutils.h"
#include "tools/MERO/MEROConsole/UsageError.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <system_error>

CLI::Option* addInstallFolder(CLI::App& command, std::string& value) {
    return command
        .add_option("--install-dir", value,
                    "Folder with the configuration files in xml/config/ (default: the program's)")
        ->type_name("DIR");
}

void refuseEmptyPath(const CLI::Option& option, const std::string& value) {
    if (option.count() > 0 && value.empty()) {
        throw UsageError{option.get_name() + ": the path is empty; name a file or folder, or leave it out"};
    }
}

std::string absolutePath(const std::string& optionName, const std::string& path) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    if (error) {
        throw UsageError{optionName + ": the current folder can't be found (" + error.message() +
                         "); give an absolute path"};
    }
    return absolute.string();
}

std::string installFolder(const CLI::Option& option, const std::string& value) {
    refuseEmptyPath(option, value);
    if (value.empty()) {
        return value;
    }
    std::string folder = absolutePath(option.get_name(), value);
    if (!directoryExists(folder.c_str())) {
        throw UsageError{option.get_name() + ": there is no folder '" + folder +
                         "'; name the one that holds xml/config/"};
    }
    return folder;
}
