#include "PrivateFolder.h"

#include "Log.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <unistd.h>

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
    return 0;
}
