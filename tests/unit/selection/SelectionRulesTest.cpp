#include "tests/unit/selection/SelectionPicture.h"
#include "tests/unit/selection/ValueSelection.h"

#include <gtest/gtest.h>

namespace {

/// Clicks on rows one after the other.
void click(ValueSelection& tree, const std::vector<std::vector<int>>& places) {
    for (const std::vector<int>& place : places) {
        tree.click(place);
    }
}

/// A catalogue in which two keys have one translation.
std::string translated(const std::string& name) {
    const std::string key = textWithoutMarker(name);
    return key == "logs" || key == "journal" ? "Protokolle" : key;
}

// A click on a file.

TEST(SelectionRules, UncheckingAFileKeepsItsModuleWhileAnotherIsChecked) {
    ValueSelection tree("+A[+m[+f +g]]");
    tree.click({0, 0, 0});
    EXPECT_EQ(tree.shown(), "+A[+m[-f +g]]");
    EXPECT_EQ(tree.stored(), "+A[+m[+f +g]]");
}

TEST(SelectionRules, UncheckingTheLastFileUnchecksModuleAndRootButNotTheirRecords) {
    ValueSelection tree("+A[+m[+f +g]]");
    click(tree, {{0, 0, 0}, {0, 0, 1}});
    EXPECT_EQ(tree.shown(), "-A[-m[-f -g]]");
    EXPECT_EQ(tree.stored(), "+A[+m[+f +g]]");
}

TEST(SelectionRules, UncheckingTheLastFileKeepsTheRootOfAnotherCheckedModule) {
    ValueSelection tree("+A[+m[+f] +n[+g]]");
    tree.click({0, 0, 0});
    EXPECT_EQ(tree.shown(), "+A[-m[-f] +n[+g]]");
}

TEST(SelectionRules, UncheckingAFileChecksTheRootOfACheckedModule) {
    ValueSelection tree("+A[+m[+f +g]]");
    tree.showRows("-A[+m[+f +g]]");
    tree.click({0, 0, 0});
    EXPECT_EQ(tree.shown(), "+A[+m[-f +g]]");
}

TEST(SelectionRules, UncheckingAFileUnchecksTheRootWithoutCheckedModules) {
    ValueSelection tree("+A[-m[+f +g]]");
    tree.click({0, 0, 0});
    EXPECT_EQ(tree.shown(), "-A[-m[-f +g]]");
}

TEST(SelectionRules, UncheckingAFileDoesNotCheckItsModule) {
    ValueSelection tree("-A[-m[+f +g]]");
    tree.click({0, 0, 0});
    EXPECT_EQ(tree.shown(), "-A[-m[-f +g]]");
}

TEST(SelectionRules, CheckingAFileChecksItsModuleAndRootButNotTheirRecords) {
    ValueSelection tree("-A[-m[-f -g] -n[-h]]");
    tree.click({0, 0, 1});
    EXPECT_EQ(tree.shown(), "+A[+m[-f +g] -n[-h]]");
    EXPECT_EQ(tree.stored(), "-A[-m[-f -g] -n[-h]]");
}

TEST(SelectionRules, AFileClickLeavesRowsOfTheSameTextsElsewhere) {
    ValueSelection tree("+A[+m[+f] +m[+f]] +A[+m[+f]]");
    tree.click({0, 0, 0});
    EXPECT_EQ(tree.shown(), "+A[-m[-f] +m[+f]] +A[+m[+f]]");
    EXPECT_EQ(tree.stored(), "+A[+m[+f] +m[+f]] +A[+m[+f]]");
}

// A click on a module.

TEST(SelectionRules, CheckingAModuleRestoresItsStoredFiles) {
    ValueSelection tree("+A[+m[+f -g +h]]");
    click(tree, {{0, 0, 0}, {0, 0, 2}, {0, 0}});
    EXPECT_EQ(tree.shown(), "+A[+m[+f -g +h]]");
    EXPECT_EQ(tree.stored(), "+A[+m[+f -g +h]]");
}

TEST(SelectionRules, CheckingAModuleWithoutStoredFilesChecksAll) {
    ValueSelection tree("-A[-m[-f -g] -n[-h]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "+A[+m[+f +g] -n[-h]]");
    EXPECT_EQ(tree.stored(), "-A[-m[-f -g] -n[-h]]");
}

TEST(SelectionRules, CheckingAModuleGoesByStoredFilesAndNotByTheStoredModule) {
    ValueSelection tree("+A[+m[-f -g] -n[+h -i]]");
    tree.showRows("-A[-m[-f -g] -n[-h -i]]");
    click(tree, {{0, 0}, {0, 1}});
    EXPECT_EQ(tree.shown(), "+A[+m[+f +g] +n[+h -i]]");
}

TEST(SelectionRules, RestoringAModuleUnchecksWhatIsNotStored) {
    ValueSelection tree("-A[-m[+f -g]]");
    tree.showRows("-A[-m[-f +g]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "+A[+m[+f -g]]");
}

TEST(SelectionRules, UncheckingAModuleWipesWhatIsStoredSoThatTheNextCheckChecksAll) {
    ValueSelection tree("+A[+m[+f -g] +n[+h]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "+A[-m[-f -g] +n[+h]]");
    EXPECT_EQ(tree.stored(), "+A[-m[-f -g] +n[+h]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "+A[+m[+f +g] +n[+h]]");
    EXPECT_EQ(tree.stored(), "+A[-m[-f -g] +n[+h]]");
}

TEST(SelectionRules, UncheckingTheLastModuleUnchecksTheRootButNotItsRecord) {
    ValueSelection tree("+A[+m[+f] -n[-g]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "-A[-m[-f] -n[-g]]");
    EXPECT_EQ(tree.stored(), "+A[-m[-f] -n[-g]]");
}

TEST(SelectionRules, UncheckingAModuleDoesNotCheckARootOfCheckedModules) {
    ValueSelection tree("-A[+m[+f] +n[+g]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "-A[-m[-f] +n[+g]]");
}

TEST(SelectionRules, UncheckingAModuleStoresAllModulesOfTheRootButFilesOfItsOwnOnly) {
    ValueSelection tree("+A[+m[+f] +n[+g] -o[-h -i]]");
    click(tree, {{0, 1, 0}, {0, 2, 1}, {0, 0}});
    EXPECT_EQ(tree.shown(), "+A[-m[-f] -n[-g] +o[-h +i]]");
    EXPECT_EQ(tree.stored(), "+A[-m[-f] -n[+g] +o[-h -i]]");
}

TEST(SelectionRules, UncheckingAModuleLeavesTheModulesOfOtherRootsAsStored) {
    ValueSelection tree("+A[+m[+f]] -B[-n[-g]]");
    click(tree, {{1, 0, 0}, {0, 0}});
    EXPECT_EQ(tree.shown(), "-A[-m[-f]] +B[+n[+g]]");
    EXPECT_EQ(tree.stored(), "+A[-m[-f]] -B[-n[-g]]");
}

// Modules without files, which are treated as the files of their root.

TEST(SelectionRules, AModuleWithoutFilesChecksAndUnchecksItsRoot) {
    ValueSelection tree("-A[-m -n]");
    tree.click({0, 1});
    EXPECT_EQ(tree.shown(), "+A[-m +n]");
    tree.click({0, 0});
    tree.click({0, 1});
    EXPECT_EQ(tree.shown(), "+A[+m -n]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "-A[-m -n]");
    EXPECT_EQ(tree.stored(), "-A[-m -n]");
}

TEST(SelectionRules, UncheckingAModuleWithoutFilesStoresNothing) {
    ValueSelection tree("+A[+m +n[+f]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "+A[-m +n[+f]]");
    EXPECT_EQ(tree.stored(), "+A[+m +n[+f]]");
}

TEST(SelectionRules, UncheckingAModuleWithoutFilesDoesNotCheckARootOfCheckedModules) {
    ValueSelection tree("-A[+m +n[+f]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "-A[-m +n[+f]]");
}

// A click on a root.

TEST(SelectionRules, CheckingARootWithStoredModulesRestoresThemAndTheirFiles) {
    ValueSelection tree("+A[+m[+f -g] -n[-h]]");
    tree.click({0, 0, 0});
    ASSERT_EQ(tree.shown(), "-A[-m[-f -g] -n[-h]]");
    tree.click({0});
    EXPECT_EQ(tree.shown(), "+A[+m[+f -g] -n[-h]]");
    EXPECT_EQ(tree.stored(), "+A[+m[+f -g] -n[-h]]");
}

TEST(SelectionRules, CheckingARootRestoresFilesOfModulesThatAreNotStored) {
    ValueSelection tree("-A[+m[-f] -n[+g -h]]");
    tree.showRows("-A[-m[+f] +n[-g +h]]");
    tree.click({0});
    EXPECT_EQ(tree.shown(), "+A[+m[-f] -n[+g -h]]");
}

TEST(SelectionRules, CheckingARootWithoutStoredModulesChecksEverythingBelowIt) {
    ValueSelection tree("-A[-m[-f -g] -n -o[-h]] -B[-p[-i]]");
    tree.click({0});
    EXPECT_EQ(tree.shown(), "+A[+m[+f +g] +n +o[+h]] -B[-p[-i]]");
    EXPECT_EQ(tree.stored(), "-A[-m[-f -g] -n -o[-h]] -B[-p[-i]]");
}

TEST(SelectionRules, CheckingARootGoesByStoredModulesAndNotByFilesOrItsOwnRecord) {
    ValueSelection tree("+A[-m[+f -g]]");
    tree.showRows("-A[-m[-f -g]]");
    tree.click({0});
    EXPECT_EQ(tree.shown(), "+A[+m[+f +g]]");
}

TEST(SelectionRules, UncheckingARootWipesWhatIsStoredSoThatTheNextCheckChecksAll) {
    ValueSelection tree("+A[+m[+f -g] -n[-h]] +B[+o[+i]]");
    tree.click({0});
    EXPECT_EQ(tree.shown(), "-A[-m[-f -g] -n[-h]] +B[+o[+i]]");
    EXPECT_EQ(tree.stored(), "+A[-m[-f -g] -n[-h]] +B[+o[+i]]");
    tree.click({0});
    EXPECT_EQ(tree.shown(), "+A[+m[+f +g] +n[+h]] +B[+o[+i]]");
}

TEST(SelectionRules, ARootWithoutModulesIsCheckedAndUncheckedAlone) {
    ValueSelection tree("-A -B[-m[-f]]");
    tree.click({0});
    EXPECT_EQ(tree.shown(), "+A -B[-m[-f]]");
    tree.click({0});
    EXPECT_EQ(tree.shown(), "-A -B[-m[-f]]");
    EXPECT_EQ(tree.stored(), "-A -B[-m[-f]]");
}

TEST(SelectionRules, NeverStoreARootOnAClick) {
    ValueSelection tree("-A[-m[-f]] +B[+n[+g]]");
    click(tree, {{0}, {1}, {0, 0}, {0, 0}, {1, 0}, {1, 0, 0}});
    EXPECT_EQ(tree.stored(), "-A[-m[-f]] +B[-n[-g]]");
}

TEST(SelectionRules, HoldForATreeOfOneRootAsForMore) {
    ValueSelection tree("+A[+m[+f]]");
    tree.click({0});
    EXPECT_EQ(tree.shown(), "-A[-m[-f]]");
    tree.click({0, 0, 0});
    EXPECT_EQ(tree.shown(), "+A[+m[+f]]");
}

TEST(SelectionRules, NeitherReadNorWriteTheDefaults) {
    std::list<RootItem> records = recordsOf("-A[-m[-f -g]]");
    ModuleItem& module = records.front().m_modules.front();
    module.m_files.front().m_default = 1;
    module.m_default = 1;
    ValueSelection tree(records);
    click(tree, {{0, 0}, {0, 0}, {0, 0}});
    EXPECT_EQ(tree.shown(), "+A[+m[+f +g]]");
    tree.store();
    const ModuleItem& after = tree.records().front().m_modules.front();
    EXPECT_EQ(after.m_default, 1U);
    EXPECT_EQ(after.m_files.front().m_default, 1U);
    EXPECT_EQ(after.m_files.back().m_default, 0U);
    EXPECT_EQ(tree.records().front().m_default, 0U);
}

TEST(SelectionRules, GoByWhatTheCheckBoxShowed) {
    ValueSelection tree("+A[+m[+f -g]]");
    tree.clickShowing({0, 0, 0}, false);
    EXPECT_EQ(tree.shown(), "+A[+m[+f -g]]");
    tree.clickShowing({0, 0, 1}, true);
    EXPECT_EQ(tree.shown(), "+A[+m[+f -g]]");
    tree.showRows("+A[+m[-f -g]]");
    tree.clickShowing({0, 0}, false);
    EXPECT_EQ(tree.shown(), "+A[+m[+f -g]]");
    tree.showRows("-A[-m[+f -g]]");
    tree.clickShowing({0}, true);
    EXPECT_EQ(tree.shown(), "-A[-m[-f -g]]");
    EXPECT_EQ(tree.stored(), "+A[-m[-f -g]]");
}

// Equal texts.

TEST(SelectionRules, EqualFilesOfAModuleAreRestoredFromTheFirst) {
    ValueSelection tree("-A[-m[-f +f]]");
    tree.showRows("-A[-m[+f +f]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "+A[+m[-f -f]]");
}

TEST(SelectionRules, EqualFilesOfAModuleAreAllStoredInTheFirst) {
    ValueSelection tree("+A[+m[-f +f]]");
    tree.showRows("+A[+m[+f -f]]");
    tree.store();
    EXPECT_EQ(tree.stored(), "+A[+m[-f +f]]");
    tree.showRows("+A[+m[-f +f]]");
    tree.store();
    EXPECT_EQ(tree.stored(), "+A[+m[+f +f]]");
}

TEST(SelectionRules, UncheckingAModuleLeavesTheSecondOfEqualFilesStored) {
    ValueSelection tree("+A[+m[+f +f]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "-A[-m[-f -f]]");
    EXPECT_EQ(tree.stored(), "+A[-m[-f +f]]");
    // Something is stored, so the check restores, and the first one decides.
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "+A[+m[-f -f]]");
}

TEST(SelectionRules, FilesAreEqualWithTheMarkerAndWithout) {
    ValueSelection tree("+A[+m[+_tr(\"f\") -f]]");
    tree.showRows("-A[-m[-f -f]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "+A[+m[+f +f]]");
}

TEST(SelectionRules, FilesAreEqualWhoseLabelsAreTranslatedAlike) {
    ValueSelection tree("+A[+m[+_tr(\"logs\") -_tr(\"journal\")]]", &translated);
    tree.click({0, 0, 0});
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "+A[+m[+Protokolle +Protokolle]]");
}

TEST(SelectionRules, EqualModulesOfARootAreAllStoredInTheFirst) {
    ValueSelection tree("+A[+m[+f] +m[+g]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "+A[-m[-f] +m[+g]]");
    EXPECT_EQ(tree.stored(), "+A[+m[-f] +m[+g]]");
    tree.click({0, 1});
    EXPECT_EQ(tree.shown(), "-A[-m[-f] -m[-g]]");
    EXPECT_EQ(tree.stored(), "+A[-m[-f] +m[-g]]");
}

TEST(SelectionRules, UncheckingAModuleStoresTheFilesOfAllEqualOnesInTheRoot) {
    ValueSelection tree("+A[+m[+f] -m[-g] +n[+h]]");
    click(tree, {{0, 1, 0}, {0, 2, 0}, {0, 0}});
    EXPECT_EQ(tree.shown(), "+A[-m[-f] +m[+g] -n[-h]]");
    EXPECT_EQ(tree.stored(), "+A[+m[-f] -m[+g] -n[+h]]");
}

TEST(SelectionRules, CheckingAModuleGoesByTheFilesOfAllEqualOnes) {
    ValueSelection tree("-A[-m[-f] -m[+g]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "+A[+m[-f] -m[+g]]");
}

TEST(SelectionRules, EqualModulesOfARootAreRestoredFromTheFirst) {
    ValueSelection tree("-A[-m[-f] +m[+f]]");
    tree.click({0});
    EXPECT_EQ(tree.shown(), "+A[-m[+f] -m[+f]]");
}

TEST(SelectionRules, EqualModulesOfTwoRootsShareTheirFilesAndTheLastDecides) {
    ValueSelection tree("-A[-m[-f]] -B[-m[+f]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "+A[+m[+f]] -B[-m[+f]]");

    ValueSelection other("-A[-m[+f]] -B[-m[-f]]");
    other.click({0, 0});
    EXPECT_EQ(other.shown(), "+A[+m[-f]] -B[-m[-f]]");
}

TEST(SelectionRules, UncheckingAModuleWipesTheFilesOfEqualOnesInOtherRootsButNotTheModules) {
    ValueSelection tree("+A[+m[+f]] +B[+m[+f +g]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "-A[-m[-f]] +B[+m[+f +g]]");
    EXPECT_EQ(tree.stored(), "+A[-m[-f]] +B[+m[-f +g]]");
}

TEST(SelectionRules, UncheckingARootWipesTheFilesOfEqualModulesInOtherRoots) {
    ValueSelection tree("+A[+m[+f]] +B[+m[+f]]");
    tree.click({0});
    EXPECT_EQ(tree.shown(), "-A[-m[-f]] +B[+m[+f]]");
    EXPECT_EQ(tree.stored(), "+A[-m[-f]] +B[+m[-f]]");
}

TEST(SelectionRules, ModulesAreEqualWithTheMarkerAndWithout) {
    ValueSelection tree("+A[+m[+f] +n[+g]] +B[+_tr(\"m\")[+f]]");
    tree.click({1, 0});
    EXPECT_EQ(tree.shown(), "+A[+m[+f] +n[+g]] -B[-m[-f]]");
    EXPECT_EQ(tree.stored(), "+A[+m[-f] +n[+g]] +B[-_tr(\"m\")[-f]]");
}

TEST(SelectionRules, ModulesAreEqualWhoseTitlesAreTranslatedAlike) {
    ValueSelection tree("+A[+logs[+f]] +B[+journal[+f]]", &translated);
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "-A[-Protokolle[-f]] +B[+Protokolle[+f]]");
    EXPECT_EQ(tree.stored(), "+A[-logs[-f]] +B[+journal[-f]]");
}

TEST(SelectionRules, UncheckingOneOfTwoEqualRootsKeepsTheModulesOfTheOther) {
    ValueSelection tree("+A[+m[+f]] +_tr(\"A\")[+n[+g]]");
    tree.click({0});
    EXPECT_EQ(tree.shown(), "-A[-m[-f]] +A[+n[+g]]");
    EXPECT_EQ(tree.stored(), "+A[-m[-f]] +_tr(\"A\")[+n[+g]]");
    // A module of the other is stored, so the check restores, and there is nothing to restore here.
    tree.click({0});
    EXPECT_EQ(tree.shown(), "+A[-m[-f]] +A[+n[+g]]");
}

TEST(SelectionRules, UncheckingOneOfTwoEqualRootsWipesModulesOfOneTitleInBoth) {
    ValueSelection tree("+A[+m[+f]] +_tr(\"A\")[+m[+f]]");
    tree.click({1});
    EXPECT_EQ(tree.shown(), "+A[+m[+f]] -A[-m[-f]]");
    EXPECT_EQ(tree.stored(), "+A[-m[-f]] +_tr(\"A\")[-m[-f]]");
}

TEST(SelectionRules, EqualRootsRestoreAModuleFromTheLastThatHasIt) {
    ValueSelection tree("-A[+m[+f] -n[-g]] -_tr(\"A\")[-m[-f]]");
    tree.showRows("-A[+m[+f] +n[+g]] -A[-m[-f]]");
    tree.click({0});
    EXPECT_EQ(tree.shown(), "+A[-m[-f] -n[-g]] -A[-m[-f]]");
}

TEST(SelectionRules, RootsAreEqualWhoseNamesAreTranslatedAlike) {
    ValueSelection tree("-journal[-m[-f]] -logs[+n[+g]]", &translated);
    tree.click({0});
    EXPECT_EQ(tree.shown(), "+Protokolle[-m[-f]] -Protokolle[+n[+g]]");
}

TEST(SelectionRules, RootsModulesAndFilesOfOneTextAreNotMixedUp) {
    ValueSelection tree("+A[+A[+A]] +B[+B[+A]]");
    tree.click({0});
    EXPECT_EQ(tree.shown(), "-A[-A[-A]] +B[+B[+A]]");
    EXPECT_EQ(tree.stored(), "+A[-A[-A]] +B[+B[+A]]");
}

TEST(SelectionRules, EmptyTextsAreTextsLikeAnyOther) {
    ValueSelection tree("+[+[+ +]] +[+[+]]");
    tree.click({0, 0});
    EXPECT_EQ(tree.shown(), "-[-[- -]] +[+[+]]");
    EXPECT_EQ(tree.stored(), "+[-[- +]] +[-[-]]");
}

// Storing all.

TEST(SelectionRules, StoreAllLevelsAsShown) {
    ValueSelection tree("-A[-m[-f +g] +n[+h]] +B[+o +p[+i]]");
    const std::string rows = "+A[+m[+f -g] -n[+h]] -B[+o -p[-i]]";
    tree.showRows(rows);
    tree.store();
    EXPECT_EQ(tree.shown(), rows);
    EXPECT_EQ(tree.stored(), rows);
}

TEST(SelectionRules, StoreAnEmptyTree) {
    ValueSelection tree("");
    tree.store();
    EXPECT_EQ(tree.shown(), "");
    EXPECT_EQ(tree.stored(), "");
}

TEST(SelectionRules, StoreAnEmptySelection) {
    ValueSelection tree("+A[+m[+f]]");
    click(tree, {{0, 0, 0}});
    tree.store();
    EXPECT_EQ(tree.stored(), "-A[-m[-f]]");
}

TEST(SelectionRules, WhatWasStoredIsWhatTheNextCheckRestores) {
    ValueSelection tree("-A[-m[-f -g -h]]");
    tree.click({0, 0, 1});
    tree.store();
    click(tree, {{0, 0, 1}, {0, 0}});
    EXPECT_EQ(tree.shown(), "+A[+m[-f +g -h]]");
}

TEST(SelectionRules, StoreEqualModulesOfARootAsTheLastOfThem) {
    ValueSelection tree("-A[-m[-f] -m[-f]]");
    tree.showRows("-A[-m[-f] +m[+f]]");
    tree.store();
    EXPECT_EQ(tree.stored(), "-A[+m[+f] +m[+f]]");
    tree.showRows("-A[+m[+f] -m[-f]]");
    tree.store();
    EXPECT_EQ(tree.stored(), "-A[-m[-f] -m[-f]]");
}

TEST(SelectionRules, StoreTheFilesOfEqualModulesInAllRootsAsTheLastOfThem) {
    ValueSelection tree("+A[+m[+f +g]] +B[+m[+f]]");
    tree.showRows("+A[+m[-f -g]] +B[-m[+f]]");
    tree.store();
    EXPECT_EQ(tree.stored(), "+A[+m[+f -g]] +B[-m[+f]]");
}

TEST(SelectionRules, StoreEqualRootsInTheFirstAsTheLastOfThem) {
    ValueSelection tree("-A -_tr(\"A\") -A");
    tree.showRows("-A -A +A");
    tree.store();
    EXPECT_EQ(tree.stored(), "+A -_tr(\"A\") -A");
}

TEST(SelectionRules, StoreNoModuleOfASecondEqualRootThatTheFirstLacks) {
    ValueSelection tree("-A[-m[-f]] -_tr(\"A\")[-n[-g]]");
    tree.showRows("-A[-m[-f]] +A[+n[+g]]");
    tree.store();
    EXPECT_EQ(tree.stored(), "+A[-m[-f]] -_tr(\"A\")[-n[-g]]");
}

TEST(SelectionRules, StoreAModuleOfASecondEqualRootInTheFirstAndItsFilesInBoth) {
    ValueSelection tree("-A[-m[-f]] -_tr(\"A\")[-m[-f -g]]");
    tree.showRows("-A[-m[-f]] -A[+m[+f +g]]");
    tree.store();
    EXPECT_EQ(tree.stored(), "-A[+m[+f]] -_tr(\"A\")[-m[+f +g]]");
}

TEST(SelectionRules, StoreAModuleThatOnlyASecondEqualRootHasWhenAnotherRootSharesItsTitle) {
    ValueSelection tree("-A[-m[-f]] -_tr(\"A\")[-n[-g]] -B[-n[-g]]");
    tree.showRows("-A[-m[-f]] +A[+n[+g]] -B[+n[+g]]");
    tree.store();
    EXPECT_EQ(tree.stored(), "+A[-m[-f]] -_tr(\"A\")[-n[+g]] -B[+n[+g]]");
}

} // namespace
