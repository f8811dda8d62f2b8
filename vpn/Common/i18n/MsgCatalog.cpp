#include "Common/i18n/MsgCatalog.h"

#include "Common/i18n/GettextRuntime.h"
#include "Common/Policy/XmlLocalTLPolMgr.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/InstanceSmartPtr.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/StoragePath.h"
#include "Common/Utility/text/StringUtils.h"
#include "Common/Utility/threads/Mutex.h"

#include <algorithm>
#include <clocale>
#include <cstring>
#include <libintl.h>
#include <locale>
#include <stdexcept>
#include <string_view>

namespace {

constexpr const char* kCatalog = "Trellink";
constexpr const char* kDefaultCatalog = "CorvaneDefault";
constexpr const char* kFolder = "l10n";
/// Catalogues are written by one tool chain, which spells it so.
constexpr std::string_view kCharset = "utf-8";

/// The locale of the messages, out of the name of a locale object: that lists the categories if they differ.
std::string_view localeOfMessages(std::string_view name) {
    static constexpr std::string_view kMark = "LC_MESSAGES=";
    const std::size_t mark = name.find(kMark);
    if (mark == std::string_view::npos) {
        return name;
    }
    const std::string_view rest = name.substr(mark + kMark.size());
    return rest.substr(0, rest.find(';'));
}

/// The folder of catalogues below what `baseOf` takes from the storage paths.
template <typename BaseOf> void findFolder(const char* function, std::string& pathOut, BaseOf baseOf) {
    pathOut.clear();
    const CInstanceSmartPtr<CStoragePath> paths;
    if (!paths) {
        ZRN_LOG_CODE_FOR(function, 'E', "CInstanceSmartPtr<StoragePath>", CSTORAGEPATH_ERROR_NO_INSTANCE,
                         nullptr);
        return;
    }
    pathOut = baseOf(*paths) + kFolder;
}

} // namespace

void MsgCatalog::getLangCode(std::string& languageOut) {
    languageOut.clear();
    const LockGuard guard(s_lock);
    try {
        languageOut = CStringUtils::toLower(localeOfMessages(std::locale("").name()));
    } catch (const std::runtime_error& error) {
        ZRN_LOG('E', "%s", error.what());
        return;
    }
    languageOut.erase(std::min(languageOut.find('.'), languageOut.size()));
    std::replace(languageOut.begin(), languageOut.end(), '_', '-');
}

void MsgCatalog::initMsgCatalog(const std::string& locale) {
    const LockGuard guard(s_lock);
    const CInstanceSmartPtr<XmlLocalTLPolMgr> policy;
    if (policy) {
        s_bBypassDefaultLocalization = policy->getLocalPolicyInfo().getBypassDefaultLocalization();
        ZRN_LOG('I', "Bypass Default Localization is set to %s",
                s_bBypassDefaultLocalization ? "true" : "false");
        if (s_bBypassDefaultLocalization) {
            init(kCatalog, "", locale);
            return;
        }
    } else {
        ZRN_LOG('E', "Failed to get a XmlLocalTLPolMgr instance");
    }
    init(kCatalog, kDefaultCatalog, locale);
}

void MsgCatalog::init(const std::string& catalogName, const std::string& defaultCatalogName,
                      const std::string& locale) {
    const LockGuard guard(s_lock);
    std::string language = locale;
    if (language.empty()) {
        getLangCode(language);
    }
    s_bInitialized = true;
    // First, as the catalogue that setCatalog has loaded is the one that stays.
    s_locale = language;
    if (!setCatalog(catalogName, defaultCatalogName)) {
        ZRN_LOG('E', "Error setting the translation catalog %s.", catalogName.c_str());
    }
    ZRN_LOG('I', "initialized catalog: %s with locale: %s", catalogName.c_str(), language.c_str());
}

bool MsgCatalog::setCatalog(const std::string& catalogName, const std::string& defaultCatalogName) {
    const LockGuard guard(s_lock);
    if (catalogName == s_catalogName) {
        return true;
    }
    s_catalogName = catalogName;
    std::setlocale(LC_ALL, "");
    std::string path;
    getLocalizationPath(path);
    bindtextdomain(catalogName.c_str(), path.c_str());
    textdomain(catalogName.c_str());
    if (!defaultCatalogName.empty()) {
        getEmbeddedLocalizationPath(path);
        bindtextdomain(defaultCatalogName.c_str(), path.c_str());
    }
    const std::string_view charset = readCharset();
    if (charset.empty()) {
        return true; // there is no catalogue for this language
    }
    if (charset != kCharset) {
        ZRN_LOG('E', "The specified character set <%s> is unsupported.", charset.data());
        return false;
    }
    ZRN_LOG('I', "The character set is utf-8.");
    return true;
}

const char* MsgCatalog::readCharset() {
    const char* const charset = getCatalogCharset();
    if (*charset != '\0') {
        return charset;
    }
    // It is known once a catalogue is loaded.
    static_cast<void>(getLocaleText(nullptr, "DummyMessageToForceMessageCatSetup", s_locale.c_str()));
    return getCatalogCharset();
}

void MsgCatalog::getMessage(const char* key, std::string& messageOut) {
    getMessage(key, key, 1, messageOut);
}

void MsgCatalog::getMessage(const char* keySingular, const char* keyPlural, uint64_t count,
                            std::string& messageOut) {
    const LockGuard guard(s_lock);
    messageOut.clear();
    if (keySingular == nullptr || keyPlural == nullptr) {
        ZRN_LOG('E', "Error getting the translated message. NULL pointer.");
        return;
    }
    if (*keySingular == '\0' || *keyPlural == '\0') {
        return;
    }
    if (!s_bInitialized) {
        initMsgCatalog("");
    }
    const auto ask = [&, locale = s_locale.c_str()](const char* domain) {
        return getText(domain, keySingular, keyPlural, count, kMessagesCategory, locale);
    };
    const char* text = ask(nullptr);
    if (!s_bBypassDefaultLocalization && std::strcmp(text, count == 1 ? keySingular : keyPlural) == 0) {
        text = ask(kDefaultCatalog);
    }
    messageOut = text;
}

void MsgCatalog::getLocalizationPath(std::string& pathOut) {
    const LockGuard guard(s_lock);
    const std::string other = s_localizationPathOverride;
    findFolder(__func__, pathOut, [&other](const CStoragePath& paths) {
        return other.empty() ? paths.getInstallPath() : other;
    });
}

void MsgCatalog::getEmbeddedLocalizationPath(std::string& pathOut) {
    const LockGuard guard(s_lock);
    findFolder(__func__, pathOut, [](const CStoragePath& paths) { return paths.getResourcesPath(); });
}

void MsgCatalog::setLocalizationPath(const std::string& path) {
    const LockGuard guard(s_lock);
    s_localizationPathOverride = path;
}

void MsgCatalog::setLocale(const std::string& locale) {
    const LockGuard guard(s_lock);
    s_locale = locale;
}

void MsgCatalog::clearCatalogName() {
    const LockGuard guard(s_lock);
    s_catalogName.clear();
}

void MsgCatalog::unloadCatalog() {
    const LockGuard guard(s_lock);
    unloadDomain(kCatalog);
}
