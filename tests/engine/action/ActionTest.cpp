#include "tests/engine/action/ActionTest.h"

#include "tools/MERO/MEROEngine/implementations/MEROCollectLogsAction.h"

#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>

namespace {

std::string attributeOf(const MEROComponent& node, const char* name) {
    const MEROAttribute* attribute = node.FindAttribute(name);
    return attribute == nullptr ? "(no attribute)" : attribute->getValue();
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const OmittedFile& row) {
    return stream << row.id << " | " << row.fileName << " | " << row.description << " | " << row.reason;
}

ActionTest::ActionTest() {
    m_summary.setRootNameValue("summary", "MERO BUNDLE SUMMARY\n");
    m_summary.addComponent(m_summary.GetRoot(), "Manifest_Not_Included",
                           "Files Requested But Not Included In Bundle:");
    m_info.id = "vpn-logs";
    m_info.description = "VPN logs";
    m_info.directory = path("bundle");
    m_info.summary = &m_summary;
}

MEROComponent* ActionTest::parse(const std::string& xml) {
    m_loaders.push_back(std::make_unique<MEROXmlLoader>());
    std::list<MEROXmlObject*> trees;
    if (m_loaders.back()->load(xml, kLoadText, trees) == nullptr || trees.empty()) {
        throw std::invalid_argument("not well-formed: " + xml);
    }
    return trees.front()->GetRoot();
}

MEROXmlObject ActionTest::instruction(const std::string& xml) {
    return MEROXmlObject(parse(xml));
}

std::list<MEROCollectedFile> ActionTest::collect(const std::string& kinds, bool adminRun) {
    std::list<MEROCollectedFile> collected;
    MEROCollectLogsAction action(m_info, parse("<os opsys=\"linux\">" + kinds + "</os>"), adminRun);
    action.Perform(collected);
    return collected;
}

std::vector<OmittedFile> ActionTest::omitted() const {
    std::vector<OmittedFile> rows;
    for (const MEROComponent* node :
         m_summary.FindChild(m_summary.GetRoot(), "Manifest_Not_Included")->getChildren()) {
        rows.push_back({node->getName(), node->getValue(), attributeOf(*node, "description"),
                        attributeOf(*node, "reason")});
    }
    return rows;
}

OmittedFile ActionTest::row(const std::string& fileName, const std::string& reason) {
    return {"vpn-logs", fileName, "VPN logs", reason};
}

std::vector<std::string> pathsOf(const std::list<MEROCollectedFile>& collected) {
    std::vector<std::string> paths;
    paths.reserve(collected.size());
    for (const MEROCollectedFile& file : collected) {
        paths.push_back(file.path);
    }
    return paths;
}

void setModificationTime(const std::string& path, int64_t seconds) {
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
}
