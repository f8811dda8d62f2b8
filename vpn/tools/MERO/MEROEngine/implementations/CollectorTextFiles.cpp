#include "tools/MERO/MEROEngine/implementations/collector.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/SystemIdentity.h"
#include "Common/Utility/sysutils.h"
#include "tools/MERO/MEROEngine/implementations/BundleText.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/SummaryEntries.h"
#include "tools/MERO/MEROEngine/implementations/truncator.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <mutex>
#include <vector>

Mutex g_summaryLock;

namespace {

constexpr helperUtil::SummaryPartSearch kMainInfo = {.caller = "fillInSummaryMainInfo",
                                                     .part = helperUtil::kMainInfoPart,
                                                     .noTree = "m_pXMLSummary->GetRoot() is NULL",
                                                     .noTreeCode = MEROENGINE_ERROR_NULL_XML_ROOT,
                                                     .noRoot = "m_pXMLSummary->GetRoot() is NULL",
                                                     .noPart = "pDCMainInfo is NULL"};

/// So many records, or rows of omitted files, wait for the end of the collection in memory.
constexpr std::size_t kMostRecords = 256;

/// The head belongs to the file and not to a section, so it stands before the first section of the process.
std::once_flag g_headOnce;

/// Opens, writes and closes. @return 0, MEROENGINE_ERROR_FILE_OPEN_FAILURE or MEROENGINE_ERROR_WRITE_FAILURE.
uint32_t writeNewFile(const std::string& path, const std::string& text) {
    FileHandle file(std::fopen(path.c_str(), "we"));
    if (!file) {
        const int error = errno;
        ZRN_LOG_CODE_FOR("writeComments", 'E', "fopen", error, nullptr);
        return MEROENGINE_ERROR_FILE_OPEN_FAILURE;
    }
    return bundleText::writeAndClose(std::move(file), text) == 0 ? 0 : MEROENGINE_ERROR_WRITE_FAILURE;
}

} // namespace

uint32_t collector::initializeSummary() {
    m_pXMLSummary = std::make_unique<MEROXmlObject>("summary", "MERO BUNDLE SUMMARY\n");
    MEROComponent* root = m_pXMLSummary->GetRoot();
    if (root == nullptr) {
        ZRN_LOG('E', "m_pXMLSummary->GetRoot() is NULL");
        return MEROENGINE_ERROR_NULL_XML_ROOT;
    }
    m_pXMLSummary->addComponent(root, helperUtil::kMainInfoPart, "");
    m_pXMLSummary->addComponent(root, helperUtil::kIncludedPart, "File Manifest:");
    m_pXMLSummary->addComponent(root, helperUtil::kOmittedPart,
                                "Files Requested But Not Included In Bundle:");
    m_pXMLSummary->addComponent(root, helperUtil::kNotesPart, "Other notes:");
    return 0;
}

uint32_t collector::fillInSummaryMainInfo() {
    MEROComponent* mainInfo = nullptr;
    const uint32_t code = helperUtil::findSummaryPart(kMainInfo, m_pXMLSummary.get(), mainInfo);
    if (code != 0) {
        return code;
    }
    m_pXMLSummary->addComponent(mainInfo, "Time:", getTimeString(3));
    m_pXMLSummary->addComponent(mainInfo, "OS:", getOSSummaryLine());
    m_pXMLSummary->addComponent(mainInfo, "User Name:", helperUtil::getCurrentUserName());
    m_pXMLSummary->addComponent(mainInfo,
                                "Bundle on client computer:", helperUtil::makeAbsolutePath(m_targetPath));
    return 0;
}

uint32_t collector::writeSummary(const std::string& bundleFolder, MEROXmlObject* config) {
    if (m_summaryPath.empty()) {
        m_summaryPath = helperUtil::translatePath(bundleFolder + "/" + "summary.txt");
    }
    uint32_t code = 0;
    {
        const LockGuard guard(g_summaryLock);
        code = printSummary(config, bundleFolder);
    }
    if (code != 0) {
        ZRN_LOG_CODE('E', "collector::printSummary", code);
        return code;
    }
    m_collected.clear();
    m_section = SummarySection();
    return 0;
}

uint32_t collector::printSummary(MEROXmlObject* config, const std::string& /*bundleFolder*/) {
    if (config == nullptr) {
        ZRN_LOG('E', "pXMLObjectConfig is NULL");
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    FileHandle file(std::fopen(m_summaryPath.c_str(), "ae"));
    if (!file) {
        ZRN_LOG_ERRNO_TEXT('E', "fopen", "fopen failed to open file \"%s\"", m_summaryPath.c_str());
        return MEROENGINE_ERROR_FILE_OPEN_FAILURE;
    }
    truncator entries(m_collected, m_pXMLSummary.get());
    // Always 0; an entry that could not be made is in the log.
    static_cast<void>(entries.fillSummaryGoodFiles());

    std::vector<bundleText::Piece> pieces;
    std::call_once(g_headOnce, [&] {
        if (const uint32_t code = fillInSummaryMainInfo(); code != 0) {
            ZRN_LOG_CODE_FOR("headText", 'E', "collector::fillInSummaryMainInfo", code, nullptr);
        }
        pieces.push_back({SummarySection::head(m_pXMLSummary.get())});
    });
    const MEROComponent* title = config->FindChild("configure", "title");
    std::ranges::move(m_section.text(m_pXMLSummary.get(), title == nullptr ? "configure" : title->getValue()),
                      std::back_inserter(pieces));
    return bundleText::writeAndClose(std::move(file), pieces) == 0 ? 0 : MEROENGINE_ERROR_WRITE_FAILURE;
}

void collector::handOn(std::list<MEROCollectedFile>& found) {
    const MEROComponent* omitted = m_pXMLSummary->GetRoot()->findOwnChild(helperUtil::kOmittedPart);
    const std::size_t omittedCount = omitted == nullptr ? 0 : omitted->getChildren().size();
    if (m_collected.size() + found.size() < kMostRecords && omittedCount < kMostRecords) {
        return;
    }
    m_collected.splice(m_collected.end(), found);
    {
        const LockGuard guard(g_summaryLock);
        // Always 0; an entry that could not be made is in the log.
        static_cast<void>(truncator(m_collected, m_pXMLSummary.get()).fillSummaryGoodFiles());
    }
    m_collected.clear();
    m_section.takeRows(*m_pXMLSummary);
}

uint32_t collector::writeComments(MEROComponent* commentsFile, const std::string& bundleFolder) {
    const MEROComponent* root = m_pXMLRequest == nullptr ? nullptr : m_pXMLRequest->GetRoot();
    const MEROComponent* comment = root == nullptr ? nullptr : root->FindChild("comments");
    if (comment == nullptr || comment->getValue().empty()) {
        return 0;
    }
    const MEROComponent* name = commentsFile == nullptr ? nullptr : commentsFile->FindChild("name");
    const std::string fileName =
        name == nullptr || name->getValue().empty() ? "comments.txt" : name->getValue();
    const std::string path = placeInBundle(bundleFolder, fileName);
    const uint32_t code = writeNewFile(path, "Comments from Varnel Corvane user:\n" + comment->getValue());
    if (code != 0) {
        return recordLostComments(fileName, path, code);
    }
    MEROCollectedFile record;
    record.id = "comments";
    record.path = path;
    record.description = "Varnel Corvane user comments";
    record.fileSize = helperUtil::getFileSize(path);
    record.defaultTruncateType = kTruncateData;
    m_collected.push_back(record);
    return 0;
}

uint32_t collector::recordLostComments(const std::string& fileName, const std::string& path, uint32_t code) {
    if (code == MEROENGINE_ERROR_WRITE_FAILURE) {
        // Half a comment would contradict the row; a file that can't be deleted is in the log.
        static_cast<void>(helperUtil::fileDelete(path));
    }
    helperUtil::fillSummaryFailedFile(m_pXMLSummary.get(), "comments", fileName, "",
                                      "Internal error: can't write comments at " + path);
    ZRN_LOG_CODE_FOR("writeComments", 'E', "writeComments", code, "can't write comments at %s", path.c_str());
    return code;
}
