#include "tools/MERO/MEROEngine/implementations/MEROEngine.h"

#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/files/ReplacementFile.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/ChildView.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Zip/CZip.h"
#include "tools/MERO/MEROEngine/implementations/BundleText.h"
#include "tools/MERO/MEROEngine/implementations/collector.h"
#include "tools/MERO/MEROEngine/implementations/EngineMessages.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"
#include "tools/MERO/MEROEngine/implementations/StepText.h"
#include "tools/MERO/MEROEngine/implementations/WorkerPool.h"
#include "tools/MERO/MEROEngine/implementations/WorkProgress.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr const char* kWorkingFolder = "/tmp/MERO_Temp_Bundle";
constexpr uint32_t kMaxThreads = 6;
constexpr std::size_t kFailureLine = 100;
constexpr std::size_t kReadBytes = 16384;

void reportStep(int percent, const char* message) {
    reportProgress(percent, message, MEROOFFLINE_ERROR_PROCESSING);
}

void reportSuccess() {
    reportStep(100, kFinished);
    reportProgress(0, std::string(), 0);
}

/// @return 0 or an errno.
int readOwnFile(const std::string& path, std::string& textOut) {
    FileDescriptor file;
    if (const int error = openOwnRegularFile(path.c_str(), O_RDONLY, file); error != 0) {
        return error;
    }
    std::array<char, kReadBytes> block{};
    ssize_t length = 0;
    while ((length = ::read(file.get(), block.data(), block.size())) != 0) {
        if (length < 0 && errno != EINTR) {
            return errno;
        }
        textOut.append(block.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    }
    return 0;
}

} // namespace

uint32_t collectorThreadCount(uint32_t processors) {
    return static_cast<int32_t>(processors) <= 0 ? 1 : std::min(processors, kMaxThreads);
}

MEROEngine::MEROEngine(const std::string& requestPath, const std::string& installPath,
                       const std::string& targetPath, std::string_view password, int32_t mode,
                       bool includeLegacyTree, bool collectSystemLogs)
    : m_mode(mode), m_requestPath(requestPath), m_installPath(installPath),
      m_workingFolder(helperUtil::translatePath(kWorkingFolder)), m_targetPath(targetPath),
      m_password(password), m_collectSystemLogs(collectSystemLogs), m_includeLegacyTree(includeLegacyTree),
      m_folderClaim(m_workingFolder) {}

MEROEngine::~MEROEngine() {
    for (const MEROXmlObject* tree : m_configTrees) {
        const std::unique_ptr<const MEROXmlObject> owned(tree);
    }
}

uint32_t MEROEngine::run() {
    try {
        return m_mode == kModeCollect ? runCollectorThreads() : clearLogs();
    } catch (const std::exception& error) {
        return failUnexpectedly(error.what());
    } catch (...) {
        return failUnexpectedly("an exception of no known kind");
    }
}

uint32_t MEROEngine::failUnexpectedly(const char* what) noexcept {
    try {
        ZRN_LOG_FOR("run", 'E', "The run was ended by an error: %s", what);
        return fail(kEncounteredError, MEROENGINE_ERROR_INTERNAL);
    } catch (...) {
        // The listener threw, or memory is short even for the message. The folder must go all the same.
        try {
            m_folderClaim.remove();
        } catch (...) {
            return MEROENGINE_ERROR_INTERNAL;
        }
        return MEROENGINE_ERROR_INTERNAL;
    }
}

uint32_t MEROEngine::fail(const char* message, uint32_t code) {
    ZRN_LOG_FOR("runCollectorThreads", 'E', "%s", message);
    reportProgress(0, message, code);
    m_folderClaim.remove();
    return code;
}

uint32_t MEROEngine::failStopped() {
    return fail(kStopped, MEROENGINE_ERROR_ACTION_CANCELED_BY_USER);
}

uint32_t MEROEngine::runCollectorThreads() {
    reportStep(1, kStarting);
    m_configLoader = std::make_unique<MEROXmlLoader>();
    m_requestLoader = std::make_unique<MEROXmlLoader>();
    reportStep(1, kParsing);

    uint32_t code = takeRequest(loadRequest());
    if (code != 0) {
        return code;
    }
    code = loadConfigurations();
    if (code != 0) {
        return code;
    }
    code = checkArchivePath();
    if (code != 0) {
        return code;
    }
    if (isStopRequested()) {
        return failStopped();
    }
    code = makeWorkingFolder();
    if (code != 0) {
        return code;
    }
    collectAll();
    if (isStopRequested()) {
        return failStopped();
    }

    if (hasNoneWorked()) {
        return fail(kAllFailed, MEROENGINE_ERROR_INTERNAL);
    }
    code = writeFailedFilesToSummary(m_workingFolder + "/" + "summary.txt");
    if (code != 0) {
        ZRN_LOG_CODE('W', "MEROEngine::writeFailedFilesToSummary", code);
    }
    return zipBundle(code == 0);
}

/// How many trees there are tells whether it worked.
std::list<MEROXmlObject*> MEROEngine::loadRequest() {
    std::list<MEROXmlObject*> requests;
    if (!m_isRequestPrivate || m_requestPath.empty()) {
        static_cast<void>(m_requestLoader->load(m_requestPath, kLoadFile, requests));
        return requests;
    }
    std::string text;
    if (const int error = readOwnFile(m_requestPath, text); error != 0) {
        ZRN_LOG_CODE_TEXT('E', "open", error, "File: %s\nError: %s", m_requestPath.c_str(),
                          std::strerror(error));
        return requests;
    }
    static_cast<void>(m_requestLoader->load(text, kLoadText, requests));
    return requests;
}

uint32_t MEROEngine::takeRequest(const std::list<MEROXmlObject*>& trees) {
    if (trees.size() != 1) {
        if (!m_requestPath.empty()) {
            return fail(kInvalidRequest, MEROENGINE_ERROR_INVALID_XML);
        }
        m_emptyRequest = std::make_unique<MEROXmlObject>();
        m_request = m_emptyRequest.get();
        return 0;
    }
    m_request = trees.front();
    const MEROComponent* root = m_request->GetRoot();
    if (root == nullptr) {
        return fail(kEncounteredError, MEROENGINE_ERROR_NULL_POINTER);
    }
    for (MEROComponent* entry : root->getChildren()) {
        if (entry->getName() == "file") {
            m_requestedFiles.push_back(entry);
        }
    }
    const std::string objection = objectionToEntries(m_requestedFiles, m_requestLimits);
    if (!objection.empty()) {
        ZRN_LOG('W', "The request is refused: %s", objection.c_str());
        return fail(kInvalidRequest, MEROENGINE_ERROR_INVALID_XML);
    }
    return 0;
}

void MEROEngine::loadConfigurationFolder() {
    // How many trees there are tells whether it worked.
    static_cast<void>(
        m_configLoader->load(helperUtil::getConfigDirectory(m_installPath), kLoadFolder, m_configTrees));
    g_configCount = static_cast<uint32_t>(m_configTrees.size());
}

uint32_t MEROEngine::loadConfigurations() {
    loadConfigurationFolder();
    if (m_configTrees.empty()) {
        return fail(kNoConfiguration, MEROENGINE_ERROR_INTERNAL);
    }
    const LockGuard guard(m_failedLock);
    m_failedConfigs = m_configLoader->getFailedFiles();
    return 0;
}

uint32_t MEROEngine::makeWorkingFolder() {
    const uint32_t removeCode = m_folderClaim.removeLeftOver();
    if (removeCode != 0) {
        ZRN_LOG_CODE_FOR("runCollectorThreads", 'W', "helperUtil::fileDeleteDirectory", removeCode, nullptr);
    }
    // A missing folder is refused as well, so the plain name serves only after a left-over one went away.
    const bool withSuffix = removeCode != 0 && removeCode != MEROENGINE_ERROR_FILE_NOT_FOUND;
    const uint32_t claimCode = m_folderClaim.claim(withSuffix);
    if (claimCode != 0) {
        return fail(kNoWorkingFolder, claimCode);
    }
    m_workingFolder = m_folderClaim.path();
    keepInView(m_workingFolder); // tools may write there
    if (m_folderTold) {
        m_folderTold(m_workingFolder);
    }
    return 0;
}

void MEROEngine::collectAll() {
    WorkerPool pool(collectorThreadCount(std::thread::hardware_concurrency()));
    reportStep(4, kReading);
    const auto wanted = std::make_shared<WantedEntries>(m_request, m_requestedFiles);
    uint32_t index = 0;
    for (MEROXmlObject* config : m_configTrees) {
        if (config != nullptr) {
            const auto worker = std::make_shared<collector>(m_request, wanted, m_targetPath,
                                                            m_includeLegacyTree, m_collectSystemLogs);
            pool.post([self = shared_from_this(), worker, config, index] {
                self->runTask(config, index, *worker);
            });
        }
        ++index;
    }
    pool.join();
}

void MEROEngine::runTask(MEROXmlObject* config, uint32_t index, collector& worker) noexcept {
    try {
        collectLog(config, index, worker);
    } catch (...) {
        // The collection itself is guarded, so only the memory for a name or a log line can be missing here,
        // and there is none to tell it with.
        return;
    }
}

void MEROEngine::collectLog(MEROXmlObject* config, uint32_t index, collector& worker) {
    const int threadId = ::gettid();
    ZRN_LOG('I', "Thread %i Starting Collection", threadId);
    const uint32_t code = collectGuarded(config, worker);
    if (code != 0) {
        recordFailedGroups(*config, index);
    }
    ++g_configsDone;
    ZRN_LOG('I', "Thread %i Completed Collection. Looking for a new task...", threadId);
}

uint32_t MEROEngine::collectGuarded(MEROXmlObject* config, collector& worker) {
    try {
        return worker.Collect(m_workingFolder, config);
    } catch (const std::exception& error) {
        ZRN_LOG_FOR("collectLog", 'E', "The collection was ended by an error: %s", error.what());
    } catch (...) {
        ZRN_LOG_FOR("collectLog", 'E', "The collection was ended by an error");
    }
    return MEROENGINE_ERROR_INTERNAL;
}

void MEROEngine::recordFailedGroups(const MEROXmlObject& config, uint32_t index) {
    std::list<MEROComponent*> groups;
    config.findAllByName("fileGroup", groups);
    std::list<std::string> names;
    for (const MEROComponent* group : groups) {
        const MEROComponent* title = group->FindChild("title");
        names.push_back(title == nullptr ? "Unknown_" + std::to_string(index) : title->getValue());
    }
    const LockGuard guard(m_failedLock);
    m_failedConfigs.splice(m_failedConfigs.end(), names);
}

uint32_t MEROEngine::writeFailedFilesToSummary(const std::string& path) {
    FileHandle file(std::fopen(path.c_str(), "ae"));
    if (!file) {
        ZRN_LOG_ERRNO_TEXT('E', "fopen", "Could not open file \"%s\"", path.c_str());
        return MEROENGINE_ERROR_FILE_OPEN_FAILURE;
    }
    std::string text;
    if (const LockGuard guard(m_failedLock); !m_failedConfigs.empty()) {
        text = "\n" + std::string(kFailureLine, '=') + "\n" +
               "MEROEngine failed to parse or use the following configuration files:\n";
        for (const std::string& failed : m_failedConfigs) {
            text += failed + "\n";
        }
    }
    // The heading closes the summary of a run that left no entry of the request open; it never lists ids.
    // Support reads its absence as the sign that a requested id is unknown.
    if (m_requestedFiles.empty()) {
        text += "\n\nNo instruction found in any config for the following file ID's from request:\n";
    }
    return bundleText::writeAndClose(std::move(file), text) == 0 ? 0 : MEROENGINE_ERROR_WRITE_FAILURE;
}

std::string MEROEngine::archivePath() const {
    return m_archivePath.empty() ? helperUtil::withZipExtension(m_targetPath) : m_archivePath;
}

/// Collecting may take minutes, which nobody should wait for a bundle that has no place.
uint32_t MEROEngine::checkArchivePath() {
    const std::string path = archivePath();
    const int refusal = refusalOfTarget(AT_FDCWD, path.c_str());
    if (refusal == 0) {
        return 0;
    }
    ZRN_LOG_CODE_TEXT('E', "refusalOfTarget", refusal, "\"%s\" can't be replaced by a bundle", path.c_str());
    return fail(kNotZipped, MEROENGINE_ERROR_WRITE_FAILURE);
}

uint32_t MEROEngine::zipBundle(bool isSummaryWhole) {
    reportStep(96, kZipping);
    PackReport report;
    if (!isSummaryWhole) {
        report.add("summary.txt", "lacks its last lines, which could not be written");
    }
    const uint32_t code =
        CZip().Zip(m_workingFolder, archivePath(), m_password.view(), true, report, &workProgress().packing);
    if (code != 0) {
        ZRN_LOG_CODE('E', "CZip::Zip", code);
        if (isStopRequested()) {
            return failStopped();
        }
        return fail(kNotZipped, MEROENGINE_ERROR_WRITE_FAILURE);
    }
    m_folderClaim.remove();
    return finish(report);
}

uint32_t MEROEngine::finish(const PackReport& report) {
    if (report.items().empty()) {
        reportSuccess();
        return 0;
    }
    m_lack = lackText(kIncomplete, {std::to_string(report.items().size()), report.entryName()});
    ZRN_LOG('E', "%s", m_lack.c_str());
    reportStep(100, kFinished);
    reportProgress(0, m_lack, MEROENGINE_ERROR_BUNDLE_INCOMPLETE);
    return MEROENGINE_ERROR_BUNDLE_INCOMPLETE;
}

uint32_t MEROEngine::clearLogs() {
    reportStep(1, kStarting);
    if (!m_configLoader) {
        m_configLoader = std::make_unique<MEROXmlLoader>();
        loadConfigurationFolder();
    }
    g_configCount = static_cast<uint32_t>(m_configTrees.size());
    if (m_configTrees.empty()) {
        ZRN_LOG('E', "%s", kNoConfiguration);
        reportProgress(0, kNoConfiguration, MEROENGINE_ERROR_INTERNAL);
        m_folderClaim.remove();
        return MEROENGINE_ERROR_INTERNAL;
    }
    if (!m_collector) {
        m_collector = std::make_unique<collector>(m_request, m_requestedFiles, m_targetPath,
                                                  m_includeLegacyTree, m_collectSystemLogs);
    }
    for (MEROXmlObject* config : m_configTrees) {
        if (isStopRequested()) {
            return failStopped();
        }
        if (config != nullptr) {
            // Null is the one thing that Clear refuses.
            static_cast<void>(m_collector->Clear(config));
        }
    }
    reportSuccess();
    return 0;
}
