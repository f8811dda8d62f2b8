#include "tests/engine/pipeline/EngineRun.h"

#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/ReturnCodes.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <system_error>

namespace fs = std::filesystem;
using ::testing::ElementsAre;

namespace {

std::set<std::string> allWorkingFolders() {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator("/tmp")) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with("MERO_Temp_Bundle")) {
            names.insert(name);
        }
    }
    return names;
}

/// True for a folder that a running job holds.
bool isHeld(const std::string& folder) {
    const FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    return opened && ::flock(opened.get(), LOCK_SH | LOCK_NB) != 0;
}

} // namespace

EngineRun::EngineRun() : m_target(path("out.zip")) {
    // Only a plain folder in the way would change how a run goes.
    if (!isHeld(kPlainFolder)) {
        fs::remove_all(kPlainFolder);
    }
    m_foreignFolders = allWorkingFolders();
    makeFolder("inst/xml/config");
}

EngineRun::~EngineRun() {
    for (const std::string& name : leftFolders()) {
        std::error_code ignored;
        fs::remove_all("/tmp/" + name, ignored);
    }
}

void EngineRun::writeConfiguration(const std::string& name, const std::string& groups) const {
    writeFile("inst/xml/config/" + name, "<configure>" + groups + "</configure>");
}

std::string EngineRun::group(const std::string& title, const std::string& files) {
    const std::string titleElement = title.empty() ? std::string() : "<title>" + title + "</title>";
    return "<fileGroup>" + titleElement + files + "</fileGroup>";
}

std::string EngineRun::item(const std::string& id, const std::string& path) {
    return "<file id=\"" + id + "\"><default>true</default><description>about " + id +
           "</description><mero><os opsys=\"linux\"><file_copy_action><action><loc>" + path +
           "</loc></action></file_copy_action></os></mero></file>";
}

std::string EngineRun::request(const std::vector<std::string>& ids, const std::string& more) {
    std::string text = "<request>";
    for (const std::string& id : ids) {
        text += "<file id=\"" + id + "\"></file>";
    }
    return text + more + "</request>";
}

void EngineRun::writeThreeItems() const {
    std::string files;
    for (const std::string id : {"one", "two", "three"}) {
        files += item(id, writeFile("logs/" + id + ".log", id));
    }
    writeConfiguration("three.xml", group("Three items", files));
}

std::shared_ptr<MEROEngine> EngineRun::engine(const std::string& requestPath,
                                              const std::string& password) const {
    return std::make_shared<MEROEngine>(requestPath, path("inst"), m_target, password, m_mode,
                                        m_includeLegacyTree, m_collectSystemLogs);
}

void EngineRun::unpack(const std::string& archive, const std::string& password) const {
    const std::string key = password.empty() ? std::string() : "-P '" + password + "' ";
    const std::string file = "'" + path(archive) + "'";
    fs::remove_all(path("unpacked"));
    EXPECT_EQ(std::system(("unzip -qq -t " + key + file + " >unzip.log 2>&1").c_str()), 0)
        << readFile("unzip.log");
    EXPECT_EQ(std::system(("unzip -qq " + key + file + " -d unpacked >unzip.log 2>&1").c_str()), 0)
        << readFile("unzip.log");
}

std::set<std::string> EngineRun::bundledNames() const {
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(path("unpacked"))) {
        if (!entry.is_directory()) {
            names.insert(fs::relative(entry.path(), path("unpacked")).string());
        }
    }
    return names;
}

void EngineRun::expectReportsOfFailure(const std::string& message, uint32_t code) const {
    EXPECT_THAT(m_listener.reports(),
                ElementsAre(step(1, "Starting up MERO Engine..."),
                            step(1, "Parsing request and configuration XMLs..."), Report{1, message, code}));
    EXPECT_TRUE(m_log.contains('E', message)) << m_log.dump();
    EXPECT_TRUE(m_log.contains('E', "runCollectorThreads")) << m_log.dump();
    EXPECT_THAT(leftFolders(), ElementsAre());
    EXPECT_FALSE(exists("out.zip"));
}

void EngineRun::expectRefusedRequest(const std::string& requestPath) const {
    EXPECT_EQ(run(requestPath), MEROENGINE_ERROR_INVALID_XML);
    expectReportsOfFailure(
        "Internal Error: invalid request XML, please contact your administrator, or run in "
        "default mode",
        MEROENGINE_ERROR_INVALID_XML);
}

std::set<std::string> EngineRun::workingFolders() const {
    std::set<std::string> names = allWorkingFolders();
    std::erase_if(names, [this](const std::string& name) { return m_foreignFolders.contains(name); });
    return names;
}

std::set<std::string> EngineRun::leftFolders() const {
    std::set<std::string> names = workingFolders();
    std::erase_if(names, [](const std::string& name) { return isHeld("/tmp/" + name); });
    return names;
}
