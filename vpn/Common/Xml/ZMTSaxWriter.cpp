#include "Common/Xml/ZMTSaxWriter.h"

#include "Common/Utility/files/DescriptorStream.h"
#include "Common/Utility/files/Directory.h"
#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>

namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
constexpr std::string_view kSectionStart = "<![CDATA[";
constexpr std::string_view kSectionEnd = "]]>";
/// What everybody may read and write, as far as the umask allows.
constexpr mode_t kFileMode = 0666;

/// Each end of a section within the text is split between two sections.
void appendSections(WipedString& buffer, std::string_view text) {
    for (std::size_t end = text.find(kSectionEnd); end != std::string_view::npos;
         end = text.find(kSectionEnd)) {
        const std::size_t kept = end + kSectionEnd.size() - 1;
        buffer.append(kSectionStart);
        buffer.append(text.substr(0, kept));
        buffer.append(kSectionEnd);
        text.remove_prefix(kept);
    }
    buffer.append(kSectionStart);
    buffer.append(text);
    buffer.append(kSectionEnd);
}

/// Logs a failed call of writeDocument. @return the code for its caller.
uint32_t writeFailure(const char* call, int error) {
    ZRN_LOG_CODE_FOR("writeDocument", 'E', call, error, "%s", std::strerror(error));
    return GLOBAL_ERROR_UNEXPECTED;
}

} // namespace

ZMTSaxWriter::ZMTSaxWriter(std::string directory, std::string fileName, std::string rootName)
    : m_rootName(std::move(rootName)), m_directory(std::move(directory)), m_fileName(std::move(fileName)) {}

uint32_t ZMTSaxWriter::startDocument(const XmlAttributes* attributes) {
    m_buffer.clear();
    m_buffer.append(kDeclaration);
    return startElement(m_rootName, attributes);
}

uint32_t ZMTSaxWriter::startElement(const std::string& name, const XmlAttributes* attributes) {
    m_buffer.append("\n<");
    m_buffer.append(name);
    if (attributes != nullptr) {
        for (const auto& [attribute, value] : *attributes) {
            m_buffer.append(" ");
            m_buffer.append(attribute);
            m_buffer.append("=\"");
            m_buffer.append(value);
            m_buffer.append("\"");
        }
    }
    m_buffer.append(">");
    return 0;
}

uint32_t ZMTSaxWriter::characters(const std::string& text) {
    if (text.find_first_of("&<") == std::string::npos) {
        m_buffer.append(text);
    } else {
        appendSections(m_buffer, text);
    }
    return 0;
}

uint32_t ZMTSaxWriter::endElement(const std::string& name) {
    m_buffer.append("</");
    m_buffer.append(name);
    m_buffer.append(">");
    return 0;
}

uint32_t ZMTSaxWriter::endDocument() {
    m_buffer.append("\n");
    static_cast<void>(endElement(m_rootName)); // always 0
    m_buffer.append("\n");
    return 0;
}

uint32_t ZMTSaxWriter::writeDocument() {
    if (!createDirectoryPath(m_directory.c_str())) {
        ZRN_LOG_CODE_TEXT('E', "ZMTSaxWriter::writeDocument", GLOBAL_ERROR_UNEXPECTED,
                          "Error creating needed directory");
        return GLOBAL_ERROR_UNEXPECTED;
    }
    const std::string path = m_directory + m_fileName;
    FileDescriptor file;
    // The log names the calls of a file stream, which would wait at a pipe that nobody reads.
    if (const int error = openRegularFile(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, file, kFileMode);
        error != 0) {
        return writeFailure("std::ofstream::open", error);
    }
    DescriptorStream stream(std::move(file));
    errno = 0;
    stream << m_buffer.view();
    if (!stream) {
        const int error = errno;
        return writeFailure("std::ofstream::operator<<", error);
    }
    return 0;
}

const WipedString* ZMTSaxWriter::getDocumentBuffer() const {
    return &m_buffer;
}
