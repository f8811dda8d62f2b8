#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/SummaryEntries.h"
#include "tools/MERO/MEROEngine/implementations/MEROCollectLogsAction.h"

#include <boost/algorithm/string/replace.hpp>

namespace {

constexpr const char* kFolderToken = "[BUNDLE_DIR]";
constexpr const char* kUserToken = "[USER]";
constexpr const char* kOutputSuffix = "_result.txt";

} // namespace

uint32_t MEROCollectLogsAction::performExternalAction(MEROXmlObject& subtree,
                                                      std::list<MEROCollectedFile>& found,
                                                      std::list<std::string>& tempFiles) {
    ExternalActionAttrs attrs;
    uint32_t code = parseExternalActionAttributes(subtree, m_adminRun, attrs);
    if (code != 0) {
        return code;
    }
    const ToolOutput output = outputOf(attrs);
    if (attrs.replaceArguments) {
        code = replaceTokens(attrs.arguments);
        if (code != 0) {
            return code;
        }
    }
    attrs.path = helperUtil::translatePath(attrs.path);
    attrs.arguments = helperUtil::translatePath(attrs.arguments);
    attrs.tempOut = helperUtil::translatePath(output.path);
    code = callExtern(attrs.path, attrs.arguments, attrs.captureStdout, attrs.tempOut);
    if (code != 0) {
        ZRN_LOG_CODE('E', "MEROAction::callExtern", code);
        return code;
    }
    std::string finalPath = attrs.tempOut;
    if (!output.inBundle) {
        if (attrs.tempOut.empty()) {
            return 0;
        }
        code = fetchOutput(attrs.tempOut, finalPath);
        if (code != 0) {
            return code;
        }
        tempFiles.push_back(attrs.tempOut);
    }
    // No limit ever applies to the output of tools.
    found.push_back({.id = m_info.id,
                     .path = finalPath,
                     .description = m_info.description,
                     .fileSize = helperUtil::getFileSize(finalPath),
                     .truncateType = kTruncateNone,
                     .totalAllowedSize = 0.0,
                     .defaultTruncateType = kTruncateNone});
    return 0;
}

MEROCollectLogsAction::ToolOutput MEROCollectLogsAction::outputOf(const ExternalActionAttrs& attrs) const {
    if (attrs.tempOut.empty()) {
        if (!attrs.captureStdout) {
            return {};
        }
        const std::string name = m_info.name.empty() ? attrs.baseName + kOutputSuffix : m_info.name;
        return {.path = m_info.directory + "/" + name, .inBundle = true};
    }
    // A bare name is that of a file in the item's folder, whoever writes it there.
    if (attrs.tempOut.find('/') == std::string::npos) {
        return {.path = m_info.directory + "/" + attrs.tempOut, .inBundle = true};
    }
    return {.path = attrs.tempOut, .inBundle = false};
}

uint32_t MEROCollectLogsAction::replaceTokens(std::string& commandLine) const {
    boost::algorithm::replace_all(commandLine, kFolderToken, m_info.directory);
    if (commandLine.find(kUserToken) == std::string::npos) {
        return 0;
    }
    std::string userName;
    const uint32_t code = helperUtil::GetSessionUsername(userName);
    if (code != 0) {
        ZRN_LOG_CODE_FOR("performExternalAction", 'I', "helperUtil::GetSessionUsername", code, nullptr);
        return code;
    }
    boost::algorithm::replace_all(commandLine, kUserToken, userName);
    return 0;
}

uint32_t MEROCollectLogsAction::fetchOutput(const std::string& source, std::string& targetOut) const {
    const std::string fileName = helperUtil::stringAfterLast(source, "/");
    const std::string target =
        helperUtil::translatePath(m_info.directory + "/" + helperUtil::mergeFileNames(m_info.name, fileName));
    std::string errorText;
    const uint32_t code = helperUtil::fileCopy(source, target, errorText, omissionSink());
    if (code != 0) {
        helperUtil::recordOmitted(m_info, fileName,
                                  "MERO cannot access temporary output at: " + source +
                                      " as specified by Config" +
                                      (errorText.empty() ? std::string() : " Error returned:" + errorText));
        return code;
    }
    targetOut = target;
    return 0;
}
