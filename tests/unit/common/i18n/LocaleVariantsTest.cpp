#include "Common/i18n/LocaleVariants.h"

#include <gtest/gtest.h>
#include <string>

namespace {

std::string variantsOf(const std::string& name) {
    LocaleVariantBuffer buffer;
    return listLocaleVariants(name.c_str(), buffer);
}

TEST(LocaleVariants, NameCodesetAndTerritoryBeforeTheLanguage) {
    EXPECT_EQ(variantsOf("de_DE.UTF-8"), "de_DE.UTF-8:de_DE.UTF-8:de-de:de");
}

TEST(LocaleVariants, HaveAnEmptyEntryInPlaceOfAPlainTerritory) {
    EXPECT_EQ(variantsOf("de_DE"), ":de-de:de");
}

TEST(LocaleVariants, AreTheLanguageAlone) {
    EXPECT_EQ(variantsOf("de"), "de");
}

TEST(LocaleVariants, NameTheModifierFirst) {
    EXPECT_EQ(variantsOf("de_DE.UTF-8@euro"),
              "de_DE.UTF-8@euro:de_DE@euro:de@euro:de_DE.UTF-8:de_DE.UTF-8:de-de:de");
}

TEST(LocaleVariants, RepeatTheModifiersEntryWithoutACodeset) {
    EXPECT_EQ(variantsOf("sr_RS@latin"), "sr_RS@latin:sr@latin:sr@latin:sr-rs:sr");
    EXPECT_EQ(variantsOf("sr@latin"), "sr@latin:sr");
}

TEST(LocaleVariants, AreTheNameItselfForACodesetWithoutATerritory) {
    EXPECT_EQ(variantsOf("C.UTF-8"), "C.UTF-8");
    EXPECT_EQ(variantsOf("de.UTF-8@euro"), "de.UTF-8@euro");
}

TEST(LocaleVariants, AreTheNameItselfWithoutALanguage) {
    for (const char* name : {"", "_DE", "_DE.UTF-8", "@euro", ".UTF-8"}) {
        EXPECT_EQ(variantsOf(name), name);
    }
}

TEST(LocaleVariants, SplitTheNameFromTheRight) {
    EXPECT_EQ(variantsOf("a_b_C@x@y"), "a_b_C@x@y:a_b@y:a_b@y:a_b-c@x:a_b");
}

TEST(LocaleVariants, LowerOnlyTheTerritory) {
    EXPECT_EQ(variantsOf("PT_BR"), ":PT-br:PT");
}

TEST(LocaleVariants, AreTheNameItselfFrom8192CharactersOn) {
    const std::string longName = "de_" + std::string(8192 - 3, 'D');
    EXPECT_EQ(variantsOf(longName), longName);
}

TEST(LocaleVariants, AreCutAt8191Characters) {
    const std::string territory(8191 - 3, 'd');
    EXPECT_EQ(variantsOf("de_" + territory), (":de-" + territory).substr(0, 8191));
    const std::string language(5000, 'x');
    const std::string whole = ":" + language + "-y:" + language;
    EXPECT_EQ(variantsOf(language + "_Y"), whole.substr(0, 8191));
}

} // namespace
