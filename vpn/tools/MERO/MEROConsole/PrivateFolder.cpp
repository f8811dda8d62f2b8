#include "tools/MERO/MEROConsole/PrivateFolder.h"

#include "Common/Utility/files/FolderRemoval.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"
#include "tools/MERO/MEROConsole/ConsoleMessages.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr const char* kParent = "/tmp";
constexpr std::size_t kNameBegin = 5;

bool removeWhole(const std::string& path) {
    const FileDescriptor parent(open(kParent, O_PATH | O_DIRECTORY | O_CLOEXEC));
    return removeFolder(parent.get(), path.c_str() + kNameBegin);
}

} // namespace

PrivateFolder::~PrivateFolder() {
    if (m_path.empty() || rmdir(m_path.c_str()) == 0) {
        return;
    }
    const int error = errno;
    ZRN_LOG_CODE('W', "rmdir", error);
    // What stood in it may have stayed for a reason that has passed.
    if (!removeWhole(m_path)) {
        printError("the folder '" + m_path + "' can't be removed");
    }
}

int PrivateFolder::make() {
    std::string path = "/tmp/merocli_request_XXXXXX";
    if (mkdtemp(path.data()) == nullptr) {
        const int error = errno;
        ZRN_LOG_CODE('E', "mkdtemp", error);
        return error;
    }
    m_path = path;
    m_cleanUp.emplace([path] {
        static_cast<void>(removeWhole(path)); /* logged there */
    });
    return 0;
}
