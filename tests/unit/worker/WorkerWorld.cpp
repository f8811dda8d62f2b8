#include "tests/unit/worker/WorkerWorld.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/support/InChild.h"
#include "tests/support/PrivateMounts.h"
#include "tests/support/Processes.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr const char* kConfigFolder = "/srv/inst/xml/config";
constexpr const char* kArchive = "/srv/job/archive";
constexpr const char* kUnpacked = "/srv/unpacked";

void mountOver(const char* folder, const char* options) {
    ASSERT_EQ(::mount("tmpfs", folder, "tmpfs", 0, options), 0) << folder << " errno " << errno;
}

void makeWorld() {
    for (const char* folder : {"/tmp", "/var/tmp", "/dev/shm"}) {
        mountOver(folder, "mode=1777,size=8m");
    }
    mountOver("/srv", "mode=0755,size=64m");
    fs::create_directories(kConfigFolder);
    fs::create_directories("/srv/home");
    for (const char* folder : {"/srv/secret", "/srv/job"}) {
        ASSERT_EQ(::mkdir(folder, 0700), 0);
    }
    std::ofstream(kSecretFile) << kSecret;
    ASSERT_EQ(::chmod(kSecretFile.c_str(), 0600), 0);
    ASSERT_EQ(::mkdir(kWorldHome.c_str(), 0755), 0);
    ASSERT_EQ(::chown(kWorldHome.c_str(), kWorldCaller, kWorldCaller), 0);
}

std::string element(const std::string& name, const std::string& content) {
    return "<" + name + ">" + content + "</" + name + ">";
}

std::string contentOf(const fs::path& file) {
    std::ostringstream content;
    content << std::ifstream(file).rdbuf();
    return content.str();
}

} // namespace

UserIdentity worldCaller(const std::string& home) {
    return {.user = kWorldCaller,
            .group = kWorldCaller,
            .groups = {kWorldCaller},
            .name = "caller",
            .home = home};
}

WorkerWorld::WorkerWorld() = default;

void WorkerWorld::SetUp() {
    if (!runsAsRoot() || !allowsMounts()) {
        GTEST_SKIP() << "mounting in a namespace of its own needs root's rights";
    }
}

void WorkerWorld::inWorld(const std::function<void()>& checks) const {
    inChild([&checks] {
        ASSERT_TRUE(makeMountsPrivate());
        ASSERT_NO_FATAL_FAILURE(makeWorld());
        checks();
    });
}

std::string WorkerWorld::writeTheirs(const std::string& path, std::string_view content) {
    makeTheirFolder(fs::path(path).parent_path());
    std::ofstream(path) << content;
    EXPECT_EQ(::chown(path.c_str(), kWorldCaller, kWorldCaller), 0) << path;
    return path;
}

std::string WorkerWorld::makeTheirFolder(const std::string& path) {
    if (!fs::exists(path)) {
        makeTheirFolder(fs::path(path).parent_path());
        EXPECT_EQ(::mkdir(path.c_str(), 0755), 0) << path;
        EXPECT_EQ(::chown(path.c_str(), kWorldCaller, kWorldCaller), 0) << path;
    }
    return path;
}

void WorkerWorld::configure(const std::string& items) const {
    std::ofstream(kConfigFolder + std::string("/a.xml"))
        << element("configure", element("fileGroup", element("title", "A group") + items));
}

std::string WorkerWorld::item(const std::string& id, const std::string& kind,
                              const std::string& instruction) {
    return "<file id=\"" + id + "\">" + element("default", "true") + element("description", "about " + id) +
           "<mero><os opsys=\"linux\">" + element(kind, element("action", instruction)) +
           "</os></mero></file>";
}

std::string WorkerWorld::fileItem(const std::string& id, const std::string& path) {
    return item(id, "file_copy_action", element("loc", path));
}

std::string WorkerWorld::folderItem(const std::string& id, const std::string& folder,
                                    const std::string& pattern) {
    return item(id, "directory_copy_action", element("loc", folder) + element("pattern", pattern));
}

std::string WorkerWorld::scriptItem(const std::string& id, const std::string& script,
                                    const std::string& arguments) {
    writeTool("/srv/tools/" + id, script);
    return item(id, "use_extern_action",
                element("path", "/srv/tools") +
                    element("args", arguments.empty() ? id : id + " " + arguments) + "<stdout/>" +
                    element("temp_out", id));
}

WorkOrder WorkerWorld::order() const {
    return {.caller = worldCaller(),
            .requestPath = {},
            .installPath = "/srv/inst",
            .bundlePath = kWorldHome + "/bundle.zip",
            .jobFolder = kJobFolder,
            .archivePath = kArchive,
            .password = {},
            .space = {.mostBytes = 1ULL << 30U, .keptFreeBytes = 4096, .keptFreePercent = 0},
            .service = ::getpid()};
}

std::map<std::string, std::string> WorkerWorld::bundle(const std::string& password) {
    fs::remove_all(kUnpacked);
    const std::string key = password.empty() ? std::string() : "-P '" + password + "' ";
    EXPECT_EQ(
        std::system(("unzip -qq " + key + kArchive + " -d " + kUnpacked + " >/srv/unzip.log 2>&1").c_str()),
        0)
        << contentOf("/srv/unzip.log");
    std::map<std::string, std::string> files;
    if (fs::exists(kUnpacked)) {
        for (const auto& entry : fs::recursive_directory_iterator(kUnpacked)) {
            if (entry.is_regular_file()) {
                files[fs::relative(entry.path(), kUnpacked)] = contentOf(entry.path());
            }
        }
    }
    return files;
}

void WorkerWorld::expectSecretKept() const {
    const JobResult result = run();
    EXPECT_EQ(result.outcome().status, 0U) << result.log;
    const auto files = bundle();
    EXPECT_TRUE(files.contains("summary.txt"));
    for (const auto& [name, content] : files) {
        EXPECT_EQ(content.find(kSecret), std::string::npos) << name;
    }
}
