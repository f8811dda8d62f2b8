#pragma once

#include "Common/Policy/LocalTLPolicyInfo.h"
#include "Common/Utility/memory/CountedInstance.h"
#include "Common/Xml/XmlMgr.h"

#include <cstdint>
#include <list>
#include <map>
#include <string>

/// How one setting is written.
struct PolicyDefinition {
    std::string element;
    /// Whether the element stands inside UpdatePolicy.
    bool isUpdatePolicy;
    /// Empty if anything goes.
    std::list<std::string> allowedValues;
};

/// Reads and writes the local policy, the small file with which an administrator restricts the suite on a
/// machine: "TrellinkLocalPolicy.xml" in the installation folder. A reference-counted singleton.
///
/// Any thread may acquire, release and ask. Loading and generating is for one thread, before others ask.
/// CStoragePath must have its instance by then, as the folder comes from there.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): releaseInstance alone may delete it
class XmlLocalTLPolMgr : public XmlMgr {
public:
    /// Makes the instance, with one reference.
    /// @param instanceOut  null on failure.
    /// @return 0, or XMLLOCALTLPOLMGR_ERROR_ALREADY_INITIALIZED if there is one.
    [[nodiscard]] static uint32_t CreateSingletonInstance(XmlLocalTLPolMgr*& instanceOut);
    /// The instance with one more reference, or null if there is none.
    [[nodiscard]] static XmlLocalTLPolMgr* acquireInstance();
    /// Drops a reference; the last one deletes the instance. A pointer that is not the instance
    /// is deleted at once.
    static void releaseInstance(XmlLocalTLPolMgr* object);

    /// Reads the file. Without one all settings have their defaults, and that is no failure.
    /// The first load that reads a file fixes the FIPS mode for the rest of the process.
    /// @return 0; GLOBAL_ERROR_UNEXPECTED for a file that can't be read or isn't well-formed, with what was
    /// read up to there in force and the rest at the defaults; the code of GetLocalPolicyLocation.
    [[nodiscard]] uint32_t LoadLocalTrellinkPolicy();
    /// A copy of the settings in force.
    [[nodiscard]] LocalTLPolicyInfo getLocalPolicyInfo() const;
    /// For callers outside of this system: whether the process is in FIPS mode.
    [[nodiscard]] bool isFipsEnabled() const;
    /// For callers outside of this system: whether the file, as read last, wants another FIPS mode.
    [[nodiscard]] bool isFipsRestartNeeded() const;

    /// Writes a policy with just the settings given. Arguments that can't be used are left out with a
    /// warning; of two for one setting the first counts.
    /// @param arguments  "abbreviation=value" each; null ones, and those without a value, are passed over.
    /// @param overwrite  replace a file that is there; otherwise it stays, with a warning and true as result.
    /// @return false for null arguments or a negative count, or if the file couldn't be written; logged.
    [[nodiscard]] bool GenerateLocalPolicy(const char* const* arguments, int count, bool overwrite);

    /// The folder of the file, with its final "/"; empty, with a log line, when CStoragePath has no instance.
    [[nodiscard]] static std::string getLocalSecurityPolicyDir();
    /// Where the file is or would be: the two joined are its path.
    /// @param directoryOut  ends in "/"; empty on failure.
    /// @return 0, or CSTORAGEPATH_ERROR_NO_INSTANCE, logged.
    [[nodiscard]] uint32_t GetLocalPolicyLocation(std::string& directoryOut, std::string& fileNameOut) const;

    /// The warnings of the last load or generation, as they were logged; one that repeats at once stands
    /// here once.
    [[nodiscard]] const std::list<std::string>& getWarnings() const;

    /// What the parser meets. The text of an element counts as a whole when the element ends, another one
    /// opens in it, or the document breaks off.
    void startElement(const std::string& name) override;
    void endElement(const std::string& name) override;
    void setElementValue(const std::string& value) override;
    void addAttribute(const std::string& name, const std::string& value) override;

private:
    XmlLocalTLPolMgr();
    ~XmlLocalTLPolMgr() override = default;

    /// Lets a std::unique_ptr delete the instance.
    struct Deleter {
        void operator()(XmlLocalTLPolMgr* instance) const { delete instance; }
    };
    friend struct LocalPolicyTestAccess;

    [[nodiscard]] static CountedInstance<XmlLocalTLPolMgr, Deleter>& instances();

    /// From element name to value, in the order in which they are written.
    using Values = std::map<std::string, std::string>;

    void resetPolicy();
    [[nodiscard]] uint32_t readPolicy(const std::string& path);
    void takeText();
    void takeArgument(const std::string& argument, Values& plain, Values& update);
    [[nodiscard]] static uint32_t writeLocalPolicy(const std::string& directory, const std::string& fileName,
                                                   const Values& plain, const Values& update);
    void warnMisplaced();
    void warn(const char* function, std::string text);

    bool m_bFipsFileValue = false;
    /// 0 until the first load that reads a file, then 1 for on, 2 for off. The mode is the process's: it
    /// outlives the instance.
    inline static int32_t m_fipsState = 0;
    bool m_bFipsRestartNeeded = false;
    /// Empty after an end tag.
    std::string m_currentElement;
    /// The text of the current element so far; it may come in several pieces.
    std::string m_currentText;
    bool m_bHasText = false;
    bool m_bInAuthorizedServerList = false;
    bool m_bInUpdatePolicy = false;
    LocalTLPolicyInfo m_policy;
    /// By abbreviation.
    std::map<std::string, PolicyDefinition> m_definitions;
    std::list<std::string> m_warnings;
};
