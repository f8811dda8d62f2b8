#pragma once

#include "Common/Utility/threads/Thread.h"
#include "tools/MERO/MEROEngine/implementations/CMEROClientIfc.h"
#include "tools/MERO/MEROEngine/implementations/ItemWalk.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"
#include "tools/MERO/MEROOffline/Common/CMEROOfflineIfc.h"
#include "tools/MERO/MEROOffline/Common/ModuleTree.h"

#include <list>
#include <memory>
#include <string>

/// Reads the configuration files that the engine will read, and hands what can be chosen in them to the
/// selection tree. One run per object, on a thread of its own or on the caller's.
class ParseConfigXML : public Runnable {
public:
    /// @param client   gets the status at the end, and the modules if it is a CMEROOfflineIfc as well; not
    /// owned, must outlive the run. Null scans for nobody.
    /// @param offline  not used: the modules go to where the status goes.
    /// @param installPath  installation path of the configuration; empty for the default one.
    explicit ParseConfigXML(CMEROClientIfc* client, CMEROOfflineIfc* offline = nullptr,
                            const std::string& installPath = {});
    ~ParseConfigXML() override;
    ParseConfigXML(const ParseConfigXML&) = delete;
    ParseConfigXML& operator=(const ParseConfigXML&) = delete;

    /// Scans, and ends with the status MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS in every case: a file that
    /// can't be read is logged, and its modules are missing.
    void run() override;
    /// Full paths of the files that could not be read. Once run has returned.
    [[nodiscard]] std::list<std::string> getFailedFiles() const;

private:
    void scan();
    void scanTree(const MEROXmlObject& tree);
    void scanGroup(const MEROComponent& group, ItemWalk& walk);

    CMEROClientIfc* m_pClient;
    /// Owns its objects, which the loader makes.
    std::list<MEROXmlObject*> m_trees;
    std::unique_ptr<MEROXmlLoader> m_pLoader;
    CMEROOfflineIfc* m_pOfflineIfc;
    std::string m_installPath;
};
