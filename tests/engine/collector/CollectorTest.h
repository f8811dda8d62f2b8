#pragma once

#include "tests/engine/pipeline/RecordingListener.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"
#include "tools/MERO/MEROEngine/implementations/collector.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

/// Fixture for a collector whose bundle folder is `bundle` in the private folder.
class CollectorTest : public Sandbox {
protected:
    CollectorTest();

    /// A document's tree, which lives as long as the fixture.
    MEROXmlObject* parse(const std::string& xml);
    /// The first node of this name in a document with that text.
    MEROComponent* node(const std::string& xml, const std::string& name);
    /// Takes this document as the request and its file entries as unprocessed.
    void setRequest(const std::string& xml);
    /// A new collector on the request, which is empty unless it was set.
    collector& makeCollector();
    /// Runs a new collector over a configuration with this content.
    [[nodiscard]] uint32_t collect(const std::string& groups);
    /// The same, and it must succeed.
    void collectWell(const std::string& groups) { EXPECT_EQ(collect(groups), 0u) << m_log.dump(); }

    /// An item that copies one path; described by "about <id>".
    [[nodiscard]] static std::string item(const std::string& id, const std::string& path,
                                          const std::string& isDefault = "true");
    /// An item whose file holds its own id; it lands under "<id>.log".
    [[nodiscard]] std::string logItem(const std::string& id, const std::string& isDefault = "true") const;
    /// A request for these ids, with `more` at its end.
    [[nodiscard]] static std::string request(const std::vector<std::string>& ids,
                                             const std::string& more = {});
    /// The ids of which processing was reported, in order.
    [[nodiscard]] std::vector<std::string> processed() const;
    /// The ids that are still unprocessed.
    [[nodiscard]] std::vector<std::string> unprocessed() const;
    [[nodiscard]] std::string summary() const { return readFile("bundle/summary.txt"); }

    CapturedLog m_log;
    RecordingListener m_listener;
    MEROXmlObject m_emptyRequest;
    MEROXmlObject* m_request = &m_emptyRequest;
    std::list<MEROComponent*> m_unprocessed;
    std::string m_bundle;
    std::string m_target = "/home/user/out.zip";
    bool m_includeLegacyTree = false;
    bool m_collectSystemLogs = true;
    std::unique_ptr<collector> m_collector;

private:
    std::list<MEROXmlLoader> m_loaders;
};

/// The ids of components, in order; "-" for one without.
[[nodiscard]] std::vector<std::string> idsOf(const std::list<MEROComponent*>& components);
