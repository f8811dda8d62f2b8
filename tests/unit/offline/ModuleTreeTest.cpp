#include "tools/MERO/MEROOffline/Common/ModuleTree.h"

#include <gmock/gmock.h>

namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;

ModuleItem module(const std::string& name, uint32_t isDefault = 0, uint32_t selected = 0) {
    return {.m_name = name, .m_default = isDefault, .m_selected = selected, .m_files = {}};
}

std::list<RootItem> rootsNamed(std::initializer_list<std::string> names) {
    std::list<RootItem> roots;
    for (const std::string& name : names) {
        RootsByName(roots).append(name, module("in " + name));
    }
    return roots;
}

template <typename Item> std::vector<std::string> namesOf(const std::list<Item>& items) {
    std::vector<std::string> names;
    for (const Item& item : items) {
        names.push_back(item.m_name);
    }
    return names;
}

TEST(ModuleTree, MakesRootsInTheOrderOfTheirArrival) {
    EXPECT_THAT(namesOf(rootsNamed({"b", "a", "c"})), ElementsAre("b", "a", "c"));
}

TEST(ModuleTree, GathersTheModulesOfOneRootInTheOrderOfTheirArrival) {
    std::list<RootItem> roots;
    RootsByName tree(roots);
    tree.append("one", module("z"));
    tree.append("two", module("y"));
    tree.append("one", module("a"));
    tree.append("one", module("z"));
    ASSERT_THAT(namesOf(roots), ElementsAre("one", "two"));
    EXPECT_THAT(namesOf(roots.front().m_modules), ElementsAre("z", "a", "z"));
    EXPECT_THAT(namesOf(roots.back().m_modules), ElementsAre("y"));
}

TEST(ModuleTree, KnowsItsRootsAfterTheyWereSortedOrEmptied) {
    std::list<RootItem> roots;
    RootsByName tree(roots);
    tree.append("two", module("a"));
    tree.append("one", module("b"));
    sortRoots(roots);
    tree.append("two", module("c"));
    EXPECT_THAT(namesOf(roots.back().m_modules), ElementsAre("a", "c"));
    roots.clear();
    tree.append("one", module("d"));
    ASSERT_THAT(namesOf(roots), ElementsAre("one"));
    EXPECT_THAT(namesOf(roots.front().m_modules), ElementsAre("d"));
}

TEST(ModuleTree, ComparesRootNamesByteForByte) {
    const std::list<RootItem> roots =
        rootsNamed({"one", "One", "one ", "_tr(\"one\")", "", "one\0"s, "\xC3\xB6", "o\xCC\x88"});
    EXPECT_EQ(roots.size(), 8u);
}

TEST(ModuleTree, TakesTheFirstOfTwoRootsOfOneName) {
    std::list<RootItem> roots{{.m_name = "same", .m_modules = {}}, {.m_name = "same", .m_modules = {}}};
    RootsByName(roots).append("same", module("m"));
    ASSERT_EQ(roots.size(), 2u);
    EXPECT_EQ(roots.front().m_modules.size(), 1u);
    EXPECT_TRUE(roots.back().m_modules.empty());
}

TEST(ModuleTree, LetsARootStartWithoutFlags) {
    std::list<RootItem> roots;
    RootsByName(roots).append("r", module("m"));
    EXPECT_EQ(roots.front().m_default, 0u);
    EXPECT_EQ(roots.front().m_selected, 0u);
}

TEST(ModuleTree, RaisesEachFlagOfARootByItself) {
    std::list<RootItem> roots;
    RootsByName(roots).append("default", module("m", 1, 0));
    RootsByName(roots).append("selected", module("m", 0, 1));
    EXPECT_EQ(roots.front().m_default, 1u);
    EXPECT_EQ(roots.front().m_selected, 0u);
    EXPECT_EQ(roots.back().m_default, 0u);
    EXPECT_EQ(roots.back().m_selected, 1u);
}

TEST(ModuleTree, RaisesFlagsForALaterModuleAndNeverLowersThem) {
    std::list<RootItem> roots;
    RootsByName(roots).append("r", module("off"));
    RootsByName(roots).append("r", module("on", 1, 1));
    RootsByName(roots).append("r", module("off again"));
    EXPECT_EQ(roots.front().m_default, 1u);
    EXPECT_EQ(roots.front().m_selected, 1u);
}

TEST(ModuleTree, TakesAnyValueButZeroAsSet) {
    std::list<RootItem> roots;
    RootsByName(roots).append("r", module("m", 0x80000000, 7));
    EXPECT_EQ(roots.front().m_default, 1u);
    EXPECT_EQ(roots.front().m_selected, 1u);
}

TEST(ModuleTree, KeepsACopyOfTheModule) {
    std::list<RootItem> roots;
    ModuleItem given = module("m", 1, 1);
    given.m_files.push_back({.m_id = "id",
                             .m_label = "label",
                             .m_description = "text",
                             .m_default = 1,
                             .m_selected = 0,
                             .m_platform = "linux"});
    RootsByName(roots).append("r", given);
    given.m_name = "changed";
    given.m_files.clear();
    const ModuleItem& kept = roots.front().m_modules.front();
    EXPECT_EQ(kept.m_name, "m");
    EXPECT_EQ(kept.m_default, 1u);
    EXPECT_EQ(kept.m_selected, 1u);
    ASSERT_EQ(kept.m_files.size(), 1u);
    EXPECT_EQ(kept.m_files.front().m_id, "id");
    EXPECT_EQ(kept.m_files.front().m_label, "label");
    EXPECT_EQ(kept.m_files.front().m_description, "text");
    EXPECT_EQ(kept.m_files.front().m_default, 1u);
    EXPECT_EQ(kept.m_files.front().m_selected, 0u);
    EXPECT_EQ(kept.m_files.front().m_platform, "linux");
}

TEST(ModuleTree, SortsRootsByTheirBytes) {
    std::list<RootItem> roots = rootsNamed({"b", "a", "B", "", "\xC3\xA4", "z", "1", "a\0"s, "~"});
    sortRoots(roots);
    EXPECT_THAT(namesOf(roots), ElementsAre("", "1", "B", "a", "a\0"s, "b", "z", "~", "\xC3\xA4"));
}

TEST(ModuleTree, SortsAShorterNameBeforeItsContinuation) {
    std::list<RootItem> roots = rootsNamed({"ab c", "abc", "ab", "a"});
    sortRoots(roots);
    EXPECT_THAT(namesOf(roots), ElementsAre("a", "ab", "ab c", "abc"));
}

TEST(ModuleTree, SortsTheMarkerAlong) {
    std::list<RootItem> roots = rootsNamed({"a", "_tr(\"z\")", "_tr(\"a\")", "Z"});
    sortRoots(roots);
    EXPECT_THAT(namesOf(roots), ElementsAre("Z", "_tr(\"a\")", "_tr(\"z\")", "a"));
}

TEST(ModuleTree, KeepsTheOrderOfRootsOfOneName) {
    std::list<RootItem> roots;
    for (const char* name : {"b", "a", "b", "a", "b"}) {
        const std::string arrival = std::to_string(roots.size());
        roots.push_back({.m_name = name, .m_modules = {module(arrival)}});
    }
    sortRoots(roots);
    std::vector<std::string> arrivals;
    for (const RootItem& root : roots) {
        arrivals.push_back(root.m_name + root.m_modules.front().m_name);
    }
    EXPECT_THAT(arrivals, ElementsAre("a1", "a3", "b0", "b2", "b4"));
}

TEST(ModuleTree, SortsNeitherModulesNorFiles) {
    ModuleItem files = module("z");
    files.m_files.resize(2);
    files.m_files.front().m_id = "z";
    files.m_files.back().m_id = "a";
    std::list<RootItem> roots;
    RootsByName(roots).append("r", files);
    RootsByName(roots).append("r", module("a"));
    sortRoots(roots);
    EXPECT_THAT(namesOf(roots.front().m_modules), ElementsAre("z", "a"));
    EXPECT_EQ(roots.front().m_modules.front().m_files.front().m_id, "z");
}

TEST(ModuleTree, SortsAnEmptyTree) {
    std::list<RootItem> roots;
    sortRoots(roots);
    EXPECT_TRUE(roots.empty());
}

} // namespace
