#pragma once

#include "tests/unit/selection/ReferenceSelection.h"

#include <cstddef>
#include <list>
#include <random>
#include <string>
#include <vector>

/// The selection that a walk compares with the reference.
class WalkedSelection {
public:
    virtual ~WalkedSelection() = default;
    /// A click on a check box, which shows what its row holds.
    virtual void click(const std::vector<int>& path) = 0;
    virtual void store() = 0;
    [[nodiscard]] virtual std::vector<ReferenceRow> rows() const = 0;
    [[nodiscard]] virtual const std::list<RootItem>& records() const = 0;
};

/// A tree with one to four roots of up to four modules of up to five files. The names are few, so that equal
/// ones are frequent, and any of them may carry the marker.
[[nodiscard]] std::list<RootItem> randomTree(std::mt19937& random);
/// The row at this place, which must exist.
[[nodiscard]] const ReferenceRow& rowAt(const std::vector<ReferenceRow>& rows, const std::vector<int>& path);
/// The places of all rows.
[[nodiscard]] std::vector<std::vector<int>> placesOf(const std::vector<ReferenceRow>& rows);

/// Clicks on random rows of both and stores now and then; all checks and all records are compared before the
/// first step and after each. Ends at the first difference, which fails the test with the tree and the steps
/// that lead to it.
/// @param title  where this tree comes from, for that message.
/// @return the number of clicks.
std::size_t walk(WalkedSelection& subject, ReferenceSelection& reference, std::mt19937& random,
                 std::size_t steps, const std::string& title);
