#include "tools/MERO/MEROEngine/implementations/collector.h"

#include "Common/Utility/files/Directory.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/sysutils.h"
#include "Common/Utility/text/StringUtils.h"
#include "tools/MERO/MEROEngine/implementations/EngineMessages.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/SummaryEntries.h"
#include "tools/MERO/MEROEngine/implementations/MEROClearLogsAction.h"
#include "tools/MERO/MEROEngine/implementations/MEROCollectLogsAction.h"
#include "tools/MERO/MEROEngine/implementations/parser/AttributeText.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"
#include "tools/MERO/MEROEngine/implementations/StepText.h"

#include <algorithm>
#include <boost/lexical_cast.hpp>
#include <unistd.h>
#include <utility>

namespace {

constexpr const char* kDefaultBundleFolder = "/tmp/MERO_Temp_Bundle";
constexpr const char* kLegacyTreeName = "Legacy - Varnel Trellink Nolvane";
constexpr uint32_t kClearPauseMs = 50;

/// The comment belongs to the bundle and not to one configuration, so the first group to get there writes it
/// and no other one of the process.
std::once_flag g_commentsOnce;

std::string idOf(const MEROComponent& component) {
    return attributeOf(component, "id");
}

std::string childText(const MEROComponent& component, const char* name) {
    const MEROComponent* child = component.FindChild(name);
    return child == nullptr ? std::string() : child->getValue();
}

} // namespace

collector::collector(MEROXmlObject* request, std::list<MEROComponent*>& unprocessed,
                     const std::string& targetPath, bool includeLegacyTree, bool collectSystemLogs)
    : collector(request, std::make_shared<WantedEntries>(request, unprocessed), targetPath, includeLegacyTree,
                collectSystemLogs) {}

collector::collector(MEROXmlObject* request, std::shared_ptr<WantedEntries> wanted,
                     const std::string& targetPath, bool includeLegacyTree, bool collectSystemLogs)
    : m_pXMLRequest(request), m_wanted(std::move(wanted)), m_targetPath(targetPath),
      m_includeLegacyTree(includeLegacyTree), m_collectSystemLogs(collectSystemLogs) {}

collector::~collector() = default;

uint32_t collector::Collect(std::string& bundleFolder, MEROXmlObject* config) {
    if (m_pXMLRequest == nullptr) {
        ZRN_LOG('E', "m_pXMLRequest is NULL");
        return MEROENGINE_ERROR_NOT_INITIALIZED;
    }
    if (config == nullptr) {
        ZRN_LOG('E', "pXMLObjectConfig is NULL");
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    const uint32_t initCode = initializeSummary();
    if (initCode != 0) {
        ZRN_LOG_CODE('E', "collector::initializedSummary", initCode);
        return initCode;
    }
    MEROActionInfo info;
    info.summary = m_pXMLSummary.get();
    info.handOn = [this](std::list<MEROCollectedFile>& found) { handOn(found); };
    if (bundleFolder.empty()) {
        bundleFolder = helperUtil::translatePath(kDefaultBundleFolder);
    }
    m_section = SummarySection(bundleFolder);
    for (const MEROComponent* group : getFileGroupComponents(*config)) {
        if (m_pXMLRequest->GetRoot() != nullptr) {
            runRequestLoop(*group, bundleFolder, info);
        } else {
            runDefaultLoop(*group, bundleFolder, info);
        }
    }
    if (isStopRequested()) {
        // There will be no bundle, so nobody misses the section.
        return MEROENGINE_ERROR_ACTION_CANCELED_BY_USER;
    }
    const uint32_t summaryCode = writeSummary(bundleFolder, config);
    if (summaryCode != 0) {
        ZRN_LOG_CODE('E', "collector::writeSummary", summaryCode);
        return summaryCode;
    }
    m_pXMLSummary.reset();
    return 0;
}

void collector::runRequestLoop(const MEROComponent& group, const std::string& bundleFolder,
                               MEROActionInfo& info) {
    const std::vector<WalkedItem> items = m_walk.itemsOf(group);
    const std::string groupFolder = getDirectory(group, bundleFolder);
    const std::vector<WantedEntries::Entry>& entries = m_wanted->entries();
    std::size_t place = 0;
    for (auto item = items.begin(); item != items.end();) {
        place = m_wanted->firstFrom(place, item->id);
        if (place == entries.size()) {
            break;
        }
        const WantedEntries::Entry& entry = entries[place];
        item = std::find_if(item, items.end(), [&entry](const WalkedItem& i) { return entry.id <= i.id; });
        if (item != items.end() && entry.id == item->id) {
            if (place >= m_wanted->summaryPlace()) {
                placeSummary(bundleFolder);
            }
            runRequestedItem(entry.element, *item, groupFolder, info);
        }
        ++place;
    }
    placeSummary(bundleFolder);
    std::call_once(g_commentsOnce, [&] {
        // Lost comments stand in the summary; they are no reason to end the collection.
        static_cast<void>(writeComments(m_wanted->commentsEntry(), bundleFolder));
    });
}

std::string collector::placeInBundle(const std::string& bundleFolder, const std::string& name) {
    std::string path = helperUtil::translatePath(bundleFolder + "/" + name);
    // A folder that can't be made is in the log, and shows again when the file can't be opened.
    static_cast<void>(Directory::CreateNewDirectory(helperUtil::folderPartOf(path), false));
    return path;
}

void collector::placeSummary(const std::string& bundleFolder) {
    const MEROComponent* entry = m_wanted->summaryEntry();
    if (entry != nullptr && m_summaryPath.empty()) {
        const std::string name = childText(*entry, "name");
        m_summaryPath = placeInBundle(bundleFolder, name.empty() ? "summary.txt" : name);
    }
}

void collector::runRequestedItem(MEROComponent* entry, const WalkedItem& item, const std::string& groupFolder,
                                 MEROActionInfo& info) {
    if (!findInstructions(*item.element)) {
        return;
    }
    info.directory = getDirectory(*item.element, groupFolder);
    info.id = item.id;
    info.name = childText(*item.element, "name");
    info.description = childText(*item.element, "description");
    runItem(info);
    // Fails for a null entry only.
    static_cast<void>(removeFromUnprocessedList(entry));
}

void collector::runDefaultLoop(const MEROComponent& group, const std::string& bundleFolder,
                               MEROActionInfo& info) {
    const bool legacy = m_includeLegacyTree && attributeOf(group, "treeRootName") == kLegacyTreeName;
    const std::string groupFolder = getDirectory(group, bundleFolder);
    for (const WalkedItem& item : m_walk.itemsOf(group)) {
        if (isUnwantedSystemLog(item.id)) {
            continue;
        }
        if (!item.isDefault && !legacy) {
            helperUtil::fillSummaryNote(info.summary, "The file(s) of ID " + item.id +
                                                          " is/are not included by default by this config.");
            continue;
        }
        if (!findInstructions(*item.element)) {
            continue;
        }
        info.directory = getDirectory(*item.element, groupFolder);
        info.id = item.id;
        info.name.clear();
        info.description = childText(*item.element, "description");
        runItem(info);
    }
}

void collector::runItem(const MEROActionInfo& info) {
    if (isStopRequested()) {
        return;
    }
    const auto threadId = boost::lexical_cast<std::string>(::gettid());
    ZRN_LOG('I', "Thread %s Continuing Collection On %s", threadId.c_str(), info.description.c_str());
    {
        const std::lock_guard<std::mutex> guard(g_progressLock);
        reportProgress(computeProgress(g_configsDone), stepText(kProcessing, info.description),
                       MEROOFFLINE_ERROR_PROCESSING);
    }
    MEROCollectLogsAction action(info, m_reader, m_adminRun);
    action.Perform(m_collected);
}

uint32_t collector::Clear(MEROXmlObject* config) {
    if (config == nullptr) {
        ZRN_LOG('E', "pXMLObjectConfig is NULL");
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    MEROActionInfo info;
    for (const MEROComponent* group : getFileGroupComponents(*config)) {
        for (const WalkedItem& item : m_walk.itemsOf(*group)) {
            clearItem(item, info);
        }
    }
    return 0;
}

void collector::clearItem(const WalkedItem& item, MEROActionInfo& info) {
    if (isStopRequested() || isUnwantedSystemLog(item.id) || !item.isDefault ||
        !findInstructions(*item.element)) {
        return;
    }
    info.id = item.id;
    info.description = childText(*item.element, "description");
    reportProgress(computeProgress(g_configsDone), stepText(kClearing, info.description),
                   MEROOFFLINE_ERROR_PROCESSING);
    // Clearing is so quick that without a pause nobody could read what is being cleared.
    sleepMsecs(kClearPauseMs);
    MEROClearLogsAction action(info, m_reader, m_adminRun);
    action.Perform(m_collected);
}

bool collector::isUnwantedSystemLog(const std::string& id) const {
    return !m_collectSystemLogs && (id == "system-logs" || id == "system-log-hist" || id == "kernel-log");
}

bool collector::findInstructions(MEROComponent& file) {
    const uint32_t code = moveReaderToCorrectOS(&file);
    if (code != 0) {
        ZRN_LOG_CODE('I', "collector::moveReaderToCorrectOS", code);
    }
    return code == 0;
}

std::list<MEROComponent*> collector::getFileGroupComponents(const MEROXmlObject& object) const {
    if (object.GetRoot() == nullptr) {
        ZRN_LOG('E', "rXMLObject.GetRoot() is NULL");
        return {};
    }
    return m_walk.groupsOf(object);
}

std::list<MEROComponent*> collector::getFileComponents(const MEROXmlObject& object) const {
    if (object.GetRoot() == nullptr) {
        ZRN_LOG('E', "rXMLObject.GetRoot() is NULL");
        return {};
    }
    return ItemWalk::fileElements(*object.GetRoot());
}

std::list<MEROComponent*> collector::getFileGroupFileComponents(const MEROComponent& group) const {
    if (group.getName() != "fileGroup") {
        ZRN_LOG('E', "unexpected MERO component type; expected fileGroup type");
        return {};
    }
    return ItemWalk::fileElements(group);
}

std::string collector::getDirectory(const MEROComponent& component, const std::string& base) const {
    if (component.getName() != "fileGroup" && component.getName() != "file") {
        ZRN_LOG('E', "unexpected MERO component type; expected fileGroup type");
        return base;
    }
    const MEROAttribute* name = component.FindAttribute("directoryName");
    if (name == nullptr) {
        return base;
    }
    const std::string path = base + "/" + CStringUtils::replaceAll(name->getValue(), "\\", "/");
    std::string result = base;
    for (std::size_t end = 0; end != std::string::npos;) {
        end = path.find('/', end + 1);
        // Any folder on the way that is there or can be made is taken for the whole path: files then find
        // their place, or fail one by one with a row in the summary.
        if (helperUtil::MakeDirectory(path.substr(0, end)) == 0) {
            result = path;
        }
    }
    return result;
}

uint32_t collector::moveReaderToCorrectOS(MEROComponent* component) {
    if (component == nullptr) {
        ZRN_LOG('E', "pDC is NULL");
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    const ItemInstructions instructions = m_walk.instructionsOf(*component);
    if (!instructions.areGiven) {
        ZRN_LOG_FOR("moveReaderToMERO", 'E', "pDC->FindChild(MERO_CONST) is NULL");
    }
    if (instructions.section == nullptr) {
        return MEROENGINE_ERROR_INTERNAL;
    }
    m_reader = instructions.section;
    return 0;
}

bool collector::isDefault(const MEROComponent& file) const {
    return m_walk.isDefault(file);
}

uint32_t collector::removeFromUnprocessedList(MEROComponent* requestFile) {
    if (requestFile == nullptr) {
        ZRN_LOG('E', "pDC is NULL");
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    if (m_wanted->takeOff(requestFile)) {
        return 0;
    }
    // Another group had the same id. Its files were collected then; the reader of the summary should know.
    helperUtil::fillSummaryNote(m_pXMLSummary.get(),
                                "WARNING: File ID " + idOf(*requestFile) +
                                    " has duplicated instruction found in one of previous config files");
    return 0;
}
