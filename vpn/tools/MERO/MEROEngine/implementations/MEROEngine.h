#pragma once

#include "Common/Utility/memory/WipedString.h"
#include "Common/Utility/threads/Mutex.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"
#include "tools/MERO/MEROEngine/implementations/RequestEntries.h"
#include "tools/MERO/MEROEngine/implementations/WorkingFolder.h"

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

class collector;
class PackReport;

inline constexpr int32_t kModeCollect = 0;
inline constexpr int32_t kModeClearLogs = 1;

/// Threads that collect: one per processor, at most six. A platform that can't count its processors gets one.
/// @param processors  what hardware_concurrency gave; read as a signed number.
[[nodiscard]] uint32_t collectorThreadCount(uint32_t processors);

/// What a run is asked for.
struct EngineOptions {
    /// Request file; empty selects the items marked default. Not read by a clear run.
    std::string requestPath = {};
    /// Folder that holds xml/config/; empty for the one of the executable.
    std::string installPath = {};
    /// The zip file to write; ".zip" is added unless it ends so. Not used by a clear run.
    std::string targetPath = {};
    /// Copied, into memory that is wiped; empty for no encryption.
    std::string_view password = {};
    /// kModeCollect; any other value clears logs.
    int32_t mode = kModeCollect;
    /// Without a request, take the items of the legacy group as well.
    bool includeLegacyTree = false;
    /// Without a request, and in a clear run, take the system logs too.
    bool collectSystemLogs = true;
};

/// One job from request to zip. Must be held by a shared_ptr before run; serves one run. It tells its steps
/// and its end through reportProgress and its final code as the result as well.
///
/// One thread makes it, sets it up and calls run, which has threads of its own at work until it returns. They
/// keep the object alive, and the progress listener is called by any of them. Several engines may run at
/// once; the process has one of each of these for all of them: the listener, the percentage and the counts
/// behind it (Progress.h), the stop request, which ends every run and is never taken back, the head of the
/// summary, which the first section of the process gets, and the working folder's plain name.
class MEROEngine : public std::enable_shared_from_this<MEROEngine> {
public:
    explicit MEROEngine(const EngineOptions& options)
        : MEROEngine(options.requestPath, options.installPath, options.targetPath, options.password,
                     options.mode, options.includeLegacyTree, options.collectSystemLogs) {}
    /// The same for callers that have the values one by one, as EngineOptions names them.
    MEROEngine(const std::string& requestPath, const std::string& installPath, const std::string& targetPath,
               std::string_view password, int32_t mode, bool includeLegacyTree, bool collectSystemLogs);
    virtual ~MEROEngine();
    MEROEngine(const MEROEngine&) = delete;
    MEROEngine& operator=(const MEROEngine&) = delete;

    /// Has the archive written elsewhere, for somebody who puts it in its place afterwards: the target path
    /// stays what the summary names. Before run.
    /// @param path  used as it stands, no extension is added; empty for the target path itself.
    void setArchivePath(const std::string& path) { m_archivePath = path; }

    /// Bounds the request, for a run with more rights than whoever wrote it. Before run; none otherwise.
    void setRequestLimits(const RequestLimits& limits) { m_requestLimits = limits; }

    /// Has the working folder told, by its path, before anything is put into it. Before run.
    void onWorkingFolder(std::function<void(const std::string&)> told) { m_folderTold = std::move(told); }

    /// Has the run take its request only from a regular file of this user alone that has no other name and is
    /// reached through no link at its end: for a path in a folder of everybody. Before run.
    void setPrivateRequest() { m_isRequestPrivate = true; }

    /// The working folder of the run, for who wants to remove what the run leaves of it, or to keep it.
    /// Before run; null afterwards.
    [[nodiscard]] std::shared_ptr<RunFolder> runFolder() const { return m_folderClaim.shared(); }

    /// Runs the job and blocks until it has ended. The working folder below /tmp is removed on every path, as
    /// far as fileDeleteDirectory goes; one that isn't this run's is never touched. Throws nothing. A stop
    /// request ends its tools, and the run as soon as the threads have looked at it.
    /// @return 0, MEROENGINE_ERROR_NULL_POINTER (request without root), MEROENGINE_ERROR_INTERNAL (no good
    ///         configuration, all failed, or an exception), MEROENGINE_ERROR_WRITE_FAILURE (archive),
    ///         MEROENGINE_ERROR_INVALID_XML (request), MEROENGINE_ERROR_ACCESS_DENIED (working folder),
    ///         MEROENGINE_ERROR_ACTION_CANCELED_BY_USER (a stop was requested before the archive was there)
    ///         or MEROENGINE_ERROR_BUNDLE_INCOMPLETE (the bundle is there, but files could not be packed). A
    ///         target that no archive can come to ends the run before anything is collected.
    [[nodiscard]] uint32_t run();
    /// What the last report of a run with MEROENGINE_ERROR_BUNDLE_INCOMPLETE says, in English; else empty.
    [[nodiscard]] const std::string& lack() const { return m_lack; }

    /// Appends the failure block to the summary.
    /// @return 0, MEROENGINE_ERROR_FILE_OPEN_FAILURE or MEROENGINE_ERROR_WRITE_FAILURE.
    [[nodiscard]] uint32_t writeFailedFilesToSummary(const std::string& path);

protected:
    /// Takes over what the request loader gave, and reports a failure.
    /// @return 0, MEROENGINE_ERROR_INVALID_XML or MEROENGINE_ERROR_NULL_POINTER.
    [[nodiscard]] uint32_t takeRequest(const std::list<MEROXmlObject*>& trees);

private:
    /// Steps of a collect run. Those with a code have reported their failure.
    [[nodiscard]] uint32_t runCollectorThreads();
    [[nodiscard]] std::list<MEROXmlObject*> loadRequest();
    [[nodiscard]] uint32_t loadConfigurations();
    [[nodiscard]] uint32_t makeWorkingFolder();
    void collectAll();
    /// What a thread of the pool runs.
    void runTask(MEROXmlObject* config, uint32_t index, collector& worker) noexcept;
    void collectLog(MEROXmlObject* config, uint32_t index, collector& worker);
    /// Collects; an exception becomes MEROENGINE_ERROR_INTERNAL.
    [[nodiscard]] uint32_t collectGuarded(MEROXmlObject* config, collector& worker);
    /// A failed collection counts once per group of its file, so the two counts may agree although a
    /// configuration succeeded. Those who read the summary know the rule by its outcome; it stays.
    [[nodiscard]] bool hasNoneWorked() {
        const LockGuard guard(m_failedLock);
        return m_configTrees.size() == m_failedConfigs.size();
    }
    void recordFailedGroups(const MEROXmlObject& config, uint32_t index);
    [[nodiscard]] std::string archivePath() const;
    [[nodiscard]] uint32_t checkArchivePath();
    /// A summary that is not whole counts among what could not be packed.
    [[nodiscard]] uint32_t zipBundle(bool isSummaryWhole);
    /// Reports the end of a run whose bundle stands at its target.
    [[nodiscard]] uint32_t finish(const PackReport& report);

    [[nodiscard]] uint32_t clearLogs();
    void loadConfigurationFolder();
    /// Logs, reports, and deletes the working folder. @return `code`.
    [[nodiscard]] uint32_t fail(const char* message, uint32_t code);
    /// The same for a run that a stop request has ended.
    [[nodiscard]] uint32_t failStopped();
    /// What is left to do when the run itself was ended by an exception.
    [[nodiscard]] uint32_t failUnexpectedly(const char* what) noexcept;

    int32_t m_mode;
    /// Made by the clear-logs run only.
    std::unique_ptr<collector> m_collector;
    std::unique_ptr<MEROXmlLoader> m_configLoader;
    std::unique_ptr<MEROXmlLoader> m_requestLoader;
    /// The request's file entries that no collector has handled; views into the request. See collector for
    /// its lock.
    std::list<MEROComponent*> m_requestedFiles;
    std::list<std::string> m_failedConfigs ZRN_GUARDED_BY(m_failedLock);
    /// One per good configuration file; owned, read only while workers run.
    std::list<MEROXmlObject*> m_configTrees;
    std::string m_requestPath;
    bool m_isRequestPrivate = false;
    std::string m_installPath;
    std::string m_workingFolder;
    std::string m_targetPath;
    WipedString m_password;
    /// The request, a view of what m_requestLoader or m_emptyRequest owns.
    MEROXmlObject* m_request = nullptr;
    std::unique_ptr<MEROXmlObject> m_emptyRequest;
    bool m_collectSystemLogs;
    bool m_includeLegacyTree;
    Mutex m_failedLock;
    /// Makes, holds and removes the folder of m_workingFolder.
    WorkingFolder m_folderClaim;
    /// Where the archive is written; empty for the target path.
    std::string m_archivePath;
    RequestLimits m_requestLimits;
    /// Called with the working folder; may be empty.
    std::function<void(const std::string&)> m_folderTold;
    /// See lack.
    std::string m_lack;
};
