// Texts of libraries that come with catalogues of their own, in a program that has replaced the functions
// with which they set these up.

#include "tests/support/InChild.h"
#include "tests/unit/common/i18n/MsgCatalogTest.h"
#include "tests/unit/common/i18n/toolkit_stand_in.h"

#include <clocale>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <libintl.h>

namespace {

class ToolkitTexts : public MsgCatalogTest {
protected:
    void SetUp() override {
        setEnvironment("DISPLAY", std::nullopt);
        setEnvironment("WAYLAND_DISPLAY", std::nullopt);
        writeToolkitCatalogue(kToolkitDomain, "");
    }
    /// In another folder than that of our own catalogues, and of the C library's default.
    void writeToolkitCatalogue(const std::string& domain, const std::string& context) const {
        const MoImage image({{"", "Content-Type: text/plain; charset=UTF-8\n"},
                             {context + "Open", "Öffnen"},
                             {context + "Space", "Leertaste ä"}});
        writeFile("toolkit/de/LC_MESSAGES/" + domain + ".mo", image.bytes);
    }
    [[nodiscard]] std::string toolkitFolder() const { return path("toolkit"); }

    /// GLib decides once in a process whether it translates, so each check needs a process of its own.
    void inGermanProcess(const std::string& locale, const std::function<void()>& checks) {
        setLanguage(locale);
        inChild([&] {
            ASSERT_NE(std::setlocale(LC_ALL, ""), nullptr);
            checks();
        });
    }
};

TEST_F(ToolkitTexts, ComeFromTheFolderThatTheLibraryNames) {
    inGermanProcess("de_DE.UTF-8", [this] {
        EXPECT_STREQ(toolkitText("Open"), "Open");
        setUpToolkit(toolkitFolder().c_str());
        EXPECT_STREQ(toolkitText("Open"), "Öffnen");
        EXPECT_STREQ(toolkitTextThroughGlib("Space"), "Leertaste ä");
    });
}

TEST_F(ToolkitTexts, ComeInTheEncodingThatTheLibraryWants) {
    inGermanProcess("de_DE.ISO-8859-1", [this] {
        setUpToolkit(toolkitFolder().c_str());
        EXPECT_STREQ(toolkitText("Open"), "Öffnen");
        EXPECT_STREQ(toolkitTextThroughGlib("Space"), "Leertaste ä");
    });
}

TEST_F(ToolkitTexts, StayWhenTheProgramChoosesItsDomainAfterwards) {
    // With no catalogue of the program's at all.
    inGermanProcess("de_DE.UTF-8", [this] {
        setUpToolkit(toolkitFolder().c_str());
        EXPECT_STREQ(toolkitTextThroughGlib("Open"), "Öffnen");
        EXPECT_EQ(message("Next"), "Next");
        EXPECT_STREQ(textdomain(nullptr), "Trellink");
        EXPECT_STREQ(toolkitTextThroughGlib("Open"), "Öffnen");
        EXPECT_STREQ(toolkitText("Space"), "Leertaste ä");
    });
}

TEST_F(ToolkitTexts, ComeWhenTheProgramHasChosenItsDomainBefore) {
    compileCatalogue("de", "Trellink", {{"Next", "Weiter"}});
    inGermanProcess("de_DE.UTF-8", [this] {
        EXPECT_EQ(message("Next"), "Weiter");
        setUpToolkit(toolkitFolder().c_str());
        EXPECT_STREQ(toolkitTextThroughGlib("Open"), "Öffnen");
        EXPECT_EQ(message("Next"), "Weiter");
    });
}

TEST_F(ToolkitTexts, ComeFromGtkItself) {
    compileCatalogue("de", "Trellink", {{"Next", "Weiter"}});
    writeToolkitCatalogue("gtk30", "keyboard label\4");
    for (const bool isGtkFirst : {true, false}) {
        inGermanProcess("de_DE.ISO-8859-1", [this, isGtkFirst] {
            if (!isGtkFirst) {
                EXPECT_EQ(message("Next"), "Weiter");
            }
            // There is no display, which it finds out when its texts are set up.
            EXPECT_FALSE(gtk_init_check(nullptr, nullptr));
            using Ask = char*(const char*, const char*);
            auto* const encodingKnownToCLibrary =
                reinterpret_cast<Ask*>(::dlsym(RTLD_NEXT, "bind_textdomain_codeset"));
            EXPECT_STREQ(encodingKnownToCLibrary("gtk30", nullptr), "UTF-8");

            bindtextdomain("gtk30", toolkitFolder().c_str());
            EXPECT_EQ(message("Next"), "Weiter");
            const std::unique_ptr<char, decltype(&g_free)> label(
                gtk_accelerator_get_label(GDK_KEY_space, GdkModifierType(0)), &g_free);
            EXPECT_STREQ(label.get(), "Leertaste ä");
        });
    }
}

} // namespace
