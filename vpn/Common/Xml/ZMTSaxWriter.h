#pragma once

#include "Common/Xml/SaxWriterIfc.h"

/// Builds a document in memory, in a buffer that is wiped, and writes it to one file. Every opening tag
/// begins a line, without indentation. Text with markup in it stands in CDATA sections, never in entities.
class ZMTSaxWriter : public SaxWriterIfc {
public:
    /// Opens nothing yet.
    /// @param directory  absolute, with its final "/".
    ZMTSaxWriter(std::string directory, std::string fileName, std::string rootName);

    /// Drops what was built before.
    uint32_t startDocument(const XmlAttributes* attributes) override;
    uint32_t startElement(const std::string& name, const XmlAttributes* attributes) override;
    uint32_t characters(const std::string& text) override;
    uint32_t endElement(const std::string& name) override;
    uint32_t endDocument() override;
    /// Makes the folder if it is missing and replaces the content of the file; what is no regular
    /// file is refused without being touched. The buffer stays as it is, and a failed write leaves
    /// what it has written.
    /// @return 0, or GLOBAL_ERROR_UNEXPECTED with the cause in the log.
    [[nodiscard]] uint32_t writeDocument() override;
    [[nodiscard]] const WipedString* getDocumentBuffer() const override;

private:
    WipedString m_buffer;
    std::string m_rootName;
    std::string m_directory;
    std::string m_fileName;
};
