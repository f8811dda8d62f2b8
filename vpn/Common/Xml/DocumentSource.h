#pragma once

#include "Common/Utility/memory/Handles.h"

#include <libxml/parser.h>
#include <string>

/// What one parse may read. While an object of this class lives, libxml2 gets on this thread the one file
/// named here, and nothing else: no URL, no catalogue, no external entity, no decompression. Other threads,
/// and other users of libxml2 in the process, notice nothing.
///
/// The path is taken as it stands: "http://..." names a folder "http:", "%41" is three characters. Only
/// regular files are read, so that reading never blocks. Once the document is known to be malformed nothing
/// more of its file is read, so that one of a terabyte is soon given up.
class DocumentSource {
public:
    /// A document in memory: nothing at all may be loaded.
    DocumentSource() noexcept;
    /// @param path  the file to give out, once; must outlive the object.
    explicit DocumentSource(const std::string& path) noexcept;
    ~DocumentSource();
    DocumentSource(const DocumentSource&) = delete;
    DocumentSource& operator=(const DocumentSource&) = delete;

    /// Readies libxml2 for use by any number of threads; to be called ahead of the first object. Any thread.
    static void initializeLibrary();

    /// True if the file could not be read to its end; logged where it happened.
    [[nodiscard]] bool readFailed() const noexcept { return m_readFailed; }

private:
    static xmlParserInputPtr load(const char* url, const char* id, xmlParserCtxtPtr context) noexcept;
    static int read(void* source, char* buffer, int size) noexcept;

    xmlParserInputPtr openInput(const char* url, xmlParserCtxtPtr context);
    [[nodiscard]] FileDescriptor openFile() const;
    int readFile(char* buffer, int size);

    DocumentSource* m_pOuter;
    const std::string* m_pPath = nullptr;
    /// The parser that reads the file; libxml2's.
    xmlParserCtxtPtr m_pParser = nullptr;
    FileDescriptor m_file;
    bool m_readFailed = false;
};
