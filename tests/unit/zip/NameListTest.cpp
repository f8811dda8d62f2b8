#include "Common/Zip/NameList.h"

#include <gtest/gtest.h>

namespace {

std::vector<std::string> namesOf(const NameList& list) {
    std::vector<std::string> names;
    for (const std::string_view name : list) {
        names.emplace_back(name);
    }
    return names;
}

TEST(NameListTest, GivesItsNamesInTheirOrder) {
    EXPECT_EQ(namesOf(NameList()), std::vector<std::string>());
    const std::vector<std::string> names{"one", "", "two/three", "", std::string(70000, 'x'), "four"};
    const NameList list(names);
    EXPECT_EQ(list.size(), names.size());
    EXPECT_EQ(namesOf(list), names);
}

TEST(NameListTest, HoldsManyNamesAcrossItsBlocks) {
    std::vector<std::string> names;
    for (int i = 0; i < 20000; ++i) {
        names.push_back("folder/" + std::to_string(i * i));
    }
    EXPECT_EQ(namesOf(NameList(names)), names);
}

TEST(NameListTest, EndsANameForCallersInC) {
    const NameList list(std::vector<std::string>{"one", "two"});
    EXPECT_STREQ((*list.begin()).data(), "one");
}

} // namespace
