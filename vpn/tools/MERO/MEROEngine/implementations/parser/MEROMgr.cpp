#include "tools/MERO/MEROEngine/implementations/parser/MEROMgr.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlMgr.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlParser.h"

#include <cerrno>
#include <memory>
#include <string_view>
#include <system_error>

namespace {

constexpr std::string_view kSuffix = ".xml";

/// Takes the name in if its first ".xml" is its end: "a.xml.xml" is no configuration file.
void addFile(const std::string& folder, const std::string& name, std::list<std::string>& files) {
    const std::size_t suffix = name.find(kSuffix);
    if (suffix == std::string::npos || suffix + kSuffix.size() != name.size()) {
        return;
    }
    const std::string path = folder + name;
    ZRN_LOG('I', "found file %s", path.c_str());
    files.push_back(path);
}

/// Adds the configuration files of a folder, in its order; none if it can't be opened.
/// @return false if the folder could not be read to its end.
[[nodiscard]] bool enumerateFiles(const std::string& folder, std::list<std::string>& files) {
    const DirHandle stream(::opendir(folder.c_str()));
    if (!stream) {
        return true; // a set without a folder is an empty set
    }
    errno = 0;
    for (const dirent* entry = ::readdir(stream.get()); entry != nullptr; entry = ::readdir(stream.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            addFile(folder, name, files);
        }
        errno = 0;
    }
    if (const int error = errno; error != 0) {
        ZRN_LOG_CODE_TEXT('E', "readdir", error, "File: %s\nError: %s", folder.c_str(),
                          std::generic_category().message(error).c_str());
        return false;
    }
    return true;
}

} // namespace

MEROMgr::MEROMgr(std::list<MEROXmlObject*>& trees, const std::string& folder) {
    std::list<std::string> files;
    const bool whole = enumerateFiles(folder, files);
    for (const std::string& path : files) {
        parseFile(path, trees);
    }
    if (!whole) {
        m_failedFiles.push_back(folder); // nobody knows how many files it stands for
    }
}

void MEROMgr::parseFile(const std::string& path, std::list<MEROXmlObject*>& trees) {
    MEROXmlMgr manager;
    MEROXmlParser parser(&manager);
    const uint32_t code = parser.parseFile(path);
    m_results.push_back(code);
    if (code != 0) {
        m_failedFiles.push_back(path);
        return;
    }
    auto tree = std::make_unique<MEROXmlObject>(*manager.getXmlObject());
    trees.push_back(tree.get());
    static_cast<void>(tree.release()); // now the caller's
}
