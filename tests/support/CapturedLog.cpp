#include "tests/support/CapturedLog.h"

#include <algorithm>
#include <cstdio>

class CapturedLog::Keeper : public ILogger {
public:
    explicit Keeper(std::shared_ptr<Lines> lines) : m_lines(std::move(lines)) {}
    uint32_t write(uint32_t /*priority*/, const char* text, const char* /*messageName*/,
                   uint32_t /*messageId*/, int32_t severity) override {
        const std::lock_guard guard(m_lines->lock);
        m_lines->kept.push_back({static_cast<char>(severity), text == nullptr ? "" : text});
        return 0;
    }

private:
    std::shared_ptr<Lines> m_lines;
};

CapturedLog::CapturedLog() : m_lines(std::make_shared<Lines>()) {
    m_client = std::make_unique<CLogClient>(nullptr, "test", std::make_unique<Keeper>(m_lines));
}

CapturedLog::~CapturedLog() = default;

std::vector<LogLine> CapturedLog::lines() const {
    const std::lock_guard guard(m_lines->lock);
    return m_lines->kept;
}

int CapturedLog::count(char severity, const std::string& part) const {
    const std::vector<LogLine> all = lines();
    return static_cast<int>(std::count_if(all.begin(), all.end(), [&](const LogLine& line) {
        return (severity == '*' || line.severity == severity) && line.text.find(part) != std::string::npos;
    }));
}

bool CapturedLog::containsCode(char severity, const std::string& function, const std::string& invoked,
                               uint32_t code) const {
    char codeText[16];
    std::snprintf(codeText, sizeof codeText, "(0x%.8X)", code);
    const std::vector<LogLine> all = lines();
    return std::any_of(all.begin(), all.end(), [&](const LogLine& line) {
        return line.severity == severity &&
               line.text.find("Function: " + function + "\n") != std::string::npos &&
               line.text.find("Invoked Function: " + invoked + "\n") != std::string::npos &&
               line.text.find(codeText) != std::string::npos;
    });
}

std::string CapturedLog::dump() const {
    std::string all;
    for (const LogLine& line : lines()) {
        all += line.severity;
        all += ' ';
        all += line.text;
        all += '\n';
    }
    return all;
}
