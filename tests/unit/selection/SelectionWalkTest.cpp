#include "tests/unit/selection/SelectionPicture.h"
#include "tests/unit/selection/ValueSelection.h"

#include <gtest/gtest.h>

namespace {

/// A catalogue in which two keys of each level have one translation.
std::string translated(const std::string& name) {
    const std::string key = textWithoutMarker(name);
    if (key == "B" || key == "L" || key == "y") {
        return "same";
    }
    return key == "C" ? "same" : key;
}

std::string asItStands(const std::string& name) {
    return name;
}

/// Walks through random trees, and gives the number of clicks.
std::size_t walkTrees(unsigned firstSeed, unsigned trees, const SelectionIndex::ShownText& shownText) {
    std::size_t clicks = 0;
    for (unsigned seed = firstSeed; seed < firstSeed + trees && !testing::Test::HasFailure(); ++seed) {
        std::mt19937 random(seed);
        std::list<RootItem> records = randomTree(random);
        ReferenceSelection reference(shownText, records);
        reference.populate();
        sortRoots(records);
        ValueSelection subject(records, shownText);
        clicks += walk(subject, reference, random, 100, "seed " + std::to_string(seed));
    }
    return clicks;
}

TEST(SelectionWalk, FindsWhatThePlainRulesSay) {
    EXPECT_GE(walkTrees(1000, 200, &textWithoutMarker), 15000U);
}

TEST(SelectionWalk, FindsTheSameWhereKeysAreTranslatedAlike) {
    EXPECT_GE(walkTrees(5000, 200, &translated), 15000U);
}

TEST(SelectionWalk, FindsTheSameWhereTheMarkerIsPartOfTheText) {
    EXPECT_GE(walkTrees(9000, 100, &asItStands), 7500U);
}

} // namespace
