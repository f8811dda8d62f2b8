#pragma once

#include "Common/Utility/threads/ManualLock.h"
#include "Common/Utility/threads/Mutex.h"

#include <cstdint>
#include <string>

/// Translations of the texts that a user sees. A text's English source is its key. It is looked up in the
/// user's language in the primary catalogue "Trellink" below the installation folder, then in the default
/// catalogue "CorvaneDefault" below the resources, and is its own translation otherwise.
///
/// All state is static and guarded by one recursive lock, so that any thread may call anything. The first
/// getMessage sets everything up. The local policy must be loaded and CStoragePath have its instance by then:
/// without the policy the default catalogue counts, without the paths nothing is translated. Setting up
/// takes the locale of the process from the environment (setlocale), so that it is best done by the main
/// thread before there are others.
///
/// A failure is logged and otherwise shows only in that texts stay English.
class MsgCatalog {
public:
    virtual ~MsgCatalog() = default;

    /// The language code of the environment's locale, such as "de-de" for "de_DE.UTF-8"; "c" for "C". If the
    /// categories have different locales, that of the messages counts. Empty, with a log line, if there is
    /// no such locale on the machine.
    static void getLangCode(std::string& languageOut);
    /// Sets everything up, with the default catalogue unless the local policy bypasses it.
    /// @param locale  a language code; empty for that of getLangCode.
    static void initMsgCatalog(const std::string& locale);
    /// Sets a pair of catalogues up.
    /// @param catalogName         domain of the primary catalogue.
    /// @param defaultCatalogName  domain of the default catalogue, empty for none.
    /// @param locale              as for initMsgCatalog.
    static void init(const std::string& catalogName, const std::string& defaultCatalogName,
                     const std::string& locale);
    /// Makes `catalogName` the domain in force. Nothing changes if it is already, so that the language stays
    /// unless clearCatalogName is called before.
    /// @return false, logged, if the catalogue says that its character set is any other than "utf-8", spelled
    /// so. It is in force all the same, and its texts are shown.
    static bool setCatalog(const std::string& catalogName, const std::string& defaultCatalogName);

    /// The translation of a text, as it stands in the catalogue.
    /// @param key  null is logged; it and an empty one give an empty result.
    static void getMessage(const char* key, std::string& messageOut);
    /// The translation of `keySingular` if `count` is 1, else of `keyPlural`. Neither may be null or empty.
    static void getMessage(const char* keySingular, const char* keyPlural, uint64_t count,
                           std::string& messageOut);

    /// The folder of the primary catalogues, by language. Empty, with a log line, if
    /// CStoragePath has no instance.
    static void getLocalizationPath(std::string& pathOut);
    /// The same of the default catalogues.
    static void getEmbeddedLocalizationPath(std::string& pathOut);
    /// Replaces the installation folder as the place of the primary catalogues' folder "l10n". Counts from
    /// the next setting up on.
    /// @param path  ends in "/"; empty for the installation folder.
    static void setLocalizationPath(const std::string& path);
    /// For callers outside of this system: sets the language code of all further look-ups.
    static void setLocale(const std::string& locale);
    /// For callers outside of this system: lets setCatalog count even if it names the domain in force.
    static void clearCatalogName();
    /// For callers outside of this system: lets the primary catalogue go; the next look-up loads it again.
    static void unloadCatalog();

private:
    friend struct MsgCatalogTestAccess;

    [[nodiscard]] static const char* readCharset() ZRN_REQUIRES(s_lock);

    inline static CManualLock s_lock{500};
    inline static std::string s_catalogName ZRN_GUARDED_BY(s_lock);
    inline static std::string s_locale ZRN_GUARDED_BY(s_lock);
    inline static std::string s_localizationPathOverride ZRN_GUARDED_BY(s_lock);
    inline static bool s_bInitialized ZRN_GUARDED_BY(s_lock) = false;
    inline static bool s_bBypassDefaultLocalization ZRN_GUARDED_BY(s_lock) = false;
};
