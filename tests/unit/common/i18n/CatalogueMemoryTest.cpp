#include "Common/i18n/GettextRuntime.h"
#include "tests/unit/common/i18n/MsgCatalogTest.h"
#include "tests/unit/common/ipc/HeapLimit.h"

#include <gtest/gtest.h>
#include <libintl.h>

namespace {

class CatalogueMemory : public MsgCatalogTest {
protected:
    void SetUp() override {
        setLanguage("de_DE.UTF-8");
        MoImage::Texts texts;
        for (int number = 1000; number < 3000; ++number) {
            const std::string digits = std::to_string(number);
            texts.emplace_back("A text that is looked up, number " + digits,
                               "Ein Text, der nachgeschlagen wird, Nummer " + digits);
        }
        compileCatalogue("de", "Trellink", texts);
        MsgCatalog::initMsgCatalog("");
    }
    static constexpr const char* kKey = "A text that is looked up, number 2345";
    static constexpr const char* kText = "Ein Text, der nachgeschlagen wird, Nummer 2345";
};

TEST_F(CatalogueMemory, IsNotNeededForAHit) {
    ASSERT_STREQ(getLocaleText(nullptr, kKey, "de-de"), kText);
    const HeapLimit noHeap(0);
    EXPECT_STREQ(getLocaleText(nullptr, kKey, "de-de"), kText);
    EXPECT_STREQ(getLocaleText("Trellink", kKey, "de-de"), kText);
    EXPECT_STREQ(getText(kKey), kText);
}

TEST_F(CatalogueMemory, IsNotNeededForAMessageThatFindsRoom) {
    std::string text = message(kKey);
    text.reserve(200);
    const HeapLimit noHeap(0);
    MsgCatalog::getMessage(kKey, text);
    EXPECT_EQ(text, kText);
}

TEST_F(CatalogueMemory, RunsOutWithoutABinding) {
    const std::string where = folder();
    {
        const HeapLimit noHeap(0);
        EXPECT_EQ(bindtextdomain("new domain", where.c_str()), nullptr);
        EXPECT_STREQ(getLocaleText("new domain", kKey, "de"), kKey);
        // One that is there needs none.
        EXPECT_STREQ(bindtextdomain("Trellink", where.c_str()), "Trellink");
    }
    EXPECT_STREQ(bindtextdomain("new domain", where.c_str()), "new domain");
}

TEST_F(CatalogueMemory, RunsOutWithoutHarmInALoad) {
    unloadDomain("Trellink");
    {
        const HeapLimit noHeap(0);
        EXPECT_STREQ(getLocaleText("Trellink", kKey, "de"), kKey);
        EXPECT_STREQ(getCatalogCharset(), "");
    }
    EXPECT_STREQ(getLocaleText("Trellink", kKey, "de"), kText);
}

} // namespace
