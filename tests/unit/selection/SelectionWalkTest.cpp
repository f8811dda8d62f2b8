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

/// The bits of a number, as many as there are rows.
std::vector<bool> bits(unsigned number, std::size_t count) {
    std::vector<bool> values;
    for (std::size_t bit = 0; bit < count; ++bit) {
        values.push_back(((number >> bit) & 1U) != 0);
    }
    return values;
}

/// Makes one step of both from a state of the subject, and compares where it leads. The step of the number
/// after the last place is to store.
void compareStep(ValueSelection& subject, ReferenceSelection& reference,
                 const std::vector<std::vector<int>>& places, std::size_t step) {
    const std::vector<ReferenceRow> shownBefore = subject.rows();
    const std::list<RootItem> storedBefore = subject.records();
    reference.takeStateOf(shownBefore, storedBefore);
    if (step == places.size()) {
        subject.store();
        reference.SaveTreeViewToList();
    } else {
        subject.click(places[step]);
        reference.onCheckToggled(places[step], rowAt(reference.rows(), places[step]).checked);
    }
    ASSERT_EQ(subject.rows(), reference.rows())
        << pictureOf(shownBefore) << ", stored " << pictureOf(storedBefore) << ", step " << step;
    ASSERT_EQ(rowsOf(subject.records()), rowsOf(reference.records()))
        << pictureOf(shownBefore) << ", stored " << pictureOf(storedBefore) << ", step " << step;
}

class EveryState : public testing::TestWithParam<const char*> {};

TEST_P(EveryState, GoesWhereThePlainRulesSay) {
    ValueSelection subject(GetParam());
    ReferenceSelection reference(&textWithoutMarker, recordsOf(GetParam()));
    reference.populate();
    ASSERT_EQ(subject.shown(), pictureOf(reference.rows()));
    const std::vector<std::vector<int>> places = placesOf(reference.rows());
    for (unsigned state = 0; state < 1U << (2 * places.size()); ++state) {
        for (std::size_t step = 0; step <= places.size(); ++step) {
            subject.setState(bits(state, places.size()), bits(state >> places.size(), places.size()));
            ASSERT_NO_FATAL_FAILURE(compareStep(subject, reference, places, step));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(OfTree, EveryState,
                         testing::Values("-A", "-A -A", "-A[-m]", "-A[-m -m]", "-A[-m[-f]]", "-A[-m[-f -g]]",
                                         "-A[-m[-f -f]]", "-A[-m[-f] -n]", "-A[-m[-f] -m]", "-A[-m -m[-f]]",
                                         "-A[-m[-f] -n[-f]]", "-A[-m[-f] -m[-f]]", "-A[-m[-f] -m[-g]]",
                                         "-A[-m] -A[-m]", "-A[-m] -A[-n]", "-A[-m] -B[-m]",
                                         "-A[-m[-f]] -A[-m]", "-A[-m] -A[-m[-f]]", "-A[-m[-f]] -A[-m[-f]]",
                                         "-A[-m[-f]] -A[-n[-f]]", "-A[-m[-f]] -B[-m[-f]]",
                                         "-A[-m[-f]] -B[-m[-g]]",
                                         "-A[-m[-f]] -_tr(\"A\")[-_tr(\"m\")[-_tr(\"f\")]]",
                                         "-A[-m[-f -g]] -A[-m[-f]]", "-A[-m[-f] -m[-f] -n[-f]]"));

} // namespace
