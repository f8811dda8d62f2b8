#pragma once

#include "tests/engine/pipeline/RecordingListener.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"
#include "tools/MERO/MEROEngine/implementations/MEROEngine.h"

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// Fixture for whole runs: an installation folder `inst` in the private folder, the target `out.zip`, a log
/// and a listener. Working folders that a test leaves behind are removed; those of jobs outside of the tests
/// are left alone. Its tests take the lock working_folder, because the working folder's name is fixed.
class EngineRun : public Sandbox {
public:
    ~EngineRun() override;

protected:
    EngineRun();

    /// Writes a configuration file; `groups` stands inside its root.
    void writeConfiguration(const std::string& name, const std::string& groups) const;
    /// A group with this title, which may be empty for none.
    [[nodiscard]] static std::string group(const std::string& title, const std::string& files);
    /// A default item that copies one path; described by "about <id>".
    [[nodiscard]] static std::string item(const std::string& id, const std::string& path);
    /// A request for these ids, with `more` at its end.
    [[nodiscard]] static std::string request(const std::vector<std::string>& ids,
                                             const std::string& more = {});
    /// Three configured files of one group: ids "one", "two" and "three", with their names as content.
    void writeThreeItems() const;

    [[nodiscard]] std::shared_ptr<MEROEngine> engine(const std::string& requestPath = {},
                                                     const std::string& password = {}) const;
    [[nodiscard]] uint32_t run(const std::string& requestPath = {}) const {
        return engine(requestPath)->run();
    }
    /// Unpacks the bundle into `unpacked`; fails the test unless the whole archive is good.
    void unpack(const std::string& archive = "out.zip", const std::string& password = {}) const;
    /// A file of the unpacked bundle.
    [[nodiscard]] std::string bundled(const std::string& name) const { return readFile("unpacked/" + name); }
    /// Paths of the unpacked bundle's files.
    [[nodiscard]] std::set<std::string> bundledNames() const;
    /// A request that fails so and says why, without collecting, making a bundle or leaving a folder.
    void expectRefusedRequest(const std::string& requestPath) const;
    /// The run's end with this message and code, after the steps of reading.
    void expectReportsOfFailure(const std::string& message, uint32_t code) const;

    /// Names of the working folders that have come since the test began.
    [[nodiscard]] std::set<std::string> workingFolders() const;
    /// Those of them that no running job holds.
    [[nodiscard]] std::set<std::string> leftFolders() const;

    CapturedLog m_log;
    RecordingListener m_listener;
    std::string m_target;
    bool m_includeLegacyTree = false;
    bool m_collectSystemLogs = true;
    int32_t m_mode = 0;

private:
    /// Left by others, or theirs.
    std::set<std::string> m_foreignFolders;
};

inline const std::string kPlainFolder = "/tmp/MERO_Temp_Bundle";
