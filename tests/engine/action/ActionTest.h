#pragma once

#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"
#include "tools/MERO/MEROEngine/implementations/MEROActionInfo.h"
#include "tools/MERO/MEROEngine/implementations/MEROCollectedFile.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"

#include <cstdint>
#include <list>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

/// One row of the summary's omitted files.
struct OmittedFile {
    std::string id;
    std::string fileName;
    std::string description;
    std::string reason;
    bool operator==(const OmittedFile&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const OmittedFile& row);

/// Fixture with an item to collect: id "vpn-logs", description "VPN logs", its files going to `bundle` in the
/// private folder, and the summary's tree.
class ActionTest : public Sandbox {
protected:
    ActionTest();

    /// Root of a document's tree, which lives as long as the fixture.
    MEROComponent* parse(const std::string& xml);
    /// The same, as an instruction for the parsers.
    MEROXmlObject instruction(const std::string& xml);
    /// Runs a collecting action over the children of an os element.
    std::list<MEROCollectedFile> collect(const std::string& kinds, bool adminRun = false);
    /// The omitted files in the summary, in order.
    [[nodiscard]] std::vector<OmittedFile> omitted() const;
    /// A row of this item.
    [[nodiscard]] static OmittedFile row(const std::string& fileName, const std::string& reason);

    CapturedLog m_log;
    MEROXmlObject m_summary;
    MEROActionInfo m_info;

private:
    std::vector<std::unique_ptr<MEROXmlLoader>> m_loaders;
};

/// The paths of records, in order.
[[nodiscard]] std::vector<std::string> pathsOf(const std::list<MEROCollectedFile>& collected);
/// Sets the modification time of a file.
void setModificationTime(const std::string& path, int64_t seconds);
