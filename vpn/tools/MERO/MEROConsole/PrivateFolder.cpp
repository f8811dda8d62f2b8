#include "PrivateFolder.h"

#include "FolderRemoval.h"
#include "Handles.h"
#include "Log.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr const char* kParent = "/tmp";
constexpr std::size_t kNameBegin = 5;

void removeWhole(const std::string& path) {
    const FileDescriptor parent(open(kParent, O_PATH | O_DIRECTORY | O_CLOEXEC));
    static_cast<void>(removeFolder(parent.get(), path.c_str() + kNameBegin)); // logged there
}

} // namespace

PrivateFolder::~PrivateFolder() {
    if (!m_path.empty() && rmdir(m_path.c_str()) != 0) {
        const int error = errno;
        ZRN_LOG_CODE('W', "rmdir", static_cast<uint32_t>(error));
    }
}

int PrivateFolder::make() {
    std::string path = "/tmp/merocli_request_XXXXXX";
    if (mkdtemp(path.data()) == nullptr) {
        const int error = errno;
        ZRN_LOG_CODE('E', "mkdtemp", static_cast<uint32_t>(error));
        return error;
    }
    m_path = path;
    m_cleanUp.emplace([path] { removeWhole(path); });
    return 0;
}
