#pragma once

#include "Common/Xml/XmlMgr.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"

#include <algorithm>
#include <libxml/xmlversion.h>
#include <string>
#include <vector>

/// Whether libxml2 is one of before 2.14, which words some of its messages otherwise, and takes a NUL byte
/// for an end.
inline constexpr bool kOlderLibrary = LIBXML_VERSION < 21400;

/// Fixture of all tests that read documents: a private folder and every log line.
class DocumentTest : public Sandbox {
protected:
    /// True if a plain log line of this severity and function has exactly this text.
    [[nodiscard]] bool logged(char severity, const std::string& function, const std::string& text) const {
        const std::vector<LogLine> lines = m_log.lines();
        return std::any_of(lines.begin(), lines.end(), [&](const LogLine& line) {
            return line.severity == severity &&
                   line.text.find("\nFunction: " + function + "\n") != std::string::npos &&
                   line.text.ends_with("\n" + text);
        });
    }

    CapturedLog m_log;
};

/// Keeps what a parser tells, one entry an event: "<name", "@name=value", "'text'", ">name".
class RecordingMgr : public XmlMgr {
public:
    void startElement(const std::string& name) override { m_events.push_back("<" + name); }
    void endElement(const std::string& name) override { m_events.push_back(">" + name); }
    void setElementValue(const std::string& value) override { m_events.push_back("'" + value + "'"); }
    void addAttribute(const std::string& name, const std::string& value) override {
        m_events.push_back("@" + name + "=" + value);
    }

    std::vector<std::string> m_events;
};
