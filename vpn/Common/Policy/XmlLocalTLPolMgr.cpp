#include "Common/Policy/XmlLocalTLPolMgr.h"

#include "Common/Policy/PolicySettings.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/InstanceSmartPtr.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/StoragePath.h"
#include "Common/Utility/sysutils.h"
#include "Common/Xml/XmlParser.h"
#include "Common/Xml/XmlText.h"
#include "Common/Xml/ZMTSaxWriter.h"

#include <memory>
#include <string_view>
#include <strings.h>
#include <utility>

namespace {

constexpr const char* kFileName = "TrellinkLocalPolicy.xml";
constexpr const char* kSchemaName = "TrellinkLocalPolicy.xsd";
constexpr const char* kRootElement = "TrellinkLocalPolicy";

/// Between the names of servers in an argument.
constexpr std::string_view kServerSeparators = ",;";

constexpr int32_t kFipsUndecided = 0;
constexpr int32_t kFipsOn = 1;
constexpr int32_t kFipsOff = 2;

void logNoDirectory(const char* function) {
    ZRN_LOG_CODE_FOR(function, 'E', "XmlLocalTLPolMgr::getLocalSecurityPolicyDir",
                     CSTORAGEPATH_ERROR_NO_INSTANCE, nullptr);
}

/// The setting that the text of an element belongs to, or null.
const PolicySetting* settingOf(const std::string& element) {
    return PolicySettings::find(element == kServerNameElement ? kServerListElement
                                                              : std::string_view(element));
}

/// Whether a text leaves the document well-formed. The writer leaves one without markup as it is, and there
/// the end of a section must not stand.
bool isWritableText(std::string_view text) {
    return isXmlText(text) &&
           (text.find("]]>") == std::string_view::npos || text.find_first_of("&<") != std::string_view::npos);
}

/// Whether all the texts that the value of an element becomes can be written: the list of servers has one for
/// each of its pieces, any other element the value as it is.
bool isWritable(const std::string& element, std::string_view value) {
    if (element != kServerListElement) {
        return isWritableText(value);
    }
    bool writable = true;
    forEachPiece(value, kServerSeparators, [&writable](std::string_view text) {
        writable = isWritableText(text);
        return writable;
    });
    return writable;
}

/// Whether a value may be written; one that may gets the spelling of the table.
bool isAllowed(const PolicyDefinition& definition, std::string& value) {
    if (definition.allowedValues.empty()) {
        // Anything goes but what would keep all the other settings of the file from being read.
        return isWritable(definition.element, value);
    }
    for (const std::string& allowed : definition.allowedValues) {
        if (::strcasecmp(allowed.c_str(), value.c_str()) == 0) {
            value = allowed;
            return true;
        }
    }
    return false;
}

void writeElement(SaxWriterIfc& writer, const std::string& name, const std::string& text) {
    writer.startElement(name, nullptr);
    writer.characters(text);
    writer.endElement(name);
}

void writeServers(SaxWriterIfc& writer, const std::string& names) {
    writer.startElement(std::string(kServerListElement), nullptr);
    forEachPiece(names, kServerSeparators, [&writer](std::string_view name) {
        if (!name.empty()) {
            writeElement(writer, std::string(kServerNameElement), std::string(name));
        }
        return true;
    });
    writer.endElement(std::string(kServerListElement));
}

void writeValues(SaxWriterIfc& writer, const std::map<std::string, std::string>& values) {
    for (const auto& [element, value] : values) {
        if (element == kServerListElement) {
            writeServers(writer, value);
        } else {
            writeElement(writer, element, value);
        }
    }
}

} // namespace

XmlLocalTLPolMgr::XmlLocalTLPolMgr() {
    for (const PolicySetting& setting : PolicySettings::all()) {
        m_definitions.try_emplace(
            std::string(setting.abbreviation),
            PolicyDefinition{std::string(setting.element),
                             setting.isUpdatePolicy,
                             {setting.allowedValues.begin(), setting.allowedValues.end()}});
    }
    resetPolicy();
}

CountedInstance<XmlLocalTLPolMgr, XmlLocalTLPolMgr::Deleter>& XmlLocalTLPolMgr::instances() {
    static CountedInstance<XmlLocalTLPolMgr, Deleter> instances;
    return instances;
}

uint32_t XmlLocalTLPolMgr::CreateSingletonInstance(XmlLocalTLPolMgr*& instanceOut) {
    instanceOut =
        instances().make([] { return std::unique_ptr<XmlLocalTLPolMgr, Deleter>(new XmlLocalTLPolMgr()); });
    return instanceOut == nullptr ? XMLLOCALTLPOLMGR_ERROR_ALREADY_INITIALIZED : 0;
}

XmlLocalTLPolMgr* XmlLocalTLPolMgr::acquireInstance() {
    return instances().acquire();
}

void XmlLocalTLPolMgr::releaseInstance(XmlLocalTLPolMgr* object) {
    instances().release(object);
}

// A missing file leaves the FIPS mode undecided, so that one that is written later still fixes it.
uint32_t XmlLocalTLPolMgr::LoadLocalTrellinkPolicy() {
    resetPolicy();
    std::string directory;
    std::string fileName;
    if (const uint32_t code = GetLocalPolicyLocation(directory, fileName); code != 0) {
        return code;
    }
    const std::string path = directory + fileName;
    if (!fileExists(path.c_str())) {
        return 0;
    }
    if (const uint32_t code = readPolicy(path); code != 0) {
        ZRN_LOG_CODE('E', "XmlParser::parseFile", code);
        return code;
    }
    if (m_fipsState == kFipsUndecided) {
        m_fipsState = m_bFipsFileValue ? kFipsOn : kFipsOff;
    }
    m_policy.m_fipsMode = m_fipsState == kFipsOn;
    m_bFipsRestartNeeded = m_bFipsFileValue != m_policy.m_fipsMode;
    ZRN_LOG('I', "FIPS mode is %s.", m_policy.m_fipsMode ? "enabled" : "disabled");
    return 0;
}

/// What was decided about FIPS stays decided, whatever becomes of the file.
void XmlLocalTLPolMgr::resetPolicy() {
    m_policy = LocalTLPolicyInfo();
    m_policy.m_fipsMode = m_fipsState == kFipsOn;
    m_warnings.clear();
}

/// Reads the file into the settings, but for the FIPS mode, of which it notes what the file says.
uint32_t XmlLocalTLPolMgr::readPolicy(const std::string& path) {
    m_currentElement.clear();
    m_bInUpdatePolicy = false;
    m_bInAuthorizedServerList = false;
    m_policy.m_fipsMode = false;
    const uint32_t code = XmlParser(this).parseFile(path);
    takeText();
    m_bFipsFileValue = m_policy.m_fipsMode;
    m_policy.m_fipsMode = m_fipsState == kFipsOn;
    return code;
}

LocalTLPolicyInfo XmlLocalTLPolMgr::getLocalPolicyInfo() const {
    return m_policy;
}

bool XmlLocalTLPolMgr::isFipsEnabled() const {
    return m_policy.m_fipsMode;
}

bool XmlLocalTLPolMgr::isFipsRestartNeeded() const {
    return m_bFipsRestartNeeded;
}

const std::list<std::string>& XmlLocalTLPolMgr::getWarnings() const {
    return m_warnings;
}

std::string XmlLocalTLPolMgr::getLocalSecurityPolicyDir() {
    const CInstanceSmartPtr<CStoragePath> paths;
    if (!paths) {
        logNoDirectory(__func__);
        return {};
    }
    return paths->getInstallPath();
}

uint32_t XmlLocalTLPolMgr::GetLocalPolicyLocation(std::string& directoryOut, std::string& fileNameOut) const {
    directoryOut = getLocalSecurityPolicyDir();
    if (directoryOut.empty()) {
        logNoDirectory(__func__);
        return CSTORAGEPATH_ERROR_NO_INSTANCE;
    }
    fileNameOut = kFileName;
    return 0;
}

void XmlLocalTLPolMgr::startElement(const std::string& name) {
    takeText();
    m_currentElement.clear();
    if (name == kUpdatePolicyElement) {
        m_bInUpdatePolicy = true;
    } else if (name == kServerListElement) {
        if (m_bInUpdatePolicy) {
            m_bInAuthorizedServerList = true;
        } else {
            warnMisplaced();
        }
    } else if (name != kServerNameElement || m_bInAuthorizedServerList) {
        m_currentElement = name;
    }
}

void XmlLocalTLPolMgr::endElement(const std::string& name) {
    takeText();
    m_currentElement.clear();
    if (name == kUpdatePolicyElement) {
        m_bInUpdatePolicy = false;
    } else if (name == kServerListElement) {
        m_bInAuthorizedServerList = false;
    }
}

void XmlLocalTLPolMgr::setElementValue(const std::string& value) {
    if (settingOf(m_currentElement) != nullptr) {
        m_currentText += value;
        m_bHasText = true;
    }
}

void XmlLocalTLPolMgr::addAttribute(const std::string& /*name*/, const std::string& /*value*/) {}

/// A text counts only as a whole: the parser hands it out in pieces, at a comment or a character reference
/// for instance, and a piece alone would undo what the pieces before it said.
void XmlLocalTLPolMgr::takeText() {
    if (!m_bHasText) {
        return;
    }
    m_bHasText = false;
    const std::string text = std::exchange(m_currentText, {});
    const PolicySetting& setting = *settingOf(m_currentElement);
    if (setting.isUpdatePolicy && !m_bInUpdatePolicy) {
        warnMisplaced();
    } else {
        setting.read(m_policy, text);
    }
}

void XmlLocalTLPolMgr::warnMisplaced() {
    warn("setElementValue", "Local Policy XML structure is incorrect.");
}

void XmlLocalTLPolMgr::warn(const char* function, std::string text) {
    ZRN_LOG_FOR(function, 'W', "%s", text.c_str());
    if (m_warnings.empty() || m_warnings.back() != text) {
        m_warnings.push_back(std::move(text));
    }
}

bool XmlLocalTLPolMgr::GenerateLocalPolicy(const char* const* arguments, int count, bool overwrite) {
    m_warnings.clear();
    if (arguments == nullptr || count < 0) {
        ZRN_LOG('E', "Invalid Arguments");
        return false;
    }
    std::string directory;
    std::string fileName;
    if (GetLocalPolicyLocation(directory, fileName) != 0) {
        return false;
    }
    if (!overwrite && fileExists((directory + fileName).c_str())) {
        warn(__func__, "Local Security Policy file already exists and therefore will not be generated");
        return true;
    }
    Values plain;
    Values update;
    for (int i = 0; i < count; ++i) {
        if (arguments[i] != nullptr) {
            takeArgument(arguments[i], plain, update);
        }
    }
    return writeLocalPolicy(directory, fileName, plain, update) == 0;
}

/// Puts an argument into the map of its kind, or warns.
void XmlLocalTLPolMgr::takeArgument(const std::string& argument, Values& plain, Values& update) {
    constexpr const char* kFunction = "GenerateLocalPolicy";
    const std::size_t equals = argument.find('=');
    if (equals == std::string::npos) {
        warn(kFunction, "ignoring invalid argument " + argument +
                            ". Arguments in the form policy_abbreviation=value expected");
        return;
    }
    std::string value = argument.substr(equals + 1);
    if (value.empty()) {
        return;
    }
    const std::string abbreviation = argument.substr(0, equals);
    const auto found = m_definitions.find(abbreviation);
    if (found == m_definitions.end()) {
        warn(kFunction, "ignoring undefined abbreviation " + abbreviation);
        return;
    }
    const PolicyDefinition& definition = found->second;
    if (!isAllowed(definition, value)) {
        warn(kFunction, value + " is not an allowed value for policy " + definition.element);
        return;
    }
    Values& values = definition.isUpdatePolicy ? update : plain;
    if (!values.try_emplace(definition.element, std::move(value)).second) {
        warn(kFunction, "ignoring duplicate policy arg " + argument + ". The first value will be used");
    }
}

uint32_t XmlLocalTLPolMgr::writeLocalPolicy(const std::string& directory, const std::string& fileName,
                                            const Values& plain, const Values& update) {
    ZMTSaxWriter writer(directory, fileName, kRootElement);
    XmlAttributes attributes = schemaAttributes(kSchemaName);
    attributes.emplace_back("tlversion", SUITE_VERSION);
    writer.startDocument(&attributes);
    writeValues(writer, plain);
    if (!update.empty()) {
        writer.startElement(std::string(kUpdatePolicyElement), nullptr);
        writeValues(writer, update);
        writer.endElement(std::string(kUpdatePolicyElement));
    }
    writer.endDocument();
    const uint32_t code = writer.writeDocument();
    if (code != 0) {
        ZRN_LOG_CODE('E', "ZMTSaxWriter::writeDocument", code);
    }
    return code;
}
