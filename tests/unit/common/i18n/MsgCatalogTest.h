#pragma once

#include "Common/i18n/MsgCatalog.h"
#include "Common/Policy/XmlLocalTLPolMgr.h"
#include "Common/Utility/StoragePath.h"
#include "tests/support/CapturedLog.h"
#include "tests/unit/common/i18n/CatalogueTest.h"

#include <string>

/// Looks into the state of the catalogue, and puts it back to that of a new process.
struct MsgCatalogTestAccess {
    static void reset();
    static const std::string& locale() { return MsgCatalog::s_locale; }
};

/// Fixture with a catalogue that is not set up yet and looks for its files in the private folder.
class MsgCatalogTest : public CatalogueTest {
public:
    ~MsgCatalogTest() override;

protected:
    MsgCatalogTest();

    static std::string message(const char* key);
    /// Lets the default catalogue be looked for in the private folder; its own is a fixed one of the machine.
    void useDefaultCatalogue() const;
    /// Makes a policy that sets the bypass so.
    void bypassDefaultCatalogue(bool isBypassed);
    void releasePaths();

    CapturedLog m_log;

private:
    CStoragePath* m_paths = nullptr;
    XmlLocalTLPolMgr* m_policy = nullptr;
};
