#include "Common/i18n/GettextRuntime.h"
#include "tests/unit/common/i18n/MsgCatalogTest.h"

#include <libintl.h>

void MsgCatalogTestAccess::reset() {
    MsgCatalog::s_catalogName.clear();
    MsgCatalog::s_locale.clear();
    MsgCatalog::s_localizationPathOverride.clear();
    MsgCatalog::s_bInitialized = false;
    MsgCatalog::s_bBypassDefaultLocalization = false;
    for (const char* domain : {"Trellink", "CorvaneDefault"}) {
        unloadDomain(domain);
    }
}

MsgCatalogTest::MsgCatalogTest() {
    MsgCatalogTestAccess::reset();
    EXPECT_EQ(CStoragePath::CreateSingletonInstance(m_paths), 0U);
    MsgCatalog::setLocalizationPath(path() + "/");
}

MsgCatalogTest::~MsgCatalogTest() {
    releasePaths();
    if (m_policy != nullptr) {
        XmlLocalTLPolMgr::releaseInstance(m_policy);
    }
    MsgCatalogTestAccess::reset();
}

std::string MsgCatalogTest::message(const char* key) {
    std::string text = "former";
    MsgCatalog::getMessage(key, text);
    return text;
}

void MsgCatalogTest::useDefaultCatalogue() const {
    ASSERT_STREQ(bindtextdomain("CorvaneDefault", folder().c_str()), "CorvaneDefault");
}

void MsgCatalogTest::bypassDefaultCatalogue(bool isBypassed) {
    ASSERT_EQ(XmlLocalTLPolMgr::CreateSingletonInstance(m_policy), 0U);
    // As its file would.
    m_policy->startElement("BypassDefaultLocalization");
    m_policy->setElementValue(isBypassed ? "true" : "false");
    m_policy->endElement("BypassDefaultLocalization");
}

void MsgCatalogTest::releasePaths() {
    if (m_paths != nullptr) {
        CStoragePath::releaseInstance(std::exchange(m_paths, nullptr));
    }
}
