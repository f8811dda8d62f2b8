#pragma once

#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/process/CleanUp.h"
#include "Common/Utility/threads/Thread.h"
#include "tools/MERO/MEROEngine/implementations/CMEROClientIfc.h"
#include "tools/MERO/MEROOffline/Common/CMEROOfflineIfc.h"

#include <string>

/// Where the wizard's requests stand; a stamp and ".xml" are added.
inline constexpr char kRequestPathStem[] = "/tmp/BundleRequest";

/// Writes the user's choice and comment to a request file for the engine. The file lives as long as this
/// object. One run per object, on a thread of its own or on the caller's.
class GenerateReqXML : public Runnable {
public:
    /// Takes the name of the file from the time; jobs of one minute share it, and the later one replaces it.
    /// @param client   gets the status at the end, and is asked for tree and comment if it is a
    /// CMEROOfflineIfc as well; not owned, must outlive the run. Null writes an empty request.
    /// @param offline  not used: tree and comment come from where the status goes.
    /// @param pathStem  path of the request file without its stamp; environment references are replaced.
    explicit GenerateReqXML(CMEROClientIfc* client, CMEROOfflineIfc* offline = nullptr,
                            const std::string& pathStem = kRequestPathStem);
    /// Removes the request file, but not what somebody else has put in its place.
    ~GenerateReqXML() override;
    GenerateReqXML(const GenerateReqXML&) = delete;
    GenerateReqXML& operator=(const GenerateReqXML&) = delete;

    /// Writes the file, readable by its owner alone, and ends with the status
    /// MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS in every case: a file that can't be written is logged,
    /// and the job goes on with whatever stands at its place. No link there is followed and no file of
    /// somebody else's is written to.
    void run() override;
    [[nodiscard]] std::string getRequestPath() const { return m_requestPath; }
    /// Whether the file at the path is the one that run has written: what stands there otherwise is nobody's
    /// choice that a job may follow. Once the status has arrived.
    [[nodiscard]] bool isOwn() const { return m_isOwn; }

private:
    void write();
    void open();
    void writeFiles();
    void writeComment();
    void ReqXMLWriteString(const std::string& text);
    void close();

    CMEROClientIfc* m_pClient;
    CMEROOfflineIfc* m_pOfflineIfc;
    FileHandle m_file;
    std::string m_requestPath;
    bool m_isOwn = false;
    /// For a process that ends while the file is written.
    CleanUp m_cleanUp;
};
