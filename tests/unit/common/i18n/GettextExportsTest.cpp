#include "Common/i18n/GettextRuntime.h"

#include "tests/unit/common/i18n/CatalogueTest.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <libintl.h>

namespace {

class GettextExports : public CatalogueTest {
protected:
    /// The C library's own function.
    template <typename Function> static Function* ofCLibrary(const char* name) {
        return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
    }
    [[nodiscard]] static std::string folderKnownToCLibrary(const char* domain) {
        const char* const known =
            ofCLibrary<char*(const char*, const char*)>("bindtextdomain")(domain, nullptr);
        return known == nullptr ? "(none)" : known;
    }
};

TEST_F(GettextExports, StandInForTheCLibrarysFunctions) {
    // What a library that is loaded later would call.
    EXPECT_EQ(::dlsym(RTLD_DEFAULT, "textdomain"), reinterpret_cast<void*>(&textdomain));
    EXPECT_EQ(::dlsym(RTLD_DEFAULT, "bindtextdomain"), reinterpret_cast<void*>(&bindtextdomain));
    EXPECT_EQ(::dlsym(RTLD_DEFAULT, "bind_textdomain_codeset"),
              reinterpret_cast<void*>(&bind_textdomain_codeset));
    EXPECT_NE(::dlsym(RTLD_NEXT, "textdomain"), nullptr);
    EXPECT_NE(::dlsym(RTLD_NEXT, "textdomain"), reinterpret_cast<void*>(&textdomain));
}

TEST_F(GettextExports, ChooseTheDomain) {
    EXPECT_STREQ(textdomain(nullptr), "messages");
    EXPECT_STREQ(textdomain("tools"), "tools");
    EXPECT_STREQ(textdomain(nullptr), "tools");
    EXPECT_STREQ(textdomain(textdomain(nullptr)), "tools");
    EXPECT_STREQ(textdomain(""), "messages");
    EXPECT_STREQ(textdomain(nullptr), "messages");
}

TEST_F(GettextExports, CutTheDomainAt4095Characters) {
    const std::string name(4095, 'd');
    EXPECT_EQ(textdomain(name.c_str()), name);
    EXPECT_EQ(textdomain((name + "e").c_str()), name);
}

TEST_F(GettextExports, GiveTheDomainBackThatIsBound) {
    const char* const domain = "tools";
    EXPECT_EQ(bindtextdomain(domain, folder().c_str()), domain);
    EXPECT_EQ(bindtextdomain(domain, folder().c_str()), domain);
}

TEST_F(GettextExports, RefuseABindingWithoutADomain) {
    EXPECT_EQ(bindtextdomain(nullptr, folder().c_str()), nullptr);
    EXPECT_EQ(bindtextdomain("", folder().c_str()), nullptr);
}

TEST_F(GettextExports, RefuseARelativeFolderAndKeepTheFormer) {
    writeCatalogue("de", "tools", MoImage::of({{"Word", "Wort"}}).bytes);
    ASSERT_STREQ(bindtextdomain("tools", folder().c_str()), "tools");
    EXPECT_STREQ(getLocaleText("tools", "Word", "de"), "Wort");
    EXPECT_EQ(bindtextdomain("tools", "l10n"), nullptr);
    EXPECT_EQ(bindtextdomain("tools", ""), nullptr);
    std::filesystem::remove_all(folder());
    // Not even a reload is due.
    EXPECT_STREQ(getLocaleText("tools", "Word", "de"), "Wort");
}

TEST_F(GettextExports, TakeAFolderOf4095Characters) {
    const std::string longest(4095, '/');
    EXPECT_STREQ(bindtextdomain("tools", longest.c_str()), "tools");
    EXPECT_EQ(bindtextdomain("tools", (longest + "/").c_str()), nullptr);
}

TEST_F(GettextExports, NeverConvert) {
    EXPECT_EQ(bind_textdomain_codeset("tools", "ISO-8859-1"), nullptr);
    EXPECT_EQ(bind_textdomain_codeset("tools", nullptr), nullptr);
    EXPECT_EQ(bind_textdomain_codeset(nullptr, "UTF-8"), nullptr);
    compileCatalogue("de", "tools", {{"Open", "Öffnen"}});
    bindtextdomain("tools", folder().c_str());
    EXPECT_STREQ(getLocaleText("tools", "Open", "de"), "Öffnen");
}

TEST_F(GettextExports, TellTheCLibraryOfEveryFolder) {
    EXPECT_EQ(folderKnownToCLibrary("toolkit"), "/usr/share/locale");
    bindtextdomain("toolkit", folder().c_str());
    EXPECT_EQ(folderKnownToCLibrary("toolkit"), folder());
    // Which serves relative folders as well.
    bindtextdomain("toolkit", "l10n");
    EXPECT_EQ(folderKnownToCLibrary("toolkit"), "l10n");
}

TEST_F(GettextExports, AnswerWhichFolderADomainHas) {
    bindtextdomain("toolkit", folder().c_str());
    EXPECT_EQ(bindtextdomain("toolkit", nullptr), folder());
    EXPECT_EQ(bindtextdomain(nullptr, nullptr), nullptr);
}

TEST_F(GettextExports, TellTheCLibraryOfTheDomain) {
    auto* const ask = ofCLibrary<char*(const char*)>("textdomain");
    textdomain("tools");
    EXPECT_STREQ(ask(nullptr), "tools");
    textdomain("");
    EXPECT_STREQ(ask(nullptr), "messages");
}

TEST_F(GettextExports, TellTheCLibraryOfTheEncoding) {
    auto* const ask = ofCLibrary<char*(const char*, const char*)>("bind_textdomain_codeset");
    bind_textdomain_codeset("toolkit", "UTF-8");
    EXPECT_STREQ(ask("toolkit", nullptr), "UTF-8");
}

TEST_F(GettextExports, LeaveTheCLibrarysLookUpsAsTheyAre) {
    compileCatalogue("de", "fresh", {{"Open", "Öffnen"}}, "utf-8");
    bindtextdomain("fresh", folder().c_str());
    useLocale("de_DE.ISO-8859-1");
    EXPECT_STREQ(dgettext("fresh", "Open"), "\xD6"
                                            "ffnen");
    bind_textdomain_codeset("fresh", "UTF-8");
    EXPECT_STREQ(dgettext("fresh", "Open"), "Öffnen");
    EXPECT_STREQ(dngettext("fresh", "Open", "Open", 1), "Öffnen");
}

} // namespace
