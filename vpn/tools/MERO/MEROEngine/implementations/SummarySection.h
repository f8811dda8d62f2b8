#pragma once

#include "Common/Utility/files/ByteSpool.h"
#include "tools/MERO/MEROEngine/implementations/BundleText.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"

#include <cstddef>
#include <list>
#include <string>
#include <vector>

/// The text that summary.txt gets of one configuration, made of the summary tree of its collector. Rows of
/// its tables can be made before the others are known, and leave the tree then. Used on the collector's
/// thread.
class SummarySection {
public:
    /// No rows are made ahead.
    SummarySection() = default;
    /// @param spoolFolder  where more than some of the rows are kept, see ByteSpool.
    explicit SummarySection(const std::string& spoolFolder)
        : m_includedRows(spoolFolder), m_omittedRows(spoolFolder) {}

    /// Makes the rows of all files that are in the tree, and takes these out of it.
    void takeRows(MEROXmlObject& tree);
    /// What stands before the first section: the heading, and the lines on the run.
    /// @param tree  as for text.
    [[nodiscard]] static std::string head(const MEROXmlObject* tree);
    /// The section: its title, the files of the bundle, those that it lacks and the notes.
    /// @param tree  what isn't taken yet; null, or without a root, has no entries.
    /// @return views into this object.
    [[nodiscard]] std::vector<bundleText::Piece> text(const MEROXmlObject* tree,
                                                      const std::string& title) const;

private:
    ByteSpool m_includedRows{std::string()};
    ByteSpool m_omittedRows{std::string()};
};
