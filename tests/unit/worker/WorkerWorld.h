#pragma once

#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"
#include "tests/unit/worker/StartedWorker.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/WorkOrder.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>

/// Fixture for what needs mounts: its checks run in a process that has a mount namespace of its own, with
/// empty folders of its own in the place of /tmp, /var/tmp, /dev/shm and /srv, so that tests in parallel
/// don't meet. Below /srv:
///
///   secret/key   a file that only root may read, with kSecret in it
///   home/caller  home of a caller who isn't root
///   inst         an installation without configuration files
///   tools        programs
///   job          a job's folder
///
/// Skipped where such mounts aren't allowed.
class WorkerWorld : public Sandbox {
protected:
    WorkerWorld();
    void SetUp() override;

    /// Runs checks in such a process.
    void inWorld(const std::function<void()>& checks) const;

    /// Writes a file with its folders, all of them the caller's.
    static std::string writeTheirs(const std::string& path, std::string_view content);
    /// Makes a folder of the caller's.
    static std::string makeTheirFolder(const std::string& path);

    /// Adds a configuration file with one group of default items.
    void configure(const std::string& items) const;
    /// A default item with instructions of one kind.
    [[nodiscard]] static std::string item(const std::string& id, const std::string& kind,
                                          const std::string& instruction);
    /// One that copies files by a path, whose last component may be a pattern.
    [[nodiscard]] static std::string fileItem(const std::string& id, const std::string& path);
    /// One that copies all files of a folder, sub-folders included, that match a pattern.
    [[nodiscard]] static std::string folderItem(const std::string& id, const std::string& folder,
                                                const std::string& pattern = "*");
    /// One that runs a shell script and puts what it prints into the file <id> of the bundle.
    /// @param arguments  the script's, for the shell.
    [[nodiscard]] static std::string scriptItem(const std::string& id, const std::string& script,
                                                const std::string& arguments = {});

    /// The order of a usual job of the caller, in this world.
    [[nodiscard]] WorkOrder order() const;
    /// Runs a job to its end.
    [[nodiscard]] JobResult run(const WorkOrder& job) const { return StartedWorker(job, m_log).finish(); }
    [[nodiscard]] JobResult run() const { return run(order()); }
    /// The bundle's files: their paths with their content. Fails the test if there is no good archive.
    [[nodiscard]] static std::map<std::string, std::string> bundle(const std::string& password = {});
    /// One file of it; empty if there is none.
    [[nodiscard]] static std::string bundled(const std::string& name) { return bundle()[name]; }
    /// Runs a usual job to its good end and looks for the secret in every file of its bundle.
    void expectSecretKept() const;

    CapturedLog m_log;
};

inline constexpr uid_t kWorldCaller = 54321;
inline const std::string kWorldHome = "/srv/home/caller";
inline const std::string kJobFolder = "/srv/job";
inline const std::string kSecretFile = "/srv/secret/key";
inline const std::string kSecret = "what only root may read";

/// The caller of jobs in this world.
[[nodiscard]] UserIdentity worldCaller(const std::string& home = kWorldHome);
