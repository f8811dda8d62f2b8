#pragma once

#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"

#include <list>
#include <string>

/// The text that summary.txt gets of one configuration, made of the summary tree of its collector. Used on
/// the collector's thread.
class SummarySection {
public:
    /// @param tree  not owned, read at each call; null, or without a root, has no entries.
    explicit SummarySection(const MEROXmlObject* tree) : m_tree(tree) {}

    /// What stands before the first section: the heading, and the lines on the run.
    [[nodiscard]] std::string head() const;
    /// The section: its title, the files of the bundle, those that it lacks and the notes.
    [[nodiscard]] std::string text(const std::string& title) const;

private:
    [[nodiscard]] std::string includedText() const;
    [[nodiscard]] std::string omittedText() const;
    [[nodiscard]] std::string notesText() const;
    /// The entries of one part of the tree; none if it is missing.
    [[nodiscard]] std::list<MEROComponent*> entriesOf(const char* part) const;

    const MEROXmlObject* m_tree;
};
