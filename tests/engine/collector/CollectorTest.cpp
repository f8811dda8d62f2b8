#include "tests/engine/collector/CollectorTest.h"

CollectorTest::CollectorTest() : m_bundle(makeFolder("bundle")) {}

MEROXmlObject* CollectorTest::parse(const std::string& xml) {
    std::list<MEROXmlObject*> trees;
    EXPECT_NE(m_loaders.emplace_back().load(xml, kLoadText, trees), nullptr) << xml;
    return trees.empty() ? nullptr : trees.front();
}

MEROComponent* CollectorTest::node(const std::string& xml, const std::string& name) {
    std::list<MEROComponent*> found;
    parse(xml)->findAllByName(name, found);
    EXPECT_FALSE(found.empty()) << xml;
    return found.empty() ? nullptr : found.front();
}

void CollectorTest::setRequest(const std::string& xml) {
    m_request = parse(xml);
    m_unprocessed.clear();
    for (MEROComponent* child : m_request->GetRoot()->getChildren()) {
        if (child->getName() == "file") {
            m_unprocessed.push_back(child);
        }
    }
}

collector& CollectorTest::makeCollector() {
    m_collector = std::make_unique<collector>(m_request, m_unprocessed, m_target, m_includeLegacyTree,
                                              m_collectSystemLogs);
    return *m_collector;
}

uint32_t CollectorTest::collect(const std::string& groups) {
    return makeCollector().Collect(m_bundle, parse("<configure>" + groups + "</configure>"));
}

std::string CollectorTest::item(const std::string& id, const std::string& path,
                                const std::string& isDefault) {
    return "<file id=\"" + id + "\"><default>" + isDefault + "</default><description>about " + id +
           "</description><mero><os opsys=\"linux\"><file_copy_action><action><loc>" + path +
           "</loc></action></file_copy_action></os></mero></file>";
}

std::string CollectorTest::logItem(const std::string& id, const std::string& isDefault) const {
    return item(id, writeFile("logs/" + id + ".log", id), isDefault);
}

std::string CollectorTest::request(const std::vector<std::string>& ids, const std::string& more) {
    std::string text = "<request>";
    for (const std::string& id : ids) {
        text += "<file id=\"" + id + "\"></file>";
    }
    return text + more + "</request>";
}

std::vector<std::string> CollectorTest::processed() const {
    const std::string start = "Processing about ";
    std::vector<std::string> ids;
    for (const std::string& message : m_listener.messages()) {
        if (message.starts_with(start)) {
            ids.push_back(message.substr(start.size(), message.size() - start.size() - 3));
        }
    }
    return ids;
}

std::vector<std::string> CollectorTest::unprocessed() const {
    return idsOf(m_unprocessed);
}

std::vector<std::string> idsOf(const std::list<MEROComponent*>& components) {
    std::vector<std::string> ids;
    for (const MEROComponent* component : components) {
        const MEROAttribute* id = component->FindAttribute("id");
        ids.push_back(id == nullptr ? "-" : id->getValue());
    }
    return ids;
}
