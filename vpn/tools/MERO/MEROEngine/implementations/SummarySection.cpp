#include "tools/MERO/MEROEngine/implementations/SummarySection.h"

#include "tools/MERO/MEROEngine/implementations/helperUtil/SummaryEntries.h"
#include "tools/MERO/MEROEngine/implementations/parser/AttributeText.h"

namespace {

constexpr std::size_t kLabelWidth = 30;
constexpr std::size_t kOmittedLine = 141;

/// A table of files between two lines of dashes.
struct Table {
    const char* part;
    const char* lastAttribute;
    bundleText::Cells heads;
    bundleText::Widths widths;
    std::size_t lineWidth;
};

constexpr Table kIncluded{helperUtil::kIncludedPart, "file_size",
                          bundleText::Cells{"ID", "Filename", "Description", "File Size"},
                          bundleText::kIncludedWidths, 101};
constexpr Table kOmitted{helperUtil::kOmittedPart, "reason",
                         bundleText::Cells{"ID", "Filename", "Description", "Reason Omitted"},
                         bundleText::kOmittedWidths, kOmittedLine};

/// One part of the tree; null if it is missing.
MEROComponent* partOf(const MEROXmlObject* tree, const char* part) {
    return tree == nullptr || tree->GetRoot() == nullptr ? nullptr : tree->GetRoot()->findOwnChild(part);
}

/// The entries of one part of the tree; none if it is missing.
std::list<MEROComponent*> entriesOf(const MEROXmlObject* tree, const char* part) {
    const MEROComponent* parent = partOf(tree, part);
    return parent == nullptr ? std::list<MEROComponent*>() : parent->getChildren();
}

std::string dashesOf(const Table& table) {
    return std::string(table.lineWidth, '-') + "\n";
}

std::string headOf(const Table& table) {
    return bundleText::row(table.heads, table.widths) + dashesOf(table);
}

std::string rowsOf(const Table& table, const MEROXmlObject* tree) {
    std::string text;
    for (const MEROComponent* entry : entriesOf(tree, table.part)) {
        const std::string description = attributeOf(*entry, "description");
        const std::string last = attributeOf(*entry, table.lastAttribute);
        text += bundleText::row({entry->getName(), entry->getValue(), description, last}, table.widths);
    }
    return text;
}

void moveRows(const Table& table, MEROXmlObject& tree, ByteSpool& rows) {
    rows.append(rowsOf(table, &tree));
    MEROComponent* part = partOf(&tree, table.part);
    for (MEROComponent* entry : entriesOf(&tree, table.part)) {
        tree.removeComponent(part, entry);
    }
}

std::string notesOf(const MEROXmlObject* tree) {
    const std::list<MEROComponent*> notes = entriesOf(tree, helperUtil::kNotesPart);
    std::string text = notes.empty() ? "" : "\n\nNotes:\n";
    for (const MEROComponent* note : notes) {
        text += note->getName() + note->getValue() + "\n";
    }
    return text;
}

} // namespace

void SummarySection::takeRows(MEROXmlObject& tree) {
    moveRows(kIncluded, tree, m_includedRows);
    moveRows(kOmitted, tree, m_omittedRows);
}

std::string SummarySection::head(const MEROXmlObject* tree) {
    const MEROComponent* root = tree == nullptr ? nullptr : tree->GetRoot();
    std::string text = (root == nullptr ? std::string() : root->getValue()) + "\n";
    for (const MEROComponent* line : entriesOf(tree, helperUtil::kMainInfoPart)) {
        text += bundleText::cell(line->getName(), kLabelWidth) + line->getValue() + "\n";
    }
    return text;
}

std::vector<bundleText::Piece> SummarySection::text(const MEROXmlObject* tree,
                                                    const std::string& title) const {
    std::vector<bundleText::Piece> pieces;
    pieces.push_back({"\n" + std::string(kOmittedLine, '=') + "\n" + title +
                          ":\n\nFiles Included in Bundle:\n" + headOf(kIncluded),
                      &m_includedRows});
    pieces.push_back({rowsOf(kIncluded, tree) + dashesOf(kIncluded)});
    const std::string omitted = rowsOf(kOmitted, tree);
    if (!omitted.empty() || m_omittedRows.size() != 0) {
        pieces.push_back({"\n\nFiles Omitted from Bundle:\n" + headOf(kOmitted), &m_omittedRows});
        pieces.push_back({omitted + dashesOf(kOmitted)});
    }
    pieces.push_back({notesOf(tree)});
    return pieces;
}
