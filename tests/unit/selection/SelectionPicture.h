#pragma once

#include "tests/unit/selection/ReferenceSelection.h"

#include <list>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

/// Selection trees as text: "+Logs[+Client[+main -trace] -Service[-boot]]" is a root that is selected, with a
/// module that is and one that is not, and so on. Names hold no space and no square bracket.

/// The records that a text shows; ids, defaults and descriptions are made up.
[[nodiscard]] std::list<RootItem> recordsOf(std::string_view picture);
/// Records with their raw names and what is stored in them.
[[nodiscard]] std::string pictureOf(const std::list<RootItem>& records);
/// Rows with their texts and checks.
[[nodiscard]] std::string pictureOf(const std::vector<ReferenceRow>& rows);
/// Records as rows that show their raw names and what is stored in them.
[[nodiscard]] std::vector<ReferenceRow> rowsOf(const std::list<RootItem>& records);
/// How GoogleTest shows a row.
void PrintTo(const ReferenceRow& row, std::ostream* out);
