#include "Common/Xml/DocumentSource.h"

#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/log/Log.h"
#include "Common/Xml/XmlHandles.h"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <mutex>
#include <system_error>

namespace {

/// The innermost source of this thread, or null.
thread_local DocumentSource* t_current = nullptr;

/// What other users of libxml2 get; written once, by the initialisation.
xmlExternalEntityLoader g_formerLoader = nullptr;

void logFailedCall(const char* function, const char* call, int error, const std::string& path) {
    const std::string reason = std::generic_category().message(error);
    ZRN_LOG_CODE_FOR(function, 'E', call, error, "File: %s\nError: %s", path.c_str(), reason.c_str());
}

} // namespace

DocumentSource::DocumentSource() noexcept : m_pOuter(t_current) {
    t_current = this;
}

DocumentSource::DocumentSource(const std::string& path) noexcept : DocumentSource() {
    m_pPath = &path;
}

DocumentSource::~DocumentSource() {
    t_current = m_pOuter;
}

void DocumentSource::initializeLibrary() {
    static std::once_flag once;
    std::call_once(once, [] {
        xmlInitParser();
        g_formerLoader = xmlGetExternalEntityLoader();
        xmlSetExternalEntityLoader(&DocumentSource::load);
    });
}

xmlParserInputPtr DocumentSource::load(const char* url, const char* id, xmlParserCtxtPtr context) noexcept {
    try {
        return t_current == nullptr ? g_formerLoader(url, id, context) : t_current->openInput(url, context);
    } catch (...) {
        return nullptr;
    }
}

xmlParserInputPtr DocumentSource::openInput(const char* url, xmlParserCtxtPtr context) {
    if (m_pPath == nullptr || m_file) {
        ZRN_LOG('E', "A document asked for \"%s\", which is refused.", url == nullptr ? "" : url);
        return nullptr;
    }
    m_file = openFile();
    if (!m_file) {
        return nullptr;
    }
    ParserInputBufferHandle buffer(
        xmlParserInputBufferCreateIO(&DocumentSource::read, nullptr, this, XML_CHAR_ENCODING_NONE));
    if (!buffer) {
        return nullptr;
    }
    m_pParser = context;
    xmlParserInputPtr input = xmlNewIOInputStream(context, buffer.get(), XML_CHAR_ENCODING_NONE);
    if (input != nullptr) {
        static_cast<void>(buffer.release()); // now the stream's
    }
    return input;
}

FileDescriptor DocumentSource::openFile() const {
    if (m_pPath->find('\0') != std::string::npos) {
        ZRN_LOG('E', "A path with a NUL byte in it names no file: %s", m_pPath->c_str());
        return {};
    }
    FileDescriptor file;
    const int error = openRegularFile(m_pPath->c_str(), O_RDONLY, file);
    if (error == EISDIR || error == EINVAL) {
        ZRN_LOG('E', "Not a regular file: %s", m_pPath->c_str());
    } else if (error != 0) {
        logFailedCall(__func__, "open", error, *m_pPath);
    }
    return file;
}

int DocumentSource::read(void* source, char* buffer, int size) noexcept {
    try {
        return static_cast<DocumentSource*>(source)->readFile(buffer, size);
    } catch (...) {
        return -1;
    }
}

int DocumentSource::readFile(char* buffer, int size) {
    // The parser goes on behind an error, to find more of them.
    if (m_pParser->wellFormed == 0) {
        return 0;
    }
    ssize_t got = -1;
    do {
        got = ::read(m_file.get(), buffer, static_cast<std::size_t>(size));
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        const int error = errno;
        // The parser takes a failed read for the end, which may stand behind a whole root element.
        m_readFailed = true;
        logFailedCall(__func__, "read", error, *m_pPath);
    }
    return static_cast<int>(got);
}
