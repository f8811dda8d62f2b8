#pragma once

#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlMgr.h"

#include <list>
#include <memory>
#include <string>

inline constexpr int kLoadText = 0;
inline constexpr int kLoadFile = 1;
inline constexpr int kLoadFolder = 2;

/// Turns a text, a file or a folder of configuration files into trees. One loader per document or folder;
/// used by one thread.
///
/// A tree of a text or a file is the loader's, and goes with it: such a loader serves one load, since a
/// second one would go on in the same tree. The trees of a folder are the caller's, who deletes each; a list
/// that had trees before keeps them, and they stay whose they were.
class MEROXmlLoader {
public:
    MEROXmlLoader();
    ~MEROXmlLoader();
    MEROXmlLoader(const MEROXmlLoader&) = delete;
    MEROXmlLoader& operator=(const MEROXmlLoader&) = delete;

    /// @param source  the document (mode 0), a file path (mode 1), or a folder ending in "/" (mode 2).
    /// @param trees   gets the good trees appended, also those before a failure; owned as told above.
    /// @return `trees`, or null for a parse failure, for a folder without a good file, or for another mode.
    [[nodiscard]] std::list<MEROXmlObject*>* load(const std::string& source, int mode,
                                                  std::list<MEROXmlObject*>& trees);
    /// Full paths of the files that failed in the last folder load.
    [[nodiscard]] std::list<std::string> getFailedFiles() const { return m_failedFiles; }
    /// True if the last load delivered at least one tree.
    [[nodiscard]] bool isLoaded() const { return m_loaded; }

private:
    /// @return true if a tree was appended.
    [[nodiscard]] bool loadDocument(const std::string& source, int mode, std::list<MEROXmlObject*>& trees);
    [[nodiscard]] bool loadFolder(const std::string& folder, std::list<MEROXmlObject*>& trees);

    std::unique_ptr<MEROXmlMgr> m_mgr;
    bool m_loaded = false;
    std::list<std::string> m_failedFiles;
};
