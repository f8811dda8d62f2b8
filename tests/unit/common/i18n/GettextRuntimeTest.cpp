#include "Common/i18n/GettextRuntime.h"

#include "tests/unit/common/i18n/CatalogueTest.h"

#include <climits>
#include <clocale>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <libintl.h>
#include <sys/stat.h>

namespace {

class GettextRuntime : public CatalogueTest {
protected:
    void bind(const std::string& domain) const {
        ASSERT_STREQ(bindtextdomain(domain.c_str(), folder().c_str()), domain.c_str());
    }
    /// A bound domain with one text in one language: "Word" is "<language> word".
    void provide(const std::string& language, const std::string& domain) const {
        writeCatalogue(language, domain, imageOf(language).bytes);
        bind(domain);
    }
    static MoImage imageOf(const std::string& language) {
        return MoImage::of({{"", "charset=utf-8 of " + language + "\n"}, {"Word", language + " word"}});
    }
    static std::string wordIn(const char* locale, const std::string& domain = "tools") {
        return getLocaleText(domain.c_str(), "Word", locale);
    }
    void removeCatalogues() const { std::filesystem::remove_all(folder()); }
};

TEST_F(GettextRuntime, TranslatesWithACatalogueOfMsgfmt) {
    compileCatalogue("de", "tools", {{"Open the file", "Datei öffnen"}, {"Cancel", "Abbrechen"}});
    bind("tools");
    EXPECT_STREQ(getLocaleText("tools", "Open the file", "de"), "Datei öffnen");
    EXPECT_STREQ(getLocaleText("tools", "Cancel", "de"), "Abbrechen");
    EXPECT_STREQ(getLocaleText("tools", "Close", "de"), "Close");
}

TEST_F(GettextRuntime, ReadsTheOppositeByteOrder) {
    for (const char* order : {"big", "little"}) {
        compileCatalogue("de", "tools", {{"Open", "Öffnen"}, {"Cancel", "Abbrechen"}}, "utf-8",
                         "--endianness=" + std::string(order));
        bind("tools");
        EXPECT_STREQ(getLocaleText("tools", "Open", "de"), "Öffnen") << order;
        EXPECT_STREQ(getLocaleText("tools", "Cancel", "de"), "Abbrechen") << order;
    }
}

TEST_F(GettextRuntime, NeedsNoHashTable) {
    compileCatalogue("de", "tools", {{"Open", "Öffnen"}}, "utf-8", "--no-hash");
    bind("tools");
    EXPECT_STREQ(getLocaleText("tools", "Open", "de"), "Öffnen");
}

TEST_F(GettextRuntime, GivesAKeyBackAsItIs) {
    provide("de", "tools");
    const char* const key = "Unknown";
    EXPECT_EQ(getLocaleText("tools", key, "de"), key);
    EXPECT_EQ(getLocaleText("no such domain", key, "de"), key);
    EXPECT_EQ(getLocaleText("tools", nullptr, "de"), nullptr);
}

TEST_F(GettextRuntime, TakesThePluralForEveryCountButOne) {
    compileCatalogue("de", "tools", {{"file", "Datei"}, {"files", "Dateien"}});
    bind("tools");
    const auto ask = [](uint64_t count) {
        return std::string(getText("tools", "file", "files", count, kMessagesCategory, "de"));
    };
    EXPECT_EQ(ask(1), "Datei");
    EXPECT_EQ(ask(0), "Dateien");
    EXPECT_EQ(ask(2), "Dateien");
    EXPECT_EQ(ask(UINT64_MAX), "Dateien");
    EXPECT_EQ(getText("tools", "file", nullptr, 2, kMessagesCategory, "de"), nullptr);
    EXPECT_EQ(getText("tools", nullptr, "files", 1, kMessagesCategory, "de"), nullptr);
}

TEST_F(GettextRuntime, GivesTheFirstTranslationOfAPluralThatIsAnOriginal) {
    using namespace std::string_literals;
    writeCatalogue("de", "tools", MoImage::of({{"files\0more"s, "Dateien\0mehr Dateien"s}}).bytes);
    bind("tools");
    EXPECT_STREQ(getText("tools", "file", "files", 2, kMessagesCategory, "de"), "Dateien");
}

TEST_F(GettextRuntime, LooksInTheFolderOfTheCategory) {
    writeFile("l10n/de/LC_TIME/tools.mo", imageOf("time").bytes);
    bind("tools");
    EXPECT_STREQ(getText("tools", "Word", nullptr, 1, LC_TIME, "de"), "time word");
}

TEST_F(GettextRuntime, KnowsSixCategories) {
    provide("de", "tools");
    for (const int category : {6, 7, INT_MAX, -1, INT_MIN}) {
        EXPECT_STREQ(getText("tools", "Word", nullptr, 1, category, "de"), "Word") << category;
    }
    EXPECT_STREQ(getText("tools", "Word", nullptr, 1, 5, "de"), "de word");
}

TEST_F(GettextRuntime, FallsBackFromTheTerritoryToTheLanguage) {
    provide("de", "tools");
    EXPECT_EQ(wordIn("de-de"), "de word");
    EXPECT_EQ(wordIn("de-at-x"), "de word");
    EXPECT_EQ(wordIn("fr-fr"), "Word");
}

TEST_F(GettextRuntime, PrefersTheTerritory) {
    provide("de", "tools");
    provide("de-at", "tools");
    EXPECT_EQ(wordIn("de-at"), "de-at word");
}

TEST_F(GettextRuntime, NeverTranslatesForTheLocaleOfTheSources) {
    for (const char* locale : {"C", "POSIX"}) {
        provide(locale, "tools");
        EXPECT_EQ(wordIn(locale), "Word");
    }
    EXPECT_EQ(wordIn(""), "Word");
}

TEST_F(GettextRuntime, TakesTheFirstCatalogueOfAList) {
    provide("fr", "tools");
    EXPECT_EQ(wordIn("de:fr:it"), "fr word");
}

TEST_F(GettextRuntime, PassesEmptyEntriesOfAListOver) {
    provide("fr", "tools");
    EXPECT_EQ(wordIn("::fr:"), "fr word");
}

TEST_F(GettextRuntime, EndsAListAtTheLocaleOfTheSources) {
    provide("fr", "tools");
    EXPECT_EQ(wordIn("de:C:fr"), "Word");
    EXPECT_EQ(wordIn("de:POSIX:fr"), "Word");
}

TEST_F(GettextRuntime, NeverLooksForNamesWithASlash) {
    provide("de", "a/b");
    EXPECT_EQ(wordIn("de", "a/b"), "Word");
    provide("../l10n/de", "tools");
    EXPECT_EQ(wordIn("../l10n/de"), "Word");
    provide("de", "tools");
    EXPECT_EQ(wordIn("../l10n/de:de"), "de word");
}

TEST_F(GettextRuntime, TakesALocaleOf4095Characters) {
    provide("de", "tools");
    const std::string filler(4095 - 3, ':');
    EXPECT_EQ(wordIn((filler + ":de").c_str()), "de word");
    bind("tools");
    EXPECT_EQ(wordIn((filler + ":de:").c_str()), "Word");
}

TEST_F(GettextRuntime, BindsADomainOf4095Characters) {
    const std::string name(4095, 'd');
    EXPECT_STREQ(bindtextdomain(name.c_str(), folder().c_str()), name.c_str());
    EXPECT_EQ(wordIn("de", name), "Word");
    EXPECT_EQ(bindtextdomain((name + "d").c_str(), folder().c_str()), nullptr);
    EXPECT_EQ(wordIn("de", name + "d"), "Word");
}

TEST_F(GettextRuntime, PassesOverALocaleThatMakesThePathTooLong) {
    provide("de", "tools");
    const std::string name(4000, 'd');
    EXPECT_EQ(wordIn((name + ":de").c_str()), "de word");
}

TEST_F(GettextRuntime, NeverTakesAPathCutShort) {
    // A folder so deep that the path would be cut just behind a file that is there.
    std::string deep = folder();
    std::string_view tail = "/de/LC_MESSAGES/tools";
    while (deep.size() + tail.size() + 201 < 4095) {
        deep += "/" + std::string(200, 'x');
    }
    deep += "/" + std::string(4095 - deep.size() - tail.size() - 1, 'x');
    const std::string file = deep + std::string(tail);
    ASSERT_EQ(file.size(), 4095U);
    const std::filesystem::path former = std::filesystem::current_path();
    // The file's path is as long as a path may be, so it is made step by step.
    std::filesystem::current_path("l10n");
    for (const auto& part : std::filesystem::path(file.substr(folder().size() + 1)).parent_path()) {
        std::filesystem::create_directory(part);
        std::filesystem::current_path(part);
    }
    std::ofstream("tools") << imageOf("cut").bytes;
    std::filesystem::current_path(former);
    ASSERT_TRUE(std::filesystem::exists(file));

    ASSERT_STREQ(bindtextdomain("tools", deep.c_str()), "tools");
    EXPECT_EQ(wordIn("de"), "Word");
}

TEST_F(GettextRuntime, SkipsAnotherRevision) {
    provide("fr", "tools");
    MoImage image = imageOf("de");
    image.setHeader(MoImage::Revision, 1);
    writeCatalogue("de", "tools", image.bytes);
    EXPECT_EQ(wordIn("de"), "Word");
    EXPECT_EQ(wordIn("de:fr"), "fr word");
}

TEST_F(GettextRuntime, LoadsUpToOneMebibyte) {
    std::string bytes = imageOf("de").bytes;
    bytes.resize(0x100000);
    writeCatalogue("de", "tools", bytes);
    bind("tools");
    EXPECT_EQ(wordIn("de"), "de word");

    bytes.push_back('\0');
    writeCatalogue("fr", "more", bytes);
    bind("more");
    EXPECT_EQ(wordIn("fr", "more"), "Word");
}

TEST_F(GettextRuntime, NeverReadsBehindACatalogueThatFillsItsPages) {
    MoImage image = imageOf("de");
    image.bytes.resize(0x2000, 'x');
    image.bytes.back() = '\0';
    // The last translation goes up to the last byte.
    image.setWord(image.translationRow(1), 0x1000);
    writeCatalogue("de", "tools", image.bytes);
    bind("tools");
    EXPECT_EQ(wordIn("de"), "de word");

    image.bytes.back() = 'x';
    image.setWord(image.translationRow(1) + 4, 0x1F00);
    image.setWord(image.translationRow(1), 0xFF);
    writeCatalogue("de", "tools", image.bytes);
    bind("tools");
    EXPECT_EQ(wordIn("de"), "Word");
}

TEST_F(GettextRuntime, SkipsWhatIsNoRegularFile) {
    makeFolder("l10n/de/LC_MESSAGES/tools.mo");
    provide("fr", "tools");
    EXPECT_EQ(wordIn("de:fr"), "fr word");
}

TEST_F(GettextRuntime, NeverWaitsForAPipe) {
    makeFolder("l10n/de/LC_MESSAGES");
    ASSERT_EQ(::mkfifo(path("l10n/de/LC_MESSAGES/tools.mo").c_str(), 0600), 0);
    provide("fr", "tools");
    EXPECT_EQ(wordIn("de:fr"), "fr word");
}

TEST_F(GettextRuntime, SkipsAnEmptyFileAndOneOfOtherContent) {
    writeCatalogue("de", "tools", "");
    writeCatalogue("it", "tools", "no catalogue at all, but long enough for a header");
    provide("fr", "tools");
    EXPECT_EQ(wordIn("de:it:fr"), "fr word");
}

TEST_F(GettextRuntime, KeepsTheCatalogueThatIsLoaded) {
    provide("de", "tools");
    provide("fr", "tools");
    EXPECT_EQ(wordIn("de"), "de word");
    // There is a French one, but the German one is loaded.
    EXPECT_EQ(wordIn("fr"), "de word");
    EXPECT_EQ(wordIn("it"), "Word");
}

TEST_F(GettextRuntime, RemembersWhatItLookedForLast) {
    provide("de", "tools");
    EXPECT_EQ(wordIn("de-de"), "de word");
    removeCatalogues();
    EXPECT_EQ(wordIn("de-de"), "de word");
    EXPECT_EQ(wordIn("de"), "Word");
    EXPECT_EQ(wordIn("de-de"), "de word");
}

TEST_F(GettextRuntime, LooksForFilesAgainAfterAnotherDomain) {
    provide("de", "tools");
    provide("de", "more");
    EXPECT_EQ(wordIn("de", "tools"), "de word");
    EXPECT_EQ(wordIn("de", "more"), "de word");
    removeCatalogues();
    EXPECT_EQ(wordIn("de", "tools"), "Word");
    EXPECT_EQ(wordIn("de", "more"), "de word");
}

TEST_F(GettextRuntime, LooksForFilesAgainForAnotherCategory) {
    provide("de", "tools");
    EXPECT_EQ(wordIn("de"), "de word");
    EXPECT_STREQ(getText("tools", "Word", nullptr, 1, LC_TIME, "de"), "Word");
}

TEST_F(GettextRuntime, LoadsAgainFromANewFolder) {
    provide("de", "tools");
    EXPECT_EQ(wordIn("de"), "de word");
    writeFile("other/de/LC_MESSAGES/tools.mo", imageOf("other").bytes);
    ASSERT_STREQ(bindtextdomain("tools", path("other").c_str()), "tools");
    EXPECT_EQ(wordIn("de"), "other word");
}

TEST_F(GettextRuntime, LoadsAnotherLocaleOnceTheFolderIsSetAgain) {
    provide("de", "tools");
    provide("fr", "tools");
    EXPECT_EQ(wordIn("de"), "de word");
    bind("tools");
    EXPECT_EQ(wordIn("fr"), "fr word");
}

TEST_F(GettextRuntime, LoadsAgainAfterAnUnload) {
    provide("de", "tools");
    EXPECT_EQ(wordIn("de"), "de word");
    textdomain("tools");
    EXPECT_STREQ(getCatalogCharset(), "utf-8 of de");
    unloadDomain("tools");
    EXPECT_STREQ(getCatalogCharset(), "");
    writeCatalogue("de", "tools", imageOf("new").bytes);
    EXPECT_EQ(wordIn("de"), "new word");
    unloadDomain("no such domain");
    unloadDomain(nullptr);
    EXPECT_EQ(wordIn("de"), "new word");
}

TEST_F(GettextRuntime, SurvivesTheRemovalAndReplacementOfItsFile) {
    provide("de", "tools");
    const char* const text = getLocaleText("tools", "Word", "de");
    removeCatalogues();
    writeCatalogue("de", "tools", std::string(100, 'x'));
    EXPECT_STREQ(text, "de word");
    EXPECT_EQ(wordIn("de"), "de word");
}

TEST_F(GettextRuntime, TellsTheCharsetOfTheCurrentDomain) {
    EXPECT_STREQ(getCatalogCharset(), "");
    provide("de", "fresh");
    textdomain("fresh");
    EXPECT_STREQ(getCatalogCharset(), "");
    EXPECT_EQ(wordIn("de", "fresh"), "de word");
    EXPECT_STREQ(getCatalogCharset(), "utf-8 of de");
    textdomain("no such domain");
    EXPECT_STREQ(getCatalogCharset(), "");
}

TEST_F(GettextRuntime, TellsTheFormerCharsetUntilTheNewFolderIsRead) {
    provide("de", "tools");
    provide("fr", "tools");
    textdomain("tools");
    EXPECT_EQ(wordIn("de"), "de word");
    bind("tools");
    EXPECT_STREQ(getCatalogCharset(), "utf-8 of de");
    EXPECT_EQ(wordIn("it"), "Word");
    EXPECT_STREQ(getCatalogCharset(), "utf-8 of de");
    EXPECT_EQ(wordIn("fr"), "fr word");
    EXPECT_STREQ(getCatalogCharset(), "utf-8 of fr");
}

TEST_F(GettextRuntime, TakesTheLocaleOfTheProcess) {
    provide("de-de", "tools");
    textdomain("tools");
    EXPECT_STREQ(getText("Word"), "Word");
    useLocale("de_DE.UTF-8");
    EXPECT_STREQ(getText("Word"), "de-de word");
}

TEST_F(GettextRuntime, TriesTheVariantsOfTheLocaleOfTheProcess) {
    useLocale("pt_BR.UTF-8");
    for (const char* folderName : {"pt", "pt-br", "pt_BR.UTF-8"}) {
        provide(folderName, "tools");
        EXPECT_EQ(wordIn(nullptr), std::string(folderName) + " word");
    }
    std::filesystem::remove_all(folder());
    provide("pt_BR", "tools");
    EXPECT_EQ(wordIn(nullptr), "Word");
}

TEST_F(GettextRuntime, NeverCutsTheVariantsAtADash) {
    // Cut at its first dash, the list would end in "de_DE.UTF".
    useLocale("de_DE.UTF-8");
    provide("de_DE.UTF", "tools");
    EXPECT_EQ(wordIn(nullptr), "Word");
}

TEST_F(GettextRuntime, HasAFormForEveryNeed) {
    compileCatalogue("de", "tools", {{"file", "Datei"}, {"files", "Dateien"}});
    bind("tools");
    useLocale("de_DE.UTF-8");
    EXPECT_STREQ(getDomainText("tools", "file"), "Datei");
    EXPECT_STREQ(getCategoryText("tools", "file", kMessagesCategory), "Datei");
    EXPECT_STREQ(getCategoryText("tools", "file", LC_TIME), "file");
    EXPECT_STREQ(getPluralText("tools", "file", "files", 1), "Datei");
    EXPECT_STREQ(getPluralText("tools", "file", "files", 5), "Dateien");
    EXPECT_STREQ(getLocaleText("tools", "file", "de"), "Datei");
    EXPECT_STREQ(getText("file"), "file");
    textdomain("tools");
    EXPECT_STREQ(getText("file"), "Datei");
    EXPECT_STREQ(getLocaleText(nullptr, "file", "de"), "Datei");
}

TEST_F(GettextRuntime, KnowsManyDomains) {
    for (int number = 0; number < 50; ++number) {
        provide("de", "domain" + std::to_string(number));
    }
    for (int number = 0; number < 50; ++number) {
        EXPECT_EQ(wordIn("de", "domain" + std::to_string(number)), "de word");
    }
}

} // namespace
