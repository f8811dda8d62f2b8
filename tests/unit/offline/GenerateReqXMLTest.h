#pragma once

#include "tests/unit/offline/RecordingWindow.h"
#include "tools/MERO/MEROOffline/Common/GenerateReqXML.h"

#include <algorithm>
#include <memory>
#include <string>

/// Fixture whose requests stand in the private folder.
class RequestWriterTest : public OfflineTest {
protected:
    /// Adds a file to the last module.
    void addFile(const std::string& id, uint32_t selected = 1) {
        FileItem file;
        file.m_id = id;
        file.m_selected = selected;
        m_window.m_roots.back().m_modules.back().m_files.push_back(file);
    }

    /// Adds a module without files in a root of its own.
    void addModule(uint32_t selected = 1) {
        m_window.m_roots.push_back({.m_name = "root", .m_modules = {}});
        m_window.m_roots.back().m_modules.push_back(
            {.m_name = "module", .m_selected = selected, .m_files = {}});
    }

    /// Makes the writer that m_path is the request of.
    GenerateReqXML& makeWriter(CMEROClientIfc* client, const std::string& stem) {
        m_writer = std::make_unique<GenerateReqXML>(client, nullptr, stem);
        m_path = m_writer->getRequestPath();
        return *m_writer;
    }
    GenerateReqXML& makeWriter() { return makeWriter(&m_window, path("Request")); }

    /// The document that a new writer makes.
    std::string written() {
        makeWriter().run();
        return readFile(m_path);
    }

    /// The same without the head.
    std::string body() {
        const std::string text = written();
        return text.substr(std::min(text.size(), std::size_t{225}));
    }

    /// How many pieces of the document were reported as not written.
    [[nodiscard]] int failedWrites() const {
        return m_log.count('E', "\nInvoked Function: std::fstream::write\n");
    }

    std::unique_ptr<GenerateReqXML> m_writer;
    std::string m_path;
};
