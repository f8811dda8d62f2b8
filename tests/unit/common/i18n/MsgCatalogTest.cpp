#include "Common/i18n/MsgCatalog.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/support/CapturedLog.h"
#include "tests/unit/common/i18n/MsgCatalogTest.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <libintl.h>

namespace {

std::string languageCode() {
    std::string code = "former";
    MsgCatalog::getLangCode(code);
    return code;
}

TEST_F(MsgCatalogTest, MakesALanguageCodeOfTheLocale) {
    setLanguage("de_DE.UTF-8");
    EXPECT_EQ(languageCode(), "de-de");
    setLanguage("pt_BR.UTF-8");
    EXPECT_EQ(languageCode(), "pt-br");
    setLanguage("de_DE.ISO-8859-1");
    EXPECT_EQ(languageCode(), "de-de");
}

TEST_F(MsgCatalogTest, MakesALanguageCodeOfALocaleWithoutACodeset) {
    std::filesystem::create_directory_symlink(TEST_LOCALES "/de_DE.UTF-8", path("en_US"));
    setEnvironment("LOCPATH", path());
    setLanguage("en_US");
    EXPECT_EQ(languageCode(), "en-us");
}

TEST_F(MsgCatalogTest, HasALanguageCodeWithoutALanguage) {
    for (const char* locale : {"C", "POSIX", ""}) {
        setLanguage(locale);
        EXPECT_EQ(languageCode(), "c") << locale;
    }
}

TEST_F(MsgCatalogTest, HasNoLanguageCodeForALocaleThatIsMissing) {
    setLanguage("xx_XX.UTF-8");
    EXPECT_EQ(languageCode(), "");
    EXPECT_TRUE(m_log.contains('E', "Function: getLangCode\n")) << m_log.dump();
    EXPECT_TRUE(m_log.contains('E', "locale::facet::_S_create_c_locale name not valid")) << m_log.dump();
}

TEST_F(MsgCatalogTest, TakesTheLanguageOfTheMessagesAmongSeveral) {
    setLanguage("fr_FR.UTF-8");
    setEnvironment("LC_MESSAGES", "de_DE.UTF-8");
    setEnvironment("LC_TIME", "C");
    EXPECT_EQ(languageCode(), "de-de");
}

TEST_F(MsgCatalogTest, TranslatesIntoTheLanguageOfTheEnvironment) {
    setLanguage("de_DE.UTF-8");
    compileCatalogue("de-de", "Trellink", {{"Next", "Weiter"}});
    EXPECT_EQ(message("Next"), "Weiter");
    EXPECT_EQ(message("Previous"), "Previous");
    EXPECT_TRUE(m_log.contains('I', "The character set is utf-8.")) << m_log.dump();
    EXPECT_TRUE(m_log.contains('I', "initialized catalog: Trellink with locale: de-de")) << m_log.dump();
    EXPECT_STREQ(textdomain(nullptr), "Trellink");
}

TEST_F(MsgCatalogTest, FallsBackToTheLanguageWithoutTheTerritory) {
    setLanguage("de_DE.UTF-8");
    compileCatalogue("de", "Trellink", {{"Next", "Weiter"}});
    EXPECT_EQ(message("Next"), "Weiter");
}

TEST_F(MsgCatalogTest, SpeaksEveryLanguage) {
    const std::vector<std::array<const char*, 2>> languages = {
        {"de_DE", "de"}, {"fr_FR", "fr"},    {"es_ES", "es"},    {"it_IT", "it"},
        {"ja_JP", "ja"}, {"pt_BR", "pt-br"}, {"zh_CN", "zh-cn"}, {"ar_EG", "ar"}};
    for (const auto& [locale, folderName] : languages) {
        setLanguage(std::string(locale) + ".UTF-8");
        compileCatalogue(folderName, "Trellink", {{"Next", std::string("次 التالي ") + locale}});
        MsgCatalog::clearCatalogName();
        MsgCatalog::initMsgCatalog("");
        EXPECT_EQ(message("Next"), std::string("次 التالي ") + locale);
    }
}

TEST_F(MsgCatalogTest, TranslatesNothingInTheLocaleOfTheSources) {
    compileCatalogue("de", "Trellink", {{"Next", "Weiter"}});
    compileCatalogue("C", "Trellink", {{"Next", "Weiter"}});
    EXPECT_EQ(message("Next"), "Next");
    EXPECT_EQ(MsgCatalogTestAccess::locale(), "c");
    EXPECT_FALSE(m_log.contains('*', "character set")) << m_log.dump();
}

TEST_F(MsgCatalogTest, TranslatesIntoTheLanguageThatIsAskedFor) {
    setLanguage("fr_FR.UTF-8");
    compileCatalogue("de", "Trellink", {{"Next", "Weiter"}});
    compileCatalogue("fr", "Trellink", {{"Next", "Suivant"}});
    MsgCatalog::initMsgCatalog("de-de");
    EXPECT_EQ(message("Next"), "Weiter");
}

TEST_F(MsgCatalogTest, TakesTheLocaleOfTheEnvironmentForTheProcess) {
    setLanguage("de_DE.UTF-8");
    MsgCatalog::initMsgCatalog("");
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "de_DE.UTF-8");
}

TEST_F(MsgCatalogTest, AsksTheDefaultCatalogueForWhatThePrimaryLacks) {
    setLanguage("de_DE.UTF-8");
    compileCatalogue("de", "Trellink", {{"Next", "Weiter"}, {"Same", "Same"}});
    compileCatalogue("de", "CorvaneDefault", {{"Next", "Vor"}, {"Previous", "Zurück"}, {"Same", "Gleich"}});
    MsgCatalog::initMsgCatalog("");
    useDefaultCatalogue();
    EXPECT_EQ(message("Previous"), "Zurück");
    EXPECT_EQ(message("Next"), "Weiter");
    EXPECT_EQ(message("Same"), "Gleich");
    EXPECT_EQ(message("Neither"), "Neither");
}

TEST_F(MsgCatalogTest, NeverAsksTheDefaultCatalogueWhenThePolicyBypassesIt) {
    setLanguage("de_DE.UTF-8");
    compileCatalogue("de", "Trellink", {{"Next", "Weiter"}});
    compileCatalogue("de", "CorvaneDefault", {{"Previous", "Zurück"}});
    useDefaultCatalogue();
    bypassDefaultCatalogue(true);
    EXPECT_EQ(message("Previous"), "Previous");
    EXPECT_EQ(message("Next"), "Weiter");
    EXPECT_TRUE(m_log.contains('I', "Bypass Default Localization is set to true")) << m_log.dump();
}

TEST_F(MsgCatalogTest, AsksTheDefaultCatalogueWhenThePolicyDoesNot) {
    setLanguage("de_DE.UTF-8");
    compileCatalogue("de", "CorvaneDefault", {{"Previous", "Zurück"}});
    bypassDefaultCatalogue(false);
    MsgCatalog::initMsgCatalog("");
    useDefaultCatalogue();
    EXPECT_EQ(message("Previous"), "Zurück");
    EXPECT_TRUE(m_log.contains('I', "Bypass Default Localization is set to false")) << m_log.dump();
}

TEST_F(MsgCatalogTest, GoesOnWithoutAPolicy) {
    EXPECT_EQ(message("Next"), "Next");
    EXPECT_TRUE(m_log.contains('E', "Failed to get a XmlLocalTLPolMgr instance")) << m_log.dump();
}

TEST_F(MsgCatalogTest, RefusesACharsetInCapitalsAndShowsItsTexts) {
    setLanguage("de_DE.UTF-8");
    compileCatalogue("de", "Trellink", {{"Next", "Weiter"}}, "UTF-8");
    MsgCatalog::initMsgCatalog("");
    EXPECT_TRUE(m_log.contains('E', "The specified character set <UTF-8> is unsupported.")) << m_log.dump();
    EXPECT_TRUE(m_log.contains('E', "Error setting the translation catalog Trellink.")) << m_log.dump();
    EXPECT_TRUE(m_log.contains('I', "initialized catalog: Trellink with locale: de-de")) << m_log.dump();
    EXPECT_EQ(message("Next"), "Weiter");
}

TEST_F(MsgCatalogTest, TellsOfARefusedCharset) {
    setLanguage("de_DE.UTF-8");
    compileCatalogue("de", "Trellink", {{"Next", "Weiter"}}, "ISO-8859-1");
    MsgCatalog::setLocale("de");
    EXPECT_FALSE(MsgCatalog::setCatalog("Trellink", ""));
    EXPECT_TRUE(m_log.contains('E', "<ISO-8859-1>")) << m_log.dump();
    // It is in force now, and that is no news.
    EXPECT_TRUE(MsgCatalog::setCatalog("Trellink", ""));
    EXPECT_EQ(m_log.count('E', "unsupported"), 1);
}

TEST_F(MsgCatalogTest, AcceptsACatalogueWithoutAHeader) {
    setLanguage("de_DE.UTF-8");
    writeCatalogue("de", "Trellink", MoImage::of({{"Next", "Weiter"}}).bytes);
    MsgCatalog::setLocale("de");
    EXPECT_TRUE(MsgCatalog::setCatalog("Trellink", ""));
    EXPECT_FALSE(m_log.contains('*', "character set")) << m_log.dump();
}

TEST_F(MsgCatalogTest, KeepsItsLanguage) {
    setLanguage("de_DE.UTF-8");
    compileCatalogue("de", "Trellink", {{"Next", "Weiter"}});
    compileCatalogue("fr", "Trellink", {{"Next", "Suivant"}});
    EXPECT_EQ(message("Next"), "Weiter");
    setLanguage("fr_FR.UTF-8");
    MsgCatalog::initMsgCatalog("");
    EXPECT_EQ(message("Next"), "Weiter");
    MsgCatalog::clearCatalogName();
    MsgCatalog::initMsgCatalog("");
    EXPECT_EQ(message("Next"), "Suivant");
}

TEST_F(MsgCatalogTest, LooksUpInTheLocaleThatIsSet) {
    setLanguage("de_DE.UTF-8");
    compileCatalogue("fr", "Trellink", {{"Next", "Suivant"}});
    EXPECT_EQ(message("Next"), "Next");
    MsgCatalog::setLocale("fr-fr");
    EXPECT_EQ(message("Next"), "Suivant");
}

TEST_F(MsgCatalogTest, LoadsAnUnloadedCatalogueAgain) {
    setLanguage("de_DE.UTF-8");
    compileCatalogue("de", "Trellink", {{"Next", "Weiter"}});
    EXPECT_EQ(message("Next"), "Weiter");
    MsgCatalog::unloadCatalog();
    compileCatalogue("de", "Trellink", {{"Next", "Vorwärts"}});
    EXPECT_EQ(message("Next"), "Vorwärts");
}

TEST_F(MsgCatalogTest, GivesAnEmptyTextForNullAndSaysSo) {
    EXPECT_EQ(message(nullptr), "");
    EXPECT_TRUE(m_log.contains('E', "Error getting the translated message. NULL pointer.")) << m_log.dump();
    EXPECT_TRUE(m_log.contains('E', "Function: getMessage\n")) << m_log.dump();
}

TEST_F(MsgCatalogTest, GivesAnEmptyTextForAnEmptyOne) {
    setLanguage("de_DE.UTF-8");
    compileCatalogue("de", "Trellink", {{"Next", "Weiter"}});
    EXPECT_EQ(message(""), "");
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(MsgCatalogTest, TakesTheKeyOfTheCount) {
    setLanguage("de_DE.UTF-8");
    compileCatalogue("de", "Trellink", {{"%d file", "%d Datei"}, {"%d files", "%d Dateien"}});
    compileCatalogue("de", "CorvaneDefault", {{"%d item", "%d Ding"}, {"%d items", "%d Dinge"}});
    MsgCatalog::initMsgCatalog("");
    useDefaultCatalogue();
    const auto ask = [](const char* one, const char* many, uint64_t count) {
        std::string text = "former";
        MsgCatalog::getMessage(one, many, count, text);
        return text;
    };
    EXPECT_EQ(ask("%d file", "%d files", 1), "%d Datei");
    EXPECT_EQ(ask("%d file", "%d files", 0), "%d Dateien");
    EXPECT_EQ(ask("%d item", "%d items", 1), "%d Ding");
    EXPECT_EQ(ask("%d item", "%d items", 2), "%d Dinge");
    EXPECT_EQ(ask("%d user", "%d users", 2), "%d users");
    EXPECT_EQ(ask("", "%d files", 2), "");
    EXPECT_EQ(ask("%d file", "", 1), "");
    EXPECT_EQ(m_log.count('E', "NULL pointer"), 0);
    EXPECT_EQ(ask(nullptr, "%d files", 2), "");
    EXPECT_EQ(ask("%d file", nullptr, 1), "");
    EXPECT_EQ(m_log.count('E', "Error getting the translated message. NULL pointer."), 2);
}

TEST_F(MsgCatalogTest, KnowsItsFolders) {
    std::string text;
    MsgCatalog::setLocalizationPath("");
    MsgCatalog::getLocalizationPath(text);
    EXPECT_EQ(text, "/opt/varnel/corvane/l10n");
    MsgCatalog::setLocalizationPath("/elsewhere/");
    MsgCatalog::getLocalizationPath(text);
    EXPECT_EQ(text, "/elsewhere/l10n");
    MsgCatalog::getEmbeddedLocalizationPath(text);
    EXPECT_EQ(text, "/opt/varnel/corvane/resources/l10n");
}

TEST_F(MsgCatalogTest, HasNoFolderWithoutTheStoragePaths) {
    releasePaths();
    std::string text = "former";
    MsgCatalog::getLocalizationPath(text);
    EXPECT_EQ(text, "");
    text = "former";
    MsgCatalog::getEmbeddedLocalizationPath(text);
    EXPECT_EQ(text, "");
    for (const char* function : {"getLocalizationPath", "getEmbeddedLocalizationPath"}) {
        EXPECT_TRUE(m_log.containsCode('E', function, "CInstanceSmartPtr<StoragePath>",
                                       CSTORAGEPATH_ERROR_NO_INSTANCE))
            << m_log.dump();
    }
}

TEST_F(MsgCatalogTest, KeepsTextsAsTheyAreWithoutTheStoragePaths) {
    releasePaths();
    setLanguage("de_DE.UTF-8");
    EXPECT_EQ(message("Next"), "Next");
}

TEST_F(MsgCatalogTest, HoldsNoReferenceBeyondACall) {
    setLanguage("de_DE.UTF-8");
    bypassDefaultCatalogue(false);
    const uint32_t before = CStoragePath::getReferenceCount();
    EXPECT_EQ(message("Next"), "Next");
    EXPECT_EQ(CStoragePath::getReferenceCount(), before);
}

} // namespace
