#pragma once

#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"

#include <cstdint>
#include <list>
#include <string>

/// Reads every configuration file of a folder: those whose name has its first ".xml" at its end. The order is
/// that of the folder. A file that fails to parse costs only itself. A missing folder gives nothing.
class MEROMgr {
public:
    /// Does the whole work.
    /// @param trees   gets one new object per good file, owned by the caller.
    /// @param folder  must end in "/".
    MEROMgr(std::list<MEROXmlObject*>& trees, const std::string& folder);
    virtual ~MEROMgr() = default;

    /// For callers outside of this system: each file's parse result, in the order of parsing.
    [[nodiscard]] std::list<uint32_t> getResults() const { return m_results; }
    /// Full paths of the files that failed, and the folder itself if it could not be read to its end.
    [[nodiscard]] std::list<std::string> getFailedFiles() const { return m_failedFiles; }

private:
    void parseFile(const std::string& path, std::list<MEROXmlObject*>& trees);

    std::list<uint32_t> m_results;
    std::list<std::string> m_failedFiles;
};
