#include "tools/MERO/MEROEngine/implementations/SummarySection.h"

#include "tools/MERO/MEROEngine/implementations/BundleText.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/SummaryEntries.h"
#include "tools/MERO/MEROEngine/implementations/parser/AttributeText.h"

namespace {

constexpr std::size_t kLabelWidth = 30;
constexpr std::size_t kIncludedLine = 101;
constexpr std::size_t kOmittedLine = 141;

/// A table of the entries, between two lines of dashes.
std::string table(const bundleText::Cells& heads, const bundleText::Widths& widths, std::size_t lineWidth,
                  const std::list<MEROComponent*>& entries, const char* lastAttribute) {
    const std::string dashes = std::string(lineWidth, '-') + "\n";
    std::string text = bundleText::row(heads, widths) + dashes;
    for (const MEROComponent* entry : entries) {
        const std::string description = attributeOf(*entry, "description");
        const std::string last = attributeOf(*entry, lastAttribute);
        text += bundleText::row({entry->getName(), entry->getValue(), description, last}, widths);
    }
    return text + dashes;
}

} // namespace

std::string SummarySection::head() const {
    const MEROComponent* root = m_tree == nullptr ? nullptr : m_tree->GetRoot();
    std::string text = (root == nullptr ? std::string() : root->getValue()) + "\n";
    for (const MEROComponent* line : entriesOf(helperUtil::kMainInfoPart)) {
        text += bundleText::cell(line->getName(), kLabelWidth) + line->getValue() + "\n";
    }
    return text;
}

std::string SummarySection::text(const std::string& title) const {
    return "\n" + std::string(kOmittedLine, '=') + "\n" + title + ":\n\n" + includedText() + omittedText() +
           notesText();
}

std::string SummarySection::includedText() const {
    return "Files Included in Bundle:\n" + table({"ID", "Filename", "Description", "File Size"},
                                                 bundleText::kIncludedWidths, kIncludedLine,
                                                 entriesOf(helperUtil::kIncludedPart), "file_size");
}

std::string SummarySection::omittedText() const {
    const std::list<MEROComponent*> entries = entriesOf(helperUtil::kOmittedPart);
    if (entries.empty()) {
        return {};
    }
    return "\n\nFiles Omitted from Bundle:\n" + table({"ID", "Filename", "Description", "Reason Omitted"},
                                                      bundleText::kOmittedWidths, kOmittedLine, entries,
                                                      "reason");
}

std::string SummarySection::notesText() const {
    const std::list<MEROComponent*> notes = entriesOf(helperUtil::kNotesPart);
    std::string text = notes.empty() ? "" : "\n\nNotes:\n";
    for (const MEROComponent* note : notes) {
        text += note->getName() + note->getValue() + "\n";
    }
    return text;
}

std::list<MEROComponent*> SummarySection::entriesOf(const char* part) const {
    if (m_tree == nullptr || m_tree->GetRoot() == nullptr) {
        return {};
    }
    const MEROComponent* parent = m_tree->GetRoot()->findOwnChild(part);
    return parent == nullptr ? std::list<MEROComponent*>() : parent->getChildren();
}
