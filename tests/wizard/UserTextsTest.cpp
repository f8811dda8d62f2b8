#include "tools/MERO/MEROOffline/Linux/UserTexts.h"

#include "tools/MERO/MEROOffline/Linux/WizardLanguage.h"

#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

namespace {

// The list beside this file is what the catalogues of the suite are translated from.
TEST(UserTexts, AreTheKeysOfTheCatalogues) {
    std::ifstream file(WIZARD_TEST_DATA "UserTexts.txt");
    ASSERT_TRUE(file.is_open());
    std::vector<std::string> expected;
    for (std::string line; std::getline(file, line);) {
        expected.push_back(line);
    }
    const std::vector<std::string> table(allUserTexts().begin(), allUserTexts().end());
    EXPECT_EQ(table, expected);
}

TEST(UserTexts, StandInTheTableOnce) {
    const std::set<std::string> different(allUserTexts().begin(), allUserTexts().end());
    EXPECT_EQ(different.size(), allUserTexts().size());
}

TEST(UserTexts, AreFoundByName) {
    EXPECT_STREQ(userText(UserText::WindowTitle), "Varnel Corvane - MERO");
    EXPECT_STREQ(userText(UserText::PartialCollection),
                 "MERO will only collect partial diagnostic information. For a complete log collection, "
                 "authenticate as an administrator.");
}

TEST(UserTexts, WithoutATranslationAreShownInEnglish) {
    EXPECT_EQ(translateText("No such key"), "No such key");
}

// A catalogue that was refused for its character set stays in use, and GTK takes nothing but UTF-8.
TEST(UserTexts, AreValidUtf8WhateverTheirBytes) {
    EXPECT_EQ(translateText("caf\xE9"), "caf\xEF\xBF\xBD");
}

} // namespace
