#include "tools/MERO/MEROOffline/Common/GenerateReqXML.h"

#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/sysutils.h"
#include "Common/Xml/XmlText.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// What stands in front of the first file.
std::string head() {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><request";
    for (const auto& [name, value] : schemaAttributes("RequestXMLSchema.xsd")) {
        text.append(" ").append(name).append("=\"").append(value).append("\"");
    }
    return text + ">";
}

/// @return the stream, or null with errno set.
FileHandle openRequest(const std::string& path) {
    FileDescriptor file;
    int error = openOwnRegularFile(path.c_str(), O_WRONLY | O_CREAT, file);
    // It may be left from a former run, with rights and content of its own.
    if (error == 0 && (::fchmod(file.get(), kPrivateFileMode) != 0 || ::ftruncate(file.get(), 0) != 0)) {
        error = errno;
    }
    if (error != 0) {
        errno = error;
        return nullptr;
    }
    FileHandle stream(::fdopen(file.get(), "w"));
    if (stream != nullptr) {
        static_cast<void>(file.release()); // the stream closes it from here on
    }
    return stream;
}

/// Removes what this user has at the request's place. In a folder of everybody that is all that may go.
/// @return 0 or an errno.
int removeOwn(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return errno;
    }
    if (status.st_uid != ::geteuid()) {
        return EPERM;
    }
    return std::remove(path.c_str()) == 0 ? 0 : errno;
}

} // namespace

GenerateReqXML::GenerateReqXML(CMEROClientIfc* client, CMEROOfflineIfc* /*offline*/,
                               const std::string& pathStem)
    : m_pClient(client), m_pOfflineIfc(dynamic_cast<CMEROOfflineIfc*>(client)),
      m_requestPath(helperUtil::translatePath(pathStem) + getTimeString(1) + ".xml"),
      m_cleanUp([path = m_requestPath] { static_cast<void>(removeOwn(path)); }) {}

GenerateReqXML::~GenerateReqXML() {
    if (const int error = removeOwn(m_requestPath); error != 0) {
        ZRN_LOG_CODE('W', "remove", error);
    }
}

// The status says success whatever was written: the job goes on with what the file holds, and the engine's
// word on it is what the user gets to see.
void GenerateReqXML::run() {
    try {
        write();
    } catch (const std::exception& error) {
        ZRN_LOG('E', "The request can't be written: %s", error.what());
    }
    if (m_pClient != nullptr) {
        m_pClient->updateStatus(nullptr, MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS);
    }
}

void GenerateReqXML::write() {
    open();
    ReqXMLWriteString(head());
    writeFiles();
    writeComment();
    ReqXMLWriteString("</request>");
    close();
}

void GenerateReqXML::open() {
    m_file = openRequest(m_requestPath);
    m_isOwn = m_file != nullptr;
    if (m_file == nullptr) {
        const int error = errno;
        ZRN_LOG_CODE_FOR("run", 'W', "std::fstream::open", 0, "%s: %s", m_requestPath.c_str(),
                         std::strerror(error));
    }
}

void GenerateReqXML::writeFiles() {
    if (m_pOfflineIfc == nullptr) {
        return;
    }
    for (const RootItem& root : m_pOfflineIfc->getModuleTree()) {
        for (const ModuleItem& module : root.m_modules) {
            if (module.m_selected == 0) {
                continue;
            }
            for (const FileItem& file : module.m_files) {
                if (file.m_selected != 0) {
                    // As it stands: an id that would need escaping makes a request that the engine refuses.
                    ReqXMLWriteString("<file id=\"" + file.m_id + "\"></file>");
                }
            }
        }
    }
}

// Neither escaped nor split: a comment that ends the section early makes a request that the engine refuses.
void GenerateReqXML::writeComment() {
    ReqXMLWriteString("<comments>");
    if (m_pOfflineIfc != nullptr) {
        ReqXMLWriteString("<![CDATA[" + m_pOfflineIfc->getComments() + "]]>");
    }
    ReqXMLWriteString("</comments>");
}

/// Writes up to the first NUL.
void GenerateReqXML::ReqXMLWriteString(const std::string& text) {
    if (m_file != nullptr) {
        static_cast<void>(std::fputs(text.c_str(), m_file.get())); // the stream keeps the failure
    }
    if (m_file == nullptr || std::ferror(m_file.get()) != 0) {
        ZRN_LOG_CODE('E', "std::fstream::write", 0);
    }
}

void GenerateReqXML::close() {
    if (m_file == nullptr) {
        return;
    }
    // What is still in the stream's buffer goes out here, so this is where a full disk shows.
    if (std::fclose(m_file.release()) != 0) {
        ZRN_LOG_ERRNO('E', "fclose");
    }
}
